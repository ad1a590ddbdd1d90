// Cross-correlation kernels, AVX-512 build.
// GCC 12's AVX-512 headers start several intrinsics from an undefined value, which its flow
// analysis reports as (maybe) uninitialised; the value is fully overwritten.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

#include <immintrin.h>

#include "pitch/kernels/dots.h"

namespace kels::pitch {
namespace {

struct Avx512Ints {
  static constexpr int kWidth = 32;  // samples per register
  static __m512i zero() { return _mm512_setzero_si512(); }
  static __m512i load(const std::int16_t* p) { return _mm512_loadu_si512(p); }
  static __m512i madd(__m512i a, __m512i b) { return _mm512_madd_epi16(a, b); }
  static __m512i accumulate(__m512i acc, __m512i pairs) {
    const __m512i t = _mm512_sub_epi32(pairs, _mm512_set1_epi32(1));
    acc = _mm512_add_epi64(acc, _mm512_cvtepi32_epi64(_mm512_castsi512_si256(t)));
    return _mm512_add_epi64(acc, _mm512_cvtepi32_epi64(_mm512_extracti64x4_epi64(t, 1)));
  }
  static std::int64_t total(__m512i acc) { return _mm512_reduce_add_epi64(acc); }
};

}  // namespace

const XcorrKernels& xcorrKernelsAvx512() {
  // The lag sums stay with the AVX2 build: with 16 lanes each block's lanes finish one by one
  // over up to 15 scalar terms, and the AVX2 code measured faster on pitch-sized series.
  static constexpr XcorrKernels k{dot<Avx512Ints>, dot3<Avx512Ints>, lagSumsAvx2};
  return k;
}

}  // namespace kels::pitch
