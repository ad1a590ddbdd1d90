// Splitting, merging and cluster likelihoods against long-double references.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/canary.h"
#include "support/layout.h"
#include "support/reference.h"
#include "support/rng.h"

namespace kels::test {
namespace {

constexpr Ref kLn2PiTrunc = 1.8378770664093L;

template <class T> struct Gaussian { std::vector<T> mean, var; };
template <class T>
Gaussian<T> randomGaussian(Rng& rng, int len) {
  return {rng.uniformVec<T>(std::size_t(len), -5, 5), rng.uniformVec<T>(std::size_t(len), 0.05, 4)};
}

template <class T> struct Ops;
template <> struct Ops<float> {
  static constexpr auto* split = &kelsGaussianSplit_32f;
  static constexpr auto* merge = &kelsGaussianMerge_32f;
};
template <> struct Ops<double> {
  static constexpr auto* split = &kelsGaussianSplit_64f;
  static constexpr auto* merge = &kelsGaussianMerge_64f;
};

template <class T> class SplitMerge : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SplitMerge, Reals);

TYPED_TEST(SplitMerge, SplitMovesMeansByScaledDeviationOnEveryPath) {
  using T = TypeParam;
  const T tol = std::is_same_v<T, float> ? T(4e-7) : T(1e-15), eps = T(0.2);
  Rng rng(7);
  for (int len : {1, 3, 4, 7, 8, 13, 39})
    for (std::size_t mis : {std::size_t(0), sizeof(T)}) {  // the aligned estimate path and the exact one
      const auto g = randomGaussian<T>(rng, len);
      Buffer<T> mean(g.mean, mis), var(g.var, mis), mean2(std::size_t(len), mis);
      Canary<T> var2(std::size_t(len), mis);
      ASSERT_EQ(Ops<T>::split(mean.data(), var.data(), mean2.data(), var2.data(), len, eps), kelOk);
      EXPECT_TRUE(var2.guardsIntact());
      EXPECT_EQ(var2.values(), g.var);
      for (int k = 0; k < len; ++k) {
        const Ref s = std::sqrt(Ref(g.var[k])) * Ref(eps), scale = std::fabs(Ref(g.mean[k])) + s;
        EXPECT_NEAR(Ref(mean[k]), Ref(g.mean[k]) + s, tol * scale) << len << " " << k;
        EXPECT_NEAR(Ref(mean2[k]), Ref(g.mean[k]) - s, tol * scale) << len << " " << k;
      }
    }
}

// The size is checked before the pointers, deliberately; a merge with a non-positive variance
// still succeeds, with a non-finite determinant term.
TYPED_TEST(SplitMerge, ChecksAndNonFiniteDeterminant) {
  using T = TypeParam;
  T x[4] = {1, 2, 3, 4}, mean, var, det = 0;
  Canary<T> out(4);
  EXPECT_EQ(Ops<T>::split(nullptr, nullptr, nullptr, nullptr, 0, T(1)), kelErrSize);
  EXPECT_EQ(Ops<T>::split(x, x, nullptr, out.data(), 4, T(1)), kelErrNullPtr);
  EXPECT_EQ(Ops<T>::split(x, nullptr, out.data(), out.data(), 4, T(1)), kelErrNullPtr);
  EXPECT_TRUE(out.untouched() && x[0] == T(1));
  const T m1[1] = {0}, v1[1] = {-1};
  EXPECT_EQ(Ops<T>::merge(m1, v1, m1, v1, &mean, &var, 1, &det, T(1), T(1)), kelOk);
  EXPECT_FALSE(std::isfinite(det));
  EXPECT_EQ(Ops<T>::merge(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr, T(1), T(1)), kelErrSize);
  EXPECT_EQ(Ops<T>::merge(m1, v1, m1, v1, &mean, &var, 1, nullptr, T(1), T(1)), kelErrNullPtr);
}

TYPED_TEST(SplitMerge, MergeMatchesMomentsAndDeterminantTerm) {
  using T = TypeParam;
  Rng rng(9);
  const int len = 13;
  const auto a = randomGaussian<T>(rng, len), b = randomGaussian<T>(rng, len);
  const T w1 = T(0.3), w2 = T(1.7);
  const Ref tol = std::is_same_v<T, float> ? 1e-5L : 1e-12L;
  Canary<T> mean(len), var(len), det(1);
  ASSERT_EQ(Ops<T>::merge(a.mean.data(), a.var.data(), b.mean.data(), b.var.data(), mean.data(), var.data(), len,
                          det.data(), w1, w2), kelOk);
  Ref logSum = 0;
  for (int k = 0; k < len; ++k) {
    const Ref m = (Ref(w1) * a.mean[k] + Ref(w2) * b.mean[k]) / (Ref(w1) + Ref(w2));
    const Ref second = (Ref(w1) * (Ref(a.mean[k]) * a.mean[k] + a.var[k]) +
                        Ref(w2) * (Ref(b.mean[k]) * b.mean[k] + b.var[k])) / (Ref(w1) + Ref(w2));
    EXPECT_NEAR(Ref(mean[k]), m, tol * (1 + std::fabs(m)));
    EXPECT_NEAR(Ref(var[k]), second - m * m, tol * second);  // the difference loses what the moments had
    logSum += std::log(Ref(var[k]));
  }
  EXPECT_NEAR(Ref(det[0]), len * kLn2PiTrunc - logSum, tol);
  EXPECT_TRUE(mean.guardsIntact() && var.guardsIntact() && det.guardsIntact());
}

// Called twice into the same outputs: they are overwritten, not summed.
TEST(DcsClust, AccumulateOverwritesWithMoments) {
  Rng rng(12);
  for (int len : {3, 8, 13, 39})
    for (std::size_t mis : {std::size_t(0), std::size_t(4)}) {
      const auto g = randomGaussian<float>(rng, len);
      std::vector<float> ivar(len);
      std::vector<double> dm(g.mean.begin(), g.mean.end()), dv(g.var.begin(), g.var.end()), div(len), f64(len), s64(len);
      for (int k = 0; k < len; ++k) {
        ivar[k] = 1.0f / g.var[k];
        div[k] = 1.0 / dv[k];
      }
      Buffer<float> mean(g.mean, mis), iv(ivar, mis), first(std::size_t(len), mis), second(std::size_t(len), mis);
      std::vector<float> f(len), s(len);
      for (int call = 0; call < 2; ++call) {
        ASSERT_EQ(kelsDcsClustLAccumulate_32f(mean.data(), iv.data(), first.data(), second.data(), len, 12.5f), kelOk);
        for (int k = 0; k < len; ++k) {
          const Ref m = g.mean[k] * 12.5L, q = (Ref(g.mean[k]) * g.mean[k] + 1 / Ref(ivar[k])) * 12.5L;
          EXPECT_NEAR(first[k], m, 1e-6 * std::fabs(m) + 1e-30);
          EXPECT_NEAR(second[k], q, 2e-6 * q) << len << " " << k;
        }
        ASSERT_EQ(kelsDcsClustLAccumulate_DirectVar_32f(g.mean.data(), g.var.data(), f.data(), s.data(), len, 2.0f), kelOk);
        for (int k = 0; k < len; ++k) EXPECT_EQ(s[k], (g.mean[k] * g.mean[k] + g.var[k]) * 2.0f);
        ASSERT_EQ(kelsDcsClustLAccumulate_DirectVar_64f(dm.data(), dv.data(), f64.data(), s64.data(), len, 3.0), kelOk);
        for (int k = 0; k < len; ++k) EXPECT_EQ(s64[k], (dm[k] * dm[k] + dv[k]) * 3.0);
        ASSERT_EQ(kelsDcsClustLAccumulate_64f(dm.data(), div.data(), f64.data(), s64.data(), len, 3.0), kelOk);
        for (int k = 0; k < len; ++k) EXPECT_EQ(s64[k], (dm[k] * dm[k] + 1.0 / div[k]) * 3.0);
      }
    }
  float x[2] = {1, 2};
  EXPECT_EQ(kelsDcsClustLAccumulate_32f(nullptr, x, x, x, 0, 1.0f), kelErrNullPtr);  // pointers first
  EXPECT_EQ(kelsDcsClustLAccumulate_DirectVar_32f(x, x, x, x, 0, 1.0f), kelErrSize);
}

// Frames of a cluster, their sufficient statistics, and the log-likelihood of the frames under
// the maximum-likelihood Gaussian, summed frame by frame.
struct Cluster {
  std::vector<double> first, second;
  double occ;
  Ref directLL;
};

Cluster makeCluster(Rng& rng, int len, int frames) {
  std::vector<std::vector<double>> x(frames, std::vector<double>(len));
  Cluster c{std::vector<double>(len), std::vector<double>(len), double(frames), 0};
  for (auto& row : x)
    for (int k = 0; k < len; ++k) {
      row[k] = rng.normal(k * 0.1, 1 + 0.1 * k);
      c.first[k] += row[k];
      c.second[k] += row[k] * row[k];
    }
  for (int k = 0; k < len; ++k) {
    const Ref mu = Ref(c.first[k]) / frames, var = Ref(c.second[k]) / frames - mu * mu;
    for (const auto& row : x)
      c.directLL += -0.5L * (std::log(2 * 3.14159265358979323846L) + std::log(var) + (row[k] - mu) * (row[k] - mu) / var);
  }
  return c;
}

TEST(DcsClust, ComputeIsTheClusterLogLikelihoodOfItsFrames) {
  Rng rng(13);
  for (int len : {1, 5, 39}) {
    const Cluster c = makeCluster(rng, len, 200);
    double ll = 0, ll32 = 0;
    ASSERT_EQ(kelsDcsClustLCompute_64f(c.first.data(), c.second.data(), len, &ll, c.occ), kelOk);
    EXPECT_NEAR(Ref(ll), c.directLL, 1e-9L * std::fabs(c.directLL)) << len;
    ASSERT_EQ(kelsDcsClustLCompute_32f64f(c.first.data(), c.second.data(), len, &ll32, float(c.occ)), kelOk);
    EXPECT_EQ(ll32, ll);  // 200 is exact in float
  }
}

TEST(DcsClust, ComputeEdges) {
  const double first[2] = {2, 4}, second[2] = {3, 9}, pointSecond[2] = {1, 9};
  for (double zero : {0.0, -0.0}) {
    double out = 7;
    EXPECT_EQ(kelsDcsClustLCompute_64f(first, second, 2, &out, zero), kelWarnZeroDivisor);
    EXPECT_EQ(out, -1.0e10);
  }
  double out = 7;
  EXPECT_EQ(kelsDcsClustLCompute_64f(first, second, 2, &out, -1.0), kelErrNegArg);
  EXPECT_EQ(kelsDcsClustLCompute_32f64f(first, second, 2, &out, std::nanf("")), kelErrNegArg);
  EXPECT_EQ(kelsDcsClustLCompute_64f(first, second, 0, &out, -1.0), kelErrSize);
  EXPECT_EQ(kelsDcsClustLCompute_64f(first, nullptr, 0, &out, 1.0), kelErrNullPtr);
  EXPECT_EQ(out, 7.0);  // nothing written by a failed check
  // The first dimension of a point mass (1 * 4 - 2^2 = 0) is degenerate.
  EXPECT_EQ(kelsDcsClustLCompute_64f(first, pointSecond, 2, &out, 4.0), kelOk);
  EXPECT_EQ(out, -std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace kels::test
