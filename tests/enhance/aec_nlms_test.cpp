// Subband NLMS filter: the stated rounding examples, complex products against a long double
// reference, the accumulator clamp, the step-size branches and the coefficient update's sign
// quirk, and every check order with nothing written on failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
  void random(Rng& rng, int lo, int hi) {
    for (auto& row : data)
      for (auto& v : row) v = {rng.integer(lo, hi), rng.integer(lo, hi)};
  }
  std::vector<std::int32_t> flat() const {
    std::vector<std::int32_t> v;
    for (const auto& row : data)
      for (const auto& c : row) v.insert(v.end(), {c.re, c.im});
    return v;
  }
  std::vector<std::vector<Kels32sc>> data;
  std::vector<Kels32sc*> rows;
  std::vector<const Kels32sc*> crows;
};

TEST(AecFilter, RoundsTiesToEvenAndClampsTheAccumulator) {
  Taps x(1, 6), h(1, 6);
  x.data[0] = {{3, 5}, {-3, -5}, {7, 1}, {INT32_MAX, INT32_MIN}, {0, 0}, {1, -1}};
  h.data[0].assign(6, {1, 0});
  // sf = 0 copies; sf = 1 takes 1.5, 2.5, 3.5, 0.5 to the even neighbour; a negative sf
  // multiplies and saturates.
  const std::pair<int, std::vector<std::int32_t>> cases[] = {
      {0, x.flat()},
      {1, {2, 2, -2, -2, 4, 0, 1 << 30, -(1 << 30), 0, 0, 0, 0}},
      {-1, {6, 10, -6, -10, 14, 2, INT32_MAX, INT32_MIN, 0, 0, 2, -2}}};
  for (const auto& [sf, expected] : cases) {
    Taps out(1, 6);
    ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.rows[0], 1, 6, sf));
    EXPECT_EQ(expected, out.flat()) << "sf " << sf;
  }
  // The first two taps add 2^63 - 2^31 each to the real part, the third takes as much away:
  // clamped at 2^63 after every addition the sum ends at 2^31 (1 after sf = 31), otherwise it
  // would saturate.
  Taps a(3, 1), b(3, 1), out(1, 1);
  for (auto& row : a.data) row[0] = {INT32_MIN, INT32_MIN};
  b.data[0][0] = b.data[1][0] = {INT32_MIN, INT32_MAX};
  b.data[2][0] = {INT32_MAX, INT32_MIN};
  ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(a.crows.data(), b.crows.data(), out.rows[0], 3, 1, 31));
  EXPECT_EQ(1, out.data[0][0].re);
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

TEST(AecFilter, CheckOrderWritesNothing) {
  // Pointers, then the length K, then the tap count and sf, then the tap rows.
  Taps x(2, 4), h(2, 4);
  Canary<Kels32sc> out(4);
  const auto call = [&](const Kels32sc** xp, int t, int k, int sf) {
    return kelsFilterAECNLMS_32sc_Sfs(xp, h.crows.data(), out.data(), t, k, sf);
  };
  EXPECT_EQ(kelErrNullPtr, call(nullptr, 0, 0, 99));
  EXPECT_EQ(kelErrLengthRange, call(x.crows.data(), 0, 0, 99));
  EXPECT_EQ(kelErrLengthRange, call(x.crows.data(), 2, 4098, 0));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), 0, 4, 0));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), 256, 4, 0));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), 2, 4, 32));
  EXPECT_EQ(kelErrRange, call(x.crows.data(), 2, 4, -32));
  x.crows[1] = nullptr;  // a missing tap row
  EXPECT_EQ(kelErrNullPtr, call(x.crows.data(), 2, 4, 0));
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(kelOk, call(x.crows.data(), 1, 4, 0));  // row 1 unused
}

