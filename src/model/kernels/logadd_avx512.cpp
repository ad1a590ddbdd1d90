// AVX-512 log-add and log-sum kernels (the same bits as logadd_scalar.h): the interval of each
// lane picks its coefficients with one permute per Horner step, tails use mask registers.
// GCC 12 reports its own _mm512_undefined_* placeholders inside the intrinsic headers as
// maybe-uninitialized; the lanes in question are never read.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include "model/kernels/logadd_simd.h"

namespace kels {
namespace {

inline __mmask16 tailMask(int r) { return __mmask16(r >= 16 ? 0xFFFFu : (1u << r) - 1); }

constexpr CoefTable<double, 8> kTable64;
constexpr CoefTable<float, 16> kTable32;

inline __m512d pick(__m512i k, const double* row) { return _mm512_permutexvar_pd(k, _mm512_load_pd(row)); }
inline __m512 pick(__m512i k, const float* row) { return _mm512_permutexvar_ps(k, _mm512_load_ps(row)); }

// The lanes' common steps: ordering, d = lo - hi, the interval number; and the final choice
// between the corrected sum, the floored maximum (dropped correction) and a + b (NaN).
struct Lanes16 {
  __m512 a, b, hi, d;
  __m512i idx;
  void prepare(__m512 va, __m512 vb) {
    a = va;
    b = vb;
    // max(a, b) is a > b ? a : b and min(b, a) is b < a ? b : a, NaN and signed zeros included:
    // the scalar code's choice.
    hi = _mm512_max_ps(a, b);
    d = _mm512_sub_ps(_mm512_min_ps(b, a), hi);
    const __m512i one = _mm512_set1_epi32(1);
    idx = _mm512_maskz_mov_epi32(_mm512_cmp_ps_mask(d, _mm512_set1_ps(kSplitLow), _CMP_GE_OQ), one);
    idx = _mm512_mask_add_epi32(idx, _mm512_cmp_ps_mask(d, _mm512_set1_ps(kSplitHigh), _CMP_GE_OQ), idx, one);
  }
  __m512 finish(__m512 r) const {
    const __mmask16 drop = _mm512_cmp_ps_mask(d, _mm512_set1_ps(kDrop32f), _CMP_LT_OQ);
    r = _mm512_mask_mov_ps(r, drop, _mm512_max_ps(hi, _mm512_set1_ps(kLogZero32f)));
    return _mm512_mask_mov_ps(r, _mm512_cmp_ps_mask(d, d, _CMP_UNORD_Q), _mm512_add_ps(a, b));
  }
};

// kU groups of 16 lanes per pass with their Horner steps interleaved: each chain is serial, so
// the processor needs several in flight. What is left goes to half as many groups, down to one
// group at a time with masks.
template <int kU, class Corr>
void addRowGroups(const float* a, float* b, int n) {
  int i = 0;
  if constexpr (kU > 1) {
    for (; i + 16 * kU <= n; i += 16 * kU) {
      Lanes16 l[kU];
      __m512 r[kU];
      for (int u = 0; u < kU; ++u) l[u].prepare(_mm512_loadu_ps(a + i + 16 * u), _mm512_loadu_ps(b + i + 16 * u));
      Corr::template run<kU>(l, r);
      for (int u = 0; u < kU; ++u) _mm512_storeu_ps(b + i + 16 * u, l[u].finish(r[u]));
    }
    if (i < n) addRowGroups<kU / 2, Corr>(a + i, b + i, n - i);
  } else {
    for (; i < n; i += 16) {
      const __mmask16 m = tailMask(n - i);
      Lanes16 l[1];
      __m512 r[1];
      l[0].prepare(_mm512_maskz_loadu_ps(m, a + i), _mm512_maskz_loadu_ps(m, b + i));
      Corr::template run<1>(l, r);
      _mm512_mask_storeu_ps(b + i, m, l[0].finish(r[0]));
    }
  }
}

inline __m256 lower(__m512 v) { return _mm512_castps512_ps256(v); }
inline __m256 upper(__m512 v) { return _mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(v), 1)); }

// hi + correction in double, 8 lanes per register, 2 kU chains.
struct Corr64 {
  template <int kU>
  static void run(const Lanes16* l, __m512* r) {
    constexpr int kN = 2 * kU;
    const auto& tb = kTable64.row;
    __m512i k[kN];
    __m512d t[kN], p[kN];
    for (int v = 0; v < kN; ++v) {
      const Lanes16& g = l[v / 2];
      const __m256 d = v % 2 ? upper(g.d) : lower(g.d);
      // vpermpd reads the low three bits of each 64-bit index, so a copy of interval number i in
      // both halves of qword i will do: one permute instead of an extract and a widening.
      k[v] = _mm512_permutexvar_epi32(v % 2 ? _mm512_setr_epi32(8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13, 14, 14, 15, 15)
                                            : _mm512_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7),
                                      g.idx);
      t[v] = _mm512_sub_pd(_mm512_cvtps_pd(d), pick(k[v], tb[0]));
      p[v] = pick(k[v], tb[logadd::kDegree + 1]);
    }
    for (int j = logadd::kDegree - 1; j >= 0; --j) {
      for (int v = 0; v < kN; ++v) p[v] = _mm512_add_pd(_mm512_mul_pd(p[v], t[v]), pick(k[v], tb[j + 1]));
      for (int v = 0; v < kN; ++v) stepDone(p[v]);
    }
    for (int u = 0; u < kU; ++u) {
      const __m256 lo = _mm512_cvtpd_ps(_mm512_add_pd(_mm512_cvtps_pd(lower(l[u].hi)), p[2 * u]));
      const __m256 up = _mm512_cvtpd_ps(_mm512_add_pd(_mm512_cvtps_pd(upper(l[u].hi)), p[2 * u + 1]));
      r[u] = _mm512_insertf32x8(_mm512_castps256_ps512(lo), up, 1);
    }
  }
};

