// AVX2 multi-row distances (bit-identical to the single-row kernels).
#include "model/kernels/mix_dist_ymm.h"

namespace kels::model {

const MixDistKernels& mixDistKernelsAvx2() { return kYmmKernels; }

}  // namespace kels::model
