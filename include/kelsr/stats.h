/* kelsr: column statistics over frames. Included by kelsr.h.
 *
 * A block holds N frames (rows) of D dimensions (columns); every statistic runs down a column,
 * rows in order. _D2 blocks take a row step in elements, _D2L blocks an array of row pointers
 * (a null row pointer in the array is reported as kelErrNullPtr, nothing written). Unweighted
 * variances divide by N - 1, means by N, each through a reciprocal formed once. Weighted forms
 * do not normalise: the weights are taken to sum to one. Results are the same whatever the
 * alignment, except in kelsNewVar_32s_*Sfs, whose rounding follows the alignment by design. */
#ifndef KELSR_STATS_H
#define KELSR_STATS_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Column means: mean(j) = (sum of x(i,j)) * (1/N). The 16-bit forms sum in float and round
 * half to even, saturated. */
KELS_API KelsStatus KELS_CALL kelsMeanColumn_32f_D2(const Kels32f* pSrc, int height, int step,
                                                   Kels32f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsMeanColumn_32f_D2L(const Kels32f** ppSrc, int height,
                                                    Kels32f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsMeanColumn_16s_D2(const Kels16s* pSrc, int height, int step,
                                                   Kels16s* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsMeanColumn_16s_D2L(const Kels16s** ppSrc, int height,
                                                    Kels16s* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsMeanCol_32f_D2(const Kels32f* pSrc, int height, int step,
                                                Kels32f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsMeanCol_32f_D2L(const Kels32f** ppSrc, int height,
                                                 Kels32f* pDstMean, int width);

/* Column variances around given means: (sum of x^2 - N*m*m) / (N - 1), the accumulator
 * starting at (-N)*m*m. Needs N >= 2; nothing is floored. */
KELS_API KelsStatus KELS_CALL kelsVarColumn_32f_D2(const Kels32f* pSrc, int height, int step,
                                                  const Kels32f* pSrcMean, Kels32f* pDstVar,
                                                  int width);
KELS_API KelsStatus KELS_CALL kelsVarColumn_32f_D2L(const Kels32f** ppSrc, int height,
                                                   const Kels32f* pSrcMean, Kels32f* pDstVar,
                                                   int width);
KELS_API KelsStatus KELS_CALL kelsVarColumn_16s_D2Sfs(const Kels16s* pSrc, int height, int step,
                                                     const Kels16s* pSrcMean, Kels16s* pDstVar,
                                                     int width, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsVarColumn_16s_D2LSfs(const Kels16s** ppSrc, int height,
                                                      const Kels16s* pSrcMean, Kels16s* pDstVar,
                                                      int width, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsVarCol_32f_D2(const Kels32f* pSrc, int height, int step,
                                               const Kels32f* pSrcMean, Kels32f* pDstVar,
                                               int width);
KELS_API KelsStatus KELS_CALL kelsVarCol_32f_D2L(const Kels32f** ppSrc, int height,
                                                const Kels32f* pSrcMean, Kels32f* pDstVar,
                                                int width);

/* Means and variances in one pass. The integer forms store the means unscaled (rounded,
 * saturated) and scale only the variances, which come from the unrounded float means. The
 * _D2 forms check the step after the pointers and sizes. */
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_32f_D2(const Kels32f* pSrc, int height, int step,
                                                      Kels32f* pDstMean, Kels32f* pDstVar,
                                                      int width);
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_32f_D2L(const Kels32f** ppSrc, int height,
                                                       Kels32f* pDstMean, Kels32f* pDstVar,
                                                       int width);
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s_D2Sfs(const Kels16s* pSrc, int height,
                                                         int step, Kels16s* pDstMean,
                                                         Kels16s* pDstVar, int width,
                                                         int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s_D2LSfs(const Kels16s** ppSrc, int height,
                                                          Kels16s* pDstMean, Kels16s* pDstVar,
                                                          int width, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s32s_D2Sfs(const Kels16s* pSrc, int height,
                                                            int step, Kels32s* pDstMean,
                                                            Kels32s* pDstVar, int width,
                                                            int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s32s_D2LSfs(const Kels16s** ppSrc, int height,
                                                             Kels32s* pDstMean, Kels32s* pDstVar,
                                                             int width, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsMeanVarCol_32f_D2(const Kels32f* pSrc, int height, int step,
                                                   Kels32f* pDstMean, Kels32f* pDstVar,
                                                   int width);
KELS_API KelsStatus KELS_CALL kelsMeanVarCol_32f_D2L(const Kels32f** ppSrc, int height,
                                                    Kels32f* pDstMean, Kels32f* pDstVar,
                                                    int width);

/* Weighted moments, not normalised: mean(j) = sum w(i)*x(i,j); var(j) = sum (w(i)*x(i,j))*x(i,j)
 * minus the squared (given or just computed) mean. */
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_32f_D2(const Kels32f* pSrc, int step,
                                                           const Kels32f* pWgt, int height,
                                                           Kels32f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_32f_D2L(const Kels32f** ppSrc,
                                                            const Kels32f* pWgt, int height,
                                                            Kels32f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_64f_D2(const Kels64f* pSrc, int step,
                                                           const Kels64f* pWgt, int height,
                                                           Kels64f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_64f_D2L(const Kels64f** ppSrc,
                                                            const Kels64f* pWgt, int height,
                                                            Kels64f* pDstMean, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_32f_D2(const Kels32f* pSrc, int step,
                                                          const Kels32f* pWgt, int height,
                                                          const Kels32f* pSrcMean,
                                                          Kels32f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_32f_D2L(const Kels32f** ppSrc,
                                                           const Kels32f* pWgt, int height,
                                                           const Kels32f* pSrcMean,
                                                           Kels32f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_64f_D2(const Kels64f* pSrc, int step,
                                                          const Kels64f* pWgt, int height,
                                                          const Kels64f* pSrcMean,
                                                          Kels64f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_64f_D2L(const Kels64f** ppSrc,
                                                           const Kels64f* pWgt, int height,
                                                           const Kels64f* pSrcMean,
                                                           Kels64f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_32f_D2(const Kels32f* pSrc, int step,
                                                              const Kels32f* pWgt, int height,
                                                              Kels32f* pDstMean,
                                                              Kels32f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_32f_D2L(const Kels32f** ppSrc,
                                                               const Kels32f* pWgt, int height,
                                                               Kels32f* pDstMean,
                                                               Kels32f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_64f_D2(const Kels64f* pSrc, int step,
                                                              const Kels64f* pWgt, int height,
                                                              Kels64f* pDstMean,
                                                              Kels64f* pDstVar, int width);
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_64f_D2L(const Kels64f** ppSrc,
                                                               const Kels64f* pWgt, int height,
                                                               Kels64f* pDstMean,
                                                               Kels64f* pDstVar, int width);

/* Column sums and sums of squares (not means), in float. The _I forms add onto the values
 * already in the destinations, row by row. The 32-bit integer forms scale the totals by
 * 2^-scaleFactor on every call; _ISfs first turns the integer totals back into float, so a
 * caller accumulating many blocks passes scale factor 0. */
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_32f(const Kels32f* pSrc, int step, int height,
                                                Kels32f* pDstSum, Kels32f* pDstSumSq, int width);
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_32f_I(const Kels32f* pSrc, int step, int height,
                                                  Kels32f* pSrcDstSum, Kels32f* pSrcDstSumSq,
                                                  int width);
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32f(const Kels16s* pSrc, int step, int height,
                                                   Kels32f* pDstSum, Kels32f* pDstSumSq,
                                                   int width);
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32f_I(const Kels16s* pSrc, int step, int height,
                                                     Kels32f* pSrcDstSum, Kels32f* pSrcDstSumSq,
                                                     int width);
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32s_Sfs(const Kels16s* pSrc, int step,
                                                       int height, Kels32s* pDstSum,
                                                       Kels32s* pDstSumSq, int width,
                                                       int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32s_ISfs(const Kels16s* pSrc, int step,
                                                        int height, Kels32s* pSrcDstSum,
                                                        Kels32s* pSrcDstSumSq, int width,
                                                        int scaleFactor);

/* Weighted running accumulation: d = src - mean; meanAcc += d*weight; varAcc += d*(d*weight). */
KELS_API KelsStatus KELS_CALL kelsMeanVarAcc_32f(const Kels32f* pSrc, const Kels32f* pSrcMean,
                                                Kels32f* pDstMeanAcc, Kels32f* pDstVarAcc,
                                                int len, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsMeanVarAcc_64f(const Kels64f* pSrc, const Kels64f* pSrcMean,
                                                Kels64f* pDstMeanAcc, Kels64f* pDstVarAcc,
                                                int len, Kels64f val);

/* Variance from moments: (s - m*m*a) * b. The 32-bit integer forms compute in float and scale
 * by 2^-scaleFactor; when m, s and dst are all 16-byte aligned the result is rounded half to
 * even, otherwise clamped to [-2^31, 2^31] and truncated toward zero (a clamped 2^31 and NaN
 * store -2^31 either way). The two may differ by one for non-integral results. */
KELS_API KelsStatus KELS_CALL kelsNewVar_32f(const Kels32f* pSrc1, const Kels32f* pSrc2,
                                            Kels32f* pDst, int len, Kels32f valA, Kels32f valB);
KELS_API KelsStatus KELS_CALL kelsNewVar_32f_I(const Kels32f* pSrc, Kels32f* pSrcDst, int len,
                                              Kels32f valA, Kels32f valB);
KELS_API KelsStatus KELS_CALL kelsNewVar_32s_Sfs(const Kels32s* pSrc1, const Kels32s* pSrc2,
                                                Kels32s* pDst, int len, Kels32f valA,
                                                Kels32f valB, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsNewVar_32s_ISfs(const Kels32s* pSrc, Kels32s* pSrcDst, int len,
                                                 Kels32f valA, Kels32f valB, int scaleFactor);

/* Reciprocal square roots above a threshold; elements at or below it (float form) or below it
 * (integer forms) become the threshold itself. The float estimate is the correctly rounded
 * 1/sqrt(x), refined by one Newton step 0.5*r*(3 - x*r*r), so results do not depend on the
 * processor; +inf gives 0. Integer results are scaled by 2^-scaleFactor, clamped and
 * truncated toward zero. kelWarnDivByZero when every element was replaced. */
KELS_API KelsStatus KELS_CALL kelsRecSqrt_32f(Kels32f* pSrcDst, int len, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsRecSqrt_32f_Th(Kels32f* pSrcDst, int len, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsRecSqrt_32s_Sfs(Kels32s* pSrcDst, int len, Kels32s val,
                                                 int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsRecSqrt_32s16s_Sfs(const Kels32s* pSrc, Kels16s* pDst, int len,
                                                    Kels32s val, int scaleFactor);

/* Covariance accumulation in double: for j <= k, dst(j,k) = dst(j,k) + weight * sum over rows of
 * (x(i,j) - m(k)) * (x(i,k) - m(k)), copied to dst(k,j). Both deviations use m(k), by design.
 * The destination is never cleared. Every size and alignment gives the same bits: large blocks
 * only take a faster loop order, each sum still runs over the rows in order. */
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_32f64f_D2(const Kels32f* pSrc, int srcStep,
                                                               int height, const Kels32f* pMean,
                                                               Kels64f* pDst, int width,
                                                               int dstStep, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_32f64f_D2L(const Kels32f** ppSrc,
                                                                int height, const Kels32f* pMean,
                                                                Kels64f** ppDst, int width,
                                                                Kels64f val);
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_16s64f_D2(const Kels16s* pSrc, int srcStep,
                                                               int height, const Kels16s* pMean,
                                                               Kels64f* pDst, int width,
                                                               int dstStep, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_16s64f_D2L(const Kels16s** ppSrc,
                                                                int height, const Kels16s* pMean,
                                                                Kels64f** ppDst, int width,
                                                                Kels64f val);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_STATS_H */