TEST(AecStep, BranchesScalingAndStatedEdges) {
  const double unit = std::numeric_limits<double>::denorm_min(), inf = std::numeric_limits<double>::infinity();
  // With a = 2^30 (one half): 0.5 / E * 2^-sf above the threshold 1000, mu0 * 2^-(sf + 92) at
  // or below it.
  const struct { const char* what; std::int32_t energy, a; double mu0; int sf; double expected; } rows[] = {
      {"E = threshold takes the quiet branch", 1000, 1 << 30, 0.75, 3, std::ldexp(0.75, -95)},
      {"E = 0", 0, 1 << 30, 0.75, 3, std::ldexp(0.75, -95)},
      {"loud", 1001, 1 << 30, 0.75, 3, 0.5 / 1001 / 8},
      {"a negative sf doubles", 1001, 1 << 30, 0.75, -10, 0.5 / 1001 * 1024},
      {"a = 0, loud", 1001, 0, 0.75, 3, 0.0},
      {"a = 0, quiet", 1000, 0, 0.75, 3, 0.0},
      // 11 units of the smallest subnormal halved three times one by one (92 halvings: 89 exact,
      // then three): 5.5 -> 6, 3, 1.5 -> 2. A single scaling by 1/8 would round 1.375 to 1.
      {"repeated halving", 0, 1 << 30, std::ldexp(11.0, -1074 + 89), 0, 2 * unit},
      // Large exponents end at 0 (halving) or infinity (doubling) without running for ever.
      {"sf = INT32_MAX", 0, 1 << 30, 1.0, INT32_MAX, 0.0},
      {"sf = INT32_MIN", 1001, INT32_MAX, 1.0, INT32_MIN, inf},
      {"sf = 1000", 1001, INT32_MAX, 1.0, 1000, std::ldexp(double(INT32_MAX) / 2147483648.0 / 1001, -1000)},
  };
  for (const auto& r : rows) {
    double step = -1;
    ASSERT_EQ(kelOk, kelsStepSizeUpdateAECNLMS_32s(&r.energy, r.a, r.mu0, 1000, &step, 1, r.sf)) << r.what;
    EXPECT_EQ(r.expected, step) << r.what;
  }
}

TEST(AecStep, CheckOrderWritesNothing) {
  std::vector<std::int32_t> e(5, 100);
  Canary<double> out(5);
  const auto call = [&](const std::int32_t* ep, std::int32_t a, double mu, std::int32_t th, double* o, int k) {
    return kelsStepSizeUpdateAECNLMS_32s(ep, a, mu, th, o, k, 0);
  };
  EXPECT_EQ(kelErrNullPtr, call(nullptr, -1, 0.0, 0, out.data(), 0));
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

TEST(AecCoef, UpdateAgainstReference) {
  Rng rng(11);
  for (int sf : {0, 1, 12, 30}) {
    const std::size_t taps = 3, len = 40;
    Taps x(taps, len), h(taps, len);
    x.random(rng, -5000, 5000);
    h.random(rng, -100000, 100000);
    const auto h0 = h.data;
    std::vector<double> step;
    std::vector<Kels32sc> err;
    for (std::size_t i = 0; i < len; ++i) {
      step.push_back(std::ldexp(double(rng.integer(0, 1000)), -40));  // exact products below
      err.push_back({rng.integer(-3000, 3000), rng.integer(-3000, 3000)});
    }
    ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(step.data(), x.crows.data(), err.data(), h.rows.data(), int(taps),
                                                  int(len), sf));
    for (std::size_t j = 0; j < taps; ++j)
      for (std::size_t i = 0; i < len; ++i) {  // h + mu e conj(x) 2^sf
        const Kels32sc xv = x.data[j][i], e = err[i], old = h0[j][i];
        const Ref g = step[i] * std::ldexp(Ref(1), sf);
        ASSERT_EQ(refScaleRound<std::int32_t>(old.re + g * (Ref(e.re) * xv.re + Ref(e.im) * xv.im), 0), h.data[j][i].re);
        ASSERT_EQ(refScaleRound<std::int32_t>(old.im + g * (Ref(e.im) * xv.re - Ref(e.re) * xv.im), 0), h.data[j][i].im);
      }
  }
}

TEST(AecCoef, StatedEdges) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct { const char* what; Kels32sc x, h, err; double step; int sf; Kels32sc expected; } rows[] = {
      {"zero step, extreme values", {INT32_MAX, INT32_MIN}, {77, -77}, {INT32_MAX, INT32_MIN}, 0.0, 31, {77, -77}},
      {"infinite step, zero product", {0, 0}, {77, -77}, {5, 5}, inf, 0, {77, -77}},
      {"u = 1.5 rounds to even", {3, 0}, {0, 0}, {1, 0}, std::ldexp(1.0, -31), 30, {2, 0}},
      {"sf = 31 flips the sign", {3, 0}, {0, 0}, {1, 0}, std::ldexp(1.0, -31), 31, {-3, 0}},
      // u = 2^62 * 2^10 saturates to 2^31 - 1 first, then -1000 is added.
      {"update saturates first", {INT32_MAX, 0}, {-1000, 0}, {INT32_MAX, 0}, 1.0, 10, {INT32_MAX - 1000, 0}},
      {"then the sum", {INT32_MAX, 0}, {INT32_MAX - 5, 0}, {1, 0}, 1.0, 10, {INT32_MAX, 0}},
  };
  for (const auto& r : rows) {
    Taps x(1, 1), h(1, 1);
    x.data[0][0] = r.x;
    h.data[0][0] = r.h;
    ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(&r.step, x.crows.data(), &r.err, h.rows.data(), 1, 1, r.sf));
    EXPECT_EQ((std::vector<std::int32_t>{r.expected.re, r.expected.im}), h.flat()) << r.what;
  }
}

