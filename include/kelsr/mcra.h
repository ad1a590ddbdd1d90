/* kelsr: noise estimation and suppression filters. Included by kelsr.h.
 *
 * Fixed point: Q15 is value * 2^15, Q31 is value * 2^31 with "one" = 2147483647.
 *
 * The noise estimator (minima-controlled recursive averaging) lives in caller memory: ask
 * kelsGetSizeMCRA_32s for the size, allocate that many bytes (4-byte aligned), initialise with
 * kelsInitMCRA_32s or kelsAltInitMCRA_32s. The block holds offsets, not pointers, so a byte copy
 * of an initialised state is a working state; there is nothing to free. A state serves one
 * thread at a time and is bound to the FFT length N it was initialised with. */
#ifndef KELSR_MCRA_H
#define KELSR_MCRA_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes of an MCRA state for FFT length N (8..8192): 84 + 16 * (N / 2) on every build. */
KELS_API KelsStatus KELS_CALL kelsGetSizeMCRA_32s(int fftLen, int* pSize);

/* Initialise for sampling rate fs (8000..48000) and FFT length N with frame shift N / 2. The
 * minimum-search window divides by the shift as a right shift, so for N not a power of two it
 * assumes the largest power of two not above N / 2. The bin arrays are filled by the first
 * update. */
KELS_API KelsStatus KELS_CALL kelsInitMCRA_32s(int sampleRate, int fftLen, KelsMCRAState_32s* pState);

/* The same with an explicit frame shift R (1..N/2). The shift is tested before N, so an N out of
 * range may be reported as kelErrRange through that test. */
KELS_API KelsStatus KELS_CALL kelsAltInitMCRA_32s(int sampleRate, int fftLen, int frameShift,
                                                  KelsMCRAState_32s* pState);

/* One frame: pPower holds |Y|^2 of N/2 + 1 bins, pNoise the noise power estimate, read and
 * rewritten. The first frame after initialisation copies |Y|^2 into the estimate. Only the three
 * pointers are checked: the state must come from an initialiser. */
KELS_API KelsStatus KELS_CALL kelsUpdateNoisePSDMCRA_32s_I(const Kels32s* pPower, KelsMCRAState_32s* pState,
                                                           Kels32s* pNoise);

/* Wiener gain xi / (1 + xi) in Q31 for xi in Q15, len 1..65535, by table lookup. A negative xi
 * (not a signal-to-noise ratio) gets gain 0. */
KELS_API KelsStatus KELS_CALL kelsFilterUpdateWiener_32s(const Kels32s* pSNR, Kels32s* pGain, int len);

/* Gain of the second suppression rule, Q31, from a >= 0 and m in 1..2^30 per element, len
 * 1..65535. Every element is checked before any output is written (kelErrRange). */
KELS_API KelsStatus KELS_CALL kelsFilterUpdateEMNS_32s(const Kels32s* pA, const Kels32s* pM, Kels32s* pGain,
                                                       int len);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_MCRA_H */
