// The front end's vector kernels, avx512 build.
// GCC 12's AVX-512 headers start several intrinsics from _mm512_undefined_ps(), which its
// flow analysis reports as maybe-uninitialised; the value is fully overwritten.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "dsrfe/kernels/front_end.h"

namespace kels::dsrfe {

const FrontEndKernels& frontEndKernelsAvx512() {
  static constexpr FrontEndKernels k = frontEndKernelsFor<Avx512Lanes>();
  return k;
}

}  // namespace kels::dsrfe
