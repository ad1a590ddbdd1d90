// Normalised cross-correlation of 16-bit signals, r = <x,y> / sqrt(<x,x> <y,y>), for pitch
// search: one coefficient, the same with a given energy, a decimated series over growing windows
// and the coefficient at an interpolated fractional lag.
#include <cmath>
#include <cstdint>

#include "core/alloc.h"
#include "core/check.h"
#include "pitch/kernels/xcorr_table.h"

namespace kels::pitch {
namespace {

// Energies whose product is not above the smallest normal float give a coefficient of 0.
constexpr float kFloor = 1.1754943508222875e-38f;

// Exact integer sums, rounded once to float; the quotient in long double.
float coefficient(float c, float ex, float ey) {
  const long double exl = ex, eyl = ey;
  if (!(std::fabs(exl * eyl) > kFloor)) return 0.0f;  // NaN fails too
  return float(c / (std::sqrt(exl) * std::sqrt(eyl)));
}

KelsStatus checkCoeff(const void* x, const void* y, int len, const void* dst) {
  return ArgCheck{}.ptrs(x, y, dst).size(len);
}

KelsStatus checkPartial(const void* x, const void* y, int len, float energy, const void* dst) {
  return ArgCheck{}.ptrs(x, y, dst).size(len).arg(energy != 0.0f && energy == energy, kelErrRange);
}

KelsStatus checkDecim(const void* x, const void* y, int n, int m, const void* dst, int d) {
  return ArgCheck{}.ptrs(x, y, dst).size(m).size(d).arg(m <= n, kelErrSize);
}

KelsStatus checkInterpolation(const void* x, const void* y, int len, const void* lag,
                              const void* coeff) {
  return ArgCheck{}.ptrs(x, y, lag, coeff).size(len);
}

KelsStatus crossCorrCoeff(const Kels16s* x, const Kels16s* y, int len, float* dst) {
  if (KelsStatus st = checkCoeff(x, y, len, dst); st != kelOk) return st;
  const Dots3 s = xcorrKernels().dot3(x, y, len);
  *dst = coefficient(float(s.ab), float(s.aa), float(s.bb));
  return kelOk;
}

KelsStatus crossCorrCoeffPartial(const Kels16s* x, const Kels16s* y, int len, float ex,
                                 float* dst) {
  if (KelsStatus st = checkPartial(x, y, len, ex, dst); st != kelOk) return st;
  const XcorrKernels& k = xcorrKernels();
  const float ey = float(k.dot(y, y, len));
  const long double exl = ex;
  // The cross product is only worth summing when the floor lets the coefficient through.
  *dst = std::fabs(exl * ey) > kFloor ? coefficient(float(k.dot(x, y, len)), ex, ey) : 0.0f;
  return kelOk;
}

// Products are rounded to float and added in increasing offset, lag by lag: the order is part of
// the result. Only every d-th sample takes part, so the lattice is gathered once: yd[j] = y[j d]
// and xr, x's lattice through its last window reversed, so that lag i's terms read
// xr[a + i - j] * yd[j] and neighbouring lags sit side by side in memory.
KelsStatus crossCorrCoeffDecim(const Kels16s* x, const Kels16s* y, int n, int m, float* dst,
                               int d) {
  if (KelsStatus st = checkDecim(x, y, n, m, dst, d); st != kelOk) return st;
  const int lags = (n - m) / d + 1;
  const int a = (m - 1) / d;  // lag 0 has a + 1 terms, each later lag one more
  const int points = a + lags;
  Scratch<float, 512> xr(points), yd(points);
  if (!xr || !yd) return kelErrMemAlloc;
  const Kels16s* xLast = x + (n - m) % d + std::ptrdiff_t(points - 1) * d;
  for (int t = 0; t < points; ++t) {
    xr[t] = float(xLast[-std::ptrdiff_t(t) * d]);
    yd[t] = float(y[std::ptrdiff_t(t) * d]);
  }
  xcorrKernels().lagSums(xr.data(), yd.data(), a, lags, dst);

  // The energies grow by one term per lag: x's at the left end, y's at the right.
  float ex = 0.0f, ey = 0.0f;
  for (int j = 0; j <= a; ++j) {
    ex += xr[a - j] * xr[a - j];
    ey += yd[j] * yd[j];
  }
  for (int i = 0; i < lags; ++i) {
    if (i > 0) {
      ex += xr[a + i] * xr[a + i];
      ey += yd[a + i] * yd[a + i];
    }
    dst[i] = std::fabs(ex * ey) > kFloor ? dst[i] / (std::sqrt(ey) * std::sqrt(ex)) : 0.0f;
  }
  return kelOk;
}

// The extremum of r(t) for y linearly interpolated between lag 0 and lag 1 (see the header).
KelsStatus crossCorrCoeffInterpolation(const Kels16s* x, const Kels16s* y, int len, float* lag,
                                       float* coeff) {
  if (KelsStatus st = checkInterpolation(x, y, len, lag, coeff); st != kelOk) return st;
  const XcorrKernels& k = xcorrKernels();
  const int n = len - 1;  // pairs (y[j], y[j+1])
  const Dots3 s0 = k.dot3(x, y, n);
  const std::int64_t yFirst = std::int32_t(y[0]) * y[0], yLast = std::int32_t(y[n]) * y[n];
  const double u = double(s0.aa), a = double(s0.ab), p = double(s0.bb);
  const double b = double(k.dot(x, y + 1, n)), r = double(k.dot(y, y + 1, n));
  const double sv = double(s0.bb - yFirst + yLast);
  const double num = b * p - a * r;
  const double den = num + (a * sv - b * r);
  if (den == 0.0) {
    *lag = 0.0f;
    *coeff = 0.0f;
    return kelWarnZeroWeightSum;
  }
  const double t = num / den;
  *lag = float(t);
  *coeff = 0.0f;
  if (t >= 0.0 && t < 1.0) {
    const double w = 1.0 - t;
    const double energyY = (w * w * p + 2.0 * t * w * r) + t * t * sv;
    const double energy = u * energyY;
    if (std::fabs(energy) > kFloor) *coeff = float((w * a + t * b) / std::sqrt(energy));
  }
  return kelOk;
}

}  // namespace
}  // namespace kels::pitch

using namespace kels::pitch;

extern "C" KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeff_16s32f(const Kels16s* pSrc1,
                                                                   const Kels16s* pSrc2, int len,
                                                                   Kels32f* pDst) {
  return crossCorrCoeff(pSrc1, pSrc2, len, pDst);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffPartial_16s32f(const Kels16s* pSrc1,
                                                                          const Kels16s* pSrc2,
                                                                          int len, Kels32f energy,
                                                                          Kels32f* pDst) {
  return crossCorrCoeffPartial(pSrc1, pSrc2, len, energy, pDst);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffDecim_16s32f(const Kels16s* pSrc1,
                                                                        const Kels16s* pSrc2, int n,
                                                                        int m, Kels32f* pDst,
                                                                        int d) {
  return crossCorrCoeffDecim(pSrc1, pSrc2, n, m, pDst, d);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffInterpolation_16s32f(
    const Kels16s* pSrc1, const Kels16s* pSrc2, int len, Kels32f* pLag, Kels32f* pCoeff) {
  return crossCorrCoeffInterpolation(pSrc1, pSrc2, len, pLag, pCoeff);
}
