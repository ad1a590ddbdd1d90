// Front-end spectra, noise update, Wiener gains and blind equalisation against long double
// references; check order; identical bits on every target and alignment.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "support/canary.h"
#include "support/fault.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels {
namespace {

using test::Buffer;
using test::Canary;
using test::Fault;
using test::Ref;
using test::Rng;

constexpr Ref kU = 1.0L / (1 << 24);  // unit roundoff of float

// ---- check order -------------------------------------------------------------------------------

// Up to four input arrays and one output (or in-out) array of 16 floats; the in-out arrays of
// blind equalisation are canaries too.
struct Args {
  std::vector<float> in1 = std::vector<float>(16, 1.0f), in2 = in1, in3 = in1;
  const float *a = in1.data(), *b = in2.data(), *c = in3.data();
  Canary<float> out{16}, out2{16};
  float* dst = out.data();
  float* dst2 = out2.data();
  int len = 16;
};

struct Member {
  const char* name;
  std::function<KelsStatus(Args&)> call;
  std::vector<Fault<Args>> faults;
};

const Fault<Args> kLenFaults[] = {
    {"len 0", kelErrSize, [](Args& a) { a.len = 0; }},
    {"len -4", kelErrSize, [](Args& a) { a.len = -4; }},
    {"len 0, null output", kelErrNullPtr,
     [](Args& a) {
       a.len = 0;
       a.dst = nullptr;
     }},
};

std::vector<Member> members() {
  std::vector<Member> m;
  m.push_back({"SmoothedPowerSpectrum_32f",
               [](Args& a) { return kelsSmoothedPowerSpectrumAurora_32f(a.a, a.dst, a.len); },
               {{"null src", kelErrNullPtr, [](Args& a) { a.a = nullptr; }},
                {"null dst", kelErrNullPtr, [](Args& a) { a.dst = nullptr; }},
                {"len 6", kelErrSize, [](Args& a) { a.len = 6; }},
                {"len 2", kelErrSize, [](Args& a) { a.len = 2; }}}});
  m.push_back({"NoiseSpectrumUpdate",
               [](Args& a) { return kelsNoiseSpectrumUpdate_Aurora_32f(a.a, a.b, a.dst, a.len); },
               {{"null x", kelErrNullPtr, [](Args& a) { a.a = nullptr; }},
                {"null y", kelErrNullPtr, [](Args& a) { a.b = nullptr; }},
                {"null dst", kelErrNullPtr, [](Args& a) { a.dst = nullptr; }}}});
  m.push_back(
      {"WienerFilterDesign",
       [](Args& a) { return kelsWienerFilterDesign_Aurora_32f(a.a, a.b, a.c, a.dst, a.len); },
       {{"null P", kelErrNullPtr, [](Args& a) { a.a = nullptr; }},
        {"null N", kelErrNullPtr, [](Args& a) { a.b = nullptr; }},
        {"null D", kelErrNullPtr, [](Args& a) { a.c = nullptr; }},
        {"null H", kelErrNullPtr, [](Args& a) { a.dst = nullptr; }}}});
  m.push_back(
      {"BlindEqualization",
       [](Args& a) { return kelsBlindEqualization_Aurora_32f(a.a, a.dst, a.dst2, a.len, 5.0f); },
       {{"null ref", kelErrNullPtr, [](Args& a) { a.a = nullptr; }},
        {"null cep", kelErrNullPtr, [](Args& a) { a.dst = nullptr; }},
        {"null bias", kelErrNullPtr, [](Args& a) { a.dst2 = nullptr; }}}});
  for (auto& member : m)
    member.faults.insert(member.faults.end(), std::begin(kLenFaults), std::end(kLenFaults));
  m.push_back({"WaveProcessing",
               [](Args& a) { return kelsWaveProcessing_Aurora_32f(a.a, a.dst); },
               {{"null src", kelErrNullPtr, [](Args& a) { a.a = nullptr; }},
                {"null dst", kelErrNullPtr, [](Args& a) { a.dst = nullptr; }}}});
  return m;
}

TEST(FrontEndChecks, RejectInOrderAndWriteNothing) {
  for (const Member& member : members())
    for (const auto& f : member.faults) {
      Args args;
      f.apply(args);
      EXPECT_EQ(f.expected, member.call(args)) << member.name << ": " << f.what;
      EXPECT_TRUE(args.out.untouched() && args.out2.untouched()) << member.name << ": " << f.what;
    }
}

TEST(FrontEndChecks, SixteenBitSpectrumChecksLikeTheFloatOne) {
  Kels16s src[8] = {};
  Canary<Kels16s> dst(3);
  EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_16s(nullptr, dst.data(), 8), kelErrNullPtr);
  EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_16s(src, nullptr, 0), kelErrNullPtr);
  EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_16s(src, dst.data(), 0), kelErrSize);
  EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_16s(src, dst.data(), 10), kelErrSize);
  EXPECT_TRUE(dst.untouched());
  EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_16s(src, dst.data(), 8), kelOk);
  EXPECT_TRUE(dst.guardsIntact());
}

