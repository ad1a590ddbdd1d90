// AVX-512 multi-row distances: the 256-bit kernels with tails read through mask registers.
// (Pairing two 8-lane rows in one 512-bit register needs shuffles and measured slower.)
#define KELS_YMM_KMASK 1
#include "model/kernels/mix_dist_ymm.h"

namespace kels::model {

extern const MixDistKernels kMixDistAvx512 = kYmmKernels;

}  // namespace kels::model
