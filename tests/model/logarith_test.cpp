// Log-domain arithmetic: the log(1 + e^d) polynomials on a dense grid, every function against a
// long-double reference, thresholds and floors, integer scaling, check order, work-vector
// allocation, and identical bits on every target.
#include <gtest/gtest.h>

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
Ref ulpOf(float v) { return std::nextafter(std::fabs(v), INFINITY) - std::fabs(v); }

// Every float d from the drop threshold up to 0 would be 2^30 points; a grid of 400001 plus
// both sides of each interval split covers each polynomial densely.
std::vector<float> grid() {
  std::vector<float> g;
  const float lo = -15.319588f;
  for (int i = 0; i <= 400000; ++i) g.push_back(lo * (1 - i / 400000.0f));
  for (float s : {-6.8f, -2.55f, lo, 0.0f})
    for (int k = -3; k <= 3; ++k) {
      float v = s;
      for (int j = 0; j < std::abs(k); ++j) v = std::nextafter(v, k < 0 ? -INFINITY : INFINITY);
      if (v >= lo && v <= 0) g.push_back(v);
    }
  return g;
}

TEST(LogAddCorrection, DoublePolynomialsWithin1e8) {
  Ref worst = 0;
  for (float d : grid()) worst = std::max(worst, std::fabs(Ref(correction64(d)) - softplus(d)));
  EXPECT_LT(worst, 1e-8L);
  std::printf("double-precision correction: max error %.3Lg\n", worst);
}

TEST(LogAddCorrection, SinglePolynomialsWithin1e6) {
  Ref worst = 0;
  for (float d : grid()) worst = std::max(worst, std::fabs(Ref(correction32(d)) - softplus(d)));
  EXPECT_LT(worst, 1e-6L);
  std::printf("single-precision correction: max error %.3Lg\n", worst);
}

// Through the public function the result is also rounded to float once.
TEST(LogAdd32f, MatchesReferenceOnTheGrid) {
  const auto g = grid();
  std::vector<float> a(g.size(), 0.0f);
  for (int hint : {0, 1}) {
    std::vector<float> b = g;
    ASSERT_EQ(kelOk, kelsLogAdd_32f(a.data(), b.data(), int(b.size()), hint));
    const Ref bound = hint == 1 ? 1e-6L : 1e-8L;
    for (std::size_t i = 0; i < g.size(); ++i)
      ASSERT_LE(std::fabs(b[i] - softplus(g[i])), bound + ulpOf(b[i]) / 2) << "d " << g[i] << " hint " << hint;
  }
}

TEST(LogAdd64f, WithinTheDoubleBound) {
  Rng rng(31);
  for (int i = 0; i < 20000; ++i) {
    const double d = rng.uniform(-23.0258509299405, 0);
    double a = 0, b = d;
    ASSERT_EQ(kelOk, kelsLogAdd_64f(&a, &b, 1, 0));
    ASSERT_LE(std::fabs(b - softplus(d)), 1e-15L) << d;
  }
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
    std::vector<float> a(10, 1.0f);
    Canary<float> b(10, 4);
    b.assign(std::vector<float>(10, 0.5f));
    b[bad] = bad == 4 ? 1.0f : 2.0f;  // equal, or above
    b.assign(b.values());
    EXPECT_EQ(kelErrRange, kelsLogSub_32f(a.data(), b.data(), 10));
    EXPECT_TRUE(b.untouched());
  }
  const Kels32s a32[2] = {5, 5}, b32ok[2] = {4, 4};
  Kels32s b32[2] = {4, 5};
  EXPECT_EQ(kelErrRange, kelsLogSub_32s_Sfs(a32, b32, 2, 0));
  EXPECT_EQ(5, b32[1]);
  // The integer precondition is tested on the integers, not on their float images.
  const Kels32s bigA[1] = {INT_MAX}, bigB[1] = {INT_MAX - 1};
  Kels32s r[1] = {bigB[0]};
  EXPECT_EQ(kelOk, kelsLogSub_32s_Sfs(bigA, r, 1, 0));
  EXPECT_EQ(-4500000, r[0]);  // both are 2^31 in float: 1 - e^0 = 0, log zero
  Kels32s c[2] = {b32ok[0], b32ok[1]};
  EXPECT_EQ(kelOk, kelsLogSub_32s_Sfs(a32, c, 2, 4));  // k / 16: 5/16 and 4/16
  EXPECT_EQ(int(std::nearbyint(16 * (5 / 16.0 + std::log1p(-std::exp(-1 / 16.0))))), c[0]);
}

