/* kelsr: Gaussian splitting, merging and clustering. Included by kelsr.h. */
#ifndef KELSR_CLUSTER_H
#define KELSR_CLUSTER_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Splitting one diagonal Gaussian into two: for each k, s = sqrt(var(k)) * eps; the second mean is
 * mean(k) - s, the first (in place) mean(k) + s, and the second variance copies the variance.
 * L is checked before the pointers. In the float form, when all four vectors are 16-byte aligned,
 * blocks of four take sqrt(var) from a reciprocal-square-root estimate refined by one Newton step
 * (var*r*(-0.5)*(var*r*r - 3)); the estimate is the exact reciprocal square root cut to 12
 * significant bits, so every processor gives the same bits. Other elements use an exact root. */
KELS_API KelsStatus KELS_CALL kelsGaussianSplit_32f(Kels32f* pMean, const Kels32f* pVar, Kels32f* pMean2,
                                                    Kels32f* pVar2, int len, Kels32f epsilon);
KELS_API KelsStatus KELS_CALL kelsGaussianSplit_64f(Kels64f* pMean, const Kels64f* pVar, Kels64f* pMean2,
                                                    Kels64f* pVar2, int len, Kels64f epsilon);

/* Merging two Gaussians with weights w1, w2: r = 1/(w1 + w2), m = (w1*m1 + w2*m2)*r,
 * v = ((m1^2 + v1)*w1 + (m2^2 + v2)*w2)*r - m^2, and the determinant term
 * G = L*1.8378770664093 - sum_k ln v(k) (note the sign; logarithms summed in double). A merged
 * variance <= 0 makes G non-finite; the status is still kelOk. L is checked first. */
KELS_API KelsStatus KELS_CALL kelsGaussianMerge_32f(const Kels32f* pMean1, const Kels32f* pVar1,
                                                    const Kels32f* pMean2, const Kels32f* pVar2,
                                                    Kels32f* pDstMean, Kels32f* pDstVar, int len,
                                                    Kels32f* pDet, Kels32f w1, Kels32f w2);
KELS_API KelsStatus KELS_CALL kelsGaussianMerge_64f(const Kels64f* pMean1, const Kels64f* pVar1,
                                                    const Kels64f* pMean2, const Kels64f* pVar2,
                                                    Kels64f* pDstMean, Kels64f* pDstVar, int len,
                                                    Kels64f* pDet, Kels64f w1, Kels64f w2);

/* Sufficient statistics of a Gaussian with occupation occ, overwriting (never adding to) the
 * outputs: first(k) = mean(k)*occ, second(k) = (mean(k)^2 + var(k))*occ, with var = 1/ivar
 * (plain forms) or the given variance (DirectVar). The plain float form, for L >= 8 and
 * 16-byte-aligned vectors, forms 1/ivar in blocks of four from a 12-bit reciprocal estimate
 * refined by one Newton step; elsewhere it divides. */
KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_32f(const Kels32f* pMean, const Kels32f* pInvVar,
                                                          Kels32f* pFirst, Kels32f* pSecond, int len,
                                                          Kels32f occupation);
KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_64f(const Kels64f* pMean, const Kels64f* pInvVar,
                                                          Kels64f* pFirst, Kels64f* pSecond, int len,
                                                          Kels64f occupation);
KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_DirectVar_32f(const Kels32f* pMean, const Kels32f* pVar,
                                                                    Kels32f* pFirst, Kels32f* pSecond,
                                                                    int len, Kels32f occupation);
KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_DirectVar_64f(const Kels64f* pMean, const Kels64f* pVar,
                                                                    Kels64f* pFirst, Kels64f* pSecond,
                                                                    int len, Kels64f occupation);

/* Log-likelihood of the frames of a cluster under the Gaussian fitted to them, from statistics
 * summed over its members (occupation occ, first- and second-order sums):
 *   LL = -1/2 * occ * (L*(1 + ln 2pi) + sum_k ln sigma2(k)),
 *   sigma2(k) = second(k)/occ - (first(k)/occ)^2,
 * computed in double as 1/2 * occ * (L*(-2.8378770664093453) + 2L*ln occ - sum_k ln q(k)) with
 * q(k) = second(k)*occ - first(k)^2. Larger is a better fit. A zero occupation writes -1.0e10
 * (an empty cluster) and returns kelWarnZeroDivisor; a degenerate cluster (some q(k) <= 0)
 * writes -infinity with kelOk. Checks: null, then L < 1, then an occupation that is not >= 0
 * (negative or NaN: kelErrNegArg); nothing is written when a check fails. */
KELS_API KelsStatus KELS_CALL kelsDcsClustLCompute_64f(const Kels64f* pFirst, const Kels64f* pSecond, int len,
                                                       Kels64f* pDst, Kels64f occupation);
KELS_API KelsStatus KELS_CALL kelsDcsClustLCompute_32f64f(const Kels64f* pFirst, const Kels64f* pSecond, int len,
                                                          Kels64f* pDst, Kels32f occupation);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_CLUSTER_H */
