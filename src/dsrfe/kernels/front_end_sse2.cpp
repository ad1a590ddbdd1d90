// The front end's vector kernels, sse2 build.
#include "dsrfe/kernels/front_end.h"

namespace kels::dsrfe {

const FrontEndKernels& frontEndKernelsSse2() {
  static constexpr FrontEndKernels k = frontEndKernelsFor<Sse2Lanes>();
  return k;
}

}  // namespace kels::dsrfe
