// Subband NLMS filter: the stated rounding examples, complex products against a long double
// reference, the accumulator clamp, the step-size branches and the coefficient update's sign
// quirk, and every check order with nothing written on failure.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <vector>

#include <kelsr.h>

#include "support/canary.h"
#include "support/reference.h"
#include "support/rng.h"
#include "support/targets.h"

namespace {

using kels::test::Canary;
using kels::test::Ref;
using kels::test::refScaleRound;
using kels::test::Rng;

// T taps of K complex values, with the row-pointer tables the functions take.
struct Taps {
  Taps(int taps, int len) : data(std::size_t(taps), std::vector<Kels32sc>(std::size_t(len))) {
    for (auto& row : data) {
      rows.push_back(row.data());
      crows.push_back(row.data());
    }
  }
  // Writes into the existing rows: the pointer tables stay valid.
  void set(int tap, std::initializer_list<Kels32sc> v) { std::copy(v.begin(), v.end(), data[std::size_t(tap)].begin()); }
  void random(Rng& rng, int lo, int hi) {
    for (auto& row : data)
      for (auto& v : row) v = {rng.integer(lo, hi), rng.integer(lo, hi)};
  }
  std::vector<std::vector<Kels32sc>> data;
  std::vector<Kels32sc*> rows;
  std::vector<const Kels32sc*> crows;
};

TEST(AecFilter, CopiesAndRoundsTiesToEven) {
  Taps x(1, 6), h(1, 6);
  x.set(0, {{3, 5}, {-3, -5}, {7, 1}, {INT32_MAX, INT32_MIN}, {0, 0}, {1, -1}});
  h.set(0, {{1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}});
  std::vector<Kels32sc> out(6);
  ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.data(), 1, 6, 0));
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(x.data[0][std::size_t(i)].re, out[std::size_t(i)].re);
    EXPECT_EQ(x.data[0][std::size_t(i)].im, out[std::size_t(i)].im);
  }
  ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.data(), 1, 6, 1));
  EXPECT_EQ(2, out[0].re);   // 1.5
  EXPECT_EQ(2, out[0].im);   // 2.5
  EXPECT_EQ(-2, out[1].re);
  EXPECT_EQ(-2, out[1].im);
  EXPECT_EQ(4, out[2].re);   // 3.5
  EXPECT_EQ(0, out[2].im);   // 0.5
  EXPECT_EQ(1073741824, out[3].re);
  EXPECT_EQ(-1073741824, out[3].im);
  // A negative scale factor multiplies, and saturates.
  ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.data(), 1, 6, -1));
  EXPECT_EQ(6, out[0].re);
  EXPECT_EQ(INT32_MAX, out[3].re);
  EXPECT_EQ(INT32_MIN, out[3].im);
  EXPECT_EQ(-2, out[5].im);
}

TEST(AecFilter, ComplexProductWithoutConjugate) {
  Rng rng(7);
  for (int sf : {-3, 0, 5, 17, 31}) {
    const int taps = 8, len = 129;
    Taps x(taps, len), h(taps, len);
    // Small enough that every partial sum is exact in double: the reference is then exact.
    x.random(rng, -(1 << 20), 1 << 20);
    h.random(rng, -(1 << 20), 1 << 20);
    Canary<Kels32sc> out(std::size_t(len), 8);
    ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.data(), taps, len, sf));
    EXPECT_TRUE(out.guardsIntact());
    for (int i = 0; i < len; ++i) {
      Ref re = 0, im = 0;
      for (int j = 0; j < taps; ++j) {
        const Kels32sc a = x.data[std::size_t(j)][std::size_t(i)], b = h.data[std::size_t(j)][std::size_t(i)];
        re += Ref(a.re) * b.re - Ref(a.im) * b.im;
        im += Ref(a.im) * b.re + Ref(a.re) * b.im;
      }
      ASSERT_EQ(refScaleRound<std::int32_t>(re, sf), out[std::size_t(i)].re) << sf << " " << i;
      ASSERT_EQ(refScaleRound<std::int32_t>(im, sf), out[std::size_t(i)].im) << sf << " " << i;
    }
  }
}

