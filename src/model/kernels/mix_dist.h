// Scalar arithmetic of the row distances, included by every target file: the per-element terms,
// the lane a term belongs to and the reduction tree. SIMD targets run whole groups of lanes and
// finish with these, so they reproduce the scalar bits exactly.
#pragma once

#include <cstdint>

#include "model/mix_kernels.h"

namespace kels::model {
namespace {  // each target file gets its own copy, compiled with its own flags

constexpr int kLanes32 = 8;  // partial sums of a float distance
constexpr int kLanes64 = 4;  // partial sums of a double distance

// Terms (x - m)^2 * w, the square formed first; 16-bit differences are exact in integers.
struct Weighted {
  static float term(const Kels32f* x, const Kels32f* m, const Kels32f* w, int i) {
    const float d = x[i] - m[i];
    return d * d * w[i];
  }
  static double term(const Kels64f* x, const Kels64f* m, const Kels64f* w, int i) {
    const double d = x[i] - m[i];
    return d * d * w[i];
  }
  static float term(const Kels16s* x, const Kels16s* m, const Kels16s* w, int i) {
    const float d = float(int(x[i]) - int(m[i]));
    return d * d * float(w[i]);
  }
};
struct Identity {
  static float term(const Kels32f* x, const Kels32f* m, const Kels32f*, int i) {
    const float d = x[i] - m[i];
    return d * d;
  }
  static double term(const Kels64f* x, const Kels64f* m, const Kels64f*, int i) {
    const double d = x[i] - m[i];
    return d * d;
  }
  static float term(const Kels16s* x, const Kels16s* m, const Kels16s*, int i) {
    const float d = float(int(x[i]) - int(m[i]));
    return d * d;
  }
};

inline float reduce8(const float* p) {
  const float q0 = p[0] + p[4], q1 = p[1] + p[5], q2 = p[2] + p[6], q3 = p[3] + p[7];
  return (q0 + q2) + (q1 + q3);
}
inline double reduce4(const double* p) { return (p[0] + p[2]) + (p[1] + p[3]); }

// Adds the terms from element i on into the lanes p and reduces them.
template <class Form, class T>
float finish32(float* p, const T* x, const T* m, const T* w, int i, int n) {
  for (; i < n; ++i) p[i % kLanes32] += Form::term(x, m, w, i);
  return reduce8(p);
}
template <class Form>
double finish64(double* p, const Kels64f* x, const Kels64f* m, const Kels64f* w, int i, int n) {
  for (; i < n; ++i) p[i % kLanes64] += Form::term(x, m, w, i);
  return reduce4(p);
}

template <class Form, class T>
float rowDist32(const T* x, const T* m, const T* w, int n) {
  float p[kLanes32] = {};
  return finish32<Form>(p, x, m, w, 0, n);
}
template <class Form>
double rowDist64(const Kels64f* x, const Kels64f* m, const Kels64f* w, int n) {
  double p[kLanes64] = {};
  return finish64<Form>(p, x, m, w, 0, n);
}

}  // namespace
}  // namespace kels::model
