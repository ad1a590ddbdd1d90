// SSE2 lifter kernel: four rows at a time, each row's eight partial sums in two registers (sums
// 0-3 and 4-7), reduced by the scalar kernel's tree across the four rows at once.
#include <emmintrin.h>

#include "features/dct_lifter.h"

namespace kels::features {
namespace {

inline void load8(const float* x, __m128& lo, __m128& hi) {
  lo = _mm_loadu_ps(x);
  hi = _mm_loadu_ps(x + 4);
}
inline void load8(const Kels32s* x, __m128& lo, __m128& hi) {
  lo = _mm_cvtepi32_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x)));
  hi = _mm_cvtepi32_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 4)));
}
inline void load8(const Kels16s* x, __m128& lo, __m128& hi) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
  lo = _mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16));  // sign-extend
  hi = _mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16));
}

// Lane r: ((p0+p4)+(p2+p6))+((p1+p5)+(p3+p7)) of row r, with lo[r] = p0..p3 and hi[r] = p4..p7.
inline __m128 reduce4(const __m128 (&lo)[4], const __m128 (&hi)[4]) {
  auto pairs = [](__m128 a, __m128 b) {  // [q0 + q2, q1 + q3] of two rows
    return _mm_add_ps(_mm_shuffle_ps(a, b, 0x44), _mm_shuffle_ps(a, b, 0xEE));
  };
  const __m128 s01 = pairs(_mm_add_ps(lo[0], hi[0]), _mm_add_ps(lo[1], hi[1]));
  const __m128 s23 = pairs(_mm_add_ps(lo[2], hi[2]), _mm_add_ps(lo[3], hi[3]));
  return _mm_add_ps(_mm_shuffle_ps(s01, s23, 0x88), _mm_shuffle_ps(s01, s23, 0xDD));
}

template <class Src>
void lifter(const Src* x, float* out, const LifterView& v) {
  const int full = v.M & ~7, tail = v.M - full;
  // The last partial chunk goes through padded copies: rows with +0, inputs with -0, so the
  // padding products are -0 and add nothing (the sums start at -0, the additive identity).
  alignas(16) float xt[8] = {-0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f};
  for (int k = 0; k < tail; ++k) xt[k] = float(x[full + k]);
  const int n = v.Q + v.c0;
  for (int j0 = 0; j0 < n; j0 += 4) {
    const int count = n - j0 < 4 ? n - j0 : 4;
    const float* rows[4];
    alignas(16) float w[4];
    alignas(16) float bt[4][8] = {};
    for (int i = 0; i < 4; ++i) {  // a short block repeats its last row and drops the copies
      const int r = lifterRow(j0 + (i < count ? i : count - 1), v.Q);
      rows[i] = v.row0 + r * v.stride;
      w[i] = v.w[r];
      for (int k = 0; k < tail; ++k) bt[i][k] = rows[i][full + k];
    }
    __m128 lo[4], hi[4];
    for (int i = 0; i < 4; ++i) lo[i] = hi[i] = _mm_set1_ps(-0.0f);
    __m128 xl, xh;
    for (int k = 0; k < full; k += 8) {
      load8(x + k, xl, xh);
      for (int i = 0; i < 4; ++i) {
        lo[i] = _mm_add_ps(lo[i], _mm_mul_ps(_mm_loadu_ps(rows[i] + k), xl));
        hi[i] = _mm_add_ps(hi[i], _mm_mul_ps(_mm_loadu_ps(rows[i] + k + 4), xh));
      }
    }
    if (tail > 0) {
      xl = _mm_load_ps(xt);
      xh = _mm_load_ps(xt + 4);
      for (int i = 0; i < 4; ++i) {
        lo[i] = _mm_add_ps(lo[i], _mm_mul_ps(_mm_load_ps(bt[i]), xl));
        hi[i] = _mm_add_ps(hi[i], _mm_mul_ps(_mm_load_ps(bt[i] + 4), xh));
      }
    }
    const __m128 r = _mm_mul_ps(reduce4(lo, hi), _mm_load_ps(w));
    if (count == 4) {
      _mm_storeu_ps(out + j0, r);
    } else {
      alignas(16) float t[4];
      _mm_store_ps(t, r);
      for (int i = 0; i < count; ++i) out[j0 + i] = t[i];
    }
  }
}

}  // namespace

void lifterSse2(const float* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterSse2(const Kels16s* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterSse2(const Kels32s* x, float* out, const LifterView& v) { lifter(x, out, v); }

}  // namespace kels::features
