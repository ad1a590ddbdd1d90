// Front-end spectra, noise update, Wiener gains and blind equalisation against long double
// references; check order; identical bits on every target and alignment.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels {
namespace {

using test::Canary;
using test::Ref;
using test::Rng;
using F = float*;
using S = Kels16s*;
constexpr Ref kU = 1.0L / (1 << 24);  // unit roundoff of float

// ---- check order: pointers, then the length; a failed call writes nothing ----------------------

struct Member {
  const char* name;
  int pointers;  // taken from p[0 ..], every one a canary
  KelsStatus (*run)(void* const* p, int len);
  std::vector<int> badLengths;
};

// clang-format off
const Member kMembers[] = {
    {"spectrum 32f", 2, [](void* const* p, int n) {
       return kelsSmoothedPowerSpectrumAurora_32f(F(p[0]), F(p[1]), n); }, {0, -4, 2, 6}},
    {"spectrum 16s", 2, [](void* const* p, int n) {
       return kelsSmoothedPowerSpectrumAurora_16s(S(p[0]), S(p[1]), n); }, {0, -4, 2, 6}},
    {"noise update", 3, [](void* const* p, int n) {
       return kelsNoiseSpectrumUpdate_Aurora_32f(F(p[0]), F(p[1]), F(p[2]), n); }, {0, -1}},
    {"Wiener design", 4, [](void* const* p, int n) {
       return kelsWienerFilterDesign_Aurora_32f(F(p[0]), F(p[1]), F(p[2]), F(p[3]), n); }, {0, -1}},
    {"blind equalisation", 3, [](void* const* p, int n) {
       return kelsBlindEqualization_Aurora_32f(F(p[0]), F(p[1]), F(p[2]), n, 5.0f); }, {0, -1}},
    {"waveform", 2, [](void* const* p, int) {
       return kelsWaveProcessing_Aurora_32f(F(p[0]), F(p[1])); }, {}},
};
// clang-format on

TEST(FrontEndChecks, PointersThenLengthAndNothingWritten) {
  for (const Member& m : kMembers) {
    auto expect = [&](int nullAt, int len, KelsStatus status) {
      std::vector<Canary<float>> buf(4, Canary<float>(256));
      void* p[4];
      for (int k = 0; k < 4; ++k) p[k] = k == nullAt ? nullptr : buf[std::size_t(k)].data();
      EXPECT_EQ(m.run(p, len), status) << m.name << ": null " << nullAt << ", len " << len;
      for (const auto& b : buf) EXPECT_TRUE(b.untouched()) << m.name;
    };
    for (int k = 0; k < m.pointers; ++k) expect(k, 16, kelErrNullPtr), expect(k, 0, kelErrNullPtr);
    for (int len : m.badLengths) expect(-1, len, kelErrSize);
  }
}

// ---- smoothed power spectra ---------------------------------------------------------------------

// Powers of the packed bins (0 and the Nyquist bin are real), paired and halved; Nyquist alone.
std::vector<Ref> refSmoothed(const std::vector<float>& x) {
  const std::size_t m = x.size() / 4;
  auto power = [&](std::size_t bin) {
    if (bin == 0 || bin == 2 * m) return Ref(x[bin ? 1 : 0]) * x[bin ? 1 : 0];
    return Ref(x[2 * bin]) * x[2 * bin] + Ref(x[2 * bin + 1]) * x[2 * bin + 1];
  };
  std::vector<Ref> out(m + 1);
  for (std::size_t k = 0; k < m; ++k) out[k] = (power(2 * k) + power(2 * k + 1)) / 2;
  out[m] = power(2 * m);
  return out;
}

TEST(SmoothedPowerSpectrum, FloatMatchesPairedBinPowers) {
  Rng rng(7);
  for (int len : {4, 8, 12, 16, 36, 68, 128, 256, 260}) {
    const auto x = rng.uniformVec<float>(std::size_t(len), -1000, 1000);
    Canary<float> out(std::size_t(len / 4 + 1));
    ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_32f(x.data(), out.data(), len), kelOk);
    EXPECT_TRUE(out.guardsIntact());
    const auto ref = refSmoothed(x);
    for (std::size_t k = 0; k < ref.size(); ++k)
      EXPECT_NEAR(out[k], double(ref[k]), double(8 * kU * ref[k])) << "len " << len << ", " << k;
    auto inPlace = x;
    ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_32f(inPlace.data(), inPlace.data(), len), kelOk);
    EXPECT_EQ(std::vector<float>(inPlace.begin(), inPlace.begin() + len / 4 + 1), out.values());
  }
}

