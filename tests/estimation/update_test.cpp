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

template <class T> std::uint64_t bitsOf(T x) {
  std::uint64_t b = 0;
  std::memcpy(&b, &x, sizeof x);
  return b;
}

template <class T> struct Ops;
template <> struct Ops<float> {
  static constexpr float kMinNormal = 1.1754943508222875e-38f;
  static KelsStatus mean(const float* a, float* m, int l, float o) { return kelsUpdateMean_32f(a, m, l, o); }
  static KelsStatus var(const float* a, const float* b, const float* f, float* v, int l, float o1, float o2) {
    return kelsUpdateVar_32f(a, b, f, v, l, o1, o2);
  }
  static KelsStatus weight(const float* a, float* w, int l, float* s, float o, float f) {
    return kelsUpdateWeight_32f(a, w, l, s, o, f);
  }
  static KelsStatus gconst(const float* v, int l, float* g) { return kelsUpdateGConst_32f(v, l, g); }
  static KelsStatus gconstDirect(const float* v, int l, float* g) { return kelsUpdateGConst_DirectVar_32f(v, l, g); }
  static constexpr std::uint64_t kNaN = 0xFFC00000u, kInf = 0x7F800000u, kNegInf = 0xFF800000u;
};
template <> struct Ops<double> {
  static constexpr double kMinNormal = 2.2250738585072014e-308;
  static KelsStatus mean(const double* a, double* m, int l, double o) { return kelsUpdateMean_64f(a, m, l, o); }
  static KelsStatus var(const double* a, const double* b, const double* f, double* v, int l, double o1, double o2) {
    return kelsUpdateVar_64f(a, b, f, v, l, o1, o2);
  }
  static KelsStatus weight(const double* a, double* w, int l, double* s, double o, double f) {
    return kelsUpdateWeight_64f(a, w, l, s, o, f);
  }
  static KelsStatus gconst(const double* v, int l, double* g) { return kelsUpdateGConst_64f(v, l, g); }
  static KelsStatus gconstDirect(const double* v, int l, double* g) { return kelsUpdateGConst_DirectVar_64f(v, l, g); }
  static constexpr std::uint64_t kNaN = 0xFFF8000000000000u, kInf = 0x7FF0000000000000u,
                                 kNegInf = 0xFFF0000000000000u;
};

template <class T> class Update : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Update, Reals);

