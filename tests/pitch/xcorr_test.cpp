// Normalised cross-correlation: check order, identities, long double references (direct lattice
// sums for the decimated series, a numerical maximisation for the interpolated lag) and the same
// bits on every target.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "core/alloc.h"
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
using Signal = std::vector<Kels16s>;
using S = const Kels16s*;
using F = float*;
constexpr Ref kU = 1.0L / (1 << 24);

// Random samples with a good share of the extremes, where pairwise 32-bit sums overflow.
Signal signal(Rng& rng, int n) {
  Signal s(static_cast<std::size_t>(n));
  for (auto& v : s) {
    const int pick = rng.integer(0, 9);
    v = Kels16s(pick == 0 ? -32768 : pick == 1 ? 32767 : rng.integer(-32768, 32767));
  }
  return s;
}

Ref dot(const Signal& a, const Signal& b) {
  Ref s = 0;
  for (std::size_t i = 0; i < a.size(); ++i) s += Ref(a[i]) * b[i];
  return s;
}

// ---- check order: pointers, sizes, then values; a failed call writes nothing --------------------

// clang-format off
struct Call { int len = 32; float energy = 288; int m = 8, d = 2; };
struct Member {
  const char* name;
  int pointers;  // p[0], p[1]: x, y; then the outputs
  KelsStatus (*run)(void* const* p, const Call& c);
};
const Member kCoeff{"coeff", 3, [](void* const* p, const Call& c) {
  return kelsCrossCorrCoeff_16s32f(S(p[0]), S(p[1]), c.len, F(p[2])); }};
const Member kPartial{"partial", 3, [](void* const* p, const Call& c) {
  return kelsCrossCorrCoeffPartial_16s32f(S(p[0]), S(p[1]), c.len, c.energy, F(p[2])); }};
const Member kDecim{"decim", 3, [](void* const* p, const Call& c) {
  return kelsCrossCorrCoeffDecim_16s32f(S(p[0]), S(p[1]), c.len, c.m, F(p[2]), c.d); }};
const Member kInterp{"interpolation", 4, [](void* const* p, const Call& c) {
  return kelsCrossCorrCoeffInterpolation_16s32f(S(p[0]), S(p[1]), c.len, F(p[2]), F(p[3])); }};
// clang-format on

void expectRejected(const Member& m, int nullAt, const Call& c, KelsStatus status) {
  std::vector<Canary<float>> buf(4, Canary<float>(64));  // 128 samples or 64 floats each
  void* p[4];
  for (int k = 0; k < 4; ++k) p[k] = k == nullAt ? nullptr : buf[std::size_t(k)].data();
  EXPECT_EQ(m.run(p, c), status) << m.name << ": null " << nullAt << ", len " << c.len
                                 << ", energy " << c.energy << ", m " << c.m << ", d " << c.d;
  for (const auto& b : buf) EXPECT_TRUE(b.untouched()) << m.name;
}

TEST(CrossCorrChecks, RejectInOrderAndWriteNothing) {
  for (const Member* m : {&kCoeff, &kPartial, &kDecim, &kInterp})
    for (int k = 0; k < m->pointers; ++k) {
      expectRejected(*m, k, {}, kelErrNullPtr);
      expectRejected(*m, k, {0, 0.0f, 0, 0}, kelErrNullPtr);
    }
  const float nan = std::nanf("");
  const std::pair<const Member*, Call> sizes[] = {
      {&kCoeff, {0}},           {&kCoeff, {-1}},           {&kInterp, {0}},
      {&kPartial, {0}},         {&kPartial, {0, 0.0f}},    {&kDecim, {32, 1, 0, 2}},
      {&kDecim, {32, 1, 8, 0}}, {&kDecim, {32, 1, 8, -3}}, {&kDecim, {32, 1, 33, 2}},
      {&kDecim, {0, 1, 8, 2}}};
  for (const auto& [m, c] : sizes) expectRejected(*m, -1, c, kelErrSize);
  for (float e : {0.0f, -0.0f, nan}) expectRejected(kPartial, -1, {32, e}, kelErrRange);
}

