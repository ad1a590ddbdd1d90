// Subband NLMS echo filter on complex 32-bit spectra (Kels32sc): the echo estimate as a sum over
// taps of history x coefficient, a normalised step per subband, and the coefficient update
// h += mu * e * conj(x). All intermediate arithmetic is double precision on the integer values;
// results are rounded half to even and saturated to 32 bits.
#include <cmath>
#include <cstdint>
#include <cfloat>

#include <kelsr.h>

#include "core/check.h"
#include "core/scale.h"

namespace kels::enhance {
namespace {

constexpr int kMaxLen = 4097;
constexpr int kMaxTaps = 255;
constexpr double kTwo63 = 9223372036854775808.0;
constexpr double kMin32 = -2147483648.0, kMax32 = 2147483647.0;

bool tapsPresent(const void* const* rows, int taps) {
  for (int j = 0; j < taps; ++j)
    if (rows[j] == nullptr) return false;
  return true;
}

double clamp63(double v) { return v < -kTwo63 ? -kTwo63 : v > kTwo63 ? kTwo63 : v; }
// NaN passes through: the callers decide what an undefined value means.
double clamp32(double v) { return v < kMin32 ? kMin32 : v > kMax32 ? kMax32 : v; }

// x * 2^-k as k successive exact halvings (doublings for k < 0). Within the normal range a
// single multiply by the power is the same; only results that reach the subnormal range are
// halved one step at a time, where each halving rounds.
double halveRepeatedly(double x, std::int64_t k) {
  if (k < 0) {
    // Doubling is exact until it overflows to infinity, whichever way it is grouped.
    while (k < 0 && std::isfinite(x) && x != 0.0) {
      const int n = k < -1000 ? 1000 : int(-k);
      x *= std::ldexp(1.0, n);
      k += n;
    }
    return x;
  }
  while (k > 0 && x != 0.0 && std::isfinite(x)) {
    int e;
    std::frexp(x, &e);  // |x| in [2^(e-1), 2^e)
    // Halvings that keep |x| normal (>= 2^-1022) are exact: take them all at once.
    const std::int64_t room = std::int64_t(e - 1) + 1022;
    if (room > 0) {
      const int n = int(k < room ? k : (room < 1000 ? room : 1000));
      x *= std::ldexp(1.0, -n);
      k -= n;
    } else {
      x *= 0.5;
      --k;
    }
  }
  return x;
}

KelsStatus checkFilter(const Kels32sc* const* hist, const Kels32sc* const* coef, const Kels32sc* out, int taps,
                       int len, int sf) {
  return ArgCheck{}
      .ptrs(hist, coef, out)
      .arg(len >= 1 && len <= kMaxLen, kelErrLengthRange)
      .arg(taps >= 1 && taps <= kMaxTaps && sf >= -31 && sf <= 31, kelErrRange)
      .data([&] { return tapsPresent(reinterpret_cast<const void* const*>(hist), taps) &&
                         tapsPresent(reinterpret_cast<const void* const*>(coef), taps); },
            kelErrNullPtr);
}

void filter(const Kels32sc* const* hist, const Kels32sc* const* coef, Kels32sc* out, int taps, int len, int sf) {
  const double scale = pow2NegD(sf);  // exact for |sf| <= 31
  for (int i = 0; i < len; ++i) {
    double re = 0.0, im = 0.0;
    for (int j = 0; j < taps; ++j) {
      const double xr = hist[j][i].re, xi = hist[j][i].im;
      const double hr = coef[j][i].re, hi = coef[j][i].im;
      re = clamp63(re + (xr * hr - xi * hi));
      im = clamp63(im + (xi * hr + xr * hi));
    }
    out[i].re = roundSat<Kels32s>(re * scale);
    out[i].im = roundSat<Kels32s>(im * scale);
  }
}

KelsStatus checkStep(const Kels32s* energy, Kels32s a, double mu0, Kels32s threshold, const double* step,
                     int len) {
  return ArgCheck{}
      .ptrs(energy, step)
      .arg(len >= 1 && len <= kMaxLen, kelErrLengthRange)
      .data([&] {
              for (int i = 0; i < len; ++i)
                if (energy[i] < 0) return false;
              return true;
            },
            kelErrRange)
      .arg(a >= 0, kelErrRange)
      .arg(mu0 > 0.0 && threshold >= 1, kelErrRange);  // NaN fails mu0 > 0
}

void stepSize(const Kels32s* energy, Kels32s a, double mu0, Kels32s threshold, double* step, int len, int sf) {
  if (a == 0) {
    for (int i = 0; i < len; ++i) step[i] = 0.0;
    return;
  }
  const double factor = double(a) * 0x1p-31;
  // Quiet subbands get a step 2^-92 below the base step: negligible, but not zero.
  const double quiet = halveRepeatedly(mu0, std::int64_t(sf) + 92);
  for (int i = 0; i < len; ++i)
    step[i] = energy[i] > threshold ? halveRepeatedly(factor / energy[i], sf) : quiet;
}

KelsStatus checkCoef(const double* step, const Kels32sc* const* hist, const Kels32sc* err, Kels32sc* const* coef,
                     int taps, int len, int sf) {
  return ArgCheck{}
      .ptrs(step, hist, err, coef)
      .arg(len >= 1 && len <= kMaxLen, kelErrLengthRange)
      .arg(taps >= 1 && taps <= kMaxTaps && sf >= 0 && sf <= 31, kelErrRange)
      .data([&] { return tapsPresent(reinterpret_cast<const void* const*>(hist), taps) &&
                         tapsPresent(reinterpret_cast<const void* const*>(coef), taps); },
            kelErrNullPtr)
      // Deliberately kelErrSize, unlike the other range errors; NaN fails the test.
      .data([&] {
              for (int i = 0; i < len; ++i)
                if (!(step[i] >= 0.0)) return false;
              return true;
            },
            kelErrSize);
}

Kels32s addUpdate(Kels32s h, double u) {
  if (std::isnan(u)) return h;
  return roundSat<Kels32s>(clamp32(clamp32(u) + h));
}

void coefUpdate(const double* step, const Kels32sc* const* hist, const Kels32sc* err, Kels32sc* const* coef,
                int taps, int len, int sf) {
  // The 32-bit integer 1 << sf: at sf = 31 it is -2^31, which flips the update; that is kept.
  const double g = sf == 31 ? kMin32 : double(std::int32_t(1) << sf);
  for (int j = 0; j < taps; ++j) {
    const Kels32sc* x = hist[j];
    Kels32sc* h = coef[j];
    for (int i = 0; i < len; ++i) {
      const double me_re = step[i] * err[i].re, me_im = step[i] * err[i].im;
      const double xr = x[i].re, xi = x[i].im;
      h[i].re = addUpdate(h[i].re, (me_re * xr + me_im * xi) * g);
      h[i].im = addUpdate(h[i].im, (me_im * xr - me_re * xi) * g);
    }
  }
}

}  // namespace
}  // namespace kels::enhance

