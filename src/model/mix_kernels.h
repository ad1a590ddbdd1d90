// Multi-row distances for the mixture and distance families: for `count` rows j, the sum S_j of
// the single-Gaussian row kernels (model/kernels/dist_kernels.h), with the same terms, lanes and
// reduction tree, so every row gets exactly the bits the single-row kernel gives it. Any of the
// three operands may be one fixed vector or a set of rows: the same kernel serves one vector
// against many Gaussians and many vectors against one Gaussian. SIMD targets evaluate several
// rows per pass; the portable version runs the scalar single-row kernel row by row.
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

// The rows from row j on.
template <class T>
RowSrc<T> advance(RowSrc<T> r, int j) {
  if (r.rows) return {nullptr, 0, r.rows + j};
  return {r.base == nullptr ? nullptr : r.base + std::ptrdiff_t(j) * r.step, r.step, nullptr};
}

template <class T, class D>
using DistFn = void (*)(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, D* s);

struct MixDistKernels {
  DistFn<Kels32f, float> wsd32f, sd32f;    // weighted / identity variance, float sums
  DistFn<Kels64f, double> wsd64f, sd64f;   // double sums
  DistFn<Kels16s, float> wsd16s, sd16s;    // exact integer differences, float sums
};

// The kernels of one target, constant initialised in the target files (the row-by-row portable
// version in mix_dist.cpp).
extern KELS_HIDDEN const MixDistKernels kMixDistScalar, kMixDistSse2, kMixDistAvx2, kMixDistAvx512;

namespace {
inline const MixDistKernels& mixDistKernels(Target t) {
#if defined(KELSR_X86)
  static const MixDistKernels* const kTables[kTargetCount] = {&kMixDistScalar, &kMixDistSse2, &kMixDistAvx2,
                                                             &kMixDistAvx512};
  return *kTables[int(t)];
#else
  (void)t;
  return kMixDistScalar;
#endif
}
inline const MixDistKernels& mixDistKernels() { return mixDistKernels(activeTarget()); }
}  // namespace

}  // namespace kels::model