TEST(LogSum, MatchesReference) {
  Rng rng(34);
  for (int n : {2, 3, 7, 8, 9, 16, 17, 100, 1000, 1025})
    for (double spread : {1.0, 20.0, 200.0}) {
      auto x = rng.uniformVec<float>(n, -spread, 5);
      Ref m = -INFINITY;
      for (float v : x) m = std::max(m, Ref(v));
      Ref s = 0;
      for (float v : x) s += std::exp(Ref(v) - m);
      const Ref want = m + std::log(s);
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
  const float x1 = -7e6f;
  float r = 0;
  ASSERT_EQ(kelOk, kelsLogSum_32f(&x1, &r, 1, 0));
  EXPECT_EQ(x1, r);  // n = 1: x_0 itself, even below log zero
  const float lowPair[2] = {-7e6f, -7e6f};
  ASSERT_EQ(kelOk, kelsLogSum_32f(lowPair, &r, 2, 0));
  EXPECT_EQ(-4.5e6f, r);
  const float inf[3] = {1, INFINITY, 2};
  ASSERT_EQ(kelOk, kelsLogSum_32f(inf, &r, 3, 0));
  EXPECT_EQ(INFINITY, r);
  const float withNan[3] = {1, NAN, 2};
  ASSERT_EQ(kelOk, kelsLogSum_32f(withNan, &r, 3, 0));
  EXPECT_TRUE(std::isnan(r));
  const double lowD[2] = {-2e10, -2e10};
  double rd = 0;
  ASSERT_EQ(kelOk, kelsLogSum_64f(lowD, &rd, 2, 0));
  EXPECT_EQ(-1e10, rd);
}

// Integer forms: k stands for k * 2^-sf; compare with the float result of the same values.
template <class Int>
void checkIntegerForms() {
  Rng rng(35);
  const int n = 50;
  for (int sf : {-2, 0, 3, 8}) {
    const double lo = std::is_same_v<Int, Kels16s> ? -3000 : -300000, hi = -lo;
    auto a = rng.uniformVec<Int>(n, lo, hi), b = rng.uniformVec<Int>(n, lo, hi);
    auto r = b;
    KelsStatus st;
    if constexpr (std::is_same_v<Int, Kels16s>) st = kelsLogAdd_16s_Sfs(a.data(), r.data(), n, sf, 0);
    else st = kelsLogAdd_32s_Sfs(a.data(), r.data(), n, sf, 0);
    ASSERT_EQ(kelOk, st);
    for (int i = 0; i < n; ++i) {
      const Ref want = std::ldexp(refLogAdd(std::ldexp(Ref(a[i]), -sf), std::ldexp(Ref(b[i]), -sf)), sf);
      const Ref sat = std::min<Ref>(std::max<Ref>(want, std::numeric_limits<Int>::min()), std::numeric_limits<Int>::max());
      // One unit of rounding plus the float evaluation, which scales with the magnitude.
      EXPECT_LE(std::fabs(r[i] - sat), 0.5L + 1e-6L * (1 + std::fabs(want))) << "sf " << sf;
    }
    Int s = 0;
    if constexpr (std::is_same_v<Int, Kels16s>) st = kelsLogSum_16s_Sfs(a.data(), &s, n, sf, 0);
    else st = kelsLogSum_32s_Sfs(a.data(), &s, n, sf, 0);
    ASSERT_EQ(kelOk, st);
    Ref m = -INFINITY, acc = 0;
    for (Int v : a) m = std::max(m, std::ldexp(Ref(v), -sf));
    for (Int v : a) acc += std::exp(std::ldexp(Ref(v), -sf) - m);
    const Ref want = std::ldexp(m + std::log(acc), sf);
    const Ref sat = std::min<Ref>(std::max<Ref>(want, std::numeric_limits<Int>::min()), std::numeric_limits<Int>::max());
    EXPECT_LE(std::fabs(s - sat), 0.5L + 1e-6L * (1 + std::fabs(want))) << "sf " << sf;
  }
}
TEST(LogIntegerForms, Int16) { checkIntegerForms<Kels16s>(); }
TEST(LogIntegerForms, Int32) { checkIntegerForms<Kels32s>(); }

TEST(LogIntegerForms, SaturationAndTheTwoToThe31Quirk) {
  const Kels32s a[1] = {INT_MAX};
  Kels32s b[1] = {INT_MAX};
  // Both are 2^31 in float; the sum 2^31 + ln 2 is 2^31 in float, which converts to -2^31.
  ASSERT_EQ(kelOk, kelsLogAdd_32s_Sfs(a, b, 1, 0, 0));
  EXPECT_EQ(INT_MIN, b[0]);
  const Kels16s a16[1] = {32767};
  Kels16s b16[1] = {32767};
  ASSERT_EQ(kelOk, kelsLogAdd_16s_Sfs(a16, b16, 1, -4, 0));  // 32767 * 16 + 16 ln 2: saturates
  EXPECT_EQ(32767, b16[0]);
  const Kels16s c16[1] = {100};
  Kels16s d16[1] = {100};
  ASSERT_EQ(kelOk, kelsLogAdd_16s_Sfs(c16, d16, 1, 0, 0));
  EXPECT_EQ(101, d16[0]);  // 100 + ln 2 rounds to 101
}

TEST(LogIntegerForms, WorkVectorsOnTheStackUpTo100) {
  for (int n : {100, 101}) {
    std::vector<Kels32s> a(n, 10), b(n, 10);
    const long before = kels::testing::allocationCount();
    ASSERT_EQ(kelOk, kelsLogAdd_32s_Sfs(a.data(), b.data(), n, 0, 0));
    EXPECT_EQ(n > 100, kels::testing::allocationCount() > before) << n;
    Kels32s s = 0;
    const long before2 = kels::testing::allocationCount();
    ASSERT_EQ(kelOk, kelsLogSum_32s_Sfs(a.data(), &s, n, 0, 0));
    EXPECT_EQ(n > 100, kels::testing::allocationCount() > before2) << n;
  }
  std::vector<Kels16s> a(300, 1);
  Canary<Kels16s> b(300, 2);
  b.assign(std::vector<Kels16s>(300, 2));
  for (int nth : {1, 2}) {
    kels::testing::failNthAllocation(nth);
    EXPECT_EQ(kelErrNullPtr, kelsLogAdd_16s_Sfs(a.data(), b.data(), 300, 0, 0));  // not kelErrMemAlloc
    EXPECT_TRUE(b.untouched());
  }
  kels::testing::failNthAllocation(1);
  Kels16s s = 0;
  EXPECT_EQ(kelErrNullPtr, kelsLogSum_16s_Sfs(a.data(), &s, 300, 0, 0));
  EXPECT_EQ(0, s);
  kels::testing::failNthAllocation(0);
}

TEST(LogChecks, LengthBeforePointersExpPointersFirst) {
  float f = 0;
  double d = 0;
  Kels32s i32 = 0;
  Kels16s i16 = 0;
  EXPECT_EQ(kelErrSize, kelsLogAdd_32f(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogAdd_64f(nullptr, &d, -1, 0));
  EXPECT_EQ(kelErrSize, kelsLogAdd_32s_Sfs(nullptr, nullptr, 0, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogAdd_16s_Sfs(nullptr, nullptr, 0, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSub_32f(nullptr, nullptr, 0));
  EXPECT_EQ(kelErrSize, kelsLogSub_64f(nullptr, nullptr, 0));
  EXPECT_EQ(kelErrSize, kelsLogSub_32s_Sfs(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSub_16s_Sfs(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSum_32f(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSum_64f(nullptr, nullptr, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSum_32s_Sfs(nullptr, nullptr, 0, 0, 0));
  EXPECT_EQ(kelErrSize, kelsLogSum_16s_Sfs(nullptr, nullptr, 0, 0, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogAdd_32f(&f, nullptr, 1, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogAdd_32f(nullptr, &f, 1, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogSub_64f(&d, nullptr, 1));
  EXPECT_EQ(kelErrNullPtr, kelsLogSum_32s_Sfs(&i32, nullptr, 1, 0, 0));
  EXPECT_EQ(kelErrNullPtr, kelsLogSum_16s_Sfs(nullptr, &i16, 1, 0, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_32f(nullptr, &f, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_64f(&d, nullptr, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_32f64f(&f, nullptr, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_32f_I(nullptr, 0));
  EXPECT_EQ(kelErrNullPtr, kelsExpNegSqr_64f_I(nullptr, -1));
  EXPECT_EQ(kelErrSize, kelsExpNegSqr_32f(&f, &f, 0));
  EXPECT_EQ(kelErrSize, kelsExpNegSqr_64f_I(&d, 0));
}

TEST(ExpNegSqr, MatchesReference) {
  Rng rng(36);
  const int n = 300;
  auto x = rng.uniformVec<float>(n, -10, 10);
  std::vector<float> y(n), yi = x;
  std::vector<double> yd(n);
  ASSERT_EQ(kelOk, kelsExpNegSqr_32f(x.data(), y.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_32f_I(yi.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_32f64f(x.data(), yd.data(), n));
  std::vector<double> x64(x.begin(), x.end()), y64(n), y64i = x64;
  ASSERT_EQ(kelOk, kelsExpNegSqr_64f(x64.data(), y64.data(), n));
  ASSERT_EQ(kelOk, kelsExpNegSqr_64f_I(y64i.data(), n));
  for (int i = 0; i < n; ++i) {
    const Ref sq = Ref(x[i]) * Ref(x[i]);
    const Ref want = std::exp(-sq);
    // float: the square is rounded to float first, then exp to about 1 ulp.
    const Ref sqf = Ref(x[i] * x[i]);
    EXPECT_LE(std::fabs(y[i] - std::exp(-sqf)), 2 * ulpOf(y[i]) + 1e-45L) << x[i];
    EXPECT_EQ(y[i], yi[i]);
    EXPECT_LE(std::fabs(yd[i] - want), 4e-16L * want + 1e-300L) << x[i];
    EXPECT_LE(std::fabs(y64[i] - want), 4e-16L * want + 1e-300L) << x[i];
    EXPECT_EQ(y64[i], y64i[i]);
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

}  // namespace
}  // namespace kels::test
