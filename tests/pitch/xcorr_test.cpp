// Normalised cross-correlation: check order, identities, long double references (direct lattice
// sums for the decimated series, a numerical maximisation for the interpolated lag) and the same
// bits on every target.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "core/alloc.h"
#include "support/canary.h"
#include "support/fault.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels {
namespace {

using test::Canary;
using test::Fault;
using test::Ref;
using test::Rng;
using Signal = std::vector<Kels16s>;

constexpr Ref kU = 1.0L / (1 << 24);

// Random samples with a good share of the extremes, where pairwise 32-bit sums overflow.
Signal signal(Rng& rng, int n, int range = 32768) {
  Signal s(std::size_t(n), 0);
  for (auto& v : s) {
    const int pick = rng.integer(0, 9);
    v = Kels16s(pick == 0 ? -32768 : pick == 1 ? 32767 : rng.integer(-range, range - 1));
  }
  return s;
}

Ref dotRef(const Kels16s* a, const Kels16s* b, int n) {
  Ref s = 0;
  for (int i = 0; i < n; ++i) s += Ref(a[i]) * Ref(b[i]);
  return s;
}

// ---- check order -------------------------------------------------------------------------------

struct Args {
  Signal x = Signal(32, 3), y = Signal(32, -5);
  const Kels16s *px = x.data(), *py = y.data();
  Canary<float> out{16}, out2{1};
  float *dst = out.data(), *dst2 = out2.data();
  int len = 32, m = 8, d = 2;
  float energy = 288.0f;
};

struct Member {
  const char* name;
  std::function<KelsStatus(Args&)> call;
  std::vector<Fault<Args>> faults;
};

TEST(CrossCorrChecks, RejectInOrderAndWriteNothing) {
  const std::vector<Fault<Args>> common = {
      {"null x", kelErrNullPtr, [](Args& a) { a.px = nullptr; }},
      {"null y", kelErrNullPtr, [](Args& a) { a.py = nullptr; }},
      {"null dst", kelErrNullPtr, [](Args& a) { a.dst = nullptr; }},
  };
  const std::vector<Fault<Args>> length = {
      {"len 0", kelErrSize, [](Args& a) { a.len = 0; }},
      {"len -1", kelErrSize, [](Args& a) { a.len = -1; }},
      {"len 0 and null y", kelErrNullPtr,
       [](Args& a) {
         a.len = 0;
         a.py = nullptr;
       }},
  };
  std::vector<Member> members = {
      {"Coeff", [](Args& a) { return kelsCrossCorrCoeff_16s32f(a.px, a.py, a.len, a.dst); },
       length},
      {"Partial",
       [](Args& a) { return kelsCrossCorrCoeffPartial_16s32f(a.px, a.py, a.len, a.energy, a.dst); },
       {{"energy 0", kelErrRange, [](Args& a) { a.energy = 0.0f; }},
        {"energy -0", kelErrRange, [](Args& a) { a.energy = -0.0f; }},
        {"energy NaN", kelErrRange, [](Args& a) { a.energy = std::nanf(""); }},
        {"energy 0 and len 0", kelErrSize,
         [](Args& a) {
           a.energy = 0;
           a.len = 0;
         }},
        {"energy 0 and null x", kelErrNullPtr,
         [](Args& a) {
           a.energy = 0;
           a.px = nullptr;
         }}}},
      {"Decim",
       [](Args& a) { return kelsCrossCorrCoeffDecim_16s32f(a.px, a.py, a.len, a.m, a.dst, a.d); },
       {{"m 0", kelErrSize, [](Args& a) { a.m = 0; }},
        {"d 0", kelErrSize, [](Args& a) { a.d = 0; }},
        {"d -3", kelErrSize, [](Args& a) { a.d = -3; }},
        {"m > n", kelErrSize, [](Args& a) { a.m = 33; }},
        {"n 0", kelErrSize, [](Args& a) { a.len = 0; }},
        {"m 0 and null dst", kelErrNullPtr,
         [](Args& a) {
           a.m = 0;
           a.dst = nullptr;
         }}}},
      {"Interpolation",
       [](Args& a) {
         return kelsCrossCorrCoeffInterpolation_16s32f(a.px, a.py, a.len, a.dst, a.dst2);
       },
       {{"null coeff", kelErrNullPtr, [](Args& a) { a.dst2 = nullptr; }},
        {"len 0 and null coeff", kelErrNullPtr,
         [](Args& a) {
           a.len = 0;
           a.dst2 = nullptr;
         }}}},
  };
  members[1].faults.insert(members[1].faults.end(), length.begin(), length.end());
  members[3].faults.insert(members[3].faults.end(), length.begin(), length.end());
  for (auto& member : members) {
    member.faults.insert(member.faults.end(), common.begin(), common.end());
    for (const auto& f : member.faults) {
      Args args;
      f.apply(args);
      EXPECT_EQ(f.expected, member.call(args)) << member.name << ": " << f.what;
      EXPECT_TRUE(args.out.untouched() && args.out2.untouched()) << member.name << ": " << f.what;
    }
  }
}

// ---- single coefficient -------------------------------------------------------------------------

TEST(CrossCorrCoeff, IdentitiesHoldExactly) {
  Rng rng(1);
  for (int len : {1, 2, 15, 16, 17, 33, 1000}) {
    const Signal x = signal(rng, len);
    Signal neg(x.size()), zero(x.size(), 0);
    for (std::size_t i = 0; i < x.size(); ++i) neg[i] = Kels16s(-std::max<int>(x[i], -32767));
    Signal negx = x;  // -(-32768) does not exist: keep y = -x exact by avoiding it
    for (auto& v : negx) v = Kels16s(std::max<int>(v, -32767));
    float r = 7;
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(x.data(), x.data(), len, &r), kelOk);
    EXPECT_EQ(r, 1.0f) << len;
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(negx.data(), neg.data(), len, &r), kelOk);
    EXPECT_EQ(r, -1.0f) << len;
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(zero.data(), x.data(), len, &r), kelOk);
    EXPECT_EQ(r, 0.0f) << len;
    const float ex = float(dotRef(x.data(), x.data(), len));
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), x.data(), len, ex, &r), kelOk);
    EXPECT_EQ(r, 1.0f) << len;
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), zero.data(), len, ex, &r), kelOk);
    EXPECT_EQ(r, 0.0f) << len;  // E_y = 0: under the floor
  }
}

