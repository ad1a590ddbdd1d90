// Noise power tracking by minima-controlled recursive averaging (MCRA) in caller memory. The
// smoothing constants are defined for a reference frame period of 8 ms and scaled to the actual
// period R / fs through the cubic Taylor exponential in Q15; the per-bin update works in double
// precision on the Q31-scaled integers and rounds half to even.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <kelsr.h>

#include "core/check.h"
#include "core/scale.h"
#include "enhance/fixed.h"

// Init builds this in caller memory, which the caller later copies or releases without telling
// us: so it holds byte offsets, not pointers, and a copied block stays valid. The field order is
// the documented one; only the four array references became offsets.
struct KelsMCRAState_32s {
  std::int32_t sampleRate, fftLen, bits, shift, window, counter, first;
  std::int32_t alphaD, alphaP, alphaS, delta;
  std::uint32_t presenceAt, smoothAt, minAt, tmpAt;  // byte offsets of the four bin arrays
};
static_assert(std::is_trivially_destructible_v<KelsMCRAState_32s>);
static_assert(sizeof(KelsMCRAState_32s) == 60, "header size is part of the documented block size");

namespace kels::enhance {
namespace {

constexpr int kMinFft = 8, kMaxFft = 8192;
constexpr int kMinRate = 8000, kMaxRate = 48000;
constexpr std::int32_t kDelta = 163840;        // presence threshold on S / S_min: 5.0 in Q15
constexpr std::int32_t kLnAlphaD = -765953610;  // ln 0.7 in Q31
constexpr std::int32_t kLnAlphaS = -479197128;  // ln 0.8
constexpr std::int32_t kLnAlphaP = -432030200;  // ln 0.2 / 8: squared three times afterwards
constexpr double kOne = 2147483647.0;           // one in Q31
constexpr double kQ31 = 1.0 / 2147483648.0;     // 2^-31, exact

int binCount(int fftLen) { return fftLen / 2 + 1; }

Kels32s* binArray(KelsMCRAState_32s* s, std::uint32_t at) {
  return reinterpret_cast<Kels32s*>(reinterpret_cast<unsigned char*>(s) + at);
}

KelsStatus checkInit(int rate, int fftLen, const KelsMCRAState_32s* state) {
  return ArgCheck{}
      .ptr(state)
      .arg(rate >= kMinRate && rate <= kMaxRate, kelErrRange)
      .arg(fftLen >= kMinFft && fftLen <= kMaxFft, kelErrSize);
}

// The frame shift is tested with the rate, before N: an out-of-range N can fail the shift test
// first and be reported as kelErrRange.
KelsStatus checkAltInit(int rate, int fftLen, int shift, const KelsMCRAState_32s* state) {
  return ArgCheck{}
      .ptr(state)
      .arg(rate >= kMinRate && rate <= kMaxRate && shift >= 1 && shift <= fftLen / 2, kelErrRange)
      .arg(fftLen >= kMinFft && fftLen <= kMaxFft, kelErrSize);
}

// Fields shared by both initialisers; m is the number of frames per 8 ms in Q15 (plus one),
// which each initialiser derives in its own way.
void initState(KelsMCRAState_32s* s, int rate, int fftLen, int shift, std::int64_t m) {
  const int bins = binCount(fftLen);
  s->sampleRate = rate;
  s->fftLen = fftLen;
  s->bits = bitLength(fftLen / 2);
  s->shift = shift;
  s->window = wrap32(asr(125 * m, 15));
  s->counter = 0;
  s->first = 1;
  s->delta = kDelta;
  const std::uint32_t arrays = sizeof(KelsMCRAState_32s);
  const std::uint32_t bytes = std::uint32_t(bins) * sizeof(Kels32s);
  s->presenceAt = arrays;
  s->smoothAt = arrays + bytes;
  s->minAt = arrays + 2 * bytes;
  s->tmpAt = arrays + 3 * bytes;

  // Frame period in units of 8 ms, Q15.
  const std::int32_t t = std::int32_t(std::int64_t(125) * shift * 32768 / rate);
  s->alphaD = taylorExpQ31(t, kLnAlphaD);
  s->alphaS = taylorExpQ31(t, kLnAlphaS);
  // 0.2^(t) taken as (0.2^(t/8))^8 keeps the series argument small.
  std::int32_t p = taylorExpQ31(t, kLnAlphaP);
  for (int i = 0; i < 3; ++i) p = wrap32(asr(std::int64_t(p) * p, 31));
  s->alphaP = p;
}

void updateNoise(const Kels32s* power, KelsMCRAState_32s* s, Kels32s* noise) {
  const int bins = binCount(s->fftLen);
  Kels32s* p = binArray(s, s->presenceAt);
  Kels32s* sm = binArray(s, s->smoothAt);
  Kels32s* smin = binArray(s, s->minAt);
  Kels32s* stmp = binArray(s, s->tmpAt);

  if (s->first != 0) {
    for (int k = 0; k < bins; ++k) {
      sm[k] = smin[k] = stmp[k] = noise[k] = power[k];
      p[k] = 0;
    }
  } else {
    const double as = s->alphaS, ap = s->alphaP, ad = s->alphaD;
    const double presence = kOne - ap;
    const bool restart = s->counter == s->window;
    for (int k = 0; k < bins; ++k) {
      const double y = power[k];
      sm[k] = roundSat<Kels32s>((as * sm[k] + (kOne - as) * y) * kQ31);
      if (restart) {
        smin[k] = stmp[k] < sm[k] ? stmp[k] : sm[k];
        stmp[k] = sm[k];
      } else {
        if (sm[k] < smin[k]) smin[k] = sm[k];
        if (sm[k] < stmp[k]) stmp[k] = sm[k];
      }
      // delta * S_min in Q15 is exact in double; the cap keeps it a 32-bit quantity.
      double bound = double(s->delta) * smin[k] * (1.0 / 32768.0);
      if (bound > 2147483647.0) bound = 2147483647.0;
      const double q = ap * p[k] * kQ31 + (bound < sm[k] ? presence : 0.0);
      p[k] = roundSat<Kels32s>(q);
      const double a = ad + q * (kOne - ad) * kQ31;
      noise[k] = roundSat<Kels32s>(a * noise[k] * kQ31 + (kOne - a) * y * kQ31);
    }
    if (restart) s->counter = 0;
  }
  s->counter = wrap32(std::int64_t(s->counter) + 1);
  s->first = 0;
}

}  // namespace
}  // namespace kels::enhance

