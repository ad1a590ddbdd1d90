// End to end: EM training of a diagonal Gaussian mixture with nothing but the library. Frames are
// scored with the mixture families, occupations gathered with the weighted column moments, and
// the model re-estimated with UpdateMean / UpdateVar / UpdateWeight / UpdateGConst. The data come
// from known Gaussians, so the trained model must find them again.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/rng.h"

namespace kels::test {
namespace {

constexpr int kDim = 3, kComp = 3, kFrames = 6000;
constexpr int kCols = kDim + 1;  // features and a column of ones, whose weighted sum is the occupation

// The generating mixture; the model being trained has the same layout.
struct Model { std::vector<float> mean, var, weight; };
const Model kTruth{{-4, 0, 1, 3, 3, -2, 3, -3, 0.5f}, {1, 0.5f, 2, 0.5f, 2, 1, 1.5f, 1, 0.25f}, {0.3f, 0.25f, 0.45f}};

// Frame log-likelihoods and per-component posteriors (component-major) under the model.
double expectation(const Model& m, const std::vector<float>& x, std::vector<float>& post) {
  std::vector<float> inv(kComp * kDim), g(kComp), comp(kComp);
  for (int k = 0; k < kComp * kDim; ++k) inv[k] = 1.0f / m.var[k];
  for (int j = 0; j < kComp; ++j) {  // the weight's log rides in the constant
    EXPECT_EQ(kelOk, kelsUpdateGConst_DirectVar_32f(&m.var[j * kDim], kDim, &g[j]));
    g[j] = std::log(m.weight[j]) - 0.5f * g[j];
  }
  double total = 0;
  for (int t = 0; t < kFrames; ++t) {
    const float* xt = &x[std::size_t(t) * kCols];
    float frame = 0;
    EXPECT_EQ(kelOk, kelsLogGaussMixture_32f_D2(xt, m.mean.data(), inv.data(), kComp, kDim, kDim, g.data(), &frame));
    comp = g;
    EXPECT_EQ(kelOk, kelsLogGaussMultiMix_32f_D2(m.mean.data(), inv.data(), kDim, xt, kDim, comp.data(), kComp));
    for (int j = 0; j < kComp; ++j) post[std::size_t(j) * kFrames + t] = std::exp(comp[j] - frame);
    total += frame;
  }
  return total;
}

void maximisation(Model& m, const std::vector<float>& x, const std::vector<float>& post) {
  const std::vector<float> zero(kCols, 0.0f), floor(kDim, 1e-3f);
  std::vector<float> occ(kComp);
  for (int j = 0; j < kComp; ++j) {
    const float* w = &post[std::size_t(j) * kFrames];
    float sum[kCols], sumSq[kCols];
    ASSERT_EQ(kelOk, kelsWeightedMeanColumn_32f_D2(x.data(), kCols, w, kFrames, sum, kCols));
    ASSERT_EQ(kelOk, kelsWeightedVarColumn_32f_D2(x.data(), kCols, w, kFrames, zero.data(), sumSq, kCols));
    occ[j] = sum[kDim];
    float* mean = &m.mean[j * kDim];
    std::fill(mean, mean + kDim, 0.0f);  // the update adds to the mean
    ASSERT_EQ(kelOk, kelsUpdateMean_32f(sum, mean, kDim, occ[j]));
    ASSERT_EQ(kelOk, kelsUpdateVar_32f(sum, sumSq, floor.data(), &m.var[j * kDim], kDim, occ[j], occ[j]));
  }
  float wsum = 0;
  ASSERT_EQ(kelOk, kelsUpdateWeight_32f(occ.data(), m.weight.data(), kComp, &wsum, float(kFrames), 1e-4f));
  EXPECT_NEAR(wsum, 1.0f, 1e-3f);
}

TEST(EndToEnd, EmTrainingRecoversTheGeneratingMixture) {
  const Model& truth = kTruth;
  Rng rng(2024);
  std::vector<float> x(std::size_t(kFrames) * kCols);
  for (int t = 0; t < kFrames; ++t) {
    const double u = rng.uniform(0, 1);
    const int j = u < truth.weight[0] ? 0 : u < truth.weight[0] + truth.weight[1] ? 1 : 2;
    float* row = &x[std::size_t(t) * kCols];
    for (int k = 0; k < kDim; ++k) row[k] = float(rng.normal(truth.mean[j * kDim + k], std::sqrt(truth.var[j * kDim + k])));
    row[kDim] = 1.0f;
  }
  // A poor start: means huddled near the origin, unit variances, equal weights.
  Model m{truth.mean, std::vector<float>(kComp * kDim, 1.0f), std::vector<float>(kComp, 1.0f / kComp)};
  for (float& mu : m.mean) mu = 0.15f * mu + float(rng.uniform(-0.3, 0.3));
  std::vector<float> post(std::size_t(kComp) * kFrames);
  double last = -1e300;
  for (int it = 0; it < 40; ++it) {
    const double ll = expectation(m, x, post);
    // EM never lowers the likelihood; the slack covers only float rounding of the frame scores.
    EXPECT_GE(ll, last - 1e-6 * std::fabs(ll)) << "iteration " << it;
    last = ll;
    maximisation(m, x, post);
    if (::testing::Test::HasFatalFailure()) return;
  }
  // Within a few standard errors of the generating values.
  for (int j = 0; j < kComp; ++j) {
    const double n = kFrames * truth.weight[j];
    EXPECT_NEAR(m.weight[j], truth.weight[j], 4 * std::sqrt(truth.weight[j] * (1 - truth.weight[j]) / kFrames));
    for (int k = j * kDim; k < (j + 1) * kDim; ++k) {
      EXPECT_NEAR(m.mean[k], truth.mean[k], 4 * std::sqrt(truth.var[k] / n) + 1e-3) << k;
      EXPECT_NEAR(m.var[k], truth.var[k], 4 * truth.var[k] * std::sqrt(2 / n) + 1e-3) << k;
    }
  }
}

}  // namespace
}  // namespace kels::test
