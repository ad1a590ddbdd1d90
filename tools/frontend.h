// kels: the feature front end. Framing, DC removal, pre-emphasis, windowing and the Kaldi mel
// bank design are the program's own; the FFT, power spectrum, filter-bank evaluation, DCT with
// lifter, deltas and normalisation are library calls.
#ifndef KELS_TOOLS_FRONTEND_H
#define KELS_TOOLS_FRONTEND_H

#include <string>
#include <vector>

#include <kelsr.h>

#include "matrix_io.h"

namespace kels::tool {

enum class FeatureKind { kMfcc, kFbank };

struct BinSpan {
  int first, last;  // spectrum bins, inclusive
};

// Defaults are Kaldi's compute-mfcc-feats / compute-fbank-feats with dither 0 (`--preset kaldi`).
struct FeatureOptions {
  FeatureKind kind = FeatureKind::kMfcc;
  double frameLengthMs = 25.0, frameShiftMs = 10.0;
  double preemph = 0.97;
  bool removeDc = true;
  std::string window = "povey";  // povey, hamming, hanning, blackman, rectangular
  bool roundToPow2 = true;
  int numBins = 23;
  double lowFreq = 20.0, highFreq = 0.0;  // highFreq <= 0: offset from the Nyquist frequency
  bool usePower = true;                   // false: magnitude spectrum
  int numCeps = 13;
  int lifter = 22;                        // 0: no liftering
  bool useEnergy = true;                  // mfcc: log energy replaces c0; fbank: energy column first
  int deltaOrder = 0, deltaWindow = 2;
  bool cmvn = false;                      // per-utterance mean and variance normalisation

  static FeatureOptions kaldi(FeatureKind kind);
  int baseDim() const;  // columns before deltas
  int dim() const { return baseDim() * (1 + deltaOrder); }
  std::uint16_t htkKind() const;
};

// One front end per thread and sample rate: it owns the frame buffers; the library objects are
// shared.
class Frontend {
 public:
  Frontend(const FeatureOptions& opts, int sampleRate);  // throws Error on bad options
  Frontend(const Frontend&) = delete;
  Frontend& operator=(const Frontend&) = delete;

  // Features of one utterance (samples in 16-bit units). No frame fits: zero rows.
  Matrix compute(const float* samples, std::size_t count);
  int frameLength() const { return frameLen_; }
  int frameShift() const { return frameShift_; }
  int fftSize() const { return fftLen_; }
  std::size_t numFrames(std::size_t count) const;

 private:
  void processFrame(const float* x, float* out);
  double spectralPower() const;
  void tiltLowBins(const float* x, float mean);

  FeatureOptions o_;
  int rate_, frameLen_, frameShift_, fftLen_, order_;
  std::vector<double> window_, padded_;  // padded_: kTiltOrder wrap slots, the frame
  std::vector<float> windowF_, frame_, tilted_, spectrum_, power_, tiltPower_, tiltInvGain_, mel_, ceps_;
  int tiltBins_ = 0;  // power spectrum bins taken from the tilted transform
  // Shared, process-lifetime library objects (see tablesFor in frontend.cpp).
  const KelsFFTSpec_R_32f* fft_ = nullptr;
  const std::vector<BinSpan>* lowBands_ = nullptr;
  KelsMelFBank_32f* bank_ = nullptr;
  const KelsDCTLifter_32f* dct_ = nullptr;
};

// Appends delta (and delta-delta) columns with the library's regression over +-window frames.
Matrix addDeltas(const Matrix& m, int order, int window);
// Per-column mean and variance normalisation of one utterance, in place.
void normalizeMeanVar(Matrix& m);

}  // namespace kels::tool

#endif
