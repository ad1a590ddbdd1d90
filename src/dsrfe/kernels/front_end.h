// The front end's element-wise formulas, written once over a lane type (core/float_lanes.h) and
// included by every target file. The unnamed namespace gives each target its own copy. A vector
// step loads all its inputs before it stores, so an output may be the same array as an input.
#pragma once

#include <type_traits>

#include "core/float_lanes.h"
#include "dsrfe/kernels/front_end_table.h"

namespace kels::dsrfe {
namespace {

using namespace kels::lanes;

// dst = y ((y / (y + a) + 1)(a / (x + y)) + 0.9) with a = 0.1 x; 0 where a divisor is 0.
struct NoiseUpdate {
  template <class L>
  typename L::V apply(typename L::V x, typename L::V y) const {
    const auto a = L::mul(L::splat(0.1f), x);
    const auto xy = L::add(x, y);
    const auto ya = L::add(y, a);
    const auto r1 = L::div(L::splat(1.0f), xy);
    const auto r2 = L::div(L::splat(1.0f), ya);
    const auto t =
        L::add(L::mul(L::add(L::mul(y, r2), L::splat(1.0f)), L::mul(a, r1)), L::splat(0.9f));
    return L::zeroWhereEitherZero(L::mul(t, y), xy, ya);
  }
};

// Decision-directed a-priori SNR (beta 0.98), then the gain with its -22 dB floor.
struct WienerGain {
  template <class L>
  typename L::V apply(typename L::V p, typename L::V n, typename L::V d) const {
    const auto one = L::splat(1.0f);
    const auto rn = L::div(one, n);
    const auto excess = L::max(L::sub(p, n), L::splat(0.0f));
    const auto eta1 =
        L::mul(L::add(L::mul(L::splat(0.02f), excess), L::mul(L::splat(0.98f), d)), rn);
    const auto h1 = L::div(eta1, L::add(eta1, one));
    const auto eta2 = L::max(L::mul(h1, L::mul(p, rn)), L::splat(0.079432823f));
    return L::div(eta2, L::add(eta2, one));
  }
};

// Teager energy |s[n]^2 - s[n-1] s[n+1]|, in float.
struct Teager {
  template <class L>
  typename L::V apply(typename L::V prev, typename L::V s, typename L::V next) const {
    return L::abs(L::sub(L::mul(s, s), L::mul(prev, next)));
  }
};

struct Product {
  template <class L>
  typename L::V apply(typename L::V a, typename L::V b) const {
    return L::mul(a, b);
  }
};

// Element-wise maps: the widest lanes first, then each narrower width for what is left.
template <class L, class Op>
void map2(const Op& op, const float* a, const float* b, float* dst, int n) {
  int i = 0;
  for (; n - i >= L::kWidth; i += L::kWidth)
    L::store(dst + i, op.template apply<L>(L::load(a + i), L::load(b + i)));
  if constexpr (!std::is_void_v<typename L::Narrower>)
    if (i < n) map2<typename L::Narrower>(op, a + i, b + i, dst + i, n - i);
}

template <class L, class Op>
void map3(const Op& op, const float* a, const float* b, const float* c, float* dst, int n) {
  int i = 0;
  for (; n - i >= L::kWidth; i += L::kWidth)
    L::store(dst + i, op.template apply<L>(L::load(a + i), L::load(b + i), L::load(c + i)));
  if constexpr (!std::is_void_v<typename L::Narrower>)
    if (i < n) map3<typename L::Narrower>(op, a + i, b + i, c + i, dst + i, n - i);
}

// Blind equalisation in one pass: cep -= bias, then bias += mu (cep - ref) with the new cep.
// Each element depends on its own index only, and ref and bias are read after cep is stored, so
// this equals the two whole-array passes even when two of the arrays are one.
template <class L>
void equalize(const float* ref, float* cep, float* bias, float mu, int n) {
  int i = 0;
  for (; n - i >= L::kWidth; i += L::kWidth) {
    const auto c = L::sub(L::load(cep + i), L::load(bias + i));
    L::store(cep + i, c);
    const auto r = L::load(ref + i), b = L::load(bias + i);
    L::store(bias + i, L::add(b, L::mul(L::splat(mu), L::sub(c, r))));
  }
  if constexpr (!std::is_void_v<typename L::Narrower>)
    if (i < n) equalize<typename L::Narrower>(ref + i, cep + i, bias + i, mu, n - i);
}

template <class L>
void halfSumsOfSquares(const float* src, float* dst, int groups) {
  int k = 0;
  for (; groups - k >= L::kWidth; k += L::kWidth)
    L::store(dst + k, L::mul(L::sumSquares4(src + 4 * k), L::splat(0.5f)));
  if constexpr (!std::is_void_v<typename L::Narrower>)
    if (k < groups) halfSumsOfSquares<typename L::Narrower>(src + 4 * k, dst + k, groups - k);
}

template <class L>
void noiseUpdate(const float* x, const float* y, float* dst, int n) {
  map2<L>(NoiseUpdate{}, x, y, dst, n);
}

template <class L>
void wienerGain(const float* p, const float* n, const float* d, float* h, int len) {
  map3<L>(WienerGain{}, p, n, d, h, len);
}

template <class L>
void teager(const float* s, float* e, int n) {
  map3<L>(Teager{}, s - 1, s, s + 1, e, n);
}

template <class L>
void multiply(const float* a, const float* b, float* dst, int n) {
  map2<L>(Product{}, a, b, dst, n);
}

template <class L>
constexpr FrontEndKernels frontEndKernelsFor() {
  return {halfSumsOfSquares<L>, noiseUpdate<L>, wienerGain<L>, teager<L>, multiply<L>, equalize<L>};
}

}  // namespace
}  // namespace kels::dsrfe
