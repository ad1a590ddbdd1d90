// Squared Mahalanobis distances D = sum_i (x_i - m_i)^2 * w_i, on the row distances of the
// mixture families: one vector or many against one Gaussian or many.
#include <kelsr.h>

#include <cstdint>

#include "core/check.h"
#include "core/export.h"
#include "core/rows.h"
#include "core/scale.h"
#include "model/kernels/dist_kernels.h"
#include "model/mix_family.h"

namespace kels::model {
namespace {

template <class T, class D>
KelsStatus mahDistSingle(const T* x, const T* mean, const T* var, int n, D* dst) {
  if (KelsStatus st = ArgCheck{}.ptrs(x, mean, var, dst).size(n); st != kelOk) return st;
  const MixDistKernels& k = mixDistKernels();
  if constexpr (sizeof(T) == 8) k.wsd64f(fixedRow(x), fixedRow(mean), fixedRow(var), n, 1, dst);
  else if constexpr (sizeof(T) == 4) k.wsd32f(fixedRow(x), fixedRow(mean), fixedRow(var), n, 1, dst);
  else k.wsd16s(fixedRow(x), fixedRow(mean), fixedRow(var), n, 1, dst);
  return kelOk;
}

// m vectors against one Gaussian. Step first: a short step is reported even with null pointers.
template <class Rows, class T>
KelsStatus mahDist(Rows x, const T* mean, const T* var, int n, T* dst, int m) {
  if (KelsStatus st = ArgCheck{}
                          .step(x, n)
                          .ptrs(x.ptr(), mean, var, dst)
                          .size(n)
                          .size(m)
                          .data([&] { return rowsPresent(x, m); }, kelErrNullPtr);
      st != kelOk)
    return st;
  RealForm<T, T, true>{}.dist(rowSrc(x), fixedRow(mean), fixedRow(var), n, m, dst);
  return kelOk;
}

// One vector against m Gaussians. Step first, as above.
template <class Rows, class T>
KelsStatus mahDistMultiMix(Rows mean, Rows var, const T* x, int n, T* dst, int m) {
  if (KelsStatus st = ArgCheck{}
                          .step(mean, n)
                          .ptrs(mean.ptr(), var.ptr(), x, dst)
                          .size(n)
                          .size(m)
                          .data([&] { return rowsPresent(mean, m) && rowsPresent(var, m); },
                                kelErrNullPtr);
      st != kelOk)
    return st;
  RealForm<T, T, true>{}.dist(fixedRow(x), rowSrc(mean), rowSrc(var), n, m, dst);
  return kelOk;
}

// Exact: |d| < 2^16, d^2 * w < 2^47; the running sum saturates should it leave 64 bits.
KelsStatus mahDistSingle16s32s(const Kels16s* x, const Kels16s* mean, const Kels16s* var, int n,
                               Kels32s* dst, int sf) {
  if (KelsStatus st = ArgCheck{}.ptrs(x, mean, var, dst).size(n); st != kelOk) return st;
  std::int64_t sum = 0;
  for (int i = 0; i < n; ++i) {
    const std::int64_t d = std::int64_t(x[i]) - mean[i];
    if (__builtin_add_overflow(sum, d * d * var[i], &sum)) sum = var[i] > 0 ? INT64_MAX : INT64_MIN;
  }
  *dst = sat32(scaleRoundEven(sum, sf));
  return kelOk;
}

// Elements widened to double before the difference, double sums.
KelsStatus mahDistSingle32f64f(const Kels32f* x, const Kels32f* mean, const Kels32f* var, int n,
                               Kels64f* dst) {
  if (KelsStatus st = ArgCheck{}.ptrs(x, mean, var, dst).size(n); st != kelOk) return st;
  *dst = distKernels().wsd32f64f(x, mean, var, n);
  return kelOk;
}

}  // namespace
}  // namespace kels::model

using namespace kels;
using namespace kels::model;

extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistSingle_32f(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult) {
  return mahDistSingle(pSrc, pMean, pVar, width, pResult);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistSingle_64f(const Kels64f* pSrc,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult) {
  return mahDistSingle(pSrc, pMean, pVar, width, pResult);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistSingle_16s32f(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32f* pResult) {
  return mahDistSingle(pSrc, pMean, pVar, width, pResult);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistSingle_16s32s_Sfs(const Kels16s* pSrc,
    const Kels16s* pMean, const Kels16s* pVar, int width, Kels32s* pResult, int scaleFactor) {
  return mahDistSingle16s32s(pSrc, pMean, pVar, width, pResult, scaleFactor);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistSingle_32f64f(const Kels32f* pSrc,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels64f* pResult) {
  return mahDistSingle32f64f(pSrc, pMean, pVar, width, pResult);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMahDist_32f_D2(const Kels32f* pSrc, int step,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult, int height) {
  return mahDist(RowsD2<const Kels32f>{pSrc, step}, pMean, pVar, width, pResult, height);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDist_64f_D2(const Kels64f* pSrc, int step,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult, int height) {
  return mahDist(RowsD2<const Kels64f>{pSrc, step}, pMean, pVar, width, pResult, height);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDist_32f_D2L(const Kels32f** ppSrc,
    const Kels32f* pMean, const Kels32f* pVar, int width, Kels32f* pResult, int height) {
  return mahDist(RowsD2L<const Kels32f>{ppSrc}, pMean, pVar, width, pResult, height);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDist_64f_D2L(const Kels64f** ppSrc,
    const Kels64f* pMean, const Kels64f* pVar, int width, Kels64f* pResult, int height) {
  return mahDist(RowsD2L<const Kels64f>{ppSrc}, pMean, pVar, width, pResult, height);
}
KELS_ALIAS(kelsMahDist1_32f_D2, kelsMahDist_32f_D2);
KELS_ALIAS(kelsMahDist1_64f_D2, kelsMahDist_64f_D2);
KELS_ALIAS(kelsMahDist1_32f_D2L, kelsMahDist_32f_D2L);
KELS_ALIAS(kelsMahDist1_64f_D2L, kelsMahDist_64f_D2L);

extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_32f_D2(const Kels32f* pMean,
    const Kels32f* pVar, int step, const Kels32f* pSrc, int width, Kels32f* pResult, int height) {
  return mahDistMultiMix(RowsD2<const Kels32f>{pMean, step}, RowsD2<const Kels32f>{pVar, step},
                         pSrc, width, pResult, height);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_64f_D2(const Kels64f* pMean,
    const Kels64f* pVar, int step, const Kels64f* pSrc, int width, Kels64f* pResult, int height) {
  return mahDistMultiMix(RowsD2<const Kels64f>{pMean, step}, RowsD2<const Kels64f>{pVar, step},
                         pSrc, width, pResult, height);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_32f_D2L(const Kels32f** ppMean,
    const Kels32f** ppVar, const Kels32f* pSrc, int width, Kels32f* pResult, int height) {
  return mahDistMultiMix(RowsD2L<const Kels32f>{ppMean}, RowsD2L<const Kels32f>{ppVar}, pSrc,
                         width, pResult, height);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMahDistMultiMix_64f_D2L(const Kels64f** ppMean,
    const Kels64f** ppVar, const Kels64f* pSrc, int width, Kels64f* pResult, int height) {
  return mahDistMultiMix(RowsD2L<const Kels64f>{ppMean}, RowsD2L<const Kels64f>{ppVar}, pSrc,
                         width, pResult, height);
}
KELS_ALIAS(kelsMahDist2_32f_D2, kelsMahDistMultiMix_32f_D2);
KELS_ALIAS(kelsMahDist2_64f_D2, kelsMahDistMultiMix_64f_D2);
KELS_ALIAS(kelsMahDist2_32f_D2L, kelsMahDistMultiMix_32f_D2L);
KELS_ALIAS(kelsMahDist2_64f_D2L, kelsMahDistMultiMix_64f_D2L);
