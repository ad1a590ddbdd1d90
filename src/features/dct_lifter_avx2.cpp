// AVX2 lifter kernel: eight rows at a time, one register of eight partial sums per row, so lane l
// holds the scalar kernel's sum l; the reduction runs the scalar tree across rows at once.
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

template <class Src>
void lifter(const Src* x, float* out, const LifterView& v) {
  const int full = v.M & ~7, tail = v.M - full;
  // The last partial chunk: inputs converted into a zero-padded block, rows read under a mask, so
  // the missing lanes add +0, which leaves a partial sum (never -0, it starts at +0) unchanged.
  alignas(32) float xt[8] = {};
  for (int k = 0; k < tail; ++k) xt[k] = float(x[full + k]);
  const __m256i mask = _mm256_cmpgt_epi32(_mm256_set1_epi32(tail), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  const int n = v.Q + v.c0;
  for (int j0 = 0; j0 < n; j0 += 8) {
    const int count = n - j0 < 8 ? n - j0 : 8;
    const float* rows[8];
    alignas(32) float w[8];
    for (int i = 0; i < 8; ++i) {  // a short block repeats its last row and drops the copies
      const int r = lifterRow(j0 + (i < count ? i : count - 1), v.Q);
      rows[i] = v.row0 + r * v.stride;
      w[i] = v.w[r];
    }
    __m256 acc[8];
    for (auto& a : acc) a = _mm256_setzero_ps();
    for (int k = 0; k < full; k += 8) {
      const __m256 xv = load8(x + k);
      for (int i = 0; i < 8; ++i) acc[i] = _mm256_add_ps(acc[i], _mm256_mul_ps(_mm256_loadu_ps(rows[i] + k), xv));
    }
    if (tail > 0) {
      const __m256 xv = _mm256_load_ps(xt);
      for (int i = 0; i < 8; ++i)
        acc[i] = _mm256_add_ps(acc[i], _mm256_mul_ps(_mm256_maskload_ps(rows[i] + full, mask), xv));
    }
    const __m256 r = _mm256_mul_ps(reduce8(acc), _mm256_load_ps(w));
    if (count == 8) {
      _mm256_storeu_ps(out + j0, r);
    } else {
      alignas(32) float t[8];
      _mm256_store_ps(t, r);
      for (int i = 0; i < count; ++i) out[j0 + i] = t[i];
    }
  }
}

}  // namespace

void lifterAvx2(const float* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterAvx2(const Kels16s* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterAvx2(const Kels32s* x, float* out, const LifterView& v) { lifter(x, out, v); }

}  // namespace kels::features
