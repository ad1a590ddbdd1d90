// Scalar pieces of the real FFT, included by every target file. They define each result: a SIMD
// version runs the same float operations in the same order on several points at once, and
// falls back on these for short lengths and tails. The unnamed namespace gives every target
// file its own copy, compiled with its own flags.
#pragma once

#include <cmath>

#include "core/fft.h"

namespace kels::fft {
namespace {

// z[n] = x[2n] + i x[2n+1].
inline void splitScalar(const float* x, float* zr, float* zi, int from, int m) {
  for (int n = from; n < m; ++n) {
    zr[n] = x[2 * n];
    zi[n] = x[2 * n + 1];
  }
}

// One radix-2 Stockham stage, decimation in frequency: point i = p*s + q (q < s) meets point
// i + m/2; their sum goes to 2ps + q and their twiddled difference to 2ps + s + q.
inline void stageScalar(const View& v, int s, const float* xr, const float* xi, float* yr,
                        float* yi) {
  const int half = v.m / 2;
  for (int p = 0; p * s < half; ++p) {
    const float cr = v.rootRe[p * s], ci = v.rootIm[p * s];
    for (int i = p * s, o = 2 * p * s; i < (p + 1) * s; ++i, ++o) {
      const float ar = xr[i], ai = xi[i], br = xr[i + half], bi = xi[i + half];
      yr[o] = ar + br;
      yi[o] = ai + bi;
      const float dr = ar - br, di = ai - bi;
      yr[o + s] = dr * cr - di * ci;
      yi[o + s] = dr * ci + di * cr;
    }
  }
}

// Spectrum of x from the spectrum Z of z, bins k and m - k together (1 <= k <= m/2):
// E = (Z(k) + conj Z(m-k)) / 2 is the even samples' spectrum, O = (Z(k) - conj Z(m-k)) / 2i the
// odd ones', X(k) = E + W^k O and X(m-k) = conj(E - W^k O), W = exp(-2 pi i / N).
inline void untangleScalar(const View& v, const float* zr, const float* zi, float* dst, int from) {
  const int m = v.m;
  if (from == 0) {
    dst[0] = zr[0] + zi[0];
    dst[1] = zr[0] - zi[0];
    from = 1;
  }
  for (int k = from; k <= m / 2; ++k) {
    const float ar = zr[k], ai = zi[k], br = zr[m - k], bi = zi[m - k];
    const float er = 0.5f * (ar + br), ei = 0.5f * (ai - bi);
    const float or_ = 0.5f * (ai + bi), oi = 0.5f * (br - ar);
    const float wr = v.untRe[k], wi = v.untIm[k];
    const float tr = or_ * wr - oi * wi, ti = or_ * wi + oi * wr;
    dst[2 * k] = er + tr;
    dst[2 * k + 1] = ei + ti;
    dst[2 * (m - k)] = er - tr;
    dst[2 * (m - k) + 1] = ti - ei;
  }
}

// The inverse's first step: 2 Z(k) = (X(k) + conj X(m-k)) + i W^-k (X(k) - conj X(m-k)), stored
// with real and imaginary parts swapped, since swap(DFT(swap(Z))) is the inverse DFT of Z.
inline void tangleScalar(const View& v, const float* x, float* zr, float* zi) {
  const int m = v.m;
  zi[0] = x[0] + x[1];
  zr[0] = x[0] - x[1];
  for (int k = 1; k <= m / 2; ++k) {
    const float ar = x[2 * k], ai = x[2 * k + 1], br = x[2 * (m - k)], bi = x[2 * (m - k) + 1];
    const float sr = ar + br, si = ai - bi, dr = ar - br, di = ai + bi;
    const float wr = v.untRe[k], wi = v.untIm[k];
    const float vr = dr * wr + di * wi, vi = di * wr - dr * wi;
    zi[k] = sr - vi;
    zr[k] = si + vr;
    zi[m - k] = sr + vi;
    zr[m - k] = vr - si;
  }
}

// x[2n] + i x[2n+1] = swap(R(n)).
inline void mergeSwappedScalar(const float* rr, const float* ri, float* x, int from, int m) {
  for (int n = from; n < m; ++n) {
    x[2 * n] = ri[n];
    x[2 * n + 1] = rr[n];
  }
}

// |X(k)| for k = from .. n/2 - 1 of a packed spectrum; bin k is written at k, below the 2k it is
// read from, so mag may equal pack once bins 0 and n/2 have been taken care of.
inline void magnitudesScalar(const float* pack, float* mag, int from, int n) {
  for (int k = from; k < n / 2; ++k) {
    const float re = pack[2 * k], im = pack[2 * k + 1];
    mag[k] = std::sqrt(re * re + im * im);
  }
}

}  // namespace
}  // namespace kels::fft
