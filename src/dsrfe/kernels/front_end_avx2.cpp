// The front end's vector kernels, avx2 build.
#include "dsrfe/kernels/front_end.h"

namespace kels::dsrfe {

const FrontEndKernels& frontEndKernelsAvx2() {
  static constexpr FrontEndKernels k = frontEndKernelsFor<Avx2Lanes>();
  return k;
}

}  // namespace kels::dsrfe
