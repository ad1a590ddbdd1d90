// Normalisation: per-column mean and scale of a block of frames, mapping a vector into a target
// range (the gain formed from a refined reciprocal estimate, not a division), the n-th largest
// element, and the unit curve that rises smoothly from 0 to 2.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/alloc.h"
#include "core/check.h"
#include "core/rows.h"
#include "core/scale.h"
#include "estimation/estimate.h"

namespace kels {
namespace {

// --- column normalisation -------------------------------------------------------------------

struct ColumnOp32f {
  float operator()(float x, float mean, float scale) const { return (x - mean) * scale; }
};

// 16-bit: an exact 32-bit product (|x - mean| <= 65535, |scale| <= 32768), shifted right
// arithmetically (toward -infinity) or left with 32-bit wrap-around, then saturated.
struct ColumnOp16s {
  int sf;
  Kels16s operator()(Kels16s x, Kels16s mean, Kels16s scale) const {
    const std::int32_t p = (std::int32_t(x) - mean) * std::int32_t(scale);
    std::int32_t q;
    if (sf >= 0) {
      q = p >> std::min(sf, 31);
    } else {
      const int s = -sf;
      q = s >= 32 ? 0 : std::int32_t(std::uint32_t(p) << s);  // wraps; the cast is modular
    }
    return sat16(q);
  }
};

template <class Rows>
KelsStatus checkColumns(Rows rows, int height, const void* mean, const void* scale, int width) {
  return ArgCheck{}
      .ptrs(rows.ptr(), mean, scale)
      .size(height)
      .size(width)
      .step(rows, width)
      .data([&] {
        if constexpr (Rows::kHasStep) return true;
        else return rows.rowsNonNull(height);
      }, kelErrNullPtr);
}

template <class Rows, class T, class Op>
KelsStatus normalizeColumn(Rows rows, int height, const T* mean, const T* scale, int width, Op op) {
  if (KelsStatus st = checkColumns(rows, height, mean, scale, width); st != kelOk) return st;
  for (int i = 0; i < height; ++i) {
    T* x = rows[i];
    for (int j = 0; j < width; ++j) x[j] = op(x[j], mean[j], scale[j]);
  }
  return kelOk;
}

// --- range mapping --------------------------------------------------------------------------

struct RangeMap {
  float upper, lower, gain;
  RangeMap(float mn, float mx, float lo, float hi, float scale) {
    const float range = mx - mn;
    upper = hi * range + mn;
    lower = lo * range + mn;
    const float d = hi * range - lo * range;
    const float r = recipEstimate(d);
    gain = scale * (2.0f - d * r) * r;  // one Newton step: ~scale / d
  }
  float operator()(float x) const { return std::max(std::min(x, upper) - lower, 0.0f) * gain; }
};

template <class Dst>
Dst storeMapped(float y) {
  if constexpr (std::is_same_v<Dst, float>) return y;
  else return roundSat<Dst>(y);
}

bool fractionsOk(float lo, float hi) { return lo >= 0.0f && hi > lo && !(hi > 1.0f); }

template <class Src, class Dst>
KelsStatus mapRange(const Src* src, Dst* dst, int len, float mn, float mx, float lo, float hi, float scale) {
  if (mn == mx) {
    std::fill(dst, dst + len, Dst(0));
    return kelWarnDivByZero;
  }
  const RangeMap map(mn, mx, lo, hi, scale);
  for (int k = 0; k < len; ++k) dst[k] = storeMapped<Dst>(map(float(src[k])));
  return kelOk;
}

template <class Src, class Dst>
KelsStatus normalizeInRangeMinMax(const Src* src, Dst* dst, int len, float mn, float mx, float lo, float hi,
                                  float scale) {
  const KelsStatus st = ArgCheck{}.ptrs(src, dst).size(len).arg(fractionsOk(lo, hi) && mn <= mx, kelErrBadArg);
  if (st != kelOk) return st;
  return mapRange(src, dst, len, mn, mx, lo, hi, scale);
}

template <class Src, class Dst>
KelsStatus normalizeInRange(const Src* src, Dst* dst, int len, float lo, float hi, float scale) {
  const KelsStatus st = ArgCheck{}.ptrs(src, dst).size(len).arg(fractionsOk(lo, hi) && scale >= 0.0f, kelErrBadArg);
  if (st != kelOk) return st;
  const auto [lowest, highest] = std::minmax_element(src, src + len);
  return mapRange(src, dst, len, float(*lowest), float(*highest), lo, hi, scale);
}

// --- n-th largest ---------------------------------------------------------------------------

template <class T>
KelsStatus nthMaxElement(const T* src, int len, int n, T* dst) {
  const KelsStatus st = ArgCheck{}.ptrs(src, dst).size(len).arg(n >= 0 && n < len, kelErrBadArg);
  if (st != kelOk) return st;
  Owned<T> copy(static_cast<T*>(allocSize(std::size_t(len) * sizeof(T))));
  if (!copy) return kelErrMemAlloc;
  T* v = copy.get();
  std::memcpy(v, src, std::size_t(len) * sizeof(T));
  // Selection sort, descending; a candidate replaces the best only when strictly greater, so the
  // first of equal values is taken. Only the first n + 1 places matter for the answer.
  for (int i = 0; i <= n && i < len - 1; ++i) {
    int best = i;
    for (int j = i + 1; j < len; ++j)
      if (v[j] > v[best]) best = j;
    std::swap(v[i], v[best]);
  }
  *dst = v[n];
  return kelOk;
}

// --- unit curve -----------------------------------------------------------------------------

float unitCurve(float x) {
  if (!(x >= 0.0f)) return 0.0f;  // below 0, and NaN
  if (x < 1.0f) return x * x;
  if (x <= 2.0f) {
    const float t = 2.0f - x;
    return 2.0f - t * t;
  }
  return 2.0f;
}

Kels16s unitCurve16s(Kels16s s, int sfIn, int sfOut) {
  const float x = scaleByIntPow2(float(s), sfIn);
  float y;
  if (x <= 0.0f) y = 0.0f;
  else if (x > 2.0f) y = 2.0f * pow2NegF(sfOut);
  else y = unitCurve(x) * pow2NegF(sfOut);
  return y > 32767.0f ? Kels16s(32767) : Kels16s(std::trunc(y));
}

template <class Fn, class T>
KelsStatus mapElements(const T* src, T* dst, int len, Fn fn) {
  if (KelsStatus st = ArgCheck{}.ptrs(src, dst).size(len); st != kelOk) return st;
  for (int k = 0; k < len; ++k) dst[k] = fn(src[k]);
  return kelOk;
}

}  // namespace
}  // namespace kels

