// The references the column statistics are measured against, each in its own translation unit
// with its own flags.
#pragma once

// One pass: column sums and sums of squares in float, then mean and unbiased variance.
void plainMeanVarColumn(const float* x, int n, int step, int d, float* mean, float* var);

#if defined(KELSR_BENCH_EIGEN)
// Column-wise mean and variance of an n x d row-major block.
void eigenMeanVarColumn(const float* x, int n, int step, int d, float* mean, float* var);
// (X - m)^T (X - m) in double; x holds the block already in double, column-major.
void eigenCovariance(const double* x, int n, int d, const double* mean, double* dst);
#endif
