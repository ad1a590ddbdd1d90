// Noise estimator and suppression gains: sizes, initial constants and check orders, the noise
// update's behaviour on constructed spectra, and the two gain rules at their stated values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include <kelsr.h>

#include "support/canary.h"
#include "support/reference.h"

namespace {

using kels::test::Canary;
using kels::test::Ref;

// The state's documented field order: 32-bit words, read through memcpy.
enum Word { kRate, kFft, kBits, kShift, kWindow, kCounter, kFirst, kAlphaD, kAlphaP, kAlphaS, kDelta };

struct Mcra {
  explicit Mcra(int fft) {
    int size = 0;
    EXPECT_EQ(kelOk, kelsGetSizeMCRA_32s(fft, &size));
    block.assign(std::size_t(size) / 4 + 1, 0x5A5A5A5A);
    bins = fft / 2 + 1;
  }
  KelsMCRAState_32s* state() { return reinterpret_cast<KelsMCRAState_32s*>(block.data()); }
  std::int32_t word(int i) const { return block[std::size_t(i)]; }
  std::vector<std::int32_t> block;
  int bins;
};

Ref q31(std::int32_t v) { return Ref(v) / 2147483648.0L; }

TEST(McraSize, FollowsTheFormulaAndRejectsOutOfRange) {
  int size = -1;
  EXPECT_EQ(kelOk, kelsGetSizeMCRA_32s(256, &size));
  EXPECT_EQ(2132, size);
  for (int n : {8, 9, 255, 257, 8192}) {
    EXPECT_EQ(kelOk, kelsGetSizeMCRA_32s(n, &size));
    EXPECT_EQ(84 + 16 * (n / 2), size) << n;
  }
  size = -1;
  EXPECT_EQ(kelErrSize, kelsGetSizeMCRA_32s(7, &size));
  EXPECT_EQ(kelErrSize, kelsGetSizeMCRA_32s(8193, &size));
  EXPECT_EQ(-1, size);
  EXPECT_EQ(kelErrNullPtr, kelsGetSizeMCRA_32s(7, nullptr));  // the pointer comes first
}

TEST(McraInit, StatedConstantsFor8kHz256) {
  Mcra m(256);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 256, m.state()));
  EXPECT_EQ(8000, m.word(kRate));
  EXPECT_EQ(256, m.word(kFft));
  EXPECT_EQ(8, m.word(kBits));
  EXPECT_EQ(128, m.word(kShift));
  EXPECT_EQ(62, m.word(kWindow));
  EXPECT_EQ(0, m.word(kCounter));
  EXPECT_EQ(1, m.word(kFirst));
  EXPECT_EQ(163840, m.word(kDelta));
  // The period is 16 ms, two reference periods: the constants are 0.7^2, 0.2^2 and 0.8^2 up to
  // the cubic series' remainder (x^4/24 at x = 2 ln 0.7 is about 0.011).
  EXPECT_NEAR(0.49L, q31(m.word(kAlphaD)), 0.012L);
  EXPECT_NEAR(0.64L, q31(m.word(kAlphaS)), 0.005L);
  EXPECT_NEAR(0.04L, q31(m.word(kAlphaP)), 0.002L);
}

TEST(McraInit, ConstantsFollowTheFramePeriod) {
  // Shorter shifts give factors closer to one: base^(R / fs / 8 ms).
  for (int shift : {16, 32, 64, 100, 128}) {
    Mcra m(256);
    ASSERT_EQ(kelOk, kelsAltInitMCRA_32s(16000, 256, shift, m.state()));
    const Ref periods = Ref(shift) / 16000.0L / 0.008L;
    EXPECT_NEAR(std::pow(0.7L, periods), q31(m.word(kAlphaD)), 0.004L) << shift;
    EXPECT_NEAR(std::pow(0.8L, periods), q31(m.word(kAlphaS)), 0.002L) << shift;
    EXPECT_NEAR(std::pow(0.2L, periods), q31(m.word(kAlphaP)), 0.002L) << shift;
    // About one second of frames.
    EXPECT_NEAR(16000.0 / shift, m.word(kWindow), 16000.0 / shift * 0.01 + 1) << shift;
    EXPECT_EQ(shift, m.word(kShift));
  }
}

