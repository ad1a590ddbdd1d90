// The fixed-point bank in caller memory: its size formula, check order, agreement with the float
// bank built from the same parameters, scaling, and byte copies.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <algorithm>
#include <cstring>

#include "fbank_support.h"
#include "support/canary.h"
#include "support/fault.h"
#include "support/reference.h"
#include "support/rng.h"

namespace kels::test {
namespace {

constexpr int kQ15 = 32768;

int documentedSize(int l, int nFilter) {
  const int n = lengthOf(l);
  return 4 * nFilter + 96 + 36 * (2 * nFilter + 4) + 4 * (2 * nFilter + 4) * (n / 2) + 64;
}

TEST(FixedBank, SizeFormulaAndChecks) {
  int size = -1;
  for (int l : {33, 400, 8192})
    for (int nf : {1, 16, 23}) {
      ASSERT_EQ(kelsMelFBankGetSize_32s(l, nf, 2, &size), kelOk);
      EXPECT_EQ(size, documentedSize(l, nf)) << l << " " << nf;
    }
  EXPECT_EQ(kelsMelFBankGetSize_32s(33, 32, 2, &size), kelOk);  // N = 64, nFilter = N/2
  EXPECT_EQ(size, documentedSize(33, 32));
  size = -1;
  EXPECT_EQ(kelsMelFBankGetSize_32s(0, 0, 0, nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsMelFBankGetSize_32s(512, 0, 2, &size), kelErrSize);
  EXPECT_EQ(kelsMelFBankGetSize_32s(8193, 10, 2, &size), kelErrSize);
  EXPECT_EQ(kelsMelFBankGetSize_32s(31, 10, 1, &size), kelErrSize);  // size before mode
  EXPECT_EQ(kelsMelFBankGetSize_32s(512, 300, 1, &size), kelErrFBankFlag);  // mode before nFilter > N/2
  EXPECT_EQ(kelsMelFBankGetSize_32s(512, 257, 2, &size), kelErrSize);
  EXPECT_EQ(size, -1);
}

struct InitArgs {
  int l = 512, rate = 16000, low = 64, high = 8000, nFilter = 23;
  int melMul = 2595 * kQ15, melDiv = 700 * kQ15, mode = 2;
  bool nullObj = false, nullOrder = false;
};

TEST(FixedBank, InitChecksInOrderAndWritesNothing) {
  const Fault<InitArgs> faults[] = {
      {"null object", kelErrNullPtr, [](InitArgs& a) { a.nullObj = true; a.l = 0; }},
      {"null order", kelErrNullPtr, [](InitArgs& a) { a.nullOrder = true; }},
      {"nFilter 0", kelErrSize, [](InitArgs& a) { a.nFilter = 0; a.mode = 1; }},
      {"high 0", kelErrSize, [](InitArgs& a) { a.high = 0; }},
      {"L 31", kelErrSize, [](InitArgs& a) { a.l = 31; a.mode = 1; }},
      {"L 8193", kelErrSize, [](InitArgs& a) { a.l = 8193; }},
      {"mode 1 before rate", kelErrFBankFlag, [](InitArgs& a) { a.mode = 1; a.rate = 0; }},
      {"mode 6", kelErrFBankFlag, [](InitArgs& a) { a.mode = 6; }},
      {"rate 0 before high <= low", kelErrSize, [](InitArgs& a) { a.rate = 0; a.high = a.low; }},
      {"rate 48001", kelErrSize, [](InitArgs& a) { a.rate = 48001; }},
      {"low -1", kelErrSize, [](InitArgs& a) { a.low = -1; }},
      {"high = low", kelErrFBankFreq, [](InitArgs& a) { a.high = a.low; }},
      {"high 24001 before divisor", kelErrFBankFreq, [](InitArgs& a) { a.high = 24001; a.rate = 48000; a.melDiv = 0; }},
      {"divisor 524288", kelErrBadArg, [](InitArgs& a) { a.melDiv = 524288; }},
      {"divisor 268435456", kelErrBadArg, [](InitArgs& a) { a.melDiv = 268435456; }},
      {"multiplier 524288", kelErrBadArg, [](InitArgs& a) { a.melMul = 524288; }},
      {"multiplier 2^30", kelErrBadArg, [](InitArgs& a) { a.melMul = 1 << 30; }},
      {"divisor before nFilter > N/2", kelErrBadArg, [](InitArgs& a) { a.melDiv = 1; a.nFilter = 257; }},
      {"nFilter > N/2", kelErrSize, [](InitArgs& a) { a.nFilter = 257; }},
  };
  int size = 0;
  ASSERT_EQ(kelsMelFBankGetSize_32s(8192, 300, 2, &size), kelOk);
  for (const auto& f : faults) {
    InitArgs a;
    f.apply(a);
    Canary<unsigned char> mem{std::size_t(size)};
    int order = -3;
    auto* obj = a.nullObj ? nullptr : reinterpret_cast<KelsMelFBank_32s*>(mem.data());
    EXPECT_EQ(kelsMelFBankInit_32s(obj, a.nullOrder ? nullptr : &order, a.l, a.rate, a.low, a.high, a.nFilter,
                                   a.melMul, a.melDiv, a.mode), f.expected) << f.what;
    EXPECT_TRUE(mem.untouched() && order == -3) << f.what;
  }
}

struct FixedCase {
  int l, rate, low, high, nFilter, melMul, melDiv;
};

class FixedAgreement : public ::testing::TestWithParam<FixedCase> {};
INSTANTIATE_TEST_SUITE_P(Configs, FixedAgreement,
                         ::testing::Values(FixedCase{512, 16000, 64, 8000, 23, 2595 * kQ15, 700 * kQ15},
                                           FixedCase{400, 16000, 133, 6855, 40, 1127 * kQ15, 700 * kQ15},
                                           FixedCase{256, 8000, 1, 4000, 24, 85032960, 22937600},
                                           FixedCase{8192, 48000, 20, 24000, 100, 2595 * kQ15 + 12345, 700 * kQ15 - 999}));

// Outputs agree with the float bank of the same parameters to 1e-3 relative where they are
// above 1 % of the largest output.
TEST_P(FixedAgreement, MatchesTheFloatBank) {
  const FixedCase p = GetParam();
  int size = 0, order = 0, forder = 0;
  ASSERT_EQ(kelsMelFBankGetSize_32s(p.l, p.nFilter, 2, &size), kelOk);
  std::vector<std::uint32_t> mem(std::size_t(size) / 4);
  auto* obj = reinterpret_cast<KelsMelFBank_32s*>(mem.data());
  ASSERT_EQ(kelsMelFBankInit_32s(obj, &order, p.l, p.rate, p.low, p.high, p.nFilter, p.melMul, p.melDiv, 2), kelOk);
  Owner<KelsMelFBank_32f> fb;
  ASSERT_EQ(kelsMelFBankInitAlloc_32f(fb.out(), &forder, p.l, float(p.rate), float(std::max(p.low, 1)),
                                      float(p.high), p.nFilter, float(p.melMul) / kQ15, float(p.melDiv) / kQ15, 2),
            kelOk);
  EXPECT_EQ(order, forder);
  const int n = 1 << order;
  Rng rng(unsigned(p.l));
  const std::vector<Kels32s> x = rng.uniformVec<Kels32s>(std::size_t(n / 2 + 1), 0, 2000000);
  const std::vector<float> xf(x.begin(), x.end());
  Canary<Kels32s> out(std::size_t(p.nFilter));
  std::vector<float> ref(std::size_t(p.nFilter));
  ASSERT_EQ(kelsEvalFBank_32s_Sfs(x.data(), out.data(), obj, 0), kelOk);
  ASSERT_EQ(kelsEvalFBank_32f(xf.data(), ref.data(), fb.p), kelOk);
  EXPECT_TRUE(out.guardsIntact());
  const float top = *std::max_element(ref.begin(), ref.end());
  int compared = 0;
  for (std::size_t j = 0; j < ref.size(); ++j) {
    if (ref[j] <= 0.01f * top) continue;
    ++compared;
    EXPECT_NEAR(out[j], ref[j], 1e-3 * ref[j]) << j;
  }
  EXPECT_GT(compared, p.nFilter / 2);

  // A byte copy works after the original is scribbled over.
  std::vector<std::uint32_t> copy = mem;
  std::memset(mem.data(), 0x77, mem.size() * 4);
  Canary<Kels32s> again(std::size_t(p.nFilter));
  ASSERT_EQ(kelsEvalFBank_32s_Sfs(x.data(), again.data(), reinterpret_cast<KelsMelFBank_32s*>(copy.data()), 0), kelOk);
  EXPECT_EQ(again.values(), out.values());
  EXPECT_EQ(kelsEvalFBank_32s_Sfs(x.data(), again.data(), obj, 0), kelErrFBankNotSet);
}

// Weights are Q15 and sums exact: with one bin lit, output = round_even(w * x * 2^-(15 + sf)).
TEST(FixedBank, ScalingRoundingSaturation) {
  int size = 0, order = 0;
  ASSERT_EQ(kelsMelFBankGetSize_32s(64, 4, 2, &size), kelOk);
  std::vector<std::uint32_t> mem(std::size_t(size) / 4);
  auto* obj = reinterpret_cast<KelsMelFBank_32s*>(mem.data());
  ASSERT_EQ(kelsMelFBankInit_32s(obj, &order, 64, 8000, 100, 4000, 4, 2595 * kQ15, 700 * kQ15, 2), kelOk);
  Owner<KelsMelFBank_32f> fb;
  ASSERT_EQ(kelsMelFBankInitAlloc_32f(fb.out(), &order, 64, 8000, 100, 4000, 4, 2595, 700, 2), kelOk);
  const std::vector<int> c = centres(fb.p, 4);
  ASSERT_EQ(c.size(), 6u);
  std::vector<Kels32s> x;
  for (Kels32s v : {Kels32s(3), Kels32s(-5), Kels32s(1000001), INT32_MAX, INT32_MIN}) {
    x.assign(33, 0);
    x[std::size_t(c[2])] = v;  // the peak of filter 2 (weight 1) and an edge of filters 1 and 3
    for (int sf : {-40, -1, 0, 1, 2, 31, 100}) {
      std::vector<Kels32s> out(4, 12345);
      ASSERT_EQ(kelsEvalFBank_32s_Sfs(x.data(), out.data(), obj, sf), kelOk);
      EXPECT_EQ(out[1], refScaleRound<Kels32s>(LD(v), sf)) << v << " " << sf;
      // Filter 1 ends at c[2] with weight 1/(c[2]-c[1]+1), in Q15.
      const LD w1 = refRoundEven(LD(kQ15) / (c[2] - c[1] + 1)) / kQ15;
      EXPECT_EQ(out[0], refScaleRound<Kels32s>(LD(v) * w1, sf)) << v << " " << sf;
    }
  }
  std::vector<Kels32s> out(4, 7);
  EXPECT_EQ(kelsEvalFBank_32s_Sfs(nullptr, out.data(), obj, 0), kelErrNullPtr);
  EXPECT_EQ(kelsEvalFBank_32s_Sfs(x.data(), out.data(), nullptr, 0), kelErrNullPtr);
  EXPECT_EQ(out, std::vector<Kels32s>(4, 7));
}

}  // namespace
}  // namespace kels::test
