// Gaussian splitting and merging, and the cluster log-likelihood of decision-tree clustering:
// diagonal Gaussians of dimension L; ln(2 pi) is the truncated 1.8378770664093 in the merged
// determinant term and the full -(1 + ln 2 pi) = -2.8378770664093453 in the cluster likelihood.
#include <cmath>
#include <initializer_list>
#include <limits>
#include <type_traits>

#include "core/check.h"
#include "core/rows.h"
#include "estimation/estimate.h"

namespace kels {
namespace {

constexpr double kLn2Pi = 1.8378770664093;                  // truncated, deliberately
constexpr double kMinusOneLn2Pi = -2.8378770664093453;      // -(1 + ln 2 pi)
constexpr double kEmptyCluster = -1.0e10;

// Size before pointers, deliberately: an empty split is reported as such even with null vectors.
KelsStatus checkSplitMerge(int len, std::initializer_list<const void*> ptrs) {
  ArgCheck c;
  c.size(len);
  for (const void* p : ptrs) c.ptr(p);
  return c;
}

template <class T>
KelsStatus gaussianSplit(T* mean, const T* var, T* mean2, T* var2, int len, T eps) {
  if (KelsStatus st = checkSplitMerge(len, {mean, var, mean2, var2}); st != kelOk) return st;
  int k = 0;
  if constexpr (std::is_same_v<T, float>) {
    // The aligned path takes the root from a refined reciprocal-root estimate, four at a time.
    if (isAligned16(mean) && isAligned16(var) && isAligned16(mean2) && isAligned16(var2)) {
      for (; k < (len & ~3); ++k) {
        const float v = var[k], r = rsqrtEstimate(v);
        const float s = v * r * -0.5f * (v * r * r - 3.0f) * eps;
        const float m = mean[k];
        mean2[k] = m - s;
        mean[k] = m + s;
        var2[k] = v;
      }
    }
  }
  for (; k < len; ++k) {
    const T v = var[k], s = std::sqrt(v) * eps, m = mean[k];
    mean2[k] = m - s;
    mean[k] = m + s;
    var2[k] = v;
  }
  return kelOk;
}

template <class T>
KelsStatus gaussianMerge(const T* m1, const T* v1, const T* m2, const T* v2, T* dstMean, T* dstVar,
                         int len, T* det, T w1, T w2) {
  if (KelsStatus st = checkSplitMerge(len, {m1, v1, m2, v2, dstMean, dstVar, det}); st != kelOk)
    return st;
  const T r = T(1) / (w1 + w2);
  double logSum = 0.0;
  for (int k = 0; k < len; ++k) {
    const T m = (w1 * m1[k] + w2 * m2[k]) * r;
    const T v = ((m1[k] * m1[k] + v1[k]) * w1 + (m2[k] * m2[k] + v2[k]) * w2) * r - m * m;
    dstMean[k] = m;
    dstVar[k] = v;
    logSum += std::log(double(v));  // a variance <= 0 makes the term non-finite; still kelOk
  }
  *det = T(double(len) * kLn2Pi - logSum);
  return kelOk;
}

// var(k) from the second argument: 1/ivar for the plain forms, as given for DirectVar.
enum class VarForm { kInverse, kDirect };

template <VarForm F, class T>
KelsStatus clustAccumulate(const T* mean, const T* var, T* first, T* second, int len, T occ) {
  if (KelsStatus st = ArgCheck{}.ptrs(mean, var, first, second).size(len); st != kelOk) return st;
  int k = 0;
  if constexpr (F == VarForm::kInverse && std::is_same_v<T, float>) {
    // Aligned and long enough: 1/ivar from a reciprocal estimate refined by one Newton step.
    if (len >= 8 && isAligned16(mean) && isAligned16(var) && isAligned16(first) && isAligned16(second)) {
      for (; k < (len & ~3); ++k) {
        const float iv = var[k], r = recipEstimate(iv);
        const float v = r * (2.0f - iv * r);
        first[k] = mean[k] * occ;
        second[k] = (mean[k] * mean[k] + v) * occ;
      }
    }
  }
  for (; k < len; ++k) {
    const T v = F == VarForm::kInverse ? T(1) / var[k] : var[k];
    first[k] = mean[k] * occ;
    second[k] = (mean[k] * mean[k] + v) * occ;
  }
  return kelOk;
}

KelsStatus clustCompute(const double* first, const double* second, int len, double* dst, double occ) {
  if (KelsStatus st = ArgCheck{}.ptrs(first, second, dst).size(len).arg(occ >= 0.0, kelErrNegArg); st != kelOk)
    return st;
  if (occ == 0.0) {
    *dst = kEmptyCluster;
    return kelWarnZeroDivisor;
  }
  double logSum = 0.0;
  for (int k = 0; k < len; ++k) {
    const double q = second[k] * occ - first[k] * first[k];  // occ^2 * sigma2(k)
    if (!(q > 0.0)) {
      *dst = -std::numeric_limits<double>::infinity();
      return kelOk;
    }
    logSum += std::log(q);
  }
  *dst = 0.5 * occ * (double(len) * kMinusOneLn2Pi + 2.0 * double(len) * std::log(occ) - logSum);
  return kelOk;
}

}  // namespace
}  // namespace kels

