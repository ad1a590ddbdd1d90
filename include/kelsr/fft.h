/* kelsr: the library's real FFT, packed spectra and power spectra. Included by kelsr.h. */
#ifndef KELSR_FFT_H
#define KELSR_FFT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The library's real FFT of N = 2^order points, order 1..13, as an object in caller memory:
 * kelsFFTGetSize_R_32f gives its size in bytes, kelsFFTInit_R_32f builds it in memory aligned to
 * at least 4 bytes (else kelErrBadArg); the object holds no pointers, so a byte copy of it is a
 * working object. Neither direction is
 * scaled: the inverse of the forward transform gives N x.
 * Packed spectrum of N values: [0] = Re X(0), [1] = Re X(N/2), then Re X(k), Im X(k) for
 * k = 1 .. N/2 - 1. The transforms accept src == dst.
 * Checks: a null pointer -> kelErrNullPtr; an order outside 1..13 -> kelErrSize; a transform
 * given memory that kelsFFTInit_R_32f did not build, or misaligned -> kelErrBadObject (it recognises the
 * object by a kind field). Transforms of N > 2048 take working memory from the heap for the
 * call and may return kelErrMemAlloc. */
KELS_API KelsStatus KELS_CALL kelsFFTGetSize_R_32f(int order, int* size);
KELS_API KelsStatus KELS_CALL kelsFFTInit_R_32f(int order, KelsFFTSpec_R_32f* fftObj);
KELS_API KelsStatus KELS_CALL kelsFFTFwd_RToPack_32f(const Kels32f* src, Kels32f* dst,
                                                     const KelsFFTSpec_R_32f* fftObj);
KELS_API KelsStatus KELS_CALL kelsFFTInv_PackToR_32f(const Kels32f* src, Kels32f* dst,
                                                     const KelsFFTSpec_R_32f* fftObj);

/* |X(k)|^2 for k = 0 .. n/2 (n/2 + 1 values) from a packed spectrum of n values. n must be even
 * and at least 2 (else kelErrSize), not necessarily a power of two; power may equal pack. */
KELS_API KelsStatus KELS_CALL kelsPowerSpectrum_Pack_32f(const Kels32f* pack, Kels32f* power, int n);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_FFT_H */
