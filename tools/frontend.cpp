// kels: feature front end. Per frame: DC removal, raw log energy, pre-emphasis, window, zero
// padding to the FFT length, power (or magnitude) spectrum (its low bins recomputed from a
// low-passed copy when a low band is weak), mel filter bank, log, and for MFCC the DCT with a
// sine lifter. Matches Kaldi's feature pipeline with dither 0.
#include "frontend.h"

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>

#include "error.h"

namespace kels::tool {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kLogFloor = FLT_EPSILON;  // energies are floored here before the log, as Kaldi does
constexpr int kTiltOrder = 4;  // order of the binomial low-pass (1 + z^-1)^4 for the low bins
// A low band this far below the frame's spectral power (the sum of |Y(k)|^2 over all N bins)
// has its bins recomputed from the tilted transform; above it, the plain transform's rounding
// noise moves a band's log by less than 2e-5 on speech.
constexpr double kTiltBelow = 1e-6;

// Bins below an eighth of the sample rate, where the tilt's gain (2 + 2 cos(2 pi k / N))^4 is
// within 3 dB of its 256 at DC.
int tiltBins(int fftLen) { return fftLen / 8; }

double melScale(double hz) { return 1127.0 * std::log(1.0 + hz / 700.0); }

std::vector<double> makeWindow(const std::string& name, int n) {
  std::vector<double> w(std::size_t(n), 1.0);
  const double a = n > 1 ? 2.0 * kPi / (n - 1) : 0.0;
  for (int i = 0; i < n; ++i) {
    double v;
    if (name == "povey") v = std::pow(0.5 - 0.5 * std::cos(a * i), 0.85);
    else if (name == "hanning") v = 0.5 - 0.5 * std::cos(a * i);
    else if (name == "hamming") v = 0.54 - 0.46 * std::cos(a * i);
    else if (name == "blackman") v = 0.42 - 0.5 * std::cos(a * i) + 0.08 * std::cos(2.0 * a * i);
    else if (name == "rectangular") v = 1.0;
    else throw Error("unknown window '" + name + "' (povey, hamming, hanning, blackman, rectangular)");
    w[std::size_t(i)] = v;
  }
  return w;
}

struct Tables {
  std::vector<unsigned char> fftMem;
  std::vector<BinSpan> lowBands;  // bands within the bins of the tilted transform
  const KelsFFTSpec_R_32f* fft = nullptr;
  KelsMelFBank_32f* bank = nullptr;
  KelsDCTLifter_32f* dct = nullptr;
};

std::unique_ptr<Tables> buildTables(const FeatureOptions& o, int rate, int fftLen, int order,
                                    double high) {
  auto t = std::make_unique<Tables>();
  int bytes = 0;
  check(kelsFFTGetSize_R_32f(order, &bytes), "kelsFFTGetSize_R_32f");
  t->fftMem.assign(std::size_t(bytes) + 64, 0);
  // The object lives in our memory; give it 64-byte alignment for the kernels.
  auto addr = reinterpret_cast<std::uintptr_t>(t->fftMem.data());
  auto* fft = reinterpret_cast<KelsFFTSpec_R_32f*>((addr + 63) & ~std::uintptr_t(63));
  check(kelsFFTInit_R_32f(order, fft), "kelsFFTInit_R_32f");
  t->fft = fft;

  // Kaldi's mel bank: triangles in the mel domain over bins 0 .. N/2 - 1 (the Nyquist bin gets
  // no weight). Centre i is the last bin at or below the i-th mel edge, so each span between two
  // centres feeds the falling side of one filter and the rising side of the next.
  const int bins = fftLen / 2, nf = o.numBins;
  const double melLow = melScale(o.lowFreq), melHigh = melScale(high);
  const double delta = (melHigh - melLow) / (nf + 1);
  std::vector<double> binMel(std::size_t(bins) + 1);
  for (int k = 0; k <= bins; ++k) binMel[std::size_t(k)] = melScale(double(rate) / fftLen * k);
  std::vector<int> centres(std::size_t(nf) + 2);
  for (int i = 0; i <= nf + 1; ++i) {
    const double edge = melLow + i * delta;
    int c = 0;
    while (c + 1 <= bins && binMel[std::size_t(c) + 1] <= edge) ++c;
    centres[std::size_t(i)] = c;
  }
  int bankOrder = 0;
  check(kelsEmptyFBankInitAlloc_32f(&t->bank, &bankOrder, fftLen, nf, 1), "kelsEmptyFBankInitAlloc_32f");
  check(kelsFBankSetCenters_32f(t->bank, centres.data()), "kelsFBankSetCenters_32f");
  std::vector<float> coeffs;
  for (int j = 1; j <= nf; ++j) {
    const double left = melLow + (j - 1) * delta, centre = left + delta, right = centre + delta;
    coeffs.clear();
    BinSpan span{bins, -1};
    for (int k = centres[std::size_t(j) - 1]; k <= centres[std::size_t(j) + 1]; ++k) {
      const double m = binMel[std::size_t(k)];
      double w = 0.0;
      if (k < bins && m > left && m < right)
        w = m <= centre ? (m - left) / (centre - left) : (right - m) / (right - centre);
      coeffs.push_back(float(w));
      if (float(w) > 0.0f) span = {std::min(span.first, k), k};
    }
    if (span.last >= 0 && span.last < tiltBins(fftLen)) t->lowBands.push_back(span);
    check(kelsFBankSetCoeffs_32f(t->bank, j, coeffs.data()), "kelsFBankSetCoeffs_32f");
  }

  if (o.kind == FeatureKind::kMfcc) {
    // Orthonormal DCT-II: sqrt(2/M) on c1.., sqrt(1/M) on c0, times the sine lifter
    // 1 + L/2 sin(pi n / L), which the library builds; L = 1 makes it 1 (no liftering).
    const float m = float(o.numBins);
    check(kelsDCTLifterInitAlloc_C0_32f(&t->dct, o.numBins, o.numCeps - 1,
                                        o.lifter > 0 ? o.lifter : 1, std::sqrt(2.0f / m),
                                        std::sqrt(1.0f / m)),
          "kelsDCTLifterInitAlloc_C0_32f");
  }
  return t;
}

// The FFT plan, mel bank and lifter of one sample rate and option set, built once and kept for
// the life of the process. Evaluation only reads them (a bank without its own FFT, a float
// lifter), so every thread shares one set; and the library's Free releases an object's arrays
// but never its record, so objects made per file would leak.
const Tables& tablesFor(const FeatureOptions& o, int rate, int fftLen, int order, double high) {
  static std::mutex mu;
  static auto* cache = new std::map<std::string, std::unique_ptr<Tables>>;
  std::ostringstream key;
  key.precision(17);
  key << int(o.kind) << ' ' << rate << ' ' << fftLen << ' ' << o.numBins << ' ' << o.lowFreq << ' '
      << high << ' ' << o.numCeps << ' ' << o.lifter;
  std::lock_guard<std::mutex> lock(mu);
  auto& slot = (*cache)[key.str()];
  if (!slot) slot = buildTables(o, rate, fftLen, order, high);
  return *slot;
}

}  // namespace

