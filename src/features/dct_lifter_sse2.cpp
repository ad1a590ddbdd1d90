// SSE2 lifter kernel: each row's eight partial sums in two registers (sums 0-3 and 4-7), a few
// rows per pass over the input (four with the sixteen registers of x86-64, two with the eight of
// 32-bit x86), reduced by the scalar kernel's tree across those rows at once.
#include <emmintrin.h>

#include "features/dct_lifter.h"

namespace kels::features {
namespace {

constexpr int kRows = sizeof(void*) == 8 ? 4 : 2;

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

// The first n (0..4) floats at p, the other lanes +0, reading nothing past them.
inline __m128 loadPart(const float* p, int n) {
  switch (n) {
    case 1: return _mm_load_ss(p);
    case 2: return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    case 3: return _mm_movelh_ps(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))), _mm_load_ss(p + 2));
    case 4: return _mm_loadu_ps(p);
    default: return _mm_setzero_ps();
  }
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

// Outputs j0 .. j0 + count - 1 (count <= kRows; a short pass repeats its last row and drops the
// copies). The first chunk's products start the sums: the scalar sums start at -0, and -0 + y
// is y. In the last partial chunk, rows read as +0 and inputs as -0 past the data, so those
// products are -0 and add nothing.
template <class Src>
void block(const Src* x, __m128 xtl, __m128 xth, float* out, const LifterView& v, int j0, int count) {
  const int tail = v.M & 7, full = v.M - tail;
  const float* rows[kRows];
  float w[4];
  for (int i = 0; i < kRows; ++i) {
    const int r = lifterRow(j0 + (i < count ? i : count - 1), v.Q);
    rows[i] = v.row0 + r * v.stride;
    w[i] = v.w[r];
  }
  __m128 lo[4], hi[4], xl, xh;
  int k = 0;
  if (full > 0) {
    load8(x, xl, xh);
    for (int i = 0; i < kRows; ++i) {
      lo[i] = _mm_mul_ps(_mm_loadu_ps(rows[i]), xl);
      hi[i] = _mm_mul_ps(_mm_loadu_ps(rows[i] + 4), xh);
    }
    k = 8;
  } else {
    for (int i = 0; i < kRows; ++i) lo[i] = hi[i] = _mm_set1_ps(-0.0f);
  }
  for (; k < full; k += 8) {
    load8(x + k, xl, xh);
    for (int i = 0; i < kRows; ++i) {
      lo[i] = _mm_add_ps(lo[i], _mm_mul_ps(_mm_loadu_ps(rows[i] + k), xl));
      hi[i] = _mm_add_ps(hi[i], _mm_mul_ps(_mm_loadu_ps(rows[i] + k + 4), xh));
    }
  }
  if (tail > 0) {
    const int nl = tail < 4 ? tail : 4, nh = tail - nl;
    for (int i = 0; i < kRows; ++i) {
      lo[i] = _mm_add_ps(lo[i], _mm_mul_ps(loadPart(rows[i] + full, nl), xtl));
      hi[i] = _mm_add_ps(hi[i], _mm_mul_ps(loadPart(rows[i] + full + 4, nh), xth));
    }
  }
  for (int i = kRows; i < 4; ++i) lo[i] = lo[kRows - 1], hi[i] = hi[kRows - 1], w[i] = w[kRows - 1];
  const __m128 r = _mm_mul_ps(reduce4(lo, hi), _mm_setr_ps(w[0], w[1], w[2], w[3]));
  if (count == 4) {
    _mm_storeu_ps(out + j0, r);
  } else {
    alignas(16) float t[4];
    _mm_store_ps(t, r);
    for (int i = 0; i < count; ++i) out[j0 + i] = t[i];
  }
}

template <class Src>
void lifter(const Src* x, float* out, const LifterView& v) {
  const int tail = v.M & 7;
  alignas(16) float xt[8] = {-0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f};
  for (int k = 0; k < tail; ++k) xt[k] = float(x[v.M - tail + k]);
  const __m128 xtl = _mm_load_ps(xt), xth = _mm_load_ps(xt + 4);
  const int n = v.Q + v.c0;
  for (int j = 0; j < n; j += kRows) block(x, xtl, xth, out, v, j, n - j < kRows ? n - j : kRows);
}

}  // namespace

void lifterSse2(const float* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterSse2(const Kels16s* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterSse2(const Kels32s* x, float* out, const LifterView& v) { lifter(x, out, v); }

}  // namespace kels::features