TEST(McraInit, WindowOfBothInitialisers) {
  Mcra a(256), b(256);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 256, a.state()));
  ASSERT_EQ(kelOk, kelsAltInitMCRA_32s(8000, 256, 128, b.state()));
  EXPECT_EQ(62, b.word(kWindow));
  EXPECT_EQ(0, std::memcmp(a.block.data(), b.block.data(), 44));  // same scalar fields
  // A non-power-of-two N divides by the largest power of two not above N/2 (64 for N = 200):
  // the window is that of shift 64, not 100.
  Mcra c(200), d(200);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 200, c.state()));
  ASSERT_EQ(kelOk, kelsAltInitMCRA_32s(8000, 200, 64, d.state()));
  EXPECT_EQ(d.word(kWindow), c.word(kWindow));
  EXPECT_EQ(100, c.word(kShift));
}

struct InitCase {
  const char* what;
  int rate, fft, shift;
  bool nullState;
  KelsStatus init, alt;
};

TEST(McraInit, CheckOrderAndNothingWritten) {
  const InitCase cases[] = {
      {"null state beats bad rate", 7999, 256, 128, true, kelErrNullPtr, kelErrNullPtr},
      {"rate low", 7999, 256, 128, false, kelErrRange, kelErrRange},
      {"rate high", 48001, 256, 128, false, kelErrRange, kelErrRange},
      {"rate before fft", 7999, 4, 2, false, kelErrRange, kelErrRange},
      {"fft low", 8000, 7, 1, false, kelErrSize, kelErrSize},
      {"fft high", 8000, 8194, 4097, false, kelErrSize, kelErrSize},
      {"fft low, shift above N/2", 8000, 4, 3, false, kelErrSize, kelErrRange},
      {"fft 1 reaches the shift test", 8000, 1, 1, false, kelErrSize, kelErrRange},
      {"shift 0", 8000, 256, 0, false, kelOk, kelErrRange},
      {"shift above N/2", 8000, 256, 129, false, kelOk, kelErrRange},
  };
  for (const auto& c : cases) {
    Canary<std::int32_t> a(600), b(600);
    auto* sa = c.nullState ? nullptr : reinterpret_cast<KelsMCRAState_32s*>(a.data());
    auto* sb = c.nullState ? nullptr : reinterpret_cast<KelsMCRAState_32s*>(b.data());
    EXPECT_EQ(c.init, kelsInitMCRA_32s(c.rate, c.fft, sa)) << c.what;
    EXPECT_EQ(c.alt, kelsAltInitMCRA_32s(c.rate, c.fft, c.shift, sb)) << c.what;
    if (c.init != kelOk) {
      EXPECT_TRUE(a.untouched()) << c.what;
    }
    if (c.alt != kelOk) {
      EXPECT_TRUE(b.untouched()) << c.what;
    }
  }
}

TEST(McraInit, StaysWithinTheReportedSize) {
  for (int n : {8, 9, 256, 1000, 8192}) {
    int size = 0;
    ASSERT_EQ(kelOk, kelsGetSizeMCRA_32s(n, &size));
    Canary<std::int32_t> block(std::size_t(size) / 4);
    auto* s = reinterpret_cast<KelsMCRAState_32s*>(block.data());
    ASSERT_EQ(kelOk, kelsInitMCRA_32s(16000, n, s));
    std::vector<std::int32_t> power(std::size_t(n / 2 + 1), 1000), noise(power.size(), 0);
    for (int f = 0; f < 3; ++f) ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), s, noise.data()));
    EXPECT_TRUE(block.guardsIntact()) << n;
  }
}

TEST(McraUpdate, NullPointersWriteNothing) {
  Mcra m(64);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 64, m.state()));
  const std::vector<std::int32_t> before = m.block;
  std::vector<std::int32_t> power(33, 5), noise(33, 7);
  EXPECT_EQ(kelErrNullPtr, kelsUpdateNoisePSDMCRA_32s_I(nullptr, m.state(), noise.data()));
  EXPECT_EQ(kelErrNullPtr, kelsUpdateNoisePSDMCRA_32s_I(power.data(), nullptr, noise.data()));
  EXPECT_EQ(kelErrNullPtr, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), nullptr));
  EXPECT_EQ(before, m.block);
  EXPECT_EQ(std::vector<std::int32_t>(33, 7), noise);
}