// ---- smoothed power spectra ---------------------------------------------------------------------

std::vector<Ref> refSmoothed(const std::vector<float>& x) {
  const std::size_t m = x.size() / 4;
  auto power = [&](std::size_t bin) {  // packed layout: bin 0 and the Nyquist bin are real
    if (bin == 0) return Ref(x[0]) * x[0];
    if (bin == 2 * m) return Ref(x[1]) * x[1];
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
      EXPECT_NEAR(out[k], double(ref[k]), double(8 * kU * ref[k])) << "len " << len << " bin " << k;
  }
  const float four[4] = {3, 100, 4, 5};  // the smallest frame: two outputs
  float two[2];
  ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_32f(four, two, 4), kelOk);
  EXPECT_EQ(two[0], 25.0f);     // (9 + 16 + 25) / 2
  EXPECT_EQ(two[1], 10000.0f);  // Nyquist, not halved
}

// 32-bit sums of floor(x^2 / 2), wrapped modulo 2^32 into the signed range, then clamped.
std::vector<Kels16s> refSmoothed16s(const std::vector<Kels16s>& x) {
  const std::size_t m = x.size() / 4;
  auto half = [](Kels16s v) { return (std::int64_t(v) * v) / 2; };
  std::vector<Kels16s> out(m + 1);
  out[0] = Kels16s(std::min<std::int64_t>(half(x[0]) + half(x[2]) + half(x[3]), 32767));
  for (std::size_t k = 1; k < m; ++k) {
    std::int64_t s = half(x[4 * k]) + half(x[4 * k + 1]) + half(x[4 * k + 2]) + half(x[4 * k + 3]);
    if (s > INT32_MAX) s -= std::int64_t(1) << 32;
    out[k] = s < -32767 ? Kels16s(-32768) : Kels16s(std::min<std::int64_t>(s, 32767));
  }
  out[m] = Kels16s(std::min<std::int64_t>(std::int64_t(x[1]) * x[1], 32767));
  return out;
}

TEST(SmoothedPowerSpectrum, SixteenBitHalvesWrapsAndSaturates) {
  Rng rng(11);
  for (int len : {4, 8, 64, 256}) {
    for (int range : {150, 300, 32768}) {  // exact, around the clamp, wide
      const auto x = rng.uniformVec<Kels16s>(std::size_t(len), -range, range - 1);
      Canary<Kels16s> out(std::size_t(len / 4 + 1));
      ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_16s(x.data(), out.data(), len), kelOk);
      EXPECT_TRUE(out.guardsIntact());
      EXPECT_EQ(out.values(), refSmoothed16s(x)) << "len " << len << " range " << range;
    }
  }
  const std::vector<Kels16s> edges = {
      5,      200,    7,      -3,      // bin 0: 12 + 24 + 4; Nyquist 40000 saturates
      -32768, -32768, -32768, -32768,  // 2^31 wraps negative: -32768
      -32768, -32768, -32768, 32767,   // just below 2^31: saturates high
      0,      0,      1,      1};      // each 1 halves to 0
  Kels16s out[5];
  ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_16s(edges.data(), out, 16), kelOk);
  EXPECT_EQ(out[0], 40);
  EXPECT_EQ(out[1], -32768);
  EXPECT_EQ(out[2], 32767);
  EXPECT_EQ(out[3], 0);
  EXPECT_EQ(out[4], 32767);
  EXPECT_EQ(refSmoothed16s(edges), std::vector<Kels16s>(out, out + 5));
}

