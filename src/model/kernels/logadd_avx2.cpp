// AVX2 log-add and log-sum kernels (the same bits as logadd_scalar.h): each lane's interval picks
// its coefficients with one cross-lane permute per Horner step; tails run the scalar code.
#include <immintrin.h>

#include "model/kernels/logadd_simd.h"

namespace kels {
namespace {

// A 32-bit permute picks from a table row: doubles through pairs of indices.
constexpr CoefTable<double, 4> kTable64;
constexpr CoefTable<float, 8> kTable32;

// 32-bit permute indices (2k, 2k+1) that fetch double k, from four interval numbers.
inline __m256i pairIndex(__m128i k) {
  const __m256i v = _mm256_cvtepu32_epi64(k);
  return _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi64(v, 1), _mm256_slli_epi64(v, 33)),
                         _mm256_set1_epi64x(std::int64_t(1) << 32));
}
inline __m256d pick(__m256i k, const double* row) {
  return _mm256_castps_pd(_mm256_permutevar8x32_ps(_mm256_castpd_ps(_mm256_load_pd(row)), k));
}
inline __m256 pick(__m256i k, const float* row) { return _mm256_permutevar8x32_ps(_mm256_load_ps(row), k); }

// The lanes' common steps: ordering, d = lo - hi, the interval number; and the final choice
// between the corrected sum, the floored maximum (dropped correction) and a + b (NaN).
struct Lanes8 {
  __m256 a, b, hi, d;
  __m256i idx;
  void prepare(__m256 va, __m256 vb) {
    a = va;
    b = vb;
    // max(a, b) is a > b ? a : b and min(b, a) is b < a ? b : a, NaN and signed zeros included:
    // the scalar code's choice.
    hi = _mm256_max_ps(a, b);
    d = _mm256_sub_ps(_mm256_min_ps(b, a), hi);
    idx = _mm256_sub_epi32(
        _mm256_sub_epi32(_mm256_setzero_si256(), _mm256_castps_si256(_mm256_cmp_ps(d, _mm256_set1_ps(kSplitLow), _CMP_GE_OQ))),
        _mm256_castps_si256(_mm256_cmp_ps(d, _mm256_set1_ps(kSplitHigh), _CMP_GE_OQ)));
  }
  __m256 finish(__m256 r) const {
    r = _mm256_blendv_ps(r, _mm256_max_ps(hi, _mm256_set1_ps(kLogZero32f)), _mm256_cmp_ps(d, _mm256_set1_ps(kDrop32f), _CMP_LT_OQ));
    return _mm256_blendv_ps(r, _mm256_add_ps(a, b), _mm256_cmp_ps(d, d, _CMP_UNORD_Q));
  }
};

// hi + correction in double, 4 lanes per register, 2 kU chains.
struct Corr64 {
  template <int kU>
  static void run(const Lanes8* l, __m256* r) {
    constexpr int kN = 2 * kU;
    const auto& tb = kTable64.row;
    __m256i k[kN];
    __m256d t[kN], p[kN];
    for (int v = 0; v < kN; ++v) {
      const Lanes8& g = l[v / 2];
      k[v] = pairIndex(v % 2 ? _mm256_extracti128_si256(g.idx, 1) : _mm256_castsi256_si128(g.idx));
      const __m128 d = v % 2 ? _mm256_extractf128_ps(g.d, 1) : _mm256_castps256_ps128(g.d);
      t[v] = _mm256_sub_pd(_mm256_cvtps_pd(d), pick(k[v], tb[0]));
      p[v] = pick(k[v], tb[logadd::kDegree + 1]);
    }
    for (int j = logadd::kDegree - 1; j >= 0; --j) {
      for (int v = 0; v < kN; ++v) p[v] = _mm256_add_pd(_mm256_mul_pd(p[v], t[v]), pick(k[v], tb[j + 1]));
      for (int v = 0; v < kN; ++v) stepDone(p[v]);
    }
    for (int u = 0; u < kU; ++u) {
      const __m128 lo = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(l[u].hi)), p[2 * u]));
      const __m128 up = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(l[u].hi, 1)), p[2 * u + 1]));
      r[u] = _mm256_set_m128(up, lo);
    }
  }
};

// hi + correction in float, 8 lanes per register.
struct Corr32 {
  template <int kU>
  static void run(const Lanes8* l, __m256* r) {
    const auto& tb = kTable32.row;
    __m256 t[kU], p[kU];
    for (int u = 0; u < kU; ++u) {
      t[u] = _mm256_sub_ps(l[u].d, pick(l[u].idx, tb[0]));
      p[u] = pick(l[u].idx, tb[logadd::kDegree + 1]);
    }
    for (int j = logadd::kDegree - 1; j >= 0; --j) {
      for (int u = 0; u < kU; ++u) p[u] = _mm256_add_ps(_mm256_mul_ps(p[u], t[u]), pick(l[u].idx, tb[j + 1]));
      for (int u = 0; u < kU; ++u) stepDone(p[u]);
    }
    for (int u = 0; u < kU; ++u) r[u] = _mm256_add_ps(l[u].hi, p[u]);
  }
};

