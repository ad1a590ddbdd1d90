/* kelsr: distributed-speech-recognition front end (8 kHz speech, 200-sample frames, two-stage
 * Wiener noise reduction, SNR-dependent waveform processing, blind cepstral equalisation).
 * Included by kelsr.h.
 *
 * Every function is stateless: what persists between frames (noise estimate, previous denoised
 * spectrum, equaliser bias) belongs to the caller. Checks: pointers (kelErrNullPtr), then the
 * length (kelErrSize); a failed check writes nothing. An output may be the very same array as
 * an input (in place; the spectra write their shorter output over the start of the input), and
 * any two of blind equalisation's arrays may be one; partly overlapping arrays are not
 * supported. */
#ifndef KELSR_DSRFE_H
#define KELSR_DSRFE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Power spectrum of a packed real FFT of len points (x[0] = Re X(0), x[1] = Re X(len/2), then
 * Re X(k), Im X(k) at 2k, 2k+1), bins averaged in pairs: dst[0] = (x0^2 + x2^2 + x3^2) / 2,
 * dst[k] = (x[4k]^2 + x[4k+1]^2 + x[4k+2]^2 + x[4k+3]^2) / 2 for 0 < k < len/4, and
 * dst[len/4] = x1^2, the Nyquist power, not halved. dst holds len/4 + 1 values. Squares are
 * summed left to right. len must be a positive multiple of 4 (kelErrSize). */
KELS_API KelsStatus KELS_CALL kelsSmoothedPowerSpectrumAurora_32f(const Kels32f* pSrc, Kels32f* pDst,
                                                                 int len);
/* The same pairing in 32-bit integer arithmetic, each square halved (floor) before summing:
 * dst[0] = min(sum, 32767); dst[k] for 0 < k < len/4: the 32-bit sum wraps (four squares of
 * -32768 make 2^31, read as -2^31) and a sum below -32767 gives -32768, else min(sum, 32767);
 * dst[len/4] = min(x1^2, 32767), not halved. */
KELS_API KelsStatus KELS_CALL kelsSmoothedPowerSpectrumAurora_16s(const Kels16s* pSrc, Kels16s* pDst,
                                                                 int len);
/* Recursive noise-spectrum update, per bin with a = 0.1 x:
 *   dst = y * ((y / (y + a) + 1) * (a / (x + y)) + 0.9),
 * and dst = 0 where x + y = 0 or y + a = 0. Both reciprocals are exact divisions, so every
 * processor gives the same bits. */
KELS_API KelsStatus KELS_CALL kelsNoiseSpectrumUpdate_Aurora_32f(const Kels32f* pSrcX,
                                                                const Kels32f* pSrcY,
                                                                Kels32f* pDst, int len);
/* Wiener gain by the decision-directed a-priori SNR (beta = 0.98), per bin:
 *   e1 = (0.02 max(P - N, 0) + 0.98 D) (1/N),  h1 = e1 / (e1 + 1),
 *   e2 = max(h1 P (1/N), 0.079432823)  (-22 dB),  H = e2 / (e2 + 1),
 * so H lies in [0.0735876, 1) for positive N. 1/N is an exact division; N = 0 is not guarded. */
KELS_API KelsStatus KELS_CALL kelsWienerFilterDesign_Aurora_32f(const Kels32f* pSrcP,
                                                               const Kels32f* pSrcN,
                                                               const Kels32f* pSrcD,
                                                               Kels32f* pDstH, int len);
/* SNR-dependent waveform processing of one 200-sample frame: Teager energy, its nine-sample
 * moving sum, pitch-synchronous peak picking (peaks 25..79 samples apart), then each period is
 * weighted 1.2 over its first 80 % (shifted 4 samples earlier), 0.8 elsewhere and 1.0 on either
 * side of each edge: dst[n] = w[n] * src[n]. No length argument; nothing is allocated. */
KELS_API KelsStatus KELS_CALL kelsWaveProcessing_Aurora_32f(const Kels32f* pSrc, Kels32f* pDst);
/* Blind equalisation with step mu = min(max(logEnergy - 211/64, 0), 1) * 9/1024: first
 * cep[i] -= bias[i] over the whole array, then bias[i] += mu (cep[i] - ref[i]) with the
 * equalised cepstrum. The caller keeps the bias between frames (normally zero at the start). */
KELS_API KelsStatus KELS_CALL kelsBlindEqualization_Aurora_32f(const Kels32f* pRefCep,
                                                              Kels32f* pCep, Kels32f* pBias,
                                                              int len, Kels32f logEnergy);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_DSRFE_H */
