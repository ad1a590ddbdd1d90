// Log-domain arithmetic: the log(1 + e^d) polynomials on a dense grid, every function against a
// long-double reference, thresholds and floors, integer scaling, check order, work-vector
// allocation, and identical bits on every target.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <kelsr.h>

#include "core/alloc.h"
#include "model/kernels/logadd_scalar.h"
#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

Ref softplus(Ref d) { return std::log1p(std::exp(d)); }
Ref refLogAdd(Ref a, Ref b) { const Ref m = std::max(a, b); return m + softplus(std::min(a, b) - m); }
Ref refLogSum(const std::vector<Ref>& v) {
  const Ref m = *std::max_element(v.begin(), v.end());
  Ref s = 0;
  for (Ref x : v) s += std::exp(x - m);
  return m + std::log(s);
}
Ref ulpOf(float v) { return std::nextafter(std::fabs(v), INFINITY) - std::fabs(v); }
// s moved |k| floats up (k > 0) or down.
float nudge(float s, int k) {
  for (int j = 0; j < std::abs(k); ++j) s = std::nextafter(s, k < 0 ? -INFINITY : INFINITY);
  return s;
}
const float kSplits[] = {-6.8f, -2.55f, -15.319588f, 0.0f};  // interval splits, drop threshold, d = 0

// Every float d from the drop threshold up to 0 would be 2^30 points; a grid of 400001 plus
// both sides of each interval split covers each polynomial densely.
std::vector<float> grid() {
  std::vector<float> g;
  const float lo = -15.319588f;
  for (int i = 0; i <= 400000; ++i) g.push_back(lo * (1 - i / 400000.0f));
  for (float s : kSplits)
    for (int k = -3; k <= 3; ++k)
      if (const float v = nudge(s, k); v >= lo && v <= 0) g.push_back(v);
  return g;
}

// Both single-precision correction paths on the grid, alone (within the bound) and through the
// public function (one more rounding to float); then the double-precision log-add.
TEST(LogAddCorrection, EveryPathOnADenseGrid) {
  const auto g = grid();
  const std::vector<float> zero(g.size(), 0.0f);
  for (int hint : {0, 1}) {
    const Ref bound = hint == 1 ? 1e-6L : 1e-8L;
    std::vector<float> b = g;
    ASSERT_EQ(kelOk, kelsLogAdd_32f(zero.data(), b.data(), int(b.size()), hint));
    Ref worst = 0;
    for (std::size_t i = 0; i < g.size(); ++i) {
      const Ref c = hint == 1 ? Ref(correction32(g[i])) : Ref(correction64(g[i]));
      worst = std::max(worst, std::fabs(c - softplus(g[i])));
      ASSERT_LE(std::fabs(b[i] - softplus(g[i])), bound + ulpOf(b[i]) / 2) << "d " << g[i] << " hint " << hint;
    }
    EXPECT_LT(worst, bound) << "hint " << hint;
    std::printf("hint %d correction: max error %.3Lg\n", hint, worst);
  }
  // The double path, on the same grid stretched over its own interval.
  std::vector<double> zero64(g.size(), 0.0), d64(g.size());
  for (std::size_t i = 0; i < g.size(); ++i) d64[i] = g[i] * (23.0258509299405 / 15.319588);
  std::vector<double> b64 = d64;
  ASSERT_EQ(kelOk, kelsLogAdd_64f(zero64.data(), b64.data(), int(b64.size()), 0));
  for (std::size_t i = 0; i < g.size(); ++i) ASSERT_LE(std::fabs(b64[i] - softplus(d64[i])), 1e-15L) << d64[i];
}

