// Log-add and log-sum entry points for the other families, and the per-target lookup.
#include "model/logadd.h"

#include <cmath>

#include "core/cpu.h"
#include "model/kernels/logadd_scalar.h"

namespace kels {

namespace {
void addRowScalar(const float* a, float* b, int n) {
  for (int i = 0; i < n; ++i) b[i] = logAddElem<false>(a[i], b[i]);
}
void addRowFastScalar(const float* a, float* b, int n) {
  for (int i = 0; i < n; ++i) b[i] = logAddElem<true>(a[i], b[i]);
}

constexpr double kDrop64f = -23.0258509299405;  // ln 1e-10

const LogKernels& logKernels() {
#if defined(KELSR_X86)
  switch (activeTarget()) {
    case Target::kAvx512: return logKernelsAvx512();
    case Target::kAvx2: return logKernelsAvx2();
    case Target::kSse2: return logKernelsSse2();
    case Target::kScalar: break;
  }
#endif
  return logKernelsScalar();
}
}  // namespace

const LogKernels& logKernelsScalar() {
  static constexpr LogKernels k{addRowScalar, addRowFastScalar, logSum32fScalar};
  return k;
}

float logAdd32f(float a, float b) { return logAddElem<false>(a, b); }
float logAdd32fFast(float a, float b) { return logAddElem<true>(a, b); }

double logAdd64f(double a, double b) {
  const bool gt = a > b;
  const double hi = gt ? a : b, lo = gt ? b : a;
  const double d = lo - hi;
  if (d != d) return a + b;
  if (d < kDrop64f) return hi < kLogZero64f ? kLogZero64f : hi;
  return hi + std::log1p(std::exp(d));
}

void logAddRow32f(const float* a, float* b, int n, int hint) {
  const LogKernels& k = logKernels();
  (hint == 1 ? k.addRow32fFast : k.addRow32f)(a, b, n);
}

float logSum32f(const float* x, int n, int /*hint*/) {
  return n == 1 ? x[0] : logKernels().sum32f(x, n);
}

double logSum64f(const double* x, int n) {
  if (n == 1) return x[0];
  double m = x[0];
  for (int i = 1; i < n; ++i) m = x[i] > m ? x[i] : m;
  if (std::isinf(m)) return m > 0 ? m : kLogZero64f;
  double s = 0;
  for (int i = 0; i < n; ++i) s += std::exp(x[i] - m);
  const double r = m + std::log(s);
  return r < kLogZero64f ? kLogZero64f : r;
}

}  // namespace kels
