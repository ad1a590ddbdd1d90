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

// Complex a * w, as the scalar kernel forms it: (ar wr - ai wi, ar wi + ai wr).
inline void twiddled(__m256 ar, __m256 ai, __m256 wr, __m256 wi, __m256& r, __m256& i) {
  r = _mm256_sub_ps(_mm256_mul_ps(ar, wr), _mm256_mul_ps(ai, wi));
  i = _mm256_add_ps(_mm256_mul_ps(ar, wi), _mm256_mul_ps(ai, wr));
}

// Two stages in one pass, strides s and 2s (s >= 8): the four points t, t + m/4, t + m/2 and
// t + 3m/4 (t = p s + q) meet in the first stage as two pairs and in the second as the other
// two, landing at 4ps + q + {0, s, 2s, 3s}. The arithmetic is the two scalar stages' exactly.
void stagePair(const View& v, int s, const float* xr, const float* xi, float* yr, float* yi) {
  const int half = v.m / 2, quarter = v.m / 4;
  for (int p = 0; p * s < quarter; ++p) {
    const int a = p * s, b = 2 * p * s;
    const __m256 w1r = _mm256_set1_ps(v.rootRe[a]), w1i = _mm256_set1_ps(v.rootIm[a]);
    const __m256 w2r = _mm256_set1_ps(v.rootRe[a + quarter]), w2i = _mm256_set1_ps(v.rootIm[a + quarter]);
    const __m256 w3r = _mm256_set1_ps(v.rootRe[b]), w3i = _mm256_set1_ps(v.rootIm[b]);
    for (int q = 0; q < s; q += kW) {
      const int t = a + q, o = 4 * a + q;
      const __m256 x0r = _mm256_loadu_ps(xr + t), x0i = _mm256_loadu_ps(xi + t);
      const __m256 x1r = _mm256_loadu_ps(xr + t + half), x1i = _mm256_loadu_ps(xi + t + half);
      const __m256 x2r = _mm256_loadu_ps(xr + t + quarter), x2i = _mm256_loadu_ps(xi + t + quarter);
      const __m256 x3r = _mm256_loadu_ps(xr + t + half + quarter), x3i = _mm256_loadu_ps(xi + t + half + quarter);
      const __m256 u0r = _mm256_add_ps(x0r, x1r), u0i = _mm256_add_ps(x0i, x1i);
      const __m256 v0r = _mm256_add_ps(x2r, x3r), v0i = _mm256_add_ps(x2i, x3i);
      __m256 u1r, u1i, v1r, v1i;
      twiddled(_mm256_sub_ps(x0r, x1r), _mm256_sub_ps(x0i, x1i), w1r, w1i, u1r, u1i);
      twiddled(_mm256_sub_ps(x2r, x3r), _mm256_sub_ps(x2i, x3i), w2r, w2i, v1r, v1i);
      __m256 zr, zi;
      _mm256_storeu_ps(yr + o, _mm256_add_ps(u0r, v0r));
      _mm256_storeu_ps(yi + o, _mm256_add_ps(u0i, v0i));
      twiddled(_mm256_sub_ps(u0r, v0r), _mm256_sub_ps(u0i, v0i), w3r, w3i, zr, zi);
      _mm256_storeu_ps(yr + o + 2 * s, zr);
      _mm256_storeu_ps(yi + o + 2 * s, zi);
      _mm256_storeu_ps(yr + o + s, _mm256_add_ps(u1r, v1r));
      _mm256_storeu_ps(yi + o + s, _mm256_add_ps(u1i, v1i));
      twiddled(_mm256_sub_ps(u1r, v1r), _mm256_sub_ps(u1i, v1i), w3r, w3i, zr, zi);
      _mm256_storeu_ps(yr + o + 3 * s, zr);
      _mm256_storeu_ps(yi + o + 3 * s, zi);
    }
  }
}

