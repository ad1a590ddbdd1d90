// Reference arithmetic for tests, written independently of src/: long double rounding and
// saturation, and closeness with a bound the test derives.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace kels::test {

using Ref = long double;

// Round half to even, independent of the current rounding mode.
inline Ref refRoundEven(Ref x) {
  const Ref f = std::floor(x);
  const Ref d = x - f;
  if (d > 0.5L) return f + 1;
  if (d < 0.5L) return f;
  return std::fmod(f, 2.0L) == 0 ? f : f + 1;
}

template <class Int>
Int refSaturate(Ref x) {
  if (x <= Ref(std::numeric_limits<Int>::min())) return std::numeric_limits<Int>::min();
  if (x >= Ref(std::numeric_limits<Int>::max())) return std::numeric_limits<Int>::max();
  return Int(x);
}

// x * 2^-sf, rounded half to even, saturated.
template <class Int>
Int refScaleRound(Ref x, int sf) {
  return refSaturate<Int>(refRoundEven(std::ldexp(x, -sf)));
}

// True if x lies within 1e-9 (relative to 1) of a rounding tie: there the test's rounding and a
// float computation may legitimately differ by one.
inline bool nearTie(Ref x) {
  const Ref d = x - std::floor(x);
  return std::fabs(d - 0.5L) < 1e-9L * (1 + std::fabs(x));
}

}  // namespace kels::test
