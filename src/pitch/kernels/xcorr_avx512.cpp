// Cross-correlation kernels, AVX-512 build; the pair-sum wrap is handled as in the SSE2 build.
// GCC 12's AVX-512 headers start several intrinsics from an undefined value, which its flow
// analysis reports as (maybe) uninitialised; the value is fully overwritten.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"

#include <immintrin.h>

#include "pitch/kernels/xcorr_table.h"

namespace kels::pitch {
namespace {

inline __m512i accumulate(__m512i acc, __m512i pairs) {
  const __m512i t = _mm512_sub_epi32(pairs, _mm512_set1_epi32(1));
  acc = _mm512_add_epi64(acc, _mm512_cvtepi32_epi64(_mm512_castsi512_si256(t)));
  return _mm512_add_epi64(acc, _mm512_cvtepi32_epi64(_mm512_extracti64x4_epi64(t, 1)));
}

inline __m512i load(const std::int16_t* p) { return _mm512_loadu_si512(p); }

std::int64_t dot(const std::int16_t* a, const std::int16_t* b, int n) {
  __m512i acc = _mm512_setzero_si512();
  int i = 0;
  for (; i + 32 <= n; i += 32) acc = accumulate(acc, _mm512_madd_epi16(load(a + i), load(b + i)));
  std::int64_t s = _mm512_reduce_add_epi64(acc) + std::int64_t(i / 2);
  for (; i < n; ++i) s += std::int32_t(a[i]) * b[i];
  return s;
}

Dots3 dot3(const std::int16_t* a, const std::int16_t* b, int n) {
  __m512i aa = _mm512_setzero_si512(), bb = aa, ab = aa;
  int i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m512i va = load(a + i), vb = load(b + i);
    aa = accumulate(aa, _mm512_madd_epi16(va, va));
    bb = accumulate(bb, _mm512_madd_epi16(vb, vb));
    ab = accumulate(ab, _mm512_madd_epi16(va, vb));
  }
  const std::int64_t pairs = i / 2;
  Dots3 s{_mm512_reduce_add_epi64(aa) + pairs, _mm512_reduce_add_epi64(bb) + pairs,
          _mm512_reduce_add_epi64(ab) + pairs};
  for (; i < n; ++i) {
    s.aa += std::int32_t(a[i]) * a[i];
    s.bb += std::int32_t(b[i]) * b[i];
    s.ab += std::int32_t(a[i]) * b[i];
  }
  return s;
}

}  // namespace

const XcorrKernels& xcorrKernelsAvx512() {
  // The lag sums stay with the AVX2 build: with 16 lanes each block's lanes finish one by one
  // over up to 15 scalar terms, and the AVX2 code measured faster on pitch-sized series.
  static constexpr XcorrKernels k{dot, dot3, lagSumsAvx2};
  return k;
}

}  // namespace kels::pitch