using namespace kels;
using namespace kels::enhance;

extern "C" KELS_API KelsStatus KELS_CALL kelsGetSizeMCRA_32s(int fftLen, int* pSize) {
  if (KelsStatus st = ArgCheck{}.ptr(pSize).arg(fftLen >= kMinFft && fftLen <= kMaxFft, kelErrSize);
      st != kelOk)
    return st;
  *pSize = 84 + 16 * (fftLen / 2);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsInitMCRA_32s(int sampleRate, int fftLen,
                                                        KelsMCRAState_32s* pState) {
  if (KelsStatus st = checkInit(sampleRate, fftLen, pState); st != kelOk) return st;
  // One second of frames at shift N/2, the division by the shift done as a shift by b - 1
  // (17179869 ~ 2^32 / 250).
  const int b = bitLength(fftLen / 2);
  const std::int64_t m = ((std::int64_t(sampleRate) * 17179869) >> 16 >> (b - 1)) + 1;
  initState(pState, sampleRate, fftLen, fftLen / 2, m);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsAltInitMCRA_32s(int sampleRate, int fftLen, int frameShift,
                                                           KelsMCRAState_32s* pState) {
  if (KelsStatus st = checkAltInit(sampleRate, fftLen, frameShift, pState); st != kelOk) return st;
  const std::int64_t m = ((std::int64_t(sampleRate) * 17179869 / frameShift) >> 16) + 1;
  initState(pState, sampleRate, fftLen, frameShift, m);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsUpdateNoisePSDMCRA_32s_I(const Kels32s* pPower,
                                                                    KelsMCRAState_32s* pState,
                                                                    Kels32s* pNoise) {
  if (KelsStatus st = ArgCheck{}.ptrs(pPower, pState, pNoise); st != kelOk) return st;
  updateNoise(pPower, pState, pNoise);
  return kelOk;
}
