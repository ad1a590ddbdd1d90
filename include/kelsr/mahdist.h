/* kelsr: Mahalanobis distances. Included by kelsr.h. */
#ifndef KELSR_MAHDIST_H
#define KELSR_MAHDIST_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Squared Mahalanobis distances to diagonal Gaussians: D = sum_i (x_i - m_i)^2 * w_i, w the inverse
 * variances; no constant, no factor 1/2, no square root. _D2 members check the step first
 * (kelErrStep even with null pointers), then pointers, then sizes; Single and _D2L members check
 * pointers, then sizes. A null row of a _D2L table reports kelErrNullPtr. */
KELS_API KelsStatus KELS_CALL kelsMahDistSingle_32f(const Kels32f* pSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsMahDistSingle_64f(const Kels64f* pSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pResult);
/* Differences exact in integers, sums in single precision. */
KELS_API KelsStatus KELS_CALL kelsMahDistSingle_16s32f(const Kels16s* pSrc, const Kels16s* pMean,
    const Kels16s* pVar, int width, Kels32f* pResult);
/* The sum is exact in 64-bit integers (it saturates there should it ever leave that range), then
 * scaled by 2^-scaleFactor, rounded half to even and saturated to the 32-bit range. */
KELS_API KelsStatus KELS_CALL kelsMahDistSingle_16s32s_Sfs(const Kels16s* pSrc, const Kels16s* pMean,
    const Kels16s* pVar, int width, Kels32s* pResult, int scaleFactor);
/* Elements widened to double before the difference; double sums. */
KELS_API KelsStatus KELS_CALL kelsMahDistSingle_32f64f(const Kels32f* pSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels64f* pResult);

/* m vectors (rows) against one Gaussian. */
KELS_API KelsStatus KELS_CALL kelsMahDist_32f_D2(const Kels32f* pSrc, int step, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist_64f_D2(const Kels64f* pSrc, int step, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pResult, int height);

/* One vector against m Gaussians (rows of means and weights sharing one step). */
KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_32f_D2(const Kels32f* pMean, const Kels32f* pVar,
    int step, const Kels32f* pSrc, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_64f_D2(const Kels64f* pMean, const Kels64f* pVar,
    int step, const Kels64f* pSrc, int width, Kels64f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, Kels64f* pResult, int height);

/* Second names of kelsMahDist_*. */
KELS_API KelsStatus KELS_CALL kelsMahDist1_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist1_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist1_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist1_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pResult, int height);
/* Second names of kelsMahDistMultiMix_*. */
KELS_API KelsStatus KELS_CALL kelsMahDist2_32f_D2(const Kels32f* pMean, const Kels32f* pVar,
    int step, const Kels32f* pSrc, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist2_32f_D2L(const Kels32f** ppMean, const Kels32f** ppVar,
    const Kels32f* pSrc, int width, Kels32f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist2_64f_D2(const Kels64f* pMean, const Kels64f* pVar,
    int step, const Kels64f* pSrc, int width, Kels64f* pResult, int height);
KELS_API KelsStatus KELS_CALL kelsMahDist2_64f_D2L(const Kels64f** ppMean, const Kels64f** ppVar,
    const Kels64f* pSrc, int width, Kels64f* pResult, int height);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_MAHDIST_H */