TEST(McraUpdate, FirstFrameCopiesThePowerWhateverTheEstimateHeld) {
  Mcra m(256);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 256, m.state()));
  std::vector<std::int32_t> power(129), noise(129, -12345);
  for (int k = 0; k < 129; ++k) power[std::size_t(k)] = 1000 + 37 * k;
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  EXPECT_EQ(power, noise);
  EXPECT_EQ(1, m.word(kCounter));
  EXPECT_EQ(0, m.word(kFirst));
}

// The noise estimate of a bin whose power steps from y0 to y1 <= 2 y0 (no speech presence:
// the smoothed power stays below five times the minimum) approaches y1 geometrically with
// the factor alpha_d.
TEST(McraUpdate, StationaryStepConvergesWithAlphaD) {
  Mcra m(32);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 32, m.state()));
  const int bins = m.bins;
  std::vector<std::int32_t> power(std::size_t(bins), 1000000), noise(std::size_t(bins), 0);
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  const Ref ad = q31(m.word(kAlphaD));
  std::fill(power.begin(), power.end(), 1800000);
  Ref expect = 1000000;
  for (int f = 1; f <= 300; ++f) {
    ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
    expect = ad * expect + (1 - ad) * 1800000;
    // Rounding stops the estimate within 0.5 / (1 - alpha_d) of its target.
    for (int k = 0; k < bins; ++k) ASSERT_NEAR(double(expect), noise[std::size_t(k)], 0.5 / (1 - ad) + 1) << f;
  }
  // No bin saw speech: the presence probability stayed 0.
  std::int32_t p0;
  std::memcpy(&p0, reinterpret_cast<const char*>(m.block.data()) + 60, 4);
  EXPECT_EQ(0, p0);
}

TEST(McraUpdate, SpeechRaisesPresenceAndSlowsTheUpdate) {
  Mcra m(32);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 32, m.state()));
  const int bins = m.bins;
  std::vector<std::int32_t> power(std::size_t(bins), 10000), noise(std::size_t(bins), 0);
  for (int f = 0; f < 5; ++f) ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  // Bin 3 gets speech (100 times the noise); the others stay stationary.
  power[3] = 1000000;
  const Ref ad = q31(m.word(kAlphaD));
  Ref plain = noise[3];
  std::int32_t lastP = 0;
  for (int f = 0; f < 8; ++f) {
    ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
    plain = ad * plain + (1 - ad) * 1000000;  // what the update would give without presence
    std::int32_t p;
    std::memcpy(&p, reinterpret_cast<const char*>(m.block.data()) + 60 + 4 * 3, 4);
    if (f > 0) {
      EXPECT_GT(p, lastP) << f;
      EXPECT_LT(noise[3], plain) << f;
    }
    lastP = p;
    EXPECT_EQ(10000, noise[2]);
  }
  EXPECT_GT(q31(lastP), 0.9L);  // tends to one
}

TEST(McraUpdate, MinimumWindowRestartsEveryLFrames) {
  Mcra m(32);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(8000, 32, m.state()));
  const int window = m.word(kWindow);  // L frames: 8000 / 16 / 125 * ... about one second
  ASSERT_GT(window, 2);
  std::vector<std::int32_t> power(std::size_t(m.bins), 500), noise(power.size());
  const auto minOf = [&](int k) {
    std::int32_t v;
    std::memcpy(&v, reinterpret_cast<const char*>(m.block.data()) + 60 + 4 * (2 * m.bins + k), 4);
    return v;
  };
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  std::fill(power.begin(), power.end(), 40000);
  // The first window holds L - 1 updates after the first frame; then the counter restarts.
  for (int f = 1; f < window; ++f) {
    ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
    ASSERT_EQ(f + 1, m.word(kCounter));
  }
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  EXPECT_EQ(1, m.word(kCounter));
  // The minimum covers the last one to two windows: the first frame's 500 survives the first
  // restart and is gone after the second, which leaves the least S of the second window.
  EXPECT_EQ(500, minOf(0));
  for (int f = 1; f < window; ++f) ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  EXPECT_EQ(500, minOf(0));
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  EXPECT_EQ(1, m.word(kCounter));
  // S has settled within 0.5 / (1 - alpha_s) of the input, where rounding stops it.
  EXPECT_NEAR(40000, minOf(0), 10);
}

