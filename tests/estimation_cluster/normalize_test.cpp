// Column normalisation, range mapping, n-th largest element and unit curves.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "core/alloc.h"
#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"

namespace kels::test {
namespace {

TEST(NormalizeColumn, FloatLayoutsAgreeWithReference) {
  Rng rng(1);
  const int rows = 7, width = 13, step = 17;
  Matrix2D<float> d2(rows, width, step, 4), d2l(rows, width, width);
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < width; ++c) d2.at(r, c) = d2l.at(r, c) = float(rng.uniform(-10, 10));
  d2l.scatter({0, 4, 8, 12});
  const auto mean = rng.uniformVec<float>(width, -2, 2), scale = rng.uniformVec<float>(width, 0.1, 3);
  std::vector<std::vector<float>> before(rows);
  for (int r = 0; r < rows; ++r) before[r] = d2.row(r);
  const float padding = d2.base()[width];
  ASSERT_EQ(kelsNormalizeColumn_32f_D2(d2.base(), step, rows, mean.data(), scale.data(), width), kelOk);
  ASSERT_EQ(kelsNormalizeColumn_32f_D2L(d2l.rowTable(), rows, mean.data(), scale.data(), width), kelOk);
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < width; ++c) {
      const float want = (before[r][c] - mean[c]) * scale[c];  // two float operations, exactly
      EXPECT_TRUE(d2.at(r, c) == want && d2l.at(r, c) == want) << r << "," << c;
    }
  EXPECT_EQ(d2.base()[width], padding);  // the step's padding is not touched
  ASSERT_EQ(kelsNormalizeCol_32f_D2(d2.base(), step, rows, mean.data(), scale.data(), width), kelOk);
  EXPECT_EQ(d2.at(0, 0), ((before[0][0] - mean[0]) * scale[0] - mean[0]) * scale[0]);
}

TEST(NormalizeColumn, SixteenBitShiftsAndSaturates) {
  struct Case { Kels16s x, mean, scale; int sf; Kels16s want; };
  const Case cases[] = {
      {-3, 0, 1, 1, -2},           // -3 >> 1 rounds toward -infinity
      {3, 0, 1, 1, 1},
      {5, 2, 3, 0, 9},
      {200, 0, 300, 0, 32767},     // saturated
      {-200, 0, 300, 0, -32768},
      {32767, -32768, -32768, 16, -32768},  // the largest product, exact in 32 bits: -2147450880 >> 16
      {3, 0, 1, -2, 12},
      {1, 0, 1, -31, -32768},      // 1 << 31 wraps to -2^31, then saturates
      {1, 0, 2, -31, 0},           // 2 << 31 wraps to 0
      {1, 0, 1, -40, 0},
      {-1, 0, 1, 40, -1},          // shifting a negative value right stays at -1
  };
  for (const Case& c : cases) {
    Kels16s x = c.x;
    ASSERT_EQ(kelsNormalizeColumn_16s_D2Sfs(&x, 1, 1, &c.mean, &c.scale, 1, c.sf), kelOk);
    Kels16s y = c.x, *rows[1] = {&y};
    ASSERT_EQ(kelsNormalizeColumn_16s_D2LSfs(rows, 1, &c.mean, &c.scale, 1, c.sf), kelOk);
    EXPECT_TRUE(x == c.want && y == c.want) << c.x << " " << c.mean << " " << c.scale << " sf " << c.sf;
  }
}

TEST(NormalizeColumn, ChecksInOrderAndWritesNothing) {
  Canary<float> block(12);
  float mean[3] = {1, 1, 1}, scale[3] = {2, 2, 2};
  EXPECT_EQ(kelsNormalizeColumn_32f_D2(block.data(), 3, 4, mean, nullptr, 3), kelErrNullPtr);
  EXPECT_EQ(kelsNormalizeColumn_32f_D2(nullptr, 2, 0, mean, scale, 3), kelErrNullPtr);
  EXPECT_EQ(kelsNormalizeColumn_32f_D2(block.data(), 2, 0, mean, scale, 3), kelErrSize);
  EXPECT_EQ(kelsNormalizeColumn_32f_D2(block.data(), 3, 4, mean, scale, 0), kelErrSize);
  EXPECT_EQ(kelsNormalizeColumn_32f_D2(block.data(), 2, 4, mean, scale, 3), kelErrStep);
  float* rows[4] = {block.data(), block.data() + 3, nullptr, block.data() + 9};
  EXPECT_EQ(kelsNormalizeColumn_32f_D2L(rows, 4, mean, scale, 3), kelErrNullPtr);
  EXPECT_EQ(kelsNormalizeColumn_32f_D2L(rows, 0, mean, scale, 3), kelErrSize);
  EXPECT_TRUE(block.untouched());
}

