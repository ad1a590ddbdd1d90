// Echo-canceller controller: per frame, energies of three 16-bit signals, their smoothed values,
// running minima and the ratio r = 64 * P0 / (P2 + 1) (Q6) classify the frame into one of 16
// classes; a four-state machine then sets an adaptation level and two gain targets (Q30), which
// the gains approach in equal steps over about 100 ms. Time constants are defined for an 8 ms
// frame advance and scaled to the actual one, N/2 samples at fs.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <kelsr.h>

#include "core/check.h"
#include "enhance/fixed.h"

// 33 signed 32-bit fields in the documented order (132 bytes); no pointers, so the caller may
// copy the block.
struct KelsAECControllerState_32s {
  std::int32_t p2;                 // smoothed energy of signal 2
  std::int32_t p0, min0, tmp0;     // signal 0: smoothed energy, running minimum, window minimum
  std::int32_t p1, min1, tmp1;     // signal 1
  std::int32_t crossFactor;        // k_x, Q15
  std::int32_t ratio, ratioMax, ratioTmp, ratioLo, ratioHi;  // Q6
  std::int32_t alpha;              // energy smoothing, Q31
  std::int32_t gain[2], target[2], step[2];  // Q30
  std::int32_t rampFactor, outputScale;
  std::int32_t ratioWindow, ratioCount;
  std::int32_t energyWindow, count0, count1;
  std::int32_t energyShift, hold, holdLength;
  std::int32_t machine, frameClass, first;
};
static_assert(sizeof(KelsAECControllerState_32s) == 132, "the documented state size");
static_assert(std::is_trivially_destructible_v<KelsAECControllerState_32s>);

