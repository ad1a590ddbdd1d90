/* kelsr: mel and linear filter banks. Included by kelsr.h. */
#ifndef KELSR_FBANK_H
#define KELSR_FBANK_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Warping: mel(x) = A ln(1 + x / B) and its inverse B (exp(x / A) - 1), natural logarithm,
 * evaluated in double and rounded once (so small x keeps its digits).
 * A or B not above 0 (a NaN included) -> kelErrSize. */
KELS_API KelsStatus KELS_CALL kelsLinearToMel_32f(const Kels32f* src, Kels32f* dst, int len,
                                                  Kels32f melMul, Kels32f melDiv);
KELS_API KelsStatus KELS_CALL kelsMelToLinear_32f(const Kels32f* src, Kels32f* dst, int len,
                                                  Kels32f melMul, Kels32f melDiv);

/* Filter banks over the bins 0..N/2 of a real FFT of length N = the least power of two >= L
 * (N = 2 for L <= 2); the order log2 N is written through `order`. Filter j (1..nFilter)
 * rises from centre c[j-1] to c[j] and falls to c[j+1]. Mode 1: weights interpolated in mel
 * from the exact centres, centres truncated; mode 2: weights linear over bins, centres rounded,
 * peak exactly 1; + 4: evaluation takes a time frame of N samples and forms its magnitude
 * spectrum first, otherwise it takes the spectrum (bins 0 .. c[nFilter+1]). Positions and
 * weights are computed in double and stored as floats; a position within 1e-9 of a whole bin
 * is that bin (so high = rate / 2 gives the centre N/2 in mode 1 too). With bit 4 the bank
 * owns an FFT of any length N together with its working memory: evaluation allocates nothing.
 * Checks, in order: L <= 0 -> kelErrSize; nFilter <= 0 -> kelErrSize; sample rate <= 0 ->
 * kelErrSize; low <= 0 -> kelErrSize; low > high -> kelErrFBankFreq; high > rate / 2 ->
 * kelErrFBankFreq; mode not 1, 2, 5 or 6 -> kelErrFBankFlag; failed allocation ->
 * kelErrMemAlloc (what was allocated stays with the object: free it with kelsFBankFree_*).
 * The object and order pointers are deliberately not checked. Our additions: a NaN fails
 * each test as an out-of-range value does; L above 2^30 -> kelErrSize (N must fit 32 bits);
 * after the mode test, A of 0 or NaN, or B not above 0 -> kelErrBadArg. */
KELS_API KelsStatus KELS_CALL kelsMelFBankInitAlloc_32f(KelsMelFBank_32f** obj, int* order, int l,
                                                        Kels32f sampleRate, Kels32f lowFreq,
                                                        Kels32f highFreq, int nFilter,
                                                        Kels32f melMul, Kels32f melDiv, int mode);
KELS_API KelsStatus KELS_CALL kelsMelFBankInitAlloc_16s(KelsMelFBank_16s** obj, int* order, int l,
                                                        Kels32f sampleRate, Kels32f lowFreq,
                                                        Kels32f highFreq, int nFilter,
                                                        Kels32f melMul, Kels32f melDiv, int mode);

/* Fixed 8 kHz banks of the front end, N = 128, mode 2, A = 2595, B = 700.
 * Low: 25 filters on 27 centres evenly spaced in mel from 1 Hz to 4000 Hz (points past 4000 Hz
 * at bin 64). Filter 1 is the falling half triangle 1 - k / (c[1] - c[0]) from c[0]; filters
 * 2..25 are proper triangles, 0 at c[j-1], 1 at c[j] (1 at c[j] alone when c[j-1] = c[j]), 0 at
 * c[j+1]; every Low filter is then divided by the sum of its weights, so the last, whose
 * centres all lie at bin 64, is weight 1 on bin 64.
 * High: 3 filters on 5 centres evenly spaced in mel from 80 Hz to 4000 Hz; rising weights
 * (k - c[j-1]) / (c[j] - c[j-1]), falling weights (c[j+1] - k) / (c[j+1] - c[j]); not
 * normalised (our choice: the stated rising weights keep their values, peak 1). */
KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocLow_Aurora_32f(KelsMelFBank_32f** obj);
KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocLow_Aurora_16s(KelsMelFBank_16s** obj);
KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocHigh_Aurora_32f(KelsMelFBank_32f** obj);
KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocHigh_Aurora_16s(KelsMelFBank_16s** obj);