FeatureOptions FeatureOptions::kaldi(FeatureKind kind) {
  FeatureOptions o;
  o.kind = kind;
  o.useEnergy = kind == FeatureKind::kMfcc;  // compute-fbank-feats leaves energy out by default
  return o;
}

int FeatureOptions::baseDim() const {
  return kind == FeatureKind::kMfcc ? numCeps : numBins + (useEnergy ? 1 : 0);
}

std::uint16_t FeatureOptions::htkKind() const {
  // Columns are in Kaldi's order (energy or c0 first), which no HTK base kind describes.
  std::uint16_t k = kHtkUser;
  if (deltaOrder >= 1) k |= kHtkDelta;
  if (deltaOrder >= 2) k |= kHtkAccel;
  return k;
}

Frontend::Frontend(const FeatureOptions& opts, int sampleRate) : o_(opts), rate_(sampleRate) {
  frameLen_ = int(double(sampleRate) * 0.001 * o_.frameLengthMs);
  frameShift_ = int(double(sampleRate) * 0.001 * o_.frameShiftMs);
  if (frameLen_ < 2 || frameShift_ < 1) throw Error("frame length or shift too short");
  fftLen_ = frameLen_;
  if (o_.roundToPow2) {
    fftLen_ = 2;
    while (fftLen_ < frameLen_) fftLen_ *= 2;
  }
  order_ = 0;
  while ((1 << order_) < fftLen_) ++order_;
  if ((1 << order_) != fftLen_)
    throw Error("the FFT length must be a power of two (keep --round-to-power-of-two)");
  if (order_ > 13) throw Error("frame too long for the FFT (at most 8192 samples)");
  const double nyquist = 0.5 * sampleRate;
  const double high = o_.highFreq > 0.0 ? o_.highFreq : nyquist + o_.highFreq;
  if (o_.numBins < 1) throw Error("--num-mel-bins must be at least 1");
  if (o_.lowFreq < 0.0 || high > nyquist || !(o_.lowFreq < high))
    throw Error("mel bank frequencies must satisfy 0 <= low < high <= " + std::to_string(nyquist));
  if (o_.kind == FeatureKind::kMfcc && (o_.numCeps < 2 || o_.numCeps > o_.numBins))
    throw Error("--num-ceps must be between 2 and --num-mel-bins");
  if (o_.lifter < 0) throw Error("--cepstral-lifter must not be negative");

  window_ = makeWindow(o_.window, frameLen_);
  windowF_.assign(window_.begin(), window_.end());
  padded_.assign(std::size_t(fftLen_ + kTiltOrder), 0.0);
  frame_.assign(std::size_t(fftLen_), 0.0f);
  tilted_.assign(std::size_t(fftLen_), 0.0f);
  spectrum_.assign(std::size_t(fftLen_), 0.0f);
  power_.assign(std::size_t(fftLen_ / 2 + 1), 0.0f);
  tiltPower_.assign(power_.size(), 0.0f);
  tiltBins_ = tiltBins(fftLen_);
  for (int k = 0; k < tiltBins_; ++k)
    tiltInvGain_.push_back(float(1.0 / std::pow(2.0 + 2.0 * std::cos(2.0 * kPi * k / fftLen_), kTiltOrder)));
  mel_.assign(std::size_t(o_.numBins), 0.0f);
  ceps_.assign(std::size_t(o_.numCeps), 0.0f);

  const Tables& t = tablesFor(o_, rate_, fftLen_, order_, high);
  fft_ = t.fft;
  lowBands_ = &t.lowBands;
  bank_ = t.bank;
  dct_ = t.dct;
}

