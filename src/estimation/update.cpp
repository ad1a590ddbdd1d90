// Model update: new means, variances and weights from occupation-weighted accumulators, the
// Gaussian constant G = L*ln(2*pi) + sum ln(variance), and the vector helpers of re-estimation.
#include <kelsr.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/check.h"

namespace kels::update {
namespace {

// ln(2*pi) as the Gaussian constants have always been formed: deliberately this truncated value.
constexpr double kLn2Pi = 1.8378770664093;

template <class T> T nanValue();
template <> float nanValue<float>() {
  const std::uint32_t bits = 0xFFC00000u;
  float f;
  std::memcpy(&f, &bits, sizeof f);
  return f;
}
template <> double nanValue<double>() {
  const std::uint64_t bits = 0xFFF8000000000000u;
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}
template <class T> T infValue() { return std::numeric_limits<T>::infinity(); }

// Occupation checks: a NaN fails "not negative"; a magnitude not above the smallest normal
// (-0.0 and subnormals included) is a zero divisor, reported as a warning with nothing written.
template <class T> bool nonNegative(T occ) { return occ >= T(0); }
template <class T> bool usableDivisor(T occ) { return std::fabs(occ) > std::numeric_limits<T>::min(); }

// The float forms multiply by the float reciprocal; the double form divides.
inline float perOcc(float acc, float recip, float) { return acc * recip; }
inline double perOcc(double acc, double, double occ) { return acc / occ; }

template <class T>
KelsStatus updateMean(const T* acc, T* mean, int len, T occ) {
  if (KelsStatus st = ArgCheck{}.ptrs(acc, mean).size(len).arg(nonNegative(occ), kelErrNegArg);
      st != kelOk)
    return st;
  if (!usableDivisor(occ)) return kelWarnZeroDivisor;
  const T r = T(1) / occ;
  // A plain forward loop: an accumulator overlapping the mean reads what earlier steps wrote.
  for (int k = 0; k < len; ++k) mean[k] = mean[k] + perOcc(acc[k], r, occ);
  return kelOk;
}

template <class T>
KelsStatus updateVar(const T* acc1, const T* acc2, const T* floor, T* var, int len, T occ1, T occ2) {
  if (KelsStatus st = ArgCheck{}.ptrs(acc1, acc2, floor, var).size(len)
          .arg(nonNegative(occ1) && nonNegative(occ2), kelErrNegArg);
      st != kelOk)
    return st;
  if (!usableDivisor(occ1) || !usableDivisor(occ2)) return kelWarnZeroDivisor;
  const T r1 = T(1) / occ1, r2 = T(1) / occ2;
  int floored = 0;
  for (int k = 0; k < len; ++k) {
    const T mu = perOcc(acc1[k], r1, occ1);
    const T v = perOcc(acc2[k], r2, occ2) - mu * mu;
    if (v > floor[k]) {  // equality and NaN take the floor
      var[k] = v;
    } else {
      var[k] = floor[k];
      ++floored;
    }
  }
  return floored == len ? kelWarnAllFloored : kelOk;
}

template <class T>
KelsStatus updateWeight(const T* acc, T* wgt, int len, T* sum, T occ, T floor) {
  if (KelsStatus st = ArgCheck{}.ptrs(acc, wgt, sum).size(len).arg(nonNegative(occ), kelErrNegArg);
      st != kelOk)
    return st;
  if (!usableDivisor(occ)) return kelWarnZeroDivisor;
  const T r = T(1) / occ;
  T total = T(0);
  int floored = 0;
  for (int k = 0; k < len; ++k) {
    const T w = acc[k] * r;
    if (floor < w) {
      wgt[k] = w;
    } else {
      wgt[k] = floor;
      ++floored;
    }
    total += wgt[k];
  }
  *sum = total;
  return floored == len ? kelWarnAllFloored : kelOk;
}

// G from variances (sign +1) or inverse variances (sign -1).
template <class T>
KelsStatus updateGConst(const T* x, int len, T* dst, int sign) {
  if (KelsStatus st = ArgCheck{}.ptrs(x, dst).size(len); st != kelOk) return st;
  double s = 0.0;
  for (int k = 0; k < len; ++k) {
    if (x[k] == T(0)) {
      *dst = infValue<T>();
      return kelWarnInfResult;
    }
    if (!(x[k] > T(0))) {  // negative or NaN
      *dst = nanValue<T>();
      return kelWarnNaNResult;
    }
    s += std::log(double(x[k]));
  }
  T g;
  if constexpr (std::is_same_v<T, float>) {
    const float c = float(double(len) * kLn2Pi), sf = float(s);
    g = sign > 0 ? c + sf : c - sf;
  } else {
    const double c = double(len) * kLn2Pi;
    g = sign > 0 ? c + s : c - s;
  }
  if (std::isnan(g)) {
    *dst = nanValue<T>();
    return kelWarnNaNResult;
  }
  *dst = g;
  return g == infValue<T>() ? kelWarnInfResult : kelOk;
}

template <class T>
KelsStatus outProbPreCalc(const T* a, const T* b, T* dst, int len) {
  if (KelsStatus st = ArgCheck{}.ptrs(a, b, dst).size(len); st != kelOk) return st;
  for (int k = 0; k < len; ++k) dst[k] = a[k] - T(0.5) * b[k];
  return kelOk;
}

// b >> 1 rounded toward -inf, written without shifting a negative value; the difference wraps.
inline Kels32s halfFloor(Kels32s b) { return b < 0 ? Kels32s(-((-std::int64_t(b) + 1) / 2)) : b / 2; }

KelsStatus outProbPreCalc32s(const Kels32s* a, const Kels32s* b, Kels32s* dst, int len) {
  if (KelsStatus st = ArgCheck{}.ptrs(a, b, dst).size(len); st != kelOk) return st;
  for (int k = 0; k < len; ++k)
    dst[k] = Kels32s(std::uint32_t(a[k]) - std::uint32_t(halfFloor(b[k])));
  return kelOk;
}

// Float result to 16 bits: clamped, truncated toward zero; NaN gives -32768.
inline Kels16s truncSat16s(float r) {
  if (std::isnan(r)) return INT16_MIN;
  return Kels16s(std::trunc(std::min(std::max(r, -32768.0f), 32767.0f)));
}

// How an element is stored: as is, or truncated into 16 bits. Zero-sum elements take the sign
// of the unnormalised sum: +inf, -inf, NaN (0 or NaN); 32767, -32768, 0 in 16 bits.
template <class T> struct Store {
  T operator()(T r) const { return std::isnan(r) ? nanValue<T>() : r; }  // one NaN pattern
  T signOf(T t) const { return t > T(0) ? infValue<T>() : t < T(0) ? -infValue<T>() : nanValue<T>(); }
};
template <> struct Store<Kels16s> {
  Kels16s operator()(float r) const { return truncSat16s(r); }
  Kels16s signOf(float t) const { return t > 0.0f ? Kels16s(32767) : t < 0.0f ? Kels16s(-32768) : Kels16s(0); }
};

// kHalf: x1 is already weighted, dst = x1*r + x2*(w2*r).
template <bool kHalf, class X, class W>
KelsStatus weightedSum(const X* x1, const X* x2, X* dst, int len, W w1, W w2) {
  if (KelsStatus st = ArgCheck{}.ptrs(x1, x2, dst).size(len); st != kelOk) return st;
  const Store<X> store;
  const W s = w1 + w2;
  if (s == W(0)) {
    for (int k = 0; k < len; ++k) {
      const W t = kHalf ? W(x1[k]) + W(x2[k]) * w2 : W(x1[k]) * w1 + W(x2[k]) * w2;
      dst[k] = store.signOf(t);
    }
    return kelWarnZeroWeightSum;
  }
  const W r = W(1) / s, a = kHalf ? r : w1 * r, b = w2 * r;
  for (int k = 0; k < len; ++k) dst[k] = store(W(x1[k]) * a + W(x2[k]) * b);
  return kelOk;
}

}  // namespace
}  // namespace kels::update

