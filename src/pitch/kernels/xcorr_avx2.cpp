// Cross-correlation kernels, AVX2 build.
#include <immintrin.h>

#include "pitch/kernels/dots.h"
#include "pitch/kernels/lag_sums.h"

namespace kels::pitch {
namespace {

struct Avx2Ints {
  static constexpr int kWidth = 16;  // samples per register
  static __m256i zero() { return _mm256_setzero_si256(); }
  static __m256i load(const std::int16_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  static __m256i madd(__m256i a, __m256i b) { return _mm256_madd_epi16(a, b); }
  static __m256i accumulate(__m256i acc, __m256i pairs) {
    const __m256i t = _mm256_sub_epi32(pairs, _mm256_set1_epi32(1));
    acc = _mm256_add_epi64(acc, _mm256_cvtepi32_epi64(_mm256_castsi256_si128(t)));
    return _mm256_add_epi64(acc, _mm256_cvtepi32_epi64(_mm256_extracti128_si256(t, 1)));
  }
  static std::int64_t total(__m256i acc) {
    alignas(32) std::int64_t v[4];
    _mm256_store_si256(reinterpret_cast<__m256i*>(v), acc);
    return (v[0] + v[1]) + (v[2] + v[3]);
  }
};

}  // namespace

void lagSumsAvx2(const float* xr, const float* yd, int a, int lags, float* c) {
  lagSums<Avx2Lanes>(xr, yd, a, lags, c);
}

const XcorrKernels& xcorrKernelsAvx2() {
  static constexpr XcorrKernels k{dot<Avx2Ints>, dot3<Avx2Ints>, lagSumsAvx2};
  return k;
}

}  // namespace kels::pitch
