// Plain loops for the x86-64 baseline.
#include <algorithm>
#include <cmath>

#include "ref.h"

namespace ref {

void logGaussRowsPlain(const float* x, int step, const float* mu, const float* w, int n, float* out,
                       int m, float g) {
  for (int r = 0; r < m; ++r) {
    const float* row = x + static_cast<long>(r) * step;
    float s = 0;
    for (int i = 0; i < n; ++i) {
      const float d = row[i] - mu[i];
      s += d * d * w[i];
    }
    out[r] = g - 0.5f * s;
  }
}

void logAddPlain(const float* a, float* b, int n) {
  for (int i = 0; i < n; ++i) {
    const float hi = std::max(a[i], b[i]), lo = std::min(a[i], b[i]);
    b[i] = hi + std::log1p(std::exp(lo - hi));
  }
}

float logSumPlain(const float* x, int n) {
  float acc = x[0];
  for (int i = 1; i < n; ++i) {
    const float hi = std::max(acc, x[i]), lo = std::min(acc, x[i]);
    acc = hi + std::log1p(std::exp(lo - hi));
  }
  return acc;
}

}  // namespace ref
