// AVX2 subband NLMS kernels: two complex subbands per register (re0 im0 re1 im1), the scalar
// element operations lane by lane; an odd last subband takes the scalar path.
#include <immintrin.h>

#include "enhance/nlms_kernels.h"

namespace kels::enhance {
namespace {

inline __m256d load2(const Kels32sc* p) {
  return _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
// max(lo, v) then min(v, hi): the scalar selects' shape (operand order matters only for NaN).
inline __m256d clampPd(__m256d v, __m256d lo, __m256d hi) { return _mm256_min_pd(_mm256_max_pd(lo, v), hi); }
inline void store2(Kels32sc* p, __m256d v) {
  const __m256d lo = _mm256_set1_pd(kMin32), hi = _mm256_set1_pd(kMax32), k = _mm256_set1_pd(kRoundShifter);
  const __m256d r = _mm256_sub_pd(_mm256_add_pd(clampPd(v, lo, hi), k), k);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvttpd_epi32(r));  // r is integral
}

void filterAvx2(const Kels32sc* const* x, const Kels32sc* const* h, Kels32sc* out, int taps, int len,
                double scale) {
  const __m256d lo = _mm256_set1_pd(-kTwo63), hi = _mm256_set1_pd(kTwo63);
  const __m256d negRe = _mm256_setr_pd(-0.0, 0.0, -0.0, 0.0);
  __m256d acc[kFilterBlock / 2];
  for (int i0 = 0; i0 < len; i0 += kFilterBlock) {
    const int n = len - i0 < kFilterBlock ? len - i0 : kFilterBlock;
    const int pairs = n / 2;
    for (int p = 0; p < pairs; ++p) acc[p] = _mm256_setzero_pd();
    double tailRe = 0.0, tailIm = 0.0;
    for (int j = 0; j < taps; ++j) {
      const Kels32sc* xj = x[j] + i0;
      const Kels32sc* hj = h[j] + i0;
      for (int p = 0; p < pairs; ++p) {
        const __m256d xv = load2(xj + 2 * p), hv = load2(hj + 2 * p);
        // [xr hr, xi hr] + [-(xi hi), xr hi] in each half
        const __m256d a = _mm256_mul_pd(xv, _mm256_movedup_pd(hv));
        const __m256d b = _mm256_mul_pd(_mm256_permute_pd(xv, 0x5), _mm256_permute_pd(hv, 0xF));
        acc[p] = clampPd(_mm256_add_pd(acc[p], _mm256_add_pd(a, _mm256_xor_pd(b, negRe))), lo, hi);
      }
      if (n & 1) macc(tailRe, tailIm, xj[n - 1], hj[n - 1]);
    }
    const __m256d s = _mm256_set1_pd(scale);
    for (int p = 0; p < pairs; ++p) store2(out + i0 + 2 * p, _mm256_mul_pd(acc[p], s));
    if (n & 1) out[i0 + n - 1] = {toInt32(tailRe * scale), toInt32(tailIm * scale)};
  }
}

void updateAvx2(const double* step, const Kels32sc* err, const Kels32sc* x, Kels32sc* h, int len, double g) {
  const __m256d gv = _mm256_set1_pd(g), lo = _mm256_set1_pd(kMin32), hi = _mm256_set1_pd(kMax32);
  const __m256d negIm = _mm256_setr_pd(0.0, -0.0, 0.0, -0.0);
  int i = 0;
  for (; i + 2 <= len; i += 2) {
    const __m256d mu = _mm256_permute4x64_pd(_mm256_castpd128_pd256(_mm_loadu_pd(step + i)), 0x50);
    const __m256d me = _mm256_mul_pd(mu, load2(err + i));  // [mu er, mu ei] per subband
    const __m256d xv = load2(x + i);
    // [meRe xr, meIm xr] + [meIm xi, -(meRe xi)] in each half
    const __m256d a = _mm256_mul_pd(me, _mm256_movedup_pd(xv));
    const __m256d b = _mm256_mul_pd(_mm256_permute_pd(me, 0x5), _mm256_permute_pd(xv, 0xF));
    const __m256d u = _mm256_mul_pd(_mm256_add_pd(a, _mm256_xor_pd(b, negIm)), gv);
    store2(h + i, _mm256_add_pd(clampPd(u, lo, hi), load2(h + i)));
  }
  for (; i < len; ++i) updateOne(step[i], err[i], x[i], h[i], g);
}

}  // namespace

const NlmsKernels& nlmsKernelsAvx2() {
  static constexpr NlmsKernels k{filterAvx2, updateAvx2};
  return k;
}

}  // namespace kels::enhance