using kels::VarForm;

extern "C" KELS_API KelsStatus KELS_CALL kelsGaussianSplit_32f(Kels32f* pMean, const Kels32f* pVar, Kels32f* pMean2,
                                                               Kels32f* pVar2, int len, Kels32f epsilon) {
  return kels::gaussianSplit(pMean, pVar, pMean2, pVar2, len, epsilon);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsGaussianSplit_64f(Kels64f* pMean, const Kels64f* pVar, Kels64f* pMean2,
                                                               Kels64f* pVar2, int len, Kels64f epsilon) {
  return kels::gaussianSplit(pMean, pVar, pMean2, pVar2, len, epsilon);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsGaussianMerge_32f(const Kels32f* pMean1, const Kels32f* pVar1,
                                                               const Kels32f* pMean2, const Kels32f* pVar2,
                                                               Kels32f* pDstMean, Kels32f* pDstVar, int len,
                                                               Kels32f* pDet, Kels32f w1, Kels32f w2) {
  return kels::gaussianMerge(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, len, pDet, w1, w2);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsGaussianMerge_64f(const Kels64f* pMean1, const Kels64f* pVar1,
                                                               const Kels64f* pMean2, const Kels64f* pVar2,
                                                               Kels64f* pDstMean, Kels64f* pDstVar, int len,
                                                               Kels64f* pDet, Kels64f w1, Kels64f w2) {
  return kels::gaussianMerge(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, len, pDet, w1, w2);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_32f(const Kels32f* pMean, const Kels32f* pInvVar,
                                                                     Kels32f* pFirst, Kels32f* pSecond, int len,
                                                                     Kels32f occupation) {
  return kels::clustAccumulate<VarForm::kInverse>(pMean, pInvVar, pFirst, pSecond, len, occupation);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_64f(const Kels64f* pMean, const Kels64f* pInvVar,
                                                                     Kels64f* pFirst, Kels64f* pSecond, int len,
                                                                     Kels64f occupation) {
  return kels::clustAccumulate<VarForm::kInverse>(pMean, pInvVar, pFirst, pSecond, len, occupation);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_DirectVar_32f(const Kels32f* pMean,
                                                                               const Kels32f* pVar, Kels32f* pFirst,
                                                                               Kels32f* pSecond, int len,
                                                                               Kels32f occupation) {
  return kels::clustAccumulate<VarForm::kDirect>(pMean, pVar, pFirst, pSecond, len, occupation);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsDcsClustLAccumulate_DirectVar_64f(const Kels64f* pMean,
                                                                               const Kels64f* pVar, Kels64f* pFirst,
                                                                               Kels64f* pSecond, int len,
                                                                               Kels64f occupation) {
  return kels::clustAccumulate<VarForm::kDirect>(pMean, pVar, pFirst, pSecond, len, occupation);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsDcsClustLCompute_64f(const Kels64f* pFirst, const Kels64f* pSecond,
                                                                  int len, Kels64f* pDst, Kels64f occupation) {
  return kels::clustCompute(pFirst, pSecond, len, pDst, occupation);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsDcsClustLCompute_32f64f(const Kels64f* pFirst, const Kels64f* pSecond,
                                                                     int len, Kels64f* pDst, Kels32f occupation) {
  return kels::clustCompute(pFirst, pSecond, len, pDst, double(occupation));
}
