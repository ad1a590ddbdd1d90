// Cross-correlation kernels, scalar build, and the choice of target.
#include "core/cpu.h"
#include "pitch/kernels/lag_sums.h"
#include "pitch/kernels/xcorr_table.h"

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

const XcorrKernels& xcorrKernelsScalar() {
  static constexpr XcorrKernels k{dot, dot3, lagSums<ScalarLanes>};
  return k;
}

#if defined(KELSR_X86)
const XcorrKernels& xcorrKernels() {
  static const XcorrKernels* const table[kTargetCount] = {
      &xcorrKernelsScalar(), &xcorrKernelsSse2(), &xcorrKernelsAvx2(), &xcorrKernelsAvx512()};
  return *forActiveTarget(table);
}
#else
const XcorrKernels& xcorrKernels() { return xcorrKernelsScalar(); }
#endif

}  // namespace kels::pitch