// ---- noise update, Wiener gains, blind equalisation ---------------------------------------------

TEST(NoiseSpectrumUpdate, MatchesTheRecursionAndGuardsZeroDivisors) {
  Rng rng(3);
  const int len = 129;
  auto x = rng.uniformVec<float>(len, 0, 1e4), y = rng.uniformVec<float>(len, 1e-3, 1e4);
  Canary<float> out(len, 4);
  ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(x.data(), y.data(), out.data(), len), kelOk);
  EXPECT_TRUE(out.guardsIntact());
  for (int i = 0; i < len; ++i) {
    const Ref xi = x[std::size_t(i)], yi = y[std::size_t(i)];
    const Ref a = Ref(0.1f) * xi;  // the float constant
    const Ref ref = yi * (Ref(0.9f) + (a / (xi + yi)) * (1 + yi / (yi + a)));
    EXPECT_NEAR(out[std::size_t(i)], double(ref), double(16 * kU * ref)) << i;
  }
  const float xs[] = {0, 1, 0, 5, 10, 3}, ys[] = {0, 1, 2, 0, -1, 0};
  float o[6];
  ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(xs, ys, o, 6), kelOk);
  EXPECT_EQ(o[0], 0.0f);                // x + y = 0: 0, not NaN
  EXPECT_NEAR(o[1], 0.995455f, 1e-6f);  // 0.9 + 0.05 (1 + 1/1.1)
  EXPECT_FLOAT_EQ(o[2], 1.8f);          // no new energy: 0.9 y
  EXPECT_EQ(o[3], 0.0f);                // no noise stays none
  EXPECT_EQ(o[4], 0.0f);                // y + 0.1 x = 0
  EXPECT_EQ(o[5], 0.0f);
}

Ref refWiener(Ref p, Ref n, Ref d) {
  const Ref eta1 = (Ref(0.02f) * std::max(p - n, Ref(0)) + Ref(0.98f) * d) / n;
  const Ref h1 = eta1 / (eta1 + 1);
  const Ref eta2 = std::max(h1 * p / n, Ref(0.079432823f));
  return eta2 / (eta2 + 1);
}