// hi + correction in float, 16 lanes per register.
struct Corr32 {
  template <int kU>
  static void run(const Lanes16* l, __m512* r) {
    const auto& tb = kTable32.row;
    __m512 t[kU], p[kU];
    for (int u = 0; u < kU; ++u) {
      t[u] = _mm512_sub_ps(l[u].d, pick(l[u].idx, tb[0]));
      p[u] = pick(l[u].idx, tb[logadd::kDegree + 1]);
    }
    for (int j = logadd::kDegree - 1; j >= 0; --j) {
      for (int u = 0; u < kU; ++u) p[u] = _mm512_add_ps(_mm512_mul_ps(p[u], t[u]), pick(l[u].idx, tb[j + 1]));
      for (int u = 0; u < kU; ++u) stepDone(p[u]);
    }
    for (int u = 0; u < kU; ++u) r[u] = _mm512_add_ps(l[u].hi, p[u]);
  }
};

void addRow(const float* a, float* b, int n) { addRowGroups<4, Corr64>(a, b, n); }
void addRowFast(const float* a, float* b, int n) { addRowGroups<8, Corr32>(a, b, n); }

// e^d for kU groups of 8 lanes, the arithmetic of expNeg, the groups' Horner steps interleaved.
template <int kU>
inline void expNeg8(__m512d* d) {
  __m512d k[kU], r[kU], p[kU];
  for (int u = 0; u < kU; ++u) {
    k[u] = _mm512_roundscale_pd(_mm512_mul_pd(d[u], _mm512_set1_pd(kLog2e)), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    r[u] = _mm512_sub_pd(_mm512_sub_pd(d[u], _mm512_mul_pd(k[u], _mm512_set1_pd(kLn2Hi))),
                         _mm512_mul_pd(k[u], _mm512_set1_pd(kLn2Lo)));
    p[u] = _mm512_set1_pd(kInvFact[kExpDegree]);
  }
  for (int j = kExpDegree - 1; j >= 0; --j)
    for (int u = 0; u < kU; ++u) {
      p[u] = _mm512_add_pd(_mm512_mul_pd(p[u], r[u]), _mm512_set1_pd(kInvFact[j]));
      stepDone(p[u]);
    }
  // p * 2^k in one instruction: the lanes kept have k >= -1010, where the scalar code's clamp
  // at -1022 is idle and both products are exact, so the bits agree.
  for (int u = 0; u < kU; ++u) {
    const __m512d v = _mm512_scalef_pd(p[u], k[u]);
    d[u] = _mm512_mask_mov_pd(v, _mm512_cmp_pd_mask(d[u], _mm512_set1_pd(kExpFloor), _CMP_LT_OQ), _mm512_setzero_pd());
  }
}

float sum32f(const float* x, int n) {
  __m256 mx = _mm256_set1_ps(x[0]);
  for (int i = 0; i < n; i += 8) {
    const __mmask8 m = __mmask8(tailMask(n - i));
    mx = _mm256_mask_max_ps(mx, m, _mm256_maskz_loadu_ps(m, x + i), mx);
  }
  alignas(32) float pm[8];
  _mm256_store_ps(pm, mx);
  const float top = maxLanes8(pm);
  float out;
  if (logSumTrivial(top, &out)) return out;
  const __m512d m = _mm512_set1_pd(double(top));
  __m512d acc = _mm512_setzero_pd();
  // Eight independent exponentials per step, their Horner chains interleaved, hide each other's
  // latency; they are added in element order, so each lane's sum is unchanged.
  constexpr int kU = 8;
  int i = 0;
  for (; i + 8 * kU <= n; i += 8 * kU) {
    __m512d e[kU];
    for (int u = 0; u < kU; ++u) e[u] = _mm512_sub_pd(_mm512_cvtps_pd(_mm256_loadu_ps(x + i + 8 * u)), m);
    expNeg8<kU>(e);
    for (int u = 0; u < kU; ++u) acc = _mm512_add_pd(acc, e[u]);
  }
  for (; i < n; i += 8) {
    const __mmask8 k = __mmask8(tailMask(n - i));
    __m512d d = _mm512_sub_pd(_mm512_cvtps_pd(_mm256_maskz_loadu_ps(k, x + i)), m);
    expNeg8<1>(&d);
    acc = _mm512_add_pd(acc, _mm512_maskz_mov_pd(k, d));
  }
  alignas(64) double ps[8];
  _mm512_store_pd(ps, acc);
  return logSumFinish(top, reduceLanes8(ps));
}

}  // namespace

const LogKernels& logKernelsAvx512() {
  static constexpr LogKernels k{addRow, addRowFast, sum32f};
  return k;
}

}  // namespace kels