TYPED_TEST(Update, MeanIsAddedToAndOccupationsAreChecked) {
  using T = TypeParam;
  using O = Ops<T>;
  const T acc[3] = {3, -6, 1.5};
  T mean[3] = {1, 1, 1};
  ASSERT_EQ(kelOk, O::mean(acc, mean, 3, T(3)));
  EXPECT_EQ(mean[0], T(1) + T(3) * (T(1) / T(3)));
  EXPECT_NEAR(mean[1], T(-1), 1e-6);
  EXPECT_NEAR(mean[2], T(1.5), 1e-6);
  const T bad[] = {T(-1), -std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::quiet_NaN()};
  const T zero[] = {T(0), T(-0.0), O::kMinNormal, O::kMinNormal / 4};
  for (T occ : bad) {
    Canary<T> c(3);
    EXPECT_EQ(kelErrNegArg, O::mean(acc, c.data(), 3, occ)) << occ;
    EXPECT_TRUE(c.untouched());
  }
  for (T occ : zero) {
    Canary<T> c(3);
    EXPECT_EQ(kelWarnZeroDivisor, O::mean(acc, c.data(), 3, occ)) << occ;
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
  std::vector<T> a1(len), a2(len), fl(len), v(len);
  const T occ1 = T(12.5), occ2 = T(11);
  int expectFloored = 0;
  for (int k = 0; k < len; ++k) {
    a1[k] = T(rng.uniform(-20, 20));
    a2[k] = T(rng.uniform(0, 60));
    fl[k] = T(rng.uniform(0, 2));
  }
  ASSERT_EQ(kelOk, O::var(a1.data(), a2.data(), fl.data(), v.data(), len, occ1, occ2));
  for (int k = 0; k < len; ++k) {
    const Ref mu = Ref(a1[k]) / occ1, want = Ref(a2[k]) / occ2 - mu * mu;
    if (want > Ref(fl[k]) + 1e-5L) EXPECT_NEAR(double(v[k]), double(want), 1e-5) << k;
    else if (want < Ref(fl[k]) - 1e-5L) { EXPECT_EQ(v[k], fl[k]) << k; ++expectFloored; }
  }
  EXPECT_GT(expectFloored, 0);
  // Equality floors: a variance of exactly 1 against a floor of 1.
  const T e1[2] = {0, 0}, e2[2] = {2, 4}, f1[2] = {1, 2};
  T out[2];
  EXPECT_EQ(kelWarnAllFloored, O::var(e1, e2, f1, out, 2, T(2), T(2)));
  EXPECT_EQ(out[0], T(1));
  EXPECT_EQ(out[1], T(2));
  const T f2[2] = {T(0.5), T(2)};
  EXPECT_EQ(kelOk, O::var(e1, e2, f2, out, 2, T(2), T(2)));
  EXPECT_EQ(out[0], T(1));
  // NaN variance takes the floor.
  const T n2[1] = {std::numeric_limits<T>::infinity()}, n1[1] = {std::numeric_limits<T>::infinity()};
  EXPECT_EQ(kelWarnAllFloored, O::var(n1, n2, f1, out, 1, T(1), T(1)));
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
  T w[4], sum = 0;
  ASSERT_EQ(kelOk, O::weight(acc, w, 4, &sum, T(10), T(0.01)));
  EXPECT_EQ(w[0], T(5) * (T(1) / T(10)));
  EXPECT_EQ(w[2], T(0.01));  // 0.001 below the floor
  EXPECT_EQ(sum, ((w[0] + w[1]) + w[2]) + w[3]);  // the sum as written, in order, not renormalised
  EXPECT_EQ(kelWarnAllFloored, O::weight(acc, w, 4, &sum, T(10), T(1)));
  EXPECT_EQ(sum, T(4));
  T s2 = 7;
  Canary<T> c(4);
  EXPECT_EQ(kelErrNullPtr, O::weight(acc, c.data(), 4, nullptr, T(-1), T(0)));
  EXPECT_EQ(kelErrNegArg, O::weight(acc, c.data(), 4, &s2, T(-1), T(0)));
  EXPECT_EQ(kelWarnZeroDivisor, O::weight(acc, c.data(), 4, &s2, T(-0.0), T(0)));
  EXPECT_TRUE(c.untouched());
  EXPECT_EQ(s2, T(7));
}

TYPED_TEST(Update, GaussianConstantUsesTheStoredLn2Pi) {
  using T = TypeParam;
  using O = Ops<T>;
  const long double kLn2Pi = 1.8378770664093L;
  const T ones[2] = {1, 1};
  T g = 0;
  ASSERT_EQ(kelOk, O::gconstDirect(ones, 2, &g));
  EXPECT_EQ(g, T(2 * 1.8378770664093));
  Rng rng(2);
  std::vector<T> var(39), inv(39);
  Ref s = 0;
  for (int k = 0; k < 39; ++k) {
    var[k] = T(rng.uniform(0.01, 30));
    inv[k] = T(1) / var[k];
    s += std::log(Ref(var[k]));
  }
  ASSERT_EQ(kelOk, O::gconstDirect(var.data(), 39, &g));
  EXPECT_NEAR(double(g), double(39 * kLn2Pi + s), (std::is_same_v<T, float> ? 2e-5 : 1e-12));
  ASSERT_EQ(kelOk, O::gconst(inv.data(), 39, &g));
  EXPECT_NEAR(double(g), double(39 * kLn2Pi + s), (std::is_same_v<T, float> ? 2e-5 : 1e-12));
  // The first zero or negative element decides.
  const T z[3] = {1, 0, -1}, n[3] = {1, -1, 0};
  EXPECT_EQ(kelWarnInfResult, O::gconst(z, 3, &g));
  EXPECT_EQ(bitsOf(g), O::kInf);
  EXPECT_EQ(kelWarnInfResult, O::gconstDirect(z, 3, &g));
  EXPECT_EQ(bitsOf(g), O::kInf);
  EXPECT_EQ(kelWarnNaNResult, O::gconstDirect(n, 3, &g));
  EXPECT_EQ(bitsOf(g), O::kNaN);
  const T nan[1] = {std::numeric_limits<T>::quiet_NaN()};
  EXPECT_EQ(kelWarnNaNResult, O::gconst(nan, 1, &g));
  EXPECT_EQ(bitsOf(g), O::kNaN);
  const T inf[1] = {std::numeric_limits<T>::infinity()};
  EXPECT_EQ(kelWarnInfResult, O::gconstDirect(inf, 1, &g));
  EXPECT_EQ(kelErrNullPtr, O::gconst(ones, 0, nullptr));
  EXPECT_EQ(kelErrSize, O::gconst(ones, 0, &g));
}

TEST(OutProbPreCalc, HalvesTheSecondVector) {
  const float a[3] = {1, 2, 3}, b[3] = {4, -1, 0.5f};
  float d[3], bi[3] = {4, -1, 0.5f};
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32f(a, b, d, 3));
  EXPECT_EQ(d[0], -1.0f);
  EXPECT_EQ(d[1], 2.5f);
  EXPECT_EQ(d[2], 2.75f);
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32f_I(a, bi, 3));
  EXPECT_EQ(0, std::memcmp(d, bi, sizeof d));
  const double ad[2] = {1, 1}, bd[2] = {1e300, 3};
  double dd[2], bdi[2] = {1e300, 3};
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_64f(ad, bd, dd, 2));
  EXPECT_EQ(dd[1], -0.5);
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_64f_I(ad, bdi, 2));
  EXPECT_EQ(dd[0], bdi[0]);
  EXPECT_EQ(kelErrNullPtr, kelsOutProbPreCalc_64f_I(ad, nullptr, 0));
  EXPECT_EQ(kelErrSize, kelsOutProbPreCalc_32f(a, b, d, 0));
}

