// AVX2 lifter kernel. Each row keeps one register of eight partial sums, lane l holding the
// scalar kernel's sum l; up to eight rows share each pass over the input, and their reduction
// runs the scalar tree across the rows at once.
#include <immintrin.h>

#include "features/dct_lifter.h"

namespace kels::features {
namespace {

inline __m256 load8(const float* x) { return _mm256_loadu_ps(x); }
inline __m256 load8(const Kels32s* x) {
  return _mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x)));
}
inline __m256 load8(const Kels16s* x) {
  return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x))));
}

inline __m256i firstLanes(int n) {
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(n), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}

// The last n < 8 elements. Row lanes past them load as +0 and input lanes as -0, so their
// products are -0, which adds nothing to any partial sum (-0 is the exact additive identity).
// The masked loads touch nothing past the data.
struct Tail {
  int n;
  __m256i mask;
  explicit Tail(int count) : n(count), mask(firstLanes(count)) {}
  __m256 row(const float* p) const { return _mm256_maskload_ps(p, mask); }
  __m256 pad(__m256 v) const {
    return _mm256_or_ps(v, _mm256_andnot_ps(_mm256_castsi256_ps(mask), _mm256_set1_ps(-0.0f)));
  }
  __m256 input(const float* x) const { return pad(_mm256_maskload_ps(x, mask)); }
  __m256 input(const Kels32s* x) const { return pad(_mm256_cvtepi32_ps(_mm256_maskload_epi32(x, mask))); }
  __m256 input(const Kels16s* x) const {
    float v[8];
    for (int k = 0; k < 8; ++k) v[k] = k < n ? float(x[k]) : -0.0f;
    return _mm256_setr_ps(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
  }
};

// Lane r of the result is ((p0+p4)+(p2+p6))+((p1+p5)+(p3+p7)) of a[r].
inline __m256 reduce8(const __m256 (&a)[8]) {
  auto fold = [](__m256 lo, __m256 hi) {  // [p_j + p_{j+4} of lo | of hi]
    return _mm256_add_ps(_mm256_permute2f128_ps(lo, hi, 0x20), _mm256_permute2f128_ps(lo, hi, 0x31));
  };
  auto pairs = [](__m256 a, __m256 b) {  // [q0 + q2, q1 + q3] of two rows per half
    return _mm256_add_ps(_mm256_shuffle_ps(a, b, 0x44), _mm256_shuffle_ps(a, b, 0xEE));
  };
  const __m256 s01 = pairs(fold(a[0], a[4]), fold(a[1], a[5]));
  const __m256 s23 = pairs(fold(a[2], a[6]), fold(a[3], a[7]));
  return _mm256_add_ps(_mm256_shuffle_ps(s01, s23, 0x88), _mm256_shuffle_ps(s01, s23, 0xDD));
}

// Outputs j0 .. j0 + C - 1. The first chunk's products start the sums: the scalar sums start at
// -0, and -0 + y is y.
template <int C, class Src>
void block(const Src* x, const Tail& tail, __m256 xt, float* out, const LifterView& v, int j0) {
  const int full = v.M - tail.n;
  // Cepstral rows j0 + 1 .. are consecutive; only the last output of all takes row 0.
  const bool hasZeroth = j0 + C > v.Q;
  const int cepstral = hasZeroth ? C - 1 : C;
  const float* rows[C];
  rows[0] = v.row0 + (j0 + 1) * v.stride;
  for (int i = 1; i < C; ++i) rows[i] = rows[i - 1] + v.stride;
  if (hasZeroth) rows[C - 1] = v.row0;
  // Weights straight from the lifter (a vector built from scalars in memory would stall on
  // store forwarding): w[j0 + 1 ..], and w[0] in the lane of the zeroth coefficient.
  __m256 w;
  if (cepstral == 8) {
    w = _mm256_loadu_ps(v.w + j0 + 1);
  } else {
    w = _mm256_maskload_ps(v.w + j0 + 1, firstLanes(cepstral));
    if (hasZeroth) {
      const __m256i lane = _mm256_andnot_si256(firstLanes(cepstral), firstLanes(C));
      w = _mm256_blendv_ps(w, _mm256_set1_ps(v.w[0]), _mm256_castsi256_ps(lane));
    }
  }
  __m256 acc[8];
  if (full > 0) {
    const __m256 xv = load8(x);
    for (int i = 0; i < C; ++i) acc[i] = _mm256_mul_ps(_mm256_loadu_ps(rows[i]), xv);
    for (int k = 8; k < full; k += 8) {
      const __m256 xk = load8(x + k);
      for (int i = 0; i < C; ++i) acc[i] = _mm256_add_ps(acc[i], _mm256_mul_ps(_mm256_loadu_ps(rows[i] + k), xk));
    }
    if (tail.n > 0) {
      for (int i = 0; i < C; ++i) acc[i] = _mm256_add_ps(acc[i], _mm256_mul_ps(tail.row(rows[i] + full), xt));
    }
  } else {
    for (int i = 0; i < C; ++i) acc[i] = _mm256_mul_ps(tail.row(rows[i]), xt);
  }
  for (int i = C; i < 8; ++i) acc[i] = acc[C - 1];  // lanes the store drops
  const __m256 r = _mm256_mul_ps(reduce8(acc), w);
  if constexpr (C == 8) {
    _mm256_storeu_ps(out + j0, r);
  } else {
    _mm256_maskstore_ps(out + j0, firstLanes(C), r);
  }
}

template <class Src>
void lifter(const Src* x, float* out, const LifterView& v) {
  const Tail tail(v.M & 7);
  const __m256 xt = tail.n > 0 ? tail.input(x + (v.M - tail.n)) : _mm256_setzero_ps();
  const int n = v.Q + v.c0;
  int j = 0;
  for (; j + 8 <= n; j += 8) block<8>(x, tail, xt, out, v, j);
  switch (n - j) {  // the rest in one pass of exactly that many rows
    case 1: block<1>(x, tail, xt, out, v, j); break;
    case 2: block<2>(x, tail, xt, out, v, j); break;
    case 3: block<3>(x, tail, xt, out, v, j); break;
    case 4: block<4>(x, tail, xt, out, v, j); break;
    case 5: block<5>(x, tail, xt, out, v, j); break;
    case 6: block<6>(x, tail, xt, out, v, j); break;
    case 7: block<7>(x, tail, xt, out, v, j); break;
    default: break;
  }
}

}  // namespace

void lifterAvx2(const float* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterAvx2(const Kels16s* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterAvx2(const Kels32s* x, float* out, const LifterView& v) { lifter(x, out, v); }

}  // namespace kels::features
