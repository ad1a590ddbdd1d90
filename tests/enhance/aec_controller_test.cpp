// Echo-canceller controller: derived constants, check orders, the energy and minimum trackers,
// the frame classes and the state machine on constructed frames, the gain ramps and the
// adaptation factor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <kelsr.h>

#include "support/canary.h"

namespace {

using kels::test::Canary;
using V = std::vector<std::int32_t>;

// The documented field order of the 33-word state.
enum Word {
  kP2, kP0, kMin0, kTmp0, kP1, kMin1, kTmp1, kCross, kRatio, kRatioMax, kRatioTmp, kRatioLo, kRatioHi,
  kAlpha, kGain1, kGain2, kTarget1, kTarget2, kStep1, kStep2, kRamp, kScale, kRatioWin, kRatioCount,
  kEnergyWin, kCount0, kCount1, kShift, kHold, kHoldLen, kMachine, kClass, kFirst, kWords
};
constexpr std::int32_t kOne = 1 << 30, kHalf = 1 << 29, kQuarter = 1 << 28;

struct Controller {
  Controller(int n, int fs, std::int32_t scale = kOne)
      : sig0(std::size_t(n), 16), sig1(std::size_t(n), 16), sig2(std::size_t(n), 16) {
    prm.pSignal0 = sig0.data();
    prm.pSignal1 = sig1.data();
    prm.pSignal2 = sig2.data();
    prm.outputScale = scale;
    prm.frameLen = n;
    prm.sampleRate = fs;
    std::fill(words, words + kWords, 0x5A5A5A5A);  // Init must set every field
    EXPECT_EQ(kelOk, kelsControllerInitAEC_32s(&prm, state()));
  }
  KelsAECControllerState_32s* state() { return reinterpret_cast<KelsAECControllerState_32s*>(words); }
  std::int32_t& operator[](int w) { return words[w]; }
  // Constant amplitudes over the halves the controller reads: with N = 256 (shift 7, 128
  // samples) an amplitude A, a multiple of 16, gives the energy A^2 exactly.
  void amplitudes(int a0, int a1, int a2) {
    std::fill(sig0.begin(), sig0.end(), Kels16s(a0));
    std::fill(sig1.begin(), sig1.end(), Kels16s(a1));
    std::fill(sig2.begin(), sig2.end(), Kels16s(a2));
  }
  KelsStatus frame() { return kelsControllerUpdateAEC_32s(&prm, state(), &adapt, &gain1, &gain2); }
  V fields(std::initializer_list<int> ws) const {
    V v;
    for (int w : ws) v.push_back(words[w]);
    return v;
  }