// ---- single coefficient -------------------------------------------------------------------------

TEST(CrossCorrCoeff, IdentitiesAndLongDoubleOverTheFullRange) {
  Rng rng(2);
  for (int len : {1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 64, 255, 1000, 4000}) {
    Signal x = signal(rng, len), y = signal(rng, len), neg(x.size()), zero(x.size(), 0);
    for (auto& v : x) v = Kels16s(std::max<int>(v, -32767));  // so that -x exists
    for (std::size_t i = 0; i < x.size(); ++i) neg[i] = Kels16s(-x[i]);
    const Ref exx = dot(x, x), eyy = dot(y, y);
    const Ref ref = exx * eyy > 0 ? dot(x, y) / std::sqrt(exx * eyy) : 0;
    // x = y gives 1, y = -x gives -1, all-zero gives 0, exactly; the caller's energy stands in
    // for <x,x>: four times the energy halves the result.
    float r[8];
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(x.data(), x.data(), len, &r[0]), kelOk);
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(x.data(), neg.data(), len, &r[1]), kelOk);
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(zero.data(), x.data(), len, &r[2]), kelOk);
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), x.data(), len, float(exx), &r[3]), kelOk);
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), zero.data(), len, float(exx), &r[4]), kelOk);
    EXPECT_EQ(std::vector<float>(r, r + 5), (std::vector<float>{1, -1, 0, 1, 0})) << len;
    ASSERT_EQ(kelsCrossCorrCoeff_16s32f(x.data(), y.data(), len, &r[5]), kelOk);
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), y.data(), len, float(exx), &r[6]), kelOk);
    ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), y.data(), len, float(exx * 4), &r[7]), kelOk);
    EXPECT_NEAR(r[5], double(ref), double(4 * kU)) << len;
    EXPECT_NEAR(r[6], double(ref), double(4 * kU)) << len;
    EXPECT_NEAR(r[7], double(ref / 2), double(4 * kU)) << len;
  }
  const Signal x(5, 100);
  float r = 0;  // a negative energy is the caller's mistake, shown as NaN
  ASSERT_EQ(kelsCrossCorrCoeffPartial_16s32f(x.data(), x.data(), 5, -50000.0f, &r), kelOk);
  EXPECT_TRUE(std::isnan(r));
}

// ---- decimated series ---------------------------------------------------------------------------

TEST(CrossCorrCoeffDecim, MatchesDirectLatticeSums) {
  Rng rng(3);
  struct Shape {
    int n, m, d;
  };
  for (Shape s : {Shape{1, 1, 1}, {10, 10, 1}, {10, 4, 7}, {10, 4, 6}, {40, 5, 1}, {41, 6, 2},
                  {160, 20, 3}, {320, 40, 4}, {320, 1, 1}, {100, 37, 5}}) {
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
      const Ref norm = std::sqrt(exx * eyy), ref = norm > 0 ? cxy / norm : 0;
      // Float sums in order: each is off by at most terms * u of its magnitude.
      const Ref tol = (terms + 4) * kU * (1 + (norm > 0 ? mag / norm : 0));
      EXPECT_NEAR(out[std::size_t(i)], double(ref), double(tol)) << s.n << "/" << s.m << "/" << s.d;
    }
  }
  Signal x(20, 0), y(20, 9);  // x silent but at its far left: only the longest window sees it
  x[0] = 5;
  float out[11];
  ASSERT_EQ(kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), 20, 10, out, 1), kelOk);
  EXPECT_EQ(std::vector<float>(out, out + 10), std::vector<float>(10, 0.0f));
  EXPECT_FLOAT_EQ(out[10], 1.0f / std::sqrt(20.0f));
}

