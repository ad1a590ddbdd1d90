// AVX2 multi-row distances (bit-identical to the single-row kernels).
#include "model/kernels/mix_dist_ymm.h"

namespace kels::model {

extern const MixDistKernels kMixDistAvx2 = kYmmKernels;

}  // namespace kels::model
