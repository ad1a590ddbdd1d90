// Features against torchaudio's Kaldi-compatible front end (goldens made by make_goldens.py
// from the same WAV files, in double precision), and the properties of deltas and normalisation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "error.h"
#include "frontend.h"
#include "matrix_io.h"
#include "tools_support.h"
#include "wav.h"

namespace kels::tool {
namespace {


struct GoldenCase {
  const char* name;
  FeatureKind kind;
  bool useEnergy;
  const char* prefix;
  bool usePower = true;
};

void PrintTo(const GoldenCase& c, std::ostream* os) { *os << c.name; }

class Golden : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, MatchesTorchaudio) {
  const GoldenCase& c = GetParam();
  FeatureOptions o = FeatureOptions::kaldi(c.kind);
  o.useEnergy = c.useEnergy;
  o.usePower = c.usePower;
  for (const char* utt : {"utt1", "utt2", "utt3"}) {
    const Audio a = readWav(test::samplePath(utt));
    Frontend fe(o, a.sampleRate);
    const Matrix got = fe.compute(a.samples.data(), a.samples.size());
    const Matrix want = readFeatures(test::goldenPath(std::string(c.prefix) + utt + ".npy"))[0].feats;
    ASSERT_EQ(got.rows, want.rows) << utt;
    ASSERT_EQ(got.cols, want.cols) << utt;
    // Every filter-bank value within 1e-3. Cepstra: c1..c12 carry the lifter (up to 12x), so the
    // float32 FFT noise of mel bands 60+ dB below the frame energy reaches them; at most 1% of
    // frames may exceed 1e-3, none 3e-3 (torchaudio's own float32 run reaches 2.4e-3 here).
    const bool cepstra = c.kind == FeatureKind::kMfcc;
    int over = 0;
    double worst = 0.0;
    int at = 0;
    for (int t = 0; t < got.rows; ++t) {
      double frameWorst = 0.0;
      for (int k = 0; k < got.cols; ++k) {
        const std::size_t i = std::size_t(t) * std::size_t(got.cols) + std::size_t(k);
        const double e = std::fabs(double(got.data[i]) - double(want.data[i]));
        frameWorst = std::max(frameWorst, e);
        if (e > worst) worst = e, at = int(i);
      }
      over += frameWorst > 1e-3;
    }
    const std::string where = std::string(utt) + ": worst at frame " + std::to_string(at / got.cols) +
                              " column " + std::to_string(at % got.cols);
    EXPECT_LE(worst, cepstra ? 3e-3 : 1e-3) << where;
    EXPECT_LE(over, cepstra ? got.rows / 100 : 0) << where << "; frames over 1e-3: " << over;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Kaldi, Golden,
    ::testing::Values(GoldenCase{"mfcc", FeatureKind::kMfcc, true, "mfcc_"},
                      GoldenCase{"mfcc_c0", FeatureKind::kMfcc, false, "mfcc_c0_"},
                      GoldenCase{"fbank", FeatureKind::kFbank, false, "fbank_"},
                      GoldenCase{"fbank_magnitude_energy", FeatureKind::kFbank, true, "fbank_mag_", false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Frontend, DeltasAreTheRegressionOfTheStatics) {
  // A quadratic track: the regression gives the exact slope away from the edges, and the
  // second pass the exact curvature.
  Matrix m(12, 2);
  for (int t = 0; t < 12; ++t) m.row(t)[0] = float(t * t), m.row(t)[1] = float(3 * t);
  const Matrix d = addDeltas(m, 2, 2);
  ASSERT_EQ(d.cols, 6);
  for (int t = 4; t < 8; ++t) {
    EXPECT_FLOAT_EQ(d.row(t)[0], float(t * t));
    EXPECT_NEAR(d.row(t)[2], 2.0 * t, 1e-4) << t;
    EXPECT_NEAR(d.row(t)[3], 3.0, 1e-5) << t;
    EXPECT_NEAR(d.row(t)[4], 2.0, 1e-4) << t;
    EXPECT_NEAR(d.row(t)[5], 0.0, 1e-5) << t;
  }
  const Matrix one = addDeltas(Matrix(1, 3), 2, 2);  // too short for any window: zero deltas
  EXPECT_EQ(one.cols, 9);
  EXPECT_TRUE(std::all_of(one.data.begin(), one.data.end(), [](float v) { return v == 0.0f; }));
}

TEST(Frontend, MeanVarianceNormalisationGivesZeroMeanUnitVariance) {
  Matrix m(50, 3);
  for (int t = 0; t < 50; ++t) {
    m.row(t)[0] = float(t % 7) * 3.0f + 100.0f;
    m.row(t)[1] = -float(t) * 0.01f;
    m.row(t)[2] = 5.0f;  // constant: maps to 0
  }
  normalizeMeanVar(m);
  for (int c = 0; c < 3; ++c) {
    long double s = 0, s2 = 0;
    for (int t = 0; t < 50; ++t) s += m.row(t)[c], s2 += (long double)m.row(t)[c] * m.row(t)[c];
    EXPECT_NEAR(double(s / 50), 0.0, 1e-5) << c;
    EXPECT_NEAR(double(s2 / 49), c == 2 ? 0.0 : 1.0, 1e-4) << c;
  }
}

}  // namespace
}  // namespace kels::tool