std::size_t Frontend::numFrames(std::size_t count) const {
  if (count < std::size_t(frameLen_)) return 0;
  return 1 + (count - std::size_t(frameLen_)) / std::size_t(frameShift_);
}

Matrix Frontend::compute(const float* samples, std::size_t count) {
  const std::size_t frames = numFrames(count);
  Matrix m(int(frames), o_.baseDim());
  for (std::size_t t = 0; t < frames; ++t)
    processFrame(samples + t * std::size_t(frameShift_), m.row(int(t)));
  if (o_.deltaOrder > 0) m = addDeltas(m, o_.deltaOrder, o_.deltaWindow);
  if (o_.cmvn) normalizeMeanVar(m);
  return m;
}

double Frontend::spectralPower() const {
  // Sum over all N bins: the bins 1 .. N/2 - 1 count twice.
  constexpr int kLanes = 8;
  const int half = fftLen_ / 2;
  const float* pw = power_.data();
  float s[kLanes] = {};
  int k = 1;
  for (; k + kLanes <= half; k += kLanes)
    for (int l = 0; l < kLanes; ++l) s[l] += pw[k + l];
  for (; k < half; ++k) s[0] += pw[k];
  const double inner = ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
  return 2.0 * inner + double(pw[0]) + double(pw[half]);
}

