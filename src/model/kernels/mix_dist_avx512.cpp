// AVX-512 multi-row distances: the 256-bit kernels with tails read through mask registers, and
// for many float rows against one mean (the frames of a block against one Gaussian) eight rows
// per pass with two rows in each 512-bit register, row a in the low 8 lanes and row b in the high
// 8: one instruction forms the terms of both. One frame against many Gaussians stays in 256-bit
// registers: forming 16 terms of a Gaussian at once and regrouping pairs by shuffles, or
// pairing Gaussians by inserts, both measured slower than the 256-bit kernel here.
// GCC 12 reports its own _mm512_undefined_* placeholders in the intrinsic headers.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#define KELS_YMM_KMASK 1
#include "model/kernels/mix_dist_ymm.h"

namespace kels::model {
namespace {

constexpr int kPairs = 4;  // 8 rows per pass

// Rows a and b of one 8-column block in one register; the mean and weights in both halves.
inline __m512 rowsBlock(const float* a, const float* b) {
  return _mm512_insertf32x8(_mm512_castps256_ps512(_mm256_loadu_ps(a)), _mm256_loadu_ps(b), 1);
}
inline __m512 rowsBlock(const float* a, const float* b, __mmask8 k) {
  return _mm512_insertf32x8(_mm512_castps256_ps512(_mm256_maskz_loadu_ps(k, a)), _mm256_maskz_loadu_ps(k, b), 1);
}
inline __m512 bothHalves(const float* p) { return _mm512_broadcast_f32x8(_mm256_loadu_ps(p)); }
inline __m512 bothHalves(const float* p, __mmask8 k) { return _mm512_broadcast_f32x8(_mm256_maskz_loadu_ps(k, p)); }

template <class Form>
inline __m512 pairTerm(__m512 x, __m512 mu, __m512 w) {
  const __m512 d = _mm512_sub_ps(x, mu);
  return Form::kW ? _mm512_mul_ps(_mm512_mul_ps(d, d), w) : _mm512_mul_ps(d, d);
}

// The tree of dist.h for eight rows held in pairs a[0..3] (rows 2p | 2p+1): lane l + lane l+4
// in every half, then (q0 + q2) + (q1 + q3). After the first step each half holds its row's
// q0..q3 twice, so one blend puts four rows in one register; lane 0 of each 128-bit block keeps
// the operand order of the single-row tree.
inline void reduce8Rows(const __m512* a, float* s) {
  __m512 q[kPairs];
  for (int p = 0; p < kPairs; ++p) q[p] = _mm512_add_ps(a[p], _mm512_shuffle_f32x4(a[p], a[p], _MM_SHUFFLE(2, 3, 0, 1)));
  // Blocks: rows 0, 2, 1, 3 and rows 4, 6, 5, 7.
  const __m512 lo = _mm512_mask_blend_ps(0xF0F0, q[0], q[1]), hi = _mm512_mask_blend_ps(0xF0F0, q[2], q[3]);
  __m512 r[2] = {lo, hi};
  for (auto& v : r) {
    v = _mm512_add_ps(v, _mm512_permute_ps(v, _MM_SHUFFLE(1, 0, 3, 2)));
    v = _mm512_add_ps(v, _mm512_permute_ps(v, _MM_SHUFFLE(2, 3, 0, 1)));
  }
  const __m512i order = _mm512_setr_epi32(0, 8, 4, 12, 16, 24, 20, 28, 0, 0, 0, 0, 0, 0, 0, 0);
  _mm256_storeu_ps(s, _mm512_castps512_ps256(_mm512_permutex2var_ps(r[0], order, r[1])));
}

template <class Form>
void rows8(RowSrc<Kels32f> x, const Kels32f* m, const Kels32f* w, int j, int n, float* s) {
  const Kels32f* xr[2 * kPairs];
  for (int r = 0; r < 2 * kPairs; ++r) xr[r] = x[j + r];
  __m512 acc[kPairs];
  for (auto& a : acc) a = _mm512_setzero_ps();
  const int body = n & ~7;
  for (int i = 0; i < body; i += 8) {
    const __m512 mv = bothHalves(m + i), wv = Form::kW ? bothHalves(w + i) : mv;
    for (int p = 0; p < kPairs; ++p)
      acc[p] = _mm512_add_ps(acc[p], pairTerm<Form>(rowsBlock(xr[2 * p] + i, xr[2 * p + 1] + i), mv, wv));
  }
  if (body < n) {
    const __mmask8 k = __mmask8((1u << (n - body)) - 1);
    const __m512 mv = bothHalves(m + body, k), wv = Form::kW ? bothHalves(w + body, k) : mv;
    for (int p = 0; p < kPairs; ++p)
      acc[p] = _mm512_add_ps(acc[p], pairTerm<Form>(rowsBlock(xr[2 * p] + body, xr[2 * p + 1] + body, k), mv, wv));
  }
  reduce8Rows(acc, s + j);
}

template <class Form>
void dist32f(RowSrc<Kels32f> x, RowSrc<Kels32f> m, RowSrc<Kels32f> w, int n, int count, float* s) {
  int j = 0;
  if (!x.fixed() && m.fixed() && (!Form::kW || w.fixed()))
    for (; j + 2 * kPairs <= count; j += 2 * kPairs) rows8<Form>(x, m[0], Form::kW ? w[0] : nullptr, j, n, s);
  if (j < count) dist32<Form, Kels32f>(advance(x, j), advance(m, j), advance(w, j), n, count - j, s + j);
}

}  // namespace

extern const MixDistKernels kMixDistAvx512{dist32f<Wsd>, dist32f<Sd>,           dist64<Wsd>,
                                           dist64<Sd>,   dist32<Wsd, Kels16s>, dist32<Sd, Kels16s>};

}  // namespace kels::model
