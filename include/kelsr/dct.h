/* kelsr: DCT with cepstral lifter. Included by kelsr.h.
 *
 * A lifter object turns M log filter-bank energies x[0..M-1] into Q cepstral coefficients and,
 * in the C0 forms, the zeroth coefficient appended last:
 *   out[n-1] = w[n] * sum_k cos(pi * n * (k + 0.5) / M) * x[k]   for n = 1..Q,
 *   out[Q]   = w[0] * sum_k x[k]                                   (C0 forms only).
 * The cosine table carries no normalisation (neither sqrt(2/M) nor 1/M): callers that want an
 * orthonormal DCT fold sqrt(2/M) (and sqrt(1/M) for the zeroth coefficient) into the multipliers
 * of the Mul forms. Requires 1 <= Q <= M.
 *
 * Lifter multipliers w[0..Q]:
 * - InitAlloc (sine lifter, L >= 1, gain g): w[n] = (float)(1 + L/2 * sin(pi * n / L)) * g, the
 *   bracket in double, rounded to float, then times g in float; so w[0] = g. L = 1 gives w = g.
 * - InitAlloc_C0: the same, then w[0] = z.
 * - InitAlloc_Mul (u[0..Q-1]): w[n] = u[n-1]; no zeroth coefficient.
 * - InitAlloc_MulC0, Init_MulC0: w[n] = u[n-1], and w[0] = u[Q-1]: the zeroth coefficient is
 *   deliberately scaled by the caller's last multiplier. A caller that needs another multiplier
 *   for c0 divides out[Q] by u[Q-1] and applies its own.
 *
 * Sums are single precision with eight interleaved partial sums (element k goes to sum k % 8,
 * reduced as ((s0+s4)+(s2+s6))+((s1+s5)+(s3+s7))); every SIMD target and alignment gives the
 * same bits (a NaN result is NaN everywhere, but its sign and payload may differ).
 *
 * Builders check, in order: handle (and multiplier) pointers null -> kelErrNullPtr; M < 1, Q < 1,
 * L < 1 (sine forms) or M < Q -> kelErrSize. InitAlloc writes the handle as soon as the record is
 * allocated; on kelErrMemAlloc the handle holds whatever was built, and the matching Free
 * releases it. Free releases the arrays of the object but deliberately not its small record,
 * which stays allocated (a leak checker reports those few bytes once the handle is dropped); a
 * second Free of the same object does nothing more. */
#ifndef KELSR_DCT_H
#define KELSR_DCT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_32f(KelsDCTLifter_32f** ppObj, int M, int Q,
                                                          int L, Kels32f g);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_16s(KelsDCTLifter_16s** ppObj, int M, int Q,
                                                          int L, Kels32f g);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_C0_32f(KelsDCTLifter_32f** ppObj, int M,
                                                             int Q, int L, Kels32f g, Kels32f z);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_C0_16s(KelsDCTLifter_16s** ppObj, int M,
                                                             int Q, int L, Kels32f g, Kels32f z);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_Mul_32f(KelsDCTLifter_32f** ppObj, int M,
                                                              const Kels32f* pMul, int Q);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_Mul_16s(KelsDCTLifter_16s** ppObj, int M,
                                                              const Kels32f* pMul, int Q);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_MulC0_32f(KelsDCTLifter_32f** ppObj, int M,
                                                                const Kels32f* pMul, int Q);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_MulC0_16s(KelsDCTLifter_16s** ppObj, int M,
                                                                const Kels32f* pMul, int Q);

/* Caller memory. GetSize writes 8Q + 100 + 18(2Q + 2) + 2(2Q + 2)M + 32 bytes; it checks the
 * size pointer, then M < 1, Q < 1, M < Q or M >= 8193 -> kelErrSize. Init builds a MulC0 object
 * in that memory (at least 4-byte aligned; the arrays inside start on 32-byte boundaries) and
 * checks pointers, then sizes as GetSize does, including M >= 8193 (larger objects have no size).
 * The object holds offsets, not addresses: a byte copy of it is a working object. It is never
 * freed by the library; kelsDCTLifterFree_16s on it returns kelOk and does nothing. */
KELS_API KelsStatus KELS_CALL kelsDCTLifterGetSize_MulC0_16s(int M, int Q, int* pSize);
KELS_API KelsStatus KELS_CALL kelsDCTLifterInit_MulC0_16s(KelsDCTLifter_16s* pObj, int M,
                                                           const Kels32f* pMul, int Q);

/* Applies the object to one frame: Q outputs, or Q + 1 with the zeroth coefficient last. Only the
 * three pointers are checked (kelErrNullPtr). The integer forms compute in float (inputs taken as
 * their values, 32-bit ones rounded to float) into the object's own buffer, then store
 * out * 2^-scaleFactor rounded half to even and saturated to 16 bits; that buffer makes an
 * integer object usable by one thread at a time, while a _32f object may be shared. */
KELS_API KelsStatus KELS_CALL kelsDCTLifter_32f(const Kels32f* pSrc, Kels32f* pDst,
                                                 const KelsDCTLifter_32f* pObj);
KELS_API KelsStatus KELS_CALL kelsDCTLifter_16s_Sfs(const Kels16s* pSrc, Kels16s* pDst,
                                                     KelsDCTLifter_16s* pObj, int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsDCTLifter_32s16s_Sfs(const Kels32s* pSrc, Kels16s* pDst,
                                                        KelsDCTLifter_16s* pObj, int scaleFactor);

/* Null -> kelErrNullPtr. */
KELS_API KelsStatus KELS_CALL kelsDCTLifterFree_32f(KelsDCTLifter_32f* pObj);
KELS_API KelsStatus KELS_CALL kelsDCTLifterFree_16s(KelsDCTLifter_16s* pObj);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_DCT_H */