TEST(CrossCorrCoeff, MatchesLongDoubleOverTheFullRange) {
  Rng rng(2);
  for (int len : {1, 7, 8, 9, 15, 16, 17, 31, 32, 33, 64, 255, 4000}) {
    const Signal x = signal(rng, len), y = signal(rng, len);
    const Ref exx = dotRef(x.data(), x.data(), len), eyy = dotRef(y.data(), y.data(), len);
    const Ref ref = exx * eyy > 0 ? dotRef(x.data(), y.data(), len) / std::sqrt(exx * eyy) : 0;
    float r = 7;
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(x.data(), y.data(), len, &r), kelOk);
    EXPECT_NEAR(r, double(ref), double(4 * kU)) << len;
    // With the caller's energy the same, and a scaled energy scales the result.
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), y.data(), len, float(exx), &r), kelOk);
    EXPECT_NEAR(r, double(ref), double(4 * kU)) << len;
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), y.data(), len, float(exx) * 4, &r), kelOk);
    EXPECT_NEAR(r, double(ref / 2), double(4 * kU)) << len;
  }
  const Signal x(5, 100), y(5, 100);
  float r = 0;
  ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), y.data(), 5, -50000.0f, &r), kelOk);
  EXPECT_TRUE(std::isnan(r));  // a negative energy is the caller's mistake, shown as NaN
}

// ---- decimated series ---------------------------------------------------------------------------

