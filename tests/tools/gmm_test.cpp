// Mixture models: scores against scikit-learn's GaussianMixture.score_samples (goldens), EM
// training on synthetic data with known parameters, and the model file format.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <sstream>

#include "error.h"
#include "gmm.h"
#include "matrix_io.h"
#include "tools_support.h"

namespace kels::tool {
namespace {

TEST(Gmm, ScoresMatchScikitLearnWithin1e3) {
  const Gmm g = readGmm(test::goldenPath("model.gmm"));
  for (const char* utt : {"utt1", "utt2", "utt3"}) {
    const Matrix x = readFeatures(test::goldenPath(std::string("mfcc_") + utt + ".npy"))[0].feats;
    const Matrix want = readFeatures(test::goldenPath(std::string("score_") + utt + ".npy"))[0].feats;
    const auto got = scoreFrames(g, x);
    ASSERT_EQ(got.size(), std::size_t(want.rows));
    double worst = 0.0;
    for (std::size_t t = 0; t < got.size(); ++t)
      worst = std::max(worst, std::fabs(double(got[t]) - double(want.data[t])));
    EXPECT_LE(worst, 1e-3) << utt;
  }
}

// Long-double reference of one frame's log-likelihood from the model's means and variances.
long double referenceScore(const Gmm& g, const float* x) {
  long double total = 0;
  for (int j = 0; j < g.comps; ++j) {
    long double e = std::log((long double)g.weights[std::size_t(j)]);
    for (int d = 0; d < g.dim; ++d) {
      const long double v = g.vars[std::size_t(j * g.dim + d)];
      const long double diff = x[d] - (long double)g.means[std::size_t(j * g.dim + d)];
      e -= 0.5L * (std::log(2 * 3.14159265358979323846L * v) + diff * diff / v);
    }
    total += std::exp(e);
  }
  return std::log(total);
}

struct Truth {
  double weight;
  std::vector<double> mean, var;
};

Matrix sample(const std::vector<Truth>& truth, int n, unsigned seed) {
  std::mt19937 gen(seed);
  std::discrete_distribution<int> pick({truth[0].weight, truth[1].weight, truth[2].weight});
  std::normal_distribution<double> nd;
  Matrix m(n, int(truth[0].mean.size()));
  for (int t = 0; t < n; ++t) {
    const Truth& c = truth[std::size_t(pick(gen))];
    for (int d = 0; d < m.cols; ++d)
      m.row(t)[d] = float(c.mean[std::size_t(d)] + std::sqrt(c.var[std::size_t(d)]) * nd(gen));
  }
  return m;
}

TEST(Gmm, TrainingRecoversASyntheticMixture) {
  const std::vector<Truth> truth = {{0.5, {0, 0, 5}, {1, 2, 0.5}},
                                    {0.3, {12, 0, -5}, {0.5, 0.5, 1}},
                                    {0.2, {0, 12, 0}, {2, 1, 1.5}}};
  const Matrix a = sample(truth, 5000, 1), b = sample(truth, 3000, 2);
  TrainOptions o;
  o.components = 3;
  o.iterations = 10;
  o.threads = 2;
  TrainReport rep;
  const Gmm g = trainGmm({&a, &b}, o, &rep, nullptr);
  ASSERT_EQ(g.comps, 3);
  EXPECT_EQ(rep.frames, 8000);
  // Every true component has a trained one close to it.
  for (const Truth& t : truth) {
    int best = 0;
    double bestDist = 1e30;
    for (int j = 0; j < 3; ++j) {
      double dist = 0;
      for (int d = 0; d < 3; ++d) dist += std::pow(g.means[std::size_t(j * 3 + d)] - t.mean[std::size_t(d)], 2);
      if (dist < bestDist) bestDist = dist, best = j;
    }
    EXPECT_NEAR(g.weights[std::size_t(best)], t.weight, 0.02);
    for (int d = 0; d < 3; ++d) {
      EXPECT_NEAR(g.means[std::size_t(best * 3 + d)], t.mean[std::size_t(d)], 0.1);
      EXPECT_NEAR(g.vars[std::size_t(best * 3 + d)], t.var[std::size_t(d)], 0.12 * t.var[std::size_t(d)]);
    }
  }
  // EM never lowers the likelihood within the last stage, and growth helped.
  const auto& ll = rep.avgLogLik;
  ASSERT_EQ(ll.size(), std::size_t(1 + 2 * o.iterations));  // one pass for the single Gaussian
  for (std::size_t i = ll.size() - std::size_t(o.iterations) + 1; i < ll.size(); ++i)
    EXPECT_GE(ll[i], ll[i - 1] - 1e-5) << i;
  EXPECT_GT(ll.back(), ll.front() + 1.0);
  // The stored constants are the Gaussian constants of the stored variances.
  for (int j = 0; j < 3; ++j) {
    double want = 3 * 1.8378770664093;
    for (int d = 0; d < 3; ++d) want += std::log(double(g.vars[std::size_t(j * 3 + d)]));
    EXPECT_NEAR(g.gconsts[std::size_t(j)], want, 1e-4);
  }
  // Scores agree with a long-double evaluation of the trained model.
  const auto s = scoreFrames(g, a);
  for (int t = 0; t < 200; ++t)
    EXPECT_NEAR(s[std::size_t(t)], double(referenceScore(g, a.row(t))), 2e-4) << t;
}

TEST(Gmm, ModelFileRoundTripsAndRejectsDamage) {
  Gmm g;
  g.dim = 2;
  g.comps = 2;
  g.weights = {0.25f, 0.75f};
  g.means = {1.5f, -2.0f, 1e-7f, 3e5f};
  g.vars = {0.5f, 2.0f, 1.0f, 1e-3f};
  g.gconsts = {3.1f, -4.2f};
  test::TempDir dir;
  writeGmm(dir / "m.gmm", g);
  const Gmm back = readGmm(dir / "m.gmm");
  EXPECT_EQ(back.weights, g.weights);
  EXPECT_EQ(back.means, g.means);
  EXPECT_EQ(back.vars, g.vars);
  EXPECT_EQ(back.gconsts, g.gconsts);

  std::ostringstream good;
  writeGmm(good, g);
  const std::string text = good.str();
  const std::vector<std::pair<std::string, std::string>> edits = {
      {"var 0.5 2", "var 0.5 -2"}, {"var 0.5 2", "var 0.5"},  {"weight 0.25", "weight 0"},
      {"components 2", "components 3"}, {"component 1", "component 0"}, {"kels-gmm diag", "kels-gmm full"},
      {"mean 1.5 -2", "mean 1.5 -2 7"}, {"gconst 3.0999999", "gconst nan"}};
  for (const auto& [from, to] : edits) {
    std::string t = text;
    const auto at = t.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    t.replace(at, from.size(), to);
    std::ofstream(dir / "bad.gmm") << t;
    EXPECT_THROW(readGmm(dir / "bad.gmm"), Error) << to;
  }
}

}  // namespace
}  // namespace kels::tool
