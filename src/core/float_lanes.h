// Float lanes for element-wise and lane-parallel kernels: one set of operations per register width,
// so each formula is written once and every target evaluates it with the same IEEE
// operations in the same order, giving the same bits. max and min follow the processor's rule
// (a > b ? a : b, a < b ? a : b), which the scalar lane spells out. Each width names the next
// narrower one, so short arrays and tails still run vector code. (Masked AVX-512 tails measured
// slower than the AVX2 and SSE2 steps on 13 cepstra.)
#pragma once

#include <cmath>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kels::lanes {
namespace {

struct ScalarLanes {
  using V = float;
  using Narrower = void;  // the end of the chain
  static constexpr int kWidth = 1;
  static V load(const float* p) { return *p; }
  static void store(float* p, V v) { *p = v; }
  static V splat(float f) { return f; }
  static V add(V a, V b) { return a + b; }
  static V sub(V a, V b) { return a - b; }
  static V mul(V a, V b) { return a * b; }
  static V div(V a, V b) { return a / b; }
  static V max(V a, V b) { return a > b ? a : b; }
  static V min(V a, V b) { return a < b ? a : b; }
  static V abs(V a) { return std::fabs(a); }
  static V zeroWhereEitherZero(V v, V a, V b) { return a == 0.0f || b == 0.0f ? 0.0f : v; }
  // ((p0^2 + p1^2) + p2^2) + p3^2 for one group of four.
  static V sumSquares4(const float* p) {
    return ((p[0] * p[0] + p[1] * p[1]) + p[2] * p[2]) + p[3] * p[3];
  }
};

#if defined(__SSE2__)
struct Sse2Lanes {
  using V = __m128;
  using Narrower = ScalarLanes;
  static constexpr int kWidth = 4;
  static V load(const float* p) { return _mm_loadu_ps(p); }
  static void store(float* p, V v) { _mm_storeu_ps(p, v); }
  static V splat(float f) { return _mm_set1_ps(f); }
  static V add(V a, V b) { return _mm_add_ps(a, b); }
  static V sub(V a, V b) { return _mm_sub_ps(a, b); }
  static V mul(V a, V b) { return _mm_mul_ps(a, b); }
  static V div(V a, V b) { return _mm_div_ps(a, b); }
  static V max(V a, V b) { return _mm_max_ps(a, b); }
  static V min(V a, V b) { return _mm_min_ps(a, b); }
  static V abs(V a) { return _mm_andnot_ps(_mm_set1_ps(-0.0f), a); }
  static V zeroWhereEitherZero(V v, V a, V b) {
    const V z = _mm_setzero_ps();
    return _mm_andnot_ps(_mm_or_ps(_mm_cmpeq_ps(a, z), _mm_cmpeq_ps(b, z)), v);
  }
  // Four groups of four: square, transpose so that register j holds element j of every group,
  // then add the registers in the scalar order.
  static V sumSquares4(const float* p) {
    V a0 = load(p), a1 = load(p + 4), a2 = load(p + 8), a3 = load(p + 12);
    a0 = mul(a0, a0), a1 = mul(a1, a1), a2 = mul(a2, a2), a3 = mul(a3, a3);
    _MM_TRANSPOSE4_PS(a0, a1, a2, a3);
    return add(add(add(a0, a1), a2), a3);
  }
};
#endif

#if defined(__AVX2__)
struct Avx2Lanes {
  using V = __m256;
  using Narrower = Sse2Lanes;
  static constexpr int kWidth = 8;
  static V load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, V v) { _mm256_storeu_ps(p, v); }
  static V splat(float f) { return _mm256_set1_ps(f); }
  static V add(V a, V b) { return _mm256_add_ps(a, b); }
  static V sub(V a, V b) { return _mm256_sub_ps(a, b); }
  static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
  static V div(V a, V b) { return _mm256_div_ps(a, b); }
  static V max(V a, V b) { return _mm256_max_ps(a, b); }
  static V min(V a, V b) { return _mm256_min_ps(a, b); }
  static V abs(V a) { return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), a); }
  static V zeroWhereEitherZero(V v, V a, V b) {
    const V z = _mm256_setzero_ps();
    return _mm256_andnot_ps(
        _mm256_or_ps(_mm256_cmp_ps(a, z, _CMP_EQ_OQ), _mm256_cmp_ps(b, z, _CMP_EQ_OQ)), v);
  }
  // Transposes within each 128-bit half: half c of the sum holds groups c, c+2, c+4, c+6, which
  // one permutation puts back in order.
  static V sumSquares4(const float* p) {
    V a0 = load(p), a1 = load(p + 8), a2 = load(p + 16), a3 = load(p + 24);
    a0 = mul(a0, a0), a1 = mul(a1, a1), a2 = mul(a2, a2), a3 = mul(a3, a3);
    const V t0 = _mm256_unpacklo_ps(a0, a1), t1 = _mm256_unpacklo_ps(a2, a3);
    const V t2 = _mm256_unpackhi_ps(a0, a1), t3 = _mm256_unpackhi_ps(a2, a3);
    const V r0 = _mm256_shuffle_ps(t0, t1, 0x44), r1 = _mm256_shuffle_ps(t0, t1, 0xEE);
    const V r2 = _mm256_shuffle_ps(t2, t3, 0x44), r3 = _mm256_shuffle_ps(t2, t3, 0xEE);
    const V s = add(add(add(r0, r1), r2), r3);
    return _mm256_permutevar8x32_ps(s, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
  }
};
#endif

