// Reciprocal and reciprocal-square-root estimates for the paths that refine an estimate by one
// Newton step instead of dividing. The estimate is the exact value cut to 12 significant bits:
// as coarse as a hardware estimate, but the same bits on every processor and target.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace kels {

inline float cutTo12Bits(float x) {
  if (std::isnan(x)) return x;
  std::uint32_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  bits &= 0xFFFFF800u;  // sign, exponent and the top 11 stored mantissa bits
  std::memcpy(&x, &bits, sizeof bits);
  return x;
}

inline float recipEstimate(float d) { return cutTo12Bits(1.0f / d); }
inline float rsqrtEstimate(float v) { return cutTo12Bits(1.0f / std::sqrt(v)); }

}  // namespace kels
