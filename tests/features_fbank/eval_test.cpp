// Mel banks: centres and weights against the stated formulas, evaluation on spectra and frames
// (against a long double DFT) with identical bits on every target; the _16s builders and the
// integer forms' scaling, the empty bank, the accessors' rules, release and the warping functions.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstring>

#include "fbank_support.h"
#include "support/canary.h"
#include "support/fbank_dft.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

class MelBank : public ::testing::TestWithParam<MelParams> {};

INSTANTIATE_TEST_SUITE_P(
    Configs, MelBank,
    ::testing::Values(MelParams{512, 16000, 64, 8000, 23, 2595, 700, 2},  // high = rate / 2
                      MelParams{512, 16000, 64, 8000, 23, 2595, 700, 6},
                      MelParams{400, 16000, 133.33f, 6855.5f, 40, 1127, 700, 5},
                      MelParams{257, 8000, 1, 4000, 24, 2595, 700, 2},  // N = 512
                      MelParams{8193, 44100, 30, 22050, 60, 1000, 500, 1},  // N = 16384
                      MelParams{16384, 16000, 20, 8000, 80, 2595, 700, 6},
                      MelParams{2048, 22050, 300, 300, 5, 2595, 700, 2},  // low = high
                      MelParams{3, 8000, 100, 3000, 2, 2595, 700, 2},
                      MelParams{2, 8000, 1, 4000, 1, 2595, 700, 6},
                      MelParams{1, 8000, 100, 3000, 1, 2595, 700, 1}));

// The FFT length, centres and weights against the stated formulas; evaluation against weighted
// sums of the spectrum (bit 4: of the frame's DFT magnitudes), with the same bits on every
// target and on a repeated call (the FFT buffer is cleared each time).
TEST_P(MelBank, BuildsTheStatedBankAndEvaluatesOnEveryTarget) {
  const MelParams p = GetParam();
  const bool linear = (p.mode & 3) == 2;
  Owner<KelsMelFBank_32f> bank;
  int order = -1;
  ASSERT_EQ(kelsMelFBankInitAlloc_32f(bank.out(), &order, p.l, p.rate, p.low, p.high, p.nFilter,
                                      p.melMul, p.melDiv, p.mode),
            kelOk);
  const int n = lengthOf(p.l);
  EXPECT_EQ(1 << order, n);
  const RefGrid g = refMelGrid(p);
  const std::vector<int> c = centres(bank.p, p.nFilter);
  ASSERT_EQ(c.size(), std::size_t(p.nFilter + 2));
  int decided = 0;
  for (std::size_t i = 0; i < c.size(); ++i) {
    const int want = refCentre(g.pos[i], linear);
    if (want < 0) continue;
    ++decided;
    EXPECT_EQ(c[i], std::min(want, n / 2)) << i;
  }
  EXPECT_GT(decided, p.nFilter / 2);

  std::vector<std::vector<float>> weights;
  for (int j = 1; j <= p.nFilter; ++j) {
    const int lo = c[j - 1], mid = c[j], hi = c[j + 1];
    const std::vector<float>& w = weights.emplace_back(coeffs(bank.p, j, c));
    ASSERT_EQ(w.size(), std::size_t(hi - lo + 1)) << j;
    const LD* m = &g.mel[j - 1];
    for (int k = lo; k <= hi; ++k) {
      const LD mk = LD(p.melMul) * std::log1p(LD(k) * p.rate / n / p.melDiv);
      const LD want = linear ? (k <= mid ? LD(k - lo + 1) / (mid - lo + 1) : LD(hi + 1 - k) / (hi - mid + 1))
                      : k == lo ? 0 : k <= mid ? (mk - m[0]) / (m[1] - m[0]) : (m[2] - mk) / (m[2] - m[1]);
      EXPECT_NEAR(w[k - lo], double(want), linear ? 1e-7 : 2e-4) << "filter " << j << " bin " << k;
    }
    // Exactly 1 at the centre of a linear filter, exactly 0 at the left edge of a mel one.
    EXPECT_EQ(linear ? w[mid - lo] : w[0], linear ? 1.0f : 0.0f) << j;
  }

  Rng rng{unsigned(n)};
  const std::vector<float> input = p.mode & 4 ? rng.uniformVec<float>(std::size_t(n), -1000, 1000)
                                              : rng.uniformVec<float>(std::size_t(n / 2 + 1), 0, 500);
  std::vector<LD> spectrum(input.begin(), input.end());
  if (p.mode & 4) {
    const auto bins = refDft(input);
    spectrum.assign(bins.size(), 0);
    for (std::size_t k = 0; k < bins.size(); ++k) spectrum[k] = std::abs(bins[k]);
  }
  const std::vector<LD> want = refEval(c, weights, spectrum);
  const LD top = *std::max_element(want.begin(), want.end());
  const double rel = (p.mode & 4) || n > 4096 ? 2e-5 : 1e-6;  // an FFT or long sums: more rounding
  std::vector<float> first;
  forEachTarget([&](Target t) {
    for (int call = 0; call < 2; ++call) {
      Canary<float> out(std::size_t(p.nFilter));
      ASSERT_EQ(kelsEvalFBank_32f(input.data(), out.data(), bank.p), kelOk);
      EXPECT_TRUE(out.guardsIntact());
      if (first.empty()) {
        first = out.values();
        for (std::size_t j = 0; j < want.size(); ++j)
          EXPECT_NEAR(first[j], double(want[j]), rel * double(std::fabs(want[j]) + 1e-3L * top)) << j;
      }
      EXPECT_EQ(std::memcmp(out.data(), first.data(), first.size() * 4), 0) << targetName(t) << " call " << call;
    }
  });
}

