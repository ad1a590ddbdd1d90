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

struct Vowel {
  double f0, f1, f2, f3;
};

// Harmonics of f0 shaped by three formant bumps, one vowel after another with a short glide.
std::vector<float> vowels(test::Rng& rng) {
  const Vowel seq[] = {{120, 730, 1090, 2440},
                       {140, 270, 2290, 3010},
                       {110, 300, 870, 2240},
                       {130, 530, 1840, 2480}};
  std::vector<float> s(kLeadIn, 0.0f);
  for (const Vowel& v : seq) {
    std::vector<double> phase;
    for (double f = v.f0; f < 3800; f += v.f0) phase.push_back(rng.uniform(0, 2 * kPi));
    const int len = int(0.3 * kRate);
    for (int n = 0; n < len; ++n) {
      const double envelope = std::sin(kPi * n / len);  // each vowel fades in and out
      double x = 0;
      for (std::size_t h = 0; h < phase.size(); ++h) {
        const double f = v.f0 * double(h + 1);
        const double amp = std::exp(-std::pow((f - v.f1) / 150, 2)) +
                           0.6 * std::exp(-std::pow((f - v.f2) / 200, 2)) +
                           0.3 * std::exp(-std::pow((f - v.f3) / 250, 2)) + 0.02;
        x += amp * std::sin(2 * kPi * f * n / kRate + phase[h]);
      }
      s.push_back(float(3000 * std::sqrt(envelope) * x));
    }
  }
  return s;
}

class Spectra {
 public:
  Spectra() {
    int size = 0;
    EXPECT_EQ(kelsFFTGetSize_R_32f(kOrder, &size), kelOk);
    mem_.resize(std::size_t(size) / sizeof(double) + 1);
    fft_ = reinterpret_cast<KelsFFTSpec_R_32f*>(mem_.data());
    EXPECT_EQ(kelsFFTInit_R_32f(kOrder, fft_), kelOk);
  }
  // Hann-windowed frame, zero-padded to the FFT length, to the 65 smoothed power bins.
  std::vector<float> operator()(const float* frame) const {
    std::vector<float> buf(kFft, 0.0f), out(kBins);
    for (int n = 0; n < kFrame; ++n)
      buf[std::size_t(n)] = frame[n] * float(0.5 - 0.5 * std::cos(2 * kPi * (n + 0.5) / kFrame));
    EXPECT_EQ(kelsFFTFwd_RToPack_32f(buf.data(), buf.data(), fft_), kelOk);
    EXPECT_EQ(kelsSmoothedPowerSpectrumAurora_32f(buf.data(), out.data(), kFft), kelOk);
    return out;
  }

 private:
  std::vector<double> mem_;
  KelsFFTSpec_R_32f* fft_;
};

