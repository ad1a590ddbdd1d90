// Noise estimator and suppression gains: sizes, initial constants and check orders, the noise
// update's behaviour on constructed spectra, and the two gain rules at their stated values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include <kelsr.h>

#include "support/canary.h"
#include "support/reference.h"

namespace {

using kels::test::Canary;
using kels::test::Ref;

// The state's documented field order: 32-bit words; the per-bin arrays start at byte 60
// (presence probability, then S, then the minimum).
enum Word { kRate, kFft, kBits, kShift, kWindow, kCounter, kFirst, kAlphaD, kAlphaP, kAlphaS, kDelta };

struct Mcra {
  explicit Mcra(int fft, int rate = 8000) : bins(fft / 2 + 1) {
    int size = 0;
    EXPECT_EQ(kelOk, kelsGetSizeMCRA_32s(fft, &size));
    block.assign(std::size_t(size) / 4 + 1, 0x5A5A5A5A);
    EXPECT_EQ(kelOk, kelsInitMCRA_32s(rate, fft, state()));
  }
  KelsMCRAState_32s* state() { return reinterpret_cast<KelsMCRAState_32s*>(block.data()); }
  std::int32_t word(int i) const { return block[std::size_t(i)]; }
  std::int32_t presence(int k) const { return at(60 + 4 * k); }
  std::int32_t minimum(int k) const { return at(60 + 4 * (2 * bins + k)); }
  std::int32_t at(std::size_t byte) const {
    std::int32_t v;
    std::memcpy(&v, reinterpret_cast<const char*>(block.data()) + byte, 4);
    return v;
  }
  KelsStatus update(std::vector<std::int32_t>& power, std::vector<std::int32_t>& noise) {
    return kelsUpdateNoisePSDMCRA_32s_I(power.data(), state(), noise.data());
  }
  int bins;
  std::vector<std::int32_t> block;
};

Ref q31(std::int32_t v) { return Ref(v) / 2147483648.0L; }

TEST(McraInit, SizeAndConstantsFollowTheFramePeriod) {
  for (int n : {8, 9, 255, 256, 257, 8192}) {
    int size = 0;
    EXPECT_EQ(kelOk, kelsGetSizeMCRA_32s(n, &size));
    EXPECT_EQ(84 + 16 * (n / 2), size) << n;
  }
  Mcra m(256), b(256);  // rate, N, bits, shift, window L, counter, first-frame flag
  EXPECT_EQ((std::vector<std::int32_t>{8000, 256, 8, 128, 62, 0, 1}),
            std::vector<std::int32_t>(m.block.begin(), m.block.begin() + 7));
  EXPECT_EQ(163840, m.word(kDelta));
  ASSERT_EQ(kelOk, kelsAltInitMCRA_32s(8000, 256, 128, b.state()));
  EXPECT_EQ(0, std::memcmp(m.block.data(), b.block.data(), 44));  // both initialisers agree
  // 16 ms is two 8 ms periods: 0.7^2, 0.2^2, 0.8^2 up to the cubic series' remainder (x^4/24 at
  // x = 2 ln 0.7 is about 0.011).
  EXPECT_NEAR(0.49L, q31(m.word(kAlphaD)), 0.012L);
  EXPECT_NEAR(0.64L, q31(m.word(kAlphaS)), 0.005L);
  EXPECT_NEAR(0.04L, q31(m.word(kAlphaP)), 0.002L);
  for (int shift : {16, 64, 100}) {  // shorter shifts: base^(R / fs / 8 ms), about 1 s of frames
    ASSERT_EQ(kelOk, kelsAltInitMCRA_32s(16000, 256, shift, b.state()));
    const Ref periods = Ref(shift) / 16000.0L / 0.008L;
    EXPECT_NEAR(std::pow(0.7L, periods), q31(b.word(kAlphaD)), 0.004L) << shift;
    EXPECT_NEAR(std::pow(0.8L, periods), q31(b.word(kAlphaS)), 0.002L) << shift;
    EXPECT_NEAR(std::pow(0.2L, periods), q31(b.word(kAlphaP)), 0.002L) << shift;
    EXPECT_NEAR(16000.0 / shift, b.word(kWindow), 16000.0 / shift * 0.01 + 1) << shift;
    EXPECT_EQ(shift, b.word(kShift));
  }
  // A non-power-of-two N divides by the largest power of two not above N/2 (64 for N = 200).
  Mcra c(200), d(200);
  ASSERT_EQ(kelOk, kelsAltInitMCRA_32s(8000, 200, 64, d.state()));
  EXPECT_EQ(d.word(kWindow), c.word(kWindow));
  EXPECT_EQ(100, c.word(kShift));
}

TEST(McraInit, CheckOrdersWriteNothing) {
  const struct { const char* what; int rate, fft, shift; bool nullState; KelsStatus init, alt; } cases[] = {
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
    EXPECT_TRUE((c.init == kelOk || a.untouched()) && (c.alt == kelOk || b.untouched())) << c.what;
  }
  int size = -1;
  EXPECT_EQ(kelErrSize, kelsGetSizeMCRA_32s(7, &size));
  EXPECT_EQ(kelErrSize, kelsGetSizeMCRA_32s(8193, &size));
  EXPECT_EQ(kelErrNullPtr, kelsGetSizeMCRA_32s(7, nullptr));  // the pointer comes first
  EXPECT_EQ(-1, size);
  Mcra m(64);
  const std::vector<std::int32_t> before = m.block;
  std::vector<std::int32_t> power(33, 5), noise(33, 7);
  EXPECT_EQ(kelErrNullPtr, kelsUpdateNoisePSDMCRA_32s_I(power.data(), nullptr, noise.data()));
  EXPECT_EQ(kelErrNullPtr, kelsUpdateNoisePSDMCRA_32s_I(power.data(), m.state(), nullptr));
  EXPECT_EQ(before, m.block);
  EXPECT_EQ(std::vector<std::int32_t>(33, 7), noise);
}

TEST(McraUpdate, StaysWithinTheReportedSizeAndAByteCopyKeepsWorking) {
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
  Mcra m(128, 16000);
  std::vector<std::int32_t> power(std::size_t(m.bins)), noise(power.size(), 0);
  for (int f = 0; f < 10; ++f) {
    for (int k = 0; k < m.bins; ++k) power[std::size_t(k)] = 1000 + (k * 7919 + f * 104729) % 50000;
    ASSERT_EQ(kelOk, m.update(power, noise));
  }
  Mcra copy = m;  // the block at a different address
  std::vector<std::int32_t> noiseCopy = noise;
  for (int k = 0; k < m.bins; ++k) power[std::size_t(k)] = 300000 - 1000 * k;
  ASSERT_EQ(kelOk, m.update(power, noise));
  ASSERT_EQ(kelOk, copy.update(power, noiseCopy));
  EXPECT_EQ(noise, noiseCopy);
  EXPECT_EQ(m.block, copy.block);
}

// The first frame copies the power whatever the estimate held. Then a bin whose power steps
// from y0 to y1 <= 2 y0 (no speech presence: the smoothed power stays below five times the
// minimum) approaches y1 geometrically with the factor alpha_d.
TEST(McraUpdate, StationaryStepConvergesWithAlphaD) {
  Mcra m(32);
  std::vector<std::int32_t> power(std::size_t(m.bins)), noise(power.size(), -12345);
  for (int k = 0; k < m.bins; ++k) power[std::size_t(k)] = 1000000 + 37 * k;
  ASSERT_EQ(kelOk, m.update(power, noise));
  EXPECT_EQ(power, noise);
  EXPECT_TRUE(m.word(kCounter) == 1 && m.word(kFirst) == 0);
  const Ref ad = q31(m.word(kAlphaD));
  std::vector<Ref> expect(power.begin(), power.end());
  std::fill(power.begin(), power.end(), 1800000);
  for (int f = 1; f <= 300; ++f) {
    ASSERT_EQ(kelOk, m.update(power, noise));
    // Rounding stops the estimate within 0.5 / (1 - alpha_d) of its target.
    for (std::size_t k = 0; k < expect.size(); ++k) {
      expect[k] = ad * expect[k] + (1 - ad) * 1800000;
      ASSERT_NEAR(double(expect[k]), noise[k], 0.5 / (1 - ad) + 1) << f;
    }
  }
  EXPECT_EQ(0, m.presence(0));  // no bin saw speech
}

TEST(McraUpdate, SpeechRaisesPresenceAndSlowsTheUpdate) {
  Mcra m(32);
  std::vector<std::int32_t> power(std::size_t(m.bins), 10000), noise(power.size(), 0);
  for (int f = 0; f < 5; ++f) ASSERT_EQ(kelOk, m.update(power, noise));
  // Bin 3 gets speech (100 times the noise); the others stay stationary.
  power[3] = 1000000;
  const Ref ad = q31(m.word(kAlphaD));
  Ref plain = noise[3];
  std::int32_t lastP = 0;
  for (int f = 0; f < 8; ++f) {
    ASSERT_EQ(kelOk, m.update(power, noise));
    plain = ad * plain + (1 - ad) * 1000000;  // what the update would give without presence
    if (f > 0) {
      EXPECT_GT(m.presence(3), lastP) << f;
      EXPECT_LT(noise[3], plain) << f;
    }
    lastP = m.presence(3);
    EXPECT_EQ(10000, noise[2]);
  }
  EXPECT_GT(q31(lastP), 0.9L);  // tends to one
}

TEST(McraUpdate, MinimumWindowRestartsEveryLFrames) {
  Mcra m(32);
  const int window = m.word(kWindow);
  ASSERT_GT(window, 2);
  std::vector<std::int32_t> power(std::size_t(m.bins), 500), noise(power.size());
  ASSERT_EQ(kelOk, m.update(power, noise));
  std::fill(power.begin(), power.end(), 40000);
  // The first window holds L - 1 updates after the first frame; then the counter restarts. The
  // minimum covers the last one to two windows: the first frame's 500 survives the first restart
  // and is gone after the second, which leaves the least S of the second window.
  for (int f = 1; f < 2 * window; ++f) {
    ASSERT_EQ(kelOk, m.update(power, noise));
    ASSERT_EQ(f < window ? f + 1 : f - window + 1, m.word(kCounter)) << f;
    ASSERT_EQ(500, m.minimum(0)) << f;
  }
  ASSERT_EQ(kelOk, m.update(power, noise));
  EXPECT_EQ(1, m.word(kCounter));
  // S has settled within 0.5 / (1 - alpha_s) of the input, where rounding stops it.
  EXPECT_NEAR(40000, m.minimum(0), 10);
}

TEST(Wiener, QuantisedGainOverTheWholeRange) {
  // floor(2^31 x / (1 + x)) for the bucket's representative x of xi = v / 2^15: the lower end
  // of 1/16 steps below 4, the upper end of the coarse ranges [4, 64) and [64, 512), and the
  // largest value from 512 on; 0 for negative values.
  std::vector<std::int32_t> in = {-1, INT32_MIN, 0, 2047, 2048, 1 << 15, 1 << 17, 1 << 21, 1 << 24, INT32_MAX};
  for (std::int32_t v = 0; v < (1 << 24) + 5000; v += 997) in.push_back(v);
  std::vector<std::int32_t> out(in.size());
  ASSERT_EQ(kelOk, kelsFilterUpdateWiener_32s(in.data(), out.data(), int(in.size())));
  for (std::size_t i = 0; i < in.size(); ++i) {
    const Ref xi = Ref(in[i]) / 32768;
    Ref x;
    if (xi < 4) x = std::floor(xi * 16) / 16;
    else if (xi < 64) x = (std::floor(xi / 4) + 1) * 4;
    else if (xi < 512) x = (std::floor(xi / 64) + 1) * 64;
    else x = -1;
    const std::int64_t expect =
        in[i] < 0 ? 0 : x < 0 ? 2147483647 : std::int64_t(std::floor(2147483648.0L * x / (1 + x)));
    ASSERT_EQ(expect, out[i]) << in[i];
  }
  // The stated values: xi = 1, 8/9 at the upper end of [4, 8), 2^31 / 17 at xi = 1/16.
  EXPECT_EQ(1 << 30, out[5]);
  EXPECT_EQ(1908874353, out[6]);
  EXPECT_EQ(126322567, out[4]);
}

TEST(Wiener, CheckOrderWritesNothing) {
  const std::int32_t in[] = {1, 2};
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
  // v = (a * 3276800) >> 24 = 19 for a = 100: T[19] = 416; v = 0: T[0] saturates.
  const std::int32_t a[] = {100, 0, 0, 1, 5};
  const std::int32_t m[] = {3276800, 1, 1 << 30, 1 << 30, 1};
  std::vector<std::int32_t> g(5);
  ASSERT_EQ(kelOk, kelsFilterUpdateEMNS_32s(a, m, g.data(), 5));
  EXPECT_EQ((std::vector<std::int32_t>{41600, 0, 0, INT32_MAX, INT32_MAX}), g);
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
  for (int k = 0; k < 21; ++k) {  // exactly at the octave edges
    const std::int32_t below = aForV((std::int64_t(1) << (k + 8)) - 1);
    const Ref f1 = emnsFactor(below), f2 = emnsFactor(aForV(std::int64_t(1) << (k + 8)));
    EXPECT_NEAR(f1, f2, 0.012L * f1 + 2.0L / below) << "octave " << k;
  }
}

TEST(Emns, OnePassRangeCheckBeforeAnyOutput) {
  std::vector<std::int32_t> a(10, 1000), m(10, 1 << 20);
  Canary<std::int32_t> g(10);
  a[7] = -1;
  EXPECT_EQ(kelErrRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10));
  a[7] = 1000;
  for (std::int32_t bad : {0, (1 << 30) + 1}) {
    m[9] = bad;
    EXPECT_EQ(kelErrRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10)) << bad;
  }
  // Length is checked before the data, pointers before the length.
  EXPECT_EQ(kelErrLengthRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 0));
  EXPECT_EQ(kelErrLengthRange, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 65536));
  EXPECT_EQ(kelErrNullPtr, kelsFilterUpdateEMNS_32s(a.data(), nullptr, g.data(), 0));
  EXPECT_TRUE(g.untouched());
  m[9] = 1 << 30;
  EXPECT_EQ(kelOk, kelsFilterUpdateEMNS_32s(a.data(), m.data(), g.data(), 10));
  EXPECT_TRUE(g.guardsIntact());
}

}  // namespace
