// Subband NLMS echo filter on complex 32-bit spectra (Kels32sc): the echo estimate as a sum over
// taps of history x coefficient, a normalised step per subband, and the coefficient update
// h += mu * e * conj(x). All intermediate arithmetic is double precision on the integer values;
// results are rounded half to even and saturated to 32 bits.
#include <cmath>
#include <cstdint>
#include <cfloat>

#include <kelsr.h>

#include "core/check.h"
#include "core/cpu.h"
#include "core/scale.h"
#include "enhance/nlms_kernels.h"

namespace kels::enhance {
namespace {

constexpr int kMaxLen = 4097;
constexpr int kMaxTaps = 255;

bool tapsPresent(const void* const* rows, int taps) {
  for (int j = 0; j < taps; ++j)
    if (rows[j] == nullptr) return false;
  return true;
}

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
  nlmsKernels().filter(hist, coef, out, taps, len, pow2NegD(sf));  // 2^-sf is exact for |sf| <= 31
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

// x * 2^-k by one multiply when that is exact (result normal and finite: the halvings would
// all have been exact too), else by the halving loop.
inline double scaleStep(double x, std::int64_t k, double pow2) {
  const double y = x * pow2;
  return std::fabs(y) >= DBL_MIN && std::fabs(y) <= DBL_MAX ? y : halveRepeatedly(x, k);
}

void stepSize(const Kels32s* energy, Kels32s a, double mu0, Kels32s threshold, double* step, int len, int sf) {
  if (a == 0) {
    for (int i = 0; i < len; ++i) step[i] = 0.0;
    return;
  }
  const double factor = double(a) * 0x1p-31;
  // Quiet subbands get a step 2^-92 below the base step: negligible, but not zero.
  const double quiet = halveRepeatedly(mu0, std::int64_t(sf) + 92);
  // 2^-sf when it is a normal double; otherwise every subband takes the loop.
  const double pow2 = sf >= -1023 && sf <= 1022 ? std::ldexp(1.0, -sf) : 0.0;
  for (int i = 0; i < len; ++i)
    step[i] = energy[i] > threshold ? scaleStep(factor / energy[i], sf, pow2) : quiet;
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

// Steps below this keep mu * e * x * 2^31 finite, so no update can be NaN (infinity times 0).
constexpr double kFiniteStep = 0x1p900;

void coefUpdate(const double* step, const Kels32sc* const* hist, const Kels32sc* err, Kels32sc* const* coef,
                int taps, int len, int sf) {
  // The 32-bit integer 1 << sf: at sf = 31 it is -2^31, which flips the update; that is kept.
  const double g = sf == 31 ? kMin32 : double(std::int32_t(1) << sf);
  bool finite = true;
  for (int i = 0; i < len; ++i) finite &= step[i] < kFiniteStep;
  if (finite) {
    const NlmsKernels& k = nlmsKernels();
    for (int j = 0; j < taps; ++j) k.update(step, err, hist[j], coef[j], len, g);
    return;
  }
  // An update that comes out NaN leaves its coefficient part as it is.
  for (int j = 0; j < taps; ++j)
    for (int i = 0; i < len; ++i) {
      const double meRe = step[i] * err[i].re, meIm = step[i] * err[i].im;
      const double xr = hist[j][i].re, xi = hist[j][i].im;
      const double uRe = (meRe * xr + meIm * xi) * g, uIm = (meIm * xr - meRe * xi) * g;
      Kels32sc& h = coef[j][i];
      if (!std::isnan(uRe)) h.re = toInt32(clamp32(uRe) + h.re);
      if (!std::isnan(uIm)) h.im = toInt32(clamp32(uIm) + h.im);
    }
}

void filterScalar(const Kels32sc* const* x, const Kels32sc* const* h, Kels32sc* out, int taps, int len,
                  double scale) {
  // Taps outer, subbands inner, over blocks of subbands: each subband still sums its taps in
  // tap order.
  double accRe[kFilterBlock], accIm[kFilterBlock];
  for (int i0 = 0; i0 < len; i0 += kFilterBlock) {
    const int n = len - i0 < kFilterBlock ? len - i0 : kFilterBlock;
    for (int i = 0; i < n; ++i) accRe[i] = accIm[i] = 0.0;
    for (int j = 0; j < taps; ++j)
      for (int i = 0; i < n; ++i) macc(accRe[i], accIm[i], x[j][i0 + i], h[j][i0 + i]);
    for (int i = 0; i < n; ++i) out[i0 + i] = {toInt32(accRe[i] * scale), toInt32(accIm[i] * scale)};
  }
}

void updateScalar(const double* step, const Kels32sc* err, const Kels32sc* x, Kels32sc* h, int len, double g) {
  for (int i = 0; i < len; ++i) updateOne(step[i], err[i], x[i], h[i], g);
}

}  // namespace

const NlmsKernels& nlmsKernelsScalar() {
  static constexpr NlmsKernels k{filterScalar, updateScalar};
  return k;
}

const NlmsKernels& nlmsKernels() {
#if defined(KELSR_X86)
  static const NlmsKernels* const table[kTargetCount] = {&nlmsKernelsScalar(), &nlmsKernelsSse2(),
                                                         &nlmsKernelsAvx2(), &nlmsKernelsAvx2()};
#else
  static const NlmsKernels* const table[kTargetCount] = {&nlmsKernelsScalar(), &nlmsKernelsScalar(),
                                                         &nlmsKernelsScalar(), &nlmsKernelsScalar()};
#endif
  return *forActiveTarget(table);
}

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
