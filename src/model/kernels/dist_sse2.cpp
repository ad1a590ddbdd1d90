// SSE2 row-distance kernels (bit-identical to dist.h): the 8 float lanes live in two registers,
// the 4 double lanes in two; the tail runs through dist.h's finishing code.
#include <emmintrin.h>

#include "model/kernels/dist.h"

namespace kels {
namespace {

struct Wsd {
  static constexpr bool kW = true, kDiv = false;
  static __m128 term(__m128 d, __m128 w) { return _mm_mul_ps(_mm_mul_ps(d, d), w); }
  static __m128d term(__m128d d, __m128d w) { return _mm_mul_pd(_mm_mul_pd(d, d), w); }
};
struct Sd {
  static constexpr bool kW = false, kDiv = false;
  static __m128 term(__m128 d, __m128) { return _mm_mul_ps(d, d); }
  static __m128d term(__m128d d, __m128d) { return _mm_mul_pd(d, d); }
};
struct Dvd {
  static constexpr bool kW = true, kDiv = true;
  static __m128 term(__m128 d, __m128 v) { return _mm_div_ps(_mm_mul_ps(d, d), v); }
  static __m128d term(__m128d d, __m128d v) { return _mm_div_pd(_mm_mul_pd(d, d), v); }
};

template <class Form, class Term>
float sum32f(const float* x, const float* mu, const float* w, int n, Term tail) {
  __m128 a0 = _mm_setzero_ps(), a1 = _mm_setzero_ps();
  const __m128 z = _mm_setzero_ps();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    a0 = _mm_add_ps(a0, Form::term(_mm_sub_ps(_mm_loadu_ps(x + i), _mm_loadu_ps(mu + i)),
                                   Form::kW ? _mm_loadu_ps(w + i) : z));
    a1 = _mm_add_ps(a1, Form::term(_mm_sub_ps(_mm_loadu_ps(x + i + 4), _mm_loadu_ps(mu + i + 4)),
                                   Form::kW ? _mm_loadu_ps(w + i + 4) : z));
  }
  alignas(16) float p[8];
  _mm_store_ps(p, a0);
  _mm_store_ps(p + 4, a1);
  return finishSum(p, tail, i, n);
}

struct Load64f {
  static __m128d lo(const double* p) { return _mm_loadu_pd(p); }
  static __m128d hi(const double* p) { return _mm_loadu_pd(p + 2); }
};
struct Load32f64f {
  static __m128d lo(const float* p) {  // two floats, any alignment
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  }
  static __m128d hi(const float* p) { return lo(p + 2); }
};
template <class Form, class L, class T, class Term>
double sum64f(const T* x, const T* mu, const T* w, int n, Term tail) {
  __m128d a0 = _mm_setzero_pd(), a1 = _mm_setzero_pd();
  const __m128d z = _mm_setzero_pd();
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    a0 = _mm_add_pd(a0, Form::term(_mm_sub_pd(L::lo(x + i), L::lo(mu + i)), Form::kW ? L::lo(w + i) : z));
    a1 = _mm_add_pd(a1, Form::term(_mm_sub_pd(L::hi(x + i), L::hi(mu + i)), Form::kW ? L::hi(w + i) : z));
  }
  alignas(16) double p[4];
  _mm_store_pd(p, a0);
  _mm_store_pd(p + 2, a1);
  return finishSum(p, tail, i, n);
}

inline __m128i load8x16(const std::int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline __m128i widenLo(__m128i v) { return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16); }
inline __m128i widenHi(__m128i v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }

template <class Form, class Term>
float sum16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n, Term tail) {
  __m128 a0 = _mm_setzero_ps(), a1 = _mm_setzero_ps();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i xv = load8x16(x + i), mv = load8x16(mu + i);
    const __m128 d0 = _mm_cvtepi32_ps(_mm_sub_epi32(widenLo(xv), widenLo(mv)));
    const __m128 d1 = _mm_cvtepi32_ps(_mm_sub_epi32(widenHi(xv), widenHi(mv)));
    __m128 w0 = _mm_setzero_ps(), w1 = _mm_setzero_ps();
    if (Form::kW) {
      const __m128i wv = load8x16(w + i);
      w0 = _mm_cvtepi32_ps(widenLo(wv));
      w1 = _mm_cvtepi32_ps(widenHi(wv));
    }
    a0 = _mm_add_ps(a0, Form::term(d0, w0));
    a1 = _mm_add_ps(a1, Form::term(d1, w1));
  }
  alignas(16) float p[8];
  _mm_store_ps(p, a0);
  _mm_store_ps(p + 4, a1);
  return finishSum(p, tail, i, n);
}

inline __m128i sext64Lo(__m128i v) { return _mm_unpacklo_epi32(v, _mm_srai_epi32(v, 31)); }
inline __m128i sext64Hi(__m128i v) { return _mm_unpackhi_epi32(v, _mm_srai_epi32(v, 31)); }

