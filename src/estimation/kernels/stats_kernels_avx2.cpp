// AVX2 column kernels: 8 float or 4 double columns per register; masked loads at the edge, and
// 16-bit edges through a small zeroed copy (AVX2 has no 16-bit masked load).
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "estimation/kernels/stats_simd.h"

namespace kels::stats {
namespace {

alignas(32) constexpr std::int32_t kMask32[16] = {-1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0};
alignas(32) constexpr std::int64_t kMask64[8] = {-1, -1, -1, -1, 0, 0, 0, 0};

struct F32x8 {
  using F = float;
  using R = __m256;
  static constexpr int L = 8;
  static __m256i mask(int n) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kMask32 + 8 - n)); }
  static R zero() { return _mm256_setzero_ps(); }
  static R set1(float v) { return _mm256_set1_ps(v); }
  static R load(const float* p) { return _mm256_loadu_ps(p); }
  static R loadN(const float* p, int n) { return _mm256_maskload_ps(p, mask(n)); }
  static R load(const Kels16s* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
  }
  static R loadN(const Kels16s* p, int n) {
    Kels16s tmp[L] = {};
    std::memcpy(tmp, p, std::size_t(n) * sizeof(Kels16s));
    return load(tmp);
  }
  static void store(float* p, R r) { _mm256_storeu_ps(p, r); }
  static void storeN(float* p, R r, int n) { _mm256_maskstore_ps(p, mask(n), r); }
  static R add(R a, R b) { return _mm256_add_ps(a, b); }
  static R sub(R a, R b) { return _mm256_sub_ps(a, b); }
  static R mul(R a, R b) { return _mm256_mul_ps(a, b); }
};

struct F64x4 {
  using F = double;
  using R = __m256d;
  static constexpr int L = 4;
  static __m256i mask(int n) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kMask64 + 4 - n)); }
  static R zero() { return _mm256_setzero_pd(); }
  static R set1(double v) { return _mm256_set1_pd(v); }
  static R load(const double* p) { return _mm256_loadu_pd(p); }
  static R loadN(const double* p, int n) { return _mm256_maskload_pd(p, mask(n)); }
  static R load(const float* p) { return _mm256_cvtps_pd(_mm_loadu_ps(p)); }
  static R loadN(const float* p, int n) {
    return _mm256_cvtps_pd(_mm_maskload_ps(p, _mm_loadu_si128(reinterpret_cast<const __m128i*>(kMask32 + 8 - n))));
  }
  static R load(const Kels16s* p) {
    return _mm256_cvtepi32_pd(_mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  }
  static R loadN(const Kels16s* p, int n) {
    Kels16s tmp[L] = {};
    std::memcpy(tmp, p, std::size_t(n) * sizeof(Kels16s));
    return load(tmp);
  }
  static void store(double* p, R r) { _mm256_storeu_pd(p, r); }
  static void storeN(double* p, R r, int n) { _mm256_maskstore_pd(p, mask(n), r); }
  static R add(R a, R b) { return _mm256_add_pd(a, b); }
  static R sub(R a, R b) { return _mm256_sub_pd(a, b); }
  static R mul(R a, R b) { return _mm256_mul_pd(a, b); }
};

}  // namespace

const Kernels kAvx2Kernels = makeKernels<F32x8, F64x4, 4, 2>();

}  // namespace kels::stats
