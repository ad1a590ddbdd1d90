/* kelsr: echo canceller controller and subband NLMS filter. Included by kelsr.h.
 *
 * The controller classifies each frame from the energies of three 16-bit signals and steps a
 * four-state machine; it writes an adaptation factor (the step-size input of the subband
 * filter) and two slowly ramped gains in Q30 (one = 2^30). The roles of the signals are the
 * caller's; the examples use signal 0 = microphone, 1 = loudspeaker (far end), 2 = residual. */
#ifndef KELSR_AEC_H
#define KELSR_AEC_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Parameter record of the controller, owned by the caller and passed to Init and to every
 * Update. Fields in this order; the ones named userN are never read by the library and are the
 * caller's to use. On 64-bit builds the three signal references are pointer-sized. */
typedef struct KelsAECParams_32s {
  const Kels16s* pSignal0; /* N samples of signal 0 for the current frame */
  const Kels16s* pSignal1; /* N samples of signal 1 */
  const Kels16s* pSignal2; /* N samples of signal 2 */
  Kels32s user3;
  Kels32s user4;
  Kels32s outputScale;     /* s: adaptation factor = level * s, level in 0..1; copied at Init */
  Kels32s user6;
  Kels32s user7;
  Kels32s user8;
  Kels32s user9;
  Kels32s frameLen;        /* N, 32..4096; frames advance by N / 2 samples */
  Kels32s sampleRate;      /* fs, 8000..48000 */
} KelsAECParams_32s;

/* Size of the controller state in bytes: always 132 (33 signed 32-bit fields, no pointers, so
 * a byte copy is a working state). */
KELS_API KelsStatus KELS_CALL kelsControllerGetSizeAEC_32s(int* pSize);

/* Initialise the state from the record's frameLen, sampleRate and outputScale. */
KELS_API KelsStatus KELS_CALL kelsControllerInitAEC_32s(const KelsAECParams_32s* pParams,
                                                        KelsAECControllerState_32s* pState);

/* One frame: writes the adaptation factor and gains 1 and 2 (Q30). Energies are taken over the
 * first half of signal 2 and the second half of signals 0 and 1, using the record's frameLen.
 * Beyond the five arguments, the three signal references are checked for null too (a null one
 * returns kelErrNullPtr before anything is written). A gain step that does not fit in 32 bits
 * (frames longer than the 100 ms ramp) is saturated, so a ramp still ends at its target. */
KELS_API KelsStatus KELS_CALL kelsControllerUpdateAEC_32s(const KelsAECParams_32s* pParams,
                                                          KelsAECControllerState_32s* pState,
                                                          Kels32s* pAdaptation, Kels32s* pGain1,
                                                          Kels32s* pGain2);

/* Echo estimate per subband: out[i] = sum over taps j of x_j[i] * h_j[i] (complex, no
 * conjugate) times 2^-sf, rounded half to even and saturated. ppHistory and ppCoef hold T tap
 * references (1..255) to K subbands (1..4097); sf is -31..31. Null tap references are reported
 * as kelErrNullPtr after the range checks. */
KELS_API KelsStatus KELS_CALL kelsFilterAECNLMS_32sc_Sfs(const Kels32sc** ppHistory, const Kels32sc** ppCoef,
                                                         Kels32sc* pOut, int taps, int len, int scaleFactor);

/* Normalised step per subband: (a * 2^-31 / E[i]) * 2^-sf where E[i] > threshold, else
 * mu0 * 2^-(sf + 92); all zero when a = 0. Checks: E[i] >= 0 for all i, then a >= 0, then
 * mu0 > 0 and threshold >= 1 (kelErrRange). */
KELS_API KelsStatus KELS_CALL kelsStepSizeUpdateAECNLMS_32s(const Kels32s* pEnergy, Kels32s adaptation,
                                                            Kels64f mu0, Kels32s threshold, Kels64f* pStep,
                                                            int len, int scaleFactor);

/* h_j[i] += step[i] * e[i] * conj(x_j[i]) * (int32)(1 << sf), rounded and saturated, for sf
 * 0..31 (at sf = 31 the factor is -2^31 and the update changes sign). A step that is negative
 * or NaN returns kelErrSize. An update that comes out NaN (an infinite step times a zero
 * product) leaves that coefficient part unchanged. Null tap references are kelErrNullPtr. */
KELS_API KelsStatus KELS_CALL kelsCoefUpdateAECNLMS_32sc_I(const Kels64f* pStep, const Kels32sc** ppHistory,
                                                           const Kels32sc* pError, Kels32sc** ppCoef, int taps,
                                                           int len, int scaleFactor);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_AEC_H */
