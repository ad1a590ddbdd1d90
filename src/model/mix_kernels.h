// Row distances for the mixture and distance families: for `count` rows j, the weighted squared
// distance S_j = sum_i (x_i - m_i)^2 * w_i (w absent in the identity-variance forms). Any of the
// three operands may be one fixed vector or a set of rows, so the same kernel serves one vector
// against many Gaussians and many vectors against one Gaussian. Every target returns the bits of
// the scalar kernel: 8 partial sums for float (lane i % 8), 4 for double, one fixed reduction tree.
#pragma once

#include <cstddef>
#include <cstdint>

#include <kelsr.h>

#include "core/cpu.h"
#include "core/rows.h"

namespace kels::model {

// One operand of a distance: a fixed vector (step 0), rows of a _D2 block, or a _D2L row table.
template <class T>
struct RowSrc {
  const T* base;
  std::ptrdiff_t step;
  const T* const* rows;
  const T* operator[](int j) const { return rows ? rows[j] : base + std::ptrdiff_t(j) * step; }
  bool fixed() const { return rows == nullptr && step == 0; }
};

template <class T>
RowSrc<T> fixedRow(const T* p) { return {p, 0, nullptr}; }
template <class T>
RowSrc<T> rowSrc(RowsD2<const T> r) { return {r.base, r.step, nullptr}; }
template <class T>
RowSrc<T> rowSrc(RowsD2L<const T> r) { return {nullptr, 0, r.rows}; }

template <class T, class D>
using DistFn = void (*)(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, D* s);

struct MixDistKernels {
  DistFn<Kels32f, float> wsd32f, sd32f;    // weighted / identity variance, float sums
  DistFn<Kels64f, double> wsd64f, sd64f;   // double sums
  DistFn<Kels16s, float> wsd16s, sd16s;    // exact integer differences, float sums
};

// The kernels of one target; targets this build lacks give the next narrower one.
const MixDistKernels& mixDistKernels(Target t);
inline const MixDistKernels& mixDistKernels() { return mixDistKernels(activeTarget()); }

// The 16-bit split evaluation of the Low forms, for scale factors 0..15: with d = sat16(x - m)
// and d^2 = hi * 2^16 + lo, the sum of hi * w * 2^(15 - sf) + ((lo >> 1) * w >> sf), an integer
// approximation of 1/2 * S * 2^-sf. Integer sums are exact, so one version serves every target.
void lowDist16s(RowSrc<Kels16s> x, RowSrc<Kels16s> m, RowSrc<Kels16s> w, int n, int count,
                int sf, std::int64_t* s);

}  // namespace kels::model
