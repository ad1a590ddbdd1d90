// Cross-correlation kernels, SSE2 build.
#include <emmintrin.h>

#include "pitch/kernels/dots.h"
#include "pitch/kernels/lag_sums.h"

namespace kels::pitch {
namespace {

struct Sse2Ints {
  static constexpr int kWidth = 8;  // samples per register
  static __m128i zero() { return _mm_setzero_si128(); }
  static __m128i load(const std::int16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  static __m128i madd(__m128i a, __m128i b) { return _mm_madd_epi16(a, b); }
  // Adds the four pair sums, each less one, into two 64-bit lanes.
  static __m128i accumulate(__m128i acc, __m128i pairs) {
    const __m128i t = _mm_sub_epi32(pairs, _mm_set1_epi32(1));
    const __m128i sign = _mm_srai_epi32(t, 31);
    acc = _mm_add_epi64(acc, _mm_unpacklo_epi32(t, sign));
    return _mm_add_epi64(acc, _mm_unpackhi_epi32(t, sign));
  }
  static std::int64_t total(__m128i acc) {
    alignas(16) std::int64_t v[2];
    _mm_store_si128(reinterpret_cast<__m128i*>(v), acc);
    return v[0] + v[1];
  }
};

}  // namespace

const XcorrKernels& xcorrKernelsSse2() {
  static constexpr XcorrKernels k{dot<Sse2Ints>, dot3<Sse2Ints>, lagSums<Sse2Lanes>};
  return k;
}

}  // namespace kels::pitch
