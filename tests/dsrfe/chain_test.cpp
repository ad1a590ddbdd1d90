// End to end: the front end's noise reduction built from the library's own pieces (real FFT,
// smoothed power spectrum, noise update, Wiener design, the fixed 8 kHz mel filter bank) over
// a noisy synthetic vowel sequence at 5 dB SNR. The gains must stay in their range and the mel
// energies of the denoised spectrum must be closer to the clean ones than the noisy ones are.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "core/alloc.h"
#include "support/rng.h"

namespace kels {
namespace {

constexpr int kRate = 8000, kFrame = 200, kHop = 80, kOrder = 8, kFft = 1 << kOrder;
constexpr int kBins = kFft / 4 + 1;  // 65 smoothed bins
constexpr int kLeadIn = 1600;        // 0.2 s of noise alone before the vowels
const double kPi = std::acos(-1.0);

// Four vowels of 0.3 s, each fading in and out: harmonics of f0 under three formant bumps.
std::vector<float> vowels(test::Rng& rng) {
  const double seq[][4] = {{120, 730, 1090, 2440}, {140, 270, 2290, 3010},  // f0, F1, F2, F3
                           {110, 300, 870, 2240}, {130, 530, 1840, 2480}};
  std::vector<float> s(kLeadIn, 0.0f);
  for (const auto& v : seq) {
    std::vector<double> phase;
    for (double f = v[0]; f < 3800; f += v[0]) phase.push_back(rng.uniform(0, 2 * kPi));
    const int len = int(0.3 * kRate);
    for (int n = 0; n < len; ++n) {
      double x = 0;
      for (std::size_t h = 0; h < phase.size(); ++h) {
        const double f = v[0] * double(h + 1);
        auto bump = [f](double centre, double width) {
          return std::exp(-std::pow((f - centre) / width, 2));
        };
        const double amp = bump(v[1], 150) + 0.6 * bump(v[2], 200) + 0.3 * bump(v[3], 250) + 0.02;
        x += amp * std::sin(2 * kPi * f * n / kRate + phase[h]);
      }
      s.push_back(float(3000 * std::sqrt(std::sin(kPi * n / len)) * x));
    }
  }
  return s;
}

TEST(FrontEndChain, WienerNoiseReductionRaisesTheMelSpectrumSnr) {
  test::Rng rng(31);
  const std::vector<float> clean = vowels(rng);
  double speech = 0;
  for (std::size_t n = kLeadIn; n < clean.size(); ++n) speech += double(clean[n]) * clean[n];
  const double sigma = std::sqrt(speech / double(clean.size() - kLeadIn) / std::pow(10.0, 0.5));
  std::vector<float> noisy(clean.size());
  for (std::size_t n = 0; n < clean.size(); ++n) noisy[n] = clean[n] + float(rng.normal(0, sigma));

  int size = 0;
  ASSERT_EQ(kelsFFTGetSize_R_32f(kOrder, &size), kelOk);
  std::vector<double> fftMem(std::size_t(size) / sizeof(double) + 1);
  auto* fft = reinterpret_cast<KelsFFTSpec_R_32f*>(fftMem.data());
  ASSERT_EQ(kelsFFTInit_R_32f(kOrder, fft), kelOk);
  auto spectrum = [&](const float* frame) {  // Hann window, zero padding, 65 smoothed bins
    std::vector<float> buf(kFft, 0.0f), out(kBins);
    for (int n = 0; n < kFrame; ++n)
      buf[std::size_t(n)] = frame[n] * float(0.5 - 0.5 * std::cos(2 * kPi * (n + 0.5) / kFrame));
    EXPECT_EQ(kelsFFTFwd_RToPack_32f(buf.data(), buf.data(), fft), kelOk);
    EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_32f(buf.data(), out.data(), kFft), kelOk);
    return out;
  };
  KelsMelFBank_32f* bank = nullptr;
  ASSERT_EQ(kelsMelFBankInitAllocLow_Aurora_32f(&bank), kelOk);

  // Noise: the mean of the lead-in frames, then the recursive update on frames whose energy
  // stays near the estimate (a plain energy detector).
  std::vector<float> noise(kBins, 0.0f), denoised(kBins, 0.0f), gain(kBins), next(kBins);
  const int leadFrames = (kLeadIn - kFrame) / kHop + 1;
  for (int f = 0; f < leadFrames; ++f) {
    const auto p = spectrum(&noisy[std::size_t(f * kHop)]);
    for (int k = 0; k < kBins; ++k) noise[std::size_t(k)] += p[std::size_t(k)] / float(leadFrames);
  }
  // Mel-domain SNR against the clean spectrum over all vowel frames.
  double signal = 0, errNoisy = 0, errDenoised = 0;
  float minGain = 1, maxGain = 0;
  for (std::size_t start = 0; start + kFrame <= noisy.size(); start += kHop) {
    const auto p = spectrum(&noisy[start]), c = spectrum(&clean[start]);
    float pSum = 0, nSum = 0;
    for (int k = 0; k < kBins; ++k) pSum += p[std::size_t(k)], nSum += noise[std::size_t(k)];
    if (pSum < 2 * nSum) {
      ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(p.data(), noise.data(), next.data(), kBins), kelOk);
      noise = next;
    }
    ASSERT_EQ(kelsWienerFilterDesign_Aurora_32f(p.data(), noise.data(), denoised.data(), gain.data(), kBins),
              kelOk);
    minGain = std::min(minGain, *std::min_element(gain.begin(), gain.end()));
    maxGain = std::max(maxGain, *std::max_element(gain.begin(), gain.end()));
    for (std::size_t k = 0; k < kBins; ++k)
      denoised[k] = gain[k] * gain[k] * p[k];  // H filters the waveform
    float mel[3][25];
    ASSERT_EQ(kelsEvalFBank_32f(c.data(), mel[0], bank), kelOk);
    ASSERT_EQ(kelsEvalFBank_32f(p.data(), mel[1], bank), kelOk);
    ASSERT_EQ(kelsEvalFBank_32f(denoised.data(), mel[2], bank), kelOk);
    if (start < kLeadIn) continue;  // score the vowels only
    for (int j = 0; j < 25; ++j) {
      signal += std::pow(double(mel[0][j]), 2);
      errNoisy += std::pow(double(mel[1][j]) - mel[0][j], 2);
      errDenoised += std::pow(double(mel[2][j]) - mel[0][j], 2);
    }
  }
  EXPECT_EQ(kelsFBankFree_32f(bank), kelOk);
  kels::release(bank);  // Free keeps the record itself; it came from the library's allocator

  const double snrIn = 10 * std::log10(signal / errNoisy), snrOut = 10 * std::log10(signal / errDenoised);
  std::printf("chain: gains %.6f .. %.6f, mel SNR %.2f -> %.2f dB\n", minGain, maxGain, snrIn, snrOut);
  EXPECT_GE(minGain, 0.0735875f);  // the -22 dB floor
  EXPECT_LT(maxGain, 1.0f);
  EXPECT_LT(minGain, 0.08f);  // noise-only bins reach the floor
  EXPECT_GT(maxGain, 0.9f);   // strong harmonics pass almost unchanged
  EXPECT_GT(snrOut, snrIn + 0.5);
}

}  // namespace
}  // namespace kels
