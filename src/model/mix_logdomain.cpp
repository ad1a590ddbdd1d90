// Log-domain merges of the mixture families.
#include "model/mix_logdomain.h"

#include <algorithm>
#include <cmath>

namespace kels::model {

namespace {
constexpr float kDrop32f = -15.319588f;             // below it log(1 + e^d) is lost in float
constexpr double kDrop64f = -23.0258509299405;      // ln 1e-10
}  // namespace

float mixLogAdd32f(float a, float b, int hint) {
  const float hi = std::max(a, b);
  const float d = std::min(a, b) - hi;
  if (!(d >= kDrop32f)) return hi < kLogZero32f ? kLogZero32f : hi;
  if (hint == 1) return hi + std::log1p(std::exp(d));
  return hi + float(std::log1p(std::exp(double(d))));
}

double mixLogAdd64f(double a, double b) {
  const double hi = std::max(a, b);
  const double d = std::min(a, b) - hi;
  if (!(d >= kDrop64f)) return hi < kLogZero64f ? kLogZero64f : hi;
  return hi + std::log1p(std::exp(d));
}

float mixLogSum32f(const float* v, int n) {
  float acc = v[0];
  for (int i = 1; i < n; ++i) acc = mixLogAdd32f(acc, v[i], 0);
  return acc;
}

double mixLogSum64f(const double* v, int n) {
  double acc = v[0];
  for (int i = 1; i < n; ++i) acc = mixLogAdd64f(acc, v[i]);
  return acc;
}

}  // namespace kels::model
