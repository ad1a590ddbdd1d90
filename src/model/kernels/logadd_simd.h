// Pieces every SIMD log-add target shares: the coefficient tables laid out for lane-wise picks,
// and the barrier that keeps interleaved Horner chains interleaved. Included after the target's
// intrinsics header; the unnamed namespace gives each target its own copy.
#pragma once

#include "model/kernels/logadd_scalar.h"

namespace kels {
namespace {

// Row 0 the centres, row j + 1 coefficient j; element k holds interval k's value and the rest 0.
// kWidth elements a row (a register's worth where a permute picks from the row), built at
// compile time.
template <class T, int kWidth>
struct CoefTable {
  alignas(64) T row[logadd::kDegree + 2][kWidth] = {};
  constexpr CoefTable() {
    for (int k = 0; k < 3; ++k) {
      row[0][k] = T(logadd::kCentre[k]);
      for (int j = 0; j <= logadd::kDegree; ++j)
        row[j + 1][k] = T(sizeof(T) == 8 ? logadd::kCoef64[k][j] : logadd::kCoef32[k][j]);
    }
  }
};

// An empty asm that the register must pass through here. After each Horner step it keeps the
// chains interleaved in program order; without it GCC emits each chain's twenty dependent steps
// back to back, and the out-of-order window cannot cover several such chains.
template <class V>
inline void stepDone(V& v) {
  asm volatile("" : "+v"(v));
}

}  // namespace
}  // namespace kels