#if defined(__AVX512F__)
struct Avx512Lanes {
  using V = __m512;
  using Narrower = Avx2Lanes;
  static constexpr int kWidth = 16;
  static V load(const float* p) { return _mm512_loadu_ps(p); }
  static void store(float* p, V v) { _mm512_storeu_ps(p, v); }
  static V splat(float f) { return _mm512_set1_ps(f); }
  static V add(V a, V b) { return _mm512_add_ps(a, b); }
  static V sub(V a, V b) { return _mm512_sub_ps(a, b); }
  static V mul(V a, V b) { return _mm512_mul_ps(a, b); }
  static V div(V a, V b) { return _mm512_div_ps(a, b); }
  static V max(V a, V b) { return _mm512_max_ps(a, b); }
  static V min(V a, V b) { return _mm512_min_ps(a, b); }
  static V abs(V a) { return _mm512_abs_ps(a); }
  static V zeroWhereEitherZero(V v, V a, V b) {
    const V z = _mm512_setzero_ps();
    const __mmask16 zero =
        _mm512_cmp_ps_mask(a, z, _CMP_EQ_OQ) | _mm512_cmp_ps_mask(b, z, _CMP_EQ_OQ);
    return _mm512_maskz_mov_ps(__mmask16(~zero), v);
  }
  // As for AVX2, with four 128-bit quarters: quarter c holds groups c, c+4, c+8, c+12.
  static V sumSquares4(const float* p) {
    V a0 = load(p), a1 = load(p + 16), a2 = load(p + 32), a3 = load(p + 48);
    a0 = mul(a0, a0), a1 = mul(a1, a1), a2 = mul(a2, a2), a3 = mul(a3, a3);
    const V t0 = _mm512_unpacklo_ps(a0, a1), t1 = _mm512_unpacklo_ps(a2, a3);
    const V t2 = _mm512_unpackhi_ps(a0, a1), t3 = _mm512_unpackhi_ps(a2, a3);
    const V r0 = _mm512_shuffle_ps(t0, t1, 0x44), r1 = _mm512_shuffle_ps(t0, t1, 0xEE);
    const V r2 = _mm512_shuffle_ps(t2, t3, 0x44), r3 = _mm512_shuffle_ps(t2, t3, 0xEE);
    const V s = add(add(add(r0, r1), r2), r3);
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutexvar_ps(order, s);
  }
};
#endif

}  // namespace
}  // namespace kels::lanes