// Every _16s builder builds the _32f builder's bank, and the integer evaluations are the float
// results scaled by 2^-sf, rounded half to even, saturated.
TEST(EvalIntegers, SameBanksAsTheFloatBuildersScaledRoundedSaturated) {
  // Lambdas throughout: plain function pointers, whatever the exports' calling convention.
  const struct { KelsStatus (*f32)(KelsMelFBank_32f**); KelsStatus (*f16)(KelsMelFBank_16s**); int nFilter, frame; } builders[] = {
      {[](KelsMelFBank_32f** o) { int r; return kelsMelFBankInitAlloc_32f(o, &r, 256, 8000, 50, 4000, 20, 2595, 700, 2); },
       [](KelsMelFBank_16s** o) { int r; return kelsMelFBankInitAlloc_16s(o, &r, 256, 8000, 50, 4000, 20, 2595, 700, 2); }, 20, 0},
      {[](KelsMelFBank_32f** o) { int r; return kelsMelFBankInitAlloc_32f(o, &r, 256, 8000, 50, 4000, 20, 2595, 700, 6); },
       [](KelsMelFBank_16s** o) { int r; return kelsMelFBankInitAlloc_16s(o, &r, 256, 8000, 50, 4000, 20, 2595, 700, 6); }, 20, 1},
      {[](KelsMelFBank_32f** o) { return kelsMelFBankInitAllocLow_Aurora_32f(o); },
       [](KelsMelFBank_16s** o) { return kelsMelFBankInitAllocLow_Aurora_16s(o); }, 25, 0},
      {[](KelsMelFBank_32f** o) { return kelsMelFBankInitAllocHigh_Aurora_32f(o); },
       [](KelsMelFBank_16s** o) { return kelsMelFBankInitAllocHigh_Aurora_16s(o); }, 3, 0},
      {[](KelsMelFBank_32f** o) { int r; return kelsMelLinFBankInitAlloc_32f(o, &r, 256, 8000, 60, 4000, 18, 6, 1000, 2595, 700, 1); },
       [](KelsMelFBank_16s** o) { int r; return kelsMelLinFBankInitAlloc_16s(o, &r, 256, 8000, 60, 4000, 18, 6, 1000, 2595, 700, 1); }, 18, 0}};
  for (const auto& b : builders) {
    Owner<KelsMelFBank_32f> fb;
    Owner<KelsMelFBank_16s> ib;
    ASSERT_EQ(b.f32(fb.out()), kelOk);
    ASSERT_EQ(b.f16(ib.out()), kelOk);
    const std::size_t nf = std::size_t(b.nFilter);
    std::vector<int> c16(nf + 2);
    ASSERT_EQ(kelsFBankGetCenters_16s(ib.p, c16.data()), kelOk);
    ASSERT_EQ(centres(fb.p, b.nFilter), c16) << nf;
    const std::vector<Kels16s> x16 = Rng(7).uniformVec<Kels16s>(b.frame ? 256 : 129, b.frame ? -32768 : 0, 32767);
    const std::vector<float> xf(x16.begin(), x16.end());
    std::vector<float> ref(nf);
    ASSERT_EQ(kelsEvalFBank_32f(xf.data(), ref.data(), fb.p), kelOk);
    for (int sf : {-200, -1, 0, 2, 12, 31, 200}) {
      Canary<Kels16s> o16(nf);
      Canary<Kels32s> o32(nf);
      ASSERT_EQ(kelsEvalFBank_16s_Sfs(x16.data(), o16.data(), ib.p, sf), kelOk);
      ASSERT_EQ(kelsEvalFBank_16s32s_Sfs(x16.data(), o32.data(), ib.p, sf), kelOk);
      EXPECT_TRUE(o16.guardsIntact() && o32.guardsIntact());
      const int e = std::clamp(sf, -128, 150);
      for (std::size_t j = 0; j < nf; ++j) {
        const LD scaled = std::ldexp(LD(ref[j]), -e);
        if (std::fabs(scaled) < 2147483648.0L && nearTie(scaled)) continue;  // far beyond: saturated
        EXPECT_EQ(o16[j], refScaleRound<Kels16s>(LD(ref[j]), e)) << nf << " " << sf << " " << j;
        // Single-precision results that reach 2^31 are stored as -2^31.
        EXPECT_EQ(o32[j], scaled >= 2147483648.0L ? INT32_MIN : refScaleRound<Kels32s>(LD(ref[j]), e)) << sf << " " << j;
      }
    }
  }
}