// --- range mapping ---

Ref refMap(Ref x, Ref mn, Ref mx, Ref lo, Ref hi, Ref scale) {
  const Ref r = mx - mn, upper = hi * r + mn, lower = lo * r + mn;
  return std::max(std::min(x, upper) - lower, Ref(0)) * scale / (hi * r - lo * r);
}

TEST(NormalizeInRange, MinMaxMapsAndClips) {
  Rng rng(2);
  const auto src = rng.uniformVec<float>(50, -3, 7);
  const float mn = -2, mx = 6, lo = 0.1f, hi = 0.9f, scale = 10;
  Canary<float> dst(50);
  std::vector<Kels16s> d16(50);
  auto inPlace = src;
  ASSERT_EQ(kelsNormalizeInRangeMinMax_32f(src.data(), dst.data(), 50, mn, mx, lo, hi, scale), kelOk);
  ASSERT_EQ(kelsNormalizeInRangeMinMax_32f16s(src.data(), d16.data(), 50, mn, mx, lo, hi, 1000), kelOk);
  ASSERT_EQ(kelsNormalizeInRangeMinMax_32f_I(inPlace.data(), 50, mn, mx, lo, hi, scale), kelOk);
  for (int k = 0; k < 50; ++k) {
    EXPECT_NEAR(Ref(dst[k]), refMap(src[k], mn, mx, lo, hi, scale), 2e-5) << src[k];
    const Ref want = refMap(src[k], mn, mx, lo, hi, 1000);
    // Rounded to nearest; a float computation may land on either side only close to a tie.
    const bool nearTie = std::fabs(want - std::floor(want) - 0.5L) < 1e-3L;
    EXPECT_NEAR(d16[k], double(refRoundEven(want)), nearTie ? 1.0 : 0.0) << want;
  }
  EXPECT_TRUE(dst.guardsIntact());
  EXPECT_EQ(inPlace, dst.values());
  // Eight bits over the full range: clipped below and above, 127.5 rounds to even.
  const float s8[5] = {-1, 0, 0.5f, 1, 2};
  const Kels16s s16[3] = {-100, 0, 100};
  std::vector<Kels8u> d8(5), e8(3);
  ASSERT_EQ(kelsNormalizeInRangeMinMax_32f8u(s8, d8.data(), 5, 0, 1, 0, 1, 255), kelOk);
  ASSERT_EQ(kelsNormalizeInRange_16s8u(s16, e8.data(), 3, 0, 1, 255), kelOk);
  EXPECT_EQ(d8, (std::vector<Kels8u>{0, 0, 128, 255, 255}));
  EXPECT_EQ(e8, (std::vector<Kels8u>{0, 128, 255}));
}

