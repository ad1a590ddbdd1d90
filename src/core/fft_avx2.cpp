// AVX2 real FFT: the scalar kernels' operations on eight points at a time. No fused
// multiply-add, so every bin has the scalar kernel's bits.
#include <immintrin.h>

#include <utility>

#include "core/fft_kernels.h"

namespace kels::fft {
namespace {

constexpr int kW = 8;

// Sixteen floats a0 b0 a1 b1 ... a7 b7 from a and b.
inline void storeInterleaved(float* out, __m256 a, __m256 b) {
  const __m256 lo = _mm256_unpacklo_ps(a, b), hi = _mm256_unpackhi_ps(a, b);
  _mm256_storeu_ps(out, _mm256_permute2f128_ps(lo, hi, 0x20));
  _mm256_storeu_ps(out + kW, _mm256_permute2f128_ps(lo, hi, 0x31));
}

inline __m256 reversed(__m256 v) {
  return _mm256_permutevar8x32_ps(v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
}

void split(const float* x, float* zr, float* zi, int m) {
  int n = 0;
  for (; n + kW <= m; n += kW) {
    const __m256 a = _mm256_loadu_ps(x + 2 * n), b = _mm256_loadu_ps(x + 2 * n + kW);
    // Within each 128-bit lane: even elements of a then of b; then restore the lane order.
    const __m256 re = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    const __m256 im = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    _mm256_storeu_ps(zr + n, _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(re), 0xD8)));
    _mm256_storeu_ps(zi + n, _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(im), 0xD8)));
  }
  splitScalar(x, zr, zi, n, m);
}

// Sum and twiddled difference of points i..i+7 and their partners half further on.
struct Butterfly {
  __m256 sr, si, pr, pi;
};
inline Butterfly butterfly(const float* xr, const float* xi, int i, int half, __m256 cr, __m256 ci) {
  const __m256 ar = _mm256_loadu_ps(xr + i), ai = _mm256_loadu_ps(xi + i);
  const __m256 br = _mm256_loadu_ps(xr + i + half), bi = _mm256_loadu_ps(xi + i + half);
  const __m256 dr = _mm256_sub_ps(ar, br), di = _mm256_sub_ps(ai, bi);
  return {_mm256_add_ps(ar, br), _mm256_add_ps(ai, bi),
          _mm256_sub_ps(_mm256_mul_ps(dr, cr), _mm256_mul_ps(di, ci)),
          _mm256_add_ps(_mm256_mul_ps(dr, ci), _mm256_mul_ps(di, cr))};
}

// One stage; needs m/2 >= 8. For strides below 8 the eight points of a block belong to several
// twiddles (tables repeated per stride) and their results interleave in the output.
void stage(const View& v, int s, const float* xr, const float* xi, float* yr, float* yi) {
  const int half = v.m / 2;
  if (s >= kW) {
    for (int p = 0; p * s < half; ++p) {
      const __m256 cr = _mm256_set1_ps(v.rootRe[p * s]), ci = _mm256_set1_ps(v.rootIm[p * s]);
      for (int q = 0; q < s; q += kW) {
        const int i = p * s + q, o = i + p * s;
        const Butterfly b = butterfly(xr, xi, i, half, cr, ci);
        _mm256_storeu_ps(yr + o, b.sr);
        _mm256_storeu_ps(yi + o, b.si);
        _mm256_storeu_ps(yr + o + s, b.pr);
        _mm256_storeu_ps(yi + o + s, b.pi);
      }
    }
    return;
  }
  const float* wr = s == 1 ? v.rootRe : s == 2 ? v.root2Re : v.root4Re;
  const float* wi = s == 1 ? v.rootIm : s == 2 ? v.root2Im : v.root4Im;
  for (int i = 0; i < half; i += kW) {
    const Butterfly b = butterfly(xr, xi, i, half, _mm256_loadu_ps(wr + i), _mm256_loadu_ps(wi + i));
    float* outR = yr + 2 * i;
    float* outI = yi + 2 * i;
    if (s == 1) {
      storeInterleaved(outR, b.sr, b.pr);
      storeInterleaved(outI, b.si, b.pi);
    } else if (s == 2) {
      auto pairs = [](float* out, __m256 a, __m256 c) {
        const __m256d ad = _mm256_castps_pd(a), cd = _mm256_castps_pd(c);
        const __m256 lo = _mm256_castpd_ps(_mm256_unpacklo_pd(ad, cd));
        const __m256 hi = _mm256_castpd_ps(_mm256_unpackhi_pd(ad, cd));
        _mm256_storeu_ps(out, _mm256_permute2f128_ps(lo, hi, 0x20));
        _mm256_storeu_ps(out + kW, _mm256_permute2f128_ps(lo, hi, 0x31));
      };
      pairs(outR, b.sr, b.pr);
      pairs(outI, b.si, b.pi);
    } else {
      _mm256_storeu_ps(outR, _mm256_permute2f128_ps(b.sr, b.pr, 0x20));
      _mm256_storeu_ps(outR + kW, _mm256_permute2f128_ps(b.sr, b.pr, 0x31));
      _mm256_storeu_ps(outI, _mm256_permute2f128_ps(b.si, b.pi, 0x20));
      _mm256_storeu_ps(outI + kW, _mm256_permute2f128_ps(b.si, b.pi, 0x31));
    }
  }
}

