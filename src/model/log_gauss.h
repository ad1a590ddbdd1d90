// Single-Gaussian log-likelihoods: R = g - S/2 with S the variance-weighted squared distance of
// a feature row from the mean (dist_kernels.h), scored per row of a _D2 or _D2L block or for one
// vector. The score functors turn S into the stored result of each form; the family template
// checks once, then scores: float rows many at a time, the other forms row by row.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include <kelsr.h>

#include "core/check.h"
#include "core/rows.h"
#include "core/scale.h"
#include "model/kernels/dist_kernels.h"
#include "model/mix_forms.h"

namespace kels {

// How w enters the sum: inverse variances, identity, or variances.
enum class Var { kInv, kId, kDirect };

// One vector, scored as a single row.
template <class T>
struct RowOne {
  static constexpr bool kHasStep = false;
  T* row;
  T* operator[](int) const { return row; }
  const void* ptr() const { return row; }
  bool rowsNonNull(int) const { return true; }
};

template <class Rows>
bool rowsNonNull(const Rows& x, int m) {
  if constexpr (Rows::kHasStep) return true;
  else return x.rowsNonNull(m);
}

template <Var V, class Acc, class T>
Acc sumOf(const DistKernels& k, const T* x, const T* mu, const T* w, int n) {
  if constexpr (std::is_same_v<T, std::int16_t>) {
    if constexpr (V == Var::kInv) return k.wsd16s(x, mu, w, n);
    else if constexpr (V == Var::kId) return k.sd16s(x, mu, n);
    else return k.dvd16s(x, mu, w, n);
  } else if constexpr (std::is_same_v<T, double>) {
    if constexpr (V == Var::kInv) return k.wsd64f(x, mu, w, n);
    else if constexpr (V == Var::kId) return k.sd64f(x, mu, n);
    else return k.dvd64f(x, mu, w, n);
  } else if constexpr (std::is_same_v<Acc, double>) {
    if constexpr (V == Var::kInv) return k.wsd32f64f(x, mu, w, n);
    else if constexpr (V == Var::kId) return k.sd32f64f(x, mu, n);
    else return k.dvd32f64f(x, mu, w, n);
  } else {
    if constexpr (V == Var::kInv) return k.wsd32f(x, mu, w, n);
    else if constexpr (V == Var::kId) return k.sd32f(x, mu, n);
    else return k.dvd32f(x, mu, w, n);
  }
}

// Float data, float or double result: g - S/2 in the result type.
template <Var V, class T, class Acc>
struct FloatScore {
  static constexpr Var kVar = V;
  // Float rows with inverse or identity variances are scored many rows per pass.
  static constexpr bool kRows = std::is_same_v<T, float> && std::is_same_v<Acc, float> && V != Var::kDirect;
  const DistKernels& k;
  Acc g;
  Acc operator()(const T* x, const T* mu, const T* w, int n) const {
    return g - Acc(0.5) * sumOf<V, Acc>(k, x, mu, w, n);
  }
  void rows(model::RowSrc<T> x, const T* mu, const T* w, int n, int count, Acc* r) const {
    model::forEachDistance(model::Form32f<V == Var::kInv>{}, x, model::fixedRow(mu), model::fixedRow(w), n, count,
                           [&](int j, float s) { r[j] = g - 0.5f * s; });
  }
};

template <class Score, class = void>
struct ScoresRows : std::false_type {};
template <class Score>
struct ScoresRows<Score, std::void_t<decltype(Score::kRows)>> : std::bool_constant<Score::kRows> {};

// 16-bit data, float result: g - S/2 * 2^-sf with exact table powers; the IdVar form folds the
// half into the power, 2^-(sf+1).
template <Var V>
struct ScaledScore {
  static constexpr Var kVar = V;
  const DistKernels& k;
  float g;
  int sf;
  float operator()(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) const {
    const float s = sumOf<V, float>(k, x, mu, w, n);
    if constexpr (V == Var::kId) return g - s * pow2NegF(std::min(sf, kMaxScale) + 1);
    else return g - (0.5f * s) * pow2NegF(sf);
  }
};

// 16-bit data, 32-bit result: A = S/2 scaled by the integer power 1 << |sf|, R = float(g) - A
// rounded half to even; a clamped 2^31 is stored as -2^31. g is in the scaled output units.
template <Var V>
struct IntScore {
  static constexpr Var kVar = V;
  const DistKernels& k;
  Kels32s g;
  int sf;
  Kels32s operator()(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) const {
    const float a = scaleByIntPow2(0.5f * sumOf<V, float>(k, x, mu, w, n), sf);
    return roundSat<Kels32s>(float(g) - a);
  }
};

// The Low forms: the 16-bit split evaluation for 0 <= sf <= 15, the single-precision forms
// beyond. Integer results add g in 64 bits and saturate (the sum is exact, so 2^31 saturates to
// 2^31 - 1); float results convert the integer sum and add g in float.
inline bool lowSplitRange(int sf) { return sf >= 0 && sf <= 15; }

// The split sum in chunks the kernels cannot overflow (each term is below 2^45 in magnitude),
// combined with saturation at +-2^62: only rows longer than kLowChunk can reach it, and there the
// 32-bit result is saturated anyway.
constexpr int kLowChunk = 1 << 16;
constexpr std::int64_t kLowLimit = std::int64_t(1) << 62;

template <Var V>
std::int64_t lowSum(const DistKernels& k, const std::int16_t* x, const std::int16_t* mu,
                    const std::int16_t* w, int n, int sf) {
  std::int64_t s = 0;
  for (int i = 0; i < n; i += kLowChunk) {
    const int len = std::min(kLowChunk, n - i);
    std::int64_t part;
    if constexpr (V == Var::kId) part = k.lowSd16s(x + i, mu + i, len, sf);
    else part = k.lowWsd16s(x + i, mu + i, w + i, len, sf);
    s = std::clamp(s + part, -kLowLimit, kLowLimit);
  }
  return s;
}

template <Var V>
struct LowIntScore {
  static constexpr Var kVar = V;
  const DistKernels& k;
  Kels32s g;
  int sf;
  Kels32s operator()(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) const {
    if (!lowSplitRange(sf)) return IntScore<V>{k, g, sf}(x, mu, w, n);
    return sat32(std::int64_t(g) - lowSum<V>(k, x, mu, w, n, sf));
  }
};

template <Var V>
struct LowFloatScore {
  static constexpr Var kVar = V;
  const DistKernels& k;
  float g;
  int sf;
  float operator()(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) const {
    if (!lowSplitRange(sf)) return ScaledScore<V>{k, g, sf}(x, mu, w, n);
    return float(-lowSum<V>(k, x, mu, w, n, sf)) + g;
  }
};

// Step first: a row longer than the step is reported even when a pointer is null. _D2L row
// pointers are data: a null row is kelErrNullPtr, found before anything is written.
template <class Rows, class T, class Dst>
KelsStatus checkLogGauss(const Rows& x, const T* mu, const T* w, bool hasW, int n, const Dst* dst, int m) {
  return ArgCheck{}
      .step(x, n)
      .ptr(x.ptr())
      .ptr(mu)
      .arg(!hasW || w != nullptr, kelErrNullPtr)
      .ptr(dst)
      .size(n)
      .size(m)
      .data([&] { return rowsNonNull(x, m); }, kelErrNullPtr);
}

template <class Rows, class T, class Dst, class Score>
KelsStatus logGauss(Rows x, const T* mu, const T* w, int n, Dst* dst, int m, const Score& score) {
  if (KelsStatus st = checkLogGauss(x, mu, w, Score::kVar != Var::kId, n, dst, m); st != kelOk)
    return st;  // nothing has been written
  if constexpr (ScoresRows<Score>::value && !std::is_same_v<Rows, RowOne<const T>>) {
    score.rows(model::rowSrc(x), mu, w, n, m, dst);
  } else {
    for (int i = 0; i < m; ++i) dst[i] = score(x[i], mu, w, n);
  }
  return kelOk;
}

}  // namespace kels
