// Features against torchaudio's Kaldi-compatible front end (goldens made by make_goldens.py
// from the same WAV files, in double precision), against a long double reference on frames with
// very weak low bands, and the properties of deltas and normalisation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <random>
#include <vector>

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
  double bound = 1e-4;  // every value of every frame
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
    double worst = 0.0;
    std::size_t at = 0;
    for (std::size_t i = 0; i < got.data.size(); ++i) {
      const double e = std::fabs(double(got.data[i]) - double(want.data[i]));
      if (e > worst) worst = e, at = i;
    }
    EXPECT_LE(worst, c.bound) << utt << ": worst at frame " << at / std::size_t(got.cols) << " column "
                              << at % std::size_t(got.cols);
  }
}

// Cepstra carry the lifter (up to 12x on c1..c12), and the reference's float32 DCT and mel
// tables put up to 2.7e-4 into its double run: kels is within 2e-4 of an exact pipeline and
// 3.7e-4 of the reference. Filter-bank values are within 7e-5.
INSTANTIATE_TEST_SUITE_P(
    Kaldi, Golden,
    ::testing::Values(GoldenCase{"mfcc", FeatureKind::kMfcc, true, "mfcc_", true, 5e-4},
                      GoldenCase{"mfcc_c0", FeatureKind::kMfcc, false, "mfcc_c0_", true, 5e-4},
                      GoldenCase{"fbank", FeatureKind::kFbank, false, "fbank_"},
                      GoldenCase{"fbank_magnitude_energy", FeatureKind::kFbank, true, "fbank_mag_", false}),
    [](const auto& info) { return std::string(info.param.name); });

// Kaldi's fbank with log energy in long double: a direct DFT of each conditioned frame and the
// mel triangles written from their definition, sharing no code with the front end.
std::vector<std::vector<long double>> referenceFbank(const std::vector<float>& x, int rate) {
  using LD = long double;
  const LD pi = 3.14159265358979323846264338327950288L;
  const std::size_t len = std::size_t(rate) / 40, shift = std::size_t(rate) / 100, bins = 23;
  std::size_t fft = 1;
  while (fft < len) fft *= 2;
  auto mel = [](LD hz) { return 1127.0L * std::log(1.0L + hz / 700.0L); };
  const LD low = mel(20.0L), step = (mel(rate / 2.0L) - low) / (bins + 1);
  std::vector<LD> cosine, sine, window;
  for (std::size_t i = 0; i < fft; ++i)
    cosine.push_back(std::cos(2 * pi * i / fft)), sine.push_back(std::sin(2 * pi * i / fft));
  for (std::size_t i = 0; i < len; ++i)
    window.push_back(std::pow(0.5L - 0.5L * std::cos(2 * pi * i / (len - 1)), 0.85L));
  std::vector<std::vector<long double>> out;
  for (std::size_t start = 0; start + len <= x.size(); start += shift) {
    LD mean = 0, energy = 0;
    for (std::size_t i = 0; i < len; ++i) mean += x[start + i];
    mean /= len;
    std::vector<LD> d, y;
    for (std::size_t i = 0; i < len; ++i) d.push_back(x[start + i] - mean), energy += d[i] * d[i];
    for (std::size_t i = 0; i < len; ++i) y.push_back((d[i] - 0.97L * d[i > 0 ? i - 1 : 0]) * window[i]);
    std::vector<LD> row{std::log(energy)}, band(bins, 0.0L);
    for (std::size_t k = 0; k < fft / 2; ++k) {  // the Nyquist bin has no weight
      LD re = 0, im = 0;
      for (std::size_t i = 0; i < len; ++i) re += y[i] * cosine[k * i % fft], im -= y[i] * sine[k * i % fft];
      const LD m = mel(LD(rate) * k / fft);
      for (std::size_t j = 0; j < bins; ++j) {
        const LD left = low + j * step, w = std::min(m - left, left + 2 * step - m) / step;
        if (w > 0) band[j] += w * (re * re + im * im);
      }
    }
    for (LD b : band) row.push_back(std::log(std::max(b, LD(FLT_EPSILON))));
    out.push_back(row);
  }
  return out;
}

TEST(Frontend, WeakLowBandsMatchALongDoubleReference) {
  // The second difference of uniform noise, as 16-bit samples: its spectrum rises 12 dB per
  // octave, and after DC removal and pre-emphasis the lowest mel band lies 105-110 dB below the
  // strongest, at the level of the float FFT's rounding noise (the transform of the frame alone
  // leaves log errors of 1.2e-3 at 8 kHz and 3.9e-3 at 16 kHz there).
  std::mt19937 gen(7);
  for (int rate : {8000, 16000}) {
    std::vector<float> u(std::size_t(rate) * 3 / 10 + 2), x(u.size() - 2);
    for (float& v : u) v = float(gen()) / 2147483648.0f - 1.0f;
    for (std::size_t t = 0; t < x.size(); ++t) x[t] = std::nearbyint(4000.0f * (u[t + 2] - 2.0f * u[t + 1] + u[t]));
    FeatureOptions o = FeatureOptions::kaldi(FeatureKind::kFbank);
    o.useEnergy = true;
    Frontend fe(o, rate);
    const Matrix got = fe.compute(x.data(), x.size());
    const auto want = referenceFbank(x, rate);
    ASSERT_EQ(std::size_t(got.rows), want.size()) << rate;
    double worst = 0.0;
    for (int t = 0; t < got.rows; ++t)
      for (int k = 0; k < got.cols; ++k)
        worst = std::max(worst, double(std::fabs(got.row(t)[k] - want[std::size_t(t)][std::size_t(k)])));
    EXPECT_LE(worst, 5e-4) << rate << " Hz";
  }
}

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
