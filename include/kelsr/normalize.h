/* kelsr: normalisation of columns and ranges. Included by kelsr.h. */
#ifndef KELSR_NORMALIZE_H
#define KELSR_NORMALIZE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Column normalisation in place: x(i,j) = (x(i,j) - mean(j)) * scale(j); the scale multiplies.
 * 16-bit forms: p = (x - mean)*scale as an exact 32-bit product, shifted right arithmetically by
 * sf > 0 (toward -infinity), or left by -sf with 32-bit wrap-around (a shift of 32 or more gives
 * 0), then saturated to 16 bits. Checks: null (block, means, scales), N < 1 or D < 1, step < D
 * (_D2 only); _D2L forms also refuse a null row pointer (kelErrNullPtr, nothing written). */
KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_32f_D2(Kels32f* pSrcDst, int step, int height,
                                                         const Kels32f* pMean, const Kels32f* pScale, int width);
KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_32f_D2L(Kels32f** ppSrcDst, int height, const Kels32f* pMean,
                                                          const Kels32f* pScale, int width);
KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_16s_D2Sfs(Kels16s* pSrcDst, int step, int height,
                                                            const Kels16s* pMean, const Kels16s* pScale,
                                                            int width, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_16s_D2LSfs(Kels16s** ppSrcDst, int height, const Kels16s* pMean,
                                                             const Kels16s* pScale, int width, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsNormalizeCol_32f_D2(Kels32f* pSrcDst, int step, int height,
                                                      const Kels32f* pMean, const Kels32f* pScale, int width);

/* Range mapping. With R = max - min: U = hi*R + min, Lo = lo*R + min, d = hi*R - lo*R and
 * k = scale*(2 - d*r)*r, r a 12-bit reciprocal estimate of d (the exact reciprocal cut to 12
 * significant bits, so results do not depend on the processor) refined by that Newton step;
 * y = max(min(x, U) - Lo, 0) * k. Integer destinations round half to even and saturate.
 * MinMax forms take min and max; the others find them in the source first. Checks: null, L < 1,
 * then kelErrBadArg for lo not >= 0, hi not above lo, hi > 1, a given minimum not <= the given
 * maximum (NaN included) or, in the forms that find the range, a negative output scale. An empty
 * range (min == max) writes zeros and returns kelWarnDivByZero. */
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f(const Kels32f* pSrc, Kels32f* pDst, int len, Kels32f srcMin,
                                                             Kels32f srcMax, Kels32f lo, Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f_I(Kels32f* pSrcDst, int len, Kels32f srcMin, Kels32f srcMax,
                                                               Kels32f lo, Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f16s(const Kels32f* pSrc, Kels16s* pDst, int len,
                                                                Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                                Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f8u(const Kels32f* pSrc, Kels8u* pDst, int len,
                                                               Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                               Kels32f hi, Kels8u scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_16s(const Kels16s* pSrc, Kels16s* pDst, int len,
                                                             Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                             Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_16s_I(Kels16s* pSrcDst, int len, Kels32f srcMin,
                                                               Kels32f srcMax, Kels32f lo, Kels32f hi,
                                                               Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_16s8u(const Kels16s* pSrc, Kels8u* pDst, int len,
                                                               Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                               Kels32f hi, Kels8u scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f(const Kels32f* pSrc, Kels32f* pDst, int len, Kels32f lo,
                                                       Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f_I(Kels32f* pSrcDst, int len, Kels32f lo, Kels32f hi,
                                                         Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f16s(const Kels32f* pSrc, Kels16s* pDst, int len, Kels32f lo,
                                                          Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f8u(const Kels32f* pSrc, Kels8u* pDst, int len, Kels32f lo,
                                                         Kels32f hi, Kels8u scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_16s(const Kels16s* pSrc, Kels16s* pDst, int len, Kels32f lo,
                                                       Kels32f hi, Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_16s_I(Kels16s* pSrcDst, int len, Kels32f lo, Kels32f hi,
                                                         Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_16s8u(const Kels16s* pSrc, Kels8u* pDst, int len, Kels32f lo,
                                                         Kels32f hi, Kels8u scale);

/* The n-th largest element (n = 0: the maximum) of a copy sorted in descending order by
 * selection, the first of equal values kept first. The source is untouched; kelErrMemAlloc if
 * the copy cannot be had. */
KELS_API KelsStatus KELS_CALL kelsNthMaxElement_32f(const Kels32f* pSrc, int len, int n, Kels32f* pDst);
KELS_API KelsStatus KELS_CALL kelsNthMaxElement_32s(const Kels32s* pSrc, int len, int n, Kels32s* pDst);
KELS_API KelsStatus KELS_CALL kelsNthMaxElement_64f(const Kels64f* pSrc, int len, int n, Kels64f* pDst);

/* Unit curve: 0 below 0 (and for NaN), x^2 on [0, 1), 2 - (2 - x)^2 on [1, 2], 2 above.
 * 16-bit forms: x = src * 2^-sfIn in float; x <= 0 gives 0, x > 2 gives 2 * 2^-sfOut, otherwise
 * curve(x) * 2^-sfOut; above 32767 gives 32767, other values are truncated toward zero. */
KELS_API KelsStatus KELS_CALL kelsUnitCurve_32f(const Kels32f* pSrc, Kels32f* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsUnitCurve_32f_I(Kels32f* pSrcDst, int len);
KELS_API KelsStatus KELS_CALL kelsUnitCurve_16s_Sfs(const Kels16s* pSrc, int srcScaleFactor, Kels16s* pDst, int len,
                                                    int dstScaleFactor);
KELS_API KelsStatus KELS_CALL kelsUnitCurve_16s_ISfs(Kels16s* pSrcDst, int srcScaleFactor, int len,
                                                     int dstScaleFactor);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_NORMALIZE_H */
