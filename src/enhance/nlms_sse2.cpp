// SSE2 subband NLMS kernels: one complex subband per register, real part in the low lane, the
// scalar element operations lane by lane.
#include <emmintrin.h>

#include "enhance/nlms_kernels.h"

namespace kels::enhance {
namespace {

inline __m128d load(const Kels32sc* p) {
  return _mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
inline __m128d clampPd(__m128d v, __m128d lo, __m128d hi) { return _mm_min_pd(_mm_max_pd(lo, v), hi); }
// lo > v ? lo : v is max(lo, v); v > hi ? hi : v is min(v, hi): the operand order matters for
// NaN only, which these kernels never see.
inline void store(Kels32sc* p, __m128d v) {
  const __m128d lo = _mm_set1_pd(kMin32), hi = _mm_set1_pd(kMax32), k = _mm_set1_pd(kRoundShifter);
  const __m128d r = _mm_sub_pd(_mm_add_pd(clampPd(v, lo, hi), k), k);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_cvttpd_epi32(r));  // r is integral
}

void filterSse2(const Kels32sc* const* x, const Kels32sc* const* h, Kels32sc* out, int taps, int len,
                double scale) {
  const __m128d lo = _mm_set1_pd(-kTwo63), hi = _mm_set1_pd(kTwo63);
  const __m128d negRe = _mm_set_pd(0.0, -0.0);  // flips the sign of the low (real) lane
  __m128d acc[kFilterBlock];
  for (int i0 = 0; i0 < len; i0 += kFilterBlock) {
    const int n = len - i0 < kFilterBlock ? len - i0 : kFilterBlock;
    for (int i = 0; i < n; ++i) acc[i] = _mm_setzero_pd();
    for (int j = 0; j < taps; ++j) {
      const Kels32sc* xj = x[j] + i0;
      const Kels32sc* hj = h[j] + i0;
      for (int i = 0; i < n; ++i) {
        const __m128d xv = load(xj + i), hv = load(hj + i);
        // [xr hr, xi hr] + [-(xi hi), xr hi]
        const __m128d a = _mm_mul_pd(xv, _mm_unpacklo_pd(hv, hv));
        const __m128d b = _mm_mul_pd(_mm_shuffle_pd(xv, xv, 1), _mm_unpackhi_pd(hv, hv));
        acc[i] = clampPd(_mm_add_pd(acc[i], _mm_add_pd(a, _mm_xor_pd(b, negRe))), lo, hi);
      }
    }
    const __m128d s = _mm_set1_pd(scale);
    for (int i = 0; i < n; ++i) store(out + i0 + i, _mm_mul_pd(acc[i], s));
  }
}

void updateSse2(const double* step, const Kels32sc* err, const Kels32sc* x, Kels32sc* h, int len, double g) {
  const __m128d gv = _mm_set1_pd(g), lo = _mm_set1_pd(kMin32), hi = _mm_set1_pd(kMax32);
  const __m128d negIm = _mm_set_pd(-0.0, 0.0);  // flips the sign of the high (imaginary) lane
  for (int i = 0; i < len; ++i) {
    const __m128d me = _mm_mul_pd(_mm_set1_pd(step[i]), load(err + i));  // [mu er, mu ei]
    const __m128d xv = load(x + i);
    // [meRe xr, meIm xr] + [meIm xi, -(meRe xi)]
    const __m128d a = _mm_mul_pd(me, _mm_unpacklo_pd(xv, xv));
    const __m128d b = _mm_mul_pd(_mm_shuffle_pd(me, me, 1), _mm_unpackhi_pd(xv, xv));
    const __m128d u = _mm_mul_pd(_mm_add_pd(a, _mm_xor_pd(b, negIm)), gv);
    store(h + i, _mm_add_pd(clampPd(u, lo, hi), load(h + i)));
  }
}

}  // namespace

const NlmsKernels& nlmsKernelsSse2() {
  static constexpr NlmsKernels k{filterSse2, updateSse2};
  return k;
}

}  // namespace kels::enhance