TEST(AecCoef, CheckOrderWritesNothing) {
  // Pointers, then the length, the tap count and sf, the steps (kelErrSize), the tap rows.
  Taps x(2, 4), h(2, 4);
  for (auto& row : h.data)
    for (auto& v : row) v = {12345, -12345};
  const auto before = h.flat();
  std::vector<double> step(4, 1e-3);
  std::vector<Kels32sc> err(4, Kels32sc{100, 100});
  const auto call = [&](const double* s, Kels32sc** hp, int t, int k, int sf) {
    return kelsCoefUpdateAECNLMS_32sc_I(s, x.crows.data(), err.data(), hp, t, k, sf);
  };
  EXPECT_EQ(kelErrNullPtr, call(nullptr, h.rows.data(), 0, 0, -1));
  EXPECT_EQ(kelErrNullPtr, call(step.data(), nullptr, 2, 4, 0));
  EXPECT_EQ(kelErrLengthRange, call(step.data(), h.rows.data(), 0, 0, -1));
  EXPECT_EQ(kelErrLengthRange, call(step.data(), h.rows.data(), 2, 4098, 0));
  EXPECT_EQ(kelErrRange, call(step.data(), h.rows.data(), 256, 4, 0));
  EXPECT_EQ(kelErrRange, call(step.data(), h.rows.data(), 2, 4, -1));
  EXPECT_EQ(kelErrRange, call(step.data(), h.rows.data(), 2, 4, 32));
  step[3] = -0.0;  // not below zero: fine
  for (double bad : {-1e-300, std::nan("")}) {
    step[2] = bad;
    EXPECT_EQ(kelErrSize, call(step.data(), h.rows.data(), 2, 4, 0)) << bad;
  }
  step[2] = 1e-3;
  h.rows[1] = nullptr;
  EXPECT_EQ(kelErrNullPtr, call(step.data(), h.rows.data(), 2, 4, 0));
  h.rows[1] = h.data[1].data();
  EXPECT_EQ(before, h.flat());
  EXPECT_EQ(kelOk, call(step.data(), h.rows.data(), 2, 4, 0));
}

// Filter and coefficient update on every target this processor has against the first (scalar)
// one, bit for bit: odd and even lengths (the wide kernels pair subbands), blocks beyond the
// accumulator block, rows 8 bytes off 16-byte alignment, saturating and clamping values.
TEST(AecTargets, SameBitsOnEveryTarget) {
  for (int len : {1, 2, 3, 7, 8, 129, 255, 256, 257, 513}) {
    Rng rng{std::uint32_t(len)};
    const int taps = 5;
    Taps x(taps, len + 1), h0(taps, len + 1);
    x.random(rng, INT32_MIN, INT32_MAX);
    h0.random(rng, -(1 << 28), 1 << 28);
    for (auto& row : x.crows) ++row;  // one element past the allocation's start
    std::vector<Kels32sc> err;
    std::vector<double> step;
    for (int i = 0; i < len; ++i) {
      err.push_back({rng.integer(INT32_MIN, INT32_MAX), rng.integer(-1000, 1000)});
      step.push_back(i % 5 == 0 ? 0.0 : std::ldexp(rng.uniform(0, 1), -rng.integer(30, 70)));
    }
    std::vector<std::int32_t> first;
    kels::test::forEachTarget([&](kels::Target t) {
      Taps h(taps, len + 1), out(1, len);
      for (std::size_t j = 0; j < std::size_t(taps); ++j) {
        std::copy(h0.data[j].begin(), h0.data[j].end(), h.data[j].begin());
        h.crows[j] = ++h.rows[j];
      }
      std::vector<std::int32_t> all;
      for (int sf : {-31, 0, 20}) {
        ASSERT_EQ(kelOk, kelsFilterAECNLMS_32sc_Sfs(x.crows.data(), h.crows.data(), out.rows[0], taps, len, sf));
        const auto o = out.flat();
        all.insert(all.end(), o.begin(), o.end());
      }
      for (int sf : {0, 17, 31})
        ASSERT_EQ(kelOk, kelsCoefUpdateAECNLMS_32sc_I(step.data(), x.crows.data(), err.data(), h.rows.data(), taps,
                                                      len, sf));
      const auto coef = h.flat();
      all.insert(all.end(), coef.begin(), coef.end());
      if (first.empty()) first = all;
      EXPECT_EQ(first, all) << kels::targetName(t) << " len " << len;
    });
  }
}

}  // namespace
