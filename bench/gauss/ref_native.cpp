// The same loops built with -O3 -march=native -ffast-math, where the vector libm takes over.
#include <algorithm>
#include <cmath>

#include "ref.h"

namespace ref {

void logAddNative(const float* a, float* b, int n) {
  for (int i = 0; i < n; ++i) {
    const float hi = std::max(a[i], b[i]), lo = std::min(a[i], b[i]);
    b[i] = hi + std::log1p(std::exp(lo - hi));
  }
}

float logSumNative(const float* x, int n) {
  float acc = x[0];
  for (int i = 1; i < n; ++i) {
    const float hi = std::max(acc, x[i]), lo = std::min(acc, x[i]);
    acc = hi + std::log1p(std::exp(lo - hi));
  }
  return acc;
}

}  // namespace ref