// Weak low bands (fricatives, whose low bands DC removal and pre-emphasis leave 80-100 dB below
// the frame) sit near the noise the float FFT leaves in every bin, a fixed fraction of its
// input's norm. So the low bins are computed again, from the frame conditioned in double and
// circularly convolved with (1 + z^-1)^4: the DFT of that is Y(k) (1 + e^(-2 pi i k / N))^4, so
// its power over the squared gain is |Y(k)|^2, while the high frequencies that set the noise
// are filtered out before the transform.
void Frontend::tiltLowBins(const float* x, float mean) {
  const int n = frameLen_, len = fftLen_;
  const double p = o_.preemph, m = mean, d0 = double(x[0]) - m;
  const double* w = window_.data();
  double* y = padded_.data() + kTiltOrder;  // kTiltOrder slots for the wrap, then y; y[n ..) is 0
  y[0] = (d0 - p * d0) * w[0];
  for (int i = 1; i < n; ++i) y[i] = ((double(x[i]) - m) - p * (double(x[i - 1]) - m)) * w[i];
  for (int j = 0; j < kTiltOrder; ++j) padded_[std::size_t(j)] = y[len - kTiltOrder + j];
  const double* q = padded_.data();
  float* z = tilted_.data();  // z[n + kTiltOrder ..) stays zero
  for (int i = 0; i < std::min(len, n + kTiltOrder); ++i)
    z[i] = float((q[i + 4] + q[i]) + 4.0 * (q[i + 3] + q[i + 1]) + 6.0 * q[i + 2]);
  check(kelsFFTFwd_RToPack_32f(z, spectrum_.data(), fft_), "kelsFFTFwd_RToPack_32f");
  check(kelsPowerSpectrum_Pack_32f(spectrum_.data(), tiltPower_.data(), len), "kelsPowerSpectrum_Pack_32f");
  for (int k = 0; k < tiltBins_; ++k)
    power_[std::size_t(k)] = tiltPower_[std::size_t(k)] * tiltInvGain_[std::size_t(k)];
}