using namespace kels;
using namespace kels::enhance;

extern "C" KELS_API KelsStatus KELS_CALL kelsFilterAECNLMS_32sc_Sfs(const Kels32sc** ppHistory,
                                                                  const Kels32sc** ppCoef, Kels32sc* pOut,
                                                                  int taps, int len, int scaleFactor) {
  if (KelsStatus st = checkFilter(ppHistory, ppCoef, pOut, taps, len, scaleFactor); st != kelOk) return st;
  filter(ppHistory, ppCoef, pOut, taps, len, scaleFactor);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsStepSizeUpdateAECNLMS_32s(const Kels32s* pEnergy,
                                                                     Kels32s adaptation, Kels64f mu0,
                                                                     Kels32s threshold, Kels64f* pStep,
                                                                     int len, int scaleFactor) {
  if (KelsStatus st = checkStep(pEnergy, adaptation, mu0, threshold, pStep, len); st != kelOk) return st;
  stepSize(pEnergy, adaptation, mu0, threshold, pStep, len, scaleFactor);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsCoefUpdateAECNLMS_32sc_I(const Kels64f* pStep,
                                                                    const Kels32sc** ppHistory,
                                                                    const Kels32sc* pError, Kels32sc** ppCoef,
                                                                    int taps, int len, int scaleFactor) {
  if (KelsStatus st = checkCoef(pStep, ppHistory, pError, ppCoef, taps, len, scaleFactor); st != kelOk)
    return st;
  coefUpdate(pStep, ppHistory, pError, ppCoef, taps, len, scaleFactor);
  return kelOk;
}
