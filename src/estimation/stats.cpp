// Column statistics of a block of N frames by D dimensions: means (sum times 1/N), variances
// (sums of squares less N*m*m, times 1/(N-1)), weighted moments, running sums, variance from
// moments, thresholded reciprocal roots and covariance accumulation.
#include <kelsr.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/alloc.h"
#include "core/check.h"
#include "core/export.h"
#include "core/rows.h"
#include "core/scale.h"
#include "estimation/kernels/stats_kernels.h"

namespace kels::stats {
namespace {

// Columns go through the kernels in chunks whose sums live on the stack.
constexpr int kChunk = 256;

template <class T>
ColSrc<T> colSrc(RowsD2<const T> r, int col) { return {r.base, r.step, nullptr, col}; }
template <class T>
ColSrc<T> colSrc(RowsD2L<const T> r, int col) { return {nullptr, 0, r.rows, col}; }

// The element type a row accessor reads.
template <class Rows>
using ElemOf = std::remove_const_t<std::remove_pointer_t<decltype(std::declval<Rows>()[0])>>;

// The elements a block spans per row: the step of _D2, the row of _D2L.
template <class Rows>
int rowLength(const Rows& r, int d) {
  if constexpr (Rows::kHasStep) return r.step;
  else return d;
}

// A _D2L row table may itself hold a null row: checked as data, before anything is written.
template <class Rows>
bool rowsPresent(const Rows& r, int n) {
  if constexpr (Rows::kHasStep) return true;
  else return r.rowsNonNull(n);
}

// The reciprocal of a count: in double then rounded for float data, in float for 16-bit data.
template <class Src> float recipOf(int n);
template <> float recipOf<Kels32f>(int n) { return float(1.0 / double(n)); }
template <> float recipOf<Kels16s>(int n) { return 1.0f / float(n); }

void moments(const ColSrc<Kels32f>& s, int n, int d, const Kels32f* w, Kels32f* s1, Kels32f* s2) {
  kernels().moments32f(s, n, d, w, s1, s2);
}
void moments(const ColSrc<Kels16s>& s, int n, int d, const Kels32f*, Kels32f* s1, Kels32f* s2) {
  kernels().moments16s(s, n, d, s1, s2);
}
void moments(const ColSrc<Kels64f>& s, int n, int d, const Kels64f* w, Kels64f* s1, Kels64f* s2) {
  kernels().moments64f(s, n, d, w, s1, s2);
}

// ---- means and variances ----------------------------------------------------------------------

// MeanColumn and VarColumn: the step first, so a short step is reported even beside a null.
template <class Rows>
KelsStatus checkMeanOrVar(const Rows& src, int n, const void* mean, const void* dst, int d,
                          int minRows) {
  return ArgCheck{}.step(src, d).ptr(src.ptr()).ptr(mean).ptr(dst).size(d).size(n, minRows)
      .data([&] { return rowsPresent(src, n); }, kelErrNullPtr);
}

// MeanVarColumn: the step last.
template <class Rows>
KelsStatus checkMeanVar(const Rows& src, int n, const void* mean, const void* var, int d) {
  return ArgCheck{}.ptr(src.ptr()).ptr(mean).ptr(var).size(n, 2).size(d).step(src, d)
      .data([&] { return rowsPresent(src, n); }, kelErrNullPtr);
}

template <class Rows, class Dst, class Out>
KelsStatus meanColumn(Rows src, int n, Dst* dst, int d, Out out) {
  using Src = ElemOf<Rows>;
  if (KelsStatus st = checkMeanOrVar(src, n, dst, dst, d, 1); st != kelOk) return st;
  const float r = recipOf<Src>(n);
  float s1[kChunk];
  for (int c = 0; c < d; c += kChunk) {
    const int w = std::min(kChunk, d - c);
    std::fill_n(s1, w, 0.0f);
    moments(colSrc(src, c), n, w, nullptr, s1, nullptr);
    for (int j = 0; j < w; ++j) dst[c + j] = out(s1[j] * r);
  }
  return kelOk;
}

template <class Rows, class Mean, class Dst, class Out>
KelsStatus varColumn(Rows src, int n, const Mean* mean, Dst* dst, int d, Out out) {
  using Src = ElemOf<Rows>;
  if (KelsStatus st = checkMeanOrVar(src, n, mean, dst, d, 2); st != kelOk) return st;
  const float r = recipOf<Src>(n - 1), minusN = -float(n);
  float s2[kChunk];
  for (int c = 0; c < d; c += kChunk) {
    const int w = std::min(kChunk, d - c);
    for (int j = 0; j < w; ++j) s2[j] = minusN * float(mean[c + j]) * float(mean[c + j]);
    moments(colSrc(src, c), n, w, nullptr, nullptr, s2);
    for (int j = 0; j < w; ++j) dst[c + j] = out(s2[j] * r);
  }
  return kelOk;
}

template <class Rows, class Dst, class OutMean, class OutVar>
KelsStatus meanVarColumn(Rows src, int n, Dst* mean, Dst* var, int d, OutMean outMean,
                         OutVar outVar) {
  using Src = ElemOf<Rows>;
  if (KelsStatus st = checkMeanVar(src, n, mean, var, d); st != kelOk) return st;
  const float r = recipOf<Src>(n), r1 = recipOf<Src>(n - 1), nf = float(n);
  float s1[kChunk], s2[kChunk];
  for (int c = 0; c < d; c += kChunk) {
    const int w = std::min(kChunk, d - c);
    std::fill_n(s1, w, 0.0f);
    std::fill_n(s2, w, 0.0f);
    moments(colSrc(src, c), n, w, nullptr, s1, s2);
    for (int j = 0; j < w; ++j) {
      const float m = s1[j] * r;  // the variance uses this unrounded mean
      mean[c + j] = outMean(m);
      var[c + j] = outVar((s2[j] - nf * m * m) * r1);
    }
  }
  return kelOk;
}

// ---- weighted moments -----------------------------------------------------------------------

// Pointers, then the step, then the sizes.
template <class Rows, class T>
KelsStatus checkWeighted(const Rows& src, const T* wgt, int n, const T* mean, const T* var, int d) {
  return ArgCheck{}.ptr(src.ptr()).ptr(wgt).ptr(mean).ptr(var).step(src, d).size(d).size(n)
      .data([&] { return rowsPresent(src, n); }, kelErrNullPtr);
}

// mean: written or null; var: written or null; givenMean: the means a variance uses when the
// mean is not formed here.
template <class Rows, class T>
KelsStatus weightedColumn(Rows src, const T* wgt, int n, const T* givenMean, T* mean, T* var,
                          int d) {
  const T* meanArg = givenMean ? givenMean : mean;
  if (KelsStatus st = checkWeighted(src, wgt, n, meanArg, var ? var : mean, d); st != kelOk)
    return st;
  T s1[kChunk], s2[kChunk];
  for (int c = 0; c < d; c += kChunk) {
    const int w = std::min(kChunk, d - c);
    std::fill_n(s1, w, T(0));
    std::fill_n(s2, w, T(0));
    moments(colSrc(src, c), n, w, wgt, mean ? s1 : nullptr, var ? s2 : nullptr);
    for (int j = 0; j < w; ++j) {
      if (mean) mean[c + j] = s1[j];
      if (var) {
        const T m = givenMean ? givenMean[c + j] : s1[j];
        var[c + j] = s2[j] - m * m;
      }
    }
  }
  return kelOk;
}

// ---- running sums -----------------------------------------------------------------------------

template <class Src, class Dst>
KelsStatus checkSums(RowsD2<const Src> src, int n, const Dst* sum, const Dst* sq, int d) {
  return ArgCheck{}.step(src, d).ptr(src.ptr()).ptr(sum).ptr(sq).size(n).size(d);
}

// kAdd: the sums start at the destinations' contents (turned into float for integers).
template <bool kAdd, class Src, class Dst, class Out>
KelsStatus sumMeanVar(RowsD2<const Src> src, int n, Dst* sum, Dst* sq, int d, Out out) {
  if (KelsStatus st = checkSums(src, n, sum, sq, d); st != kelOk) return st;
  float s1[kChunk], s2[kChunk];
  for (int c = 0; c < d; c += kChunk) {
    const int w = std::min(kChunk, d - c);
    for (int j = 0; j < w; ++j) {
      s1[j] = kAdd ? float(sum[c + j]) : 0.0f;
      s2[j] = kAdd ? float(sq[c + j]) : 0.0f;
    }
    moments(colSrc(src, c), n, w, nullptr, s1, s2);
    for (int j = 0; j < w; ++j) {
      sum[c + j] = out(s1[j]);
      sq[c + j] = out(s2[j]);
    }
  }
  return kelOk;
}

// ---- vectors ----------------------------------------------------------------------------------

template <class T>
KelsStatus meanVarAcc(const T* src, const T* mean, T* meanAcc, T* varAcc, int len, T weight) {
  if (KelsStatus st = ArgCheck{}.ptrs(src, mean, meanAcc, varAcc).size(len); st != kelOk) return st;
  for (int k = 0; k < len; ++k) {
    const T dv = src[k] - mean[k], t = dv * weight;
    meanAcc[k] += t;
    varAcc[k] += dv * t;
  }
  return kelOk;
}

inline float newVar(float m, float s, float a, float b) { return (s - m * m * a) * b; }

KelsStatus newVar32f(const Kels32f* m, const Kels32f* s, Kels32f* dst, int len, float a, float b) {
  if (KelsStatus st = ArgCheck{}.ptrs(m, s, dst).size(len); st != kelOk) return st;
  for (int k = 0; k < len; ++k) dst[k] = newVar(m[k], s[k], a, b);
  return kelOk;
}

// Clamped to [-2^31, 2^31] and truncated toward zero, as a truncating conversion does; 2^31 and
// NaN give -2^31.
Kels32s truncSat32s(float r) {
  if (std::isnan(r)) return INT32_MIN;
  r = std::trunc(std::clamp(r, -2147483648.0f, 2147483648.0f));
  return r < 2147483648.0f ? Kels32s(r) : INT32_MIN;
}
Kels16s truncSat16s(float r) {
  if (std::isnan(r)) return INT16_MIN;
  return Kels16s(std::trunc(std::clamp(r, -32768.0f, 32767.0f)));
}

KelsStatus newVar32s(const Kels32s* m, const Kels32s* s, Kels32s* dst, int len, float a, float b,
                     int sf) {
  if (KelsStatus st = ArgCheck{}.ptrs(m, s, dst).size(len); st != kelOk) return st;
  const float scale = pow2NegF(sf);
  // The aligned path rounds, the other truncates: kept apart on purpose, callers rely on both.
  const bool aligned = isAligned16(m) && isAligned16(s) && isAligned16(dst);
  for (int k = 0; k < len; ++k) {
    const float r = newVar(float(m[k]), float(s[k]), a, b) * scale;
    dst[k] = aligned ? roundSat<Kels32s>(r) : truncSat32s(r);
  }
  return kelOk;
}

// 1/sqrt(x): the correctly rounded value refined by one Newton step, the same on every processor
// (a hardware estimate differs between vendors).
float recSqrt(float x) {
  if (std::isinf(x)) return 0.0f;  // the Newton step would turn 0 * inf into NaN
  const float r = float(1.0 / std::sqrt(double(x)));
  return 0.5f * r * (3.0f - x * r * r);
}

KelsStatus recSqrt32f(Kels32f* v, int len, float th) {
  if (KelsStatus st = ArgCheck{}.ptr(v).size(len).arg(th > 0.0f, kelErrBadArg); st != kelOk)
    return st;
  int replaced = 0;
  for (int k = 0; k < len; ++k) {
    if (v[k] > th) {
      v[k] = recSqrt(v[k]);
    } else {
      v[k] = th;
      ++replaced;
    }
  }
  return replaced == len ? kelWarnDivByZero : kelOk;
}

// Integer forms: x >= threshold (not >) takes 1/sqrt(x) in float.
template <class Dst, class Trunc>
KelsStatus recSqrt32s(const Kels32s* src, Dst* dst, int len, Kels32s th, int sf, Trunc trunc) {
  if (KelsStatus st = ArgCheck{}.ptr(src).ptr(dst).size(len).arg(th >= 1, kelErrBadArg); st != kelOk)
    return st;
  const float scale = pow2NegF(sf), thf = float(th);
  int replaced = 0;
  for (int k = 0; k < len; ++k) {
    const float x = float(src[k]);
    float r = thf;
    if (src[k] >= th) r = 1.0f / std::sqrt(x);
    else ++replaced;
    dst[k] = trunc(r * scale);
  }
  return replaced == len ? kelWarnDivByZero : kelOk;
}

// ---- covariance -------------------------------------------------------------------------------

// Block sizes from which the register-tiled loop pays for its set-up.
template <class Src, bool kD2> constexpr std::int64_t kCovBlocked = 0;
template <> constexpr std::int64_t kCovBlocked<Kels32f, false> = 134000;
template <> constexpr std::int64_t kCovBlocked<Kels32f, true> = 140000;
template <> constexpr std::int64_t kCovBlocked<Kels16s, false> = 260000;
template <> constexpr std::int64_t kCovBlocked<Kels16s, true> = 270000;

struct DstD2 {
  Kels64f* base;
  int step;
  Kels64f& operator()(int j, int k) const { return base[std::ptrdiff_t(j) * step + k]; }
  bool present(int) const { return true; }
};
struct DstD2L {
  Kels64f* const* rows;
  Kels64f& operator()(int j, int k) const { return rows[j][k]; }
  bool present(int d) const { return std::all_of(rows, rows + d, [](const Kels64f* r) { return r != nullptr; }); }
};

// dst(j,k) += S*weight for j <= k, mirrored into dst(k,j).
template <class Dst>
void accumulateInto(Dst dst, int j, int k, double s, double weight) {
  const double v = s * weight + dst(j, k);
  dst(j, k) = v;
  dst(k, j) = v;
}

void covPairs(const ColSrc<Kels32f>& s, int n, int j, int k0, int cnt, const double* m, double* out) {
  kernels().covPairs32f(s, n, j, k0, cnt, m, out);
}
void covPairs(const ColSrc<Kels16s>& s, int n, int j, int k0, int cnt, const double* m, double* out) {
  kernels().covPairs16s(s, n, j, k0, cnt, m, out);
}

// The plain triangle: column j against the columns from j on, every sum over all rows straight
// from the source, with no scratch beyond the stack.
template <class Rows, class Src, class Dst>
void covPlain(Rows src, int n, const Src* mean, Dst dst, int d, double weight) {
  double m[kChunk], s[kChunk];
  for (int k0 = 0; k0 < d; k0 += kChunk) {
    const int w = std::min(kChunk, d - k0);
    for (int c = 0; c < w; ++c) m[c] = double(mean[k0 + c]);
    // Pairs (j, k) with k in this chunk and j <= k.
    for (int j = 0; j < k0 + w; ++j) {
      const int first = std::max(j, k0);
      covPairs(colSrc(src, 0), n, j, first, k0 + w - first, m + (first - k0), s);
      for (int k = first; k < k0 + w; ++k) accumulateInto(dst, j, k, s[k - first], weight);
    }
  }
}

// Rows in chunks turned into doubles, every sum kept in a scratch matrix and grown in row order by
// the register tiles. False if the scratch cannot be had (the plain loop then gives the same).
template <class Rows, class Src, class Dst>
bool covBlocked(Rows src, int n, const Src* mean, Dst dst, int d, double weight) {
  const int dpad = (d + kCovPad - 1) / kCovPad * kCovPad;
  const int rows = std::max(8, 4096 / dpad);
  const std::size_t sN = std::size_t(dpad) * std::size_t(dpad), xN = std::size_t(rows) * std::size_t(dpad);
  Owned<double> mem(static_cast<double*>(allocSize((sN + 2 * xN + std::size_t(dpad)) * sizeof(double))));
  if (!mem) return false;
  double* s = mem.get();
  double* x = s + sN;
  double* dev = x + xN;
  double* m = dev + xN;
  std::fill(s, m + dpad, 0.0);
  for (int k = 0; k < d; ++k) m[k] = double(mean[k]);
  const auto& kern = kernels();
  for (int i0 = 0; i0 < n; i0 += rows) {
    const int h = std::min(rows, n - i0);
    for (int i = 0; i < h; ++i) {
      const Src* p = src[i0 + i];
      double* xr = x + std::ptrdiff_t(i) * dpad;
      double* dr = dev + std::ptrdiff_t(i) * dpad;
      for (int k = 0; k < d; ++k) {
        xr[k] = double(p[k]);
        dr[k] = xr[k] - m[k];
      }
    }
    kern.covChunk(x, dev, h, dpad, d, m, s);
  }
  for (int j = 0; j < d; ++j)
    for (int k = j; k < d; ++k) accumulateInto(dst, j, k, s[std::ptrdiff_t(j) * dpad + k], weight);
  return true;
}

template <class Rows, class Src, class Dst>
KelsStatus accCovariance(Rows src, int n, const Src* mean, Dst dst, const void* dstPtr, int d,
                         int dstStep, double weight) {
  KelsStatus st = ArgCheck{}.ptr(src.ptr()).ptr(mean).ptr(dstPtr).size(n).size(d).step(src, d)
      .arg(!Rows::kHasStep || dstStep >= d, kelErrStep)
      .data([&] { return rowsPresent(src, n) && dst.present(d); }, kelErrNullPtr);
  if (st != kelOk) return st;
  const std::int64_t size = std::int64_t(rowLength(src, d)) * n;
  if (size < kCovBlocked<Src, Rows::kHasStep> || !covBlocked(src, n, mean, dst, d, weight))
    covPlain(src, n, mean, dst, d, weight);
  return kelOk;
}

}  // namespace
}  // namespace kels::stats

