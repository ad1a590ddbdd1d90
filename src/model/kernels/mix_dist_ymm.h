// Multi-row distances on 256-bit registers, shared by the AVX2 and AVX-512 targets: four rows
// per pass (eight when the mean and weights are shared), each row's 8 float (or 4 double)
// partial sums in one register, the last partial block read under a mask (mask registers on
// AVX-512, which keeps the tail off the arithmetic ports), and four rows reduced together by the
// tree of dist.h, so each row gets the bits of the single-row kernel.
#pragma once

#include <cstring>

#include "model/kernels/dist_ymm.h"
#include "model/mix_kernels.h"

namespace kels::model {
namespace {

constexpr int kRows = 4;  // rows per pass

// Which operands all rows share, loaded once per block: the vector (one frame against many
// Gaussians), the mean and weights (many frames against one Gaussian), or none.
enum class Shared { kNone, kX, kMW };

// w + i for weighted forms; identity forms have no weights (and no pointer to offset).
template <class Form, class T>
inline const T* wAt(const T* w, int i) {
  if constexpr (Form::kW) return w + i;
  else return (void)w, (void)i, nullptr;
}

// One block of 8 elements: x loaded (16-bit values widened to int32), then the terms against a
// mean and weights. Tails of r < 8 elements read zeros beyond r, so they add +0 to their lanes.
inline __m256 loadX(const Kels32f* p) { return _mm256_loadu_ps(p); }
inline __m256i loadX(const Kels16s* p) {
  return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
inline __m256 loadXTail(const Kels32f* p, int r) { return maskLoad8(p, r); }
inline __m256i loadXTail(const Kels16s* p, int r) {
  Kels16s b[8] = {};
  std::memcpy(b, p, std::size_t(r) * sizeof(Kels16s));
  return loadX(b);
}
template <class Form>
inline __m256 terms8(__m256 x, const Kels32f* m, const Kels32f* w) {
  return Form::term(x, _mm256_loadu_ps(m), Form::kW ? _mm256_loadu_ps(w) : _mm256_setzero_ps());
}
template <class Form>
inline __m256 terms8(__m256i x, const Kels16s* m, const Kels16s* w) {
  const __m256 d = _mm256_cvtepi32_ps(_mm256_sub_epi32(x, loadX(m)));
  const __m256 sq = _mm256_mul_ps(d, d);
  return Form::kW ? _mm256_mul_ps(sq, load16s(w)) : sq;
}
template <class Form>
inline __m256 tail8(__m256 x, const Kels32f* m, const Kels32f* w, int r) {
  return Form::term(x, maskLoad8(m, r), Form::kW ? maskLoad8(w, r) : _mm256_setzero_ps());
}
template <class Form>
inline __m256 tail8(__m256i x, const Kels16s* m, const Kels16s* w, int r) {
  Kels16s bm[8] = {}, bw[8] = {};
  std::memcpy(bm, m, std::size_t(r) * sizeof(Kels16s));
  if (Form::kW) std::memcpy(bw, w, std::size_t(r) * sizeof(Kels16s));
  return terms8<Form>(x, bm, bw);
}

// Four rows of 8 lanes by the tree (q0 + q2) + (q1 + q3), q_l = p_l + p_(l+4).
inline __m128 reduce8x4(const __m256* acc) {
  __m128 q[4];
  for (int r = 0; r < 4; ++r)
    q[r] = _mm_add_ps(_mm256_castps256_ps128(acc[r]), _mm256_extractf128_ps(acc[r], 1));
  const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(q[0], q[1]), _mm_unpackhi_ps(q[0], q[1]));
  const __m128 cd = _mm_add_ps(_mm_unpacklo_ps(q[2], q[3]), _mm_unpackhi_ps(q[2], q[3]));
  return _mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab));
}

// kR rows in one pass; shared operands are read from row 0 only. A shared mean and weights are
// loaded once per block for all rows, while the term is still formed per row with the row's
// x as the first operand, as the single-row kernel forms it.
template <class Form, class T, int kR, Shared kS>
inline void pass32(const T* const* xr, const T* const* mr, const T* const* wr, int n, float* s) {
  __m256 acc[kR];
  for (int r = 0; r < kR; ++r) acc[r] = _mm256_setzero_ps();
  const int body = n & ~7;
  for (int i = 0; i < body; i += 8) {
    const auto xs = loadX(xr[0] + i);
    for (int r = 0; r < kR; ++r) {
      const auto xv = kS == Shared::kX ? xs : loadX(xr[r] + i);
      const int k = kS == Shared::kMW ? 0 : r;
      acc[r] = _mm256_add_ps(acc[r], terms8<Form>(xv, mr[k] + i, wAt<Form>(wr[k], i)));
    }
  }
  if (body < n) {
    const int rest = n - body;
    const auto xs = loadXTail(xr[0] + body, rest);
    for (int r = 0; r < kR; ++r) {
      const auto xv = kS == Shared::kX ? xs : loadXTail(xr[r] + body, rest);
      const int k = kS == Shared::kMW ? 0 : r;
      acc[r] = _mm256_add_ps(acc[r], tail8<Form>(xv, mr[k] + body, wAt<Form>(wr[k], body), rest));
    }
  }
  if constexpr (kR == 1) s[0] = reduce8(acc[0]);
  for (int q = 0; q + 4 <= kR; q += 4) _mm_storeu_ps(s + q, reduce8x4(acc + q));
}

