// Column-statistics kernels: sums down the columns of a block and the covariance sums of a
// block, one table per SIMD target. Every column (or matrix element) is a running sum over the
// rows in order, so vectors run across columns and every target gives the scalar bits.
#pragma once

#include <cstddef>

#include <kelsr.h>

#include "core/cpu.h"

namespace kels::stats {

// One layout for the kernels: a _D2 block (base, step) or a _D2L row table (rows), seen from
// column `col` on.
template <class T>
struct ColSrc {
  const T* base;
  std::ptrdiff_t step;
  const T* const* rows;
  int col;
  const T* row(int i) const { return (rows ? rows[i] : base + std::ptrdiff_t(i) * step) + col; }
};

// Widest padding of a covariance row: a whole number of the widest double vector.
inline constexpr int kCovPad = 8;

struct Kernels {
  // Over rows 0..n-1 and columns 0..d-1: s1(j) += x or w(i)*x, s2(j) += x*x or (w(i)*x)*x, in
  // the accumulator type, rows in order. s1 or s2 may be null (not formed); w null: unweighted.
  void (*moments32f)(const ColSrc<Kels32f>& src, int n, int d, const Kels32f* w, Kels32f* s1,
                     Kels32f* s2);
  void (*moments16s)(const ColSrc<Kels16s>& src, int n, int d, Kels32f* s1, Kels32f* s2);
  void (*moments64f)(const ColSrc<Kels64f>& src, int n, int d, const Kels64f* w, Kels64f* s1,
                     Kels64f* s2);
  // One chunk of rows of the covariance sums: s(j,k) += (x(i,j) - m(k)) * dev(i,k) for j <= k < d,
  // where dev(i,k) = x(i,k) - m(k). x, dev, m and s rows are dpad doubles (dpad a multiple of
  // kCovPad, zero padded); elements with k < j or k >= d hold scratch values.
  void (*covChunk)(const Kels64f* x, const Kels64f* dev, int rows, int dpad, int d,
                   const Kels64f* m, Kels64f* s);
  // Covariance sums of column j against columns k0..k0+cnt-1 over all rows, straight from the
  // source: out(c) = sum (x(i,j) - m(c)) * (x(i,k) - m(c)), k = k0 + c; m holds those columns'
  // means in double.
  void (*covPairs32f)(const ColSrc<Kels32f>& src, int n, int j, int k0, int cnt,
                      const Kels64f* m, Kels64f* out);
  void (*covPairs16s)(const ColSrc<Kels16s>& src, int n, int j, int k0, int cnt,
                      const Kels64f* m, Kels64f* out);
};

extern const Kernels kScalarKernels;
#if defined(KELSR_X86)
extern const Kernels kSse2Kernels;
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;
#endif

const Kernels& kernelsFor(Target t);
inline const Kernels& kernels() { return kernelsFor(activeTarget()); }

}  // namespace kels::stats