TEST(EmptyBank, NotSetUntilCentresThenZeroUntilWeights) {
  Owner<KelsMelFBank_16s> bank;
  int order = 0;
  ASSERT_EQ(kelsEmptyFBankInitAlloc_16s(bank.out(), &order, 64, 3, 4), kelOk);
  EXPECT_EQ(order, 6);
  std::vector<Kels16s> x(64, 100);
  Canary<Kels16s> out(3);
  EXPECT_EQ(kelsEvalFBank_16s_Sfs(x.data(), out.data(), bank.p, 0), kelErrFBankNotSet);
  EXPECT_TRUE(out.untouched());
  int got[5];
  float w[8];
  EXPECT_EQ(kelsFBankGetCenters_16s(bank.p, got), kelErrFBankNotSet);
  EXPECT_EQ(kelsFBankGetCoeffs_16s(bank.p, 1, w), kelErrFBankNotSet);
  EXPECT_EQ(kelsFBankSetCoeffs_16s(bank.p, 1, w), kelErrFBankNotSet);

  const int c[5] = {2, 4, 6, 8, 10};
  ASSERT_EQ(kelsFBankSetCenters_16s(bank.p, c), kelOk);
  ASSERT_EQ(kelsEvalFBank_16s_Sfs(x.data(), out.data(), bank.p, 0), kelOk);  // mode 1: a spectrum
  EXPECT_EQ(out.values(), std::vector<Kels16s>(3, 0));
  const float w2[5] = {0.5f, 1.0f, 0.25f, 0.125f, 2.0f};  // bins 4..8: rise 4,5,6 then fall 7,8
  ASSERT_EQ(kelsFBankSetCoeffs_16s(bank.p, 2, w2), kelOk);
  x[4] = 10, x[5] = 20, x[6] = 40, x[7] = 80, x[8] = 160;
  ASSERT_EQ(kelsEvalFBank_16s_Sfs(x.data(), out.data(), bank.p, 0), kelOk);
  EXPECT_EQ(out.values(), (std::vector<Kels16s>{0, 5 + 20 + 10 + 10 + 320, 0}));
}