void Frontend::processFrame(const float* x, float* out) {
  // Eight partial sums keep the additions independent, so the loops vectorise.
  constexpr int kLanes = 8;
  const int n = frameLen_, len = fftLen_;
  float s[kLanes] = {}, e[kLanes] = {};
  int i = 0;
  for (; i + kLanes <= n; i += kLanes)
    for (int l = 0; l < kLanes; ++l) s[l] += x[i + l];
  for (; i < n; ++i) s[0] += x[i];
  const float mean =
      o_.removeDc ? (((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]))) / float(n) : 0.0f;
  for (i = 0; i + kLanes <= n; i += kLanes)
    for (int l = 0; l < kLanes; ++l) e[l] += (x[i + l] - mean) * (x[i + l] - mean);
  for (; i < n; ++i) e[0] += (x[i] - mean) * (x[i] - mean);
  const float energy = ((e[0] + e[4]) + (e[2] + e[6])) + ((e[1] + e[5]) + (e[3] + e[7]));
  const float logEnergy = std::log(std::max(energy, kLogFloor));
  // Pre-emphasis as (x[i] - x[i-1]) + (1 - p)(x[i-1] - mean): the first difference of 16-bit
  // samples is exact and only the small second term is rounded. The plain d[i] - p d[i-1]
  // rounds terms as large as the samples: 2.5 times the rounding noise in the frame.
  const float keep = float(1.0 - o_.preemph);
  const float* w = windowF_.data();
  float* f = frame_.data();
  f[0] = keep * (x[0] - mean) * w[0];
  for (i = 1; i < n; ++i) f[i] = ((x[i] - x[i - 1]) + keep * (x[i - 1] - mean)) * w[i];

  check(kelsFFTFwd_RToPack_32f(f, spectrum_.data(), fft_), "kelsFFTFwd_RToPack_32f");
  check(kelsPowerSpectrum_Pack_32f(spectrum_.data(), power_.data(), len), "kelsPowerSpectrum_Pack_32f");
  if (!lowBands_->empty()) {
    const float floor = float(kTiltBelow * spectralPower());
    auto weak = [&](BinSpan b) {
      float sum = 0.0f;
      for (int k = b.first; k <= b.last; ++k) sum += power_[std::size_t(k)];
      return sum < floor;
    };
    if (std::any_of(lowBands_->begin(), lowBands_->end(), weak)) tiltLowBins(x, mean);
  }
  if (!o_.usePower)
    for (float& v : power_) v = std::sqrt(v);
  check(kelsEvalFBank_32f(power_.data(), mel_.data(), bank_), "kelsEvalFBank_32f");
  for (float& v : mel_) v = std::log(std::max(v, kLogFloor));

  if (o_.kind == FeatureKind::kFbank) {
    int c = 0;
    if (o_.useEnergy) out[c++] = logEnergy;
    for (float v : mel_) out[c++] = v;
    return;
  }
  // The lifter writes c1 .. c(Q) and then c0; features keep c0 (or the energy) first.
  check(kelsDCTLifter_32f(mel_.data(), ceps_.data(), dct_), "kelsDCTLifter_32f");
  const int q = o_.numCeps - 1;
  out[0] = o_.useEnergy ? logEnergy : ceps_[std::size_t(q)];
  for (int i = 0; i < q; ++i) out[i + 1] = ceps_[std::size_t(i)];
}

Matrix addDeltas(const Matrix& m, int order, int window) {
  const int base = m.cols, cols = base * (1 + order);
  Matrix d(m.rows, cols);
  for (int t = 0; t < m.rows; ++t) std::copy(m.row(t), m.row(t) + base, d.row(t));
  // The regression needs 2W frames; shorter utterances get a narrower window, a single frame
  // keeps zero deltas.
  const int w = std::min(window, m.rows / 2);
  if (w < 1 || order < 1) return d;
  double norm = 0.0;
  for (int tau = 1; tau <= w; ++tau) norm += 2.0 * tau * tau;
  const float scale = float(1.0 / norm);
  for (int k = 0; k < order; ++k)
    check(kelsEvalDelta_32f_D2(d.data.data(), d.rows, cols, base, k * base, w, scale),
          "kelsEvalDelta_32f_D2");
  return d;
}

void normalizeMeanVar(Matrix& m) {
  if (m.rows == 0) return;
  std::vector<float> mean(std::size_t(m.cols)), scale(std::size_t(m.cols), 1.0f);
  if (m.rows >= 2) {
    check(kelsMeanVarColumn_32f_D2(m.data.data(), m.rows, m.cols, mean.data(), scale.data(), m.cols),
          "kelsMeanVarColumn_32f_D2");
    // A constant column has no scale: the tiny threshold stands in for 1/sigma and maps it to 0.
    const KelsStatus st = kelsRecSqrt_32f(scale.data(), m.cols, 1e-20f);
    if (st < 0) check(st, "kelsRecSqrt_32f");
  } else {
    std::copy(m.row(0), m.row(0) + m.cols, mean.begin());
  }
  check(kelsNormalizeColumn_32f_D2(m.data.data(), m.cols, m.rows, mean.data(), scale.data(), m.cols),
        "kelsNormalizeColumn_32f_D2");
}

}  // namespace kels::tool
