// Model update: occupations, floors, warnings, the Gaussian constant, precalculation and
// weighted sums, against long-double references and the bit patterns callers rely on.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "support/canary.h"
#include "support/reference.h"
#include "support/rng.h"

namespace kels::test {
namespace {

template <class T> std::uint64_t bitsOf(T x) { std::uint64_t b = 0; std::memcpy(&b, &x, sizeof x); return b; }

template <class T> struct Ops;
template <> struct Ops<float> {
  static constexpr float kMinNormal = 1.1754943508222875e-38f;
  static constexpr std::uint64_t kNaN = 0xFFC00000u, kInf = 0x7F800000u, kNegInf = 0xFF800000u;
  static constexpr auto* mean = &kelsUpdateMean_32f;
  static constexpr auto* var = &kelsUpdateVar_32f;
  static constexpr auto* weight = &kelsUpdateWeight_32f;
  static constexpr auto* gconst = &kelsUpdateGConst_32f;
  static constexpr auto* gconstDirect = &kelsUpdateGConst_DirectVar_32f;
  static constexpr auto* sum = &kelsWeightedSum_32f;
  static constexpr auto* half = &kelsWeightedSumHalf_32f;
};
template <> struct Ops<double> {
  static constexpr double kMinNormal = 2.2250738585072014e-308;
  static constexpr std::uint64_t kNaN = 0xFFF8000000000000u, kInf = 0x7FF0000000000000u,
                                 kNegInf = 0xFFF0000000000000u;
  static constexpr auto* mean = &kelsUpdateMean_64f;
  static constexpr auto* var = &kelsUpdateVar_64f;
  static constexpr auto* weight = &kelsUpdateWeight_64f;
  static constexpr auto* gconst = &kelsUpdateGConst_64f;
  static constexpr auto* gconstDirect = &kelsUpdateGConst_DirectVar_64f;
  static constexpr auto* sum = &kelsWeightedSum_64f;
  static constexpr auto* half = &kelsWeightedSumHalf_64f;
};

template <class T> class Update : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Update, Reals);

// Occupations: negative or NaN is an error, -0.0 and magnitudes not above the smallest normal a
// warning; either way nothing is written.
TYPED_TEST(Update, MeanIsAddedToAndOccupationsAreChecked) {
  using T = TypeParam;
  using O = Ops<T>;
  const T acc[3] = {3, -6, 1.5};
  T mean[3] = {1, 1, 1};
  ASSERT_EQ(kelOk, O::mean(acc, mean, 3, T(3)));
  EXPECT_EQ(mean[0], T(1) + T(3) * (T(1) / T(3)));
  EXPECT_NEAR(mean[1], T(-1), 1e-6);
  EXPECT_NEAR(mean[2], T(1.5), 1e-6);
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const std::pair<T, KelsStatus> occupations[] = {
      {T(-1), kelErrNegArg}, {-nan, kelErrNegArg}, {nan, kelErrNegArg}, {T(0), kelWarnZeroDivisor},
      {T(-0.0), kelWarnZeroDivisor}, {O::kMinNormal, kelWarnZeroDivisor}, {O::kMinNormal / 4, kelWarnZeroDivisor}};
  for (const auto& [occ, status] : occupations) {
    Canary<T> c(3);
    EXPECT_EQ(status, O::mean(acc, c.data(), 3, occ)) << occ;
    EXPECT_TRUE(c.untouched());
  }
  EXPECT_EQ(kelErrNullPtr, O::mean(nullptr, mean, 0, T(-1)));
  EXPECT_EQ(kelErrSize, O::mean(acc, mean, 0, T(-1)));
  EXPECT_EQ(kelOk, O::mean(acc, mean, 3, O::kMinNormal * 2));
}

TYPED_TEST(Update, VarianceFloorsAtOrBelowAndWarnsWhenAllFloored) {
  using T = TypeParam;
  using O = Ops<T>;
  Rng rng(1);
  const int len = 37;
  const auto a1 = rng.uniformVec<T>(len, -20, 20), a2 = rng.uniformVec<T>(len, 0, 60), fl = rng.uniformVec<T>(len, 0, 2);
  std::vector<T> v(len);
  const T occ1 = T(12.5), occ2 = T(11);
  int floored = 0;
  ASSERT_EQ(kelOk, O::var(a1.data(), a2.data(), fl.data(), v.data(), len, occ1, occ2));
  for (int k = 0; k < len; ++k) {
    const Ref mu = Ref(a1[k]) / occ1, want = Ref(a2[k]) / occ2 - mu * mu;
    if (want > Ref(fl[k]) + 1e-5L) EXPECT_NEAR(double(v[k]), double(want), 1e-5) << k;
    else if (want < Ref(fl[k]) - 1e-5L) { EXPECT_EQ(v[k], fl[k]) << k; ++floored; }
  }
  EXPECT_GT(floored, 0);
  // Equality floors: a variance of exactly 1 against a floor of 1; a NaN variance takes the floor.
  const T e1[2] = {0, 0}, e2[2] = {2, 4}, f1[2] = {1, 2}, f2[2] = {T(0.5), T(2)};
  const T inf[1] = {std::numeric_limits<T>::infinity()};
  T out[2];
  EXPECT_EQ(kelWarnAllFloored, O::var(e1, e2, f1, out, 2, T(2), T(2)));
  EXPECT_TRUE(out[0] == T(1) && out[1] == T(2));
  EXPECT_EQ(kelOk, O::var(e1, e2, f2, out, 2, T(2), T(2)));
  EXPECT_EQ(out[0], T(1));
  EXPECT_EQ(kelWarnAllFloored, O::var(inf, inf, f1, out, 1, T(1), T(1)));
  EXPECT_EQ(out[0], T(1));
  // Each occupation: sign first (both), then magnitude.
  Canary<T> c(2);
  EXPECT_EQ(kelErrNegArg, O::var(e1, e2, f1, c.data(), 2, T(0), T(-1)));
  EXPECT_EQ(kelWarnZeroDivisor, O::var(e1, e2, f1, c.data(), 2, T(1), T(-0.0)));
  EXPECT_EQ(kelWarnZeroDivisor, O::var(e1, e2, f1, c.data(), 2, T(0), T(1)));
  EXPECT_EQ(kelErrNullPtr, O::var(e1, e2, nullptr, c.data(), 2, T(1), T(1)));
  EXPECT_TRUE(c.untouched());
}

TYPED_TEST(Update, WeightsFloorAndReportTheirSum) {
  using T = TypeParam;
  using O = Ops<T>;
  const T acc[4] = {5, 3, T(0.01), 2};
  T w[4], sum = 0, s2 = 7;
  ASSERT_EQ(kelOk, O::weight(acc, w, 4, &sum, T(10), T(0.01)));
  EXPECT_EQ(w[0], T(5) * (T(1) / T(10)));
  EXPECT_EQ(w[2], T(0.01));                       // 0.001 below the floor
  EXPECT_EQ(sum, ((w[0] + w[1]) + w[2]) + w[3]);  // the sum as written, in order, not renormalised
  EXPECT_EQ(kelWarnAllFloored, O::weight(acc, w, 4, &sum, T(10), T(1)));
  EXPECT_EQ(sum, T(4));
  Canary<T> c(4);
  EXPECT_EQ(kelErrNullPtr, O::weight(acc, c.data(), 4, nullptr, T(-1), T(0)));
  EXPECT_EQ(kelErrNegArg, O::weight(acc, c.data(), 4, &s2, T(-1), T(0)));
  EXPECT_EQ(kelWarnZeroDivisor, O::weight(acc, c.data(), 4, &s2, T(-0.0), T(0)));
  EXPECT_TRUE(c.untouched() && s2 == T(7));
}

TYPED_TEST(Update, GaussianConstantUsesTheStoredLn2Pi) {
  using T = TypeParam;
  using O = Ops<T>;
  const T ones[2] = {1, 1}, z[3] = {1, 0, -1}, n[3] = {1, -1, 0};
  const T nan[1] = {std::numeric_limits<T>::quiet_NaN()}, inf[1] = {std::numeric_limits<T>::infinity()};
  T g = 0;
  ASSERT_EQ(kelOk, O::gconstDirect(ones, 2, &g));
  EXPECT_EQ(g, T(2 * 1.8378770664093));
  Rng rng(2);
  const auto var = rng.uniformVec<T>(39, 0.01, 30);
  std::vector<T> inv(39);
  Ref want = 39 * 1.8378770664093L;
  for (int k = 0; k < 39; ++k) {
    inv[k] = T(1) / var[k];
    want += std::log(Ref(var[k]));
  }
  const double tol = std::is_same_v<T, float> ? 2e-5 : 1e-12;
  ASSERT_EQ(kelOk, O::gconstDirect(var.data(), 39, &g));
  EXPECT_NEAR(double(g), double(want), tol);
  ASSERT_EQ(kelOk, O::gconst(inv.data(), 39, &g));
  EXPECT_NEAR(double(g), double(want), tol);
  // The first zero or negative element decides: +inf with warning 7, NaN with warning 8.
  const struct { const T* v; int len; bool direct; KelsStatus status; std::uint64_t bits; } cases[] = {
      {z, 3, false, kelWarnInfResult, O::kInf}, {z, 3, true, kelWarnInfResult, O::kInf},
      {n, 3, true, kelWarnNaNResult, O::kNaN}, {nan, 1, false, kelWarnNaNResult, O::kNaN},
      {inf, 1, true, kelWarnInfResult, O::kInf}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.status, (c.direct ? O::gconstDirect : O::gconst)(c.v, c.len, &g)) << c.v[0];
    EXPECT_EQ(bitsOf(g), c.bits) << c.v[0];
  }
}

