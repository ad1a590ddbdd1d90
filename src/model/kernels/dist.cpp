// The portable kernel table and the per-target lookup.
#include "model/kernels/dist.h"

namespace kels {

const DistKernels& distKernelsScalar() {
  static constexpr DistKernels k{
      wsd32fScalar,    sd32fScalar,    dvd32fScalar,    wsd64fScalar,    sd64fScalar,
      dvd64fScalar,    wsd32f64fScalar, sd32f64fScalar, dvd32f64fScalar, wsd16sScalar,
      sd16sScalar,     dvd16sScalar,   lowWsd16sScalar, lowSd16sScalar, pairOf<wsd32fScalar>, pairOf<sd32fScalar>,
      quadOf<wsd32fScalar>, quadOf<sd32fScalar>};
  return k;
}

const DistKernels& distKernels(Target t) {
#if defined(KELSR_X86)
  switch (t) {
    case Target::kAvx512: return distKernelsAvx512();
    case Target::kAvx2: return distKernelsAvx2();
    case Target::kSse2: return distKernelsSse2();
    case Target::kScalar: break;
  }
#else
  (void)t;
#endif
  return distKernelsScalar();
}

}  // namespace kels