template <class Form, class T, int kR, Shared kS>
inline void rows32(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int j, int n, float* s) {
  const T *xr[kR], *mr[kR], *wr[kR];
  for (int r = 0; r < kR; ++r) {
    xr[r] = x[j + r];
    mr[r] = m[j + r];
    wr[r] = Form::kW ? w[j + r] : nullptr;
  }
  pass32<Form, T, kR, kS>(xr, mr, wr, n, s + j);
}

template <class Form, class T>
void dist32(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, float* s) {
  int j = 0;
  if (x.fixed())
    for (; j + kRows <= count; j += kRows) rows32<Form, T, kRows, Shared::kX>(x, m, w, j, n, s);
  else if (m.fixed() && (!Form::kW || w.fixed()))
    for (; j + 2 * kRows <= count; j += 2 * kRows) rows32<Form, T, 2 * kRows, Shared::kMW>(x, m, w, j, n, s);
  for (; j + kRows <= count; j += kRows) rows32<Form, T, kRows, Shared::kNone>(x, m, w, j, n, s);
  for (; j < count; ++j) rows32<Form, T, 1, Shared::kNone>(x, m, w, j, n, s);
}

template <class Form>
inline __m256d terms4(const Kels64f* x, const Kels64f* m, const Kels64f* w) {
  return Form::term(_mm256_loadu_pd(x), _mm256_loadu_pd(m), Form::kW ? _mm256_loadu_pd(w) : _mm256_setzero_pd());
}
template <class Form>
inline __m256d tail4(const Kels64f* x, const Kels64f* m, const Kels64f* w, int r) {
  return Form::term(maskLoad4(x, r), maskLoad4(m, r), Form::kW ? maskLoad4(w, r) : _mm256_setzero_pd());
}
// Two rows of 4 lanes by the tree (p0 + p2) + (p1 + p3).
inline __m128d reduce4x2(__m256d a, __m256d b) {
  const __m128d qa = _mm_add_pd(_mm256_castpd256_pd128(a), _mm256_extractf128_pd(a, 1));
  const __m128d qb = _mm_add_pd(_mm256_castpd256_pd128(b), _mm256_extractf128_pd(b, 1));
  return _mm_add_pd(_mm_unpacklo_pd(qa, qb), _mm_unpackhi_pd(qa, qb));
}

template <class Form>
void dist64(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  const int body = n & ~3;
  int j = 0;
  for (; j + kRows <= count; j += kRows) {
    const Kels64f *xr[kRows], *mr[kRows], *wr[kRows];
    __m256d acc[kRows];
    for (int r = 0; r < kRows; ++r) {
      xr[r] = x[j + r];
      mr[r] = m[j + r];
      wr[r] = Form::kW ? w[j + r] : nullptr;
      acc[r] = _mm256_setzero_pd();
    }
    for (int i = 0; i < body; i += 4)
      for (int r = 0; r < kRows; ++r)
        acc[r] = _mm256_add_pd(acc[r], terms4<Form>(xr[r] + i, mr[r] + i, wAt<Form>(wr[r], i)));
    if (body < n)
      for (int r = 0; r < kRows; ++r)
        acc[r] = _mm256_add_pd(acc[r], tail4<Form>(xr[r] + body, mr[r] + body, wAt<Form>(wr[r], body), n - body));
    _mm_storeu_pd(s + j, reduce4x2(acc[0], acc[1]));
    _mm_storeu_pd(s + j + 2, reduce4x2(acc[2], acc[3]));
  }
  for (; j < count; ++j) {
    const Kels64f* xr = x[j];
    const Kels64f* mr = m[j];
    const Kels64f* wr = Form::kW ? w[j] : nullptr;
    __m256d acc = _mm256_setzero_pd();
    for (int i = 0; i < body; i += 4) acc = _mm256_add_pd(acc, terms4<Form>(xr + i, mr + i, wAt<Form>(wr, i)));
    if (body < n) acc = _mm256_add_pd(acc, tail4<Form>(xr + body, mr + body, wAt<Form>(wr, body), n - body));
    s[j] = reduce4(acc);
  }
}

constexpr MixDistKernels kYmmKernels{dist32<Wsd, Kels32f>, dist32<Sd, Kels32f>, dist64<Wsd>,
                                     dist64<Sd>,           dist32<Wsd, Kels16s>, dist32<Sd, Kels16s>};

}  // namespace
}  // namespace kels::model