TEST(LogAdd32f, RandomPairsAndBothOrders) {
  Rng rng(32);
  const int n = 777;
  auto a = rng.uniformVec<float>(n, -40, 40), b = rng.uniformVec<float>(n, -40, 40);
  for (int hint : {0, 1, 7}) {
    auto ab = b, ba = a;
    ASSERT_EQ(kelOk, kelsLogAdd_32f(a.data(), ab.data(), n, hint));
    ASSERT_EQ(kelOk, kelsLogAdd_32f(b.data(), ba.data(), n, hint));
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(ab[i], ba[i]) << "log-add is symmetric";
      const Ref want = refLogAdd(a[i], b[i]);
      const Ref drop = std::min(a[i], b[i]) - std::max(a[i], b[i]) < -15.319588L ? softplus(-15.319588L) : 0;
      EXPECT_LE(std::fabs(ab[i] - want), (hint == 1 ? 1e-6L : 1e-8L) + ulpOf(ab[i]) + drop) << a[i] << " " << b[i];
    }
  }
}

TEST(LogAddEdges, ThresholdsAndFloors) {
  auto add = [](float a, float b, int hint = 0) { kelsLogAdd_32f(&a, &b, 1, hint); return b; };
  EXPECT_EQ(float(Ref(3.5f) + std::log(2.0L)), add(3.5f, 3.5f));
  EXPECT_EQ(0.0f, add(0.0f, -20.0f));                                   // dropped: exactly the max
  EXPECT_EQ(float(-5e6L + std::log(2.0L)), add(-5e6f, -5e6f));          // d = 0: no floor
  EXPECT_EQ(-4.5e6f, add(-5e6f, -5000020.0f));                          // dropped: floored
  EXPECT_EQ(-4.5e6f, add(-5e6f, -5000020.0f, 1));
  EXPECT_EQ(-3e6f, add(-3e6f, -3000020.0f));                            // above the floor: kept
  EXPECT_TRUE(std::isnan(add(NAN, 1.0f)));
  EXPECT_TRUE(std::isnan(add(1.0f, NAN)));
  EXPECT_EQ(-INFINITY, add(-INFINITY, -INFINITY));
  EXPECT_EQ(2.0f, add(-INFINITY, 2.0f));
  // Just inside and just outside the drop threshold.
  const float in = -15.319588f, out = std::nextafter(in, -INFINITY);
  EXPECT_GT(add(0.0f, in), 0.0f);
  EXPECT_EQ(0.0f, add(0.0f, out));

  auto add64 = [](double a, double b) { kelsLogAdd_64f(&a, &b, 1, 0); return b; };
  EXPECT_EQ(1.0, add64(1.0, 1.0 - 23.03));
  EXPECT_EQ(-1e10, add64(-2e10, -2e10 - 30));
  EXPECT_EQ(double(-2e10L + std::log(2.0L)), add64(-2e10, -2e10));
}

TEST(LogSub, MatchesReferenceAndKeepsTheFloors) {
  Rng rng(33);
  const int n = 500;
  std::vector<float> a(n), b(n);
  for (int i = 0; i < n; ++i) { a[i] = float(rng.uniform(-30, 30)); b[i] = a[i] - float(rng.uniform(1e-3, 14)); }
  auto out = b;
  ASSERT_EQ(kelOk, kelsLogSub_32f(a.data(), out.data(), n));
  for (int i = 0; i < n; ++i) {
    const Ref want = Ref(a[i]) + std::log1p(-std::exp(Ref(b[i]) - Ref(a[i])));
    EXPECT_LE(std::fabs(out[i] - want), 1e-12L * std::fabs(want) + ulpOf(out[i])) << a[i] << " " << b[i];
  }
  auto sub = [](float a, float b) { kelsLogSub_32f(&a, &b, 1); return b; };
  EXPECT_EQ(7.0f, sub(7.0f, 7.0f - 16.0f));          // below the threshold: a itself
  EXPECT_EQ(-4.5e6f, sub(-5e6f, -5e6f - 16.0f));     // ... floored at log zero
  EXPECT_EQ(-4.5e6f, sub(0.0f, -std::numeric_limits<float>::denorm_min()));  // 1 - e^d is 0
  auto sub64 = [](double a, double b) { kelsLogSub_64f(&a, &b, 1); return b; };
  EXPECT_EQ(-8.9e9, sub64(-8.9e9, -8.9e9 - 30));     // kept down to -9e9
  EXPECT_EQ(-1e10, sub64(-9.1e9, -9.1e9 - 30));      // below it: the double log zero
  EXPECT_NEAR(double(std::log1p(-std::exp(-3.0L))), sub64(0.0, -3.0), 1e-15);
}

