// SSE2 row distances: the 8 float partial sums of a row in two registers (4 double sums in two),
// two rows per pass, and the tail finished by the scalar lanes.
#include <emmintrin.h>

#include "model/kernels/mix_dist.h"

namespace kels::model {
namespace {

constexpr bool weighted(Weighted) { return true; }
constexpr bool weighted(Identity) { return false; }

inline __m128 widen(__m128i v16) { return _mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpacklo_epi16(v16, v16), 16)); }

// Adds the terms of elements i..i+7 of one row into lanes a (0..3) and b (4..7).
template <class Form>
inline void add8(Form f, const Kels32f* x, const Kels32f* m, const Kels32f* w, __m128& a, __m128& b) {
  __m128 d0 = _mm_sub_ps(_mm_loadu_ps(x), _mm_loadu_ps(m));
  __m128 d1 = _mm_sub_ps(_mm_loadu_ps(x + 4), _mm_loadu_ps(m + 4));
  d0 = _mm_mul_ps(d0, d0);
  d1 = _mm_mul_ps(d1, d1);
  if (weighted(f)) {
    d0 = _mm_mul_ps(d0, _mm_loadu_ps(w));
    d1 = _mm_mul_ps(d1, _mm_loadu_ps(w + 4));
  }
  a = _mm_add_ps(a, d0);
  b = _mm_add_ps(b, d1);
}
template <class Form>
inline void add8(Form f, const Kels16s* x, const Kels16s* m, const Kels16s* w, __m128& a, __m128& b) {
  const __m128i xv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
  const __m128i mv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m));
  const __m128i xl = _mm_srai_epi32(_mm_unpacklo_epi16(xv, xv), 16), xh = _mm_srai_epi32(_mm_unpackhi_epi16(xv, xv), 16);
  const __m128i ml = _mm_srai_epi32(_mm_unpacklo_epi16(mv, mv), 16), mh = _mm_srai_epi32(_mm_unpackhi_epi16(mv, mv), 16);
  __m128 d0 = _mm_cvtepi32_ps(_mm_sub_epi32(xl, ml));
  __m128 d1 = _mm_cvtepi32_ps(_mm_sub_epi32(xh, mh));
  d0 = _mm_mul_ps(d0, d0);
  d1 = _mm_mul_ps(d1, d1);
  if (weighted(f)) {
    const __m128i wv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w));
    d0 = _mm_mul_ps(d0, widen(wv));
    d1 = _mm_mul_ps(d1, _mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpackhi_epi16(wv, wv), 16)));
  }
  a = _mm_add_ps(a, d0);
  b = _mm_add_ps(b, d1);
}

template <class Form, class T>
void dist32(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, float* s) {
  const Form f{};
  const int body = n & ~7;
  int j = 0;
  for (; j + 2 <= count; j += 2) {
    const T *x0 = x[j], *x1 = x[j + 1], *m0 = m[j], *m1 = m[j + 1];
    const T* w0 = weighted(f) ? w[j] : nullptr;
    const T* w1 = weighted(f) ? w[j + 1] : nullptr;
    __m128 a0 = _mm_setzero_ps(), b0 = a0, a1 = a0, b1 = a0;
    for (int i = 0; i < body; i += 8) {
      add8(f, x0 + i, m0 + i, weighted(f) ? w0 + i : nullptr, a0, b0);
      add8(f, x1 + i, m1 + i, weighted(f) ? w1 + i : nullptr, a1, b1);
    }
    alignas(16) float p[2][kLanes32];
    _mm_store_ps(p[0], a0);
    _mm_store_ps(p[0] + 4, b0);
    _mm_store_ps(p[1], a1);
    _mm_store_ps(p[1] + 4, b1);
    s[j] = finish32<Form>(p[0], x0, m0, w0, body, n);
    s[j + 1] = finish32<Form>(p[1], x1, m1, w1, body, n);
  }
  if (j < count) {
    const T *x0 = x[j], *m0 = m[j];
    const T* w0 = weighted(f) ? w[j] : nullptr;
    __m128 a0 = _mm_setzero_ps(), b0 = a0;
    for (int i = 0; i < body; i += 8) add8(f, x0 + i, m0 + i, weighted(f) ? w0 + i : nullptr, a0, b0);
    alignas(16) float p[kLanes32];
    _mm_store_ps(p, a0);
    _mm_store_ps(p + 4, b0);
    s[j] = finish32<Form>(p, x0, m0, w0, body, n);
  }
}

template <class Form>
inline void add4(Form f, const Kels64f* x, const Kels64f* m, const Kels64f* w, __m128d& a, __m128d& b) {
  __m128d d0 = _mm_sub_pd(_mm_loadu_pd(x), _mm_loadu_pd(m));
  __m128d d1 = _mm_sub_pd(_mm_loadu_pd(x + 2), _mm_loadu_pd(m + 2));
  d0 = _mm_mul_pd(d0, d0);
  d1 = _mm_mul_pd(d1, d1);
  if (weighted(f)) {
    d0 = _mm_mul_pd(d0, _mm_loadu_pd(w));
    d1 = _mm_mul_pd(d1, _mm_loadu_pd(w + 2));
  }
  a = _mm_add_pd(a, d0);
  b = _mm_add_pd(b, d1);
}

template <class Form>
void dist64(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  const Form f{};
  const int body = n & ~3;
  int j = 0;
  for (; j + 2 <= count; j += 2) {
    const Kels64f *x0 = x[j], *x1 = x[j + 1], *m0 = m[j], *m1 = m[j + 1];
    const Kels64f* w0 = weighted(f) ? w[j] : nullptr;
    const Kels64f* w1 = weighted(f) ? w[j + 1] : nullptr;
    __m128d a0 = _mm_setzero_pd(), b0 = a0, a1 = a0, b1 = a0;
    for (int i = 0; i < body; i += 4) {
      add4(f, x0 + i, m0 + i, weighted(f) ? w0 + i : nullptr, a0, b0);
      add4(f, x1 + i, m1 + i, weighted(f) ? w1 + i : nullptr, a1, b1);
    }
    alignas(16) double p[2][kLanes64];
    _mm_store_pd(p[0], a0);
    _mm_store_pd(p[0] + 2, b0);
    _mm_store_pd(p[1], a1);
    _mm_store_pd(p[1] + 2, b1);
    s[j] = finish64<Form>(p[0], x0, m0, w0, body, n);
    s[j + 1] = finish64<Form>(p[1], x1, m1, w1, body, n);
  }
  if (j < count) {
    const Kels64f *x0 = x[j], *m0 = m[j];
    const Kels64f* w0 = weighted(f) ? w[j] : nullptr;
    __m128d a0 = _mm_setzero_pd(), b0 = a0;
    for (int i = 0; i < body; i += 4) add4(f, x0 + i, m0 + i, weighted(f) ? w0 + i : nullptr, a0, b0);
    alignas(16) double p[kLanes64];
    _mm_store_pd(p, a0);
    _mm_store_pd(p + 2, b0);
    s[j] = finish64<Form>(p, x0, m0, w0, body, n);
  }
}

}  // namespace

extern const MixDistKernels kMixDistSse2 = {
    dist32<Weighted, Kels32f>, dist32<Identity, Kels32f>, dist64<Weighted>, dist64<Identity>,
    dist32<Weighted, Kels16s>, dist32<Identity, Kels16s>,
};

}  // namespace kels::model