TEST(McraUpdate, ByteCopyOfAStateKeepsWorking) {
  Mcra m(128);
  ASSERT_EQ(kelOk, kelsInitMCRA_32s(16000, 128, m.state()));
  std::vector<std::int32_t> power(std::size_t(m.bins)), noise(power.size(), 0);
  for (int f = 0; f < 10; ++f) {
    for (int k = 0; k < m.bins; ++k) power[std::size_t(k)] = 1000 + (k * 7919 + f * 104729) % 50000;
    ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  }
  std::vector<std::int32_t> copy = m.block;  // a different address
  std::vector<std::int32_t> noiseCopy = noise;
  for (int k = 0; k < m.bins; ++k) power[std::size_t(k)] = 300000 - 1000 * k;
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), noise.data()));
  ASSERT_EQ(kelOk, kelsUpdateNoisePSDMCRA_32s_I(power.data(), reinterpret_cast<KelsMCRAState_32s*>(copy.data()),
                                                noiseCopy.data()));
  EXPECT_EQ(noise, noiseCopy);
  EXPECT_EQ(m.block, copy);
}

// ---- Wiener gain ----

TEST(Wiener, StatedValues) {
  const std::int32_t in[] = {0, 1 << 15, 1 << 17, 1 << 21, 1 << 24, INT32_MAX, 2047, 2048};
  std::int32_t out[8];
  ASSERT_EQ(kelOk, kelsFilterUpdateWiener_32s(in, out, 8));
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(1 << 30, out[1]);      // xi = 1
  EXPECT_EQ(1908874353, out[2]);   // upper end of [4, 8): 8/9
  EXPECT_EQ(2130836487, out[3]);   // upper end of [64, 128): 128/129
  EXPECT_EQ(2147483647, out[4]);
  EXPECT_EQ(2147483647, out[5]);
  EXPECT_EQ(0, out[6]);            // still bucket 0
  EXPECT_EQ(126322567, out[7]);    // floor(2^31 / 17)
}

TEST(Wiener, QuantisedGainOverTheWholeRange) {
  // floor(2^31 x / (1 + x)) for the bucket's representative x: lower end below 4, upper end in
  // the two coarse ranges.
  for (std::int64_t v = 0; v < (1 << 24) + 5000; v += 997) {
    const std::int32_t in = std::int32_t(v);
    std::int32_t out;
    ASSERT_EQ(kelOk, kelsFilterUpdateWiener_32s(&in, &out, 1));
    const Ref xi = Ref(v) / 32768;
    Ref x;
    if (xi < 4) x = std::floor(xi * 16) / 16;
    else if (xi < 64) x = (std::floor(xi / 4) + 1) * 4;
    else if (xi < 512) x = (std::floor(xi / 64) + 1) * 64;
    else x = -1;
    const std::int64_t expect = x < 0 ? 2147483647 : std::int64_t(std::floor(2147483648.0L * x / (1 + x)));
    ASSERT_EQ(expect, out) << v;
  }
}

TEST(Wiener, NegativeGivesZeroAndChecksComeInOrder) {
  const std::int32_t in[] = {-1, INT32_MIN};
  std::int32_t out[2] = {9, 9};
  ASSERT_EQ(kelOk, kelsFilterUpdateWiener_32s(in, out, 2));
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(0, out[1]);
  Canary<std::int32_t> c(4);
  EXPECT_EQ(kelErrNullPtr, kelsFilterUpdateWiener_32s(nullptr, c.data(), 0));
  EXPECT_EQ(kelErrNullPtr, kelsFilterUpdateWiener_32s(in, nullptr, 1));
  EXPECT_EQ(kelErrLengthRange, kelsFilterUpdateWiener_32s(in, c.data(), 0));
  EXPECT_EQ(kelErrLengthRange, kelsFilterUpdateWiener_32s(in, c.data(), 65536));
  EXPECT_TRUE(c.untouched());
  std::vector<std::int32_t> big(65535, 1 << 15), gain(65535);
  EXPECT_EQ(kelOk, kelsFilterUpdateWiener_32s(big.data(), gain.data(), 65535));
  EXPECT_EQ(1 << 30, gain.back());
}

// ---- EMNS gain ----

// The gain is a * factor(v) with v = (a * min(m, 100 in Q15)) >> 24; with m = 100 in Q15 the
// factor is read back as gain / a.
Ref emnsFactor(std::int32_t a) {
  const std::int32_t m = 3276800;
  std::int32_t g;
  EXPECT_EQ(kelOk, kelsFilterUpdateEMNS_32s(&a, &m, &g, 1));
  return Ref(g) / a;
}
std::int32_t aForV(std::int64_t v) { return std::int32_t(((v << 24) + 3276799) / 3276800); }

