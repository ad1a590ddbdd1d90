// Suppression gains in Q31 from per-bin signal-to-noise figures: the Wiener rule xi / (1 + xi)
// by table lookup on a quantised xi (Q15), and the second rule (EMNS) as a table for small
// arguments and a per-octave quadratic beyond.
#include <array>
#include <cstddef>
#include <cstdint>

#include <kelsr.h>

#include "core/check.h"
#include "enhance/fixed.h"

namespace kels::enhance {
namespace {

constexpr int kMaxLen = 65535;
constexpr std::int32_t kOneQ31 = 2147483647;

// floor(2^31 * x / (1 + x)) for x = num / den.
constexpr std::int32_t wienerEntry(std::int64_t num, std::int64_t den) {
  return std::int32_t((std::int64_t(1) << 31) * num / (num + den));
}
// xi < 8 in buckets of 1/16, each at its lower end: entry i is x = i / 16.
constexpr std::array<std::int32_t, 64> kWienerFine = [] {
  std::array<std::int32_t, 64> t{};
  for (int i = 0; i < 64; ++i) t[std::size_t(i)] = wienerEntry(i, 16);
  return t;
}();
// 4 <= xi < 64 in buckets of 4, and 64 <= xi < 512 in buckets of 64, each at its upper end: the
// coarse tables quantise the other way from the fine one, and that is kept.
constexpr std::array<std::int32_t, 16> kWienerMid = [] {
  std::array<std::int32_t, 16> t{};
  for (int i = 1; i < 16; ++i) t[std::size_t(i)] = wienerEntry(4 * (i + 1), 1);
  return t;
}();
constexpr std::array<std::int32_t, 8> kWienerHigh = [] {
  std::array<std::int32_t, 8> t{};
  for (int i = 1; i < 8; ++i) t[std::size_t(i)] = wienerEntry(64 * (i + 1), 1);
  return t;
}();

Kels32s wienerGain(Kels32s v) {
  if (v < 0) return 0;
  if (v < (1 << 17)) return kWienerFine[std::size_t(v >> 11)];
  if (v < (1 << 21)) return kWienerMid[std::size_t(v >> 17)];
  if (v < (1 << 24)) return kWienerHigh[std::size_t(v >> 21)];
  return kOneQ31;
}

// Gain factors for v = (a * min(m, 100)) >> 24 below 129, falling as about 1815 / sqrt(v).
constexpr std::int32_t kEmnsT[129] = {
    2147483647, 1815, 1283, 1048, 907, 812, 741, 686, 642, 605, 574, 547, 524, 503, 485, 469, 454,
    440, 428, 416, 406, 396, 387, 378, 370, 363, 356, 349, 343, 337, 331, 326, 321, 316, 311, 307,
    303, 298, 294, 291, 287, 283, 280, 277, 274, 271, 268, 265, 262, 259, 257, 254, 252, 249, 247,
    245, 243, 240, 238, 236, 234, 232, 231, 229, 227, 225, 223, 222, 220, 219, 217, 215, 214, 212,
    211, 210, 208, 207, 206, 204, 203, 202, 200, 199, 198, 197, 196, 195, 193, 192, 191, 190, 189,
    188, 187, 186, 185, 184, 183, 182, 182, 181, 180, 179, 178, 177, 176, 175, 175, 174, 173, 172,
    172, 171, 170, 169, 169, 168, 167, 166, 166, 165, 164, 164, 163, 162, 162, 161, 160};
// Per-octave quadratic g = W + (((U * d) >> 13) - V) * d >> (k + 5) for v in [2^(k+7), 2^(k+8)),
// d = v - 2^(k+7); g is the factor in Q22, continuing T from 160 down to about 1.0009.
constexpr std::int32_t kEmnsU[24] = {1576642499, 557423223, 197075987, 69674844, 24632335, 8707825,
                                     3077959, 1087711, 384201, 135577, 47749, 16748, 5823, 1986,
                                     648, 193, 49, 11, 2, 0, 0, 0, 0, 0};
constexpr std::int32_t kEmnsV[24] = {72453962, 51231813, 36225125, 25613282, 18108852, 12801395,
                                     9047010, 6390220, 4508716, 3174276, 2225121, 1546422, 1056723,
                                     698929, 435261, 245271, 121987, 56781, 27183, 13368, 6635,
                                     3306, 1650, 824};
constexpr std::int32_t kEmnsW[24] = {669498645, 473414302, 334764744, 236728959, 167413213,
                                     118408092, 83768274, 59291231, 42007360, 29819668, 21249233,
                                     15255427, 11108711, 8299601, 6470760, 5361107, 4756698,
                                     4463049, 4325745, 4259445, 4226742, 4210491, 4202389, 4198345};

constexpr std::int32_t kMaxM = 1 << 30;
constexpr std::int32_t kMCap = 3276800;  // 100 in Q15

Kels32s emnsGain(Kels32s a, Kels32s m) {
  const std::int64_t mc = m < kMCap ? m : kMCap;
  // a < 2^31 and mc <= 100 * 2^15 keep the product below 2^53, so v fits in 31 bits.
  const std::int32_t v = std::int32_t((std::int64_t(a) * mc) >> 24);
  std::int64_t out;
  if (v < 129) {
    out = std::int64_t(a) * kEmnsT[v];
  } else {
    const int p = bitLength(v) - 1;  // v < 2^31: p is 7..30, k 0..23
    const int k = p - 7;
    const std::int64_t d = v - (std::int64_t(1) << p);
    const std::int64_t g = kEmnsW[k] + asr((asr(std::int64_t(kEmnsU[k]) * d, 13) - kEmnsV[k]) * d, k + 5);
    out = asr(std::int64_t(a) * g, 22);
  }
  return out < kOneQ31 ? Kels32s(out) : kOneQ31;
}

}  // namespace
}  // namespace kels::enhance

using namespace kels;
using namespace kels::enhance;

extern "C" KELS_API KelsStatus KELS_CALL kelsFilterUpdateWiener_32s(const Kels32s* pSNR, Kels32s* pGain,
                                                                  int len) {
  if (KelsStatus st = ArgCheck{}.ptrs(pSNR, pGain).arg(len >= 1 && len <= kMaxLen, kelErrLengthRange);
      st != kelOk)
    return st;
  for (int i = 0; i < len; ++i) pGain[i] = wienerGain(pSNR[i]);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsFilterUpdateEMNS_32s(const Kels32s* pA, const Kels32s* pM,
                                                                Kels32s* pGain, int len) {
  // Every element is checked before the first gain is written.
  const auto inDomain = [&] {
    for (int i = 0; i < len; ++i)
      if (pA[i] < 0 || pM[i] < 1 || pM[i] > kMaxM) return false;
    return true;
  };
  if (KelsStatus st = ArgCheck{}
                          .ptrs(pA, pM, pGain)
                          .arg(len >= 1 && len <= kMaxLen, kelErrLengthRange)
                          .data(inDomain, kelErrRange);
      st != kelOk)
    return st;
  for (int i = 0; i < len; ++i) pGain[i] = emnsGain(pA[i], pM[i]);
  return kelOk;
}