TEST(LogSub, SubtrahendNotBelowMinuendWritesNothing) {
  for (int bad : {0, 4, 9}) {
    std::vector<float> a(10, 1.0f), bv(10, 0.5f);
    bv[std::size_t(bad)] = bad == 4 ? 1.0f : 2.0f;  // equal, or above
    Canary<float> b(10, 4);
    b.assign(bv);
    EXPECT_EQ(kelErrRange, kelsLogSub_32f(a.data(), b.data(), 10));
    EXPECT_TRUE(b.untouched());
  }
  // The integer precondition is tested on the integers, not on their float images.
  const Kels32s bigA[1] = {INT_MAX};
  Kels32s r[1] = {INT_MAX - 1};
  EXPECT_EQ(kelOk, kelsLogSub_32s_Sfs(bigA, r, 1, 0));
  EXPECT_EQ(-4500000, r[0]);  // both are 2^31 in float: 1 - e^0 = 0, log zero
  const Kels32s a32[2] = {5, 5};
  Kels32s c[2] = {4, 4};
  EXPECT_EQ(kelOk, kelsLogSub_32s_Sfs(a32, c, 2, 4));  // k / 16: 5/16 and 4/16
  EXPECT_EQ(int(std::nearbyint(16 * (5 / 16.0 + std::log1p(-std::exp(-1 / 16.0))))), c[0]);
  c[1] = 5;
  EXPECT_EQ(kelErrRange, kelsLogSub_32s_Sfs(a32, c, 2, 0));
}

TEST(LogSum, MatchesReference) {
  Rng rng(34);
  for (int n : {2, 3, 7, 8, 9, 16, 17, 100, 1000, 1025})
    for (double spread : {1.0, 20.0, 200.0}) {
      const auto x = rng.uniformVec<float>(n, -spread, 5);
      const Ref want = refLogSum(std::vector<Ref>(x.begin(), x.end()));
      for (int hint : {0, 1}) {
        float r = 0;
        ASSERT_EQ(kelOk, kelsLogSum_32f(x.data(), &r, n, hint));
        EXPECT_LE(std::fabs(r - want), 1e-9L * std::fabs(want) + ulpOf(r)) << "n " << n;
      }
      std::vector<double> xd(x.begin(), x.end());
      double rd = 0;
      ASSERT_EQ(kelOk, kelsLogSum_64f(xd.data(), &rd, n, 0));
      EXPECT_LE(std::fabs(rd - want), 1e-13L * (1 + std::fabs(want))) << "n " << n;
    }
}

TEST(LogSum, SingleElementAndFloors) {
  auto sum = [](std::vector<float> x) { float r = 0; kelsLogSum_32f(x.data(), &r, int(x.size()), 0); return r; };
  EXPECT_EQ(-7e6f, sum({-7e6f}));  // n = 1: x_0 itself, even below log zero
  EXPECT_EQ(-4.5e6f, sum({-7e6f, -7e6f}));
  EXPECT_EQ(INFINITY, sum({1, INFINITY, 2}));
  EXPECT_TRUE(std::isnan(sum({1, NAN, 2})));
  const double lowD[2] = {-2e10, -2e10};
  double rd = 0;
  ASSERT_EQ(kelOk, kelsLogSum_64f(lowD, &rd, 2, 0));
  EXPECT_EQ(-1e10, rd);
}