namespace kels::enhance {
namespace {

constexpr std::int32_t kOne = 1 << 30, kHalf = 1 << 29, kQuarter = 1 << 28;  // Q30
constexpr std::int32_t kLn095 = -110151511;  // ln 0.95 in Q31
constexpr std::int32_t kRampConst = 85884928;  // ramps complete in about 100 ms
constexpr std::int32_t kEnergyFloor = 128;

// Codes b0 + 2 b1 + 4 b2 + 8 b3 to frame classes 1..16.
constexpr std::int32_t kClassOfCode[16] = {16, 15, 8, 7, 12, 11, 4, 3, 14, 13, 6, 5, 10, 9, 2, 1};

// One row per machine state, indexed by class - 1. The tables are deliberately asymmetric.
struct StateRow {
  std::int8_t next[16];
  std::int32_t gain1[16], gain2[16], level[16];
};
constexpr std::int32_t O = kOne, H = kHalf, Q = kQuarter;
constexpr std::int32_t kBothTargets[16] = {O, O, O, O, O, O, O, O, O, O, O, O, H, H, H, H};
constexpr StateRow kMachine[4] = {
    {{1, 0, 1, 0, 1, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0},
     {O, 0, O, O, 0, 0, H, 0, O, O, O, O, H, H, H, H},
     {O, O, O, 0, O, O, H, O, 0, 0, 0, 0, H, H, H, H},
     {O, O, Q, 0, Q, Q, 0, Q, 0, 0, 0, 0, 0, 0, 0, 0}},
    {{1, 3, 1, 3, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2},
     {O, O, O, O, O, O, O, O, O, O, O, O, H, H, H, H},
     {O, O, O, O, O, O, O, O, O, O, O, O, H, H, H, H},
     {H, 0, H, 0, Q, Q, Q, Q, 0, 0, 0, 0, 0, 0, 0, 0}},
    {{1, 0, 1, 3, 3, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2},
     {O, 0, O, O, O, O, O, O, O, O, O, O, H, H, H, H},
     {O, O, O, O, O, O, O, O, O, O, O, O, H, H, H, H},
     {H, H, H, 0, H, H, H, H, 0, 0, 0, 0, 0, 0, 0, 0}},
    {{1, 3, 1, 3, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2},
     {O, O, O, O, O, O, O, O, O, O, O, O, H, H, H, H},
     {O, O, O, O, O, O, O, O, O, O, O, O, H, H, H, H},
     {H, 0, Q, 0, Q, Q, Q, Q, 0, 0, 0, 0, 0, 0, 0, 0}},
};
static_assert(kBothTargets[12] == kHalf);

constexpr bool inRange(std::int32_t v, std::int32_t lo, std::int32_t hi) { return v >= lo && v <= hi; }

KelsStatus checkInit(const KelsAECParams_32s* prm, const KelsAECControllerState_32s* s) {
  if (KelsStatus st = ArgCheck{}.ptrs(prm, s); st != kelOk) return st;
  return ArgCheck{}
      .arg(inRange(prm->frameLen, 32, 4096), kelErrRange)
      .arg(inRange(prm->sampleRate, 8000, 48000), kelErrRange);
}

void init(const KelsAECParams_32s* prm, KelsAECControllerState_32s* s) {
  *s = KelsAECControllerState_32s{};
  const std::int32_t half = prm->frameLen / 2;
  // Q15 ratio of the reference 8 ms to the frame advance half / fs.
  const std::int32_t t =
      std::int32_t(((std::int64_t(prm->sampleRate) * 32768 / 8000) * (2097152 / half)) >> 15);
  s->holdLength = (6 * t) >> 15;   // about 48 ms of frames
  s->rampFactor = kRampConst / t;
  s->ratioWindow = s->energyWindow = (125 * t) >> 15;  // one second of frames
  s->alpha = taylorExpQ31(t, kLn095);  // 0.95^t
  s->energyShift = bitLength(prm->frameLen / 4);
  s->crossFactor = 8192;  // 0.25 in Q15
  s->ratioLo = 128;       // 2.0 in Q6
  s->ratioHi = 512;       // 8.0 in Q6, adapted
  s->gain[0] = s->gain[1] = s->target[0] = s->target[1] = kHalf;
  s->outputScale = prm->outputScale;
  s->first = 1;
}

struct HalfEnergy {
  std::int32_t energy;
  bool hasZero;
};
// Sum of x^2 >> shift over [from, to), kept in 32 bits; x^2 <= 2^30 and the shift bounds the sum,
// but a wrap is still written as a defined wrap.
HalfEnergy energy(const Kels16s* x, int from, int to, int shift) {
  std::uint32_t sum = 0;
  bool zero = false;
  for (int n = from; n < to; ++n) {
    const std::int32_t v = x[n];
    sum += std::uint32_t(v * v) >> shift;
    zero |= v == 0;
  }
  return {wrap32(sum), zero};
}

std::int32_t smooth(std::int32_t p, std::int32_t e, std::int32_t alpha) {
  return wrap32(p + asr(std::int64_t(alpha) * (std::int64_t(e) - p), 31));
}

// Running minimum over windows of `window` frames: `min` covers the last one to two windows.
void trackMin(std::int32_t e, std::int32_t window, std::int32_t& min, std::int32_t& tmp, std::int32_t& count) {
  if (count >= window) {
    min = tmp < e ? tmp : e;
    tmp = e;
    count = 0;
  } else {
    if (e < min) min = e;
    if (e < tmp) tmp = e;
    count = wrap32(std::int64_t(count) + 1);
  }
}

// Above six times the tracked minimum and above an absolute floor.
bool active(std::int32_t e, std::int32_t min) {
  const std::int64_t six = asr(std::int64_t(min) * 196608, 15);
  return e > (six > kEnergyFloor ? six : kEnergyFloor);
}

void ramp(KelsAECControllerState_32s* s, int g, std::int32_t target) {
  if (target != s->target[g]) {
    s->target[g] = target;
    const std::int64_t step = asr((std::int64_t(target) - s->gain[g]) * s->rampFactor, 15);
    // Saturated: with frames longer than the ramp the step exceeds 32 bits.
    s->step[g] = step > INT32_MAX ? INT32_MAX : step < INT32_MIN ? INT32_MIN : std::int32_t(step);
  }
  const std::int64_t moved = std::int64_t(s->gain[g]) + s->step[g];
  if (s->gain[g] < target) s->gain[g] = moved < target ? std::int32_t(moved) : target;
  else if (s->gain[g] > target) s->gain[g] = moved > target ? std::int32_t(moved) : target;
}

void update(const KelsAECParams_32s* prm, KelsAECControllerState_32s* s, Kels32s* adapt, Kels32s* g1,
            Kels32s* g2) {
  const int n = prm->frameLen, half = n / 2, sh = s->energyShift;
  const std::int32_t e2 = energy(prm->pSignal2, 0, half, sh).energy;
  const HalfEnergy h0 = energy(prm->pSignal0, half, n, sh);
  const HalfEnergy h1 = energy(prm->pSignal1, half, n, sh);
  const std::int32_t e0 = h0.energy, e1 = h1.energy;

  if (s->first != 0) {
    s->p2 = e2;
    s->p0 = s->min0 = s->tmp0 = e0;
    s->p1 = s->min1 = s->tmp1 = e1;
    s->first = 0;
  } else {
    s->p2 = smooth(s->p2, e2, s->alpha);
    s->p0 = smooth(s->p0, e0, s->alpha);
    s->p1 = smooth(s->p1, e1, s->alpha);
  }

  // P2 + 1 is 0 only if the energy sum wrapped; an unbounded ratio then saturates.
  const std::int64_t den = std::int64_t(s->p2) + 1;
  const std::int64_t r = den == 0 ? INT32_MAX : std::int64_t(s->p0) * 64 / den;
  s->ratio = r < INT32_MAX ? wrap32(r) : INT32_MAX;

  // A frame with a zero sample (a gap, not a quiet signal) leaves its tracker alone.
  if (!h1.hasZero) trackMin(e1, s->energyWindow, s->min1, s->tmp1, s->count1);
  if (!h0.hasZero) trackMin(e0, s->energyWindow, s->min0, s->tmp0, s->count0);

  const bool b0 = s->ratio > s->ratioLo;
  const bool b1 = active(e1, s->min1);
  const bool b2 = active(e0, s->min0);
  const bool b3 = asr(std::int64_t(e1) * s->crossFactor, 15) > e0;
  const std::int32_t cls = kClassOfCode[int(b0) + 2 * int(b1) + 4 * int(b2) + 8 * int(b3)];
  s->frameClass = cls;
  const bool low = s->ratio < s->ratioHi;

  const int row = s->machine >= 0 && s->machine <= 3 ? s->machine : 0;
  const StateRow& tab = kMachine[row];
  const int c = cls - 1;
  std::int32_t next = tab.next[c], t1 = tab.gain1[c], t2 = tab.gain2[c], level = tab.level[c];
  const bool lowClass3 = cls == 3 && low;
  switch (row) {
    case 0:
      if (next == 1) {
        s->hold = s->holdLength / 4;
        level = 0;
      }
      break;
    case 1:
      if (lowClass3) level = 0;
      if (s->hold > 0) --s->hold;
      if (next == 1 && s->hold > 0) level = 0;
      break;
    default:  // 2 and 3 differ only in where a low-ratio class 3 leads
      if (lowClass3) {
        next = row == 2 ? 3 : 1;
        t1 = t2 = kOne;
        level = 0;
      }
      if (next == 1) {
        s->hold = s->holdLength;
        level = 0;
      }
      break;
  }
  s->machine = next;

  if (b1 && next != 3) {
    const std::int32_t before = s->ratioMax;
    if (s->ratioCount >= s->ratioWindow) {
      s->ratioMax = s->ratio > s->ratioTmp ? s->ratio : s->ratioTmp;
      s->ratioTmp = s->ratio;
      s->ratioCount = 0;
    } else {
      if (s->ratio > s->ratioMax) s->ratioMax = s->ratio;
      if (s->ratio > s->ratioTmp) s->ratioTmp = s->ratio;
      s->ratioCount = wrap32(std::int64_t(s->ratioCount) + 1);
    }
    if (s->ratioMax != before) {
      // Shift by (n * 858993459) >> 31, about 0.4 n for the bit length n of r_max.
      const int shift = int((std::int64_t(bitLength(s->ratioMax)) * 858993459) >> 31);
      s->ratioHi = wrap32(asr(s->ratioMax, shift));
    }
  }

  ramp(s, 0, t1);
  ramp(s, 1, t2);
  *g1 = s->gain[0];
  *g2 = s->gain[1];
  *adapt = wrap32(asr(std::int64_t(level) * s->outputScale, 30));
}

}  // namespace
}  // namespace kels::enhance

using namespace kels;
using namespace kels::enhance;

extern "C" KELS_API KelsStatus KELS_CALL kelsControllerGetSizeAEC_32s(int* pSize) {
  if (KelsStatus st = ArgCheck{}.ptr(pSize); st != kelOk) return st;
  *pSize = int(sizeof(KelsAECControllerState_32s));
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsControllerInitAEC_32s(const KelsAECParams_32s* pParams,
                                                                 KelsAECControllerState_32s* pState) {
  if (KelsStatus st = checkInit(pParams, pState); st != kelOk) return st;
  init(pParams, pState);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsControllerUpdateAEC_32s(const KelsAECParams_32s* pParams,
                                                                   KelsAECControllerState_32s* pState,
                                                                   Kels32s* pAdaptation, Kels32s* pGain1,
                                                                   Kels32s* pGain2) {
  if (KelsStatus st = ArgCheck{}.ptrs(pParams, pState, pAdaptation, pGain1, pGain2); st != kelOk) return st;
  if (KelsStatus st = ArgCheck{}.ptrs(pParams->pSignal0, pParams->pSignal1, pParams->pSignal2); st != kelOk)
    return st;
  update(pParams, pState, pAdaptation, pGain1, pGain2);
  return kelOk;
}
