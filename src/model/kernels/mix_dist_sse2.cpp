// SSE2 multi-row distances: two rows per pass, each row's 8 float partial sums in two registers
// (4 double sums in two), the tail finished by the scalar code of dist.h.
#include <emmintrin.h>

#include "model/kernels/dist.h"
#include "model/mix_kernels.h"

namespace kels::model {
namespace {

struct Wsd {
  static constexpr bool kW = true;
  template <class Acc, class T>
  static auto tail(const T* x, const T* m, const T* w) { return WsdTerm<Acc, T>{x, m, w}; }
  static auto tail16(const Kels16s* x, const Kels16s* m, const Kels16s* w) { return WsdTerm16s{x, m, w}; }
};
struct Sd {
  static constexpr bool kW = false;
  template <class Acc, class T>
  static auto tail(const T* x, const T* m, const T*) { return SdTerm<Acc, T>{x, m}; }
  static auto tail16(const Kels16s* x, const Kels16s* m, const Kels16s*) { return SdTerm16s{x, m}; }
};

inline __m128i widenLo16(__m128i v) { return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16); }
inline __m128i widenHi16(__m128i v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }
inline __m128i load8x16(const Kels16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Adds the terms of 8 elements of one row to lanes a (0..3) and b (4..7).
template <class Form>
inline void add8(const Kels32f* x, const Kels32f* m, const Kels32f* w, __m128& a, __m128& b) {
  __m128 d0 = _mm_sub_ps(_mm_loadu_ps(x), _mm_loadu_ps(m));
  __m128 d1 = _mm_sub_ps(_mm_loadu_ps(x + 4), _mm_loadu_ps(m + 4));
  d0 = _mm_mul_ps(d0, d0);
  d1 = _mm_mul_ps(d1, d1);
  if (Form::kW) {
    d0 = _mm_mul_ps(d0, _mm_loadu_ps(w));
    d1 = _mm_mul_ps(d1, _mm_loadu_ps(w + 4));
  }
  a = _mm_add_ps(a, d0);
  b = _mm_add_ps(b, d1);
}
template <class Form>
inline void add8(const Kels16s* x, const Kels16s* m, const Kels16s* w, __m128& a, __m128& b) {
  const __m128i xv = load8x16(x), mv = load8x16(m);
  __m128 d0 = _mm_cvtepi32_ps(_mm_sub_epi32(widenLo16(xv), widenLo16(mv)));
  __m128 d1 = _mm_cvtepi32_ps(_mm_sub_epi32(widenHi16(xv), widenHi16(mv)));
  d0 = _mm_mul_ps(d0, d0);
  d1 = _mm_mul_ps(d1, d1);
  if (Form::kW) {
    const __m128i wv = load8x16(w);
    d0 = _mm_mul_ps(d0, _mm_cvtepi32_ps(widenLo16(wv)));
    d1 = _mm_mul_ps(d1, _mm_cvtepi32_ps(widenHi16(wv)));
  }
  a = _mm_add_ps(a, d0);
  b = _mm_add_ps(b, d1);
}

template <class Form>
inline float finishRow(float* p, const Kels32f* x, const Kels32f* m, const Kels32f* w, int i, int n) {
  return finishSum(p, Form::template tail<float>(x, m, w), i, n);
}
template <class Form>
inline float finishRow(float* p, const Kels16s* x, const Kels16s* m, const Kels16s* w, int i, int n) {
  return finishSum(p, Form::tail16(x, m, w), i, n);
}

template <class T>
inline const T* at(const T* p, int i) { return p ? p + i : nullptr; }

template <class Form, class T>
void dist32(RowSrc<T> x, RowSrc<T> m, RowSrc<T> w, int n, int count, float* s) {
  const int body = n & ~7;
  for (int j = 0; j < count; j += 2) {
    const int rows = count - j < 2 ? 1 : 2;
    const T* xr[2] = {x[j], rows == 2 ? x[j + 1] : nullptr};
    const T* mr[2] = {m[j], rows == 2 ? m[j + 1] : nullptr};
    const T* wr[2] = {Form::kW ? w[j] : nullptr, Form::kW && rows == 2 ? w[j + 1] : nullptr};
    __m128 a[2] = {_mm_setzero_ps(), _mm_setzero_ps()}, b[2] = {a[0], a[0]};
    for (int i = 0; i < body; i += 8)
      for (int r = 0; r < rows; ++r) add8<Form>(xr[r] + i, mr[r] + i, at(wr[r], i), a[r], b[r]);
    for (int r = 0; r < rows; ++r) {
      alignas(16) float p[kLanes32];
      _mm_store_ps(p, a[r]);
      _mm_store_ps(p + 4, b[r]);
      s[j + r] = finishRow<Form>(p, xr[r], mr[r], wr[r], body, n);
    }
  }
}

template <class Form>
inline void add4(const Kels64f* x, const Kels64f* m, const Kels64f* w, __m128d& a, __m128d& b) {
  __m128d d0 = _mm_sub_pd(_mm_loadu_pd(x), _mm_loadu_pd(m));
  __m128d d1 = _mm_sub_pd(_mm_loadu_pd(x + 2), _mm_loadu_pd(m + 2));
  d0 = _mm_mul_pd(d0, d0);
  d1 = _mm_mul_pd(d1, d1);
  if (Form::kW) {
    d0 = _mm_mul_pd(d0, _mm_loadu_pd(w));
    d1 = _mm_mul_pd(d1, _mm_loadu_pd(w + 2));
  }
  a = _mm_add_pd(a, d0);
  b = _mm_add_pd(b, d1);
}

template <class Form>
void dist64(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  const int body = n & ~3;
  for (int j = 0; j < count; j += 2) {
    const int rows = count - j < 2 ? 1 : 2;
    const Kels64f* xr[2] = {x[j], rows == 2 ? x[j + 1] : nullptr};
    const Kels64f* mr[2] = {m[j], rows == 2 ? m[j + 1] : nullptr};
    const Kels64f* wr[2] = {Form::kW ? w[j] : nullptr, Form::kW && rows == 2 ? w[j + 1] : nullptr};
    __m128d a[2] = {_mm_setzero_pd(), _mm_setzero_pd()}, b[2] = {a[0], a[0]};
    for (int i = 0; i < body; i += 4)
      for (int r = 0; r < rows; ++r) add4<Form>(xr[r] + i, mr[r] + i, at(wr[r], i), a[r], b[r]);
    for (int r = 0; r < rows; ++r) {
      alignas(16) double p[kLanes64];
      _mm_store_pd(p, a[r]);
      _mm_store_pd(p + 2, b[r]);
      s[j + r] = finishSum(p, Form::template tail<double>(xr[r], mr[r], wr[r]), body, n);
    }
  }
}

}  // namespace

extern const MixDistKernels kMixDistSse2{dist32<Wsd, Kels32f>, dist32<Sd, Kels32f>, dist64<Wsd>,
                                        dist64<Sd>,           dist32<Wsd, Kels16s>, dist32<Sd, Kels16s>};

}  // namespace kels::model
