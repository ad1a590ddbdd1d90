// Avx2 log-add and log-sum kernels (the same bits as logadd_scalar.h).
#include "model/kernels/logadd_scalar.h"

namespace kels {
namespace {
void addRow(const float* a, float* b, int n) {
  for (int i = 0; i < n; ++i) b[i] = logAddElem<false>(a[i], b[i]);
}
void addRowFast(const float* a, float* b, int n) {
  for (int i = 0; i < n; ++i) b[i] = logAddElem<true>(a[i], b[i]);
}
}  // namespace

const LogKernels& logKernelsAvx2() {
  static constexpr LogKernels k{addRow, addRowFast, logSum32fScalar};
  return k;
}

}  // namespace kels