  KelsAECParams_32s prm{};
  std::vector<Kels16s> sig0, sig1, sig2;
  std::int32_t words[kWords];
  std::int32_t adapt = -1, gain1 = -1, gain2 = -1;
};

TEST(AecController, SizeAndParameterRecordLayout) {
  int size = 0;
  EXPECT_EQ(kelOk, kelsControllerGetSizeAEC_32s(&size));
  EXPECT_EQ(132, size);
  // Pointer fields are pointer-sized; the 32-bit fields follow in the documented order.
  EXPECT_EQ(sizeof(void*), offsetof(KelsAECParams_32s, pSignal1));
  EXPECT_EQ(3 * sizeof(void*), offsetof(KelsAECParams_32s, user3));
  EXPECT_EQ(3 * sizeof(void*) + 2 * 4, offsetof(KelsAECParams_32s, outputScale));
  EXPECT_EQ(3 * sizeof(void*) + 7 * 4, offsetof(KelsAECParams_32s, frameLen));
  EXPECT_EQ(3 * sizeof(void*) + 8 * 4, offsetof(KelsAECParams_32s, sampleRate));
}

TEST(AecController, InitialStateAndDerivedConstants) {
  Controller c(256, 8000, 12345);
  EXPECT_EQ((V{62, 8192, 128, 512, 12345, 1, kHalf, kHalf, kHalf, kHalf}),
            c.fields({kEnergyWin, kCross, kRatioLo, kRatioHi, kScale, kFirst, kGain1, kGain2, kTarget1, kTarget2}));
  for (int w : {kP2, kP0, kMin0, kTmp0, kP1, kMin1, kTmp1, kRatio, kRatioMax, kRatioTmp, kStep1, kStep2,
                kRatioCount, kCount0, kCount1, kHold, kMachine, kClass})
    EXPECT_EQ(0, c[w]) << w;
  // The constants follow the frame advance N / 2 / fs (8 ms is one reference period): alpha is
  // 0.95 per reference period, up to the cubic series' remainder.
  const struct { int n, fs, hold, window, ramp, shift; } rows[] = {
      {256, 8000, 3, 62, 5242, 7}, {160, 8000, 4, 99, 3276, 6}, {256, 16000, 6, 125, 2621, 7}};
  for (const auto& r : rows) {
    Controller a(r.n, r.fs);
    const std::string where = std::to_string(r.n) + " at " + std::to_string(r.fs);
    EXPECT_EQ((V{r.hold, r.window, r.ramp, r.shift}), a.fields({kHoldLen, kRatioWin, kRamp, kShift})) << where;
    EXPECT_NEAR(std::pow(0.95, 0.008 * r.fs / (r.n / 2)), a[kAlpha] / 2147483648.0, 0.001) << where;
  }
}

TEST(AecController, CheckOrderWritesNothing) {
  const struct { const char* what; int n, fs; bool nullParams, nullState; KelsStatus expected; } cases[] = {
      {"null record beats a bad length", 31, 8000, true, false, kelErrNullPtr},
      {"null state", 256, 8000, false, true, kelErrNullPtr},
      {"length 31", 31, 8000, false, false, kelErrRange},
      {"length 4097", 4097, 8000, false, false, kelErrRange},
      {"rate 7999", 256, 7999, false, false, kelErrRange},
      {"rate 48001", 256, 48001, false, false, kelErrRange},
      {"length 32, rate 48000", 32, 48000, false, false, kelOk},
      {"length 4096, rate 8000", 4096, 8000, false, false, kelOk},
  };
  for (const auto& k : cases) {
    KelsAECParams_32s prm{};
    prm.frameLen = k.n;
    prm.sampleRate = k.fs;
    Canary<std::int32_t> st(kWords);
    auto* s = k.nullState ? nullptr : reinterpret_cast<KelsAECControllerState_32s*>(st.data());
    EXPECT_EQ(k.expected, kelsControllerInitAEC_32s(k.nullParams ? nullptr : &prm, s)) << k.what;
    EXPECT_TRUE(k.expected == kelOk ? st.guardsIntact() : st.untouched()) << k.what;
  }
  EXPECT_EQ(kelErrNullPtr, kelsControllerGetSizeAEC_32s(nullptr));
  // Update: the five arguments and the signals inside the record.
  Controller c(256, 8000);
  const V before(c.words, c.words + kWords);
  std::int32_t a = 7, g1 = 7, g2 = 7;
  EXPECT_EQ(kelErrNullPtr, kelsControllerUpdateAEC_32s(nullptr, c.state(), &a, &g1, &g2));
  EXPECT_EQ(kelErrNullPtr, kelsControllerUpdateAEC_32s(&c.prm, c.state(), &a, &g1, nullptr));
  c.prm.pSignal1 = nullptr;
  EXPECT_EQ(kelErrNullPtr, kelsControllerUpdateAEC_32s(&c.prm, c.state(), &a, &g1, &g2));
  EXPECT_EQ(before, V(c.words, c.words + kWords));
  EXPECT_TRUE(a == 7 && g1 == 7 && g2 == 7);
}

TEST(AecController, FirstFrameReadsTheRightHalvesAndSetsEveryTracker) {
  Controller c(256, 8000);
  c.amplitudes(30000, 30000, 30000);  // the halves that are not read
  std::fill(c.sig0.begin() + 128, c.sig0.end(), Kels16s(256));
  std::fill(c.sig1.begin() + 128, c.sig1.end(), Kels16s(1024));
  std::fill(c.sig2.begin(), c.sig2.begin() + 128, Kels16s(32));
  ASSERT_EQ(kelOk, c.frame());
  // The minimum trackers ran on the first frame too (counters 1). Neither signal is above six
  // times its own minimum; r > 2 and e1 / 4 > e0: code 9, class 13.
  EXPECT_EQ((V{1024, 65536, 65536, 65536, 1048576, 1048576, 1048576, 65536 * 64 / 1025, 1, 1, 0, 13}),
            c.fields({kP2, kP0, kMin0, kTmp0, kP1, kMin1, kTmp1, kRatio, kCount0, kCount1, kFirst, kClass}));
  // Each square is shifted before the sum: 127^2 >> 7 = 126.
  Controller d(256, 8000);
  d.amplitudes(127, 127, 127);
  ASSERT_EQ(kelOk, d.frame());
  EXPECT_EQ(126 * 128, d[kP0]);
}

TEST(AecController, SmoothingAndZeroSamplesInTheMinimumTracker) {
  Controller c(256, 8000);
  c.amplitudes(256, 256, 256);
  ASSERT_EQ(kelOk, c.frame());
  c.amplitudes(512, 128, 256);  // e0 from 65536 to 262144
  c.sig1[200] = 0;              // one zero in the half of signal 1 that is read
  ASSERT_EQ(kelOk, c.frame());
  EXPECT_NEAR(65536 + c[kAlpha] / 2147483648.0 * (262144 - 65536), c[kP0], 1.0);
  EXPECT_EQ((V{65536, 2}), c.fields({kMin0, kCount0}));
  EXPECT_EQ((V{65536, 65536, 1}), c.fields({kMin1, kTmp1, kCount1}));  // the zero left tracker 1 alone
  c.sig1[200] = 128;
  c.sig1[10] = 0;  // a zero outside the read half does not count
  ASSERT_EQ(kelOk, c.frame());
  EXPECT_EQ((V{16384, 2}), c.fields({kMin1, kCount1}));
}

TEST(AecController, MinimumWindowRestarts) {
  Controller c(256, 8000);
  const int window = c[kEnergyWin];
  c.amplitudes(64, 64, 64);
  ASSERT_EQ(kelOk, c.frame());  // counter 1 after the first frame
  c.amplitudes(256, 256, 256);
  for (int f = 1; f < window; ++f) ASSERT_EQ(kelOk, c.frame());
  EXPECT_EQ((V{window, 4096}), c.fields({kCount1, kMin1}));
  ASSERT_EQ(kelOk, c.frame());  // restart: min = min(tmp, e) still holds the first frame
  EXPECT_EQ((V{0, 4096, 65536}), c.fields({kCount1, kMin1, kTmp1}));
  for (int f = 0; f <= window; ++f) ASSERT_EQ(kelOk, c.frame());
  EXPECT_EQ(65536, c[kMin1]);
}

// Builds a frame of the given class code q = b0 + 2 b1 + 4 b2 + 8 b3 on top of a settled state:
// the smoothed energies are set to the frame's energies (so smoothing leaves them), and each
// minimum is set low (active) or to the frame's energy (inactive).
void setCode(Controller& c, int q) {
  const bool b0 = q & 1, b1 = q & 2, b2 = q & 4, b3 = q & 8;
  const int a0 = 256;                   // e0 = 65536
  const int a1 = b3 ? 1024 : 256;       // e1 / 4 > e0 only with the larger far end
  const int a2 = b0 ? 16 : 256;         // r = 64 e0 / (e2 + 1): 16320 or 63
  c.amplitudes(a0, a1, a2);
  c[kFirst] = 0;
  c[kP0] = a0 * a0;
  c[kP1] = a1 * a1;
  c[kP2] = a2 * a2;
  c[kMin0] = c[kTmp0] = b2 ? 1000 : a0 * a0;
  c[kMin1] = c[kTmp1] = b1 ? 1000 : a1 * a1;
  c[kCount0] = c[kCount1] = 0;
}

const int kClassOf[16] = {16, 15, 8, 7, 12, 11, 4, 3, 14, 13, 6, 5, 10, 9, 2, 1};

int codeOf(int cls) { return int(std::find(kClassOf, kClassOf + 16, cls) - kClassOf); }

// Runs one frame of class `cls` from machine state `from` with the hold counter at `hold` and
// a ratio that is not low (r < r_hi false) unless `low`; returns the controller afterwards.
Controller step(int from, int cls, int hold = 0, bool low = false) {
  Controller c(256, 8000);
  setCode(c, codeOf(cls));
  c[kMachine] = from;
  c[kHold] = hold;
  c[kRatioHi] = low ? 1 << 30 : 0;
  c[kTarget1] = c[kTarget2] = -1;  // any target counts as a change
  EXPECT_EQ(kelOk, c.frame());
  EXPECT_EQ(cls, c[kClass]);
  return c;
}

char levelName(std::int32_t v) {
  return v == kOne ? '1' : v == kHalf ? 'h' : v == kQuarter ? 'q' : v == 0 ? '0' : '?';
}

TEST(AecController, StateMachineTables) {
  // Per state: next state and adaptation level for classes 1..16 (level letters: 1, h = half,
  // q = quarter, 0), for frames that do not trigger the hold or low-ratio rules.
  const char* next[4] = {"1010102000000000", "1313111122222222", "1013311122222222", "1313111122222222"};
  const char* level[4] = {"11q0qq0q00000000", "h0h0qqqq00000000", "hhh0hhhh00000000", "h0q0qqqq00000000"};
  const char* gain1[4] = {"101100h01111hhhh", "111111111111hhhh", "101111111111hhhh", "111111111111hhhh"};
  const char* gain2[4] = {"111011h10000hhhh", "111111111111hhhh", "111111111111hhhh", "111111111111hhhh"};
  for (int s = 0; s < 4; ++s)
    for (int cls = 1; cls <= 16; ++cls) {
      Controller c = step(s, cls);  // also checks the code-to-class map
      const std::string where = "state " + std::to_string(s) + " class " + std::to_string(cls);
      EXPECT_EQ(next[s][cls - 1] - '0', c[kMachine]) << where;
      // Entering state 1 from 0, 2 or 3 forces level 0 (the hold starts).
      const bool held = c[kMachine] == 1 && s != 1;
      EXPECT_EQ(held ? '0' : level[s][cls - 1], levelName(c.adapt)) << where;
      EXPECT_EQ(gain1[s][cls - 1], levelName(c[kTarget1])) << where;
      EXPECT_EQ(gain2[s][cls - 1], levelName(c[kTarget2])) << where;
    }
}

TEST(AecController, HoldCounterAndLowRatioRules) {
  constexpr int kAny = -2;  // not checked
  const struct { int from, cls, hold; bool low; int to, holdAfter; std::int32_t level; } rows[] = {
      {0, 1, 0, false, 1, 0, 0},         // entering 1 from 0: a quarter hold, H / 4 = 3 / 4 = 0
      {2, 1, 0, false, 1, 3, 0},         // from 2: the full hold H
      {1, 1, 3, false, 1, 2, 0},         // the hold counts down with level 0 ...
      {1, 1, 1, false, 1, 0, kHalf},     // ... and the row's level once it has run out
      {1, 9, 2, false, 2, 1, 0},         // leaving state 1 the hold still counts down
      {1, 3, 0, true, 1, kAny, 0},       // a low ratio stops adaptation in state 1
      {1, 3, 0, false, 1, kAny, kHalf},
      {2, 3, 0, true, 3, kAny, 0},       // state 2 goes to 3 ...
      {3, 3, 0, true, 1, 3, 0},          // ... and 3 to 1 with the full hold
      {0, 3, 0, true, 1, kAny, 0},       // state 0 has no low-ratio rule
  };
  for (const auto& r : rows) {
    const Controller c = step(r.from, r.cls, r.hold, r.low);
    const std::string where = "state " + std::to_string(r.from) + " class " + std::to_string(r.cls) +
                              " hold " + std::to_string(r.hold) + (r.low ? " low" : "");
    EXPECT_EQ(r.to, c.words[kMachine]) << where;
    EXPECT_TRUE(r.holdAfter == kAny || r.holdAfter == c.words[kHold]) << where;
    EXPECT_EQ(r.level, c.adapt) << where;
  }
  Controller s2 = step(2, 3, 0, true);  // with both targets one
  EXPECT_TRUE(s2[kTarget1] == kOne && s2[kTarget2] == kOne);
  Controller d(256, 16000);  // H = 6: entering state 1 from 0 holds for 6 / 4 = 1 frame
  setCode(d, codeOf(1));
  d[kRatioHi] = 0;
  ASSERT_EQ(kelOk, d.frame());
  EXPECT_EQ((V{1, 0}), (V{d[kHold], d.adapt}));
}

TEST(AecController, UpperRatioThresholdFollowsTheMaximum) {
  // r = 64 * 65536 / (200704 + 1) = 20: bit length 5, shifted by (5 * 858993459) >> 31 = 1,
  // where 0.4 * 5 would give 2.
  Controller c(256, 8000);
  setCode(c, 2);  // b1 only: far end active
  c.amplitudes(256, 256, 448);
  c[kP2] = 448 * 448;
  ASSERT_EQ(kelOk, c.frame());
  EXPECT_EQ((V{20, 20, 10}), c.fields({kRatio, kRatioMax, kRatioHi}));
  // Without far-end activity the maximum is not tracked.
  Controller e(256, 8000);
  setCode(e, 1);
  ASSERT_EQ(kelOk, e.frame());
  EXPECT_EQ((V{0, 512}), e.fields({kRatioMax, kRatioHi}));
}

// One frame of class `cls` in machine state `s` on a running controller.
void frameOf(Controller& c, int s, int cls) {
  setCode(c, codeOf(cls));
  c[kMachine] = s;
  ASSERT_EQ(kelOk, c.frame());
}

TEST(AecController, GainsRampInEqualStepsWithoutOvershootAndTurnMidRamp) {
  // State 1, class 1: both targets one. From 2^29 the step is (2^29 * 5242) >> 15.
  Controller c(256, 8000), d(256, 8000);
  const std::int32_t step = std::int32_t((std::int64_t(kHalf) * 5242) >> 15);
  for (int f = 0; f < 10; ++f) {
    frameOf(c, 1, 1);
    EXPECT_EQ(c.gain1, c.gain2);
    EXPECT_EQ(f < 6 ? kHalf + (f + 1) * step : kOne, c.gain1) << f;  // the 7th step stops at one
    if (f < 3) frameOf(d, 1, 1);
  }
  // State 0, class 2 after three steps: gain 1 turns towards 0 with a new step, gain 2 keeps one.
  const std::int32_t mid = d.gain1;
  frameOf(d, 0, 2);
  const std::int32_t down = std::int32_t(-((std::int64_t(mid) * 5242 + 32767) >> 15));  // floor of a negative
  EXPECT_EQ((V{down, mid + down}), (V{d[kStep1], d.gain1}));
  std::int32_t last = d.gain1;
  for (int f = 0; f < 12; ++f) {
    frameOf(d, 0, 2);
    EXPECT_TRUE(d.gain1 <= last && d.gain1 >= 0) << d.gain1;
    last = d.gain1;
  }
  EXPECT_EQ(0, last);
}

TEST(AecController, LongFramesFinishARampInOneStep) {
  // 4096 samples at 8 kHz: the ramp factor exceeds one, the step is larger than the distance
  // and the gain lands on the target without wrapping.
  Controller c(4096, 8000);
  EXPECT_GT(c[kRamp], 32768);
  std::fill(c.sig0.begin(), c.sig0.end(), 16);
  c[kMachine] = 2;  // class 16 from state 2: targets 1/2; class 1 would give one
  c[kTarget1] = c[kTarget2] = 0;
  c[kGain1] = c[kGain2] = 0;
  c[kFirst] = 0;
  ASSERT_EQ(kelOk, c.frame());
  EXPECT_EQ((V{kHalf, kHalf}), (V{c.gain1, c.gain2}));
}

TEST(AecController, AdaptationFactorScalesTheLevel) {
  // Level one (state 0, class 2) passes s through; a quarter (class 6) of -3 is floor(-0.75).
  const std::int32_t cases[][3] = {{123456789, 2, 123456789}, {INT32_MAX, 2, INT32_MAX}, {-3, 6, -1}};
  for (const auto& k : cases) {
    Controller c(256, 8000, k[0]);
    setCode(c, codeOf(k[1]));
    ASSERT_EQ(kelOk, c.frame());
    EXPECT_EQ(k[2], c.adapt) << k[0];
  }
}

TEST(AecController, FullScaleOddFrameDoesNotTrap) {
  // N = 63: 32 samples of -32768 in the second half sum to exactly 2^31 after the shift; the
  // 32-bit sum wraps, and the ratio and smoothing stay defined.
  Controller c(63, 8000);
  c.amplitudes(-32768, -32768, -32768);
  for (int f = 0; f < 5; ++f) ASSERT_EQ(kelOk, c.frame());
  EXPECT_EQ(INT32_MIN, c[kP0]);
}

}  // namespace