// Without a given range each form finds the source's own minimum and maximum; in place is the same.
TEST(NormalizeInRange, FindsTheRangeItself) {
  Rng rng(3);
  const auto src = rng.uniformVec<float>(33, -4, 9);
  const auto s16 = rng.uniformVec<Kels16s>(33, -3000, 3000);
  const auto [mn, mx] = std::minmax_element(src.begin(), src.end());
  const auto [mn16, mx16] = std::minmax_element(s16.begin(), s16.end());
  auto same = [](auto out, auto own, auto given) {  // out: a vector of the output type
    auto a = out;
    EXPECT_TRUE(own(a.data()) == kelOk && given(out.data()) == kelOk && a == out);
    return a;
  };
  std::vector<float> f(33), c = src;
  std::vector<Kels16s> h(33), i16 = s16, j16 = s16;
  std::vector<Kels8u> b(33);
  f = same(f, [&](float* d) { return kelsNormalizeInRange_32f(src.data(), d, 33, 0.25f, 0.75f, 2); },
           [&](float* d) { return kelsNormalizeInRangeMinMax_32f(src.data(), d, 33, *mn, *mx, 0.25f, 0.75f, 2); });
  ASSERT_EQ(kelsNormalizeInRange_32f_I(c.data(), 33, 0.25f, 0.75f, 2), kelOk);
  EXPECT_EQ(c, f);
  same(h, [&](Kels16s* d) { return kelsNormalizeInRange_32f16s(src.data(), d, 33, 0.1f, 0.9f, 500); },
       [&](Kels16s* d) { return kelsNormalizeInRangeMinMax_32f16s(src.data(), d, 33, *mn, *mx, 0.1f, 0.9f, 500); });
  h = same(h, [&](Kels16s* d) { return kelsNormalizeInRange_16s(s16.data(), d, 33, 0, 1, 100); },
           [&](Kels16s* d) { return kelsNormalizeInRangeMinMax_16s(s16.data(), d, 33, *mn16, *mx16, 0, 1, 100); });
  ASSERT_EQ(kelsNormalizeInRange_16s_I(i16.data(), 33, 0, 1, 100), kelOk);
  ASSERT_EQ(kelsNormalizeInRangeMinMax_16s_I(j16.data(), 33, *mn16, *mx16, 0, 1, 100), kelOk);
  EXPECT_TRUE(i16 == h && j16 == h && *std::min_element(h.begin(), h.end()) == 0 && *std::max_element(h.begin(), h.end()) == 100);
  same(b, [&](Kels8u* d) { return kelsNormalizeInRange_32f8u(src.data(), d, 33, 0.2f, 1, 200); },
       [&](Kels8u* d) { return kelsNormalizeInRangeMinMax_32f8u(src.data(), d, 33, *mn, *mx, 0.2f, 1, 200); });
  same(b, [&](Kels8u* d) { return kelsNormalizeInRange_16s8u(s16.data(), d, 33, 0.2f, 1, 200); },
       [&](Kels8u* d) { return kelsNormalizeInRangeMinMax_16s8u(s16.data(), d, 33, *mn16, *mx16, 0.2f, 1, 200); });
}