TEST(CrossCorrCoeffDecim, MatchesDirectLatticeSums) {
  Rng rng(3);
  struct Shape {
    int n, m, d;
  };
  for (Shape s : {Shape{1, 1, 1},
                  {10, 10, 1},
                  {10, 4, 7},
                  {10, 4, 6},
                  {40, 5, 1},
                  {41, 6, 2},
                  {160, 20, 3},
                  {320, 40, 4},
                  {320, 1, 1},
                  {100, 37, 5}}) {
    const Signal x = signal(rng, s.n), y = signal(rng, s.n);
    const int lags = (s.n - s.m) / s.d + 1;
    Canary<float> out(std::size_t(lags), 4);
    ASSERT_EQ(kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), s.n, s.m, out.data(), s.d), kelOk);
    EXPECT_TRUE(out.guardsIntact()) << "exactly (n - m) / d + 1 outputs";
    for (int i = 0; i < lags; ++i) {
      const int window = s.m + i * s.d, start = s.n - window;  // x ends at its last sample
      Ref exx = 0, eyy = 0, cxy = 0, mag = 0;
      int terms = 0;
      for (int k = 0; k < window; k += s.d, ++terms) {
        const Ref a = x[std::size_t(start + k)], b = y[std::size_t(k)];
        exx += a * a, eyy += b * b, cxy += a * b, mag += std::fabs(a * b);
      }
      const Ref ref = exx * eyy > 0 ? cxy / std::sqrt(exx * eyy) : 0;
      // Float accumulation: each sum is off by at most terms * u of its magnitude.
      const Ref tol = (terms + 4) * kU * (1 + (exx * eyy > 0 ? mag / std::sqrt(exx * eyy) : 0));
      EXPECT_NEAR(out[std::size_t(i)], double(ref), double(tol))
          << s.n << "/" << s.m << "/" << s.d << " lag " << i;
    }
  }
}

TEST(CrossCorrCoeffDecim, EnergiesUnderTheFloorGiveZero) {
  // x is silent except far left: short windows see no energy, longer ones do.
  Signal x(20, 0), y(20, 9);
  x[0] = 5;
  float out[11];
  ASSERT_EQ(kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), 20, 10, out, 1), kelOk);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(out[i], 0.0f) << i;
  EXPECT_FLOAT_EQ(out[10], 1.0f / std::sqrt(20.0f));  // one of twenty lattice points carries x
}

TEST(CrossCorrCoeffDecim, LongSeriesReportAFailedAllocationAndWriteNothing) {
  const int n = 3000;  // beyond the stack scratch
  Rng rng(6);
  const Signal x = signal(rng, n), y = signal(rng, n);
  Canary<float> out(n);
  kels::testing::failNthAllocation(1);
  EXPECT_EQ(kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), n, 1, out.data(), 1),
            kelErrMemAlloc);
  kels::testing::failNthAllocation(0);
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), n, 1, out.data(), 1), kelOk);
  EXPECT_TRUE(out.guardsIntact());
}

// ---- interpolated lag ---------------------------------------------------------------------------

// Best |r(t)| over [0, 1] for y linearly interpolated between lag 0 and lag 1, found by a grid
// and golden-section refinement, with r evaluated from the interpolated samples themselves.
struct Interp {
  Ref lag, coeff;
};
Interp refInterp(const Signal& x, const Signal& y) {
  const int n = int(x.size()) - 1;
  auto r = [&](Ref t) {
    Ref c = 0, ex = 0, ey = 0;
    for (int j = 0; j < n; ++j) {
      const Ref v = (1 - t) * y[std::size_t(j)] + t * y[std::size_t(j) + 1];
      c += x[std::size_t(j)] * v, ex += Ref(x[std::size_t(j)]) * x[std::size_t(j)], ey += v * v;
    }
    return c / std::sqrt(ex * ey);
  };
  Ref best = 0;
  for (int g = 1; g < 100; ++g)
    if (std::fabs(r(g / 100.0L)) > std::fabs(r(best / 100.0L))) best = g;
  Ref lo = std::max(best - 1, Ref(0)) / 100, hi = std::min(best + 1, Ref(100)) / 100;
  const Ref phi = (std::sqrt(5.0L) - 1) / 2;
  for (int it = 0; it < 80; ++it) {
    const Ref a = hi - phi * (hi - lo), b = lo + phi * (hi - lo);
    (std::fabs(r(a)) > std::fabs(r(b)) ? hi : lo) = std::fabs(r(a)) > std::fabs(r(b)) ? b : a;
  }
  return {(lo + hi) / 2, r((lo + hi) / 2)};
}

