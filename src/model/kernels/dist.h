// Scalar row-distance arithmetic that defines every target's result (see dist_kernels.h): the
// terms, the lane each element goes to and the reduction tree. Target files include this and
// hand their partial sums to the same finishing code for the tail. The unnamed namespace gives
// each target file its own copy, so the linker cannot hand AVX2 code to an SSE2 caller.
#pragma once

#include <algorithm>
#include <cstdint>

#include "model/kernels/dist_kernels.h"

namespace kels {
namespace {

constexpr int kLanes32 = 8;  // partial sums of a float sum
constexpr int kLanes64 = 4;  // partial sums of a double sum

inline float reduceLanes(const float* p) {
  const float q0 = p[0] + p[4], q1 = p[1] + p[5], q2 = p[2] + p[6], q3 = p[3] + p[7];
  return (q0 + q2) + (q1 + q3);
}
inline double reduceLanes(const double* p) { return (p[0] + p[2]) + (p[1] + p[3]); }

template <class Acc>
constexpr int lanesOf() { return sizeof(Acc) == 4 ? kLanes32 : kLanes64; }

// Adds the terms i..n-1 to their lanes, then reduces: the tail of every target and the whole of
// the scalar kernel.
template <class Acc, class Term>
Acc finishSum(Acc* p, Term term, int i, int n) {
  constexpr int kL = lanesOf<Acc>();
  for (; i < n; ++i) p[i % kL] += term(i);
  return reduceLanes(p);
}
template <class Acc, class Term>
Acc laneSum(Term term, int n) {
  Acc p[lanesOf<Acc>()] = {};
  return finishSum(p, term, 0, n);
}

// Terms. The 16-bit difference is exact in int and exactly representable in float.
template <class Acc, class T>
struct WsdTerm {
  const T *x, *mu, *w;
  Acc operator()(int i) const { const Acc d = Acc(x[i]) - Acc(mu[i]); return (d * d) * Acc(w[i]); }
};
template <class Acc, class T>
struct SdTerm {
  const T *x, *mu;
  Acc operator()(int i) const { const Acc d = Acc(x[i]) - Acc(mu[i]); return d * d; }
};
template <class Acc, class T>
struct DvdTerm {
  const T *x, *mu, *v;
  Acc operator()(int i) const { const Acc d = Acc(x[i]) - Acc(mu[i]); return (d * d) / Acc(v[i]); }
};
struct WsdTerm16s {
  const std::int16_t *x, *mu, *w;
  float operator()(int i) const { const float d = float(int(x[i]) - int(mu[i])); return (d * d) * float(w[i]); }
};
struct SdTerm16s {
  const std::int16_t *x, *mu;
  float operator()(int i) const { const float d = float(int(x[i]) - int(mu[i])); return d * d; }
};
struct DvdTerm16s {
  const std::int16_t *x, *mu, *v;
  float operator()(int i) const { const float d = float(int(x[i]) - int(mu[i])); return (d * d) / float(v[i]); }
};

// floor(v / 2^s), written without shifting a negative value.
inline std::int64_t shrFloor(std::int64_t v, int s) { return v >= 0 ? v >> s : -((-v - 1) >> s) - 1; }

// One element of the Low split evaluation, 0 <= sf <= 15.
inline std::int64_t lowTerm(std::int16_t x, std::int16_t mu, std::int32_t w, int sf) {
  const std::int32_t d = std::clamp(std::int32_t(x) - std::int32_t(mu), -32768, 32767);
  const std::uint32_t sq = std::uint32_t(d * d);                  // <= 2^30
  const std::int32_t hi = std::int32_t(sq >> 16);                  // <= 2^14
  const std::int32_t lo = std::int32_t((sq & 0xFFFFu) >> 1);       // the halving takes the 1/2
  return std::int64_t(hi * w) * (std::int64_t(1) << (15 - sf)) + shrFloor(lo * w, sf);
}

inline float wsd32fScalar(const float* x, const float* mu, const float* w, int n) {
  return laneSum<float>(WsdTerm<float, float>{x, mu, w}, n);
}
inline float sd32fScalar(const float* x, const float* mu, int n) {
  return laneSum<float>(SdTerm<float, float>{x, mu}, n);
}
inline float dvd32fScalar(const float* x, const float* mu, const float* v, int n) {
  return laneSum<float>(DvdTerm<float, float>{x, mu, v}, n);
}
inline double wsd64fScalar(const double* x, const double* mu, const double* w, int n) {
  return laneSum<double>(WsdTerm<double, double>{x, mu, w}, n);
}
inline double sd64fScalar(const double* x, const double* mu, int n) {
  return laneSum<double>(SdTerm<double, double>{x, mu}, n);
}
inline double dvd64fScalar(const double* x, const double* mu, const double* v, int n) {
  return laneSum<double>(DvdTerm<double, double>{x, mu, v}, n);
}
inline double wsd32f64fScalar(const float* x, const float* mu, const float* w, int n) {
  return laneSum<double>(WsdTerm<double, float>{x, mu, w}, n);
}
inline double sd32f64fScalar(const float* x, const float* mu, int n) {
  return laneSum<double>(SdTerm<double, float>{x, mu}, n);
}
inline double dvd32f64fScalar(const float* x, const float* mu, const float* v, int n) {
  return laneSum<double>(DvdTerm<double, float>{x, mu, v}, n);
}
inline float wsd16sScalar(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* w, int n) {
  return laneSum<float>(WsdTerm16s{x, mu, w}, n);
}
inline float sd16sScalar(const std::int16_t* x, const std::int16_t* mu, int n) {
  return laneSum<float>(SdTerm16s{x, mu}, n);
}
inline float dvd16sScalar(const std::int16_t* x, const std::int16_t* mu, const std::int16_t* v, int n) {
  return laneSum<float>(DvdTerm16s{x, mu, v}, n);
}
// Integer sums are exact, so their order is free.
inline std::int64_t lowWsd16sScalar(const std::int16_t* x, const std::int16_t* mu,
                                    const std::int16_t* w, int n, int sf) {
  std::int64_t s = 0;
  for (int i = 0; i < n; ++i) s += lowTerm(x[i], mu[i], w[i], sf);
  return s;
}
inline std::int64_t lowSd16sScalar(const std::int16_t* x, const std::int16_t* mu, int n, int sf) {
  std::int64_t s = 0;
  for (int i = 0; i < n; ++i) s += lowTerm(x[i], mu[i], 1, sf);
  return s;
}

}  // namespace
}  // namespace kels
