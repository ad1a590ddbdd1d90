// Row-distance kernels on 256-bit registers, shared by the AVX2 and AVX-512 targets: 8 float
// lanes or 4 double lanes in one register, the last partial block read with a masked load so
// no scalar tail is needed, and the lanes reduced in registers by the tree of dist.h. A masked
// lane reads 0 (1 for a variance), so its term is +0 and leaves the partial sum unchanged: a
// partial sum that starts at +0 can never become -0.
// The AVX-512 file defines KELS_YMM_KMASK first, to read tails with mask registers.
#pragma once

#include <immintrin.h>

#include "model/kernels/dist.h"

namespace kels {
namespace {

inline __m256i maskBits8i(int r) {
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(r), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}
inline __m256 maskBits8(int r) { return _mm256_castsi256_ps(maskBits8i(r)); }
inline __m256i maskBits4(int r) {
  return _mm256_cmpgt_epi64(_mm256_set1_epi64x(r), _mm256_setr_epi64x(0, 1, 2, 3));
}
#if defined(KELS_YMM_KMASK)
inline __m256 maskLoad8(const float* p, int r) { return _mm256_maskz_loadu_ps(__mmask8((1u << r) - 1), p); }
inline __m256d maskLoad4(const double* p, int r) { return _mm256_maskz_loadu_pd(__mmask8((1u << r) - 1), p); }
inline __m128 maskLoad4f(const float* p, int r) { return _mm_maskz_loadu_ps(__mmask8((1u << r) - 1), p); }
#else
inline __m256 maskLoad8(const float* p, int r) { return _mm256_maskload_ps(p, maskBits8i(r)); }
inline __m256d maskLoad4(const double* p, int r) { return _mm256_maskload_pd(p, maskBits4(r)); }
inline __m128 maskLoad4f(const float* p, int r) {
  return _mm_maskload_ps(p, _mm_cmpgt_epi32(_mm_set1_epi32(r), _mm_setr_epi32(0, 1, 2, 3)));
}
#endif

inline float reduce8(__m256 acc) {
  const __m128 q = _mm_add_ps(_mm256_castps256_ps128(acc), _mm256_extractf128_ps(acc, 1));
  const __m128 r = _mm_add_ps(q, _mm_movehl_ps(q, q));        // q0+q2, q1+q3
  return _mm_cvtss_f32(_mm_add_ss(r, _mm_shuffle_ps(r, r, 1)));
}
inline double reduce4(__m256d acc) {
  const __m128d q = _mm_add_pd(_mm256_castpd256_pd128(acc), _mm256_extractf128_pd(acc, 1));
  return _mm_cvtsd_f64(_mm_add_sd(q, _mm_unpackhi_pd(q, q)));
}

// Float sums: Term(x, mu, w) -> the 8 terms of one block, loaded by Load(ptr).
template <class Form>
inline float ymmSum32f(const float* x, const float* mu, const float* w, int n) {
  __m256 acc = _mm256_setzero_ps();
  int i = 0;
  for (; i + 8 <= n; i += 8)
    acc = _mm256_add_ps(acc, Form::term(_mm256_loadu_ps(x + i), _mm256_loadu_ps(mu + i),
                                        Form::kW ? _mm256_loadu_ps(w + i) : _mm256_setzero_ps()));
  if (i < n) {
    const int r = n - i;
    __m256 wt = _mm256_setzero_ps();
    if (Form::kW) wt = maskLoad8(w + i, r);
    if (Form::kDiv) wt = _mm256_blendv_ps(_mm256_set1_ps(1.0f), wt, maskBits8(r));
    acc = _mm256_add_ps(acc, Form::term(maskLoad8(x + i, r), maskLoad8(mu + i, r), wt));
  }
  return reduce8(acc);
}
struct Wsd {
  static constexpr bool kW = true, kDiv = false;
  static __m256 term(__m256 x, __m256 m, __m256 w) { const __m256 d = _mm256_sub_ps(x, m); return _mm256_mul_ps(_mm256_mul_ps(d, d), w); }
  static __m256d term(__m256d x, __m256d m, __m256d w) { const __m256d d = _mm256_sub_pd(x, m); return _mm256_mul_pd(_mm256_mul_pd(d, d), w); }
};
struct Sd {
  static constexpr bool kW = false, kDiv = false;
  static __m256 term(__m256 x, __m256 m, __m256) { const __m256 d = _mm256_sub_ps(x, m); return _mm256_mul_ps(d, d); }
  static __m256d term(__m256d x, __m256d m, __m256d) { const __m256d d = _mm256_sub_pd(x, m); return _mm256_mul_pd(d, d); }
};
struct Dvd {
  static constexpr bool kW = true, kDiv = true;
  static __m256 term(__m256 x, __m256 m, __m256 v) { const __m256 d = _mm256_sub_ps(x, m); return _mm256_div_ps(_mm256_mul_ps(d, d), v); }
  static __m256d term(__m256d x, __m256d m, __m256d v) { const __m256d d = _mm256_sub_pd(x, m); return _mm256_div_pd(_mm256_mul_pd(d, d), v); }
};

// Double sums over double or float data: 4 lanes.
struct Load64f {
  using T = double;
  static __m256d full(const double* p) { return _mm256_loadu_pd(p); }
  static __m256d part(const double* p, int r) { return maskLoad4(p, r); }
};
struct Load32f64f {
  using T = float;
  static __m256d full(const float* p) { return _mm256_cvtps_pd(_mm_loadu_ps(p)); }
  static __m256d part(const float* p, int r) { return _mm256_cvtps_pd(maskLoad4f(p, r)); }
};
template <class Form, class L>
inline double ymmSum64f(const typename L::T* x, const typename L::T* mu, const typename L::T* w, int n) {
  __m256d acc = _mm256_setzero_pd();
  int i = 0;
  for (; i + 4 <= n; i += 4)
    acc = _mm256_add_pd(acc, Form::term(L::full(x + i), L::full(mu + i),
                                        Form::kW ? L::full(w + i) : _mm256_setzero_pd()));
  if (i < n) {
    const int r = n - i;
    __m256d wt = _mm256_setzero_pd();
    if (Form::kW) wt = L::part(w + i, r);
    if (Form::kDiv) wt = _mm256_blendv_pd(_mm256_set1_pd(1.0), wt, _mm256_castsi256_pd(maskBits4(r)));
    acc = _mm256_add_pd(acc, Form::term(L::part(x + i, r), L::part(mu + i, r), wt));
  }
  return reduce4(acc);
}

// 16-bit data: exact int32 differences, converted to float; the tail goes through dist.h.
inline __m256 diff16s(const std::int16_t* x, const std::int16_t* mu) {
  const __m256i a = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x)));
  const __m256i b = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mu)));
  return _mm256_cvtepi32_ps(_mm256_sub_epi32(a, b));
}
inline __m256 load16s(const std::int16_t* w) {
  return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(w))));
}
template <class Form, class Term>
inline float ymmSum16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n, Term tail) {
  __m256 acc = _mm256_setzero_ps();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m256 d = diff16s(x + i, mu + i);
    __m256 t = _mm256_mul_ps(d, d);
    if (Form::kDiv) t = _mm256_div_ps(t, load16s(w + i));
    else if (Form::kW) t = _mm256_mul_ps(t, load16s(w + i));
    acc = _mm256_add_ps(acc, t);
  }
  alignas(32) float p[8];
  _mm256_store_ps(p, acc);
  return finishSum(p, tail, i, n);
}

