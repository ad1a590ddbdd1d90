// Row-distance kernels of the Gaussian families: for one feature row x, mean mu and weights w of
// length n >= 1, the sum S that a diagonal Gaussian score g - S/2 needs:
//   wsd*   sum (x_i - mu_i)^2 * w_i      (w: inverse variances)
//   sd*    sum (x_i - mu_i)^2            (identity variance)
//   dvd*   sum (x_i - mu_i)^2 / v_i      (v: variances)
// Types: 32f sums in float, 64f in double, 32f64f reads floats and sums in double, 16s forms each
// difference exactly in integers, converts it to float and sums in float.
// Every float sum keeps 8 partial sums (element i goes to lane i % 8), every double sum 4, each
// lane summed in index order and the lanes reduced by one fixed tree; each term is
// (d * d) * w (or (d * d) / v). So every target returns the same bits on any alignment.
//
// low*16s: the 16-bit split evaluation of the Low forms for 0 <= sf <= 15: the saturated 16-bit
// difference is squared, the square split into its high 16 bits and its low 16 bits halved, each
// half multiplied by w as 16 x 16 -> 32-bit products, the high products scaled up by 15 - sf and
// the low ones down by sf (arithmetic shift, rounding toward -inf), summed exactly in 64 bits.
// The result approximates S/2 * 2^-sf; the score is g minus it. Each term is below 2^45 in
// magnitude, so rows up to 2^16 elements cannot overflow; callers split longer rows.
//
// One table per target; distKernels() returns the active target's (pinned in tests, else the
// best this processor has). The signatures are stable: new kernels are added at the end.
#pragma once

#include <cstdint>

#include "core/cpu.h"

namespace kels {

struct DistKernels {
  float (*wsd32f)(const float* x, const float* mu, const float* w, int n);
  float (*sd32f)(const float* x, const float* mu, int n);
  float (*dvd32f)(const float* x, const float* mu, const float* v, int n);

  double (*wsd64f)(const double* x, const double* mu, const double* w, int n);
  double (*sd64f)(const double* x, const double* mu, int n);
  double (*dvd64f)(const double* x, const double* mu, const double* v, int n);

  double (*wsd32f64f)(const float* x, const float* mu, const float* w, int n);
  double (*sd32f64f)(const float* x, const float* mu, int n);
  double (*dvd32f64f)(const float* x, const float* mu, const float* v, int n);

  float (*wsd16s)(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n);
  float (*sd16s)(const std::int16_t* x, const std::int16_t* mu, int n);
  float (*dvd16s)(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* v, int n);

  std::int64_t (*lowWsd16s)(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w,
                            int n, int sf);
  std::int64_t (*lowSd16s)(const std::int16_t* x, const std::int16_t* mu, int n, int sf);
};

// Per-target tables, defined in the target files (the scalar one in dist.cpp); constant
// initialised, so the lookup is a load, not a call. Targets the build lacks use the scalar one.
extern KELS_HIDDEN const DistKernels kDistScalar, kDistSse2, kDistAvx2, kDistAvx512;

namespace {
inline const DistKernels& distKernels(Target t) {
#if defined(KELSR_X86)
  static const DistKernels* const kTables[kTargetCount] = {&kDistScalar, &kDistSse2, &kDistAvx2, &kDistAvx512};
  return *kTables[int(t)];
#else
  (void)t;
  return kDistScalar;
#endif
}
inline const DistKernels& distKernels() { return distKernels(activeTarget()); }
inline const DistKernels& distKernelsScalar() { return kDistScalar; }
}  // namespace

}  // namespace kels