TEST(AecFilter, AccumulatorIsClampedAfterEveryTap) {
  // The first two taps add 2^63 - 2^31 each to the real part, the third takes as much away.
  // With the clamp at 2^63 after every addition the sum ends at 2^31 (1 after sf = 31);
  // without it at 2^63 - 2^31, which would saturate.
  Taps x(3, 1), h(3, 1);
  for (auto& row : x.data) row[0] = {INT32_MIN, INT32_MIN};
  h.data[0][0] = h.data[1][0] = {INT32_MIN, INT32_MAX};
  h.data[2][0] = {INT32_MAX, INT32_MIN};
  std::vector<Kels32sc> out(1);
  ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.data(), 3, 1, 31));
  EXPECT_EQ(1, out[0].re);
}

TEST(AecFilter, CheckOrderWritesNothing) {
  Taps x(2, 4), h(2, 4);
  Canary<Kels32sc> out(4);
  const auto call = [&](const Kels32sc** xp, const Kels32sc** hp, Kels32sc* o, int t, int k, int sf) {
    return kelsFilterAECNLMS_32sc_Sfs(xp, hp, o, t, k, sf);
  };
  EXPECT_EQ(kelErrNullPtr, call(nullptr, h.crows.data(), out.data(), 0, 0, 99));
  EXPECT_EQ(kelErrNullPtr, call(x.crows.data(), nullptr, out.data(), 2, 4, 0));
  EXPECT_EQ(kelErrNullPtr, call(x.crows.data(), h.crows.data(), nullptr, 2, 4, 0));
  EXPECT_EQ(kelErrLengthRange, call(x.crows.data(), h.crows.data(), out.data(), 0, 0, 99));
  EXPECT_EQ(kelErrLengthRange, call(x.crows.data(), h.crows.data(), out.data(), 2, 4098, 0));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), h.crows.data(), out.data(), 0, 4, 0));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), h.crows.data(), out.data(), 256, 4, 0));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), h.crows.data(), out.data(), 2, 4, 32));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), h.crows.data(), out.data(), 2, 4, -32));
  x.crows[1] = nullptr;  // a missing tap row
  EXPECT_EQ(kelErrNullPtr, call(x.crows.data(), h.crows.data(), out.data(), 2, 4, 0));
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(kelOk, call(x.crows.data(), h.crows.data(), out.data(), 1, 4, 0));  // row 1 unused
}

// ---- step size ----

TEST(AecStep, BranchesAndStatedEdges) {
  const std::int32_t energy[] = {1000, 1001, 0, 1 << 20};
  double step[4];
  // a = 2^30 (one half): 0.5 / E * 2^-sf above the threshold; mu0 * 2^-(sf + 92) at or below.
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(energy, 1 << 30, 0.75, 1000, step, 4, 3));
  EXPECT_EQ(std::ldexp(0.75, -95), step[0]);  // E = threshold takes the quiet branch
  EXPECT_EQ(0.5 / 1001 / 8, step[1]);
  EXPECT_EQ(std::ldexp(0.75, -95), step[2]);
  EXPECT_EQ(std::ldexp(0.5, -23), step[3]);
  // Negative sf doubles.
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(energy, 1 << 30, 0.75, 1000, step, 4, -10));
  EXPECT_EQ(0.5 / 1001 * 1024, step[1]);
  EXPECT_EQ(std::ldexp(0.75, -82), step[0]);
  // a = 0 writes zeros even with valid mu0 and threshold.
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(energy, 0, 0.75, 1000, step, 4, 3));
  for (double s : step) EXPECT_EQ(0.0, s);
}

TEST(AecStep, ScalingIsRepeatedHalving) {
  // 11 units of the smallest subnormal halved three times one by one: 5.5 -> 6, 3, 1.5 -> 2.
  // A single scaling by 1/8 would round 1.375 to 1.
  const double unit = std::numeric_limits<double>::denorm_min();
  const double mu0 = std::ldexp(11.0, -1074 + 89);  // 92 halvings: 89 exact, then three
  const std::int32_t energy = 0;
  double step;
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(&energy, 1, mu0, 1, &step, 1, 0));
  EXPECT_EQ(2 * unit, step);
  // Large exponents end at 0 (halving) or infinity (doubling) without running for ever.
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(&energy, 1, 1.0, 1, &step, 1, INT32_MAX));
  EXPECT_EQ(0.0, step);
  const std::int32_t loud = 5;
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(&loud, INT32_MAX, 1.0, 1, &step, 1, INT32_MIN));
  EXPECT_TRUE(std::isinf(step));
  ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(&loud, INT32_MAX, 1.0, 1, &step, 1, 1000));
  EXPECT_EQ(std::ldexp(double(INT32_MAX) / 2147483648.0 / 5, -1000), step);
}