TEST(Emns, SmallArgumentsUseTheTable) {
  // v = (a * 3276800) >> 24 = 19 for a = 100: T[19] = 416.
  const std::int32_t a[] = {100, 0, 0, 1, 5};
  const std::int32_t m[] = {3276800, 1, 1 << 30, 1 << 30, 1};
  std::int32_t g[5];
  ASSERT_EQ(kelOk, kelsFilterUpdateEMNS_32s(a, m, g, 5));
  EXPECT_EQ(41600, g[0]);
  EXPECT_EQ(0, g[1]);
  EXPECT_EQ(0, g[2]);
  EXPECT_EQ(2147483647, g[3]);  // v = 0: T[0] saturates
  EXPECT_EQ(2147483647, g[4]);
}

TEST(Emns, FactorFallsAlongOneCurve) {
  // The table and the per-octave quadratics form one curve: about 1815 / sqrt(v) in the table,
  // falling to about 1.0009 at the top; the quadratics meet at the octave edges within about
  // 1%, and no faster than 1 / sqrt(v) anywhere. A mistyped entry shows as a jump.
  Ref prev = 0;
  std::int64_t prevV = 0;
  for (std::int64_t v = 1; v < (std::int64_t(1) << 28); v = v < 300 ? v + 1 : v + v / 97) {
    const std::int32_t a = aForV(v);
    ASSERT_EQ(v, std::int64_t(a) * 3276800 >> 24);
    const Ref f = emnsFactor(a);
    ASSERT_LT(Ref(a) * f, 2147483647.0L) << v;  // not saturated
    if (v <= 128) {
      EXPECT_NEAR(1815.0L / std::sqrt(Ref(v)), f, 0.02L * f + 1) << v;
    }
    if (prevV != 0) {
      EXPECT_LE(f, prev * 1.006L + 2.0L / a) << v;
      EXPECT_GE(f, prev * std::sqrt(Ref(prevV) / Ref(v)) * 0.985L - 2.0L / a) << v;
    }
    prev = f;
    prevV = v;
  }
  EXPECT_NEAR(1.0009L, prev, 0.001L);  // v near 2^28, two octaves below the last
  EXPECT_NEAR(160.0L, emnsFactor(aForV(128)), 0.5L);
  EXPECT_NEAR(159.1L, emnsFactor(aForV(129)), 0.5L);
}

TEST(Emns, OctaveEdgesMeetTheNextOctave) {
  for (int k = 0; k < 21; ++k) {
    const std::int64_t top = (std::int64_t(1) << (k + 8)) - 1, next = std::int64_t(1) << (k + 8);
    const std::int32_t a1 = aForV(top), a2 = aForV(next);
    const Ref f1 = emnsFactor(a1), f2 = emnsFactor(a2);
    EXPECT_NEAR(f1, f2, 0.012L * f1 + 2.0L / a1) << "octave " << k;
  }
}

TEST(Emns, OnePassRangeCheckBeforeAnyOutput) {
  std::vector<std::int32_t> a(10, 1000), m(10, 1 << 20);
  Canary<std::int32_t> g(10);
  a[7] = -1;
  EXPECT_EQ(kelErrRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10));
  EXPECT_TRUE(g.untouched());
  a[7] = 1000;
  m[9] = 0;
  EXPECT_EQ(kelErrRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10));
  m[9] = (1 << 30) + 1;
  EXPECT_EQ(kelErrRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10));
  EXPECT_TRUE(g.untouched());
  // Length is checked before the data, pointers before the length.
  EXPECT_EQ(kelErrLengthRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 0));
  EXPECT_EQ(kelErrLengthRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 65536));
  EXPECT_EQ(kelErrNullPtr, kelsFilterUpdateEMNS_32s(a.data(), nullptr, g.data(), 0));
  EXPECT_EQ(kelErrNullPtr, kelsFilterUpdateEMNS_32s(nullptr, m.data(), g.data(), 10));
  EXPECT_EQ(kelErrNullPtr, kelsFilterUpdateEMNS_32s(a.data(), m.data(), nullptr, 10));
  EXPECT_TRUE(g.untouched());
  m[9] = 1 << 30;
  EXPECT_EQ(kelOk, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10));
  EXPECT_TRUE(g.guardsIntact());
}

}  // namespace
