// AVX-512 column kernels: 16 float or 8 double columns per register, masked loads at the edge.
#include <immintrin.h>

#include "estimation/kernels/stats_simd.h"

namespace kels::stats {
namespace {

struct F32x16 {
  using F = float;
  using R = __m512;
  static constexpr int L = 16;
  static __mmask16 mask(int n) { return __mmask16((1u << n) - 1u); }
  static R zero() { return _mm512_setzero_ps(); }
  static R set1(float v) { return _mm512_set1_ps(v); }
  static R load(const float* p) { return _mm512_loadu_ps(p); }
  static R loadN(const float* p, int n) { return _mm512_maskz_loadu_ps(mask(n), p); }
  // The zero-masked conversions: GCC 12 warns about the undefined register the plain ones take.
  static R widen(__m256i v) {
    return _mm512_maskz_cvtepi32_ps(0xFFFF, _mm512_maskz_cvtepi16_epi32(0xFFFF, v));
  }
  static R load(const Kels16s* p) { return widen(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))); }
  static R loadN(const Kels16s* p, int n) { return widen(_mm256_maskz_loadu_epi16(mask(n), p)); }
  static void store(float* p, R r) { _mm512_storeu_ps(p, r); }
  static void storeN(float* p, R r, int n) { _mm512_mask_storeu_ps(p, mask(n), r); }
  static R add(R a, R b) { return _mm512_add_ps(a, b); }
  static R sub(R a, R b) { return _mm512_sub_ps(a, b); }
  static R mul(R a, R b) { return _mm512_mul_ps(a, b); }
};

struct F64x8 {
  using F = double;
  using R = __m512d;
  static constexpr int L = 8;
  static __mmask8 mask(int n) { return __mmask8((1u << n) - 1u); }
  static R zero() { return _mm512_setzero_pd(); }
  static R set1(double v) { return _mm512_set1_pd(v); }
  static R load(const double* p) { return _mm512_loadu_pd(p); }
  static R loadN(const double* p, int n) { return _mm512_maskz_loadu_pd(mask(n), p); }
  static R load(const float* p) { return _mm512_maskz_cvtps_pd(0xFF, _mm256_loadu_ps(p)); }
  static R loadN(const float* p, int n) {
    return _mm512_maskz_cvtps_pd(0xFF, _mm256_maskz_loadu_ps(mask(n), p));
  }
  static R widen(__m128i v) { return _mm512_maskz_cvtepi32_pd(0xFF, _mm256_cvtepi16_epi32(v)); }
  static R load(const Kels16s* p) { return widen(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))); }
  static R loadN(const Kels16s* p, int n) { return widen(_mm_maskz_loadu_epi16(mask(n), p)); }
  static void store(double* p, R r) { _mm512_storeu_pd(p, r); }
  static void storeN(double* p, R r, int n) { _mm512_mask_storeu_pd(p, mask(n), r); }
  static R add(R a, R b) { return _mm512_add_pd(a, b); }
  static R sub(R a, R b) { return _mm512_sub_pd(a, b); }
  static R mul(R a, R b) { return _mm512_mul_pd(a, b); }
};

}  // namespace

const Kernels kAvx512Kernels = makeKernels<F32x16, F64x8, 4, 3>();

}  // namespace kels::stats
