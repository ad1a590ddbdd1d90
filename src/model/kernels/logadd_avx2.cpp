// AVX2 log-add and log-sum kernels (the same bits as logadd_scalar.h): each lane's interval picks
// its coefficients with one cross-lane permute per Horner step; tails run the scalar code.
#include <immintrin.h>

#include "model/kernels/logadd_scalar.h"

namespace kels {
namespace {

// Coefficient j of the three intervals in one register: doubles {c0, c1, c2, 0} or floats
// {c0, c1, c2, 0, ...}; a 32-bit permute picks them for either.
struct Tables {
  __m256 centre64, coef64[logadd::kDegree + 1], centre32, coef32[logadd::kDegree + 1];
  Tables() {
    centre64 = _mm256_castpd_ps(_mm256_setr_pd(logadd::kCentre[0], logadd::kCentre[1], logadd::kCentre[2], 0));
    centre32 = _mm256_setr_ps(float(logadd::kCentre[0]), float(logadd::kCentre[1]), float(logadd::kCentre[2]), 0, 0, 0, 0, 0);
    for (int j = 0; j <= logadd::kDegree; ++j) {
      coef64[j] = _mm256_castpd_ps(_mm256_setr_pd(logadd::kCoef64[0][j], logadd::kCoef64[1][j], logadd::kCoef64[2][j], 0));
      coef32[j] = _mm256_setr_ps(logadd::kCoef32[0][j], logadd::kCoef32[1][j], logadd::kCoef32[2][j], 0, 0, 0, 0, 0);
    }
  }
};

// 32-bit permute indices (2k, 2k+1) that fetch double k, from four interval numbers.
inline __m256i pairIndex(__m128i k) {
  const __m256i v = _mm256_cvtepu32_epi64(k);
  return _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi64(v, 1), _mm256_slli_epi64(v, 33)),
                         _mm256_set1_epi64x(std::int64_t(1) << 32));
}

inline __m128 corr64Half(const Tables& tb, __m128 hi, __m128 d, __m128i idx) {
  const __m256i k = pairIndex(idx);
  auto pick = [&](__m256 table) { return _mm256_castps_pd(_mm256_permutevar8x32_ps(table, k)); };
  const __m256d t = _mm256_sub_pd(_mm256_cvtps_pd(d), pick(tb.centre64));
  __m256d p = pick(tb.coef64[logadd::kDegree]);
  for (int j = logadd::kDegree - 1; j >= 0; --j) p = _mm256_add_pd(_mm256_mul_pd(p, t), pick(tb.coef64[j]));
  return _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(hi), p));
}

template <bool kFast>
inline __m256 logAdd8(const Tables& tb, __m256 a, __m256 b) {
  const __m256 gt = _mm256_cmp_ps(a, b, _CMP_GT_OQ);
  const __m256 hi = _mm256_blendv_ps(b, a, gt), lo = _mm256_blendv_ps(a, b, gt);
  const __m256 d = _mm256_sub_ps(lo, hi);
  const __m256i idx = _mm256_sub_epi32(
      _mm256_sub_epi32(_mm256_setzero_si256(), _mm256_castps_si256(_mm256_cmp_ps(d, _mm256_set1_ps(kSplitLow), _CMP_GE_OQ))),
      _mm256_castps_si256(_mm256_cmp_ps(d, _mm256_set1_ps(kSplitHigh), _CMP_GE_OQ)));
  __m256 r;
  if constexpr (kFast) {
    const __m256 t = _mm256_sub_ps(d, _mm256_permutevar8x32_ps(tb.centre32, idx));
    __m256 p = _mm256_permutevar8x32_ps(tb.coef32[logadd::kDegree], idx);
    for (int j = logadd::kDegree - 1; j >= 0; --j)
      p = _mm256_add_ps(_mm256_mul_ps(p, t), _mm256_permutevar8x32_ps(tb.coef32[j], idx));
    r = _mm256_add_ps(hi, p);
  } else {
    const __m128 r0 = corr64Half(tb, _mm256_castps256_ps128(hi), _mm256_castps256_ps128(d), _mm256_castsi256_si128(idx));
    const __m128 r1 = corr64Half(tb, _mm256_extractf128_ps(hi, 1), _mm256_extractf128_ps(d, 1), _mm256_extracti128_si256(idx, 1));
    r = _mm256_set_m128(r1, r0);
  }
  r = _mm256_blendv_ps(r, _mm256_max_ps(hi, _mm256_set1_ps(kLogZero32f)), _mm256_cmp_ps(d, _mm256_set1_ps(kDrop32f), _CMP_LT_OQ));
  return _mm256_blendv_ps(r, _mm256_add_ps(a, b), _mm256_cmp_ps(d, d, _CMP_UNORD_Q));
}

