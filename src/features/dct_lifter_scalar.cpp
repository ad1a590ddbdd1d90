// The portable lifter kernel. It defines every result: eight partial sums, element k into sum
// k % 8, one fixed reduction tree, then one multiplication by the row's lifter weight. The sums
// start at -0, the exact additive identity, so a sum is its first product (SIMD kernels start
// from that product) and a sum with no element stays -0.
#include "features/dct_lifter.h"

namespace kels::features {
namespace {

template <class Src>
float dotRow(const float* b, const Src* x, int M) {
  float p[8] = {-0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f, -0.0f};
  int k = 0;
  for (; k + 8 <= M; k += 8)
    for (int l = 0; l < 8; ++l) p[l] += b[k + l] * float(x[k + l]);
  for (int l = 0; k < M; ++k, ++l) p[l] += b[k] * float(x[k]);
  const float q0 = p[0] + p[4], q1 = p[1] + p[5], q2 = p[2] + p[6], q3 = p[3] + p[7];
  return (q0 + q2) + (q1 + q3);
}

template <class Src>
void lifter(const Src* x, float* out, const LifterView& v) {
  const int n = v.Q + v.c0;
  for (int j = 0; j < n; ++j) {
    const int r = lifterRow(j, v.Q);
    out[j] = dotRow(v.row0 + r * v.stride, x, v.M) * v.w[r];
  }
}

}  // namespace

void lifterScalar(const float* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterScalar(const Kels16s* x, float* out, const LifterView& v) { lifter(x, out, v); }
void lifterScalar(const Kels32s* x, float* out, const LifterView& v) { lifter(x, out, v); }

}  // namespace kels::features