// Low split evaluation, 8 elements per pass; madd of (a, 0) pairs is the 16 x 16 -> 32 product.
std::int64_t low16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n, int sf) {
  const __m128i zero = _mm_setzero_si128(), one = _mm_set1_epi16(1);
  const __m128i shLo = _mm_cvtsi32_si128(sf), shHi = _mm_cvtsi32_si128(15 - sf);
  __m128i acc = zero;
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i d = _mm_subs_epi16(load8x16(x + i), load8x16(mu + i));
    const __m128i wv = w ? load8x16(w + i) : one;
    const __m128i hi = _mm_mulhi_epi16(d, d);                     // d*d <= 2^30: non-negative
    const __m128i lo = _mm_srli_epi16(_mm_mullo_epi16(d, d), 1);  // <= 32767: fits signed 16
    const __m128i ph[2] = {_mm_madd_epi16(_mm_unpacklo_epi16(hi, zero), _mm_unpacklo_epi16(wv, zero)),
                           _mm_madd_epi16(_mm_unpackhi_epi16(hi, zero), _mm_unpackhi_epi16(wv, zero))};
    const __m128i pl[2] = {
        _mm_sra_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(lo, zero), _mm_unpacklo_epi16(wv, zero)), shLo),
        _mm_sra_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(lo, zero), _mm_unpackhi_epi16(wv, zero)), shLo)};
    for (int h = 0; h < 2; ++h) {
      const __m128i hs = _mm_add_epi64(_mm_sll_epi64(sext64Lo(ph[h]), shHi), _mm_sll_epi64(sext64Hi(ph[h]), shHi));
      acc = _mm_add_epi64(acc, _mm_add_epi64(hs, _mm_add_epi64(sext64Lo(pl[h]), sext64Hi(pl[h]))));
    }
  }
  alignas(16) std::int64_t q[2];
  _mm_store_si128(reinterpret_cast<__m128i*>(q), acc);
  std::int64_t s = q[0] + q[1];
  for (; i < n; ++i) s += lowTerm(x[i], mu[i], w ? w[i] : 1, sf);
  return s;
}

float wsd32f(const float* x, const float* mu, const float* w, int n) { return sum32f<Wsd>(x, mu, w, n, WsdTerm<float, float>{x, mu, w}); }
float sd32f(const float* x, const float* mu, int n) { return sum32f<Sd>(x, mu, nullptr, n, SdTerm<float, float>{x, mu}); }
float dvd32f(const float* x, const float* mu, const float* v, int n) { return sum32f<Dvd>(x, mu, v, n, DvdTerm<float, float>{x, mu, v}); }
double wsd64f(const double* x, const double* mu, const double* w, int n) { return sum64f<Wsd, Load64f>(x, mu, w, n, WsdTerm<double, double>{x, mu, w}); }
double sd64f(const double* x, const double* mu, int n) { return sum64f<Sd, Load64f>(x, mu, (const double*)nullptr, n, SdTerm<double, double>{x, mu}); }
double dvd64f(const double* x, const double* mu, const double* v, int n) { return sum64f<Dvd, Load64f>(x, mu, v, n, DvdTerm<double, double>{x, mu, v}); }
double wsd32f64f(const float* x, const float* mu, const float* w, int n) { return sum64f<Wsd, Load32f64f>(x, mu, w, n, WsdTerm<double, float>{x, mu, w}); }
double sd32f64f(const float* x, const float* mu, int n) { return sum64f<Sd, Load32f64f>(x, mu, (const float*)nullptr, n, SdTerm<double, float>{x, mu}); }
double dvd32f64f(const float* x, const float* mu, const float* v, int n) { return sum64f<Dvd, Load32f64f>(x, mu, v, n, DvdTerm<double, float>{x, mu, v}); }
float wsd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) { return sum16s<Wsd>(x, mu, w, n, WsdTerm16s{x, mu, w}); }
float sd16s(const std::int16_t* x, const std::int16_t* mu, int n) { return sum16s<Sd>(x, mu, nullptr, n, SdTerm16s{x, mu}); }
float dvd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* v, int n) { return sum16s<Dvd>(x, mu, v, n, DvdTerm16s{x, mu, v}); }
std::int64_t lowWsd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n, int sf) { return low16s(x, mu, w, n, sf); }
std::int64_t lowSd16s(const std::int16_t* x, const std::int16_t* mu, int n, int sf) { return low16s(x, mu, nullptr, n, sf); }

}  // namespace

extern const DistKernels kDistSse2{wsd32f,    sd32f,    dvd32f,    wsd64f, sd64f,  dvd64f,    wsd32f64f,
                                 sd32f64f,  dvd32f64f, wsd16s,   sd16s,  dvd16s, lowWsd16s, lowSd16s};

}  // namespace kels
