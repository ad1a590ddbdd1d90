// Mel filter banks: triangular filters over the bins 0..N/2 of a real FFT of length N, evaluated
// on a spectrum or, with mode bit 4, on a time frame whose magnitude spectrum the bank computes.
// Warping: mel(f) = A ln(1 + f / B), f(m) = B (exp(m / A) - 1).
#pragma once

#include <cmath>
#include <cstdint>

#include <kelsr.h>

#include "core/fft.h"

namespace kels::fbank {

constexpr int kModeMel = 1;     // weights in the mel domain, centres truncated
constexpr int kModeLinear = 2;  // weights linear over bins, centres rounded, peak exactly 1
constexpr int kModeFrame = 4;   // input is a time frame: the bank owns an FFT

// The documented record, field for field. Lower rows are allocated with N/2 + 3 elements and
// their pointers advanced past the first 3; padding to 8 elements leaves room after element
// N/2 - 1 for one more, so a rising run of N/2 + 1 bins (centres 0 and N/2) fits.
struct Bank {
  Kels32s* centers;  // nFilter + 2 bins
  float** lower;     // rising weights of filter j in row j-1, element 0 at bin c[j-1]
  float** upper;     // falling weights of filter j in row j-1, element 0 at bin c[j] + 1
  std::int32_t mode;
  std::int32_t n;
  std::int32_t order;
  std::int32_t nFilter;
  std::int32_t nFilterCopy;
  Kels32f melMul;  // A
  Kels32f melDiv;  // B
  std::uint8_t ready;
  KelsFFTSpec_R_32f* fft;  // with mode bit 4 only
  float* fftBuf;           // N + 2 floats, with mode bit 4 only
};

// N and order from a requested length: N = 2 for L <= 2, else the least power of two >= L.
struct Length {
  int n;
  int order;
};
Length fftLength(int l);
constexpr int kMaxLength = 1 << 30;  // N must fit the record's 32-bit field

// mel(f) = A ln(1 + f (1/B)) and f(m) = B (exp(m (1/A)) - 1), in double: forming 1 + f/B in
// float would lose most digits of a small f.
inline double melOf(double f, double melMul, double melDiv) { return melMul * std::log1p(f * (1.0 / melDiv)); }
inline double hzOf(double m, double melMul, double melDiv) { return std::expm1(m * (1.0 / melMul)) * melDiv; }

// Bin position of point i of nFilter + 2 evenly spaced in mel between low and high.
inline double melPosition(int i, double sampleRate, double low, double high, int nFilter,
                          double melMul, double melDiv, int n) {
  const double melLow = melOf(low, melMul, melDiv), delta = melOf(high, melMul, melDiv) - melLow;
  const double mel = (1.0 / (nFilter + 1)) * (i * delta) + melLow;
  return hzOf(mel, melMul, melDiv) * (1.0 / sampleRate) * n;
}
// Exact bin positions of nFilter + 2 points evenly spaced in mel between low and high
// (shared by the float builders and the fixed-point bank).
void melPositions(double sampleRate, double low, double high, int nFilter, double melMul,
                  double melDiv, int n, double* mel, double* pos);
// Mode-2 weights, linear over bins: rising (k - lo + 1)/(mid - lo + 1), 1 at the peak; falling
// (hi + 1 - k)/(hi - mid + 1).
inline float riseLinear(int k, int lo, int mid) { return float(k - lo + 1) / float(mid - lo + 1); }
inline float fallLinear(int k, int mid, int hi) { return float(hi + 1 - k) / float(hi - mid + 1); }
// A bin position as a centre: rounded (mode 2) or truncated (mode 1), within 0..N/2 (a NaN or
// negative position, only possible with degenerate warping parameters, becomes 0).
Kels32s centreBin(double pos, bool round, int n);

}  // namespace kels::fbank

struct KelsMelFBank_32f {
  kels::fbank::Bank b;
};
struct KelsMelFBank_16s {
  kels::fbank::Bank b;
  float* out;  // nFilter results before conversion to integers
  float* in;   // the converted frame (N floats), with mode bit 4 only
};
