// Exact dot products of 16-bit signals, one table per SIMD target. The sums are 64-bit integers,
// exact in any order, so every target returns the same values.
#pragma once

#include <cstdint>

namespace kels::pitch {

struct Dots3 {
  std::int64_t aa, bb, ab;
};

struct DotKernels {
  std::int64_t (*dot)(const std::int16_t* a, const std::int16_t* b, int n);
  Dots3 (*dot3)(const std::int16_t* a, const std::int16_t* b, int n);  // <a,a>, <b,b>, <a,b>
};

const DotKernels& dotKernelsScalar();
const DotKernels& dotKernelsSse2();
const DotKernels& dotKernelsAvx2();
const DotKernels& dotKernels();  // for the active target

}  // namespace kels::pitch