TYPED_TEST(Update, WeightedSumsNormaliseOrTakeTheSign) {
  using T = TypeParam;
  using O = Ops<T>;
  const T x1[4] = {2, -1, 0, 3}, x2[4] = {4, 1, 0, 3};
  T d[4];
  ASSERT_EQ(kelOk, O::sum(x1, x2, d, 4, T(1), T(3)));
  EXPECT_EQ(d[0], T(2) * (T(1) * T(0.25)) + T(4) * (T(3) * T(0.25)));
  ASSERT_EQ(kelOk, O::half(x1, x2, d, 4, T(1), T(3)));
  EXPECT_EQ(d[0], T(2) * T(0.25) + T(4) * T(0.75));
  // w1 + w2 = 0: +inf, -inf, NaN by the sign of x1*w1 + x2*w2 (2 - 4, -1 - 1, 0, 3 - 3).
  ASSERT_EQ(kelWarnZeroWeightSum, O::sum(x1, x2, d, 4, T(1), T(-1)));
  EXPECT_EQ((std::vector<std::uint64_t>{bitsOf(d[0]), bitsOf(d[1]), bitsOf(d[2]), bitsOf(d[3])}),
            (std::vector<std::uint64_t>{O::kNegInf, O::kNegInf, O::kNaN, O::kNaN}));
  // Half: the sign of x1 + x2*w2.
  ASSERT_EQ(kelWarnZeroWeightSum, O::half(x1, x2, d, 4, T(1), T(-1)));
  EXPECT_TRUE(bitsOf(d[0]) == O::kNegInf && bitsOf(d[3]) == O::kNaN);
  ASSERT_EQ(kelWarnZeroWeightSum, O::half(x1, x2, d, 4, T(-2), T(2)));
  EXPECT_EQ(bitsOf(d[0]), O::kInf);  // 2 + 8
}