KelsStatus logAdd(const Kels16s* a, Kels16s* b, int n, int sf) { return kelsLogAdd_16s_Sfs(a, b, n, sf, 0); }
KelsStatus logAdd(const Kels32s* a, Kels32s* b, int n, int sf) { return kelsLogAdd_32s_Sfs(a, b, n, sf, 0); }
KelsStatus logSum(const Kels16s* a, Kels16s* s, int n, int sf) { return kelsLogSum_16s_Sfs(a, s, n, sf, 0); }
KelsStatus logSum(const Kels32s* a, Kels32s* s, int n, int sf) { return kelsLogSum_32s_Sfs(a, s, n, sf, 0); }

// Integer forms: k stands for k * 2^-sf; the result is scaled back, rounded and saturated.
template <class Int>
class LogIntegerForms : public ::testing::Test {};
using IntTypes = ::testing::Types<Kels16s, Kels32s>;
TYPED_TEST_SUITE(LogIntegerForms, IntTypes);

TYPED_TEST(LogIntegerForms, MatchReference) {
  using Int = TypeParam;
  Rng rng(35);
  const int n = 50;
  for (int sf : {-2, 0, 3, 8}) {
    const double lo = std::is_same_v<Int, Kels16s> ? -3000 : -300000;
    const auto a = rng.uniformVec<Int>(n, lo, -lo), b = rng.uniformVec<Int>(n, lo, -lo);
    auto r = b;
    Int s = 0;
    ASSERT_EQ(kelOk, logAdd(a.data(), r.data(), n, sf));
    ASSERT_EQ(kelOk, logSum(a.data(), &s, n, sf));
    auto real = [&](Int v) { return std::ldexp(Ref(v), -sf); };
    // One unit of rounding plus the float evaluation, which scales with the magnitude.
    auto close = [&](Int got, Ref want) {
      want = std::ldexp(want, sf);
      const Ref sat = std::clamp<Ref>(want, std::numeric_limits<Int>::min(), std::numeric_limits<Int>::max());
      return std::fabs(got - sat) <= 0.5L + 1e-6L * (1 + std::fabs(want));
    };
    std::vector<Ref> all;
    for (int i = 0; i < n; ++i) {
      EXPECT_TRUE(close(r[i], refLogAdd(real(a[i]), real(b[i])))) << "sf " << sf << " got " << r[i];
      all.push_back(real(a[i]));
    }
    EXPECT_TRUE(close(s, refLogSum(all))) << "sf " << sf << " got " << s;
  }
}

TEST(LogIntegerEdges, SaturationAndTheTwoToThe31Quirk) {
  auto add32 = [](Kels32s a, Kels32s b, int sf) { kelsLogAdd_32s_Sfs(&a, &b, 1, sf, 0); return b; };
  auto add16 = [](Kels16s a, Kels16s b, int sf) { kelsLogAdd_16s_Sfs(&a, &b, 1, sf, 0); return b; };
  // Both are 2^31 in float; the sum 2^31 + ln 2 is 2^31 in float, which converts to -2^31.
  EXPECT_EQ(INT_MIN, add32(INT_MAX, INT_MAX, 0));
  EXPECT_EQ(32767, add16(32767, 32767, -4));  // 32767 * 16 + 16 ln 2: saturates
  EXPECT_EQ(101, add16(100, 100, 0));         // 100 + ln 2 rounds to 101
}