TEST(FrontEndChain, WienerNoiseReductionRaisesTheMelSpectrumSnr) {
  test::Rng rng(31);
  const std::vector<float> clean = vowels(rng);
  double speech = 0;
  for (std::size_t n = kLeadIn; n < clean.size(); ++n) speech += double(clean[n]) * clean[n];
  speech /= double(clean.size() - kLeadIn);
  const double sigma = std::sqrt(speech / std::pow(10.0, 0.5));  // 5 dB SNR
  std::vector<float> noisy(clean.size());
  for (std::size_t n = 0; n < clean.size(); ++n) noisy[n] = clean[n] + float(rng.normal(0, sigma));

  KelsMelFBank_32f* bank = nullptr;
  ASSERT_EQ(kelsMelFBankInitAllocLow_Aurora_32f(&bank), kelOk);
  int centres[27];
  ASSERT_EQ(kelsFBankGetCenters_32f(bank, centres), kelOk);
  ASSERT_LE(centres[26], kBins - 1);  // the bank reads the 65 smoothed bins
  const Spectra spectrum;

  // Noise: the mean of the lead-in frames, then the recursive update on frames whose energy
  // stays near the estimate (a plain energy detector).
  std::vector<float> noise(kBins, 0.0f), denoised(kBins, 0.0f), gain(kBins), next(kBins);
  int leadFrames = 0;
  for (int start = 0; start + kFrame <= kLeadIn; start += kHop, ++leadFrames) {
    const auto p = spectrum(&noisy[std::size_t(start)]);
    for (int k = 0; k < kBins; ++k) noise[std::size_t(k)] += p[std::size_t(k)];
  }
  for (float& v : noise) v /= float(leadFrames);

  // Mel-domain SNR of a spectrum against the clean one: over all vowel frames together, and per
  // frame then averaged (segmental), which weighs the quiet onsets as much as the loud nuclei.
  double signal = 0, errNoisy = 0, errDenoised = 0, segNoisy = 0, segDenoised = 0;
  int scored = 0;
  float minGain = 1, maxGain = 0;
  int frames = 0;
  for (std::size_t start = 0; start + kFrame <= noisy.size(); start += kHop, ++frames) {
    const auto p = spectrum(&noisy[start]);
    const auto c = spectrum(&clean[start]);
    float pSum = 0, nSum = 0;
    for (int k = 0; k < kBins; ++k) pSum += p[std::size_t(k)], nSum += noise[std::size_t(k)];
    if (pSum < 2 * nSum) {
      ASSERT_EQ(kelsNoiseSpectrumUpdate_Aurora_32f(p.data(), noise.data(), next.data(), kBins),
                kelOk);
      noise = next;
    }
    ASSERT_EQ(kelsWienerFilterDesign_Aurora_32f(p.data(), noise.data(), denoised.data(),
                                                gain.data(), kBins),
              kelOk);
    for (int k = 0; k < kBins; ++k) {
      const float h = gain[std::size_t(k)];
      minGain = std::min(minGain, h), maxGain = std::max(maxGain, h);
      denoised[std::size_t(k)] = h * h * p[std::size_t(k)];  // H filters the waveform: power by H^2
    }
    float melClean[25], melNoisy[25], melDenoised[25];
    ASSERT_EQ(kelsEvalFBank_32f(c.data(), melClean, bank), kelOk);
    ASSERT_EQ(kelsEvalFBank_32f(p.data(), melNoisy, bank), kelOk);
    ASSERT_EQ(kelsEvalFBank_32f(denoised.data(), melDenoised, bank), kelOk);
    if (start < kLeadIn) continue;  // score the vowels only
    double fs = 0, fn = 0, fd = 0;
    for (int j = 0; j < 25; ++j) {
      fs += double(melClean[j]) * melClean[j];
      fn += std::pow(double(melNoisy[j]) - melClean[j], 2);
      fd += std::pow(double(melDenoised[j]) - melClean[j], 2);
    }
    signal += fs, errNoisy += fn, errDenoised += fd;
    segNoisy += 10 * std::log10(fs / fn), segDenoised += 10 * std::log10(fs / fd), ++scored;
  }
  EXPECT_EQ(kelsFBankFree_32f(bank), kelOk);
  kels::release(bank);  // Free keeps the record itself; it came from the library's allocator

  const double snrIn = 10 * std::log10(signal / errNoisy),
               snrOut = 10 * std::log10(signal / errDenoised);
  segNoisy /= scored, segDenoised /= scored;
  std::printf(
      "chain: %d frames, gains %.6f .. %.6f, mel SNR %.2f -> %.2f dB, segmental %.2f -> %.2f dB\n",
      frames, minGain, maxGain, snrIn, snrOut, segNoisy, segDenoised);
  EXPECT_GE(minGain, 0.0735875f);  // the -22 dB floor
  EXPECT_LT(maxGain, 1.0f);
  EXPECT_LT(minGain, 0.08f);  // noise-only bins reach the floor
  EXPECT_GT(maxGain, 0.9f);   // strong harmonics pass almost unchanged
  EXPECT_GT(snrOut, snrIn + 0.5);
  EXPECT_GT(segDenoised, segNoisy + 1.0);
}

}  // namespace
}  // namespace kels
