/* kelsr: normalised cross-correlation coefficients of 16-bit signals, for pitch search.
 * Included by kelsr.h.
 *
 * A coefficient is computed only where |Ex * Ey| > 1.1754943508222875e-38 (the smallest normal
 * float; NaN fails); elsewhere it is 0 and the status stays kelOk. */
#ifndef KELSR_XCORR_H
#define KELSR_XCORR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* r = <x,y> / (sqrt(<x,x>) sqrt(<y,y>)) over len samples. The three dot products are summed
 * exactly in 64-bit integers and rounded once to float; the quotient is formed in long double
 * and rounded to float. So x = y gives 1 and y = -x gives -1 exactly. */
KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeff_16s32f(const Kels16s* pSrc1, const Kels16s* pSrc2,
                                                       int len, Kels32f* pDst);
/* As kelsCrossCorrCoeff_16s32f with <x,x> = energy given by the caller. energy 0 or NaN gives
 * kelErrRange; a negative energy is accepted and makes the result NaN. <x,y> is only summed
 * when the floor test passes. */
KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffPartial_16s32f(const Kels16s* pSrc1,
                                                              const Kels16s* pSrc2, int len,
                                                              Kels32f energy, Kels32f* pDst);
/* Coefficients for i = 0 .. (n - m) / d ((n - m) / d + 1 outputs): the window of lag i has
 * m + i d samples, taken from x ending at x[n-1] (growing to the left) and from y starting at
 * y[0] (growing to the right), of which only the offsets k = 0, d, 2d, ... are used. Products
 * are accumulated in float in increasing k; the energies grow by one term per lag; the floor
 * test and the quotient C / (sqrt(Ey) sqrt(Ex)) are evaluated in float. m < 1, d < 1 or m > n
 * give kelErrSize. Scratch for the sampled lattice lives on the stack up to 512 points
 * ((m - 1) / d + (n - m) / d + 1) and comes from the heap beyond (kelErrMemAlloc if refused). */
KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffDecim_16s32f(const Kels16s* pSrc1,
                                                            const Kels16s* pSrc2, int n, int m,
                                                            Kels32f* pDst, int d);
/* Fractional lag between y aligned with x (lag 0) and y one sample later (lag 1). With
 * u = x[j], v0 = y[j], v1 = y[j+1] for j = 0 .. len-2, and the six sums (exact, as doubles)
 *   A = <u,v0>, B = <u,v1>, P = <v0,v0>, R = <v0,v1>, S = <v1,v1>, U = <u,u>,
 * linear interpolation y_t = (1-t) v0 + t v1 gives
 *   r(t) = ((1-t) A + t B) / sqrt(U ((1-t)^2 P + 2t(1-t) R + t^2 S)),
 * whose extremum lies at
 *   t = (B P - A R) / (B P - A R + A S - B R).
 * pLag receives t (as float). When t lies in [0, 1), pCoeff receives r(t) (0 under the energy
 * floor); otherwise pCoeff receives 0. A zero denominator (always so for len = 1) writes 0 to
 * both outputs and returns kelWarnZeroWeightSum. */
KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffInterpolation_16s32f(const Kels16s* pSrc1,
                                                                    const Kels16s* pSrc2, int len,
                                                                    Kels32f* pLag,
                                                                    Kels32f* pCoeff);

#ifdef __cplusplus
}
#endif

#endif /* KELSR_XCORR_H */
