// SSE2 real FFT: the scalar kernels' operations on four points at a time, the library's
// baseline target. No fused multiply-add, so every bin has the scalar kernel's bits.
#include <emmintrin.h>

#include <utility>

#include "core/fft_kernels.h"

namespace kels::fft {
namespace {

constexpr int kW = 4;

// Eight floats a0 b0 a1 b1 a2 b2 a3 b3.
inline void storeInterleaved(float* out, __m128 a, __m128 b) {
  _mm_storeu_ps(out, _mm_unpacklo_ps(a, b));
  _mm_storeu_ps(out + kW, _mm_unpackhi_ps(a, b));
}

inline __m128 reversed(__m128 v) { return _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 1, 2, 3)); }

// Even and odd elements of the eight floats at x.
inline void deinterleave(const float* x, __m128& even, __m128& odd) {
  const __m128 a = _mm_loadu_ps(x), b = _mm_loadu_ps(x + kW);
  even = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
  odd = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}

void split(const float* x, float* zr, float* zi, int m) {
  int n = 0;
  for (; n + kW <= m; n += kW) {
    __m128 re, im;
    deinterleave(x + 2 * n, re, im);
    _mm_storeu_ps(zr + n, re);
    _mm_storeu_ps(zi + n, im);
  }
  splitScalar(x, zr, zi, n, m);
}

struct Butterfly {
  __m128 sr, si, pr, pi;
};
inline Butterfly butterfly(const float* xr, const float* xi, int i, int half, __m128 cr, __m128 ci) {
  const __m128 ar = _mm_loadu_ps(xr + i), ai = _mm_loadu_ps(xi + i);
  const __m128 br = _mm_loadu_ps(xr + i + half), bi = _mm_loadu_ps(xi + i + half);
  const __m128 dr = _mm_sub_ps(ar, br), di = _mm_sub_ps(ai, bi);
  return {_mm_add_ps(ar, br), _mm_add_ps(ai, bi), _mm_sub_ps(_mm_mul_ps(dr, cr), _mm_mul_ps(di, ci)),
          _mm_add_ps(_mm_mul_ps(dr, ci), _mm_mul_ps(di, cr))};
}

// One stage; needs m/2 >= 4. Strides 1 and 2 interleave the results of several twiddles.
void stage(const View& v, int s, const float* xr, const float* xi, float* yr, float* yi) {
  const int half = v.m / 2;
  if (s >= kW) {
    for (int p = 0; p * s < half; ++p) {
      const __m128 cr = _mm_set1_ps(v.rootRe[p * s]), ci = _mm_set1_ps(v.rootIm[p * s]);
      for (int q = 0; q < s; q += kW) {
        const int i = p * s + q, o = i + p * s;
        const Butterfly b = butterfly(xr, xi, i, half, cr, ci);
        _mm_storeu_ps(yr + o, b.sr);
        _mm_storeu_ps(yi + o, b.si);
        _mm_storeu_ps(yr + o + s, b.pr);
        _mm_storeu_ps(yi + o + s, b.pi);
      }
    }
    return;
  }
  const float* wr = s == 1 ? v.rootRe : v.root2Re;
  const float* wi = s == 1 ? v.rootIm : v.root2Im;
  for (int i = 0; i < half; i += kW) {
    const Butterfly b = butterfly(xr, xi, i, half, _mm_loadu_ps(wr + i), _mm_loadu_ps(wi + i));
    float* outR = yr + 2 * i;
    float* outI = yi + 2 * i;
    if (s == 1) {
      storeInterleaved(outR, b.sr, b.pr);
      storeInterleaved(outI, b.si, b.pi);
    } else {
      auto pairs = [](float* out, __m128 a, __m128 c) {
        const __m128d ad = _mm_castps_pd(a), cd = _mm_castps_pd(c);
        _mm_storeu_ps(out, _mm_castpd_ps(_mm_unpacklo_pd(ad, cd)));
        _mm_storeu_ps(out + kW, _mm_castpd_ps(_mm_unpackhi_pd(ad, cd)));
      };
      pairs(outR, b.sr, b.pr);
      pairs(outI, b.si, b.pi);
    }
  }
}

inline void twiddled(__m128 ar, __m128 ai, __m128 wr, __m128 wi, __m128& r, __m128& i) {
  r = _mm_sub_ps(_mm_mul_ps(ar, wr), _mm_mul_ps(ai, wi));
  i = _mm_add_ps(_mm_mul_ps(ar, wi), _mm_mul_ps(ai, wr));
}

