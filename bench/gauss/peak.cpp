// Single-core peak without FMA (the library never fuses): independent multiply and add chains.
#include <immintrin.h>

#include "ref.h"

namespace ref {

#if defined(__AVX512F__)
const char* peakIsa() { return "avx512 mul+add"; }
double peakKernel(float* sink, long iters) {
  __m512 a[8], b[8];
  const __m512 m = _mm512_set1_ps(0.999999f), c = _mm512_set1_ps(1e-7f);
  for (int k = 0; k < 8; ++k) a[k] = b[k] = _mm512_set1_ps(float(k));
  for (long i = 0; i < iters; ++i)
    for (int k = 0; k < 8; ++k) {
      a[k] = _mm512_mul_ps(a[k], m);
      b[k] = _mm512_add_ps(b[k], c);
    }
  __m512 s = _mm512_setzero_ps();
  for (int k = 0; k < 8; ++k) s = _mm512_add_ps(s, _mm512_add_ps(a[k], b[k]));
  _mm512_storeu_ps(sink, s);
  return double(iters) * 8 * 2 * 16;
}
#else
const char* peakIsa() { return "scalar mul+add"; }
double peakKernel(float* sink, long iters) {
  float a[8], b[8];
  for (int k = 0; k < 8; ++k) a[k] = b[k] = float(k);
  for (long i = 0; i < iters; ++i)
    for (int k = 0; k < 8; ++k) {
      a[k] *= 0.999999f;
      b[k] += 1e-7f;
    }
  float s = 0;
  for (int k = 0; k < 8; ++k) s += a[k] + b[k];
  *sink = s;
  return double(iters) * 8 * 2;
}
#endif

}  // namespace ref
