// Scalar log-add and log-sum arithmetic that defines every target's result (see logadd.h).
// Target files include it for their tails; the unnamed namespace keeps one copy per target.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "model/kernels/logadd_coeffs.h"
#include "model/logadd.h"

namespace kels {
namespace {

constexpr float kDrop32f = float(logadd::kDrop32f);
constexpr float kSplitLow = float(logadd::kSplitLow);    // compared in float
constexpr float kSplitHigh = float(logadd::kSplitHigh);

inline int interval(float d) { return int(d >= kSplitLow) + int(d >= kSplitHigh); }

inline double correction64(float d) {
  const int k = interval(d);
  const double t = double(d) - logadd::kCentre[k];
  const double* c = logadd::kCoef64[k];
  double p = c[logadd::kDegree];
  for (int j = logadd::kDegree - 1; j >= 0; --j) p = p * t + c[j];
  return p;
}
inline float correction32(float d) {
  const int k = interval(d);
  const float t = d - float(logadd::kCentre[k]);
  const float* c = logadd::kCoef32[k];
  float p = c[logadd::kDegree];
  for (int j = logadd::kDegree - 1; j >= 0; --j) p = p * t + c[j];
  return p;
}

template <bool kFast>
inline float logAddElem(float a, float b) {
  const bool gt = a > b;
  const float hi = gt ? a : b, lo = gt ? b : a;
  const float d = lo - hi;
  if (d != d) return a + b;  // a NaN, or two equal infinities
  if (d < kDrop32f) return hi < kLogZero32f ? kLogZero32f : hi;
  if constexpr (kFast) return hi + correction32(d);
  else return float(double(hi) + correction64(d));
}

// e^d for d <= 0 in double: d = k ln2 + r, |r| <= ln2/2, e^r by its Taylor polynomial of degree
// 12 (truncation below 2e-16 relative), 2^k from the exponent bits. Below -700 the term is 0:
// relative to the maximum's own term 1 it is far below double precision.
constexpr double kLog2e = 1.4426950408889634;
constexpr double kLn2Hi = 6.93147180369123816490e-01;  // 32 significant bits: k * kLn2Hi is exact
constexpr double kLn2Lo = 1.90821492927058770002e-10;
constexpr double kExpFloor = -700.0;
constexpr int kExpDegree = 12;
constexpr double kInvFact[kExpDegree + 1] = {
    1.0, 1.0, 1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720, 1.0 / 5040, 1.0 / 40320,
    1.0 / 362880, 1.0 / 3628800, 1.0 / 39916800, 1.0 / 479001600};

inline double expNeg(double d) {
  if (d < kExpFloor) return 0.0;
  const double k = std::nearbyint(d * kLog2e);
  const double r = (d - k * kLn2Hi) - k * kLn2Lo;
  double p = kInvFact[kExpDegree];
  for (int j = kExpDegree - 1; j >= 0; --j) p = p * r + kInvFact[j];
  // k >= -1010 here; a NaN d gives NaN p, whatever the scale.
  const std::int64_t e = (k >= -1022.0 ? std::int64_t(k) : -1022) + 1023;
  const std::uint64_t bits = std::uint64_t(e) << 52;
  double scale;
  std::memcpy(&scale, &bits, sizeof scale);
  return p * scale;
}

inline double reduceLanes8(const double* p) {
  const double q0 = p[0] + p[4], q1 = p[1] + p[5], q2 = p[2] + p[6], q3 = p[3] + p[7];
  return (q0 + q2) + (q1 + q3);
}
inline float maxLanes8(const float* p) {
  auto mx = [](float a, float b) { return a > b ? a : b; };
  return mx(mx(mx(p[0], p[4]), mx(p[2], p[6])), mx(mx(p[1], p[5]), mx(p[3], p[7])));
}

// The log-sum's last step, from the maximum and the sum of e^(x_i - M).
inline float logSumFinish(float m, double s) {
  const float r = float(double(m) + std::log(s));
  return r < kLogZero32f ? kLogZero32f : r;
}

// Lane-wise maximum (lane i % 8) of x[i..n), continuing from the partial maxima p.
inline float finishMax(float* p, const float* x, int i, int n) {
  for (; i < n; ++i) p[i % 8] = x[i] > p[i % 8] ? x[i] : p[i % 8];
  return maxLanes8(p);
}
inline double finishExpSum(double* p, const float* x, float m, int i, int n) {
  for (; i < n; ++i) p[i % 8] += expNeg(double(x[i]) - double(m));
  return reduceLanes8(p);
}

// Infinite maxima: +inf is the sum; -inf means every term is log zero.
inline bool logSumTrivial(float m, float* out) {
  if (!std::isinf(m)) return false;
  *out = m > 0 ? m : kLogZero32f;
  return true;
}

inline float logSum32fScalar(const float* x, int n) {
  float pm[8];
  for (int l = 0; l < 8; ++l) pm[l] = x[0];
  const float m = finishMax(pm, x, 0, n);
  float out;
  if (logSumTrivial(m, &out)) return out;
  double ps[8] = {};
  return logSumFinish(m, finishExpSum(ps, x, m, 0, n));
}

}  // namespace
}  // namespace kels