TEST(CrossCorrCoeffInterpolation, FindsTheFractionalLagOfADelayedSignal) {
  Rng rng(4);
  int inside = 0;
  for (int trial = 0; trial < 30; ++trial) {
    const int len = rng.integer(60, 300);
    const double f = rng.uniform(0.05, 0.3), delay = rng.uniform(0.05, 0.95);
    Signal x(static_cast<std::size_t>(len)), y(x.size());
    for (int i = 0; i < len; ++i) {  // y[i] = x[i - 1 + delay], plus a little noise
      x[std::size_t(i)] = Kels16s(std::lround(8000 * std::sin(f * i) + rng.normal(0, 30)));
      y[std::size_t(i)] =
          Kels16s(std::lround(8000 * std::sin(f * (i - 1 + delay)) + rng.normal(0, 30)));
    }
    float lag = -1, coeff = -1;
    ASSERT_EQ(kelsCrossCorrCoeffInterpolation_16s32f(x.data(), y.data(), len, &lag, &coeff), kelOk);
    const Interp ref = refInterp(x, y);
    if (ref.lag <= 1e-3L || ref.lag >= 1 - 1e-3L) continue;  // extremum at an end of the grid
    ++inside;
    EXPECT_NEAR(lag, double(ref.lag), 1e-4) << trial;
    EXPECT_NEAR(coeff, double(ref.coeff), 1e-6) << trial;
    EXPECT_NEAR(lag, 1 - delay, 0.05)
        << trial;  // y[j] + t (y[j+1] - y[j]) meets x[j] at t = 1 - delay
    EXPECT_GT(coeff, 0.99f) << trial;
  }
  EXPECT_GT(inside, 25);
}

TEST(CrossCorrCoeffInterpolation, ZeroDenominatorWarnsAndOutsideLagsGiveNoCoefficient) {
  const Signal one = {1234}, silent(10, 0), x = {100, 200, -50, 30, 70};
  float lag = 5, coeff = 5;
  EXPECT_EQ(kelsCrossCorrCoeffInterpolation_16s32f(one.data(), one.data(), 1, &lag, &coeff),
            kelWarnZeroWeightSum);  // no pairs at all
  EXPECT_EQ(lag, 0.0f);
  EXPECT_EQ(coeff, 0.0f);
  lag = coeff = 5;
  EXPECT_EQ(kelsCrossCorrCoeffInterpolation_16s32f(x.data(), silent.data(), 5, &lag, &coeff),
            kelWarnZeroWeightSum);
  EXPECT_EQ(lag, 0.0f);
  EXPECT_EQ(coeff, 0.0f);
  // y one sample ahead of x: the best match lies beyond lag 1, so no coefficient.
  const Signal xs = {0, 10, 40, 90, 160, 250, 360}, ys = {10, 40, 90, 160, 250, 360, 490};
  ASSERT_EQ(kelsCrossCorrCoeffInterpolation_16s32f(xs.data(), ys.data(), 7, &lag, &coeff), kelOk);
  EXPECT_TRUE(lag < 0.0f || lag >= 1.0f) << lag;
  EXPECT_EQ(coeff, 0.0f);
}

// ---- every target: the same bits ----------------------------------------------------------------

TEST(CrossCorrTargets, EveryTargetAndAlignmentGivesTheSameBits) {
  Rng rng(5);
  const Signal x = signal(rng, 300), y = signal(rng, 300);
  auto runAll = [&](std::size_t misalign) {
    test::Buffer<Kels16s> bx(x, misalign), by(y, misalign);
    std::vector<float> all;
    for (int len : {1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 299}) {
      float r[2];
      EXPECT_EQ(kelsCrossCorrCoeff_16s32f(bx.data(), by.data(), len, r), kelOk);
      all.push_back(r[0]);
      EXPECT_EQ(kelsCrossCorrCoeffPartial_16s32f(bx.data(), by.data(), len, 1e9f, r), kelOk);
      all.push_back(r[0]);
      kelsCrossCorrCoeffInterpolation_16s32f(bx.data(), by.data(), len, r, r + 1);
      all.insert(all.end(), r, r + 2);
      for (int d : {1, 3}) {
        const int m = 1 + len / 3, lags = (len - m) / d + 1;
        std::vector<float> series(static_cast<std::size_t>(lags));
        EXPECT_EQ(kelsCrossCorrCoeffDecim_16s32f(bx.data(), by.data(), len, m, series.data(), d),
                  kelOk);
        all.insert(all.end(), series.begin(), series.end());
      }
    }
    return all;
  };
  std::vector<float> expected;
  {
    test::PinnedTarget pin(Target::kScalar);
    expected = runAll(0);
  }
  test::forEachTarget([&](Target t) {
    for (std::size_t misalign : {0, 2, 4, 6, 8}) {
      const auto got = runAll(misalign);
      EXPECT_EQ(std::memcmp(got.data(), expected.data(), got.size() * sizeof(float)), 0)
          << targetName(t) << " misalign " << misalign;
    }
  });
}

}  // namespace
}  // namespace kels
