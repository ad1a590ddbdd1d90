// AVX2 row distances: one 256-bit register holds the 8 float (or 4 double) partial sums of a
// row, four rows per pass share the loads of a fixed operand, and the tail is loaded under a mask
// (a masked lane adds +0, which leaves the lane's bits unchanged).
#include <immintrin.h>

#include <cstring>

#include "model/kernels/mix_dist.h"

namespace kels::model {
namespace {

constexpr int kRows = 4;  // rows per pass

inline __m256 term(Weighted, __m256 x, __m256 m, __m256 w) {
  const __m256 d = _mm256_sub_ps(x, m);
  return _mm256_mul_ps(_mm256_mul_ps(d, d), w);
}
inline __m256 term(Identity, __m256 x, __m256 m, __m256) {
  const __m256 d = _mm256_sub_ps(x, m);
  return _mm256_mul_ps(d, d);
}
inline __m256d term(Weighted, __m256d x, __m256d m, __m256d w) {
  const __m256d d = _mm256_sub_pd(x, m);
  return _mm256_mul_pd(_mm256_mul_pd(d, d), w);
}
inline __m256d term(Identity, __m256d x, __m256d m, __m256d) {
  const __m256d d = _mm256_sub_pd(x, m);
  return _mm256_mul_pd(d, d);
}

constexpr bool weighted(Weighted) { return true; }
constexpr bool weighted(Identity) { return false; }

// Loads of 8 elements as 8 floats: floats as they are, 16-bit values widened exactly.
inline __m256 load8(const Kels32f* p) { return _mm256_loadu_ps(p); }
inline __m256i load8i(const Kels16s* p) {
  return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
inline __m256 load8w(const Kels16s* p) { return _mm256_cvtepi32_ps(load8i(p)); }
inline __m256 load8w(const Kels32f* p) { return _mm256_loadu_ps(p); }

// The term of 8 elements from pointers into x, m and w.
template <class Form>
inline __m256 terms8(Form f, const Kels32f* x, const Kels32f* m, const Kels32f* w) {
  return term(f, load8(x), load8(m), weighted(f) ? load8w(w) : _mm256_setzero_ps());
}
template <class Form>
inline __m256 terms8(Form f, const Kels16s* x, const Kels16s* m, const Kels16s* w) {
  const __m256 d = _mm256_cvtepi32_ps(_mm256_sub_epi32(load8i(x), load8i(m)));
  const __m256 sq = _mm256_mul_ps(d, d);
  return weighted(f) ? _mm256_mul_ps(sq, load8w(w)) : sq;
}

// The last r < 8 elements, zero beyond: masked loads for floats, a zeroed copy for 16-bit data.
template <class Form>
inline __m256 tail8(Form f, const Kels32f* x, const Kels32f* m, const Kels32f* w, int r) {
  const __m256i mask = _mm256_cmpgt_epi32(_mm256_set1_epi32(r), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  const __m256 wv = weighted(f) ? _mm256_maskload_ps(w, mask) : _mm256_setzero_ps();
  return term(f, _mm256_maskload_ps(x, mask), _mm256_maskload_ps(m, mask), wv);
}
template <class Form>
inline __m256 tail8(Form f, const Kels16s* x, const Kels16s* m, const Kels16s* w, int r) {
  Kels16s bx[8] = {}, bm[8] = {}, bw[8] = {};
  std::memcpy(bx, x, std::size_t(r) * sizeof(Kels16s));
  std::memcpy(bm, m, std::size_t(r) * sizeof(Kels16s));
  if (weighted(f)) std::memcpy(bw, w, std::size_t(r) * sizeof(Kels16s));
  return terms8(f, bx, bm, bw);
}

// Reduces four rows of 8 lanes by the scalar tree, (q0 + q2) + (q1 + q3) with q_l = p_l + p_l+4.
inline __m128 reduce8x4(const __m256* acc) {
  __m128 q[kRows];
  for (int r = 0; r < kRows; ++r)
    q[r] = _mm_add_ps(_mm256_castps256_ps128(acc[r]), _mm256_extractf128_ps(acc[r], 1));
  const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(q[0], q[1]), _mm_unpackhi_ps(q[0], q[1]));
  const __m128 cd = _mm_add_ps(_mm_unpacklo_ps(q[2], q[3]), _mm_unpackhi_ps(q[2], q[3]));
  return _mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab));
}

template <class Form, class T>
void dist32(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, float* s) {
  const Form f{};
  const int body = n & ~7;
  int j = 0;
  for (; j + kRows <= count; j += kRows) {
    const T *xr[kRows], *mr[kRows], *wr[kRows];
    __m256 acc[kRows];
    for (int r = 0; r < kRows; ++r) {
      xr[r] = x[j + r];
      mr[r] = m[j + r];
      wr[r] = weighted(f) ? w[j + r] : nullptr;
      acc[r] = _mm256_setzero_ps();
    }
    for (int i = 0; i < body; i += 8)
      for (int r = 0; r < kRows; ++r)
        acc[r] = _mm256_add_ps(acc[r], terms8(f, xr[r] + i, mr[r] + i, weighted(f) ? wr[r] + i : nullptr));
    if (body < n)
      for (int r = 0; r < kRows; ++r)
        acc[r] = _mm256_add_ps(acc[r], tail8(f, xr[r] + body, mr[r] + body,
                                             weighted(f) ? wr[r] + body : nullptr, n - body));
    _mm_storeu_ps(s + j, reduce8x4(acc));
  }
  for (; j < count; ++j) {
    const T* xr = x[j];
    const T* mr = m[j];
    const T* wr = weighted(f) ? w[j] : nullptr;
    __m256 acc = _mm256_setzero_ps();
    for (int i = 0; i < body; i += 8)
      acc = _mm256_add_ps(acc, terms8(f, xr + i, mr + i, weighted(f) ? wr + i : nullptr));
    if (body < n)
      acc = _mm256_add_ps(acc, tail8(f, xr + body, mr + body, weighted(f) ? wr + body : nullptr, n - body));
    alignas(32) float p[kLanes32];
    _mm256_store_ps(p, acc);
    s[j] = reduce8(p);
  }
}

template <class Form>
inline __m256d terms4(Form f, const Kels64f* x, const Kels64f* m, const Kels64f* w) {
  return term(f, _mm256_loadu_pd(x), _mm256_loadu_pd(m), weighted(f) ? _mm256_loadu_pd(w) : _mm256_setzero_pd());
}
template <class Form>
inline __m256d tail4(Form f, const Kels64f* x, const Kels64f* m, const Kels64f* w, int r) {
  const __m256i mask = _mm256_cmpgt_epi64(_mm256_set1_epi64x(r), _mm256_setr_epi64x(0, 1, 2, 3));
  const __m256d wv = weighted(f) ? _mm256_maskload_pd(w, mask) : _mm256_setzero_pd();
  return term(f, _mm256_maskload_pd(x, mask), _mm256_maskload_pd(m, mask), wv);
}
// (p0 + p2) + (p1 + p3) for two rows.
inline __m128d reduce4x2(__m256d a, __m256d b) {
  const __m128d qa = _mm_add_pd(_mm256_castpd256_pd128(a), _mm256_extractf128_pd(a, 1));
  const __m128d qb = _mm_add_pd(_mm256_castpd256_pd128(b), _mm256_extractf128_pd(b, 1));
  return _mm_add_pd(_mm_unpacklo_pd(qa, qb), _mm_unpackhi_pd(qa, qb));
}

template <class Form>
void dist64(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  const Form f{};
  const int body = n & ~3;
  int j = 0;
  for (; j + kRows <= count; j += kRows) {
    const Kels64f *xr[kRows], *mr[kRows], *wr[kRows];
    __m256d acc[kRows];
    for (int r = 0; r < kRows; ++r) {
      xr[r] = x[j + r];
      mr[r] = m[j + r];
      wr[r] = weighted(f) ? w[j + r] : nullptr;
      acc[r] = _mm256_setzero_pd();
    }
    for (int i = 0; i < body; i += 4)
      for (int r = 0; r < kRows; ++r)
        acc[r] = _mm256_add_pd(acc[r], terms4(f, xr[r] + i, mr[r] + i, weighted(f) ? wr[r] + i : nullptr));
    if (body < n)
      for (int r = 0; r < kRows; ++r)
        acc[r] = _mm256_add_pd(acc[r], tail4(f, xr[r] + body, mr[r] + body,
                                             weighted(f) ? wr[r] + body : nullptr, n - body));
    _mm_storeu_pd(s + j, reduce4x2(acc[0], acc[1]));
    _mm_storeu_pd(s + j + 2, reduce4x2(acc[2], acc[3]));
  }
  for (; j < count; ++j) {
    const Kels64f* xr = x[j];
    const Kels64f* mr = m[j];
    const Kels64f* wr = weighted(f) ? w[j] : nullptr;
    __m256d acc = _mm256_setzero_pd();
    for (int i = 0; i < body; i += 4)
      acc = _mm256_add_pd(acc, terms4(f, xr + i, mr + i, weighted(f) ? wr + i : nullptr));
    if (body < n)
      acc = _mm256_add_pd(acc, tail4(f, xr + body, mr + body, weighted(f) ? wr + body : nullptr, n - body));
    alignas(32) double p[kLanes64];
    _mm256_store_pd(p, acc);
    s[j] = reduce4(p);
  }
}

}  // namespace

extern const MixDistKernels kMixDistAvx2 = {
    dist32<Weighted, Kels32f>, dist32<Identity, Kels32f>, dist64<Weighted>, dist64<Identity>,
    dist32<Weighted, Kels16s>, dist32<Identity, Kels16s>,
};

}  // namespace kels::model