// Strides 4 and 8 in one pass: eight points t = 4p + q cover two p, whose twiddles come from
// the repeated tables and whose results land in 128-bit halves at 16p + q + {0, 4, 8, 12}.
void stagePair4(const View& v, const float* xr, const float* xi, float* yr, float* yi) {
  const int half = v.m / 2, quarter = v.m / 4;
  for (int t = 0; t < quarter; t += kW) {
    const __m256 w1r = _mm256_loadu_ps(v.root4Re + t), w1i = _mm256_loadu_ps(v.root4Im + t);
    const __m256 w2r = _mm256_loadu_ps(v.root4Re + t + quarter), w2i = _mm256_loadu_ps(v.root4Im + t + quarter);
    const __m256 w3r = _mm256_loadu_ps(v.root8Re + t), w3i = _mm256_loadu_ps(v.root8Im + t);
    const __m256 x0r = _mm256_loadu_ps(xr + t), x0i = _mm256_loadu_ps(xi + t);
    const __m256 x1r = _mm256_loadu_ps(xr + t + half), x1i = _mm256_loadu_ps(xi + t + half);
    const __m256 x2r = _mm256_loadu_ps(xr + t + quarter), x2i = _mm256_loadu_ps(xi + t + quarter);
    const __m256 x3r = _mm256_loadu_ps(xr + t + half + quarter), x3i = _mm256_loadu_ps(xi + t + half + quarter);
    const __m256 u0r = _mm256_add_ps(x0r, x1r), u0i = _mm256_add_ps(x0i, x1i);
    const __m256 v0r = _mm256_add_ps(x2r, x3r), v0i = _mm256_add_ps(x2i, x3i);
    __m256 u1r, u1i, v1r, v1i, z2r, z2i, z3r, z3i;
    twiddled(_mm256_sub_ps(x0r, x1r), _mm256_sub_ps(x0i, x1i), w1r, w1i, u1r, u1i);
    twiddled(_mm256_sub_ps(x2r, x3r), _mm256_sub_ps(x2i, x3i), w2r, w2i, v1r, v1i);
    const __m256 z0r = _mm256_add_ps(u0r, v0r), z0i = _mm256_add_ps(u0i, v0i);
    const __m256 z1r = _mm256_add_ps(u1r, v1r), z1i = _mm256_add_ps(u1i, v1i);
    twiddled(_mm256_sub_ps(u0r, v0r), _mm256_sub_ps(u0i, v0i), w3r, w3i, z2r, z2i);
    twiddled(_mm256_sub_ps(u1r, v1r), _mm256_sub_ps(u1i, v1i), w3r, w3i, z3r, z3i);
    auto put = [](float* out, __m256 z0, __m256 z1, __m256 z2, __m256 z3) {
      _mm256_storeu_ps(out, _mm256_permute2f128_ps(z0, z1, 0x20));
      _mm256_storeu_ps(out + 8, _mm256_permute2f128_ps(z2, z3, 0x20));
      _mm256_storeu_ps(out + 16, _mm256_permute2f128_ps(z0, z1, 0x31));
      _mm256_storeu_ps(out + 24, _mm256_permute2f128_ps(z2, z3, 0x31));
    };
    put(yr + 4 * t, z0r, z1r, z2r, z3r);
    put(yi + 4 * t, z0i, z1i, z2i, z3i);
  }
}

// The stages from stride `s` on, ping-ponging between (zr, zi) and the other half of `work`;
// on return (zr, zi) hold the result.
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
    } else if (s == 4 && v.m >= 32) {
      stagePair4(v, zr, zi, yr, yi);
      s *= 4;
    } else {
      stage(v, s, zr, zi, yr, yi);
      s *= 2;
    }
    std::swap(zr, yr);
    std::swap(zi, yi);
  }
}

// The first stage straight from the interleaved frame, z[n] = x[2n] + i x[2n+1]: the split is
// a copy, so this is the scalar split and stage to the bit.
void firstStage(const View& v, const float* x, float* yr, float* yi) {
  const int half = v.m / 2;
  auto load = [&](int n, __m256& re, __m256& im) {
    const __m256 a = _mm256_loadu_ps(x + 2 * n), b = _mm256_loadu_ps(x + 2 * n + kW);
    re = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))), 0xD8));
    im = _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))), 0xD8));
  };
  for (int i = 0; i < half; i += kW) {
    __m256 ar, ai, br, bi, pr, pi;
    load(i, ar, ai);
    load(i + half, br, bi);
    twiddled(_mm256_sub_ps(ar, br), _mm256_sub_ps(ai, bi), _mm256_loadu_ps(v.rootRe + i),
             _mm256_loadu_ps(v.rootIm + i), pr, pi);
    storeInterleaved(yr + 2 * i, _mm256_add_ps(ar, br), pr);
    storeInterleaved(yi + 2 * i, _mm256_add_ps(ai, bi), pi);
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
  if (v.m / 2 >= kW) {
    zr = work + 2 * v.m;
    zi = zr + v.m;
    firstStage(v, src, zr, zi);
    stages(v, 2, zr, zi, work);
  } else {
    split(src, zr, zi, v.m);
    stages(v, 1, zr, zi, work);
  }
  untangle(v, zr, zi, dst);
}

void inverseAvx2(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  tangleScalar(v, src, zr, zi);
  stages(v, 1, zr, zi, work);
  mergeSwapped(zr, zi, dst, v.m);
}

// Bins 1 .. n/2 - 1; the caller takes bins 0 and n/2 first.
void magnitudesAvx2(const float* pack, float* mag, int n) {
  int k = 1;
  for (; k + kW <= n / 2; k += kW) {
    const __m256 a = _mm256_loadu_ps(pack + 2 * k), b = _mm256_loadu_ps(pack + 2 * k + kW);
    const __m256 re = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    const __m256 im = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    const __m256 m = _mm256_sqrt_ps(_mm256_add_ps(_mm256_mul_ps(re, re), _mm256_mul_ps(im, im)));
    _mm256_storeu_ps(mag + k, _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(m), 0xD8)));
  }
  magnitudesScalar(pack, mag, k, n);
}

}  // namespace

const Kernels& kernelsAvx2() {
  static constexpr Kernels k{forwardAvx2, inverseAvx2, magnitudesAvx2};
  return k;
}

}  // namespace kels::fft
