// The column kernels written once over a vector type V (lanes of float or double with loads,
// partial loads and arithmetic); each target file supplies its V and includes this. Everything
// is in an unnamed namespace so each target keeps its own copy.
#pragma once

#include "estimation/kernels/stats_kernels.h"

namespace kels::stats {
namespace {

// Sums of up to G full vectors of columns, plus a partial one, with the accumulators kept in
// registers while every row goes by.
template <class V, class S, bool kW, bool kS1, bool kS2, int NV, bool kTail>
void momentGroup(const ColSrc<S>& src, int n, int c0, int tail, const typename V::F* w,
                 typename V::F* s1, typename V::F* s2) {
  using R = typename V::R;
  constexpr int L = V::L, NR = NV + (kTail ? 1 : 0);
  R a1[NR], a2[NR];
  for (int v = 0; v < NR; ++v) {
    const bool part = kTail && v == NV;
    a1[v] = !kS1 ? V::zero() : part ? V::loadN(s1 + c0 + v * L, tail) : V::load(s1 + c0 + v * L);
    a2[v] = !kS2 ? V::zero() : part ? V::loadN(s2 + c0 + v * L, tail) : V::load(s2 + c0 + v * L);
  }
  for (int i = 0; i < n; ++i) {
    const S* p = src.row(i) + c0;
    R wv = V::zero();
    if constexpr (kW) wv = V::set1(w[i]);
    for (int v = 0; v < NR; ++v) {
      const R x = (kTail && v == NV) ? V::loadN(p + v * L, tail) : V::load(p + v * L);
      const R t = kW ? V::mul(x, wv) : x;
      if constexpr (kS1) a1[v] = V::add(a1[v], t);
      if constexpr (kS2) a2[v] = V::add(a2[v], V::mul(t, x));
    }
  }
  for (int v = 0; v < NR; ++v) {
    const bool part = kTail && v == NV;
    if constexpr (kS1) part ? V::storeN(s1 + c0 + v * L, a1[v], tail) : V::store(s1 + c0 + v * L, a1[v]);
    if constexpr (kS2) part ? V::storeN(s2 + c0 + v * L, a2[v], tail) : V::store(s2 + c0 + v * L, a2[v]);
  }
}

template <class V, class S, bool kW, bool kS1, bool kS2>
void momentsT(const ColSrc<S>& src, int n, int d, const typename V::F* w, typename V::F* s1,
              typename V::F* s2) {
  constexpr int L = V::L, G = 4;
  int nvec = d / L, c = 0;
  const int tail = d % L;
  // Whole groups while more than a group remains; the last group takes the partial vector.
  for (; nvec > G || (nvec == G && tail == 0); nvec -= G, c += G * L)
    momentGroup<V, S, kW, kS1, kS2, G, false>(src, n, c, 0, w, s1, s2);
  if (tail == 0) {
    switch (nvec) {
      case 3: momentGroup<V, S, kW, kS1, kS2, 3, false>(src, n, c, 0, w, s1, s2); break;
      case 2: momentGroup<V, S, kW, kS1, kS2, 2, false>(src, n, c, 0, w, s1, s2); break;
      case 1: momentGroup<V, S, kW, kS1, kS2, 1, false>(src, n, c, 0, w, s1, s2); break;
      default: break;
    }
    return;
  }
  switch (nvec) {
    case 4: momentGroup<V, S, kW, kS1, kS2, 4, true>(src, n, c, tail, w, s1, s2); break;
    case 3: momentGroup<V, S, kW, kS1, kS2, 3, true>(src, n, c, tail, w, s1, s2); break;
    case 2: momentGroup<V, S, kW, kS1, kS2, 2, true>(src, n, c, tail, w, s1, s2); break;
    case 1: momentGroup<V, S, kW, kS1, kS2, 1, true>(src, n, c, tail, w, s1, s2); break;
    default: momentGroup<V, S, kW, kS1, kS2, 0, true>(src, n, c, tail, w, s1, s2); break;
  }
}

template <class V, class S, bool kW>
void momentsPick(const ColSrc<S>& src, int n, int d, const typename V::F* w, typename V::F* s1,
                 typename V::F* s2) {
  if (s1 && s2) momentsT<V, S, kW, true, true>(src, n, d, w, s1, s2);
  else if (s1) momentsT<V, S, kW, true, false>(src, n, d, w, s1, s2);
  else if (s2) momentsT<V, S, kW, false, true>(src, n, d, w, s1, s2);
}

template <class V, class S>
void momentsW(const ColSrc<S>& src, int n, int d, const typename V::F* w, typename V::F* s1,
              typename V::F* s2) {
  if (w) momentsPick<V, S, true>(src, n, d, w, s1, s2);
  else momentsPick<V, S, false>(src, n, d, w, s1, s2);
}

template <class V>
void moments16sT(const ColSrc<Kels16s>& src, int n, int d, Kels32f* s1, Kels32f* s2) {
  momentsPick<V, Kels16s, false>(src, n, d, nullptr, s1, s2);
}

// A JB x KV tile of covariance sums (JB rows j, KV vectors of k) in registers over one chunk.
template <class V, int JB, int KV>
void covTile(const double* x, const double* dev, int rows, int dpad, int j0, int kv0,
             const double* m, double* s) {
  using R = typename V::R;
  constexpr int L = V::L;
  R acc[JB][KV], mk[KV];
  for (int b = 0; b < KV; ++b) mk[b] = V::load(m + (kv0 + b) * L);
  for (int a = 0; a < JB; ++a)
    for (int b = 0; b < KV; ++b) acc[a][b] = V::load(s + std::ptrdiff_t(j0 + a) * dpad + (kv0 + b) * L);
  for (int i = 0; i < rows; ++i) {
    const double* xr = x + std::ptrdiff_t(i) * dpad;
    const double* dr = dev + std::ptrdiff_t(i) * dpad;
    R dk[KV];
    for (int b = 0; b < KV; ++b) dk[b] = V::load(dr + (kv0 + b) * L);
    for (int a = 0; a < JB; ++a) {
      const R xj = V::set1(xr[j0 + a]);
      for (int b = 0; b < KV; ++b) acc[a][b] = V::add(acc[a][b], V::mul(V::sub(xj, mk[b]), dk[b]));
    }
  }
  for (int a = 0; a < JB; ++a)
    for (int b = 0; b < KV; ++b) V::store(s + std::ptrdiff_t(j0 + a) * dpad + (kv0 + b) * L, acc[a][b]);
}

// Narrows the tile to the rows and vectors that remain at the edges.
template <class V, int JB, int KV>
void covTileFit(int jb, int kn, const double* x, const double* dev, int rows, int dpad, int j0,
                int kv0, const double* m, double* s) {
  if constexpr (JB > 1) {
    if (jb < JB) return covTileFit<V, JB - 1, KV>(jb, kn, x, dev, rows, dpad, j0, kv0, m, s);
  }
  if constexpr (KV > 1) {
    if (kn < KV) return covTileFit<V, JB, KV - 1>(jb, kn, x, dev, rows, dpad, j0, kv0, m, s);
  }
  covTile<V, JB, KV>(x, dev, rows, dpad, j0, kv0, m, s);
}

template <class V, int JB, int KV>
void covChunkT(const double* x, const double* dev, int rows, int dpad, int d, const double* m,
               double* s) {
  constexpr int L = V::L;
  (void)dpad;
  const int nvec = (d + L - 1) / L;  // vectors that hold a column below d
  for (int j0 = 0; j0 < d; j0 += JB) {
    const int jb = d - j0 < JB ? d - j0 : JB;
    for (int kv = j0 / L; kv * L < d; kv += KV) {  // vectors wholly below j0 are not needed
      const int kn = nvec - kv < KV ? nvec - kv : KV;
      covTileFit<V, JB, KV>(jb, kn, x, dev, rows, dpad, j0, kv, m, s);
    }
  }
}

// Column j against NV (+ a partial) vectors of columns k, every row read from the source.
template <class V, class S, int NV, bool kTail>
void covPairGroup(const ColSrc<S>& src, int n, int j, int k0, int tail, const double* m, double* out) {
  using R = typename V::R;
  constexpr int L = V::L, NR = NV + (kTail ? 1 : 0);
  R acc[NR], mk[NR];
  for (int b = 0; b < NR; ++b) {
    mk[b] = (kTail && b == NV) ? V::loadN(m + b * L, tail) : V::load(m + b * L);
    acc[b] = V::zero();
  }
  for (int i = 0; i < n; ++i) {
    const S* p = src.row(i);
    const R xj = V::set1(double(p[j]));
    for (int b = 0; b < NR; ++b) {
      const R xk = (kTail && b == NV) ? V::loadN(p + k0 + b * L, tail) : V::load(p + k0 + b * L);
      acc[b] = V::add(acc[b], V::mul(V::sub(xj, mk[b]), V::sub(xk, mk[b])));
    }
  }
  for (int b = 0; b < NR; ++b)
    (kTail && b == NV) ? V::storeN(out + b * L, acc[b], tail) : V::store(out + b * L, acc[b]);
}

template <class V, class S>
void covPairsT(const ColSrc<S>& src, int n, int j, int k0, int cnt, const double* m, double* out) {
  constexpr int L = V::L, G = 4;
  int nvec = cnt / L;
  const int tail = cnt % L;
  for (; nvec > G || (nvec == G && tail == 0); nvec -= G, k0 += G * L, m += G * L, out += G * L)
    covPairGroup<V, S, G, false>(src, n, j, k0, 0, m, out);
  if (tail == 0) {
    switch (nvec) {
      case 3: covPairGroup<V, S, 3, false>(src, n, j, k0, 0, m, out); break;
      case 2: covPairGroup<V, S, 2, false>(src, n, j, k0, 0, m, out); break;
      case 1: covPairGroup<V, S, 1, false>(src, n, j, k0, 0, m, out); break;
      default: break;
    }
    return;
  }
  switch (nvec) {
    case 4: covPairGroup<V, S, 4, true>(src, n, j, k0, tail, m, out); break;
    case 3: covPairGroup<V, S, 3, true>(src, n, j, k0, tail, m, out); break;
    case 2: covPairGroup<V, S, 2, true>(src, n, j, k0, tail, m, out); break;
    case 1: covPairGroup<V, S, 1, true>(src, n, j, k0, tail, m, out); break;
    default: covPairGroup<V, S, 0, true>(src, n, j, k0, tail, m, out); break;
  }
}

template <class VF, class VD, int JB, int KV>
constexpr Kernels makeKernels() {
  return Kernels{&momentsW<VF, Kels32f>, &moments16sT<VF>, &momentsW<VD, Kels64f>,
                 &covChunkT<VD, JB, KV>, &covPairsT<VD, Kels32f>, &covPairsT<VD, Kels16s>};
}

}  // namespace
}  // namespace kels::stats