#include "core/export.h"

using kels::RowsD2;
using kels::RowsD2L;

extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_32f_D2(Kels32f* pSrcDst, int step, int height,
                                                                    const Kels32f* pMean, const Kels32f* pScale,
                                                                    int width) {
  return kels::normalizeColumn(RowsD2<Kels32f>{pSrcDst, step}, height, pMean, pScale, width, kels::ColumnOp32f{});
}
KELS_ALIAS(kelsNormalizeCol_32f_D2, kelsNormalizeColumn_32f_D2);
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_32f_D2L(Kels32f** ppSrcDst, int height,
                                                                     const Kels32f* pMean, const Kels32f* pScale,
                                                                     int width) {
  return kels::normalizeColumn(RowsD2L<Kels32f>{ppSrcDst}, height, pMean, pScale, width, kels::ColumnOp32f{});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_16s_D2Sfs(Kels16s* pSrcDst, int step, int height,
                                                                       const Kels16s* pMean, const Kels16s* pScale,
                                                                       int width, int scaleFactor) {
  return kels::normalizeColumn(RowsD2<Kels16s>{pSrcDst, step}, height, pMean, pScale, width,
                               kels::ColumnOp16s{scaleFactor});
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeColumn_16s_D2LSfs(Kels16s** ppSrcDst, int height,
                                                                        const Kels16s* pMean, const Kels16s* pScale,
                                                                        int width, int scaleFactor) {
  return kels::normalizeColumn(RowsD2L<Kels16s>{ppSrcDst}, height, pMean, pScale, width,
                               kels::ColumnOp16s{scaleFactor});
}

extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f(const Kels32f* pSrc, Kels32f* pDst, int len,
                                                                        Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                                        Kels32f hi, Kels32f scale) {
  return kels::normalizeInRangeMinMax(pSrc, pDst, len, srcMin, srcMax, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f_I(Kels32f* pSrcDst, int len, Kels32f srcMin,
                                                                          Kels32f srcMax, Kels32f lo, Kels32f hi,
                                                                          Kels32f scale) {
  return kels::normalizeInRangeMinMax(pSrcDst, pSrcDst, len, srcMin, srcMax, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f16s(const Kels32f* pSrc, Kels16s* pDst,
                                                                           int len, Kels32f srcMin, Kels32f srcMax,
                                                                           Kels32f lo, Kels32f hi, Kels32f scale) {
  return kels::normalizeInRangeMinMax(pSrc, pDst, len, srcMin, srcMax, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_32f8u(const Kels32f* pSrc, Kels8u* pDst, int len,
                                                                          Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                                          Kels32f hi, Kels8u scale) {
  return kels::normalizeInRangeMinMax(pSrc, pDst, len, srcMin, srcMax, lo, hi, float(scale));
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_16s(const Kels16s* pSrc, Kels16s* pDst, int len,
                                                                        Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                                        Kels32f hi, Kels32f scale) {
  return kels::normalizeInRangeMinMax(pSrc, pDst, len, srcMin, srcMax, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_16s_I(Kels16s* pSrcDst, int len, Kels32f srcMin,
                                                                          Kels32f srcMax, Kels32f lo, Kels32f hi,
                                                                          Kels32f scale) {
  return kels::normalizeInRangeMinMax(pSrcDst, pSrcDst, len, srcMin, srcMax, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRangeMinMax_16s8u(const Kels16s* pSrc, Kels8u* pDst, int len,
                                                                          Kels32f srcMin, Kels32f srcMax, Kels32f lo,
                                                                          Kels32f hi, Kels8u scale) {
  return kels::normalizeInRangeMinMax(pSrc, pDst, len, srcMin, srcMax, lo, hi, float(scale));
}

extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f(const Kels32f* pSrc, Kels32f* pDst, int len,
                                                                  Kels32f lo, Kels32f hi, Kels32f scale) {
  return kels::normalizeInRange(pSrc, pDst, len, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f_I(Kels32f* pSrcDst, int len, Kels32f lo, Kels32f hi,
                                                                    Kels32f scale) {
  return kels::normalizeInRange(pSrcDst, pSrcDst, len, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f16s(const Kels32f* pSrc, Kels16s* pDst, int len,
                                                                     Kels32f lo, Kels32f hi, Kels32f scale) {
  return kels::normalizeInRange(pSrc, pDst, len, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_32f8u(const Kels32f* pSrc, Kels8u* pDst, int len,
                                                                    Kels32f lo, Kels32f hi, Kels8u scale) {
  return kels::normalizeInRange(pSrc, pDst, len, lo, hi, float(scale));
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_16s(const Kels16s* pSrc, Kels16s* pDst, int len,
                                                                  Kels32f lo, Kels32f hi, Kels32f scale) {
  return kels::normalizeInRange(pSrc, pDst, len, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_16s_I(Kels16s* pSrcDst, int len, Kels32f lo, Kels32f hi,
                                                                    Kels32f scale) {
  return kels::normalizeInRange(pSrcDst, pSrcDst, len, lo, hi, scale);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNormalizeInRange_16s8u(const Kels16s* pSrc, Kels8u* pDst, int len,
                                                                    Kels32f lo, Kels32f hi, Kels8u scale) {
  return kels::normalizeInRange(pSrc, pDst, len, lo, hi, float(scale));
}

extern "C" KELS_API KelsStatus KELS_CALL kelsNthMaxElement_32f(const Kels32f* pSrc, int len, int n, Kels32f* pDst) {
  return kels::nthMaxElement(pSrc, len, n, pDst);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNthMaxElement_32s(const Kels32s* pSrc, int len, int n, Kels32s* pDst) {
  return kels::nthMaxElement(pSrc, len, n, pDst);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsNthMaxElement_64f(const Kels64f* pSrc, int len, int n, Kels64f* pDst) {
  return kels::nthMaxElement(pSrc, len, n, pDst);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsUnitCurve_32f(const Kels32f* pSrc, Kels32f* pDst, int len) {
  return kels::mapElements(pSrc, pDst, len, kels::unitCurve);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsUnitCurve_32f_I(Kels32f* pSrcDst, int len) {
  return kels::mapElements(pSrcDst, pSrcDst, len, kels::unitCurve);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsUnitCurve_16s_Sfs(const Kels16s* pSrc, int srcScaleFactor, Kels16s* pDst,
                                                               int len, int dstScaleFactor) {
  return kels::mapElements(pSrc, pDst, len,
                           [=](Kels16s s) { return kels::unitCurve16s(s, srcScaleFactor, dstScaleFactor); });
}
extern "C" KELS_API KelsStatus KELS_CALL kelsUnitCurve_16s_ISfs(Kels16s* pSrcDst, int srcScaleFactor, int len,
                                                                int dstScaleFactor) {
  return kels::mapElements(pSrcDst, pSrcDst, len,
                           [=](Kels16s s) { return kels::unitCurve16s(s, srcScaleFactor, dstScaleFactor); });
}
