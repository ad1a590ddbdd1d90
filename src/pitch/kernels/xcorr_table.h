// Cross-correlation kernels, one table per SIMD target; every target returns the same values.
// Dot products of 16-bit signals are 64-bit integers, exact in any order. The lag sums of the
// decimated series are float sums in a fixed order, each lag one lane.
#pragma once

#include <cstdint>

namespace kels::pitch {

struct Dots3 {
  std::int64_t aa, bb, ab;
};

struct XcorrKernels {
  std::int64_t (*dot)(const std::int16_t* a, const std::int16_t* b, int n);
  Dots3 (*dot3)(const std::int16_t* a, const std::int16_t* b, int n);  // <a,a>, <b,b>, <a,b>
  // c[i] = sum of xr[a + i - j] * yd[j] over j = 0 .. a + i, added in increasing j, for
  // i = 0 .. lags - 1; reads xr and yd up to index a + lags - 1.
  void (*lagSums)(const float* xr, const float* yd, int a, int lags, float* c);
};

// The AVX2 build's lag sums, which the AVX-512 table shares.
void lagSumsAvx2(const float* xr, const float* yd, int a, int lags, float* c);

const XcorrKernels& xcorrKernelsScalar();
const XcorrKernels& xcorrKernelsSse2();
const XcorrKernels& xcorrKernelsAvx2();
const XcorrKernels& xcorrKernelsAvx512();
const XcorrKernels& xcorrKernels();  // for the active target

}  // namespace kels::pitch
