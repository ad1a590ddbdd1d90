/* kelsr: delta and delta-delta features. Included by kelsr.h.
 *
 * Output rows (_D2, row step S in elements) hold w static coefficients, then w deltas, then (the
 * DeltaDelta members) w delta-deltas. A regression over D frames on each side is
 *   r_t[i] = (sum_{tau=1..D} tau * (x_{t+tau}[i] - x_{t-tau}[i])) * s,
 * summed in single precision with the tau = 1 term first, then one multiplication by the scale s
 * (no normalising denominator: fold it into s). Mul members take a vector m[0..w-1] of
 * per-coefficient multipliers in place of each scalar scale: r_t[i] = (sum ...) * m[i].
 *
 * Integer members (_16s_D2Sfs): the sum and its product with the scale (or m[i]) are exact
 * integers (64-bit), then times 2^-scaleFactor, rounded half to even and saturated to 16 bits.
 * The scale is thus a fixed-point multiplier with scaleFactor fraction bits. Delta-deltas are
 * formed from the stored (rounded) deltas, as the float members form them from stored values.
 *
 * kelsEvalDelta*: in place on T rows; statics at columns offset..offset+w-1, deltas written
 * after them. Window half-width W. Deliberate edge rule: in the first W rows every backward term
 * uses row 0 (even where t - tau >= 0), in the last W rows every forward term uses row T-1.
 * Checks: null (block, then multipliers) -> kelErrNullPtr; T < 1, w < 1, W < 1, offset < 0 or
 * T < 2W -> kelErrSize; S < 2w + offset -> kelErrStep.
 *
 * Streaming members consume T source frames (w contiguous values each, frames contiguous) per
 * call. flags: 1 begins an utterance, 2 ends it, 3 is a whole utterance in one call; other bits
 * are ignored. Sequences are replicated at both ends of an utterance (x_{-1} = x_0, and so on,
 * for statics and for deltas alike). Each member has an overlap of P rows:
 *   Delta_Win1 P = 2, DeltaDelta_Win1 P = 3, Delta_Win2 P = 4, DeltaDelta_Win2 P = 6,
 *   DeltaDelta_Aurora P = 8 (Mul members as their scalar siblings).
 * With the begin flag the call writes rows 0..T-1. Without it, the destination's first P rows
 * must hold the last P rows written by the previous call of the utterance, and the new frames
 * go to rows P..P+T-1. So the next call's destination is this call's destination plus
 * (rows written - P) rows. A row's delta is written once its right neighbours are known, and the
 * end flag completes every row; any split of an utterance yields exactly the one-call rows.
 * Checks: null (source, destination, then multipliers) -> kelErrNullPtr; w < 1 or T < P ->
 * kelErrSize; S < 2w (delta) or 3w (delta-delta) -> kelErrStep.
 *
 * Windows: Win1 delta_t = (x_{t+1} - x_{t-1}) * s and dd_t = (delta_{t+1} - delta_{t-1}) * s2.
 * Win2 delta and delta-delta are the regressions over two frames on each side:
 *   delta_t = ((x_{t+1} - x_{t-1}) + 2 (x_{t+2} - x_{t-2})) * s, dd likewise over the deltas.
 * Aurora (server-side derivatives of the distributed-speech-recognition front end):
 *   delta_t = (sum_{tau=1..4} tau (x_{t+tau} - x_{t-tau})) * s1, i.e. weights -4..4 over nine
 *   frames; acceleration dd_t = ((delta_{t+1} - delta_{t-1}) + 2 (delta_{t+2} - delta_{t-2})) * s2,
 *   weights -2..2 over five deltas. The usual normalisation is s1 = 1/60, s2 = 1/10. */
#ifndef KELSR_DELTA_H
#define KELSR_DELTA_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

KELS_API KelsStatus KELS_CALL kelsEvalDelta_32f_D2(Kels32f* pSrcDst, int height, int step,
                                                    int width, int offset, int winSize,
                                                    Kels32f scale);