TEST(WeightedSum16s, ComputesInFloatClampsAndTruncates) {
  using V = std::vector<Kels16s>;
  const Kels16s x1[4] = {100, -100, 32000, 7}, x2[4] = {1, 1, 32000, 8};
  Kels16s d[4];
  ASSERT_EQ(kelOk, kelsWeightedSum_16s(x1, x2, d, 4, 0.5f, 0.5f));
  EXPECT_EQ(V(d, d + 4), (V{50, -49, 32000, 7}));  // 50.5 and -49.5 truncated toward zero
  ASSERT_EQ(kelOk, kelsWeightedSum_16s(x1, x2, d, 4, 1.5f, 0.5f));
  EXPECT_EQ(d[2], 32000);
  ASSERT_EQ(kelOk, kelsWeightedSumHalf_16s(x1, x2, d, 4, 0.25f, 0.25f));
  EXPECT_TRUE(d[0] == 200 && d[2] == 32767);  // 100*2 + 1*(0.25*2) = 200.5, truncated; clamped
  ASSERT_EQ(kelOk, kelsWeightedSum_16s(x1, x2, d, 4, -1.0f, 2.0f));
  EXPECT_EQ(d[2], 32000);
  ASSERT_EQ(kelOk, kelsWeightedSumHalf_16s(x1, x2, d, 4, -0.5f, 1.0f));
  EXPECT_TRUE(d[1] == -198 && d[2] == 32767);  // r = 2: -100*2 + 1*(1*2)
  ASSERT_EQ(kelWarnZeroWeightSum, kelsWeightedSum_16s(x1, x2, d, 4, 2.0f, -2.0f));
  EXPECT_EQ(V(d, d + 4), (V{32767, -32768, 0, -32768}));
}

TEST(OutProbPreCalc, HalvesTheSecondVectorAndTheIntegerShiftWraps) {
  const float a[3] = {1, 2, 3}, b[3] = {4, -1, 0.5f};
  float d[3], bi[3] = {4, -1, 0.5f};
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32f(a, b, d, 3));
  EXPECT_TRUE(d[0] == -1.0f && d[1] == 2.5f && d[2] == 2.75f);
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32f_I(a, bi, 3));
  EXPECT_EQ(0, std::memcmp(d, bi, sizeof d));
  const double ad[2] = {1, 1}, bd[2] = {1e300, 3};
  double dd[2], bdi[2] = {1e300, 3};
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_64f(ad, bd, dd, 2));
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_64f_I(ad, bdi, 2));
  EXPECT_TRUE(dd[1] == -0.5 && dd[0] == bdi[0] && dd[1] == bdi[1]);
  // -3 >> 1 = -2; results below -2^31 and above 2^31 - 1 wrap.
  const Kels32s ai[5] = {10, 10, INT32_MIN, INT32_MAX, 0}, bs[5] = {-3, 3, 2, -2, INT32_MIN};
  Kels32s di[5], bsi[5] = {-3, 3, 2, -2, INT32_MIN};
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32s(ai, bs, di, 5));
  EXPECT_EQ(std::vector<Kels32s>(di, di + 5), (std::vector<Kels32s>{12, 9, INT32_MAX, INT32_MIN, 1 << 30}));
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32s_I(ai, bsi, 5));
  EXPECT_EQ(0, std::memcmp(di, bsi, sizeof di));
}

}  // namespace
}  // namespace kels::test