// Low split evaluation: 16 elements per pass, exact 64-bit sums (order free).
inline std::int64_t ymmLow16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w,
                              int n, int sf) {
  const __m256i one = _mm256_set1_epi16(1);
  const __m128i shLo = _mm_cvtsi32_si128(sf), shHi = _mm_cvtsi32_si128(15 - sf);
  __m256i acc = _mm256_setzero_si256();  // 4 x int64
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m256i d = _mm256_subs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x + i)),
                                        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(mu + i)));
    const __m256i wv = w ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(w + i)) : one;
    // d*d as 32 bits, split: high half = mulhi (as unsigned: d*d <= 2^30 so it is positive),
    // low half = mullo as unsigned 16 bits, halved.
    const __m256i hi = _mm256_mulhi_epi16(d, d);
    const __m256i lo = _mm256_srli_epi16(_mm256_mullo_epi16(d, d), 1);
    // 16 x 16 -> 32: madd of (hi, 0) pairs would mix lanes; widen instead.
    const __m256i hiA = _mm256_cvtepi16_epi32(_mm256_castsi256_si128(hi));
    const __m256i hiB = _mm256_cvtepi16_epi32(_mm256_extracti128_si256(hi, 1));
    const __m256i loA = _mm256_cvtepu16_epi32(_mm256_castsi256_si128(lo));
    const __m256i loB = _mm256_cvtepu16_epi32(_mm256_extracti128_si256(lo, 1));
    const __m256i wA = _mm256_cvtepi16_epi32(_mm256_castsi256_si128(wv));
    const __m256i wB = _mm256_cvtepi16_epi32(_mm256_extracti128_si256(wv, 1));
    const __m256i ph[2] = {_mm256_mullo_epi32(hiA, wA), _mm256_mullo_epi32(hiB, wB)};
    const __m256i pl[2] = {_mm256_sra_epi32(_mm256_mullo_epi32(loA, wA), shLo),
                           _mm256_sra_epi32(_mm256_mullo_epi32(loB, wB), shLo)};
    for (int h = 0; h < 2; ++h) {
      const __m256i h0 = _mm256_sll_epi64(_mm256_cvtepi32_epi64(_mm256_castsi256_si128(ph[h])), shHi);
      const __m256i h1 = _mm256_sll_epi64(_mm256_cvtepi32_epi64(_mm256_extracti128_si256(ph[h], 1)), shHi);
      const __m256i l0 = _mm256_cvtepi32_epi64(_mm256_castsi256_si128(pl[h]));
      const __m256i l1 = _mm256_cvtepi32_epi64(_mm256_extracti128_si256(pl[h], 1));
      acc = _mm256_add_epi64(acc, _mm256_add_epi64(_mm256_add_epi64(h0, h1), _mm256_add_epi64(l0, l1)));
    }
  }
  alignas(32) std::int64_t q[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(q), acc);
  std::int64_t s = (q[0] + q[1]) + (q[2] + q[3]);
  for (; i < n; ++i) s += lowTerm(x[i], mu[i], w ? w[i] : 1, sf);
  return s;
}

}  // namespace
}  // namespace kels
