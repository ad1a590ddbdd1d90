// Score forms of the mixture families: how a row distance S becomes a log-likelihood
// r = g - 1/2 * S in each element type and weight form, and how such a score enters and leaves
// the log domain when scores are log-added; and the loop that hands a form's row distances to
// its family a block at a time. W: weights present (false for identity variance).
#pragma once

#include <algorithm>
#include <cstdint>

#include <kelsr.h>

#include "core/scale.h"
#include "model/mix_kernels.h"
#include "model/kernels/dist_kernels.h"
#include "model/logadd.h"

namespace kels::model {

// Log-additions of the mixture families use the accurate correction (hint 0).
constexpr int kMixHint = 0;

inline float logAddMix(float a, float b) { return logAdd32f(a, b); }
inline double logAddMix(double a, double b) { return logAdd64f(a, b); }
inline float logSumMix(const float* v, int n) { return logSum32f(v, n, kMixHint); }
inline double logSumMix(const double* v, int n) { return logSum64f(v, n); }

// A scale factor clamped far enough that negating it or adding one is defined; the power-of-two
// table clamps again to its own range.
inline int clampSf(int sf) { return std::clamp(sf, -1000, 1000); }

// Forms whose score is a real value kept in its own precision.
template <class E, class D, bool W>
struct RealForm {
  using Elem = E;
  using Res = D;
  using Dist = D;
  using Log = D;
  static constexpr bool kWeighted = W;
  void dist(RowSrc<E> x, RowSrc<E> m, RowSrc<E> w, int n, int c, D* s) const {
    const MixDistKernels& k = mixDistKernels();
    if constexpr (sizeof(E) == 8) (W ? k.wsd64f : k.sd64f)(x, m, w, n, c, s);
    else (W ? k.wsd32f : k.sd32f)(x, m, w, n, c, s);
  }
  D score(D g, D s) const { return g - D(0.5) * s; }
  Log toLog(Res v) const { return v; }
  Res fromLog(Log r) const { return r; }
  template <class Fn>
  auto with(Fn fn) const { return fn(*this); }
};
template <bool W> using Form32f = RealForm<Kels32f, float, W>;
template <bool W> using Form64f = RealForm<Kels64f, double, W>;

// 16-bit data, float distance and result: r = g - 1/2 * S * 2^-sf.
template <bool W>
struct FormScaled16s32f {
  using Elem = Kels16s;
  using Res = Kels32f;
  using Dist = float;
  using Log = float;
  static constexpr bool kWeighted = W;
  int sf;
  void dist(RowSrc<Elem> x, RowSrc<Elem> m, RowSrc<Elem> w, int n, int c, float* s) const {
    const MixDistKernels& k = mixDistKernels();
    (W ? k.wsd16s : k.sd16s)(x, m, w, n, c, s);
  }
  // Identity variance forms 1/2 * 2^-sf once, as 2^-(sf+1).
  float score(float g, float s) const {
    return W ? g - 0.5f * s * pow2NegF(sf) : g - s * pow2NegF(clampSf(sf) + 1);
  }
  Log toLog(Res v) const { return v; }
  Res fromLog(Log r) const { return r; }
  template <class Fn>
  auto with(Fn fn) const { return fn(*this); }
};

// 16-bit data, 32-bit integer result: r' = float(g) - 1/2 * S * 2^-sf, rounded half to even,
// clamped to -2^31..2^31 (2^31 stored as -2^31). A stored score k stands for k * 2^sf.
template <bool W>
struct FormInt16s32s {
  using Elem = Kels16s;
  using Res = Kels32s;
  using Dist = float;
  using Log = float;
  static constexpr bool kWeighted = W;
  int sf;
  void dist(RowSrc<Elem> x, RowSrc<Elem> m, RowSrc<Elem> w, int n, int c, float* s) const {
    FormScaled16s32f<W>{sf}.dist(x, m, w, n, c, s);
  }
  Kels32s score(Kels32s g, float s) const { return roundSat<Kels32s>(float(g) - scaleByIntPow2(0.5f * s, sf)); }
  Log toLog(Res v) const { return float(v) * pow2NegF(-clampSf(sf)); }
  // Back to the scaled integer through double, where the power of two is exact: saturated.
  Res fromLog(Log r) const { return roundSat<Kels32s>(double(r) * pow2NegD(sf)); }
  template <class Fn>
  auto with(Fn fn) const { return fn(*this); }
};

// The 16-bit split evaluation (scale factors 0..15): an integer approximation L of
// 1/2 * S * 2^-sf, then g - L in the result type.
template <bool W, class R>
struct FormLowSplit {
  using Elem = Kels16s;
  using Res = R;
  using Dist = std::int64_t;
  using Log = float;
  static constexpr bool kWeighted = W;
  int sf;
  void dist(RowSrc<Elem> x, RowSrc<Elem> m, RowSrc<Elem> w, int n, int c, std::int64_t* s) const {
    const DistKernels& k = distKernels();  // integer sums: one row at a time is as exact
    for (int j = 0; j < c; ++j) s[j] = W ? k.lowWsd16s(x[j], m[j], w[j], n, sf) : k.lowSd16s(x[j], m[j], n, sf);
  }
  Res score(Res g, std::int64_t low) const {
    if constexpr (std::is_same_v<R, Kels32s>) return sat32(std::int64_t(g) - low);  // exact, saturated
    else return float(-low) + g;
  }
  Log toLog(Res v) const {
    if constexpr (std::is_same_v<R, Kels32s>) return FormInt16s32s<W>{sf}.toLog(v);
    else return v;
  }
  Res fromLog(Log r) const {
    if constexpr (std::is_same_v<R, Kels32s>) return FormInt16s32s<W>{sf}.fromLog(r);
    else return r;
  }
};

inline bool lowSplitApplies(int sf) { return sf >= 0 && sf <= 15; }

// Low forms: the split evaluation for scale factors 0..15, the single-precision path beyond.
template <bool W>
struct FormLow16s32s {
  using Elem = Kels16s;
  using Res = Kels32s;
  static constexpr bool kWeighted = W;
  int sf;
  template <class Fn>
  auto with(Fn fn) const {
    return lowSplitApplies(sf) ? fn(FormLowSplit<W, Kels32s>{sf}) : fn(FormInt16s32s<W>{sf});
  }
};
template <bool W>
struct FormLow16s32f {
  using Elem = Kels16s;
  using Res = Kels32f;
  static constexpr bool kWeighted = W;
  int sf;
  template <class Fn>
  auto with(Fn fn) const {
    return lowSplitApplies(sf) ? fn(FormLowSplit<W, Kels32f>{sf}) : fn(FormScaled16s32f<W>{sf});
  }
};

// Calls fn(j, S_j) for the `count` rows, in order, a block of distances at a time.
template <class Form, class Fn>
void forEachDistance(const Form& f, RowSrc<typename Form::Elem> x, RowSrc<typename Form::Elem> m,
                     RowSrc<typename Form::Elem> w, int n, int count, Fn fn) {
  constexpr int kBlock = 64;
  typename Form::Dist s[kBlock];
  for (int j0 = 0; j0 < count; j0 += kBlock) {
    const int c = std::min(kBlock, count - j0);
    f.dist(advance(x, j0), advance(m, j0), advance(w, j0), n, c, s);
    for (int j = 0; j < c; ++j) fn(j0 + j, s[j]);
  }
}

}  // namespace kels::model