template <bool kFast>
void addRowT(const float* a, float* b, int n) {
  const Tables tb;
  int i = 0;
  for (; i + 8 <= n; i += 8) _mm256_storeu_ps(b + i, logAdd8<kFast>(tb, _mm256_loadu_ps(a + i), _mm256_loadu_ps(b + i)));
  for (; i < n; ++i) b[i] = logAddElem<kFast>(a[i], b[i]);
}
void addRow(const float* a, float* b, int n) { addRowT<false>(a, b, n); }
void addRowFast(const float* a, float* b, int n) { addRowT<true>(a, b, n); }

inline __m256d expNeg4(__m256d d) {
  const __m256d k = _mm256_round_pd(_mm256_mul_pd(d, _mm256_set1_pd(kLog2e)), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
  const __m256d r = _mm256_sub_pd(_mm256_sub_pd(d, _mm256_mul_pd(k, _mm256_set1_pd(kLn2Hi))),
                                  _mm256_mul_pd(k, _mm256_set1_pd(kLn2Lo)));
  __m256d p = _mm256_set1_pd(kInvFact[kExpDegree]);
  for (int j = kExpDegree - 1; j >= 0; --j) p = _mm256_add_pd(_mm256_mul_pd(p, r), _mm256_set1_pd(kInvFact[j]));
  const __m128i ki = _mm_max_epi32(_mm256_cvtpd_epi32(k), _mm_set1_epi32(-1022));
  const __m256i e = _mm256_slli_epi64(_mm256_add_epi64(_mm256_cvtepi32_epi64(ki), _mm256_set1_epi64x(1023)), 52);
  const __m256d v = _mm256_mul_pd(p, _mm256_castsi256_pd(e));
  return _mm256_andnot_pd(_mm256_cmp_pd(d, _mm256_set1_pd(kExpFloor), _CMP_LT_OQ), v);
}

float sum32f(const float* x, int n) {
  __m256 mx = _mm256_set1_ps(x[0]);
  int i = 0;
  for (; i + 8 <= n; i += 8) mx = _mm256_max_ps(_mm256_loadu_ps(x + i), mx);
  alignas(32) float pm[8];
  _mm256_store_ps(pm, mx);
  const float top = finishMax(pm, x, i, n);
  float out;
  if (logSumTrivial(top, &out)) return out;
  const __m256d m = _mm256_set1_pd(double(top));
  __m256d a0 = _mm256_setzero_pd(), a1 = _mm256_setzero_pd();
  // Two blocks per step hide the latency of the Horner chains; added in element order, so each
  // lane's sum is unchanged.
  auto expBlock = [&](const float* p, __m256d* lo, __m256d* hi) {
    const __m256 v = _mm256_loadu_ps(p);
    *lo = expNeg4(_mm256_sub_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(v)), m));
    *hi = expNeg4(_mm256_sub_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)), m));
  };
  for (i = 0; i + 16 <= n; i += 16) {
    __m256d e0, e1, e2, e3;
    expBlock(x + i, &e0, &e1);
    expBlock(x + i + 8, &e2, &e3);
    a0 = _mm256_add_pd(_mm256_add_pd(a0, e0), e2);
    a1 = _mm256_add_pd(_mm256_add_pd(a1, e1), e3);
  }
  for (; i + 8 <= n; i += 8) {
    const __m256 v = _mm256_loadu_ps(x + i);
    a0 = _mm256_add_pd(a0, expNeg4(_mm256_sub_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(v)), m)));
    a1 = _mm256_add_pd(a1, expNeg4(_mm256_sub_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)), m)));
  }
  alignas(32) double ps[8];
  _mm256_store_pd(ps, a0);
  _mm256_store_pd(ps + 4, a1);
  return logSumFinish(top, finishExpSum(ps, x, top, i, n));
}

}  // namespace

const LogKernels& logKernelsAvx2() {
  static constexpr LogKernels k{addRow, addRowFast, sum32f};
  return k;
}

}  // namespace kels
