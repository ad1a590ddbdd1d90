// Reference loops the benchmark compares against, each in the translation unit whose flags it
// is about.
#pragma once

namespace ref {

// g - S/2, S = sum (x - mu)^2 * w, one accumulator, row by row.
void logGaussRowsPlain(const float* x, int step, const float* mu, const float* w, int n, float* out,
                       int m, float g);
// b[i] = max + log1p(exp(min - max)).
void logAddPlain(const float* a, float* b, int n);
void logAddNative(const float* a, float* b, int n);
// The running log-add of every element.
float logSumPlain(const float* x, int n);
float logSumNative(const float* x, int n);

// Single-core peak: independent mul and add chains on the widest registers, flops per call.
double peakKernel(float* sink, long iters);
const char* peakIsa();

}  // namespace ref
