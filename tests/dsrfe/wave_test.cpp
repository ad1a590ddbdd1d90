// SNR-dependent waveform processing, recomputed independently: Teager energy and its nine-sample
// sum in long double (summed directly, not as a running sum), peak picking and the weight rules
// transcribed step by step. Frames whose peaks hinge on a near-tie of the contour are skipped,
// since float and long double may then pick different samples.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/canary.h"
#include "support/reference.h"
#include "support/rng.h"

namespace kels {
namespace {

using test::Ref;
constexpr int kN = 200;

struct RefWave {
  std::vector<int> peaks;     // ascending
  int first = -1;             // the global maximum
  int nLeft = 0, nRight = 0;  // peaks found on each side of it
  std::vector<float> weights;
  bool ambiguous = false;  // some search had a runner-up within 1e-5 of its maximum
};

RefWave refWave(const std::vector<float>& s) {
  std::vector<Ref> e(kN), c(kN, 0);
  for (int n = 0; n < kN; ++n) {
    const Ref left = s[std::size_t(n == 0 ? 0 : n - 1)],
              right = s[std::size_t(n == kN - 1 ? n : n + 1)];
    const Ref mid = s[std::size_t(n)];
    // The ends stand in for their missing neighbour by the sample itself.
    e[std::size_t(n)] = std::fabs(mid * mid - (n == 0        ? mid * right
                                               : n == kN - 1 ? mid * left
                                                             : left * right));
  }
  for (int n = 0; n < kN; ++n)
    for (int j = -4; j <= 4; ++j) c[std::size_t(n)] += e[std::size_t(std::clamp(n + j, 0, kN - 1))];

  RefWave r;
  auto search = [&](int lo, int hi) {
    int best = lo;
    for (int i = lo; i <= hi; ++i)
      if (c[std::size_t(i)] > c[std::size_t(best)]) best = i;
    for (int i = lo; i <= hi; ++i)
      if (i != best && c[std::size_t(best)] - c[std::size_t(i)] <= 1e-5L * c[std::size_t(best)] &&
          c[std::size_t(best)] != c[std::size_t(i)])
        r.ambiguous = true;  // exact ties are fine: both sides take the first
    return best;
  };
  r.first = search(0, kN - 1);
  std::vector<int> left, right;
  for (int p = r.first; p + 25 < kN;) right.push_back(p = search(p + 25, std::min(p + 79, kN - 1)));
  for (int p = r.first; p - 25 >= 1;) left.push_back(p = search(std::max(p - 79, 0), p - 25));
  r.nLeft = int(left.size());
  r.nRight = int(right.size());
  r.peaks.assign(left.rbegin(), left.rend());
  r.peaks.push_back(r.first);
  r.peaks.insert(r.peaks.end(), right.begin(), right.end());

  std::vector<float>& w = r.weights;
  w.assign(kN, 0.8f);
  const auto& q = r.peaks;
  const int last = int(q.size()) - 1;
  for (int k = 0; k < last; ++k) {
    const int a = std::max(q[std::size_t(k)] - 4, 0);
    const int b = q[std::size_t(k)] +
                  int(std::trunc(0.8f * float(q[std::size_t(k) + 1] - q[std::size_t(k)]))) - 4;
    for (int i = a; i < b; ++i) w[std::size_t(i)] = 1.2f;
    const int end = a < b ? b : a;
    if (a > 0) w[std::size_t(a - 1)] = w[std::size_t(a)] = 1.0f;
    w[std::size_t(end - 1)] = w[std::size_t(end)] = 1.0f;
  }
  const int qk = q[std::size_t(last)], gap = qk - q[std::size_t(last - 1)];
  const int a = qk - 4, b = std::min(qk + int(std::trunc(0.8f * float(gap))) - 4, kN);
  for (int i = a; i < b; ++i) w[std::size_t(i)] = 1.2f;
  if (a < 198) w[std::size_t(a - 1)] = w[std::size_t(a)] = 1.0f;
  if (b < 200) w[std::size_t(b - 1)] = w[std::size_t(b)] = 1.0f;
  return r;
}

// The frame times the reference weights, bit for bit (one float product per sample).
void expectWeighted(const std::vector<float>& s, const RefWave& r, const char* what) {
  test::Canary<float> out(kN, 4);
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(s.data(), out.data()), kelOk);
  ASSERT_TRUE(out.guardsIntact());
  int wrong = 0;
  for (std::size_t n = 0; n < kN; ++n) wrong += out[n] != r.weights[n] * s[n];
  EXPECT_EQ(wrong, 0) << what;
}

// Small integers keep every energy and sum exact in float, so ties are exact too. The floor of 1
// makes every weight visible in the output.
std::vector<float> pulses(std::initializer_list<std::pair<int, float>> at) {
  std::vector<float> s(kN, 1.0f);
  for (auto [n, v] : at) s[std::size_t(n)] = v;
  return s;
}

TEST(WaveProcessing, ConstantFrameTakesTheFirstIndexOnEveryTie) {
  const std::vector<float> s(kN, 3.0f);
  const RefWave r = refWave(s);
  ASSERT_EQ(r.peaks, (std::vector<int>{0, 25, 50, 75, 100, 125, 150, 175}));
  expectWeighted(s, r, "constant");
  // Worked by hand from the rules: period 0 emphasised on 0..15, edges 15,16 neutral, 17..19
  // attenuated; the last period 171..190 with neutral edges and 192..199 attenuated.
  float o[kN];
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(s.data(), o), kelOk);
  EXPECT_EQ(o[0], 1.2f * 3.0f);
  EXPECT_EQ(o[14], 1.2f * 3.0f);
  EXPECT_EQ(o[15], 3.0f);
  EXPECT_EQ(o[16], 3.0f);
  EXPECT_EQ(o[18], 0.8f * 3.0f);
  EXPECT_EQ(o[20], 3.0f);
  EXPECT_EQ(o[22], 1.2f * 3.0f);
  EXPECT_EQ(o[170], 3.0f);
  EXPECT_EQ(o[189], 1.2f * 3.0f);
  EXPECT_EQ(o[191], 3.0f);
  EXPECT_EQ(o[199], 0.8f * 3.0f);
}

