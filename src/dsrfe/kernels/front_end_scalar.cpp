// The front end's kernels, scalar build, and the choice of target.
#include "core/cpu.h"
#include "dsrfe/kernels/front_end.h"

namespace kels::dsrfe {

const FrontEndKernels& frontEndKernelsScalar() {
  static constexpr FrontEndKernels k = frontEndKernelsFor<ScalarLanes>();
  return k;
}

#if defined(KELSR_X86)
const FrontEndKernels& frontEndKernels() {
  static const FrontEndKernels* const table[kTargetCount] = {
      &frontEndKernelsScalar(), &frontEndKernelsSse2(), &frontEndKernelsAvx2(),
      &frontEndKernelsAvx512()};
  return *forActiveTarget(table);
}
#else
const FrontEndKernels& frontEndKernels() { return frontEndKernelsScalar(); }
#endif

}  // namespace kels::dsrfe
