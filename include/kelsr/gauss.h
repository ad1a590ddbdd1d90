/* kelsr: single-Gaussian log-likelihoods. Included by kelsr.h. */
/* Scores of feature vectors under one diagonal Gaussian: R = g - S/2, S the sum over the n
 * elements of (x - mean)^2 * w (w inverse variances), (x - mean)^2 (IdVar) or (x - mean)^2 / w
 * (DirectVar, w variances). Single scores one vector; _D2 (row step in elements) and _D2L (row
 * pointers) score m rows, one result per row.
 * - Checks: _D2 members report a width above the step (kelErrStep) before any pointer; then null
 *   pointers (kelErrNullPtr), then width or height below 1 (kelErrSize). A null row pointer of a
 *   _D2L table is kelErrNullPtr, found before anything is written.
 * - Float sums keep 8 interleaved partial sums, double sums 4; the result does not depend on the
 *   alignment of the data or on the processor.
 * - 16s32f and Scaled: R = g - S/2 * 2^-scaleFactor (exact powers, scaleFactor clamped to
 *   -128..150); the plain 16s32f forms use scaleFactor 0.
 * - 16s32s Sfs: R = float(g) - S/2 * 2^-scaleFactor in float, rounded half to even; g is in the
 *   scaled output units and is not scaled. Values reaching 2^31 are stored as -2^31.
 * - Low: each difference saturated to 16 bits, its square split into 16-bit halves multiplied by
 *   w, shifted and summed exactly: R = g - S/2 * 2^-scaleFactor up to the dropped low bits
 *   (per element at most 1 + |w| * 2^-(scaleFactor+1) units).
 *   Integer results add g in 64 bits and saturate to the 32-bit range; float results add g in
 *   float. Scale factors outside 0..15 take the Scaled (float) or Sfs (integer) evaluation. */
#ifndef KELSR_GAUSS_H
#define KELSR_GAUSS_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_32f(const Kels32f* pSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pDst, int height,
    Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_64f(const Kels64f* pSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pResult, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pDst, int height,
    Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pDst, int height, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_32f64f(const Kels32f* pSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels64f* pResult, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_32f(const Kels32f* pSrc,
    const Kels32f* pMean, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_32f_D2L(const Kels32f** ppSrc,
    const Kels32f* pMean, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_64f(const Kels64f* pSrc,
    const Kels64f* pMean, int width, Kels64f* pResult, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, int width, Kels64f* pDst, int height, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_64f_D2L(const Kels64f** ppSrc,
    const Kels64f* pMean, int width, Kels64f* pDst, int height, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_32f64f(const Kels32f* pSrc,
    const Kels32f* pMean, int width, Kels64f* pResult, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_32f(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_64f(const Kels64f* pSrc,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_32f64f(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels64f* pResult, Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVar_16s32s_Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_DirectVarScaled_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_16s32f(const Kels16s* pSrc, const Kels16s* pMean,
    const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height,
    Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32f_D2L(const Kels16s** ppSrc, const Kels16s* pMean,
    const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_Scaled_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_Scaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_Scaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarScaled_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_16s32s_Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVar_16s32s_Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVar_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_Low_16s32s_Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pDst, int height, Kels32s gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarLow_16s32s_Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, int width, Kels32s* pResult, Kels32s gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pDst, int height, Kels32s gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_LowScaled_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_LowScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_LowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height, Kels32f gConst,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarLowScaled_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_Low_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height,
    Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_Low_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pDst, int height,
    Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGaussSingle_IdVarLow_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, int width, Kels32f* pResult, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss_IdVarLow_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss1_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pDst, int height,
    Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss1_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pDst, int height, Kels32f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss1_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pDst, int height,
    Kels64f gConst);
KELS_API KelsStatus KELS_CALL kelsLogGauss1_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pDst, int height, Kels64f gConst);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_GAUSS_H */