using namespace kels::update;

extern "C" {

KELS_API KelsStatus KELS_CALL kelsUpdateMean_32f(const Kels32f* pMeanAcc, Kels32f* pMean,
                                                int len, Kels32f meanOcc) {
  return updateMean(pMeanAcc, pMean, len, meanOcc);
}
KELS_API KelsStatus KELS_CALL kelsUpdateMean_64f(const Kels64f* pMeanAcc, Kels64f* pMean,
                                                int len, Kels64f meanOcc) {
  return updateMean(pMeanAcc, pMean, len, meanOcc);
}
KELS_API KelsStatus KELS_CALL kelsUpdateVar_32f(const Kels32f* pMeanAcc, const Kels32f* pVarAcc,
                                               const Kels32f* pVarFloor, Kels32f* pVar, int len,
                                               Kels32f meanOcc, Kels32f varOcc) {
  return updateVar(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc);
}
KELS_API KelsStatus KELS_CALL kelsUpdateVar_64f(const Kels64f* pMeanAcc, const Kels64f* pVarAcc,
                                               const Kels64f* pVarFloor, Kels64f* pVar, int len,
                                               Kels64f meanOcc, Kels64f varOcc) {
  return updateVar(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc);
}
KELS_API KelsStatus KELS_CALL kelsUpdateWeight_32f(const Kels32f* pWgtAcc, Kels32f* pWgt, int len,
                                                  Kels32f* pWgtSum, Kels32f wgtOcc,
                                                  Kels32f wgtFloor) {
  return updateWeight(pWgtAcc, pWgt, len, pWgtSum, wgtOcc, wgtFloor);
}
KELS_API KelsStatus KELS_CALL kelsUpdateWeight_64f(const Kels64f* pWgtAcc, Kels64f* pWgt, int len,
                                                  Kels64f* pWgtSum, Kels64f wgtOcc,
                                                  Kels64f wgtFloor) {
  return updateWeight(pWgtAcc, pWgt, len, pWgtSum, wgtOcc, wgtFloor);
}
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_32f(const Kels32f* pVar, int len, Kels32f* pDst) {
  return updateGConst(pVar, len, pDst, -1);
}
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_64f(const Kels64f* pVar, int len, Kels64f* pDst) {
  return updateGConst(pVar, len, pDst, -1);
}
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_DirectVar_32f(const Kels32f* pVar, int len,
                                                            Kels32f* pDst) {
  return updateGConst(pVar, len, pDst, +1);
}
KELS_API KelsStatus KELS_CALL kelsUpdateGConst_DirectVar_64f(const Kels64f* pVar, int len,
                                                            Kels64f* pDst) {
  return updateGConst(pVar, len, pDst, +1);
}
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32f(const Kels32f* pSrc, const Kels32f* pSrcB,
                                                    Kels32f* pDst, int len) {
  return outProbPreCalc(pSrc, pSrcB, pDst, len);
}
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_64f(const Kels64f* pSrc, const Kels64f* pSrcB,
                                                    Kels64f* pDst, int len) {
  return outProbPreCalc(pSrc, pSrcB, pDst, len);
}
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32s(const Kels32s* pSrc, const Kels32s* pSrcB,
                                                    Kels32s* pDst, int len) {
  return outProbPreCalc32s(pSrc, pSrcB, pDst, len);
}
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32f_I(const Kels32f* pSrc, Kels32f* pSrcDst,
                                                      int len) {
  return outProbPreCalc(pSrc, pSrcDst, pSrcDst, len);
}
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_64f_I(const Kels64f* pSrc, Kels64f* pSrcDst,
                                                      int len) {
  return outProbPreCalc(pSrc, pSrcDst, pSrcDst, len);
}
KELS_API KelsStatus KELS_CALL kelsOutProbPreCalc_32s_I(const Kels32s* pSrc, Kels32s* pSrcDst,
                                                      int len) {
  return outProbPreCalc32s(pSrc, pSrcDst, pSrcDst, len);
}
KELS_API KelsStatus KELS_CALL kelsWeightedSum_32f(const Kels32f* pSrc1, const Kels32f* pSrc2,
                                                 Kels32f* pDst, int len, Kels32f weight1,
                                                 Kels32f weight2) {
  return weightedSum<false>(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KELS_API KelsStatus KELS_CALL kelsWeightedSum_64f(const Kels64f* pSrc1, const Kels64f* pSrc2,
                                                 Kels64f* pDst, int len, Kels64f weight1,
                                                 Kels64f weight2) {
  return weightedSum<false>(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KELS_API KelsStatus KELS_CALL kelsWeightedSum_16s(const Kels16s* pSrc1, const Kels16s* pSrc2,
                                                 Kels16s* pDst, int len, Kels32f weight1,
                                                 Kels32f weight2) {
  return weightedSum<false>(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KELS_API KelsStatus KELS_CALL kelsWeightedSumHalf_32f(const Kels32f* pSrc1, const Kels32f* pSrc2,
                                                     Kels32f* pDst, int len, Kels32f weight1,
                                                     Kels32f weight2) {
  return weightedSum<true>(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KELS_API KelsStatus KELS_CALL kelsWeightedSumHalf_64f(const Kels64f* pSrc1, const Kels64f* pSrc2,
                                                     Kels64f* pDst, int len, Kels64f weight1,
                                                     Kels64f weight2) {
  return weightedSum<true>(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KELS_API KelsStatus KELS_CALL kelsWeightedSumHalf_16s(const Kels16s* pSrc1, const Kels16s* pSrc2,
                                                     Kels16s* pDst, int len, Kels32f weight1,
                                                     Kels32f weight2) {
  return weightedSum<true>(pSrc1, pSrc2, pDst, len, weight1, weight2);
}

}  // extern "C"