// Strides s and 2s in one pass (s >= 4), as in the AVX2 kernel: points t, t + m/4, t + m/2,
// t + 3m/4 land at 4ps + q + {0, s, 2s, 3s}.
void stagePair(const View& v, int s, const float* xr, const float* xi, float* yr, float* yi) {
  const int half = v.m / 2, quarter = v.m / 4;
  for (int p = 0; p * s < quarter; ++p) {
    const int a = p * s, b = 2 * p * s;
    const __m128 w1r = _mm_set1_ps(v.rootRe[a]), w1i = _mm_set1_ps(v.rootIm[a]);
    const __m128 w2r = _mm_set1_ps(v.rootRe[a + quarter]), w2i = _mm_set1_ps(v.rootIm[a + quarter]);
    const __m128 w3r = _mm_set1_ps(v.rootRe[b]), w3i = _mm_set1_ps(v.rootIm[b]);
    for (int q = 0; q < s; q += kW) {
      const int t = a + q, o = 4 * a + q;
      const __m128 x0r = _mm_loadu_ps(xr + t), x0i = _mm_loadu_ps(xi + t);
      const __m128 x1r = _mm_loadu_ps(xr + t + half), x1i = _mm_loadu_ps(xi + t + half);
      const __m128 x2r = _mm_loadu_ps(xr + t + quarter), x2i = _mm_loadu_ps(xi + t + quarter);
      const __m128 x3r = _mm_loadu_ps(xr + t + half + quarter), x3i = _mm_loadu_ps(xi + t + half + quarter);
      const __m128 u0r = _mm_add_ps(x0r, x1r), u0i = _mm_add_ps(x0i, x1i);
      const __m128 v0r = _mm_add_ps(x2r, x3r), v0i = _mm_add_ps(x2i, x3i);
      __m128 u1r, u1i, v1r, v1i, zr, zi;
      twiddled(_mm_sub_ps(x0r, x1r), _mm_sub_ps(x0i, x1i), w1r, w1i, u1r, u1i);
      twiddled(_mm_sub_ps(x2r, x3r), _mm_sub_ps(x2i, x3i), w2r, w2i, v1r, v1i);
      _mm_storeu_ps(yr + o, _mm_add_ps(u0r, v0r));
      _mm_storeu_ps(yi + o, _mm_add_ps(u0i, v0i));
      twiddled(_mm_sub_ps(u0r, v0r), _mm_sub_ps(u0i, v0i), w3r, w3i, zr, zi);
      _mm_storeu_ps(yr + o + 2 * s, zr);
      _mm_storeu_ps(yi + o + 2 * s, zi);
      _mm_storeu_ps(yr + o + s, _mm_add_ps(u1r, v1r));
      _mm_storeu_ps(yi + o + s, _mm_add_ps(u1i, v1i));
      twiddled(_mm_sub_ps(u1r, v1r), _mm_sub_ps(u1i, v1i), w3r, w3i, zr, zi);
      _mm_storeu_ps(yr + o + 3 * s, zr);
      _mm_storeu_ps(yi + o + 3 * s, zi);
    }
  }
}

// The stages from stride `s` on, ping-ponging between (zr, zi) and the other half of `work`.
void stages(const View& v, int s, float*& zr, float*& zi, float* work) {
  float* yr = zr == work ? work + 2 * v.m : work;
  float* yi = yr + v.m;
  while (s < v.m) {
    if (v.m / 2 < kW) {
      stageScalar(v, s, zr, zi, yr, yi);
      s *= 2;
    } else if (s >= kW && 2 * s < v.m) {
      stagePair(v, s, zr, zi, yr, yi);
      s *= 4;
    } else {
      stage(v, s, zr, zi, yr, yi);
      s *= 2;
    }
    std::swap(zr, yr);
    std::swap(zi, yi);
  }
}

void untangle(const View& v, const float* zr, const float* zi, float* dst) {
  const int m = v.m;
  const __m128 h = _mm_set1_ps(0.5f);
  dst[0] = zr[0] + zi[0];
  dst[1] = zr[0] - zi[0];
  int k = 1;
  for (; k + kW - 1 < m / 2; k += kW) {
    const __m128 ar = _mm_loadu_ps(zr + k), ai = _mm_loadu_ps(zi + k);
    const __m128 br = reversed(_mm_loadu_ps(zr + m - k - kW + 1));
    const __m128 bi = reversed(_mm_loadu_ps(zi + m - k - kW + 1));
    const __m128 er = _mm_mul_ps(h, _mm_add_ps(ar, br)), ei = _mm_mul_ps(h, _mm_sub_ps(ai, bi));
    const __m128 or_ = _mm_mul_ps(h, _mm_add_ps(ai, bi)), oi = _mm_mul_ps(h, _mm_sub_ps(br, ar));
    const __m128 wr = _mm_loadu_ps(v.untRe + k), wi = _mm_loadu_ps(v.untIm + k);
    const __m128 tr = _mm_sub_ps(_mm_mul_ps(or_, wr), _mm_mul_ps(oi, wi));
    const __m128 ti = _mm_add_ps(_mm_mul_ps(or_, wi), _mm_mul_ps(oi, wr));
    storeInterleaved(dst + 2 * k, _mm_add_ps(er, tr), _mm_add_ps(ei, ti));
    storeInterleaved(dst + 2 * (m - k - kW + 1), reversed(_mm_sub_ps(er, tr)), reversed(_mm_sub_ps(ti, ei)));
  }
  untangleScalar(v, zr, zi, dst, k);
}

void mergeSwapped(const float* rr, const float* ri, float* x, int m) {
  int n = 0;
  for (; n + kW <= m; n += kW) storeInterleaved(x + 2 * n, _mm_loadu_ps(ri + n), _mm_loadu_ps(rr + n));
  mergeSwappedScalar(rr, ri, x, n, m);
}

void forwardSse2(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  split(src, zr, zi, v.m);
  stages(v, 1, zr, zi, work);
  untangle(v, zr, zi, dst);
}

void inverseSse2(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  tangleScalar(v, src, zr, zi);
  stages(v, 1, zr, zi, work);
  mergeSwapped(zr, zi, dst, v.m);
}

// Bins 1 .. n/2 - 1; the caller takes bins 0 and n/2 first.
void magnitudesSse2(const float* pack, float* mag, int n) {
  int k = 1;
  for (; k + kW <= n / 2; k += kW) {
    __m128 re, im;
    deinterleave(pack + 2 * k, re, im);
    _mm_storeu_ps(mag + k, _mm_sqrt_ps(_mm_add_ps(_mm_mul_ps(re, re), _mm_mul_ps(im, im))));
  }
  magnitudesScalar(pack, mag, k, n);
}

}  // namespace

const Kernels& kernelsSse2() {
  static constexpr Kernels k{forwardSse2, inverseSse2, magnitudesSse2};
  return k;
}

}  // namespace kels::fft
