// AVX-512 row-distance kernels (bit-identical to dist.h). Single rows are too short to gain from
// 512-bit registers: they run the 256-bit code with mask-register tails. Pairs of rows share one
// 512-bit register, row a in the low 8 lanes and row b in the high 8, and are reduced together
// by the tree of dist.h.
// GCC 12 reports its own _mm512_undefined_* placeholders in the intrinsic headers.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#define KELS_YMM_KMASK 1
#include "model/kernels/dist_ymm.h"

namespace kels {
namespace {

float wsd32f(const float* x, const float* mu, const float* w, int n) { return ymmSum32f<Wsd>(x, mu, w, n); }
float sd32f(const float* x, const float* mu, int n) { return ymmSum32f<Sd>(x, mu, nullptr, n); }
float dvd32f(const float* x, const float* mu, const float* v, int n) { return ymmSum32f<Dvd>(x, mu, v, n); }
double wsd64f(const double* x, const double* mu, const double* w, int n) { return ymmSum64f<Wsd, Load64f>(x, mu, w, n); }
double sd64f(const double* x, const double* mu, int n) { return ymmSum64f<Sd, Load64f>(x, mu, nullptr, n); }
double dvd64f(const double* x, const double* mu, const double* v, int n) { return ymmSum64f<Dvd, Load64f>(x, mu, v, n); }
double wsd32f64f(const float* x, const float* mu, const float* w, int n) { return ymmSum64f<Wsd, Load32f64f>(x, mu, w, n); }
double sd32f64f(const float* x, const float* mu, int n) { return ymmSum64f<Sd, Load32f64f>(x, mu, nullptr, n); }
double dvd32f64f(const float* x, const float* mu, const float* v, int n) { return ymmSum64f<Dvd, Load32f64f>(x, mu, v, n); }
float wsd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) {
  return ymmSum16s<Wsd>(x, mu, w, n, WsdTerm16s{x, mu, w});
}
float sd16s(const std::int16_t* x, const std::int16_t* mu, int n) {
  return ymmSum16s<Sd>(x, mu, nullptr, n, SdTerm16s{x, mu});
}
float dvd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* v, int n) {
  return ymmSum16s<Dvd>(x, mu, v, n, DvdTerm16s{x, mu, v});
}
std::int64_t lowWsd16s(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n, int sf) {
  return ymmLow16s(x, mu, w, n, sf);
}
std::int64_t lowSd16s(const std::int16_t* x, const std::int16_t* mu, int n, int sf) {
  return ymmLow16s(x, mu, nullptr, n, sf);
}

// Rows a and b of one 8-column block in one register; the mean and weights in both halves.
inline __m512 rowsBlock(const float* a, const float* b) {
  return _mm512_insertf32x8(_mm512_castps256_ps512(_mm256_loadu_ps(a)), _mm256_loadu_ps(b), 1);
}
inline __m512 bothHalves(const float* p) { return _mm512_broadcast_f32x8(_mm256_loadu_ps(p)); }
inline __m512 rowsBlock(const float* a, const float* b, __mmask8 m) {
  return _mm512_insertf32x8(_mm512_castps256_ps512(_mm256_maskz_loadu_ps(m, a)), _mm256_maskz_loadu_ps(m, b), 1);
}
inline __m512 bothHalves(const float* p, __mmask8 m) { return _mm512_broadcast_f32x8(_mm256_maskz_loadu_ps(m, p)); }

template <bool kW>
inline __m512 pairTerm(__m512 x, __m512 mu, __m512 w) {
  const __m512 d = _mm512_sub_ps(x, mu);
  return kW ? _mm512_mul_ps(_mm512_mul_ps(d, d), w) : _mm512_mul_ps(d, d);
}

