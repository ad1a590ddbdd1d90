// Cross-correlation kernels, SSE2 build. pmaddwd adds two products into 32 bits; only
// (-32768)(-32768) + (-32768)(-32768) = 2^31 wraps, to -2^31, and no true pair sum is -2^31.
// So t - 1 never wraps for a true value: it is widened to 64 bits and the 1 is added back once
// per pair at the end.
#include <emmintrin.h>

#include "pitch/kernels/lag_sums.h"
#include "pitch/kernels/xcorr_table.h"

namespace kels::pitch {
namespace {

// Adds the four pair sums of `pairs`, each less one, into two 64-bit lanes pairs.
inline __m128i accumulate(__m128i acc, __m128i pairs) {
  const __m128i t = _mm_sub_epi32(pairs, _mm_set1_epi32(1));
  const __m128i sign = _mm_srai_epi32(t, 31);
  acc = _mm_add_epi64(acc, _mm_unpacklo_epi32(t, sign));
  return _mm_add_epi64(acc, _mm_unpackhi_epi32(t, sign));
}

inline std::int64_t total(__m128i acc) {
  alignas(16) std::int64_t v[2];
  _mm_store_si128(reinterpret_cast<__m128i*>(v), acc);
  return v[0] + v[1];
}

inline __m128i load(const std::int16_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

std::int64_t dot(const std::int16_t* a, const std::int16_t* b, int n) {
  __m128i acc = _mm_setzero_si128();
  int i = 0;
  for (; i + 8 <= n; i += 8) acc = accumulate(acc, _mm_madd_epi16(load(a + i), load(b + i)));
  std::int64_t s = total(acc) + std::int64_t(i / 2);  // the 1 taken from each pair
  for (; i < n; ++i) s += std::int32_t(a[i]) * b[i];
  return s;
}

Dots3 dot3(const std::int16_t* a, const std::int16_t* b, int n) {
  __m128i aa = _mm_setzero_si128(), bb = aa, ab = aa;
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i va = load(a + i), vb = load(b + i);
    aa = accumulate(aa, _mm_madd_epi16(va, va));
    bb = accumulate(bb, _mm_madd_epi16(vb, vb));
    ab = accumulate(ab, _mm_madd_epi16(va, vb));
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

const XcorrKernels& xcorrKernelsSse2() {
  static constexpr XcorrKernels k{dot, dot3, lagSums<Sse2Lanes>};
  return k;
}

}  // namespace kels::pitch
