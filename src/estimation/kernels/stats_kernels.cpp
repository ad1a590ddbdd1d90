// The scalar column kernels, which define every result, and the per-target tables.
#include "estimation/kernels/stats_kernels.h"

#include "estimation/kernels/stats_simd.h"

namespace kels::stats {
namespace {

// Rows outer, columns inner: each column is still one running sum over the rows in order.
template <class S, class F, bool kW, bool kS1, bool kS2>
void momentsRows(const ColSrc<S>& src, int n, int d, const F* w, F* s1, F* s2) {
  for (int i = 0; i < n; ++i) {
    const S* p = src.row(i);
    const F wi = kW ? w[i] : F(1);
    for (int j = 0; j < d; ++j) {
      const F x = F(p[j]);
      const F t = kW ? x * wi : x;
      if constexpr (kS1) s1[j] += t;
      if constexpr (kS2) s2[j] += t * x;
    }
  }
}

template <class S, class F>
void momentsScalar(const ColSrc<S>& src, int n, int d, const F* w, F* s1, F* s2) {
  if (w) {
    if (s1 && s2) momentsRows<S, F, true, true, true>(src, n, d, w, s1, s2);
    else if (s1) momentsRows<S, F, true, true, false>(src, n, d, w, s1, s2);
    else if (s2) momentsRows<S, F, true, false, true>(src, n, d, w, s1, s2);
  } else {
    if (s1 && s2) momentsRows<S, F, false, true, true>(src, n, d, w, s1, s2);
    else if (s1) momentsRows<S, F, false, true, false>(src, n, d, w, s1, s2);
    else if (s2) momentsRows<S, F, false, false, true>(src, n, d, w, s1, s2);
  }
}

void moments16sScalar(const ColSrc<Kels16s>& src, int n, int d, Kels32f* s1, Kels32f* s2) {
  momentsScalar<Kels16s, Kels32f>(src, n, d, nullptr, s1, s2);
}

// One lane of double: the covariance tiles written for vectors serve the scalar target too.
struct Lane64 {
  using F = double;
  using R = double;
  static constexpr int L = 1;
  static R zero() { return 0.0; }
  static R load(const double* p) { return *p; }
  static R load(const Kels32f* p) { return double(*p); }
  static R load(const Kels16s* p) { return double(*p); }
  template <class S>
  static R loadN(const S* p, int) { return load(p); }  // one lane: never partial
  static void store(double* p, R r) { *p = r; }
  static void storeN(double* p, R r, int) { *p = r; }
  static R set1(double v) { return v; }
  static R add(R a, R b) { return a + b; }
  static R sub(R a, R b) { return a - b; }
  static R mul(R a, R b) { return a * b; }
};

}  // namespace

const Kernels kScalarKernels{&momentsScalar<Kels32f, Kels32f>, &moments16sScalar,
                             &momentsScalar<Kels64f, Kels64f>, &covChunkT<Lane64, 4, 4>,
                             &covPairsT<Lane64, Kels32f>, &covPairsT<Lane64, Kels16s>};

const Kernels& kernelsFor(Target t) {
#if defined(KELSR_X86)
  static const Kernels* const table[kTargetCount] = {&kScalarKernels, &kSse2Kernels,
                                                     &kAvx2Kernels, &kAvx512Kernels};
  return *table[int(t)];
#else
  (void)t;
  return kScalarKernels;
#endif
}

}  // namespace kels::stats