struct AccessorBank : ::testing::Test {
  void SetUp() override {
    int order;
    ASSERT_EQ(kelsEmptyFBankInitAlloc_32f(bank.out(), &order, 32, 3, 0), kelOk);  // N/2 = 16
  }
  std::vector<int> got() {
    std::vector<int> c(5);
    EXPECT_EQ(kelsFBankGetCenters_32f(bank.p, c.data()), kelOk);
    return c;
  }
  Owner<KelsMelFBank_32f> bank;
};

TEST_F(AccessorBank, SetCentersTestsAndWritesNothingOnFailure) {
  const int good[5] = {0, 3, 6, 9, 16};
  ASSERT_EQ(kelsFBankSetCenters_32f(bank.p, good), kelOk);
  // c[0] < 0, c[1] > c[2], c[2] > c[3], c[4] > N/2
  const int bad[][5] = {{-1, 3, 6, 9, 16}, {0, 7, 6, 9, 16}, {0, 3, 6, 5, 16}, {0, 3, 6, 9, 17}};
  for (const auto& c : bad) {
    EXPECT_EQ(kelsFBankSetCenters_32f(bank.p, c), kelErrFBankNotSet);
    EXPECT_EQ(got(), std::vector<int>(good, good + 5));
  }
  // Deliberately untested: c[nFilter] above c[nFilter+1].
  const int loose[5] = {0, 3, 6, 12, 10};
  EXPECT_EQ(kelsFBankSetCenters_32f(bank.p, loose), kelOk);
  EXPECT_EQ(got()[3], 12);
  EXPECT_EQ(kelsFBankSetCenters_32f(nullptr, good), kelErrNullPtr);
  EXPECT_EQ(kelsFBankGetCenters_32f(bank.p, nullptr), kelErrNullPtr);
}

TEST_F(AccessorBank, CoeffRunsAndTheAsymmetryOfGetAndSet) {
  const int c[5] = {1, 4, 4, 9, 12};
  ASSERT_EQ(kelsFBankSetCenters_32f(bank.p, c), kelOk);
  // Filter 2 rises over bins 4..4 (1 value) and falls over 5..9 (5 values).
  const float w[6] = {1, 2, 3, 4, 5, 6};
  Canary<float> back(6), last(4);
  ASSERT_EQ(kelsFBankSetCoeffs_32f(bank.p, 2, w), kelOk);
  ASSERT_EQ(kelsFBankGetCoeffs_32f(bank.p, 2, back.data()), kelOk);
  EXPECT_EQ(back.values(), std::vector<float>(w, w + 6));
  // Filter nFilter + 1 = 4: rising run c[3]..c[4] only, 4 values, readable but not writable.
  EXPECT_EQ(kelsFBankGetCoeffs_32f(bank.p, 4, last.data()), kelOk);
  EXPECT_TRUE(back.guardsIntact() && last.guardsIntact());
  EXPECT_EQ(kelsFBankSetCoeffs_32f(bank.p, 4, w), kelErrSize);
  EXPECT_EQ(kelsFBankSetCoeffs_32f(bank.p, 0, w), kelErrSize);
  Canary<float> none(4);
  EXPECT_EQ(kelsFBankGetCoeffs_32f(bank.p, 5, none.data()), kelErrSize);
  EXPECT_EQ(kelsFBankGetCoeffs_32f(bank.p, 0, none.data()), kelErrSize);
  EXPECT_EQ(kelsFBankGetCoeffs_32f(nullptr, 99, none.data()), kelErrNullPtr);
  EXPECT_TRUE(none.untouched());
  // A loose last pair: filter 3 has no falling run, filter 4's rising run is empty.
  const int loose[5] = {1, 4, 4, 12, 10};
  ASSERT_EQ(kelsFBankSetCenters_32f(bank.p, loose), kelOk);
  Canary<float> rise(9), empty(1);
  ASSERT_EQ(kelsFBankGetCoeffs_32f(bank.p, 3, rise.data()), kelOk);
  ASSERT_EQ(kelsFBankGetCoeffs_32f(bank.p, 4, empty.data()), kelOk);
  EXPECT_TRUE(rise.guardsIntact() && empty.untouched());
}

