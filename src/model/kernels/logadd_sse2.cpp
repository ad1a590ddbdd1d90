// SSE2 log-add and log-sum kernels (the same bits as logadd_scalar.h). Without a variable
// permute, each lane's coefficients are selected with masks; tails run the scalar code.
#include <emmintrin.h>

#include "model/kernels/logadd_simd.h"

namespace kels {
namespace {

inline __m128 select(__m128 m, __m128 yes, __m128 no) { return _mm_or_ps(_mm_and_ps(m, yes), _mm_andnot_ps(m, no)); }

// Interval k's value of a three-interval constant, bit for bit: c0 ^ (ge1 & (c0 ^ c1)) ^
// (ge2 & (c1 ^ c2)), where ge2 lanes are also ge1 lanes. Four operations instead of two selects.
inline __m128 pick(const float* c, __m128 ge1, __m128 ge2) {
  const __m128 c0 = _mm_set1_ps(c[0]), c1 = _mm_set1_ps(c[1]), c2 = _mm_set1_ps(c[2]);
  return _mm_xor_ps(_mm_xor_ps(c0, _mm_and_ps(ge1, _mm_xor_ps(c0, c1))), _mm_and_ps(ge2, _mm_xor_ps(c1, c2)));
}
inline __m128d pick(const double* c, __m128d ge1, __m128d ge2) {
  const __m128d c0 = _mm_set1_pd(c[0]), c1 = _mm_set1_pd(c[1]), c2 = _mm_set1_pd(c[2]);
  return _mm_xor_pd(_mm_xor_pd(c0, _mm_and_pd(ge1, _mm_xor_pd(c0, c1))), _mm_and_pd(ge2, _mm_xor_pd(c1, c2)));
}

// Each row as the three intervals' values.
constexpr CoefTable<double, 3> kTable64;
constexpr CoefTable<float, 3> kTable32;

// The lanes' common steps: ordering, d = lo - hi, the split masks; and the final choice between
// the corrected sum, the floored maximum (dropped correction) and a + b (NaN).
struct Lanes4 {
  __m128 a, b, hi, d, ge1, ge2;
  void prepare(__m128 va, __m128 vb) {
    a = va;
    b = vb;
    // max(a, b) is a > b ? a : b and min(b, a) is b < a ? b : a, NaN and signed zeros included:
    // the scalar code's choice.
    hi = _mm_max_ps(a, b);
    d = _mm_sub_ps(_mm_min_ps(b, a), hi);
    ge1 = _mm_cmpge_ps(d, _mm_set1_ps(kSplitLow));
    ge2 = _mm_cmpge_ps(d, _mm_set1_ps(kSplitHigh));
  }
  __m128 finish(__m128 r) const {
    r = select(_mm_cmplt_ps(d, _mm_set1_ps(kDrop32f)), _mm_max_ps(hi, _mm_set1_ps(kLogZero32f)), r);
    return select(_mm_cmpunord_ps(d, d), _mm_add_ps(a, b), r);
  }
};

// hi + correction in double, 2 lanes per register, 2 kU chains. Compare masks widen to double
// lanes by duplicating each 32-bit mask.
struct Corr64 {
  template <int kU>
  static void run(const Lanes4* l, __m128* r) {
    constexpr int kN = 2 * kU;
    const auto& tb = kTable64.row;
    __m128d g1[kN], g2[kN], t[kN], p[kN];
    for (int v = 0; v < kN; ++v) {
      const Lanes4& g = l[v / 2];
      const bool up = v % 2;
      g1[v] = _mm_castps_pd(up ? _mm_unpackhi_ps(g.ge1, g.ge1) : _mm_unpacklo_ps(g.ge1, g.ge1));
      g2[v] = _mm_castps_pd(up ? _mm_unpackhi_ps(g.ge2, g.ge2) : _mm_unpacklo_ps(g.ge2, g.ge2));
      t[v] = _mm_sub_pd(_mm_cvtps_pd(up ? _mm_movehl_ps(g.d, g.d) : g.d), pick(tb[0], g1[v], g2[v]));
      p[v] = pick(tb[logadd::kDegree + 1], g1[v], g2[v]);
    }
    for (int j = logadd::kDegree - 1; j >= 0; --j) {
      for (int v = 0; v < kN; ++v) p[v] = _mm_add_pd(_mm_mul_pd(p[v], t[v]), pick(tb[j + 1], g1[v], g2[v]));
      for (int v = 0; v < kN; ++v) stepDone(p[v]);
    }
    for (int u = 0; u < kU; ++u) {
      const __m128d r0 = _mm_add_pd(_mm_cvtps_pd(l[u].hi), p[2 * u]);
      const __m128d r1 = _mm_add_pd(_mm_cvtps_pd(_mm_movehl_ps(l[u].hi, l[u].hi)), p[2 * u + 1]);
      r[u] = _mm_movelh_ps(_mm_cvtpd_ps(r0), _mm_cvtpd_ps(r1));
    }
  }
};

// hi + correction in float, 4 lanes per register.
struct Corr32 {
  template <int kU>
  static void run(const Lanes4* l, __m128* r) {
    const auto& tb = kTable32.row;
    __m128 t[kU], p[kU];
    for (int u = 0; u < kU; ++u) {
      t[u] = _mm_sub_ps(l[u].d, pick(tb[0], l[u].ge1, l[u].ge2));
      p[u] = pick(tb[logadd::kDegree + 1], l[u].ge1, l[u].ge2);
    }
    for (int j = logadd::kDegree - 1; j >= 0; --j) {
      for (int u = 0; u < kU; ++u) p[u] = _mm_add_ps(_mm_mul_ps(p[u], t[u]), pick(tb[j + 1], l[u].ge1, l[u].ge2));
      for (int u = 0; u < kU; ++u) stepDone(p[u]);
    }
    for (int u = 0; u < kU; ++u) r[u] = _mm_add_ps(l[u].hi, p[u]);
  }
};

// kU groups of 4 lanes per pass with their Horner steps interleaved; what is left goes to half
// as many groups, down to one, and the last few lanes to the scalar code.
template <int kU, class Corr, bool kFast>
void addRowGroups(const float* a, float* b, int n) {
  int i = 0;
  for (; i + 4 * kU <= n; i += 4 * kU) {
    Lanes4 l[kU];
    __m128 r[kU];
    for (int u = 0; u < kU; ++u) l[u].prepare(_mm_loadu_ps(a + i + 4 * u), _mm_loadu_ps(b + i + 4 * u));
    Corr::template run<kU>(l, r);
    for (int u = 0; u < kU; ++u) _mm_storeu_ps(b + i + 4 * u, l[u].finish(r[u]));
  }
  if constexpr (kU > 1) {
    if (i < n) addRowGroups<kU / 2, Corr, kFast>(a + i, b + i, n - i);
  } else {
    for (; i < n; ++i) b[i] = logAddElem<kFast>(a[i], b[i]);
  }
}
void addRow(const float* a, float* b, int n) { addRowGroups<2, Corr64, false>(a, b, n); }
void addRowFast(const float* a, float* b, int n) { addRowGroups<4, Corr32, true>(a, b, n); }

// e^d for two lanes; the rounding conversion rounds to nearest even, as nearbyint does.
inline __m128d expNeg2(__m128d d) {
  const __m128i kr = _mm_cvtpd_epi32(_mm_mul_pd(d, _mm_set1_pd(kLog2e)));
  const __m128d k = _mm_cvtepi32_pd(kr);
  const __m128d r = _mm_sub_pd(_mm_sub_pd(d, _mm_mul_pd(k, _mm_set1_pd(kLn2Hi))), _mm_mul_pd(k, _mm_set1_pd(kLn2Lo)));
  __m128d p = _mm_set1_pd(kInvFact[kExpDegree]);
  for (int j = kExpDegree - 1; j >= 0; --j) p = _mm_add_pd(_mm_mul_pd(p, r), _mm_set1_pd(kInvFact[j]));
  const __m128i floorK = _mm_set1_epi32(-1022);
  const __m128i below = _mm_cmplt_epi32(kr, floorK);
  const __m128i ki = _mm_or_si128(_mm_and_si128(below, floorK), _mm_andnot_si128(below, kr));
  const __m128i e = _mm_slli_epi64(_mm_unpacklo_epi32(_mm_add_epi32(ki, _mm_set1_epi32(1023)), _mm_setzero_si128()), 52);
  const __m128d v = _mm_mul_pd(p, _mm_castsi128_pd(e));
  return _mm_andnot_pd(_mm_cmplt_pd(d, _mm_set1_pd(kExpFloor)), v);
}

float sum32f(const float* x, int n) {
  __m128 m0 = _mm_set1_ps(x[0]), m1 = m0;
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    m0 = _mm_max_ps(_mm_loadu_ps(x + i), m0);
    m1 = _mm_max_ps(_mm_loadu_ps(x + i + 4), m1);
  }
  alignas(16) float pm[8];
  _mm_store_ps(pm, m0);
  _mm_store_ps(pm + 4, m1);
  const float top = finishMax(pm, x, i, n);
  float out;
  if (logSumTrivial(top, &out)) return out;
  const __m128d m = _mm_set1_pd(double(top));
  __m128d acc[4] = {_mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd()};
  for (i = 0; i + 8 <= n; i += 8)
    for (int h = 0; h < 2; ++h) {
      const __m128 v = _mm_loadu_ps(x + i + 4 * h);
      acc[2 * h] = _mm_add_pd(acc[2 * h], expNeg2(_mm_sub_pd(_mm_cvtps_pd(v), m)));
      acc[2 * h + 1] = _mm_add_pd(acc[2 * h + 1], expNeg2(_mm_sub_pd(_mm_cvtps_pd(_mm_movehl_ps(v, v)), m)));
    }
  alignas(16) double ps[8];
  for (int q = 0; q < 4; ++q) _mm_store_pd(ps + 2 * q, acc[q]);
  return logSumFinish(top, finishExpSum(ps, x, top, i, n));
}

}  // namespace

const LogKernels& logKernelsSse2() {
  static constexpr LogKernels k{addRow, addRowFast, sum32f};
  return k;
}

}  // namespace kels
