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
  std::vector<int> left, right, peaks;  // found on each side of the maximum; all, ascending
  std::vector<float> weights;
  bool ambiguous = false;  // some search had a runner-up within 1e-5 of its maximum
};

RefWave refWave(const std::vector<float>& s) {
  std::vector<Ref> e(kN), c(kN, 0);
  for (int n = 0; n < kN; ++n) {  // an end stands in for its missing neighbour
    const Ref prev = s[n == 0 ? 0 : n - 1], next = s[n == kN - 1 ? n : n + 1], mid = s[n];
    e[n] = std::fabs(mid * mid - (n == 0 ? mid * next : n == kN - 1 ? mid * prev : prev * next));
  }
  for (int n = 0; n < kN; ++n)
    for (int j = -4; j <= 4; ++j) c[n] += e[std::clamp(n + j, 0, kN - 1)];

  RefWave r;
  auto search = [&](int lo, int hi) {
    int best = lo;
    for (int i = lo; i <= hi; ++i) best = c[i] > c[best] ? i : best;
    for (int i = lo; i <= hi; ++i)  // exact ties are fine: both sides take the first
      r.ambiguous |= c[i] != c[best] && c[best] - c[i] <= 1e-5L * c[best];
    return best;
  };
  const int first = search(0, kN - 1);
  for (int p = first; p + 25 < kN;) r.right.push_back(p = search(p + 25, std::min(p + 79, kN - 1)));
  for (int p = first; p - 25 >= 1;) r.left.push_back(p = search(std::max(p - 79, 0), p - 25));
  r.peaks.assign(r.left.rbegin(), r.left.rend());
  r.peaks.push_back(first);
  r.peaks.insert(r.peaks.end(), r.right.begin(), r.right.end());

  std::vector<float>& w = r.weights;
  w.assign(kN, 0.8f);
  const std::vector<int>& q = r.peaks;
  const int last = int(q.size()) - 1;
  auto span = [](int gap) { return int(std::trunc(0.8f * float(gap))); };
  for (int k = 0; k < last; ++k) {
    const int a = std::max(q[k] - 4, 0), b = q[k] + span(q[k + 1] - q[k]) - 4;
    for (int i = a; i < b; ++i) w[i] = 1.2f;
    if (a > 0) w[a - 1] = w[a] = 1.0f;
    const int end = a < b ? b : a;
    w[end - 1] = w[end] = 1.0f;
  }
  const int a = q[last] - 4, b = std::min(q[last] + span(q[last] - q[last - 1]) - 4, kN);
  for (int i = a; i < b; ++i) w[i] = 1.2f;
  if (a < 198) w[a - 1] = w[a] = 1.0f;
  if (b < 200) w[b - 1] = w[b] = 1.0f;
  return r;
}

// The frame times the reference weights, bit for bit (one float product per sample); in place
// gives the same.
void expectWeighted(const std::vector<float>& s, const RefWave& r, const char* what) {
  test::Canary<float> out(kN, 4);
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(s.data(), out.data()), kelOk);
  ASSERT_TRUE(out.guardsIntact());
  int wrong = 0;
  for (int n = 0; n < kN; ++n) wrong += out[n] != r.weights[n] * s[n];
  EXPECT_EQ(wrong, 0) << what;
  std::vector<float> inPlace = s;
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(inPlace.data(), inPlace.data()), kelOk);
  EXPECT_EQ(inPlace, out.values()) << what;
}

TEST(WaveProcessing, ConstantFrameTakesTheFirstIndexOnEveryTie) {
  const std::vector<float> s(kN, 3.0f);
  const RefWave r = refWave(s);
  ASSERT_EQ(r.peaks, (std::vector<int>{0, 25, 50, 75, 100, 125, 150, 175}));
  expectWeighted(s, r, "constant");
  // By hand from the rules: period 0 emphasised on 0..15, edges 15 and 16 neutral, 17..19
  // attenuated, the next period neutral from 20; the last one 171..190, neutral at 190 and 191.
  float o[kN];
  ASSERT_EQ(kelsWaveProcessing_Aurora_32f(s.data(), o), kelOk);
  const std::pair<int, float> expected[] = {{0, 1.2f},   {14, 1.2f},  {15, 1.0f}, {16, 1.0f},
                                            {18, 0.8f},  {20, 1.0f},  {22, 1.2f}, {170, 1.0f},
                                            {189, 1.2f}, {191, 1.0f}, {199, 0.8f}};
  for (auto [n, w] : expected) EXPECT_EQ(o[n], w * 3.0f) << n;
}

TEST(WaveProcessing, MaximumNearEitherEndSearchesOneWayOnly) {
  // Pulses 30, 40, 30 four samples apart put the contour's maximum strictly on the middle one;
  // weaker triples (20, 25, 20) elsewhere give the other peaks. Small integers on a floor of 1
  // keep every sum exact and every weight visible.
  struct Case {
    int strong;
    std::vector<int> weak;
    int nLeft, nRight;
  };                                                  // -1: some
  const Case cases[] = {{10, {60, 110, 160}, 0, -1},  // 10 - 25 < 1: no leftward search
                        {190, {40, 90, 140}, -1, 0},  // 190 + 25 >= 200: no rightward one
                        {25, {100}, 0, -1},           // none from 25 either, though 0 is 25 away
                        {26, {100}, 1, -1}};
  for (const Case& c : cases) {
    std::vector<float> s(kN, 1.0f);
    for (int d : {-4, 4}) s[c.strong + d] = 30;
    s[c.strong] = 40;
    for (int w : c.weak) s[w - 4] = s[w + 4] = 20, s[w] = 25;
    const RefWave r = refWave(s);
    ASSERT_EQ(r.peaks[r.left.size()], c.strong);
    EXPECT_TRUE(c.nLeft < 0 || int(r.left.size()) == c.nLeft) << c.strong;
    EXPECT_TRUE(c.nRight < 0 || int(r.right.size()) == c.nRight) << c.strong;
    expectWeighted(s, r, "structured");
  }
}

TEST(WaveProcessing, RandomAndVoicedFramesMatchTheReference) {
  test::Rng rng(21);
  int checked = 0;
  for (int f = 0; f < 400; ++f) {
    std::vector<float> s(kN);
    const int period = rng.integer(25, 90), phase = rng.integer(0, period - 1);
    for (int n = 0; n < kN; ++n)  // white noise, or a noisy pulse train as in voiced speech
      s[n] =
          f % 2
              ? float(rng.normal(0, 50) + 2000 * std::exp(-std::pow((n - phase) % period, 2) / 8.0))
              : float(rng.normal(0, 1000));
    const RefWave r = refWave(s);
    if (r.ambiguous) continue;
    ++checked;
    expectWeighted(s, r, f % 2 ? "voiced" : "noise");
  }
  EXPECT_GT(checked, 360) << "too many frames skipped as near-ties";
}

}  // namespace
}  // namespace kels
