// SSE2 log-add and log-sum kernels (the same bits as logadd_scalar.h). Without a variable
// permute, each lane's coefficients are selected with masks; tails run the scalar code.
#include <emmintrin.h>

#include "model/kernels/logadd_scalar.h"

namespace kels {
namespace {

inline __m128 select(__m128 m, __m128 yes, __m128 no) { return _mm_or_ps(_mm_and_ps(m, yes), _mm_andnot_ps(m, no)); }
inline __m128d select(__m128d m, __m128d yes, __m128d no) { return _mm_or_pd(_mm_and_pd(m, yes), _mm_andnot_pd(m, no)); }

// hi + correction for two lanes in double; ge1, ge2: d at or above each split.
inline __m128d corr64(__m128d hi, __m128d d, __m128d ge1, __m128d ge2) {
  auto pick = [&](const double* c3) {
    return select(ge2, _mm_set1_pd(c3[2]), select(ge1, _mm_set1_pd(c3[1]), _mm_set1_pd(c3[0])));
  };
  double c[3];
  auto coef = [&](int j) { for (int k = 0; k < 3; ++k) c[k] = logadd::kCoef64[k][j]; return pick(c); };
  const __m128d t = _mm_sub_pd(d, pick(logadd::kCentre));
  __m128d p = coef(logadd::kDegree);
  for (int j = logadd::kDegree - 1; j >= 0; --j) p = _mm_add_pd(_mm_mul_pd(p, t), coef(j));
  return _mm_add_pd(hi, p);
}

template <bool kFast>
inline __m128 logAdd4(__m128 a, __m128 b) {
  const __m128 gt = _mm_cmpgt_ps(a, b);
  const __m128 hi = select(gt, a, b), lo = select(gt, b, a);
  const __m128 d = _mm_sub_ps(lo, hi);
  const __m128 ge1 = _mm_cmpge_ps(d, _mm_set1_ps(kSplitLow)), ge2 = _mm_cmpge_ps(d, _mm_set1_ps(kSplitHigh));
  __m128 r;
  if constexpr (kFast) {
    auto pick = [&](float c0, float c1, float c2) {
      return select(ge2, _mm_set1_ps(c2), select(ge1, _mm_set1_ps(c1), _mm_set1_ps(c0)));
    };
    auto coef = [&](int j) { return pick(logadd::kCoef32[0][j], logadd::kCoef32[1][j], logadd::kCoef32[2][j]); };
    const __m128 t = _mm_sub_ps(d, pick(float(logadd::kCentre[0]), float(logadd::kCentre[1]), float(logadd::kCentre[2])));
    __m128 p = coef(logadd::kDegree);
    for (int j = logadd::kDegree - 1; j >= 0; --j) p = _mm_add_ps(_mm_mul_ps(p, t), coef(j));
    r = _mm_add_ps(hi, p);
  } else {
    // Compare masks widen to double lanes by duplicating each 32-bit mask.
    auto lo2 = [](__m128 m) { return _mm_castps_pd(_mm_unpacklo_ps(m, m)); };
    auto hi2 = [](__m128 m) { return _mm_castps_pd(_mm_unpackhi_ps(m, m)); };
    const __m128d r0 = corr64(_mm_cvtps_pd(hi), _mm_cvtps_pd(d), lo2(ge1), lo2(ge2));
    const __m128d r1 = corr64(_mm_cvtps_pd(_mm_movehl_ps(hi, hi)), _mm_cvtps_pd(_mm_movehl_ps(d, d)), hi2(ge1), hi2(ge2));
    r = _mm_movelh_ps(_mm_cvtpd_ps(r0), _mm_cvtpd_ps(r1));
  }
  r = select(_mm_cmplt_ps(d, _mm_set1_ps(kDrop32f)), _mm_max_ps(hi, _mm_set1_ps(kLogZero32f)), r);
  return select(_mm_cmpunord_ps(d, d), _mm_add_ps(a, b), r);
}

template <bool kFast>
void addRowT(const float* a, float* b, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) _mm_storeu_ps(b + i, logAdd4<kFast>(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i)));
  for (; i < n; ++i) b[i] = logAddElem<kFast>(a[i], b[i]);
}
void addRow(const float* a, float* b, int n) { addRowT<false>(a, b, n); }
void addRowFast(const float* a, float* b, int n) { addRowT<true>(a, b, n); }

// e^d for two lanes; the rounding conversion rounds to nearest even, as nearbyint does.
inline __m128d expNeg2(__m128d d) {
  const __m128i kr = _mm_cvtpd_epi32(_mm_mul_pd(d, _mm_set1_pd(kLog2e)));
  const __m128d k = _mm_cvtepi32_pd(kr);
  const __m128d r = _mm_sub_pd(_mm_sub_pd(d, _mm_mul_pd(k, _mm_set1_pd(kLn2Hi))), _mm_mul_pd(k, _mm_set1_pd(kLn2Lo)));
  __m128d p = _mm_set1_pd(kInvFact[kExpDegree]);
  for (int j = kExpDegree - 1; j >= 0; --j) p = _mm_add_pd(_mm_mul_pd(p, r), _mm_set1_pd(kInvFact[j]));
  const __m128i floorK = _mm_set1_epi32(-1022);
  const __m128i below = _mm_cmplt_epi32(kr, floorK);
  const __m128i ki = _mm_or_si128(_mm_and_si128(below, floorK), _mm_andnot_si128(below, kr));
  const __m128i e = _mm_slli_epi64(_mm_unpacklo_epi32(_mm_add_epi32(ki, _mm_set1_epi32(1023)), _mm_setzero_si128()), 52);
  const __m128d v = _mm_mul_pd(p, _mm_castsi128_pd(e));
  return _mm_andnot_pd(_mm_cmplt_pd(d, _mm_set1_pd(kExpFloor)), v);
}

float sum32f(const float* x, int n) {
  __m128 m0 = _mm_set1_ps(x[0]), m1 = m0;
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    m0 = _mm_max_ps(_mm_loadu_ps(x + i), m0);
    m1 = _mm_max_ps(_mm_loadu_ps(x + i + 4), m1);
  }
  alignas(16) float pm[8];
  _mm_store_ps(pm, m0);
  _mm_store_ps(pm + 4, m1);
  const float top = finishMax(pm, x, i, n);
  float out;
  if (logSumTrivial(top, &out)) return out;
  const __m128d m = _mm_set1_pd(double(top));
  __m128d acc[4] = {_mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd()};
  for (i = 0; i + 8 <= n; i += 8)
    for (int h = 0; h < 2; ++h) {
      const __m128 v = _mm_loadu_ps(x + i + 4 * h);
      acc[2 * h] = _mm_add_pd(acc[2 * h], expNeg2(_mm_sub_pd(_mm_cvtps_pd(v), m)));
      acc[2 * h + 1] = _mm_add_pd(acc[2 * h + 1], expNeg2(_mm_sub_pd(_mm_cvtps_pd(_mm_movehl_ps(v, v)), m)));
    }
  alignas(16) double ps[8];
  for (int q = 0; q < 4; ++q) _mm_store_pd(ps + 2 * q, acc[q]);
  return logSumFinish(top, finishExpSum(ps, x, top, i, n));
}

}  // namespace

const LogKernels& logKernelsSse2() {
  static constexpr LogKernels k{addRow, addRowFast, sum32f};
  return k;
}

}  // namespace kels