TEST(AecStep, CheckOrderWritesNothing) {
  std::vector<std::int32_t> e(5, 100);
  Canary<double> out(5);
  const auto call = [&](const std::int32_t* ep, std::int32_t a, double mu, std::int32_t th, double* o, int k) {
    return kelsStepSizeUpdateAECNLMS_32s(ep, a, mu, th, o, k, 0);
  };
  EXPECT_EQ(kelErrNullPtr, call(nullptr, -1, 0.0, 0, out.data(), 0));
  EXPECT_EQ(kelErrNullPtr, call(e.data(), 1, 1.0, 1, nullptr, 5));
  EXPECT_EQ(kelErrLengthRange, call(e.data(), -1, 0.0, 0, out.data(), 0));
  EXPECT_EQ(kelErrLengthRange, call(e.data(), 1, 1.0, 1, out.data(), 4098));
  e[3] = -1;
  EXPECT_EQ(kelErrRange, call(e.data(), 1, 1.0, 1, out.data(), 5));
  EXPECT_EQ(kelOk, call(e.data(), 1, 1.0, 1, out.data(), 3));  // only the first K are read
  Canary<double> out2(5);
  e[3] = 100;
  EXPECT_EQ(kelErrRange, call(e.data(), -1, 1.0, 1, out2.data(), 5));
  EXPECT_EQ(kelErrRange, call(e.data(), 1, 0.0, 1, out2.data(), 5));
  EXPECT_EQ(kelErrRange, call(e.data(), 1, -1.0, 1, out2.data(), 5));
  EXPECT_EQ(kelErrRange, call(e.data(), 1, std::nan(""), 1, out2.data(), 5));
  EXPECT_EQ(kelErrRange, call(e.data(), 1, 1.0, 0, out2.data(), 5));
  EXPECT_TRUE(out2.untouched());
}

// ---- coefficient update ----

TEST(AecCoef, ZeroStepLeavesCoefficients) {
  Rng rng(3);
  Taps x(4, 33), h(4, 33);
  x.random(rng, INT32_MIN, INT32_MAX);
  h.random(rng, INT32_MIN, INT32_MAX);
  const auto before = h.data;
  std::vector<double> step(33, 0.0);
  std::vector<Kels32sc> err(33, Kels32sc{INT32_MAX, INT32_MIN});
  ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(step.data(), x.crows.data(), err.data(), h.rows.data(), 4, 33, 31));
  for (int j = 0; j < 4; ++j)
    for (int i = 0; i < 33; ++i) {
      EXPECT_EQ(before[std::size_t(j)][std::size_t(i)].re, h.data[std::size_t(j)][std::size_t(i)].re);
      EXPECT_EQ(before[std::size_t(j)][std::size_t(i)].im, h.data[std::size_t(j)][std::size_t(i)].im);
    }
}

TEST(AecCoef, UpdateAgainstReference) {
  Rng rng(11);
  for (int sf : {0, 1, 12, 30}) {
    const int taps = 3, len = 40;
    Taps x(taps, len), h(taps, len);
    x.random(rng, -5000, 5000);
    h.random(rng, -100000, 100000);
    const auto h0 = h.data;
    std::vector<double> step(static_cast<std::size_t>(len));
    std::vector<Kels32sc> err(static_cast<std::size_t>(len));
    for (int i = 0; i < len; ++i) {
      step[std::size_t(i)] = std::ldexp(double(rng.integer(0, 1000)), -40);  // exact products below
      err[std::size_t(i)] = {rng.integer(-3000, 3000), rng.integer(-3000, 3000)};
    }
    ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(step.data(), x.crows.data(), err.data(), h.rows.data(), taps,
                                                  len, sf));
    for (int j = 0; j < taps; ++j)
      for (int i = 0; i < len; ++i) {
        const Kels32sc xv = x.data[std::size_t(j)][std::size_t(i)], e = err[std::size_t(i)];
        const Ref mu = step[std::size_t(i)], g = std::ldexp(Ref(1), sf);
        // mu e conj(x): conj(x) = x.re - i x.im.
        const Ref ure = mu * (Ref(e.re) * xv.re + Ref(e.im) * xv.im) * g;
        const Ref uim = mu * (Ref(e.im) * xv.re - Ref(e.re) * xv.im) * g;
        const Kels32sc old = h0[std::size_t(j)][std::size_t(i)];
        ASSERT_EQ(refScaleRound<std::int32_t>(old.re + ure, 0), h.data[std::size_t(j)][std::size_t(i)].re);
        ASSERT_EQ(refScaleRound<std::int32_t>(old.im + uim, 0), h.data[std::size_t(j)][std::size_t(i)].im);
      }
  }
}