/* Mel-plus-linear bank (our design): one continuous set of nFilter triangles in the layout
 * above. Points 0 .. nLinear are evenly spaced in Hz from lowFreq to linearEnd (so filters
 * 1 .. nLinear peak in the linear part), points nLinear .. nFilter + 1 evenly spaced in mel
 * from linearEnd to highFreq. nLinear = 0 gives a plain mel bank (linearEnd unused). Mode 1
 * interpolates each half triangle in the domain its end points are evenly spaced in (Hz or
 * mel); mode 2 as for the mel bank. Checks as for kelsMelFBankInitAlloc, with nLinear outside
 * 0..nFilter -> kelErrSize after the nFilter test, and linearEnd outside lowFreq..highFreq
 * (when nLinear > 0) -> kelErrFBankFreq after the other frequency tests. */
KELS_API KelsStatus KELS_CALL kelsMelLinFBankInitAlloc_32f(KelsMelFBank_32f** obj, int* order,
                                                           int l, Kels32f sampleRate,
                                                           Kels32f lowFreq, Kels32f highFreq,
                                                           int nFilter, int nLinear,
                                                           Kels32f linearEnd, Kels32f melMul,
                                                           Kels32f melDiv, int mode);
KELS_API KelsStatus KELS_CALL kelsMelLinFBankInitAlloc_16s(KelsMelFBank_16s** obj, int* order,
                                                           int l, Kels32f sampleRate,
                                                           Kels32f lowFreq, Kels32f highFreq,
                                                           int nFilter, int nLinear,
                                                           Kels32f linearEnd, Kels32f melMul,
                                                           Kels32f melDiv, int mode);

/* An empty bank: not ready until kelsFBankSetCenters; weights 0 until kelsFBankSetCoeffs. The
 * mode is stored as 1 whatever `mode` says (it is evaluated on spectra), though bit 4 still
 * makes it own an FFT. L < 1 (or above 2^30) or nFilter < 1 -> kelErrSize. */
KELS_API KelsStatus KELS_CALL kelsEmptyFBankInitAlloc_32f(KelsMelFBank_32f** obj, int* order, int l,
                                                          int nFilter, int mode);
KELS_API KelsStatus KELS_CALL kelsEmptyFBankInitAlloc_16s(KelsMelFBank_16s** obj, int* order, int l,
                                                          int nFilter, int mode);

/* nFilter outputs, no logarithm. Checks: a null pointer or a null centres array ->
 * kelErrNullPtr; not ready -> kelErrFBankNotSet; an object whose build failed part way ->
 * kelErrNullPtr. Spectrum input: bins 0 .. max(c[nFilter], c[nFilter+1]), never past N/2.
 * The integer forms convert the float results by the Sfs rule (scale by 2^-scaleFactor,
 * round half to even, saturate). Objects with mode bit 4, and all _16s objects, keep buffers
 * that evaluation overwrites: one thread at a time. */