TEST(CrossCorrCoeffDecim, LongSeriesReportAFailedAllocationAndWriteNothing) {
  Rng rng(6);
  const Signal x = signal(rng, 3000), y = signal(rng, 3000);  // beyond the stack scratch
  Canary<float> out(3000);
  kels::testing::failNthAllocation(1);
  EXPECT_EQ(kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), 3000, 1, out.data(), 1),
            kelErrMemAlloc);
  kels::testing::failNthAllocation(0);
  EXPECT_TRUE(out.untouched());
}

// ---- interpolated lag ---------------------------------------------------------------------------

// Best |r(t)| over [0, 1] for y linearly interpolated between lag 0 and lag 1, found by a grid
// and golden-section refinement, r evaluated from the interpolated samples themselves.
std::pair<Ref, Ref> refInterp(const Signal& x, const Signal& y) {
  auto r = [&](Ref t) {
    Ref c = 0, ex = 0, ey = 0;
    for (std::size_t j = 0; j + 1 < x.size(); ++j) {
      const Ref v = (1 - t) * y[j] + t * y[j + 1];
      c += x[j] * v, ex += Ref(x[j]) * x[j], ey += v * v;
    }
    return c / std::sqrt(ex * ey);
  };
  int best = 0;
  for (int g = 1; g <= 100; ++g)
    best = std::fabs(r(g / 100.0L)) > std::fabs(r(best / 100.0L)) ? g : best;
  Ref lo = std::max(best - 1, 0) / 100.0L, hi = std::min(best + 1, 100) / 100.0L;
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
    const auto [refLag, refCoeff] = refInterp(x, y);
    if (refLag <= 1e-3L || refLag >= 1 - 1e-3L) continue;  // extremum at an end of the grid
    ++inside;
    EXPECT_NEAR(lag, double(refLag), 1e-4) << trial;
    EXPECT_NEAR(coeff, double(refCoeff), 1e-6) << trial;
    EXPECT_NEAR(lag, 1 - delay, 0.05) << trial;  // (1-t) y[j] + t y[j+1] meets x[j] at 1 - delay
    EXPECT_GT(coeff, 0.99f) << trial;
  }
  EXPECT_GT(inside, 25);
}

TEST(CrossCorrCoeffInterpolation, ZeroDenominatorWarnsAndOutsideLagsGiveNoCoefficient) {
  const Signal one = {1234}, silent(5, 0), x = {100, 200, -50, 30, 70};
  for (const auto& [a, b] : {std::pair{&one, &one}, {&x, &silent}}) {  // no pairs; y silent
    float out[2] = {5, 5};
    EXPECT_EQ(kelsCrossCorrCoeffInterpolation_16s32f(a->data(), b->data(), int(a->size()), &out[0],
                                                     &out[1]),
              kelWarnZeroWeightSum);
    EXPECT_EQ(out[0], 0.0f);
    EXPECT_EQ(out[1], 0.0f);
  }
  // y one sample ahead of x: the best match lies beyond lag 1, so no coefficient.
  const Signal xs = {0, 10, 40, 90, 160, 250, 360}, ys = {10, 40, 90, 160, 250, 360, 490};
  float lag, coeff;
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
    std::vector<float> all(1000);
    float* o = all.data();
    for (int len : {1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 299}) {
      EXPECT_EQ(kelsCrossCorrCoeff_16s32f(bx.data(), by.data(), len, o++), kelOk);
      EXPECT_EQ(kelsCrossCorrCoeffPartial_16s32f(bx.data(), by.data(), len, 1e9f, o++), kelOk);
      kelsCrossCorrCoeffInterpolation_16s32f(bx.data(), by.data(), len, o, o + 1);
      o += 2;
      for (int d : {1, 3}) {
        const int m = 1 + len / 3;
        EXPECT_EQ(kelsCrossCorrCoeffDecim_16s32f(bx.data(), by.data(), len, m, o, d), kelOk);
        o += (len - m) / d + 1;
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