TEST(NormalizeInRange, EmptyRangeWarnsAndBadArgumentsWriteNothing) {
  const float flat[4] = {3, 3, 3, 3};
  float out[4] = {9, 9, 9, 9};
  Kels8u o8[4] = {9, 9, 9, 9};
  Kels16s i16[2] = {5, 5};
  EXPECT_EQ(kelsNormalizeInRange_32f(flat, out, 4, 0, 1, 1), kelWarnDivByZero);
  EXPECT_EQ(kelsNormalizeInRangeMinMax_32f8u(flat, o8, 4, 2, 2, 0, 1, 255), kelWarnDivByZero);
  EXPECT_EQ(kelsNormalizeInRange_16s_I(i16, 2, 0, 1, 1), kelWarnDivByZero);
  EXPECT_TRUE(out[2] == 0.0f && o8[3] == 0 && i16[0] == 0);  // zeros written
  const float src[3] = {1, 2, 3};
  Canary<float> dst(3);
  EXPECT_EQ(kelsNormalizeInRange_32f(src, dst.data(), 3, -0.1f, 1, 1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRange_32f(src, dst.data(), 3, 0.5f, 0.5f, 1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRange_32f(src, dst.data(), 3, 0, 1.01f, 1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRange_32f(src, dst.data(), 3, 0, 1, -1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRange_32f(src, dst.data(), 3, std::nanf(""), 1, 1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRangeMinMax_32f(src, dst.data(), 3, 3, 1, 0, 1, 1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRangeMinMax_32f(src, dst.data(), 3, 0, 1, 0.6f, 0.5f, 1), kelErrBadArg);
  EXPECT_EQ(kelsNormalizeInRangeMinMax_32f(src, dst.data(), 0, 3, 1, 0, 1, 1), kelErrSize);
  EXPECT_EQ(kelsNormalizeInRangeMinMax_32f(src, nullptr, 0, 3, 1, 0, 1, 1), kelErrNullPtr);
  EXPECT_TRUE(dst.untouched());
  EXPECT_EQ(kelsNormalizeInRangeMinMax_32f(src, dst.data(), 3, 0, 4, 0, 1, -1), kelOk);  // scale free here
}

// --- n-th largest ---

template <class T> class NthMax : public ::testing::Test {};
using NthTypes = ::testing::Types<float, Kels32s, double>;
TYPED_TEST_SUITE(NthMax, NthTypes);

KelsStatus nthMax(const float* src, int len, int n, float* dst) { return kelsNthMaxElement_32f(src, len, n, dst); }
KelsStatus nthMax(const double* src, int len, int n, double* dst) { return kelsNthMaxElement_64f(src, len, n, dst); }
KelsStatus nthMax(const Kels32s* src, int len, int n, Kels32s* dst) { return kelsNthMaxElement_32s(src, len, n, dst); }

TYPED_TEST(NthMax, EveryRankMatchesASortedCopy) {
  using T = TypeParam;
  Rng rng(4);
  for (int len : {1, 2, 9, 40}) {
    auto src = rng.uniformVec<T>(std::size_t(len), -50, 50);
    if (len > 3) src[2] = src[1];  // ties
    const auto original = src;
    auto sorted = src;
    std::sort(sorted.begin(), sorted.end(), std::greater<T>());
    for (int n = 0; n < len; ++n) {
      T out{};
      EXPECT_TRUE(nthMax(src.data(), len, n, &out) == kelOk && out == sorted[n]) << len << " " << n;
    }
    EXPECT_EQ(src, original);
  }
}

TYPED_TEST(NthMax, ChecksAndAllocationFailure) {
  using T = TypeParam;
  const T src[3] = {1, 3, 2};
  T out = T(7);
  // Out-of-range ranks, then size, then pointers; the buffer's allocation failure writes nothing.
  EXPECT_EQ(nthMax(src, 3, 3, &out), kelErrBadArg);
  EXPECT_EQ(nthMax(src, 3, -1, &out), kelErrBadArg);
  EXPECT_EQ(nthMax(src, 0, 0, &out), kelErrSize);
  EXPECT_EQ(nthMax(src, 0, 0, static_cast<T*>(nullptr)), kelErrNullPtr);
  kels::testing::failNthAllocation(1);
  EXPECT_EQ(nthMax(src, 3, 0, &out), kelErrMemAlloc);
  EXPECT_EQ(out, T(7));
}

// --- unit curve ---

TEST(UnitCurve, FloatKnotsAndRegions) {
  const float src[] = {-1.0f, 0.0f, 0.5f, 1.0f, 1.5f, 2.0f, 3.0f, std::nanf("")};
  const std::vector<float> want = {0.0f, 0.0f, 0.25f, 1.0f, 1.75f, 2.0f, 2.0f, 0.0f};
  std::vector<float> dst(8), inPlace(src, src + 8);
  ASSERT_EQ(kelsUnitCurve_32f(src, dst.data(), 8), kelOk);
  ASSERT_EQ(kelsUnitCurve_32f_I(inPlace.data(), 8), kelOk);
  EXPECT_TRUE(dst == want && inPlace == want);
  EXPECT_EQ(kelsUnitCurve_32f(src, nullptr, 8), kelErrNullPtr);
  EXPECT_EQ(kelsUnitCurve_32f_I(inPlace.data(), 0), kelErrSize);
}

TEST(UnitCurve, SixteenBitScalesTruncatesAndSaturates) {
  for (int sfIn : {-2, 0, 3, 12})
    for (int sfOut : {-14, -12, 0, 4}) {
      std::vector<Kels16s> src;
      for (int v = -4; v <= 40000; v += 997) src.push_back(Kels16s(std::clamp(v, -32768, 32767)));
      std::vector<Kels16s> dst(src.size());
      ASSERT_EQ(kelsUnitCurve_16s_Sfs(src.data(), sfIn, dst.data(), int(src.size()), sfOut), kelOk);
      for (std::size_t i = 0; i < src.size(); ++i) {
        const Ref x = std::ldexp(Ref(src[i]), -sfIn);
        Ref y = x <= 0 ? 0 : x < 1 ? x * x : x <= 2 ? 2 - (2 - x) * (2 - x) : 2;
        y = std::ldexp(y, -sfOut);
        const Ref want = y > 32767 ? 32767 : std::trunc(y);
        // The curve is evaluated in float: allow one unit where y sits on an integer boundary.
        EXPECT_NEAR(Ref(dst[i]), want, std::fabs(y - std::round(y)) < 1e-3L * (1 + y) ? 1 : 0)
            << src[i] << " sfIn " << sfIn << " sfOut " << sfOut;
      }
      auto inPlace = src;
      ASSERT_EQ(kelsUnitCurve_16s_ISfs(inPlace.data(), sfIn, int(src.size()), sfOut), kelOk);
      EXPECT_EQ(inPlace, dst);
    }
}

}  // namespace
}  // namespace kels::test