TEST(WienerFilterDesign, GainsFollowTheDecisionDirectedRuleWithinTheirRange) {
  Rng rng(5);
  const int len = 65;
  const auto p = rng.uniformVec<float>(len, 0, 1e3), n = rng.uniformVec<float>(len, 1, 1e3),
             d = rng.uniformVec<float>(len, 0, 1e3);
  Canary<float> h(len, 8);
  ASSERT_EQ(kelsWienerFilterDesign_Aurora_32f(p.data(), n.data(), d.data(), h.data(), len), kelOk);
  EXPECT_TRUE(h.guardsIntact());
  for (std::size_t i = 0; i < std::size_t(len); ++i) {
    const Ref ref = refWiener(p[i], n[i], d[i]);
    EXPECT_NEAR(h[i], double(ref), double(24 * kU * ref)) << i;
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
    ASSERT_EQ(kelsBlindEqualization_Aurora_32f(ref.data(), cep.data(), bias.data(), len, logE),
              kelOk);
    const Ref mu = std::min(std::max(Ref(logE) - 3.296875L, Ref(0)), Ref(1)) * 9 / 1024;
    for (std::size_t i = 0; i < std::size_t(len); ++i) {
      const Ref c = Ref(cep0[i]) - bias0[i];
      EXPECT_NEAR(cep[i], double(c), 1e-6) << logE;
      EXPECT_NEAR(bias[i], double(bias0[i] + mu * (c - ref[i])), 1e-6) << logE;
      if (mu == 0) {
        EXPECT_EQ(bias[i], bias0[i]);  // quiet frames leave the bias alone
      }
    }
  }
  // One array in two roles behaves as the two whole-array steps: with ref = cep the update
  // sees the equalised cepstrum and leaves the bias alone; with cep = bias both end at -mu ref.
  auto cep = cep0, bias = bias0;
  ASSERT_EQ(kelsBlindEqualization_Aurora_32f(cep.data(), cep.data(), bias.data(), len, 9.0f),
            kelOk);
  EXPECT_EQ(bias, bias0);
  bias = bias0;
  ASSERT_EQ(kelsBlindEqualization_Aurora_32f(ref.data(), bias.data(), bias.data(), len, 9.0f),
            kelOk);
  for (std::size_t i = 0; i < std::size_t(len); ++i) EXPECT_EQ(bias[i], -(9.0f / 1024) * ref[i]);

  float r[] = {0}, c[] = {2}, b[] = {1};  // loud frame: step 9/1024 on the equalised cepstrum
  ASSERT_EQ(kelsBlindEqualization_Aurora_32f(r, c, b, 1, 7.0f), kelOk);
  EXPECT_EQ(c[0], 1.0f);
  EXPECT_EQ(b[0], 1.0f + 9.0f / 1024);
}

// ---- every target, every alignment: the scalar bits ---------------------------------------------

// Runs every vectorised member on data at a given misalignment and returns all outputs.
std::vector<float> runAll(const std::vector<float>& data, int len, std::size_t misalign) {
  Buffer<float> a(data, misalign), b(std::vector<float>(data.rbegin(), data.rend()), misalign);
  Buffer<float> c(std::vector<float>(data.begin() + 1, data.end()), misalign);
  std::vector<float> all;
  auto keep = [&](const float* p, int n) { all.insert(all.end(), p, p + n); };
  Buffer<float> out(std::size_t(len) + 200, misalign), out2(std::size_t(len), misalign);
  if (len % 4 == 0) {
    EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_32f(a.data(), out.data(), len), kelOk);
    keep(out.data(), len / 4 + 1);
  }
  EXPECT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(a.data(), b.data(), out.data(), len), kelOk);
  keep(out.data(), len);
  EXPECT_EQ(kelsWienerFilterDesign_Aurora_32f(a.data(), b.data(), c.data(), out.data(), len),
            kelOk);
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
        ASSERT_EQ(got.size(), expected.size());
        EXPECT_EQ(std::memcmp(got.data(), expected.data(), got.size() * sizeof(float)), 0)
            << targetName(t) << " len " << len << " misalign " << misalign;
      }
    });
  }
}

TEST(FrontEndInPlace, OutputMayBeTheInput) {
  Rng rng(17);
  auto x = rng.uniformVec<float>(64, 0.1, 10), y = rng.uniformVec<float>(64, 0.1, 10);
  std::vector<float> separate(64);
  ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(x.data(), y.data(), separate.data(), 64), kelOk);
  ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(x.data(), y.data(), y.data(), 64), kelOk);
  EXPECT_EQ(y, separate);
  std::vector<float> spectrum(17);
  ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_32f(x.data(), spectrum.data(), 64), kelOk);
  ASSERT_EQ(kelsSmoothedPowerSpectrumAurora_32f(x.data(), x.data(), 64), kelOk);
  EXPECT_EQ(std::vector<float>(x.begin(), x.begin() + 17), spectrum);
}

}  // namespace
}  // namespace kels
