// The front end's vector kernels, one table per SIMD target; every target returns the same bits.
#pragma once

namespace kels::dsrfe {

struct FrontEndKernels {
  // dst[k] = half the sum of the squares of src[4k .. 4k+3], summed left to right.
  void (*halfSumsOfSquares)(const float* src, float* dst, int groups);
  void (*noiseUpdate)(const float* x, const float* y, float* dst, int n);
  void (*wienerGain)(const float* p, const float* n, const float* d, float* h, int len);
  // e[i] = |s[i]^2 - s[i-1] s[i+1]| for i = 0 .. n-1; reads s[-1] .. s[n].
  void (*teager)(const float* s, float* e, int n);
  void (*multiply)(const float* a, const float* b, float* dst, int n);
  // cep[i] -= bias[i], then bias[i] += mu (cep[i] - ref[i]) with the equalised cep[i].
  void (*equalize)(const float* ref, float* cep, float* bias, float mu, int n);
};

const FrontEndKernels& frontEndKernelsScalar();
const FrontEndKernels& frontEndKernelsSse2();
const FrontEndKernels& frontEndKernelsAvx2();
const FrontEndKernels& frontEndKernelsAvx512();
const FrontEndKernels& frontEndKernels();  // for the active target

}  // namespace kels::dsrfe
