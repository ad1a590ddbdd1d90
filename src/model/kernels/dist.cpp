// The portable kernel table.
#include "model/kernels/dist.h"

namespace kels {

extern const DistKernels kDistScalar{
    wsd32fScalar,    sd32fScalar,    dvd32fScalar,    wsd64fScalar,    sd64fScalar,
    dvd64fScalar,    wsd32f64fScalar, sd32f64fScalar, dvd32f64fScalar, wsd16sScalar,
    sd16sScalar,     dvd16sScalar,   lowWsd16sScalar, lowSd16sScalar};

}  // namespace kels