TEST(AecCoef, Sf31FlipsTheSign) {
  Taps x(1, 1), h30(1, 1), h31(1, 1);
  x.data[0][0] = {3, 0};
  const Kels32sc err = {1, 0};
  const double step = std::ldexp(1.0, -31);  // u = 3 * 2^-31 * g
  ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(&step, x.crows.data(), &err, h30.rows.data(), 1, 1, 30));
  ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(&step, x.crows.data(), &err, h31.rows.data(), 1, 1, 31));
  EXPECT_EQ(2, h30.data[0][0].re);  // 1.5 rounds to even
  EXPECT_EQ(-3, h31.data[0][0].re);
}

TEST(AecCoef, SaturatesTheUpdateThenTheSum) {
  Taps x(1, 2), h(1, 2);
  x.set(0, {{INT32_MAX, 0}, {INT32_MAX, 0}});
  h.set(0, {{-1000, 0}, {INT32_MAX - 5, 0}});
  const std::vector<Kels32sc> err = {{INT32_MAX, 0}, {1, 0}};
  const std::vector<double> step = {1.0, 1.0};
  ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(step.data(), x.crows.data(), err.data(), h.rows.data(), 1, 2, 10));
  // u = 2^62 * 2^10 saturates to 2^31 - 1 first, then -1000 is added.
  EXPECT_EQ(INT32_MAX - 1000, h.data[0][0].re);
  EXPECT_EQ(INT32_MAX, h.data[0][1].re);
}

TEST(AecCoef, InfiniteStepWithZeroProductLeavesTheCoefficient) {
  Taps x(1, 1), h(1, 1);
  x.data[0][0] = {0, 0};
  h.data[0][0] = {77, -77};
  const Kels32sc err = {5, 5};
  const double step = std::numeric_limits<double>::infinity();
  ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(&step, x.crows.data(), &err, h.rows.data(), 1, 1, 0));
  EXPECT_EQ(77, h.data[0][0].re);
  EXPECT_EQ(-77, h.data[0][0].im);
}

TEST(AecCoef, CheckOrderWritesNothing) {
  Taps x(2, 4), h(2, 4);
  for (auto& row : h.data)
    for (auto& v : row) v = {12345, -12345};
  const auto before = h.data;
  std::vector<double> step(4, 1e-3);
  std::vector<Kels32sc> err(4, Kels32sc{100, 100});
  for (auto& row : x.data)
    for (auto& v : row) v = {1000, 1000};
  const auto call = [&](const double* s, const Kels32sc** xp, const Kels32sc* e, Kels32sc** hp, int t, int k,
                        int sf) { return kelsCoefUpdateAECNLMS_32sc_I(s, xp, e, hp, t, k, sf); };
  EXPECT_EQ(kelErrNullPtr, call(nullptr, x.crows.data(), err.data(), h.rows.data(), 0, 0, -1));
  EXPECT_EQ(kelErrNullPtr, call(step.data(), nullptr, err.data(), h.rows.data(), 2, 4, 0));
  EXPECT_EQ(kelErrNullPtr, call(step.data(), x.crows.data(), nullptr, h.rows.data(), 2, 4, 0));
  EXPECT_EQ(kelErrNullPtr, call(step.data(), x.crows.data(), err.data(), nullptr, 2, 4, 0));
  EXPECT_EQ(kelErrLengthRange, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 0, 0, -1));
  EXPECT_EQ(kelErrLengthRange, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4098, 0));
  EXPECT_EQ(kelErrRange, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 256, 4, 0));
  EXPECT_EQ(kelErrRange, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4, -1));
  EXPECT_EQ(kelErrRange, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4, 32));
  step[3] = -0.0;  // not below zero: fine
  step[2] = -1e-300;
  EXPECT_EQ(kelErrSize, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4, 0));
  step[2] = std::nan("");
  EXPECT_EQ(kelErrSize, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4, 0));
  step[2] = 1e-3;
  h.rows[1] = nullptr;
  EXPECT_EQ(kelErrNullPtr, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4, 0));
  h.rows[1] = h.data[1].data();
  for (int j = 0; j < 2; ++j)
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(before[std::size_t(j)][std::size_t(i)].re, h.data[std::size_t(j)][std::size_t(i)].re);
      EXPECT_EQ(before[std::size_t(j)][std::size_t(i)].im, h.data[std::size_t(j)][std::size_t(i)].im);
    }
  EXPECT_EQ(kelOk, call(step.data(), x.crows.data(), err.data(), h.rows.data(), 2, 4, 0));
}

}  // namespace

