// Long-double references of the mixture scores, written from the formulas (plain loops, no code
// shared with the library), and the problem data the member tests run on.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "mixture_members.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"

namespace kels::test::mixture {

// 1/2 sum (x - m)^2 w, times 2^-sf; w null: identity variance.
template <class E>
Ref refHalfDist(const E* x, const E* m, const E* w, int n, int sf) {
  Ref s = 0;
  for (int i = 0; i < n; ++i) {
    const Ref d = Ref(x[i]) - Ref(m[i]);
    s += d * d * (w ? Ref(w[i]) : 1.0L);
  }
  return std::ldexp(s / 2, -sf);
}

// The log domain of the library: below the drop threshold the correction is left out and the
// result floored at log zero (-4.5e6 in single precision, -1e10 in double).
struct LogDomain {
  Ref drop, zero;
};
constexpr LogDomain kLog32{-15.319588L, -4.5e6L};
constexpr LogDomain kLog64{-23.0258509299405L, -1e10L};

inline Ref refLogAdd(Ref a, Ref b, LogDomain ld) {
  const Ref hi = std::max(a, b), lo = std::min(a, b);
  if (lo - hi < ld.drop) return std::max(hi, ld.zero);
  return hi + std::log1p(std::exp(lo - hi));
}
// One value is its own log-sum, unfloored.
inline Ref refLogSum(const std::vector<Ref>& v, LogDomain ld) {
  if (v.size() == 1) return v[0];
  const Ref hi = *std::max_element(v.begin(), v.end());
  Ref s = 0;
  for (Ref x : v) s += std::exp(x - hi);
  return std::max(hi + std::log(s), ld.zero);
}

// The single- or the double-precision member, by element type.
template <class T, class F, class D>
constexpr auto byType(F f32, D f64) {
  if constexpr (sizeof(T) == 4) return f32;
  else return f64;
}

inline bool intResult(Kind k) { return k == Kind::kInt || k == Kind::kLowI; }
inline bool lowSplit(Kind k, int sf) { return (k == Kind::kLowF || k == Kind::kLowI) && sf >= 0 && sf <= 15; }

// The data of one call: `count` rows of length n in a _D2 block (step n + 3) and as a row table,
// plus the one vector (x or mean and weights) of the family.
template <class E, class R>
struct Problem {
  int n, count, sf;
  bool wide;
  Matrix2D<E> rows, rowVars;  // Max/Add: x rows; others: means and weights
  Buffer<E> vec, vecVar;      // Max/Add: mean and weights; others: x
  std::vector<R> g;
  R g0;

  // wide: full-range 16-bit data and floats over seven decades, for bit comparisons only.
  Problem(Rng& rng, int n_, int count_, int sf_, std::size_t misalign, bool wide_ = false)
      : n(n_), count(count_), sf(sf_), wide(wide_), rows(count_, n_, n_ + 3, misalign * sizeof(E)),
        rowVars(count_, n_, n_ + 3, misalign * sizeof(E)), vec(std::size_t(n_), misalign * sizeof(E)),
        vecVar(std::size_t(n_), misalign * sizeof(E)), g(std::size_t(count_)), g0(constant(rng)) {
    for (int r = 0; r < count; ++r)
      for (int c = 0; c < n; ++c) {
        rows.at(r, c) = value(rng);
        rowVars.at(r, c) = weight(rng);
      }
    for (int c = 0; c < n; ++c) {
      vec[std::size_t(c)] = value(rng);
      vecVar[std::size_t(c)] = weight(rng);
    }
    for (auto& v : g) v = constant(rng);
  }
  static constexpr bool k16s = sizeof(E) == 2;
  E value(Rng& rng) const {
    if (k16s) return E(wide ? rng.integer(-32768, 32767) : rng.integer(-60, 60));
    return E(wide ? rng.uniform(-1e3, 1e3) : rng.uniform(-2, 2));
  }
  E weight(Rng& rng) const {
    if (k16s) return E(wide ? rng.integer(-32768, 32767) : rng.integer(1, 30));
    return E(wide ? rng.uniform(1e-4, 1e2) : rng.uniform(0.2, 2));
  }
  static R constant(Rng& rng) {
    if constexpr (std::is_integral_v<R>) return R(rng.integer(-1000, 1000));
    else return k16s ? R(rng.uniform(-1000, 0)) : R(rng.uniform(-30, -5));
  }

  // Row j's operands for a member of family f.
  const E* xOf(Family f, int j) { return oneGaussian(f) ? rows.rowTable()[j] : vec.data(); }
  const E* meanOf(Family f, int j) { return oneGaussian(f) ? vec.data() : rows.rowTable()[j]; }
  const E* varOf(Family f, int j) { return oneGaussian(f) ? vecVar.data() : rowVars.rowTable()[j]; }

  // Max/Add take the rows as x, the others as means and weights.
  Args<E, R> args(const Member<E, R>& mb, R* dst) {
    const E** rowT = rows.constRowTable();
    const int st = rows.step();
    if (oneGaussian(mb.family))
      return {rows.base(), st, rowT, vec.data(), vecVar.data(), nullptr, nullptr, n, dst, g.data(), g0, count, sf};
    return {vec.data(), st, nullptr, rows.base(), rowVars.base(), rowT, rowVars.constRowTable(), n, dst,
            g.data(), g0, count, sf};
  }

  // The score g - 1/2 S 2^-sf of row j in output units, and a bound on the library's error.
  Ref score(const Member<E, R>& mb, int j, Ref gj, Ref* tol) {
    const int sf = mb.hasSf ? this->sf : 0;
    const Family f = mb.family;
    const E* w = mb.weighted ? varOf(f, j) : nullptr;
    const Ref half = refHalfDist(xOf(f, j), meanOf(f, j), w, n, sf);
    const Ref eps = sizeof(R) == 8 ? 0x1p-52L : 0x1p-23L;
    *tol = 4 * eps * (n + 8) * (std::fabs(gj) + half) + (intResult(mb.kind) ? 1 : 0);
    if (lowSplit(mb.kind, sf)) {
      Ref wmax = 1;
      for (int i = 0; i < n && w; ++i) wmax = std::max(wmax, Ref(w[i]));
      *tol += n * (wmax * std::ldexp(1.0L, -sf) / 2 + 1) + 1;  // the dropped low bits
    }
    return gj - half;
  }
};

}  // namespace kels::test::mixture
