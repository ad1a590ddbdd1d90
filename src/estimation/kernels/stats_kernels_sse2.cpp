// SSE2 column kernels: four float or two double columns per register; partial vectors at the
// edge go through a small zeroed copy (SSE2 has no masked load).
#include <emmintrin.h>

#include <cstring>

#include "estimation/kernels/stats_simd.h"

namespace kels::stats {
namespace {

struct F32x4 {
  using F = float;
  using R = __m128;
  static constexpr int L = 4;
  static R zero() { return _mm_setzero_ps(); }
  static R set1(float v) { return _mm_set1_ps(v); }
  static R load(const float* p) { return _mm_loadu_ps(p); }
  static R loadN(const float* p, int n) {
    float tmp[L] = {};
    std::memcpy(tmp, p, std::size_t(n) * sizeof(float));
    return _mm_loadu_ps(tmp);
  }
  static R load(const Kels16s* p) {
    const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return _mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16));  // sign-extend
  }
  static R loadN(const Kels16s* p, int n) {
    Kels16s tmp[L] = {};
    std::memcpy(tmp, p, std::size_t(n) * sizeof(Kels16s));
    return load(tmp);
  }
  static void store(float* p, R r) { _mm_storeu_ps(p, r); }
  static void storeN(float* p, R r, int n) {
    float tmp[L];
    _mm_storeu_ps(tmp, r);
    std::memcpy(p, tmp, std::size_t(n) * sizeof(float));
  }
  static R add(R a, R b) { return _mm_add_ps(a, b); }
  static R sub(R a, R b) { return _mm_sub_ps(a, b); }
  static R mul(R a, R b) { return _mm_mul_ps(a, b); }
};

struct F64x2 {
  using F = double;
  using R = __m128d;
  static constexpr int L = 2;
  static R zero() { return _mm_setzero_pd(); }
  static R set1(double v) { return _mm_set1_pd(v); }
  static R load(const double* p) { return _mm_loadu_pd(p); }
  static R loadN(const double* p, int) { return _mm_load_sd(p); }  // n is 1 here
  static R load(const float* p) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
  }
  static R loadN(const float* p, int) { return _mm_cvtps_pd(_mm_load_ss(p)); }
  static R load(const Kels16s* p) { return _mm_set_pd(double(p[1]), double(p[0])); }
  static R loadN(const Kels16s* p, int) { return _mm_set_pd(0.0, double(p[0])); }
  static void store(double* p, R r) { _mm_storeu_pd(p, r); }
  static void storeN(double* p, R r, int) { _mm_store_sd(p, r); }
  static R add(R a, R b) { return _mm_add_pd(a, b); }
  static R sub(R a, R b) { return _mm_sub_pd(a, b); }
  static R mul(R a, R b) { return _mm_mul_pd(a, b); }
};

}  // namespace

const Kernels kSse2Kernels = makeKernels<F32x4, F64x2, 4, 2>();

}  // namespace kels::stats
