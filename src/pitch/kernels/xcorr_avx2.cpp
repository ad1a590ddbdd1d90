// Cross-correlation kernels, AVX2 build; the pair-sum wrap is handled as in the SSE2 build.
#include <immintrin.h>

#include "pitch/kernels/lag_sums.h"
#include "pitch/kernels/xcorr_table.h"

namespace kels::pitch {
namespace {

inline __m256i accumulate(__m256i acc, __m256i pairs) {
  const __m256i t = _mm256_sub_epi32(pairs, _mm256_set1_epi32(1));
  acc = _mm256_add_epi64(acc, _mm256_cvtepi32_epi64(_mm256_castsi256_si128(t)));
  return _mm256_add_epi64(acc, _mm256_cvtepi32_epi64(_mm256_extracti128_si256(t, 1)));
}

inline std::int64_t total(__m256i acc) {
  alignas(32) std::int64_t v[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(v), acc);
  return (v[0] + v[1]) + (v[2] + v[3]);
}

inline __m256i load(const std::int16_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

std::int64_t dot(const std::int16_t* a, const std::int16_t* b, int n) {
  __m256i acc = _mm256_setzero_si256();
  int i = 0;
  for (; i + 16 <= n; i += 16) acc = accumulate(acc, _mm256_madd_epi16(load(a + i), load(b + i)));
  std::int64_t s = total(acc) + std::int64_t(i / 2);
  for (; i < n; ++i) s += std::int32_t(a[i]) * b[i];
  return s;
}

Dots3 dot3(const std::int16_t* a, const std::int16_t* b, int n) {
  __m256i aa = _mm256_setzero_si256(), bb = aa, ab = aa;
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m256i va = load(a + i), vb = load(b + i);
    aa = accumulate(aa, _mm256_madd_epi16(va, va));
    bb = accumulate(bb, _mm256_madd_epi16(vb, vb));
    ab = accumulate(ab, _mm256_madd_epi16(va, vb));
  }
  const std::int64_t pairs = i / 2;
  Dots3 s{total(aa) + pairs, total(bb) + pairs, total(ab) + pairs};
  for (; i < n; ++i) {
    s.aa += std::int32_t(a[i]) * a[i];
    s.bb += std::int32_t(b[i]) * b[i];
    s.ab += std::int32_t(a[i]) * b[i];
  }
  return s;
}

}  // namespace

void lagSumsAvx2(const float* xr, const float* yd, int a, int lags, float* c) {
  lagSums<Avx2Lanes>(xr, yd, a, lags, c);
}

const XcorrKernels& xcorrKernelsAvx2() {
  static constexpr XcorrKernels k{dot, dot3, lagSumsAvx2};
  return k;
}

}  // namespace kels::pitch