// 32-bit sums of floor(x^2 / 2), wrapped modulo 2^32 into the signed range, then clamped.
std::vector<Kels16s> refSmoothed16s(const std::vector<Kels16s>& x) {
  const std::size_t m = x.size() / 4;
  auto half = [&](std::size_t i) { return (std::int64_t(x[i]) * x[i]) / 2; };
  std::vector<Kels16s> out(m + 1);
  out[0] = Kels16s(std::min<std::int64_t>(half(0) + half(2) + half(3), 32767));
  for (std::size_t k = 1; k < m; ++k) {
    std::int64_t s = half(4 * k) + half(4 * k + 1) + half(4 * k + 2) + half(4 * k + 3);
    if (s > INT32_MAX) s -= std::int64_t(1) << 32;
    out[k] = s < -32767 ? Kels16s(-32768) : Kels16s(std::min<std::int64_t>(s, 32767));
  }
  out[m] = Kels16s(std::min<std::int64_t>(std::int64_t(x[1]) * x[1], 32767));
  return out;
}

TEST(SmoothedPowerSpectrum, SixteenBitHalvesWrapsAndSaturates) {
  Rng rng(11);
  for (int len : {4, 8, 64, 256})
    for (int range : {150, 300, 32768}) {  // exact, around the clamp, wide
      const auto x = rng.uniformVec<Kels16s>(std::size_t(len), -range, range - 1);
      Canary<Kels16s> out(std::size_t(len / 4 + 1));
      ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_16s(x.data(), out.data(), len), kelOk);
      EXPECT_TRUE(out.guardsIntact());
      EXPECT_EQ(out.values(), refSmoothed16s(x)) << "len " << len << " range " << range;
    }
  // Bin 0: 12 + 24 + 4, Nyquist 40000; 2^31 wraps to -32768; just below it 32767; 1 halves to 0.
  const std::vector<Kels16s> edges = {5,      200,    7,      -3,     -32768, -32768, -32768, -32768,
                                      -32768, -32768, -32768, 32767,  0,      0,      1,      1};
  std::vector<Kels16s> out(5);
  ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_16s(edges.data(), out.data(), 16), kelOk);
  EXPECT_EQ(out, (std::vector<Kels16s>{40, -32768, 32767, 0, 32767}));
  EXPECT_EQ(out, refSmoothed16s(edges));
}

// ---- noise update, Wiener gains, blind equalisation ---------------------------------------------

TEST(NoiseSpectrumUpdate, MatchesTheRecursionAndGuardsZeroDivisors) {
  Rng rng(3);
  const auto x = rng.uniformVec<float>(129, 0, 1e4), y = rng.uniformVec<float>(129, 1e-3, 1e4);
  Canary<float> out(129, 4);
  ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(x.data(), y.data(), out.data(), 129), kelOk);
  EXPECT_TRUE(out.guardsIntact());
  for (std::size_t i = 0; i < 129; ++i) {
    const Ref a = Ref(0.1f) * x[i];
    const Ref ref = y[i] * (Ref(0.9f) + (a / (x[i] + Ref(y[i]))) * (1 + y[i] / (y[i] + a)));
    EXPECT_NEAR(out[i], double(ref), double(16 * kU * ref)) << i;
  }
  const float xs[] = {0, 1, 0, 5, 10}, ys[] = {0, 1, 2, 0, -1};
  float o[5];
  ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(xs, ys, o, 5), kelOk);
  EXPECT_EQ(o[0], 0.0f);                // x + y = 0: 0, not NaN
  EXPECT_NEAR(o[1], 0.995455f, 1e-6f);  // 0.9 + 0.05 (1 + 1/1.1)
  EXPECT_FLOAT_EQ(o[2], 1.8f);          // no new energy: 0.9 y
  EXPECT_EQ(o[3], 0.0f);                // no noise stays none
  EXPECT_EQ(o[4], 0.0f);                // y + 0.1 x = 0
}

TEST(WienerFilterDesign, GainsFollowTheDecisionDirectedRuleWithinTheirRange) {
  Rng rng(5);
  const auto p = rng.uniformVec<float>(65, 0, 1e3), n = rng.uniformVec<float>(65, 1, 1e3),
             d = rng.uniformVec<float>(65, 0, 1e3);
  Canary<float> h(65, 8);
  ASSERT_EQ(kelsWienerFilterDesign_Aurora_32f(p.data(), n.data(), d.data(), h.data(), 65), kelOk);
  EXPECT_TRUE(h.guardsIntact());
  for (std::size_t i = 0; i < 65; ++i) {
    const Ref eta1 = (Ref(0.02f) * std::max(Ref(p[i]) - n[i], Ref(0)) + Ref(0.98f) * d[i]) / n[i];
    const Ref eta2 = std::max(eta1 / (eta1 + 1) * p[i] / n[i], Ref(0.079432823f));
    EXPECT_NEAR(h[i], double(eta2 / (eta2 + 1)), double(24 * kU)) << i;
    EXPECT_GE(h[i], 0.0735875f);  // the -22 dB floor: 0.0794328 / 1.0794328
    EXPECT_LT(h[i], 1.0f);
  }
  const float same[] = {7.5f, 7.5f}, zero[] = {0, 0}, less[] = {3, 7.5f};
  float g[2];
  ASSERT_EQ(kelsWienerFilterDesign_Aurora_32f(same, same, same, g, 2), kelOk);
  EXPECT_NEAR(g[0], 0.331081f, 1e-6f);  // eta1 = 0.98, H1 = eta2 = 0.494949
  ASSERT_EQ(kelsWienerFilterDesign_Aurora_32f(less, same, zero, g, 2), kelOk);
  EXPECT_NEAR(g[0], 0.073588f, 1e-6f);  // floored at -22 dB
  EXPECT_NEAR(g[1], 0.073588f, 1e-6f);
}