KELS_API KelsStatus KELS_CALL kelsEvalDelta_16s_D2Sfs(Kels16s* pSrcDst, int height, int step,
                                                       int width, int offset, int winSize,
                                                       Kels16s scale, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsEvalDeltaMul_32f_D2(Kels32f* pSrcDst, int height, int step,
                                                       int width, int offset, int winSize,
                                                       const Kels32f* pMul);
KELS_API KelsStatus KELS_CALL kelsEvalDeltaMul_16s_D2Sfs(Kels16s* pSrcDst, int height, int step,
                                                          int width, int offset, int winSize,
                                                          const Kels16s* pMul, int scaleFactor);

KELS_API KelsStatus KELS_CALL kelsDelta_Win1_32f_D2(const Kels32f* pSrc, int width, Kels32f* pDst,
                                                     int dstStep, int height, Kels32f scale,
                                                     int flags);
KELS_API KelsStatus KELS_CALL kelsDelta_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                        Kels16s* pDst, int dstStep, int height,
                                                        Kels16s scale, int flags, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDelta_Win2_32f_D2(const Kels32f* pSrc, int width, Kels32f* pDst,
                                                     int dstStep, int height, Kels32f scale,
                                                     int flags);
KELS_API KelsStatus KELS_CALL kelsDelta_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                        Kels16s* pDst, int dstStep, int height,
                                                        Kels16s scale, int flags, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win1_32f_D2(const Kels32f* pSrc, int width,
                                                          Kels32f* pDst, int dstStep, int height,
                                                          Kels32f scale1, Kels32f scale2,
                                                          int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                             Kels16s* pDst, int dstStep,
                                                             int height, Kels16s scale1,
                                                             Kels16s scale2, int flags,
                                                             int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win2_32f_D2(const Kels32f* pSrc, int width,
                                                          Kels32f* pDst, int dstStep, int height,
                                                          Kels32f scale1, Kels32f scale2,
                                                          int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                             Kels16s* pDst, int dstStep,
                                                             int height, Kels16s scale1,
                                                             Kels16s scale2, int flags,
                                                             int scaleFactor);

KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win1_32f_D2(const Kels32f* pSrc, int width,
                                                        Kels32f* pDst, int dstStep, int height,
                                                        const Kels32f* pMul, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                           Kels16s* pDst, int dstStep, int height,
                                                           const Kels16s* pMul, int flags,
                                                           int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win2_32f_D2(const Kels32f* pSrc, int width,
                                                        Kels32f* pDst, int dstStep, int height,
                                                        const Kels32f* pMul, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                           Kels16s* pDst, int dstStep, int height,
                                                           const Kels16s* pMul, int flags,
                                                           int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win1_32f_D2(const Kels32f* pSrc, int width,
                                                             Kels32f* pDst, int dstStep,
                                                             int height, const Kels32f* pMul1,
                                                             const Kels32f* pMul2, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                                Kels16s* pDst, int dstStep,
                                                                int height, const Kels16s* pMul1,
                                                                const Kels16s* pMul2, int flags,
                                                                int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win2_32f_D2(const Kels32f* pSrc, int width,
                                                             Kels32f* pDst, int dstStep,
                                                             int height, const Kels32f* pMul1,
                                                             const Kels32f* pMul2, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                                Kels16s* pDst, int dstStep,
                                                                int height, const Kels16s* pMul1,
                                                                const Kels16s* pMul2, int flags,
                                                                int scaleFactor);

KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Aurora_32f_D2(const Kels32f* pSrc, int width,
                                                            Kels32f* pDst, int dstStep,
                                                            int height, Kels32f scale1,
                                                            Kels32f scale2, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Aurora_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                               Kels16s* pDst, int dstStep,
                                                               int height, Kels16s scale1,
                                                               Kels16s scale2, int flags,
                                                               int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Aurora_32f_D2(const Kels32f* pSrc, int width,
                                                               Kels32f* pDst, int dstStep,
                                                               int height, const Kels32f* pMul1,
                                                               const Kels32f* pMul2, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Aurora_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                                  Kels16s* pDst, int dstStep,
                                                                  int height,
                                                                  const Kels16s* pMul1,
                                                                  const Kels16s* pMul2, int flags,
                                                                  int scaleFactor);

/* Second names: the same entry points. */
KELS_API KelsStatus KELS_CALL kelsDeltaW1_32f_D2(const Kels32f* pSrc, int width, Kels32f* pDst,
                                                  int dstStep, int height, Kels32f scale,
                                                  int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaW2_32f_D2(const Kels32f* pSrc, int width, Kels32f* pDst,
                                                  int dstStep, int height, Kels32f scale,
                                                  int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaW1_32f_D2(const Kels32f* pSrc, int width,
                                                       Kels32f* pDst, int dstStep, int height,
                                                       Kels32f scale1, Kels32f scale2, int flags);
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaW2_32f_D2(const Kels32f* pSrc, int width,
                                                       Kels32f* pDst, int dstStep, int height,
                                                       Kels32f scale1, Kels32f scale2, int flags);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_DELTA_H */