// Up to 100 elements the work vectors live on the stack; beyond, a refused allocation reports
// kelErrNullPtr (deliberately, not kelErrMemAlloc) and writes nothing.
TEST(LogIntegerEdges, WorkVectorsOnTheStackUpTo100) {
  auto allocates = [](auto call) {
    const long before = kels::testing::allocationCount();
    EXPECT_EQ(kelOk, call());
    return kels::testing::allocationCount() > before;
  };
  for (int n : {100, 101}) {
    std::vector<Kels32s> a(std::size_t(n), 10), b(std::size_t(n), 10);
    Kels32s s = 0;
    EXPECT_EQ(n > 100, allocates([&] { return kelsLogAdd_32s_Sfs(a.data(), b.data(), n, 0, 0); })) << n;
    EXPECT_EQ(n > 100, allocates([&] { return kelsLogSum_32s_Sfs(a.data(), &s, n, 0, 0); })) << n;
  }
  std::vector<Kels16s> a(300, 1);
  Canary<Kels16s> b(300, 2);
  b.assign(std::vector<Kels16s>(300, 2));
  Kels16s s = 0;
  for (int nth : {1, 2}) {
    kels::testing::failNthAllocation(nth);
    EXPECT_EQ(kelErrNullPtr, kelsLogAdd_16s_Sfs(a.data(), b.data(), 300, 0, 0));
    EXPECT_TRUE(b.untouched());
  }
  kels::testing::failNthAllocation(1);
  EXPECT_EQ(kelErrNullPtr, kelsLogSum_16s_Sfs(a.data(), &s, 300, 0, 0));
  EXPECT_EQ(0, s);
  kels::testing::failNthAllocation(0);
}

