// AVX-512 log-add and log-sum kernels (the same bits as logadd_scalar.h): the interval of each
// lane picks its coefficients with one permute per Horner step, tails use mask registers.
// GCC 12 reports its own _mm512_undefined_* placeholders inside the intrinsic headers as
// maybe-uninitialized; the lanes in question are never read.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>

#include "model/kernels/logadd_scalar.h"

namespace kels {
namespace {

inline __mmask16 tailMask(int r) { return __mmask16(r >= 16 ? 0xFFFFu : (1u << r) - 1); }

// One register per coefficient: lane k holds interval k's value.
struct Tables64 {
  __m512d centre, coef[logadd::kDegree + 1];
  Tables64() {
    centre = _mm512_setr_pd(logadd::kCentre[0], logadd::kCentre[1], logadd::kCentre[2], 0, 0, 0, 0, 0);
    for (int j = 0; j <= logadd::kDegree; ++j)
      coef[j] = _mm512_setr_pd(logadd::kCoef64[0][j], logadd::kCoef64[1][j], logadd::kCoef64[2][j], 0, 0, 0, 0, 0);
  }
};
struct Tables32 {
  __m512 centre, coef[logadd::kDegree + 1];
  Tables32() {
    centre = _mm512_setr_ps(float(logadd::kCentre[0]), float(logadd::kCentre[1]), float(logadd::kCentre[2]), 0,
                            0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    for (int j = 0; j <= logadd::kDegree; ++j)
      coef[j] = _mm512_setr_ps(logadd::kCoef32[0][j], logadd::kCoef32[1][j], logadd::kCoef32[2][j], 0, 0, 0, 0,
                               0, 0, 0, 0, 0, 0, 0, 0, 0);
  }
};

// The float result of 16 lanes, given the correction evaluator.
template <class Corr>
inline __m512 logAdd16(__m512 a, __m512 b, Corr corr) {
  const __mmask16 gt = _mm512_cmp_ps_mask(a, b, _CMP_GT_OQ);
  const __m512 hi = _mm512_mask_blend_ps(gt, b, a), lo = _mm512_mask_blend_ps(gt, a, b);
  const __m512 d = _mm512_sub_ps(lo, hi);
  const __m512i one = _mm512_set1_epi32(1);
  __m512i idx = _mm512_maskz_mov_epi32(_mm512_cmp_ps_mask(d, _mm512_set1_ps(kSplitLow), _CMP_GE_OQ), one);
  idx = _mm512_mask_add_epi32(idx, _mm512_cmp_ps_mask(d, _mm512_set1_ps(kSplitHigh), _CMP_GE_OQ), idx, one);
  __m512 r = corr(hi, d, idx);
  const __mmask16 drop = _mm512_cmp_ps_mask(d, _mm512_set1_ps(kDrop32f), _CMP_LT_OQ);
  r = _mm512_mask_mov_ps(r, drop, _mm512_max_ps(hi, _mm512_set1_ps(kLogZero32f)));
  return _mm512_mask_mov_ps(r, _mm512_cmp_ps_mask(d, d, _CMP_UNORD_Q), _mm512_add_ps(a, b));
}

// hi + correction in double: 8 lanes at a time.
inline __m256 corr64Half(const Tables64& tb, __m256 hi, __m256 d, __m256i idx) {
  const __m512i k = _mm512_cvtepi32_epi64(idx);
  const __m512d t = _mm512_sub_pd(_mm512_cvtps_pd(d), _mm512_permutexvar_pd(k, tb.centre));
  __m512d p = _mm512_permutexvar_pd(k, tb.coef[logadd::kDegree]);
  for (int j = logadd::kDegree - 1; j >= 0; --j)
    p = _mm512_add_pd(_mm512_mul_pd(p, t), _mm512_permutexvar_pd(k, tb.coef[j]));
  return _mm512_cvtpd_ps(_mm512_add_pd(_mm512_cvtps_pd(hi), p));
}

// Accurate path: 8 lanes per pass, the float side in 256-bit registers so the double side needs
// no lane extraction.
inline __m256 logAdd8(const Tables64& tb, __m256 a, __m256 b) {
  const __mmask8 gt = _mm256_cmp_ps_mask(a, b, _CMP_GT_OQ);
  const __m256 hi = _mm256_mask_blend_ps(gt, b, a), lo = _mm256_mask_blend_ps(gt, a, b);
  const __m256 d = _mm256_sub_ps(lo, hi);
  const __m256i one = _mm256_set1_epi32(1);
  __m256i idx = _mm256_maskz_mov_epi32(_mm256_cmp_ps_mask(d, _mm256_set1_ps(kSplitLow), _CMP_GE_OQ), one);
  idx = _mm256_mask_add_epi32(idx, _mm256_cmp_ps_mask(d, _mm256_set1_ps(kSplitHigh), _CMP_GE_OQ), idx, one);
  __m256 r = corr64Half(tb, hi, d, idx);
  const __mmask8 drop = _mm256_cmp_ps_mask(d, _mm256_set1_ps(kDrop32f), _CMP_LT_OQ);
  r = _mm256_mask_mov_ps(r, drop, _mm256_max_ps(hi, _mm256_set1_ps(kLogZero32f)));
  return _mm256_mask_mov_ps(r, _mm256_cmp_ps_mask(d, d, _CMP_UNORD_Q), _mm256_add_ps(a, b));
}

void addRow(const float* a, float* b, int n) {
  const Tables64 tb;
  for (int i = 0; i < n; i += 8) {
    const __mmask8 m = __mmask8(tailMask(n - i));
    _mm256_mask_storeu_ps(b + i, m, logAdd8(tb, _mm256_maskz_loadu_ps(m, a + i), _mm256_maskz_loadu_ps(m, b + i)));
  }
}

void addRowFast(const float* a, float* b, int n) {
  const Tables32 tb;
  auto corr = [&](__m512 hi, __m512 d, __m512i idx) {
    const __m512 t = _mm512_sub_ps(d, _mm512_permutexvar_ps(idx, tb.centre));
    __m512 p = _mm512_permutexvar_ps(idx, tb.coef[logadd::kDegree]);
    for (int j = logadd::kDegree - 1; j >= 0; --j)
      p = _mm512_add_ps(_mm512_mul_ps(p, t), _mm512_permutexvar_ps(idx, tb.coef[j]));
    return _mm512_add_ps(hi, p);
  };
  for (int i = 0; i < n; i += 16) {
    const __mmask16 m = tailMask(n - i);
    _mm512_mask_storeu_ps(b + i, m, logAdd16(_mm512_maskz_loadu_ps(m, a + i), _mm512_maskz_loadu_ps(m, b + i), corr));
  }
}

// e^d for 8 lanes, the arithmetic of expNeg.
inline __m512d expNeg8(__m512d d) {
  const __m512d k = _mm512_roundscale_pd(_mm512_mul_pd(d, _mm512_set1_pd(kLog2e)), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
  const __m512d r = _mm512_sub_pd(_mm512_sub_pd(d, _mm512_mul_pd(k, _mm512_set1_pd(kLn2Hi))),
                                  _mm512_mul_pd(k, _mm512_set1_pd(kLn2Lo)));
  __m512d p = _mm512_set1_pd(kInvFact[kExpDegree]);
  for (int j = kExpDegree - 1; j >= 0; --j) p = _mm512_add_pd(_mm512_mul_pd(p, r), _mm512_set1_pd(kInvFact[j]));
  const __m256i ki = _mm256_max_epi32(_mm512_cvtpd_epi32(k), _mm256_set1_epi32(-1022));
  const __m512i e = _mm512_slli_epi64(_mm512_add_epi64(_mm512_cvtepi32_epi64(ki), _mm512_set1_epi64(1023)), 52);
  const __m512d v = _mm512_mul_pd(p, _mm512_castsi512_pd(e));
  return _mm512_mask_mov_pd(v, _mm512_cmp_pd_mask(d, _mm512_set1_pd(kExpFloor), _CMP_LT_OQ), _mm512_setzero_pd());
}

float sum32f(const float* x, int n) {
  __m256 mx = _mm256_set1_ps(x[0]);
  for (int i = 0; i < n; i += 8) {
    const __mmask8 m = __mmask8(tailMask(n - i));
    mx = _mm256_mask_max_ps(mx, m, _mm256_maskz_loadu_ps(m, x + i), mx);
  }
  alignas(32) float pm[8];
  _mm256_store_ps(pm, mx);
  const float top = maxLanes8(pm);
  float out;
  if (logSumTrivial(top, &out)) return out;
  const __m512d m = _mm512_set1_pd(double(top));
  __m512d acc = _mm512_setzero_pd();
  for (int i = 0; i < n; i += 8) {
    const __mmask8 k = __mmask8(tailMask(n - i));
    const __m512d d = _mm512_sub_pd(_mm512_cvtps_pd(_mm256_maskz_loadu_ps(k, x + i)), m);
    acc = _mm512_add_pd(acc, _mm512_maskz_mov_pd(k, expNeg8(d)));
  }
  alignas(64) double ps[8];
  _mm512_store_pd(ps, acc);
  return logSumFinish(top, reduceLanes8(ps));
}

}  // namespace

const LogKernels& logKernelsAvx512() {
  static constexpr LogKernels k{addRow, addRowFast, sum32f};
  return k;
}

}  // namespace kels
