// Per-subband arithmetic of the subband NLMS filter, shared by every target: the scalar element
// operations define each result bit for bit, and the SIMD kernels repeat them lane by lane (no
// fused multiply-add, the same operation order, max/min selects in the scalar shape).
#pragma once

#include <cstdint>

#include <kelsr.h>

namespace kels::enhance {

constexpr double kTwo63 = 9223372036854775808.0;
constexpr double kMin32 = -2147483648.0, kMax32 = 2147483647.0;
// 1.5 * 2^52: adding it leaves no fraction bits below 2^51, so the addition rounds half to even
// (the default rounding mode) and the subtraction is exact.
constexpr double kRoundShifter = 6755399441055744.0;
// Subbands per block of filter accumulators.
constexpr int kFilterBlock = 256;

// The unnamed namespace gives each target's translation unit its own copy of these, so the
// linker cannot hand code built for a wider target to a narrower caller.
namespace {

// Two selects, the shape of the processor's max and min; NaN passes through.
inline double clampTo(double v, double lo, double hi) {
  v = lo > v ? lo : v;
  return v > hi ? hi : v;
}
inline double clamp63(double v) { return clampTo(v, -kTwo63, kTwo63); }
inline double clamp32(double v) { return clampTo(v, kMin32, kMax32); }
inline double roundEvenSmall(double v) { return (v + kRoundShifter) - kRoundShifter; }
// Saturated, rounded 32-bit result of a value that is not NaN.
inline Kels32s toInt32(double v) { return Kels32s(roundEvenSmall(clamp32(v))); }

// acc += x * h (complex, no conjugate), clamped to [-2^63, 2^63] per part.
inline void macc(double& re, double& im, Kels32sc x, Kels32sc h) {
  const double xr = x.re, xi = x.im, hr = h.re, hi = h.im;
  re = clamp63(re + (xr * hr - xi * hi));
  im = clamp63(im + (xi * hr + xr * hi));
}

// h += mu * e * conj(x) * g, each part saturated before and after the addition, then rounded.
inline void updateOne(double mu, Kels32sc e, Kels32sc x, Kels32sc& h, double g) {
  const double meRe = mu * e.re, meIm = mu * e.im;
  const double xr = x.re, xi = x.im;
  const double uRe = (meRe * xr + meIm * xi) * g, uIm = (meIm * xr - meRe * xi) * g;
  h.re = toInt32(clamp32(uRe) + h.re);
  h.im = toInt32(clamp32(uIm) + h.im);
}

}  // namespace

struct NlmsKernels {
  // out[i] = sum over taps of x_j[i] h_j[i], times scale, for `len` subbands.
  void (*filter)(const Kels32sc* const* x, const Kels32sc* const* h, Kels32sc* out, int taps, int len,
                 double scale);
  // One tap's update for `len` subbands; every step is below 2^900, so nothing is NaN.
  void (*update)(const double* step, const Kels32sc* err, const Kels32sc* x, Kels32sc* h, int len, double g);
};

const NlmsKernels& nlmsKernelsScalar();
const NlmsKernels& nlmsKernelsSse2();
const NlmsKernels& nlmsKernelsAvx2();
// The kernels of the active target (the same bits on every target).
const NlmsKernels& nlmsKernels();

}  // namespace kels::enhance
