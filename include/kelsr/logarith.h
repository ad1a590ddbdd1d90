/* kelsr: log-domain arithmetic: log-add, log-subtract, log-sum, exp(-x^2). Included by kelsr.h. */
#ifndef KELSR_LOGARITH_H
#define KELSR_LOGARITH_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Natural-log likelihoods; log zero is -4500000 in float and -1e10 in double.
 * - LogAdd, LogSub, LogSum check the length first (kelErrSize), then the pointers
 *   (kelErrNullPtr); ExpNegSqr checks pointers first.
 * - LogAdd: b = log(e^a + e^b). The correction log(1 + e^d), d = min - max, is dropped for
 *   d < -15.319588 (float; the result is then floored at -4500000) or d < -23.0258509299405
 *   (double; floored at -1e10); otherwise the result is not floored. hint 1 evaluates the float
 *   correction in single precision (within 1e-6), any other hint in double (within 1e-8); the
 *   double form ignores the hint. NaN inputs give NaN.
 * - LogSub: b = log(e^a - e^b); every b must be below a (tested on the inputs as given, also for
 *   the integer forms), else kelErrRange and nothing is written.
 * - LogSum: log of the sum of e^x. n = 1 gives x[0]; otherwise the result is accurate to the
 *   working precision, floored at log zero, and the hint does not change it.
 * - Integer forms: k stands for k * 2^-scaleFactor (exact table powers, clamped to -128..150); the
 *   float rules run and the result r is stored as r * 2^scaleFactor, rounded half to even and
 *   saturated (a 32-bit result reaching 2^31 is stored as -2^31). LogAdd and LogSum take their
 *   float work vectors from the stack up to 100 elements and from the heap beyond; a refused
 *   allocation returns kelErrNullPtr. LogSub works element by element and allocates nothing.
 * - ExpNegSqr: y = exp(-x*x); 32f squares and exponentiates in float, 32f64f in double. */
KELS_API KelsStatus KELS_CALL kelsLogAdd_32f(const Kels32f* pSrc, Kels32f* pSrcDst, int len, int hint);
KELS_API KelsStatus KELS_CALL kelsLogAdd_64f(const Kels64f* pSrc, Kels64f* pSrcDst, int len, int hint);
KELS_API KelsStatus KELS_CALL kelsLogAdd_32s_Sfs(const Kels32s* pSrc, Kels32s* pSrcDst, int len,
    int scaleFactor, int hint);
KELS_API KelsStatus KELS_CALL kelsLogAdd_16s_Sfs(const Kels16s* pSrc, Kels16s* pSrcDst, int len,
    int scaleFactor, int hint);
KELS_API KelsStatus KELS_CALL kelsLogSub_32f(const Kels32f* pSrc, Kels32f* pSrcDst, int len);
KELS_API KelsStatus KELS_CALL kelsLogSub_64f(const Kels64f* pSrc, Kels64f* pSrcDst, int len);
KELS_API KelsStatus KELS_CALL kelsLogSub_32s_Sfs(const Kels32s* pSrc, Kels32s* pSrcDst, int len,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogSub_16s_Sfs(const Kels16s* pSrc, Kels16s* pSrcDst, int len,
    int scaleFactor);
KELS_API KelsStatus KELS_CALL kelsLogSum_32f(const Kels32f* pSrc, Kels32f* pResult, int len, int hint);
KELS_API KelsStatus KELS_CALL kelsLogSum_64f(const Kels64f* pSrc, Kels64f* pResult, int len, int hint);
KELS_API KelsStatus KELS_CALL kelsLogSum_32s_Sfs(const Kels32s* pSrc, Kels32s* pResult, int len,
    int scaleFactor, int hint);
KELS_API KelsStatus KELS_CALL kelsLogSum_16s_Sfs(const Kels16s* pSrc, Kels16s* pResult, int len,
    int scaleFactor, int hint);
KELS_API KelsStatus KELS_CALL kelsExpNegSqr_32f(const Kels32f* pSrc, Kels32f* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsExpNegSqr_64f(const Kels64f* pSrc, Kels64f* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsExpNegSqr_32f64f(const Kels32f* pSrc, Kels64f* pDst, int len);
KELS_API KelsStatus KELS_CALL kelsExpNegSqr_32f_I(Kels32f* pSrcDst, int len);
KELS_API KelsStatus KELS_CALL kelsExpNegSqr_64f_I(Kels64f* pSrcDst, int len);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_LOGARITH_H */
