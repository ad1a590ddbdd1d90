// Filter-bank test helpers: owning handles (the library's Free keeps the record, so the test
// returns it to the allocator itself), and the stated bank formulas in long double.
#pragma once

#include <kelsr.h>

#include <cmath>
#include <vector>

#include "core/alloc.h"

namespace kels::test {

using LD = long double;

inline KelsStatus freeBank(KelsMelFBank_32f* b) { return kelsFBankFree_32f(b); }
inline KelsStatus freeBank(KelsMelFBank_16s* b) { return kelsFBankFree_16s(b); }

template <class Obj>
struct Owner {
  Obj* p = nullptr;
  Owner() = default;
  Owner(const Owner&) = delete;
  ~Owner() { out(); }
  Obj** out() {
    if (p != nullptr) { freeBank(p); kels::release(p); }  // also the record that Free leaves
    p = nullptr;
    return &p;
  }
};

struct MelParams {
  int l;
  float rate, low, high;
  int nFilter;
  float melMul, melDiv;
  int mode;
};

inline int lengthOf(int l) {
  int n = 2;
  while (n < l) n *= 2;
  return n;
}

// Exact bin positions and mel values of the nFilter + 2 points.
struct RefGrid {
  std::vector<LD> mel, pos;
};
inline RefGrid refMelGrid(const MelParams& p) {
  const int n = lengthOf(p.l);
  auto mel = [&](LD f) { return LD(p.melMul) * std::log1p(f / LD(p.melDiv)); };
  const LD lo = mel(p.low), hi = mel(p.high);
  RefGrid g;
  for (int i = 0; i < p.nFilter + 2; ++i) {
    const LD m = lo + (hi - lo) * i / (p.nFilter + 1);
    g.mel.push_back(m);
    g.pos.push_back(LD(p.melDiv) * std::expm1(m / LD(p.melMul)) / LD(p.rate) * n);
  }
  return g;
}

// The integer centre of a position, or -1 when the float computation may legitimately land on
// either side (within 1e-3 of the rounding or truncation boundary).
inline int refCentre(LD pos, bool round) {
  const LD edge = round ? pos + 0.5L : pos;
  if (std::fabs(edge - std::nearbyint(edge)) < 1e-3L) return -1;
  return int(std::floor(edge));
}

// One filter's weights as GetCoeffs returns them (rising run, then falling run).
inline std::vector<float> coeffs(const KelsMelFBank_32f* b, int j, const std::vector<int>& c) {
  const int rise = c[j] - c[j - 1] + 1 > 0 ? c[j] - c[j - 1] + 1 : 0;
  const int fall = std::size_t(j + 1) < c.size() && c[j + 1] - c[j] > 0 ? c[j + 1] - c[j] : 0;
  std::vector<float> w(std::size_t(rise + fall) + 1, -7.0f);
  if (kelsFBankGetCoeffs_32f(b, j, w.data()) != kelOk) return {};
  w.pop_back();
  return w;
}

inline std::vector<int> centres(const KelsMelFBank_32f* b, int nFilter) {
  std::vector<int> c(std::size_t(nFilter) + 2, -1);
  if (kelsFBankGetCenters_32f(b, c.data()) != kelOk) return {};
  return c;
}

// Sum over filter j of weights times spectrum, in long double, for ordered centres: the run
// of weights covers bins c[j-1] .. c[j+1] in order.
inline std::vector<LD> refEval(const std::vector<int>& c, const std::vector<std::vector<float>>& w,
                               const std::vector<LD>& x) {
  std::vector<LD> out;
  for (std::size_t j = 1; j + 1 < c.size(); ++j) {
    LD s = 0;
    for (int k = c[j - 1]; k <= c[j + 1]; ++k) s += LD(w[j - 1][std::size_t(k - c[j - 1])]) * x[std::size_t(k)];
    out.push_back(s);
  }
  return out;
}

}  // namespace kels::test
