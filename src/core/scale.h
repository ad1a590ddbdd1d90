// Conversions shared by every integer result: exact powers of two for scale factors, rounding
// half to even, saturation, and the processor's 2^31 -> -2^31 conversion of single-precision
// results produced explicitly (a float-to-int conversion out of range is undefined in C++).
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include <kelsr.h>

namespace kels {

namespace detail {
// Bits of the float 2^-sf: +inf from 2^128 up, subnormals down to 2^-149, then 0.
constexpr std::uint32_t pow2NegBits(int sf) {
  const int e = -sf;
  if (e >= 128) return 0x7F800000u;
  if (e >= -126) return std::uint32_t(e + 127) << 23;
  if (e >= -149) return 1u << (e + 149);
  return 0u;
}
template <std::size_t... I>
constexpr std::array<std::uint32_t, sizeof...(I)> pow2NegTable(std::index_sequence<I...>) {
  return {{pow2NegBits(int(I) - 128)...}};
}
inline constexpr auto kPow2NegBits = pow2NegTable(std::make_index_sequence<150 + 128 + 1>{});
}  // namespace detail

constexpr int kMinScale = -128;  // 2^128: +inf
constexpr int kMaxScale = 150;   // 2^-150: 0

// Exact 2^-sf from the table, sf clamped to -128..150. A table, not ldexp: ldexp may set errno,
// and the library keeps no side state.
inline float pow2NegF(int sf) {
  const std::uint32_t bits = detail::kPow2NegBits[std::size_t(std::clamp(sf, kMinScale, kMaxScale) - kMinScale)];
  float f;
  std::memcpy(&f, &bits, sizeof f);
  return f;
}
// The same clamped power in double, so double results scale by the same rule.
inline double pow2NegD(int sf) { return double(pow2NegF(sf)); }

// r * 2^-sf with the power formed as the integer 1 << |sf| in float; beyond 30 the integer form
// would overflow, and the table gives the same exact power.
inline float scaleByIntPow2(float r, int sf) {
  if (sf > 0 && sf < 31) return r / float(1 << sf);
  if (sf < 0 && sf > -31) return r * float(1 << -sf);
  return sf == 0 ? r : r * pow2NegF(sf);
}

// Ties to even under the default rounding mode, as the processor's conversion rounds.
inline float roundEven(float r) { return std::nearbyint(r); }
inline double roundEven(double r) { return std::nearbyint(r); }

inline Kels16s sat16(std::int64_t v) { return Kels16s(std::clamp<std::int64_t>(v, INT16_MIN, INT16_MAX)); }
inline Kels32s sat32(std::int64_t v) { return Kels32s(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX)); }
inline Kels8u sat8u(std::int64_t v) { return Kels8u(std::clamp<std::int64_t>(v, 0, 255)); }

// Rounded, saturated conversion of a real result to an integer element.
// - Kels32s from float (a result computed in single precision): clamped to -2^31..2^31 before
//   conversion, and exactly 2^31 becomes -2^31, as the processor's conversion yields; NaN gives
//   -2^31 (its "integer indefinite").
// - Kels32s from double: saturated to -2^31..2^31-1; NaN gives -2^31.
// - Kels16s, Kels8u: saturated to the type's range; NaN gives the lowest value (a packing
//   conversion saturates the indefinite -2^31).
template <class Int> Int roundSat(float r);
template <class Int> Int roundSat(double r);

template <>
inline Kels32s roundSat<Kels32s>(float r) {
  if (std::isnan(r)) return INT32_MIN;
  r = roundEven(std::clamp(r, -2147483648.0f, 2147483648.0f));
  return r < 2147483648.0f ? Kels32s(r) : INT32_MIN;
}
template <>
inline Kels32s roundSat<Kels32s>(double r) {
  if (std::isnan(r)) return INT32_MIN;
  return Kels32s(roundEven(std::clamp(r, -2147483648.0, 2147483647.0)));
}
template <>
inline Kels16s roundSat<Kels16s>(double r) {
  if (std::isnan(r)) return INT16_MIN;
  return Kels16s(roundEven(std::clamp(r, -32768.0, 32767.0)));
}
template <>
inline Kels16s roundSat<Kels16s>(float r) { return roundSat<Kels16s>(double(r)); }
template <>
inline Kels8u roundSat<Kels8u>(double r) {
  if (std::isnan(r)) return 0;
  return Kels8u(roundEven(std::clamp(r, 0.0, 255.0)));
}
template <>
inline Kels8u roundSat<Kels8u>(float r) { return roundSat<Kels8u>(double(r)); }

// An exact integer v times 2^-sf, rounded half to even and kept in 64 bits (saturating when a
// negative sf shifts it out of range). Callers saturate to their element type with sat16/sat32.
inline std::int64_t scaleRoundEven(std::int64_t v, int sf) {
  if (sf == 0 || v == 0) return v;
  if (sf < 0) {
    const int s = -sf;
    if (s >= 63) return v > 0 ? INT64_MAX : INT64_MIN;
    if (v > (INT64_MAX >> s)) return INT64_MAX;
    if (v < (INT64_MIN >> s)) return INT64_MIN;
    return v * (std::int64_t(1) << s);  // a multiply: shifting a negative value left is undefined
  }
  if (sf >= 64) return 0;  // |v| <= 2^63, so |v| * 2^-64 <= 1/2, and the tie rounds to even 0
  const std::int64_t q = v >> sf;  // floor
  const std::uint64_t rem = std::uint64_t(v) & ((std::uint64_t(1) << sf) - 1);
  const std::uint64_t half = std::uint64_t(1) << (sf - 1);
  return (rem > half || (rem == half && (q & 1))) ? q + 1 : q;
}

// Output adaptors: how a family's real result becomes its stored element.
template <class T>
struct AsIs {
  template <class R>
  T operator()(R r) const { return T(r); }
};

template <class Int>
struct ScaleSat {
  int sf;
  Int operator()(float r) const { return roundSat<Int>(r * pow2NegF(sf)); }
  Int operator()(double r) const { return roundSat<Int>(r * pow2NegD(sf)); }
};

}  // namespace kels