// kU groups of 8 lanes per pass with their Horner steps interleaved; what is left goes to half
// as many groups, down to one, and the last few lanes to the scalar code.
template <int kU, class Corr, bool kFast>
void addRowGroups(const float* a, float* b, int n) {
  int i = 0;
  for (; i + 8 * kU <= n; i += 8 * kU) {
    Lanes8 l[kU];
    __m256 r[kU];
    for (int u = 0; u < kU; ++u) l[u].prepare(_mm256_loadu_ps(a + i + 8 * u), _mm256_loadu_ps(b + i + 8 * u));
    Corr::template run<kU>(l, r);
    for (int u = 0; u < kU; ++u) _mm256_storeu_ps(b + i + 8 * u, l[u].finish(r[u]));
  }
  if constexpr (kU > 1) {
    if (i < n) addRowGroups<kU / 2, Corr, kFast>(a + i, b + i, n - i);
  } else {
    for (; i < n; ++i) b[i] = logAddElem<kFast>(a[i], b[i]);
  }
}
void addRow(const float* a, float* b, int n) { addRowGroups<4, Corr64, false>(a, b, n); }
void addRowFast(const float* a, float* b, int n) { addRowGroups<8, Corr32, true>(a, b, n); }

// e^d for kU groups of 4 lanes, the arithmetic of expNeg, the groups' Horner steps interleaved.
template <int kU>
inline void expNeg4(__m256d* d) {
  __m256d k[kU], r[kU], p[kU];
  for (int u = 0; u < kU; ++u) {
    k[u] = _mm256_round_pd(_mm256_mul_pd(d[u], _mm256_set1_pd(kLog2e)), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    r[u] = _mm256_sub_pd(_mm256_sub_pd(d[u], _mm256_mul_pd(k[u], _mm256_set1_pd(kLn2Hi))),
                         _mm256_mul_pd(k[u], _mm256_set1_pd(kLn2Lo)));
    p[u] = _mm256_set1_pd(kInvFact[kExpDegree]);
  }
  for (int j = kExpDegree - 1; j >= 0; --j)
    for (int u = 0; u < kU; ++u) {
      p[u] = _mm256_add_pd(_mm256_mul_pd(p[u], r[u]), _mm256_set1_pd(kInvFact[j]));
      stepDone(p[u]);
    }
  for (int u = 0; u < kU; ++u) {
    const __m128i ki = _mm_max_epi32(_mm256_cvtpd_epi32(k[u]), _mm_set1_epi32(-1022));
    const __m256i e = _mm256_slli_epi64(_mm256_add_epi64(_mm256_cvtepi32_epi64(ki), _mm256_set1_epi64x(1023)), 52);
    const __m256d v = _mm256_mul_pd(p[u], _mm256_castsi256_pd(e));
    d[u] = _mm256_andnot_pd(_mm256_cmp_pd(d[u], _mm256_set1_pd(kExpFloor), _CMP_LT_OQ), v);
  }
}

float sum32f(const float* x, int n) {
  __m256 mx = _mm256_set1_ps(x[0]);
  int i = 0;
  for (; i + 8 <= n; i += 8) mx = _mm256_max_ps(_mm256_loadu_ps(x + i), mx);
  alignas(32) float pm[8];
  _mm256_store_ps(pm, mx);
  const float top = finishMax(pm, x, i, n);
  float out;
  if (logSumTrivial(top, &out)) return out;
  const __m256d m = _mm256_set1_pd(double(top));
  __m256d a0 = _mm256_setzero_pd(), a1 = _mm256_setzero_pd();
  // Four blocks of 8 per step, their eight exponentials' Horner steps interleaved; a0 takes the
  // low four lanes of each block and a1 the high four, in element order, so each lane's sum is
  // unchanged.
  constexpr int kBlocks = 4;
  const auto expBlocks = [&](const float* p, __m256d* e, int blocks) {
    for (int b = 0; b < blocks; ++b) {
      const __m256 v = _mm256_loadu_ps(p + 8 * b);
      e[2 * b] = _mm256_sub_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(v)), m);
      e[2 * b + 1] = _mm256_sub_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)), m);
    }
  };
  for (i = 0; i + 8 * kBlocks <= n; i += 8 * kBlocks) {
    __m256d e[2 * kBlocks];
    expBlocks(x + i, e, kBlocks);
    expNeg4<2 * kBlocks>(e);
    for (int b = 0; b < kBlocks; ++b) {
      a0 = _mm256_add_pd(a0, e[2 * b]);
      a1 = _mm256_add_pd(a1, e[2 * b + 1]);
    }
  }
  for (; i + 8 <= n; i += 8) {
    __m256d e[2];
    expBlocks(x + i, e, 1);
    expNeg4<2>(e);
    a0 = _mm256_add_pd(a0, e[0]);
    a1 = _mm256_add_pd(a1, e[1]);
  }
  alignas(32) double ps[8];
  _mm256_store_pd(ps, a0);
  _mm256_store_pd(ps + 4, a1);
  return logSumFinish(top, finishExpSum(ps, x, top, i, n));
}

}  // namespace

const LogKernels& logKernelsAvx2() {
  static constexpr LogKernels k{addRow, addRowFast, sum32f};
  return k;
}

}  // namespace kels
