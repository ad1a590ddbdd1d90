// Normalised cross-correlation of 16-bit signals, r = <x,y> / sqrt(<x,x> <y,y>), for pitch
// search: one coefficient, the same with a given energy, a decimated series over growing windows
// and the coefficient at an interpolated fractional lag.
#include <cmath>
#include <cstdint>

#include "core/check.h"
#include "pitch/kernels/dot_table.h"

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
  const Dots3 s = dotKernels().dot3(x, y, len);
  *dst = coefficient(float(s.ab), float(s.aa), float(s.bb));
  return kelOk;
}

KelsStatus crossCorrCoeffPartial(const Kels16s* x, const Kels16s* y, int len, float ex, float* dst) {
  if (KelsStatus st = checkPartial(x, y, len, ex, dst); st != kelOk) return st;
  const DotKernels& k = dotKernels();
  const float ey = float(k.dot(y, y, len));
  const long double exl = ex;
  // The cross product is only worth summing when the floor lets the coefficient through.
  *dst = std::fabs(exl * ey) > kFloor ? coefficient(float(k.dot(x, y, len)), ex, ey) : 0.0f;
  return kelOk;
}

// Products are rounded to float and added in increasing offset, one lag after another: the order
// is part of the result.
KelsStatus crossCorrCoeffDecim(const Kels16s* x, const Kels16s* y, int n, int m, float* dst, int d) {
  if (KelsStatus st = checkDecim(x, y, n, m, dst, d); st != kelOk) return st;
  const auto product = [](Kels16s a, Kels16s b) { return float(std::int32_t(a) * b); };
  const int lags = (n - m) / d + 1;
  const Kels16s* xs = x + (n - m);  // lag 0's window of x ends at the last sample
  float ex = 0.0f, ey = 0.0f;
  int next = 0;  // the next lattice offset of y to join the energy
  for (; next <= m - 1; next += d) {
    ex += product(xs[next], xs[next]);
    ey += product(y[next], y[next]);
  }
  for (int i = 0; i < lags; ++i, xs -= d) {
    if (i > 0) {  // each lag adds one lattice point at the left of x and one at the right of y
      ex += product(xs[0], xs[0]);
      ey += product(y[next], y[next]);
      next += d;
    }
    const int window = m + i * d;
    float c = 0.0f;
    for (int k = 0; k < window; k += d) c += product(xs[k], y[k]);
    dst[i] = std::fabs(ex * ey) > kFloor ? c / (std::sqrt(ey) * std::sqrt(ex)) : 0.0f;
  }
  return kelOk;
}

// The extremum of r(t) for y linearly interpolated between lag 0 and lag 1 (see the header).
KelsStatus crossCorrCoeffInterpolation(const Kels16s* x, const Kels16s* y, int len, float* lag,
                                       float* coeff) {
  if (KelsStatus st = checkInterpolation(x, y, len, lag, coeff); st != kelOk) return st;
  const DotKernels& k = dotKernels();
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
                                                                       int m, Kels32f* pDst, int d) {
  return crossCorrCoeffDecim(pSrc1, pSrc2, n, m, pDst, d);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsCrossCorrCoeffInterpolation_16s32f(
    const Kels16s* pSrc1, const Kels16s* pSrc2, int len, Kels32f* pLag, Kels32f* pCoeff) {
  return crossCorrCoeffInterpolation(pSrc1, pSrc2, len, pLag, pCoeff);
}