TEST(OutProbPreCalc, IntegerShiftRoundsDownAndWraps) {
  const Kels32s a[5] = {10, 10, INT32_MIN, INT32_MAX, 0};
  const Kels32s b[5] = {-3, 3, 2, -2, INT32_MIN};
  Kels32s d[5], bi[5];
  std::memcpy(bi, b, sizeof b);
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32s(a, b, d, 5));
  EXPECT_EQ(d[0], 12);          // -3 >> 1 = -2
  EXPECT_EQ(d[1], 9);
  EXPECT_EQ(d[2], INT32_MAX);   // wraps below -2^31
  EXPECT_EQ(d[3], INT32_MIN);   // wraps above 2^31 - 1
  EXPECT_EQ(d[4], 1 << 30);
  ASSERT_EQ(kelOk, kelsOutProbPreCalc_32s_I(a, bi, 5));
  EXPECT_EQ(0, std::memcmp(d, bi, sizeof d));
}

template <class T> struct WSum;
template <> struct WSum<float> {
  using W = float;
  static KelsStatus sum(const float* a, const float* b, float* d, int l, W w1, W w2) { return kelsWeightedSum_32f(a, b, d, l, w1, w2); }
  static KelsStatus half(const float* a, const float* b, float* d, int l, W w1, W w2) { return kelsWeightedSumHalf_32f(a, b, d, l, w1, w2); }
};
template <> struct WSum<double> {
  using W = double;
  static KelsStatus sum(const double* a, const double* b, double* d, int l, W w1, W w2) { return kelsWeightedSum_64f(a, b, d, l, w1, w2); }
  static KelsStatus half(const double* a, const double* b, double* d, int l, W w1, W w2) { return kelsWeightedSumHalf_64f(a, b, d, l, w1, w2); }
};