// ---- targets ----

namespace {

using kels::test::forEachTarget;

// Filter and coefficient update on every target this processor has, against the scalar
// target, bit for bit: odd and even lengths (the wide kernels pair subbands), blocks beyond the
// accumulator block, misaligned rows, saturating and clamping values.
TEST(AecTargets, SameBitsOnEveryTarget) {
  for (int len : {1, 2, 3, 7, 8, 129, 255, 256, 257, 513}) {
    Rng rng{std::uint32_t(len)};
    const int taps = 5;
    // Rows one element past an allocation's start, so they are 8 bytes off 16-byte alignment.
    std::vector<std::vector<Kels32sc>> xs(taps, std::vector<Kels32sc>(std::size_t(len) + 1)), hs = xs;
    std::vector<const Kels32sc*> x(taps);
    for (int j = 0; j < taps; ++j) {
      for (auto& v : xs[std::size_t(j)]) v = {rng.integer(INT32_MIN, INT32_MAX), rng.integer(INT32_MIN, INT32_MAX)};
      for (auto& v : hs[std::size_t(j)]) v = {rng.integer(-(1 << 28), 1 << 28), rng.integer(-(1 << 28), 1 << 28)};
      x[std::size_t(j)] = xs[std::size_t(j)].data() + 1;
    }
    std::vector<Kels32sc> err(static_cast<std::size_t>(len));
    std::vector<double> step(static_cast<std::size_t>(len));
    for (int i = 0; i < len; ++i) {
      err[std::size_t(i)] = {rng.integer(INT32_MIN, INT32_MAX), rng.integer(-1000, 1000)};
      step[std::size_t(i)] = i % 5 == 0 ? 0.0 : std::ldexp(rng.uniform(0, 1), -rng.integer(30, 70));
    }
    std::vector<std::vector<Kels32sc>> refOut, refCoef;
    forEachTarget([&](kels::Target) {
      std::vector<std::vector<Kels32sc>> h = hs;
      std::vector<Kels32sc*> hp(taps);
      for (int j = 0; j < taps; ++j) hp[std::size_t(j)] = h[std::size_t(j)].data() + 1;
      std::vector<Kels32sc> out(static_cast<std::size_t>(len));
      for (int sf : {-31, 0, 20}) {
        ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.data(), const_cast<const Kels32sc**>(hp.data()), out.data(),
                                                    taps, len, sf));
        if (refOut.size() < 3) {
          refOut.push_back(out);
        } else {
          const auto& r = refOut[std::size_t(sf == -31 ? 0 : sf == 0 ? 1 : 2)];
          ASSERT_EQ(0, std::memcmp(r.data(), out.data(), out.size() * sizeof(Kels32sc))) << len << " sf " << sf;
        }
      }
      for (int sf : {0, 17, 31}) {
        ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(step.data(), x.data(), err.data(), hp.data(), taps, len, sf));
      }
      std::vector<Kels32sc> flat;
      for (const auto& row : h) flat.insert(flat.end(), row.begin(), row.end());
      if (refCoef.empty()) {
        refCoef.push_back(flat);
      } else {
        ASSERT_EQ(0, std::memcmp(refCoef[0].data(), flat.data(), flat.size() * sizeof(Kels32sc))) << len;
      }
    });
  }
}

}  // namespace