// The length comes before the pointers in the log-domain families; ExpNegSqr checks pointers first.
TEST(LogChecks, LengthBeforePointersExpPointersFirst) {
  float f = 0;
  double d = 0;
  Kels32s i32 = 0;
  EXPECT_EQ(kelErrSize, kelsLogAdd_32f(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogAdd_64f(nullptr, &d, -1, 0));
  EXPECT_EQ(kelErrSize, kelsLogAdd_16s_Sfs(nullptr, nullptr, 0, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSub_32s_Sfs(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSum_64f(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogAdd_32f(&f, nullptr, 1, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogAdd_32f(nullptr, &f, 1, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogSub_64f(&d, nullptr, 1));
  EXPECT_EQ(kelErrNullPtr, kelsLogSum_32s_Sfs(&i32, nullptr, 1, 0, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_32f(nullptr, &f, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_64f_I(nullptr, -1));
  EXPECT_EQ(kelErrSize, kelsExpNegSqr_32f(&f, &f, 0));
  EXPECT_EQ(kelErrSize, kelsExpNegSqr_64f_I(&d, 0));
}

TEST(ExpNegSqr, MatchesReference) {
  Rng rng(36);
  const int n = 300;
  const auto x = rng.uniformVec<float>(n, -10, 10);
  const std::vector<double> x64(x.begin(), x.end());
  std::vector<float> y(n), yi = x;
  std::vector<double> yd(n), y64(n), y64i = x64;
  ASSERT_EQ(kelOk, kelsExpNegSqr_32f(x.data(), y.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_32f_I(yi.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_32f64f(x.data(), yd.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_64f(x64.data(), y64.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_64f_I(y64i.data(), n));
  EXPECT_EQ(y, yi);
  EXPECT_EQ(y64, y64i);
  for (int i = 0; i < n; ++i) {
    const Ref want = std::exp(-Ref(x[i]) * Ref(x[i]));
    // float: the square is rounded to float first, then exp to about 1 ulp.
    EXPECT_LE(std::fabs(y[i] - std::exp(-Ref(x[i] * x[i]))), 2 * ulpOf(y[i]) + 1e-45L) << x[i];
    EXPECT_LE(std::fabs(yd[i] - want), 4e-16L * want + 1e-300L) << x[i];
    EXPECT_LE(std::fabs(y64[i] - want), 4e-16L * want + 1e-300L) << x[i];
  }
}

TEST(LogTargets, IdenticalBitsOnEveryTargetAndAlignment) {
  Rng rng(37);
  for (int n : {1, 2, 7, 8, 9, 15, 16, 17, 31, 33, 100, 1000})
    for (std::size_t mis = 0; mis < 4; ++mis) {
      auto av = rng.uniformVec<float>(n, -25, 5), bv = rng.uniformVec<float>(n, -25, 5);
      if (n > 4) { bv[0] = av[0]; av[1] = -5e6f; bv[1] = -5000020.0f; bv[2] = NAN; bv[3] = av[3] - 15.319588f; }
      Buffer<float> a(av, mis * 4);
      std::vector<std::vector<float>> want(2);
      float wantSum = 0;
      forEachTarget([&](Target t) {
        for (int hint : {0, 1}) {
          Buffer<float> b(bv, (3 - mis) * 4);
          ASSERT_EQ(kelOk, kelsLogAdd_32f(a.data(), b.data(), n, hint));
          std::vector<float> got(b.data(), b.data() + n);
          if (t == Target::kScalar) want[hint] = got;
          else EXPECT_EQ(0, std::memcmp(want[hint].data(), got.data(), n * 4)) << targetName(t) << " n " << n;
        }
        float s = 0;
        ASSERT_EQ(kelOk, kelsLogSum_32f(a.data(), &s, n, 0));
        if (t == Target::kScalar) wantSum = s;
        else EXPECT_EQ(0, std::memcmp(&wantSum, &s, 4)) << targetName(t) << " n " << n;
      });
    }
}

// The interval splits, the drop threshold and d = 0 to a few ulps either side, and the pairs
// whose ordering is delicate (signed zeros, NaN on either side, infinities), on every target
// and at every position of the vector kernels' groups and tails.
TEST(LogTargets, SplitsAndSpecialPairsSameBits) {
  std::vector<float> av, bv;
  for (float s : kSplits)
    for (int k = -4; k <= 4; ++k)
      for (float hi : {0.0f, 3.25f, -7.5f, -4.6e6f}) {
        const float d = nudge(s, k);
        av.insert(av.end(), {hi, d - hi});  // then the other order, hi elsewhere
        bv.insert(bv.end(), {hi + d, -hi});
      }
  const float inf = INFINITY, nan = NAN;
  const float special[][2] = {{0.0f, -0.0f}, {-0.0f, 0.0f}, {nan, 1.0f}, {1.0f, nan}, {nan, nan},
                              {inf, inf},    {-inf, -inf},  {inf, -inf}, {-inf, inf}, {-inf, 5.0f},
                              {5.0f, inf},   {-5e6f, -5e6f}, {-5e6f, -5000020.0f}};
  for (const auto& p : special) {  // at the front (whole groups) and at the end (tails)
    av.insert(av.begin(), p[0]);
    bv.insert(bv.begin(), p[1]);
    av.push_back(p[0]);
    bv.push_back(p[1]);
  }
  const int total = int(av.size());
  for (int n : {total, total - 1, total - 13, 77}) {
    std::vector<std::vector<float>> want(2);
    forEachTarget([&](Target t) {
      for (int hint : {0, 1}) {
        std::vector<float> b(bv.begin(), bv.begin() + n);
        ASSERT_EQ(kelOk, kelsLogAdd_32f(av.data(), b.data(), n, hint));
        if (t == Target::kScalar) want[hint] = b;
        else EXPECT_EQ(0, std::memcmp(want[hint].data(), b.data(), n * 4)) << targetName(t) << " n " << n << " hint " << hint;
      }
    });
  }
}

// Terms down to the exponential's floor (-700) and past it, where the vector kernels form the
// power of two differently from the scalar code.
TEST(LogTargets, LogSumDeepTermsSameBits) {
  Rng rng(38);
  for (int n : {33, 64, 100, 1000}) {
    auto x = rng.uniformVec<float>(n, -760, 0);
    x[n / 2] = 0;
    x[1] = -700;
    x[2] = -699.99f;
    float want = 0;
    forEachTarget([&](Target t) {
      float s = 0;
      ASSERT_EQ(kelOk, kelsLogSum_32f(x.data(), &s, n, 0));
      if (t == Target::kScalar) want = s;
      else EXPECT_EQ(0, std::memcmp(&want, &s, 4)) << targetName(t) << " n " << n;
    });
  }
}

}  // namespace
}  // namespace kels::test