KELS_API KelsStatus KELS_CALL kelsEvalFBank_32f(const Kels32f* src, Kels32f* dst, KelsMelFBank_32f* obj);
KELS_API KelsStatus KELS_CALL kelsEvalFBank_16s_Sfs(const Kels16s* src, Kels16s* dst,
                                                    KelsMelFBank_16s* obj, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsEvalFBank_16s32s_Sfs(const Kels16s* src, Kels32s* dst,
                                                       KelsMelFBank_16s* obj, int scaleFactor);

/* Centres (nFilter + 2). Both test c[0] >= 0, c[i] <= c[i+1] <= c[i+2] for i = 0 .. nFilter - 2
 * and c[nFilter+1] <= N/2 (else kelErrFBankNotSet); deliberately not c[nFilter] <= c[nFilter+1].
 * Get: null -> kelErrNullPtr, not ready -> kelErrFBankNotSet, then the test of the stored
 * centres. Set: null (or a freed object) -> kelErrNullPtr, the test, then ready; weights are
 * not recomputed. The _16s names do the same on _16s objects. */
KELS_API KelsStatus KELS_CALL kelsFBankGetCenters_32f(const KelsMelFBank_32f* obj, int* centres);
KELS_API KelsStatus KELS_CALL kelsFBankGetCenters_16s(const KelsMelFBank_16s* obj, int* centres);
KELS_API KelsStatus KELS_CALL kelsFBankSetCenters_32f(KelsMelFBank_32f* obj, const int* centres);
KELS_API KelsStatus KELS_CALL kelsFBankSetCenters_16s(KelsMelFBank_16s* obj, const int* centres);

/* Filter j's weights as one run: c[j] - c[j-1] + 1 rising values (none if negative), then
 * c[j+1] - c[j] falling values (none if below 1). Get accepts j = 1 .. nFilter + 1 (filter
 * nFilter + 1 has its rising run only), Set only 1 .. nFilter; otherwise kelErrSize. Checks:
 * null -> kelErrNullPtr, not ready -> kelErrFBankNotSet, then j. Centres that the loose test
 * above lets out of order have their runs cut to what a row holds (N/2 + 1 rising, N/2
 * falling values). Weights are floats for every kind of bank. */
KELS_API KelsStatus KELS_CALL kelsFBankGetCoeffs_32f(const KelsMelFBank_32f* obj, int j, Kels32f* w);
KELS_API KelsStatus KELS_CALL kelsFBankGetCoeffs_16s(const KelsMelFBank_16s* obj, int j, Kels32f* w);
KELS_API KelsStatus KELS_CALL kelsFBankSetCoeffs_32f(KelsMelFBank_32f* obj, int j, const Kels32f* w);
KELS_API KelsStatus KELS_CALL kelsFBankSetCoeffs_16s(KelsMelFBank_16s* obj, int j, const Kels32f* w);

/* Releases what the object owns. The object record itself deliberately stays allocated; the
 * handle must not be used again. Null -> kelErrNullPtr. */
KELS_API KelsStatus KELS_CALL kelsFBankFree_32f(KelsMelFBank_32f* obj);
KELS_API KelsStatus KELS_CALL kelsFBankFree_16s(KelsMelFBank_16s* obj);

/* Fixed-point mel bank in caller memory (mode 2 only: rounded centres, linear weights, peak 1).
 * Size: 4 nFilter + 96 + 36 (2 nFilter + 4) + 4 (2 nFilter + 4) N/2 + 64 bytes, N the least
 * power of two >= L. GetSize checks: null -> kelErrNullPtr; nFilter < 1, L < 32 or L > 8192 ->
 * kelErrSize; mode != 2 -> kelErrFBankFlag; nFilter > N/2 -> kelErrSize.
 * Init: the mel multiplier and divisor are Q15 (2595.0 is 2595 * 32768), so their ranges
 * 524289..1073741823 and 524289..268435455 mean about 16..32768 and 16..8192. Checks: null ->
 * kelErrNullPtr; nFilter < 1, high < 1, L < 32 or L > 8192 -> kelErrSize; mode != 2 ->
 * kelErrFBankFlag; rate outside 1..48000 or low < 0 -> kelErrSize; high <= low or
 * high > 24000 -> kelErrFBankFreq; multiplier or divisor out of range -> kelErrBadArg;
 * nFilter > N/2 -> kelErrSize; memory not 4-byte aligned -> kelErrBadArg. Centres are those of
 * the float bank with A = multiplier / 2^15 and B = divisor / 2^15 (a high frequency above
 * rate / 2 puts centres at N/2). The object holds offsets only: a byte copy is a working bank.
 * Eval: weights are Q15 and the sum is exact in 64 bits; each output is
 * round_half_even(sum * 2^-(15 + scaleFactor)) saturated to 32 bits, scaleFactor clamped to
 * -128..150. Input: spectrum bins 0 .. c[nFilter+1]. Checks: null -> kelErrNullPtr; memory
 * that kelsMelFBankInit_32s did not build -> kelErrFBankNotSet. */
KELS_API KelsStatus KELS_CALL kelsMelFBankGetSize_32s(int l, int nFilter, int mode, int* size);
KELS_API KelsStatus KELS_CALL kelsMelFBankInit_32s(KelsMelFBank_32s* obj, int* order, int l,
                                                   int sampleRate, int lowFreq, int highFreq,
                                                   int nFilter, int melMul, int melDiv, int mode);
KELS_API KelsStatus KELS_CALL kelsEvalFBank_32s_Sfs(const Kels32s* src, Kels32s* dst,
                                                    KelsMelFBank_32s* obj, int scaleFactor);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_FBANK_H */
