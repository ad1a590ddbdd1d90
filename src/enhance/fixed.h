// Fixed-point helpers shared by the noise estimator and the echo-canceller controller: arithmetic
// right shifts and 32-bit wrap-around written without implementation-defined or undefined
// behaviour, bit lengths, and the cubic Taylor exponential that turns a log-domain constant into
// a Q31 smoothing factor.
#pragma once

#include <cstdint>

namespace kels::enhance {

// v >> s rounding toward minus infinity, for negative v too (~v is non-negative when v is not).
constexpr std::int64_t asr(std::int64_t v, int s) { return v >= 0 ? v >> s : ~(~v >> s); }

// The low 32 bits of v as a signed value: what storing into a 32-bit field keeps.
constexpr std::int32_t wrap32(std::int64_t v) {
  const std::uint32_t u = std::uint32_t(std::uint64_t(v));
  return u < 0x80000000u ? std::int32_t(u) : std::int32_t(u - 0x80000000u) - 0x7FFFFFFF - 1;
}

// Number of right shifts that bring v to zero (32 for a negative v, whose sign bit is set).
constexpr int bitLength(std::int32_t v) {
  std::uint32_t u = std::uint32_t(v);
  int n = 0;
  while (u != 0) { u >>= 1; ++n; }
  return n;
}

// e^(x / 2^15) for x = (t * k) >> 31, where t is a Q15 period and k a Q31 logarithm, by the
// cubic series 1 + x + x^2/2 + x^3/6 in Q15 (715827883 = 2^32 / 6), returned in Q31. Every
// product is formed in 64 bits; each intermediate is kept in 32 bits as the state fields are.
constexpr std::int32_t taylorExpQ31(std::int32_t t, std::int32_t k) {
  const std::int32_t x = wrap32(asr(std::int64_t(t) * k, 31));
  const std::int32_t x2 = wrap32(asr(asr(std::int64_t(x) * x, 15), 1));
  const std::int32_t x3 = wrap32(asr(asr(std::int64_t(x2) * x, 15) * 715827883, 31));
  return wrap32((std::int64_t(32768) + x + x2 + x3) * 65536);  // << 16 as a multiply
}

}  // namespace kels::enhance