TEST(WaveProcessing, MaximumNearEitherEndSearchesOneWayOnly) {
  // Three pulses 4 apart make the contour peak strictly at the middle one; weaker trains fill
  // the rest of the frame.
  const auto early = pulses({{6, 30},
                             {10, 40},
                             {14, 30},
                             {56, 20},
                             {60, 25},
                             {64, 20},
                             {106, 20},
                             {110, 25},
                             {114, 20},
                             {156, 20},
                             {160, 25},
                             {164, 20}});
  RefWave r = refWave(early);
  ASSERT_EQ(r.first, 10);
  EXPECT_EQ(r.nLeft, 0);  // 10 - 25 < 1: no leftward search
  EXPECT_GT(r.nRight, 2);
  expectWeighted(early, r, "maximum at 10");

  const auto late = pulses({{186, 30},
                            {190, 40},
                            {194, 30},
                            {136, 20},
                            {140, 25},
                            {144, 20},
                            {86, 20},
                            {90, 25},
                            {94, 20},
                            {36, 20},
                            {40, 25},
                            {44, 20}});
  r = refWave(late);
  ASSERT_EQ(r.first, 190);
  EXPECT_EQ(r.nRight, 0);  // 190 + 25 >= 200: no rightward search
  EXPECT_GT(r.nLeft, 2);
  expectWeighted(late, r, "maximum at 190");

  // A maximum at 25 starts no leftward search either, although sample 0 is 25 away.
  const auto at25 = pulses({{21, 30}, {25, 40}, {29, 30}, {100, 10}});
  r = refWave(at25);
  ASSERT_EQ(r.first, 25);
  EXPECT_EQ(r.nLeft, 0);
  expectWeighted(at25, r, "maximum at 25");
  const auto at26 = pulses({{22, 30}, {26, 40}, {30, 30}, {100, 10}});
  r = refWave(at26);
  ASSERT_EQ(r.first, 26);
  EXPECT_EQ(r.nLeft, 1);
  expectWeighted(at26, r, "maximum at 26");
}

TEST(WaveProcessing, RandomAndVoicedFramesMatchTheReference) {
  test::Rng rng(21);
  int checked = 0, skipped = 0;
  for (int f = 0; f < 400; ++f) {
    std::vector<float> s(kN);
    if (f % 2 == 0) {
      for (float& v : s) v = float(rng.normal(0, 1000));
    } else {  // a pulse train of random period with noise, as in voiced speech
      const int period = rng.integer(25, 90);
      const int phase = rng.integer(0, period - 1);
      for (int n = 0; n < kN; ++n)
        s[std::size_t(n)] = float(
            rng.normal(0, 50) + 2000 * std::exp(-0.5 * std::pow(((n - phase) % period) / 2.0, 2)));
    }
    const RefWave r = refWave(s);
    if (r.ambiguous) {
      ++skipped;
      continue;
    }
    ++checked;
    expectWeighted(s, r, f % 2 ? "voiced" : "noise");
  }
  EXPECT_GT(checked, 360) << skipped << " frames skipped as near-ties";
}

TEST(WaveProcessing, InPlaceGivesTheSameFrame) {
  test::Rng rng(23);
  std::vector<float> s(kN);
  for (float& v : s) v = float(rng.normal(0, 100));
  std::vector<float> out(kN), inPlace = s;
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(s.data(), out.data()), kelOk);
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(inPlace.data(), inPlace.data()), kelOk);
  EXPECT_EQ(out, inPlace);
}

}  // namespace
}  // namespace kels
