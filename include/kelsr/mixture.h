/* kelsr: mixture log-likelihoods: maxima, log-additions, multi-mixture and selected scores. Included by kelsr.h. */
#ifndef KELSR_MIXTURE_H
#define KELSR_MIXTURE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Scores r = g - 1/2 * S with S the weighted squared distance of the single-Gaussian scores
 * (same forms, element types and scale factors); g carries the log of the component weight. */

/* Max: one Gaussian against m vectors; D[t] <- max(D[t], g - 1/2 S_t). The new score replaces the
 * old one only when strictly greater (ties and NaN keep the old value). Forms and scale factors as
 * in the single-Gaussian scores; _D2 checks the step first (kelErrStep even with null pointers),
 * then pointers, then sizes. A null row of a _D2L table reports kelErrNullPtr. */
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_32f_D2L(const Kels32f** ppSrc,
    const Kels32f* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pSrcDst, int height,
    Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pSrcDst, int height, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, int width, Kels64f* pSrcDst, int height, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_64f_D2L(const Kels64f** ppSrc,
    const Kels64f* pMean, int width, Kels64f* pSrcDst, int height, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Scaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Scaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_LowScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_LowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVar_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_Low_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
/* Second name of kelsLogGaussMax_32f_D2. */
KELS_API KelsStatus KELS_CALL kelsLogGaussMax1_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);

/* Add: D[t] <- LogAdd(D[t], g - 1/2 S_t), with the single-precision log-add (accurate correction,
 * hint 0; 64f members: the double-precision log-add). The scores are gathered in scratch memory,
 * on the stack up to 100 rows; a refused allocation beyond returns kelErrNullPtr (deliberately).
 * Integer members: a score k stands for k * 2^sf; the log-added result is scaled back, rounded half
 * to even and saturated to the 32-bit range. */
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_32f_D2L(const Kels32f** ppSrc, const Kels32f* pMean,
    const Kels32f* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_32f_D2L(const Kels32f** ppSrc,
    const Kels32f* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pSrcDst, int height,
    Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_64f_D2L(const Kels64f** ppSrc, const Kels64f* pMean,
    const Kels64f* pVar, int width, Kels64f* pSrcDst, int height, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, int width, Kels64f* pSrcDst, int height, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_64f_D2L(const Kels64f** ppSrc,
    const Kels64f* pMean, int width, Kels64f* pSrcDst, int height, Kels64f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_Scaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_Scaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_Low_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_Low_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_LowScaled_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_LowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarLow_16s32f_D2(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarLow_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc,
    int step, const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32f* pSrcDst, int height, Kels32f val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVar_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_Low_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_Low_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pSrcDst, int height, Kels32s val,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc, int step,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd_IdVarLow_16s32s_D2LSfs(const Kels16s** ppSrc,
    const Kels16s* pMean, int width, Kels32s* pSrcDst, int height, Kels32s val, int scaleFactor);
/* Second name of kelsLogGaussAdd_32f_D2. */
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd1_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pSrcDst, int height,
    Kels32f val);

/* MultiMix: one vector against G Gaussians (rows of means and weights sharing one step);
 * D[j] <- D[j] - 1/2 S_j, so the caller loads the constants g_j into D first. */
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_32f_D2(const Kels32f* pMean, const Kels32f* pVar,
    int step, const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_32f_D2(const Kels32f* pMean, int step,
    const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_32f_D2L(const Kels32f** ppMean,
    const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_64f_D2(const Kels64f* pMean, const Kels64f* pVar,
    int step, const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_64f_D2(const Kels64f* pMean, int step,
    const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_64f_D2L(const Kels64f** ppMean,
    const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Scaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Scaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32f_D2(const Kels16s* pMean, int step,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_LowScaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_LowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVar_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_Low_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMultiMix_IdVarLow_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, Kels32s* pSrcDst, int height, int scaleFactor);
/* Second name of kelsLogGaussMultiMix_32f_D2. */
KELS_API KelsStatus KELS_CALL kelsLogGauss2_32f_D2(const Kels32f* pMean, const Kels32f* pVar,
    int step, const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height);
/* Second name of kelsLogGaussMultiMix_32f_D2L. */
KELS_API KelsStatus KELS_CALL kelsLogGauss2_32f_D2L(const Kels32f** ppMean, const Kels32f** ppVar,
    const Kels32f* pSrc, int width, Kels32f* pSrcDst, int height);
/* Second name of kelsLogGaussMultiMix_64f_D2. */
KELS_API KelsStatus KELS_CALL kelsLogGauss2_64f_D2(const Kels64f* pMean, const Kels64f* pVar,
    int step, const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height);
/* Second name of kelsLogGaussMultiMix_64f_D2L. */
KELS_API KelsStatus KELS_CALL kelsLogGauss2_64f_D2L(const Kels64f** ppMean, const Kels64f** ppVar,
    const Kels64f* pSrc, int width, Kels64f* pSrcDst, int height);

/* MaxMultiMix: D[j] <- max(D[j], g_j - 1/2 S_j); ties keep the old value. */
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_32f_D2(const Kels32f* pMean,
    const Kels32f* pVar, int step, const Kels32f* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_32f_D2(const Kels32f* pMean, int step,
    const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_32f_D2L(const Kels32f** ppMean,
    const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_64f_D2(const Kels64f* pMean,
    const Kels64f* pVar, int step, const Kels64f* pSrc, int width, const Kels64f* pVal,
    Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_64f_D2(const Kels64f* pMean, int step,
    const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_64f_D2L(const Kels64f** ppMean,
    const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32s* pVal,
    Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVar_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32s* pVal,
    Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMaxMultiMix_IdVarLow_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);

/* AddMultiMix: D[j] <- LogAdd(D[j], g_j - 1/2 S_j), log-added and scratch-allocated as in Add
 * (more than 100 Gaussians allocate; a refused allocation returns kelErrNullPtr). */
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_32f_D2(const Kels32f* pMean,
    const Kels32f* pVar, int step, const Kels32f* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_32f_D2(const Kels32f* pMean, int step,
    const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_32f_D2L(const Kels32f** ppMean,
    const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_64f_D2(const Kels64f* pMean,
    const Kels64f* pVar, int step, const Kels64f* pSrc, int width, const Kels64f* pVal,
    Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_64f_D2(const Kels64f* pMean, int step,
    const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_64f_D2L(const Kels64f** ppMean,
    const Kels64f* pSrc, int width, const Kels64f* pVal, Kels64f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_Scaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_Low_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_Low_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32f* pVal,
    Kels32f* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarLow_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarLow_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarLowScaled_16s32f_D2(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarLowScaled_16s32f_D2L(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32s* pVal,
    Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVar_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_Low_16s32s_D2Sfs(const Kels16s* pMean,
    const Kels16s* pVar, int step, const Kels16s* pSrc, int width, const Kels32s* pVal,
    Kels32s* pSrcDst, int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_Low_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s** ppVar, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst,
    int height, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarLow_16s32s_D2Sfs(const Kels16s* pMean,
    int step, const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussAddMultiMix_IdVarLow_16s32s_D2LSfs(const Kels16s** ppMean,
    const Kels16s* pSrc, int width, const Kels32s* pVal, Kels32s* pSrcDst, int height,
    int scaleFactor);
/* Second name of kelsLogGaussAddMultiMix_32f_D2. */
KELS_API KelsStatus KELS_CALL kelsLogGaussAdd2_32f_D2(const Kels32f* pMean, const Kels32f* pVar,
    int step, const Kels32f* pSrc, int width, const Kels32f* pVal, Kels32f* pSrcDst, int height);

/* Mixture: one score, log sum_j exp(g_j - 1/2 S_j), with the single-precision log-sum (64f: the
 * double-precision one). Checks pointers, then the step, then the sizes. The component scores
 * are kept on the stack up to 100 components; a refused allocation beyond returns kelErrMemAlloc.
 * Integer members form each component score as the integer-result score does, then log-sum the
 * values k * 2^sf and store the result scaled back, rounded half to even and saturated. */
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_32f_D2(const Kels32f* pSrc, const Kels32f* pMean,
    const Kels32f* pVar, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_32f_D2L(const Kels32f* pSrc,
    const Kels32f** ppMean, const Kels32f** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_32f_D2(const Kels32f* pSrc,
    const Kels32f* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_32f_D2L(const Kels32f* pSrc,
    const Kels32f** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_64f_D2(const Kels64f* pSrc, const Kels64f* pMean,
    const Kels64f* pVar, int height, int step, int width, const Kels64f* pVal, Kels64f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_64f_D2L(const Kels64f* pSrc,
    const Kels64f** ppMean, const Kels64f** ppVar, int height, int width, const Kels64f* pVal,
    Kels64f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_64f_D2(const Kels64f* pSrc,
    const Kels64f* pMean, int height, int step, int width, const Kels64f* pVal, Kels64f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_64f_D2L(const Kels64f* pSrc,
    const Kels64f** ppMean, int height, int width, const Kels64f* pVal, Kels64f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Scaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Scaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarScaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarScaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_LowScaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_LowScaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32f* pVal,
    Kels32f* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32f* pVal, Kels32f* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVar_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int height, int step, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Low_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, const Kels16s** ppVar, int height, int width, const Kels32s* pVal,
    Kels32s* pResult, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32s_D2Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, int height, int step, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_IdVarLow_16s32s_D2LSfs(const Kels16s* pSrc,
    const Kels16s** ppMean, int height, int width, const Kels32s* pVal, Kels32s* pResult,
    int scaleFactor);

/* Mixture_Select: T frames (rows of x, sharing the step of the means and weights) against G
 * Gaussians selected per frame by a bit table of ceil(G/8) bytes per frame, most significant bit
 * first. Gaussians outer, frames inner; the first selected score of a frame is written unchanged,
 * later ones are log-added (hint 0); frames with no selected Gaussian get the default score.
 * Checks pointers, then n, G and T, then the step; a refused counter allocation returns
 * kelErrMemAlloc. */
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Select_32f_D2(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int step, int width, const Kels32f* pVal,
    const Kels8u* pSelect, int height, Kels32f* pDst, int frames, Kels32f defaultVal);
KELS_API KelsStatus KELS_CALL kelsLogGaussMixture_Select_64f_D2(const Kels64f* pSrc,
    const Kels64f* pMean, const Kels64f* pVar, int step, int width, const Kels64f* pVal,
    const Kels8u* pSelect, int height, Kels64f* pDst, int frames, Kels64f defaultVal);
#ifdef __cplusplus
}
#endif

#endif /* KELSR_MIXTURE_H */