void stages(const View& v, float*& zr, float*& zi, float* work) {
  float* yr = work + 2 * v.m;
  float* yi = work + 3 * v.m;
  for (int s = 1; s < v.m; s *= 2) {
    if (v.m / 2 >= kW) stage(v, s, zr, zi, yr, yi);
    else stageScalar(v, s, zr, zi, yr, yi, 0);
    std::swap(zr, yr);
    std::swap(zi, yi);
  }
}

void untangle(const View& v, const float* zr, const float* zi, float* dst) {
  const int m = v.m;
  const __m256 h = _mm256_set1_ps(0.5f);
  dst[0] = zr[0] + zi[0];
  dst[1] = zr[0] - zi[0];
  int k = 1;
  for (; k + kW - 1 < m / 2; k += kW) {
    const __m256 ar = _mm256_loadu_ps(zr + k), ai = _mm256_loadu_ps(zi + k);
    const __m256 br = reversed(_mm256_loadu_ps(zr + m - k - kW + 1));
    const __m256 bi = reversed(_mm256_loadu_ps(zi + m - k - kW + 1));
    const __m256 er = _mm256_mul_ps(h, _mm256_add_ps(ar, br));
    const __m256 ei = _mm256_mul_ps(h, _mm256_sub_ps(ai, bi));
    const __m256 or_ = _mm256_mul_ps(h, _mm256_add_ps(ai, bi));
    const __m256 oi = _mm256_mul_ps(h, _mm256_sub_ps(br, ar));
    const __m256 wr = _mm256_loadu_ps(v.untRe + k), wi = _mm256_loadu_ps(v.untIm + k);
    const __m256 tr = _mm256_sub_ps(_mm256_mul_ps(or_, wr), _mm256_mul_ps(oi, wi));
    const __m256 ti = _mm256_add_ps(_mm256_mul_ps(or_, wi), _mm256_mul_ps(oi, wr));
    storeInterleaved(dst + 2 * k, _mm256_add_ps(er, tr), _mm256_add_ps(ei, ti));
    storeInterleaved(dst + 2 * (m - k - kW + 1), reversed(_mm256_sub_ps(er, tr)),
                     reversed(_mm256_sub_ps(ti, ei)));
  }
  untangleScalar(v, zr, zi, dst, k);
}

void mergeSwapped(const float* rr, const float* ri, float* x, int m) {
  int n = 0;
  for (; n + kW <= m; n += kW) storeInterleaved(x + 2 * n, _mm256_loadu_ps(ri + n), _mm256_loadu_ps(rr + n));
  mergeSwappedScalar(rr, ri, x, n, m);
}

void forwardAvx2(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  split(src, zr, zi, v.m);
  stages(v, zr, zi, work);
  untangle(v, zr, zi, dst);
}

void inverseAvx2(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  tangleScalar(v, src, zr, zi);
  stages(v, zr, zi, work);
  mergeSwapped(zr, zi, dst, v.m);
}

}  // namespace

const Kernels& kernelsAvx2() {
  static constexpr Kernels k{forwardAvx2, inverseAvx2};
  return k;
}

}  // namespace kels::fft