template <bool kW>
void pair32f(const float* xa, const float* xb, const float* mu, const float* w, int n, float* sa, float* sb) {
  __m512 acc = _mm512_setzero_ps();
  int i = 0;
  for (; i + 8 <= n; i += 8)
    acc = _mm512_add_ps(acc, pairTerm<kW>(rowsBlock(xa + i, xb + i), bothHalves(mu + i), kW ? bothHalves(w + i) : acc));
  if (i < n) {
    const __mmask8 m = __mmask8((1u << (n - i)) - 1);
    acc = _mm512_add_ps(acc, pairTerm<kW>(rowsBlock(xa + i, xb + i, m), bothHalves(mu + i, m), kW ? bothHalves(w + i, m) : acc));
  }
  // The tree of dist.h in both halves: lane k + lane k+4, then (q0+q2) + (q1+q3).
  const __m512 q = _mm512_add_ps(acc, _mm512_shuffle_f32x4(acc, acc, _MM_SHUFFLE(2, 3, 0, 1)));
  const __m512 r = _mm512_add_ps(q, _mm512_permute_ps(q, _MM_SHUFFLE(1, 0, 3, 2)));
  const __m512 s = _mm512_add_ps(r, _mm512_permute_ps(r, _MM_SHUFFLE(2, 3, 0, 1)));
  *sa = _mm512_cvtss_f32(s);
  *sb = _mm_cvtss_f32(_mm512_extractf32x4_ps(s, 2));
}
// Four rows: rows 0|1 and 2|3 in two registers, two independent chains; after the first step
// of the tree each half holds its result twice, so one blend puts all four rows in one register.
template <bool kW>
void quad32f(const float* const* x, const float* mu, const float* w, int n, float* s) {
  __m512 a01 = _mm512_setzero_ps(), a23 = _mm512_setzero_ps();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m512 m = bothHalves(mu + i), wt = kW ? bothHalves(w + i) : m;
    a01 = _mm512_add_ps(a01, pairTerm<kW>(rowsBlock(x[0] + i, x[1] + i), m, wt));
    a23 = _mm512_add_ps(a23, pairTerm<kW>(rowsBlock(x[2] + i, x[3] + i), m, wt));
  }
  if (i < n) {
    const __mmask8 k = __mmask8((1u << (n - i)) - 1);
    const __m512 m = bothHalves(mu + i, k), wt = kW ? bothHalves(w + i, k) : m;
    a01 = _mm512_add_ps(a01, pairTerm<kW>(rowsBlock(x[0] + i, x[1] + i, k), m, wt));
    a23 = _mm512_add_ps(a23, pairTerm<kW>(rowsBlock(x[2] + i, x[3] + i, k), m, wt));
  }
  const __m512 q01 = _mm512_add_ps(a01, _mm512_shuffle_f32x4(a01, a01, _MM_SHUFFLE(2, 3, 0, 1)));
  const __m512 q23 = _mm512_add_ps(a23, _mm512_shuffle_f32x4(a23, a23, _MM_SHUFFLE(2, 3, 0, 1)));
  const __m512 q = _mm512_mask_blend_ps(0xF0F0, q01, q23);  // blocks: row 0, row 2, row 1, row 3
  const __m512 r = _mm512_add_ps(q, _mm512_permute_ps(q, _MM_SHUFFLE(1, 0, 3, 2)));
  const __m512 t = _mm512_add_ps(r, _mm512_permute_ps(r, _MM_SHUFFLE(2, 3, 0, 1)));
  alignas(64) float out[16];
  _mm512_store_ps(out, t);
  s[0] = out[0];
  s[1] = out[8];
  s[2] = out[4];
  s[3] = out[12];
}
void wsd32f4(const float* const* x, const float* mu, const float* w, int n, float* s) { quad32f<true>(x, mu, w, n, s); }
void sd32f4(const float* const* x, const float* mu, int n, float* s) { quad32f<false>(x, mu, nullptr, n, s); }

void wsd32f2(const float* xa, const float* xb, const float* mu, const float* w, int n, float* sa, float* sb) {
  pair32f<true>(xa, xb, mu, w, n, sa, sb);
}
void sd32f2(const float* xa, const float* xb, const float* mu, int n, float* sa, float* sb) {
  pair32f<false>(xa, xb, mu, nullptr, n, sa, sb);
}

}  // namespace

extern const DistKernels kDistAvx512{wsd32f,    sd32f,     dvd32f, wsd64f, sd64f,     dvd64f,   wsd32f64f, sd32f64f,
                                 dvd32f64f, wsd16s,    sd16s,  dvd16s, lowWsd16s, lowSd16s, wsd32f2,   sd32f2,
                                 wsd32f4,   sd32f4};

}  // namespace kels