using namespace kels;
using namespace kels::stats;

template <class T> using D2 = RowsD2<const T>;
template <class T> using D2L = RowsD2L<const T>;

extern "C" {

KELS_API KelsStatus KELS_CALL kelsMeanColumn_32f_D2(const Kels32f* pSrc, int height, int step,
                                                   Kels32f* pDstMean, int width) {
  return meanColumn(D2<Kels32f>{pSrc, step}, height, pDstMean, width, AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsMeanColumn_32f_D2L(const Kels32f** ppSrc, int height,
                                                    Kels32f* pDstMean, int width) {
  return meanColumn(D2L<Kels32f>{ppSrc}, height, pDstMean, width, AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsMeanColumn_16s_D2(const Kels16s* pSrc, int height, int step,
                                                   Kels16s* pDstMean, int width) {
  return meanColumn(D2<Kels16s>{pSrc, step}, height, pDstMean, width, ScaleSat<Kels16s>{0});
}
KELS_API KelsStatus KELS_CALL kelsMeanColumn_16s_D2L(const Kels16s** ppSrc, int height,
                                                    Kels16s* pDstMean, int width) {
  return meanColumn(D2L<Kels16s>{ppSrc}, height, pDstMean, width, ScaleSat<Kels16s>{0});
}
KELS_ALIAS(kelsMeanCol_32f_D2, kelsMeanColumn_32f_D2);
KELS_ALIAS(kelsMeanCol_32f_D2L, kelsMeanColumn_32f_D2L);

KELS_API KelsStatus KELS_CALL kelsVarColumn_32f_D2(const Kels32f* pSrc, int height, int step,
                                                  const Kels32f* pSrcMean, Kels32f* pDstVar,
                                                  int width) {
  return varColumn(D2<Kels32f>{pSrc, step}, height, pSrcMean, pDstVar, width, AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsVarColumn_32f_D2L(const Kels32f** ppSrc, int height,
                                                   const Kels32f* pSrcMean, Kels32f* pDstVar,
                                                   int width) {
  return varColumn(D2L<Kels32f>{ppSrc}, height, pSrcMean, pDstVar, width, AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsVarColumn_16s_D2Sfs(const Kels16s* pSrc, int height, int step,
                                                     const Kels16s* pSrcMean, Kels16s* pDstVar,
                                                     int width, int scaleFactor) {
  return varColumn(D2<Kels16s>{pSrc, step}, height, pSrcMean, pDstVar, width,
                   ScaleSat<Kels16s>{scaleFactor});
}
KELS_API KelsStatus KELS_CALL kelsVarColumn_16s_D2LSfs(const Kels16s** ppSrc, int height,
                                                      const Kels16s* pSrcMean, Kels16s* pDstVar,
                                                      int width, int scaleFactor) {
  return varColumn(D2L<Kels16s>{ppSrc}, height, pSrcMean, pDstVar, width,
                   ScaleSat<Kels16s>{scaleFactor});
}
KELS_ALIAS(kelsVarCol_32f_D2, kelsVarColumn_32f_D2);
KELS_ALIAS(kelsVarCol_32f_D2L, kelsVarColumn_32f_D2L);

KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_32f_D2(const Kels32f* pSrc, int height, int step,
                                                      Kels32f* pDstMean, Kels32f* pDstVar,
                                                      int width) {
  return meanVarColumn(D2<Kels32f>{pSrc, step}, height, pDstMean, pDstVar, width,
                       AsIs<Kels32f>{}, AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_32f_D2L(const Kels32f** ppSrc, int height,
                                                       Kels32f* pDstMean, Kels32f* pDstVar,
                                                       int width) {
  return meanVarColumn(D2L<Kels32f>{ppSrc}, height, pDstMean, pDstVar, width, AsIs<Kels32f>{},
                       AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s_D2Sfs(const Kels16s* pSrc, int height,
                                                         int step, Kels16s* pDstMean,
                                                         Kels16s* pDstVar, int width,
                                                         int scaleFactor) {
  return meanVarColumn(D2<Kels16s>{pSrc, step}, height, pDstMean, pDstVar, width,
                       ScaleSat<Kels16s>{0}, ScaleSat<Kels16s>{scaleFactor});
}
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s_D2LSfs(const Kels16s** ppSrc, int height,
                                                          Kels16s* pDstMean, Kels16s* pDstVar,
                                                          int width, int scaleFactor) {
  return meanVarColumn(D2L<Kels16s>{ppSrc}, height, pDstMean, pDstVar, width,
                       ScaleSat<Kels16s>{0}, ScaleSat<Kels16s>{scaleFactor});
}
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s32s_D2Sfs(const Kels16s* pSrc, int height,
                                                            int step, Kels32s* pDstMean,
                                                            Kels32s* pDstVar, int width,
                                                            int scaleFactor) {
  return meanVarColumn(D2<Kels16s>{pSrc, step}, height, pDstMean, pDstVar, width,
                       ScaleSat<Kels32s>{0}, ScaleSat<Kels32s>{scaleFactor});
}
KELS_API KelsStatus KELS_CALL kelsMeanVarColumn_16s32s_D2LSfs(const Kels16s** ppSrc, int height,
                                                             Kels32s* pDstMean, Kels32s* pDstVar,
                                                             int width, int scaleFactor) {
  return meanVarColumn(D2L<Kels16s>{ppSrc}, height, pDstMean, pDstVar, width,
                       ScaleSat<Kels32s>{0}, ScaleSat<Kels32s>{scaleFactor});
}
KELS_ALIAS(kelsMeanVarCol_32f_D2, kelsMeanVarColumn_32f_D2);
KELS_ALIAS(kelsMeanVarCol_32f_D2L, kelsMeanVarColumn_32f_D2L);

KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_32f_D2(const Kels32f* pSrc, int step,
                                                           const Kels32f* pWgt, int height,
                                                           Kels32f* pDstMean, int width) {
  return weightedColumn<D2<Kels32f>, Kels32f>({pSrc, step}, pWgt, height, nullptr, pDstMean,
                                              nullptr, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_32f_D2L(const Kels32f** ppSrc,
                                                            const Kels32f* pWgt, int height,
                                                            Kels32f* pDstMean, int width) {
  return weightedColumn<D2L<Kels32f>, Kels32f>({ppSrc}, pWgt, height, nullptr, pDstMean,
                                               nullptr, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_64f_D2(const Kels64f* pSrc, int step,
                                                           const Kels64f* pWgt, int height,
                                                           Kels64f* pDstMean, int width) {
  return weightedColumn<D2<Kels64f>, Kels64f>({pSrc, step}, pWgt, height, nullptr, pDstMean,
                                              nullptr, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanColumn_64f_D2L(const Kels64f** ppSrc,
                                                            const Kels64f* pWgt, int height,
                                                            Kels64f* pDstMean, int width) {
  return weightedColumn<D2L<Kels64f>, Kels64f>({ppSrc}, pWgt, height, nullptr, pDstMean,
                                               nullptr, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_32f_D2(const Kels32f* pSrc, int step,
                                                          const Kels32f* pWgt, int height,
                                                          const Kels32f* pSrcMean,
                                                          Kels32f* pDstVar, int width) {
  return weightedColumn<D2<Kels32f>, Kels32f>({pSrc, step}, pWgt, height, pSrcMean, nullptr,
                                              pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_32f_D2L(const Kels32f** ppSrc,
                                                           const Kels32f* pWgt, int height,
                                                           const Kels32f* pSrcMean,
                                                           Kels32f* pDstVar, int width) {
  return weightedColumn<D2L<Kels32f>, Kels32f>({ppSrc}, pWgt, height, pSrcMean, nullptr,
                                               pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_64f_D2(const Kels64f* pSrc, int step,
                                                          const Kels64f* pWgt, int height,
                                                          const Kels64f* pSrcMean,
                                                          Kels64f* pDstVar, int width) {
  return weightedColumn<D2<Kels64f>, Kels64f>({pSrc, step}, pWgt, height, pSrcMean, nullptr,
                                              pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedVarColumn_64f_D2L(const Kels64f** ppSrc,
                                                           const Kels64f* pWgt, int height,
                                                           const Kels64f* pSrcMean,
                                                           Kels64f* pDstVar, int width) {
  return weightedColumn<D2L<Kels64f>, Kels64f>({ppSrc}, pWgt, height, pSrcMean, nullptr,
                                               pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_32f_D2(const Kels32f* pSrc, int step,
                                                              const Kels32f* pWgt, int height,
                                                              Kels32f* pDstMean,
                                                              Kels32f* pDstVar, int width) {
  return weightedColumn<D2<Kels32f>, Kels32f>({pSrc, step}, pWgt, height, nullptr, pDstMean,
                                              pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_32f_D2L(const Kels32f** ppSrc,
                                                               const Kels32f* pWgt, int height,
                                                               Kels32f* pDstMean,
                                                               Kels32f* pDstVar, int width) {
  return weightedColumn<D2L<Kels32f>, Kels32f>({ppSrc}, pWgt, height, nullptr, pDstMean,
                                               pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_64f_D2(const Kels64f* pSrc, int step,
                                                              const Kels64f* pWgt, int height,
                                                              Kels64f* pDstMean,
                                                              Kels64f* pDstVar, int width) {
  return weightedColumn<D2<Kels64f>, Kels64f>({pSrc, step}, pWgt, height, nullptr, pDstMean,
                                              pDstVar, width);
}
KELS_API KelsStatus KELS_CALL kelsWeightedMeanVarColumn_64f_D2L(const Kels64f** ppSrc,
                                                               const Kels64f* pWgt, int height,
                                                               Kels64f* pDstMean,
                                                               Kels64f* pDstVar, int width) {
  return weightedColumn<D2L<Kels64f>, Kels64f>({ppSrc}, pWgt, height, nullptr, pDstMean,
                                               pDstVar, width);
}

KELS_API KelsStatus KELS_CALL kelsSumMeanVar_32f(const Kels32f* pSrc, int step, int height,
                                                Kels32f* pDstSum, Kels32f* pDstSumSq, int width) {
  return sumMeanVar<false>(D2<Kels32f>{pSrc, step}, height, pDstSum, pDstSumSq, width,
                           AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_32f_I(const Kels32f* pSrc, int step, int height,
                                                  Kels32f* pSrcDstSum, Kels32f* pSrcDstSumSq,
                                                  int width) {
  return sumMeanVar<true>(D2<Kels32f>{pSrc, step}, height, pSrcDstSum, pSrcDstSumSq, width,
                          AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32f(const Kels16s* pSrc, int step, int height,
                                                   Kels32f* pDstSum, Kels32f* pDstSumSq,
                                                   int width) {
  return sumMeanVar<false>(D2<Kels16s>{pSrc, step}, height, pDstSum, pDstSumSq, width,
                           AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32f_I(const Kels16s* pSrc, int step, int height,
                                                     Kels32f* pSrcDstSum, Kels32f* pSrcDstSumSq,
                                                     int width) {
  return sumMeanVar<true>(D2<Kels16s>{pSrc, step}, height, pSrcDstSum, pSrcDstSumSq, width,
                          AsIs<Kels32f>{});
}
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32s_Sfs(const Kels16s* pSrc, int step,
                                                       int height, Kels32s* pDstSum,
                                                       Kels32s* pDstSumSq, int width,
                                                       int scaleFactor) {
  return sumMeanVar<false>(D2<Kels16s>{pSrc, step}, height, pDstSum, pDstSumSq, width,
                           ScaleSat<Kels32s>{scaleFactor});
}
KELS_API KelsStatus KELS_CALL kelsSumMeanVar_16s32s_ISfs(const Kels16s* pSrc, int step,
                                                        int height, Kels32s* pSrcDstSum,
                                                        Kels32s* pSrcDstSumSq, int width,
                                                        int scaleFactor) {
  return sumMeanVar<true>(D2<Kels16s>{pSrc, step}, height, pSrcDstSum, pSrcDstSumSq, width,
                          ScaleSat<Kels32s>{scaleFactor});
}

KELS_API KelsStatus KELS_CALL kelsMeanVarAcc_32f(const Kels32f* pSrc, const Kels32f* pSrcMean,
                                                Kels32f* pDstMeanAcc, Kels32f* pDstVarAcc,
                                                int len, Kels32f val) {
  return meanVarAcc(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc, len, val);
}
KELS_API KelsStatus KELS_CALL kelsMeanVarAcc_64f(const Kels64f* pSrc, const Kels64f* pSrcMean,
                                                Kels64f* pDstMeanAcc, Kels64f* pDstVarAcc,
                                                int len, Kels64f val) {
  return meanVarAcc(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc, len, val);
}

KELS_API KelsStatus KELS_CALL kelsNewVar_32f(const Kels32f* pSrc1, const Kels32f* pSrc2,
                                            Kels32f* pDst, int len, Kels32f valA, Kels32f valB) {
  return newVar32f(pSrc1, pSrc2, pDst, len, valA, valB);
}
KELS_API KelsStatus KELS_CALL kelsNewVar_32f_I(const Kels32f* pSrc, Kels32f* pSrcDst, int len,
                                              Kels32f valA, Kels32f valB) {
  return newVar32f(pSrc, pSrcDst, pSrcDst, len, valA, valB);
}
KELS_API KelsStatus KELS_CALL kelsNewVar_32s_Sfs(const Kels32s* pSrc1, const Kels32s* pSrc2,
                                                Kels32s* pDst, int len, Kels32f valA,
                                                Kels32f valB, int scaleFactor) {
  return newVar32s(pSrc1, pSrc2, pDst, len, valA, valB, scaleFactor);
}
KELS_API KelsStatus KELS_CALL kelsNewVar_32s_ISfs(const Kels32s* pSrc, Kels32s* pSrcDst, int len,
                                                 Kels32f valA, Kels32f valB, int scaleFactor) {
  return newVar32s(pSrc, pSrcDst, pSrcDst, len, valA, valB, scaleFactor);
}

KELS_API KelsStatus KELS_CALL kelsRecSqrt_32f(Kels32f* pSrcDst, int len, Kels32f val) {
  return recSqrt32f(pSrcDst, len, val);
}
KELS_ALIAS(kelsRecSqrt_32f_Th, kelsRecSqrt_32f);
KELS_API KelsStatus KELS_CALL kelsRecSqrt_32s_Sfs(Kels32s* pSrcDst, int len, Kels32s val,
                                                 int scaleFactor) {
  return recSqrt32s(pSrcDst, pSrcDst, len, val, scaleFactor, truncSat32s);
}
KELS_API KelsStatus KELS_CALL kelsRecSqrt_32s16s_Sfs(const Kels32s* pSrc, Kels16s* pDst, int len,
                                                    Kels32s val, int scaleFactor) {
  return recSqrt32s(pSrc, pDst, len, val, scaleFactor, truncSat16s);
}

KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_32f64f_D2(const Kels32f* pSrc, int srcStep,
                                                               int height, const Kels32f* pMean,
                                                               Kels64f* pDst, int width,
                                                               int dstStep, Kels64f val) {
  return accCovariance(D2<Kels32f>{pSrc, srcStep}, height, pMean, DstD2{pDst, dstStep}, pDst,
                       width, dstStep, val);
}
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_32f64f_D2L(const Kels32f** ppSrc,
                                                                int height, const Kels32f* pMean,
                                                                Kels64f** ppDst, int width,
                                                                Kels64f val) {
  return accCovariance(D2L<Kels32f>{ppSrc}, height, pMean, DstD2L{ppDst}, ppDst, width, 0, val);
}
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_16s64f_D2(const Kels16s* pSrc, int srcStep,
                                                               int height, const Kels16s* pMean,
                                                               Kels64f* pDst, int width,
                                                               int dstStep, Kels64f val) {
  return accCovariance(D2<Kels16s>{pSrc, srcStep}, height, pMean, DstD2{pDst, dstStep}, pDst,
                       width, dstStep, val);
}
KELS_API KelsStatus KELS_CALL kelsAccCovarianceMatrix_16s64f_D2L(const Kels16s** ppSrc,
                                                                int height, const Kels16s* pMean,
                                                                Kels64f** ppDst, int width,
                                                                Kels64f val) {
  return accCovariance(D2L<Kels16s>{ppSrc}, height, pMean, DstD2L{ppDst}, ppDst, width, 0, val);
}

}  // extern "C"
