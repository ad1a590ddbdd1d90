/* kelsr: model update: means, variances, weights, Gaussian constants. Included by kelsr.h.
 *
 * Occupations must be >= 0 (a NaN occupation fails that test: kelErrNegArg); one whose
 * magnitude is not above the smallest normal number of its type (-0.0 included) returns
 * kelWarnZeroDivisor with nothing written. Non-finite float results use the bit patterns
 * 0x7F800000, 0xFF800000 and 0xFFC00000 (NaN); double NaN results are 0xFFF8000000000000. */
#ifndef KELSR_UPDATE_H
#define KELSR_UPDATE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* mean(k) += acc(k) / occupation: the mean is added to, not overwritten. The float form
 * multiplies by the float reciprocal; the double form divides. */
KELS_API KelsStatus KELS_CALL kelsUpdateMean_32f(const Kels32f* pMeanAcc, Kels32f* pMean,
                                                int len, Kels32f meanOcc);
KELS_API KelsStatus KELS_CALL kelsUpdateMean_64f(const Kels64f* pMeanAcc, Kels64f* pMean,
                                                int len, Kels64f meanOcc);

/* var(k) = acc2(k)/occ2 - (acc1(k)/occ1)^2, replaced by floor(k) unless strictly above it (a NaN
 * variance is floored too); kelWarnAllFloored when every element was floored. */
KELS_API KelsStatus KELS_CALL kelsUpdateVar_32f(const Kels32f* pMeanAcc, const Kels32f* pVarAcc,
                                               const Kels32f* pVarFloor, Kels32f* pVar, int len,
                                               Kels32f meanOcc, Kels32f varOcc);
KELS_API KelsStatus KELS_CALL kelsUpdateVar_64f(const Kels64f* pMeanAcc, const Kels64f* pVarAcc,
                                               const Kels64f* pVarFloor, Kels64f* pVar, int len,
                                               Kels64f meanOcc, Kels64f varOcc);

/* w(k) = acc(k) * (1/occupation), replaced by the floor unless strictly above it; *pWgtSum gets
 * the sum of the weights as written, added in order in the weights' own type. Not renormalised. */
KELS_API KelsStatus KELS_CALL kelsUpdateWeight_32f(const Kels32f* pWgtAcc, Kels32f* pWgt, int len,
                                                  Kels32f* pWgtSum, Kels32f wgtOcc,
                                                  Kels32f wgtFloor);
KELS_API KelsStatus KELS_CALL kelsUpdateWeight_64f(const Kels64f* pWgtAcc, Kels64f* pWgt, int len,
                                                  Kels64f* pWgtSum, Kels64f wgtOcc,
                                                  Kels64f wgtFloor);

/* G = L*1.8378770664093 + sum of ln(variance), from inverse variances or (DirectVar) variances.
 * The logarithms are summed in double; the float forms round both terms to float first. The
 * first zero element gives +inf (kelWarnInfResult), the first negative or NaN element NaN
 * (kelWarnNaNResult); an infinite element gives the infinite G its logarithm implies, and
 * +inf returns kelWarnInfResult. */
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_32f(const Kels32f* pVar, int len, Kels32f* pDst);
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_64f(const Kels64f* pVar, int len, Kels64f* pDst);
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_DirectVar_32f(const Kels32f* pVar, int len,
                                                            Kels32f* pDst);
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_DirectVar_64f(const Kels64f* pVar, int len,
                                                            Kels64f* pDst);

/* dst(k) = a(k) - 0.5*b(k); the 32-bit form subtracts b(k) shifted right arithmetically by one
 * (rounding toward -inf) and wraps around. The _I forms write over b. */
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32f(const Kels32f* pSrc, const Kels32f* pSrcB,
                                                    Kels32f* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_64f(const Kels64f* pSrc, const Kels64f* pSrcB,
                                                    Kels64f* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32s(const Kels32s* pSrc, const Kels32s* pSrcB,
                                                    Kels32s* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32f_I(const Kels32f* pSrc, Kels32f* pSrcDst,
                                                      int len);
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_64f_I(const Kels64f* pSrc, Kels64f* pSrcDst,
                                                      int len);
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32s_I(const Kels32s* pSrc, Kels32s* pSrcDst,
                                                      int len);

/* dst = x1*(w1*r) + x2*(w2*r), r = 1/(w1 + w2); the Half forms take x1 as already weighted:
 * x1*r + x2*(w2*r). When w1 + w2 is exactly 0 every element gets the sign of x1*w1 + x2*w2
 * (Half: x1 + x2*w2): +inf, -inf, or NaN for 0 (or NaN), and kelWarnZeroWeightSum. The 16-bit
 * forms compute in float, clamp to [-32768, 32767] and truncate toward zero (NaN gives -32768);
 * their zero-sum values are 32767, -32768 and 0. */
KELS_API KelsStatus KELS_CALL kelsWeightedSum_32f(const Kels32f* pSrc1, const Kels32f* pSrc2,
                                                 Kels32f* pDst, int len, Kels32f weight1,
                                                 Kels32f weight2);
KELS_API KelsStatus KELS_CALL kelsWeightedSum_64f(const Kels64f* pSrc1, const Kels64f* pSrc2,
                                                 Kels64f* pDst, int len, Kels64f weight1,
                                                 Kels64f weight2);
KELS_API KelsStatus KELS_CALL kelsWeightedSum_16s(const Kels16s* pSrc1, const Kels16s* pSrc2,
                                                 Kels16s* pDst, int len, Kels32f weight1,
                                                 Kels32f weight2);
KELS_API KelsStatus KELS_CALL kelsWeightedSumHalf_32f(const Kels32f* pSrc1, const Kels32f* pSrc2,
                                                     Kels32f* pDst, int len, Kels32f weight1,
                                                     Kels32f weight2);
KELS_API KelsStatus KELS_CALL kelsWeightedSumHalf_64f(const Kels64f* pSrc1, const Kels64f* pSrc2,
                                                     Kels64f* pDst, int len, Kels64f weight1,
                                                     Kels64f weight2);
KELS_API KelsStatus KELS_CALL kelsWeightedSumHalf_16s(const Kels16s* pSrc1, const Kels16s* pSrc2,
                                                     Kels16s* pDst, int len, Kels32f weight1,
                                                     Kels32f weight2);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_UPDATE_H */