TEST_F(AccessorBank, WildCentresStayInsideRowsAndSpectrum) {
  // Only the listed tests apply: c[1..3] may pass N/2 while c[4] stays within it.
  const int wild[5] = {0, 40, 1000000, 2000000000, 16};
  ASSERT_EQ(kelsFBankSetCenters_32f(bank.p, wild), kelOk);
  std::vector<float> w(64, 1.0f), x(17, 1.0f), y(3, -1.0f);
  for (int j = 1; j <= 3; ++j) EXPECT_EQ(kelsFBankSetCoeffs_32f(bank.p, j, w.data()), kelOk);
  for (int j = 1; j <= 4; ++j) EXPECT_EQ(kelsFBankGetCoeffs_32f(bank.p, j, w.data()), kelOk);
  ASSERT_EQ(kelsEvalFBank_32f(x.data(), y.data(), bank.p), kelOk);
  EXPECT_EQ(y[0], 17.0f);  // bins 0..16 of the rising run
  EXPECT_EQ(y[1], 0.0f);
}

TEST(Release, FreeClearsAndLaterCallsAreRefused) {
  Owner<KelsMelFBank_32f> bank;
  int order;
  ASSERT_EQ(kelsMelFBankInitAlloc_32f(bank.out(), &order, 512, 16000, 64, 8000, 23, 2595, 700, 6), kelOk);
  EXPECT_EQ(kelsFBankFree_16s(nullptr), kelErrNullPtr);
  ASSERT_EQ(kelsFBankFree_32f(bank.p), kelOk);
  std::vector<float> x(512, 1.0f), y(23, -1.0f);
  EXPECT_EQ(kelsEvalFBank_32f(x.data(), y.data(), bank.p), kelErrNullPtr);  // centres gone
  const std::vector<int> c(25, 0);
  EXPECT_EQ(kelsFBankSetCenters_32f(bank.p, c.data()), kelErrNullPtr);
  EXPECT_EQ(y[0], -1.0f);
}

TEST(Warping, MelAndBackAgainstLongDoubleAndChecks) {
  const std::vector<float> hz = {0, 1, 64, 700, 1000, 4000, 8000, 22050, 96000};
  std::vector<float> mel(hz.size()), back(hz.size());
  for (float a : {2595.0f, 1127.0f}) {
    ASSERT_EQ(kelsLinearToMel_32f(hz.data(), mel.data(), int(hz.size()), a, 700), kelOk);
    ASSERT_EQ(kelsMelToLinear_32f(mel.data(), back.data(), int(hz.size()), a, 700), kelOk);
    for (std::size_t i = 0; i < hz.size(); ++i) {
      const LD want = LD(a) * std::log1p(LD(hz[i]) / 700);
      EXPECT_NEAR(mel[i], double(want), 4e-7 * double(want) + 1e-6) << hz[i];
      EXPECT_NEAR(back[i], hz[i], 2e-6 * hz[i] + 1e-3) << hz[i];
    }
  }
  float x[2] = {1, 2};
  Canary<float> y(2);
  for (auto fn : {kelsLinearToMel_32f, kelsMelToLinear_32f}) {
    EXPECT_EQ(fn(nullptr, y.data(), 0, 0, 0), kelErrNullPtr);
    EXPECT_EQ(fn(x, y.data(), 0, 0, 0), kelErrSize);
    for (float a : {0.0f, -1.0f, NAN}) {
      EXPECT_EQ(fn(x, y.data(), 2, a, 700), kelErrSize) << a;
      EXPECT_EQ(fn(x, y.data(), 2, 2595, a), kelErrSize) << a;
    }
    EXPECT_TRUE(y.untouched());
  }
}

}  // namespace
}  // namespace kels::test
