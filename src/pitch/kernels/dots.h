// Exact dot products of 16-bit signals over an integer lane type, included by every SIMD target
// file. pmaddwd adds two products into 32 bits; only (-32768)(-32768) + (-32768)(-32768) = 2^31
// wraps, to -2^31, and no true pair sum is -2^31. So t - 1 never wraps for a true value: each
// lane type widens t - 1 to 64 bits, and the 1 is added back once per pair at the end. The tail
// is one more step over zero-padded copies (a zero pair adds 0, less its 1).
#pragma once

#include <cstdint>
#include <cstring>

#include "pitch/kernels/xcorr_table.h"

namespace kels::pitch {
namespace {

// The last n < L::kWidth samples of a and b, zero-padded to one register each.
template <class L>
struct Tail {
  alignas(64) std::int16_t a[L::kWidth] = {};
  alignas(64) std::int16_t b[L::kWidth] = {};
  Tail(const std::int16_t* pa, const std::int16_t* pb, int n) {
    std::memcpy(a, pa, sizeof(std::int16_t) * std::size_t(n));
    std::memcpy(b, pb, sizeof(std::int16_t) * std::size_t(n));
  }
};

template <class L>
std::int64_t dot(const std::int16_t* a, const std::int16_t* b, int n) {
  auto acc = L::zero();
  std::int64_t steps = 0;
  int i = 0;
  for (; n - i >= L::kWidth; i += L::kWidth, ++steps)
    acc = L::accumulate(acc, L::madd(L::load(a + i), L::load(b + i)));
  if (i < n) {
    const Tail<L> t(a + i, b + i, n - i);
    acc = L::accumulate(acc, L::madd(L::load(t.a), L::load(t.b)));
    ++steps;
  }
  return L::total(acc) + steps * (L::kWidth / 2);
}

template <class L>
Dots3 dot3(const std::int16_t* a, const std::int16_t* b, int n) {
  auto aa = L::zero(), bb = L::zero(), ab = L::zero();
  auto step = [&](auto va, auto vb) {
    aa = L::accumulate(aa, L::madd(va, va));
    bb = L::accumulate(bb, L::madd(vb, vb));
    ab = L::accumulate(ab, L::madd(va, vb));
  };
  std::int64_t steps = 0;
  int i = 0;
  for (; n - i >= L::kWidth; i += L::kWidth, ++steps) step(L::load(a + i), L::load(b + i));
  if (i < n) {
    const Tail<L> t(a + i, b + i, n - i);
    step(L::load(t.a), L::load(t.b));
    ++steps;
  }
  const std::int64_t ones = steps * (L::kWidth / 2);
  return {L::total(aa) + ones, L::total(bb) + ones, L::total(ab) + ones};
}

}  // namespace
}  // namespace kels::pitch