TEST(BlindEqualization, SubtractsFirstThenStepsWithTheEnergyRule) {
  Rng rng(9);
  const int len = 13;
  const auto ref = rng.uniformVec<float>(len, -5, 5), cep0 = rng.uniformVec<float>(len, -5, 5),
             bias0 = rng.uniformVec<float>(len, -1, 1);
  for (float logE : {-10.0f, 3.296875f, 3.5f, 4.0f, 4.296875f, 20.0f}) {
    auto cep = cep0, bias = bias0;
    ASSERT_EQ(kelsBlindEqualization_Aurora_32f(ref.data(), cep.data(), bias.data(), len, logE), kelOk);
    const Ref mu = std::min(std::max(Ref(logE) - 3.296875L, Ref(0)), Ref(1)) * 9 / 1024;
    for (std::size_t i = 0; i < std::size_t(len); ++i) {
      const Ref c = Ref(cep0[i]) - bias0[i];
      EXPECT_NEAR(cep[i], double(c), 1e-6) << logE;
      EXPECT_NEAR(bias[i], double(bias0[i] + mu * (c - ref[i])), 1e-6) << logE;
      EXPECT_TRUE(mu > 0 || bias[i] == bias0[i]);  // quiet frames leave the bias alone
    }
  }
  // One array in two roles behaves as the two whole-array steps: with ref = cep the update
  // sees the equalised cepstrum and leaves the bias alone; with cep = bias both end at -mu ref.
  auto cep = cep0, bias = bias0;
  ASSERT_EQ(kelsBlindEqualization_Aurora_32f(cep.data(), cep.data(), bias.data(), len, 9), kelOk);
  EXPECT_EQ(bias, bias0);
  ASSERT_EQ(kelsBlindEqualization_Aurora_32f(ref.data(), bias.data(), bias.data(), len, 9), kelOk);
  for (std::size_t i = 0; i < std::size_t(len); ++i) EXPECT_EQ(bias[i], -(9.0f / 1024) * ref[i]);
}

// ---- every target, every alignment: the scalar bits ---------------------------------------------

std::vector<float> runAll(const std::vector<float>& data, int len, std::size_t misalign) {
  test::Buffer<float> a(data, misalign), b({data.rbegin(), data.rend()}, misalign),
      c({data.begin() + 1, data.end()}, misalign), out(data.size(), misalign), out2(out.size());
  std::vector<float> all;
  auto keep = [&](const float* p, int n) { all.insert(all.end(), p, p + n); };
  if (len % 4 == 0 && kelsSmoothedPowerSpectrumAurora_32f(a.data(), out.data(), len) == kelOk)
    keep(out.data(), len / 4 + 1);
  EXPECT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(a.data(), b.data(), out.data(), len), kelOk);
  keep(out.data(), len);
  EXPECT_EQ(kelsWienerFilterDesign_Aurora_32f(a.data(), b.data(), c.data(), out.data(), len), kelOk);
  keep(out.data(), len);
  std::memcpy(out.data(), b.data(), sizeof(float) * std::size_t(len));
  std::memcpy(out2.data(), c.data(), sizeof(float) * std::size_t(len));
  EXPECT_EQ(kelsBlindEqualization_Aurora_32f(a.data(), out.data(), out2.data(), len, 3.9f), kelOk);
  keep(out.data(), len);
  keep(out2.data(), len);
  EXPECT_EQ(kelsWaveProcessing_Aurora_32f(a.data(), out.data()), kelOk);
  keep(out.data(), 200);
  return all;
}

TEST(FrontEndTargets, EveryTargetAndAlignmentGivesTheScalarBits) {
  Rng rng(13);
  const auto data = rng.uniformVec<float>(260, 0.01, 100);  // positive: spectra and noise
  for (int len : {1, 4, 7, 8, 9, 15, 16, 17, 63, 64, 65, 68, 256}) {
    std::vector<float> expected;
    {
      test::PinnedTarget pin(Target::kScalar);
      expected = runAll(data, len, 0);
    }
    test::forEachTarget([&](Target t) {
      for (std::size_t misalign : {0, 4, 8, 12}) {
        const auto got = runAll(data, len, misalign);
        EXPECT_EQ(std::memcmp(got.data(), expected.data(), got.size() * sizeof(float)), 0)
            << targetName(t) << " len " << len << " misalign " << misalign;
      }
    });
  }
}

}  // namespace
}  // namespace kels