TYPED_TEST(Update, WeightedSumsNormaliseOrTakeTheSign) {
  using T = TypeParam;
  using S = WSum<T>;
  const T x1[4] = {2, -1, 0, 3}, x2[4] = {4, 1, 0, 3};
  T d[4];
  ASSERT_EQ(kelOk, S::sum(x1, x2, d, 4, T(1), T(3)));
  EXPECT_EQ(d[0], T(2) * (T(1) * T(0.25)) + T(4) * (T(3) * T(0.25)));
  ASSERT_EQ(kelOk, S::half(x1, x2, d, 4, T(1), T(3)));
  EXPECT_EQ(d[0], T(2) * T(0.25) + T(4) * T(0.75));
  // w1 + w2 = 0: +inf, -inf, NaN by the sign of x1*w1 + x2*w2.
  ASSERT_EQ(kelWarnZeroWeightSum, S::sum(x1, x2, d, 4, T(1), T(-1)));
  EXPECT_EQ(bitsOf(d[0]), Ops<T>::kNegInf);  // 2 - 4
  EXPECT_EQ(bitsOf(d[1]), Ops<T>::kNegInf);  // -1 - 1
  EXPECT_EQ(bitsOf(d[2]), Ops<T>::kNaN);
  EXPECT_EQ(bitsOf(d[3]), Ops<T>::kNaN);     // 3 - 3
  // Half: the sign of x1 + x2*w2.
  ASSERT_EQ(kelWarnZeroWeightSum, S::half(x1, x2, d, 4, T(1), T(-1)));
  EXPECT_EQ(bitsOf(d[0]), Ops<T>::kNegInf);  // 2 - 4
  EXPECT_EQ(bitsOf(d[3]), Ops<T>::kNaN);
  ASSERT_EQ(kelWarnZeroWeightSum, S::half(x1, x2, d, 4, T(-2), T(2)));
  EXPECT_EQ(bitsOf(d[0]), Ops<T>::kInf);     // 2 + 8
  Canary<T> c(4);
  EXPECT_EQ(kelErrNullPtr, S::sum(x1, nullptr, c.data(), 0, T(1), T(-1)));
  EXPECT_EQ(kelErrSize, S::half(x1, x2, c.data(), 0, T(1), T(-1)));
  EXPECT_TRUE(c.untouched());
}

TEST(WeightedSum16s, ComputesInFloatClampsAndTruncates) {
  const Kels16s x1[4] = {100, -100, 32000, 7}, x2[4] = {1, 1, 32000, 8};
  Kels16s d[4];
  ASSERT_EQ(kelOk, kelsWeightedSum_16s(x1, x2, d, 4, 0.5f, 0.5f));
  EXPECT_EQ(d[0], 50);   // 50.5 truncated
  EXPECT_EQ(d[1], -49);  // -49.5 truncated toward zero
  EXPECT_EQ(d[2], 32000);
  EXPECT_EQ(d[3], 7);
  ASSERT_EQ(kelOk, kelsWeightedSum_16s(x1, x2, d, 4, 1.5f, 0.5f));
  EXPECT_EQ(d[2], 32000);
  ASSERT_EQ(kelOk, kelsWeightedSumHalf_16s(x1, x2, d, 4, 0.25f, 0.25f));
  EXPECT_EQ(d[0], 200);  // 100*2 + 1*(0.25*2) = 200.5, truncated
  EXPECT_EQ(d[2], 32767);
  ASSERT_EQ(kelOk, kelsWeightedSum_16s(x1, x2, d, 4, -1.0f, 2.0f));
  EXPECT_EQ(d[2], 32000);
  ASSERT_EQ(kelOk, kelsWeightedSumHalf_16s(x1, x2, d, 4, -0.5f, 1.0f));
  EXPECT_EQ(d[1], -198);  // r = 2: -100*2 + 1*(1*2)
  EXPECT_EQ(d[2], 32767);
  ASSERT_EQ(kelWarnZeroWeightSum, kelsWeightedSum_16s(x1, x2, d, 4, 2.0f, -2.0f));
  EXPECT_EQ(d[0], 32767);
  EXPECT_EQ(d[1], -32768);
  EXPECT_EQ(d[2], 0);
  EXPECT_EQ(d[3], -32768);
}

}  // namespace
}  // namespace kels::test
