// Exact dot products, scalar build, and the choice of target.
#include "core/cpu.h"
#include "pitch/kernels/dot_table.h"

namespace kels::pitch {
namespace {

std::int64_t dot(const std::int16_t* a, const std::int16_t* b, int n) {
  std::int64_t s = 0;
  for (int i = 0; i < n; ++i) s += std::int32_t(a[i]) * b[i];
  return s;
}

Dots3 dot3(const std::int16_t* a, const std::int16_t* b, int n) {
  Dots3 s{0, 0, 0};
  for (int i = 0; i < n; ++i) {
    s.aa += std::int32_t(a[i]) * a[i];
    s.bb += std::int32_t(b[i]) * b[i];
    s.ab += std::int32_t(a[i]) * b[i];
  }
  return s;
}

}  // namespace

const DotKernels& dotKernelsScalar() {
  static constexpr DotKernels k{dot, dot3};
  return k;
}

#if defined(KELSR_X86)
const DotKernels& dotKernels() {
  // AVX-512 gains nothing measurable on these memory-bound sums over the AVX2 version.
  static const DotKernels* const table[kTargetCount] = {&dotKernelsScalar(), &dotKernelsSse2(),
                                                        &dotKernelsAvx2(), &dotKernelsAvx2()};
  return *forActiveTarget(table);
}
#else
const DotKernels& dotKernels() { return dotKernelsScalar(); }
#endif

}  // namespace kels::pitch
