// Mel filter banks: triangular filters over the bins 0..N/2 of a real FFT of length N, evaluated
// on a spectrum or, with mode bit 4, on a time frame whose magnitude spectrum the bank computes.
// Warping: mel(f) = A ln(1 + f / B), f(m) = B (exp(m / A) - 1).
#pragma once

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

// float ln and exp through the double functions, rounded once.
float lnF(float x);
float expF(float x);

// Exact bin positions of nFilter + 2 points evenly spaced in mel between low and high, by the
// documented float formula (shared by the float builders and the fixed-point bank).
void melPositions(float sampleRate, float low, float high, int nFilter, float melMul,
                  float melDiv, int n, float* mel, float* pos);
// Mode-2 weights, linear over bins: rising (k - lo + 1)/(mid - lo + 1), 1 at the peak; falling
// (hi + 1 - k)/(hi - mid + 1).
inline float riseLinear(int k, int lo, int mid) { return float(k - lo + 1) / float(mid - lo + 1); }
inline float fallLinear(int k, int mid, int hi) { return float(hi + 1 - k) / float(hi - mid + 1); }
// A float bin position as a centre: rounded (mode 2) or truncated (mode 1), within 0..N/2 (a
// NaN or negative position, only possible with degenerate warping parameters, becomes 0).
Kels32s centreBin(float pos, bool round, int n);

}  // namespace kels::fbank

struct KelsMelFBank_32f {
  kels::fbank::Bank b;
};
struct KelsMelFBank_16s {
  kels::fbank::Bank b;
  float* out;  // nFilter results before conversion to integers
  float* in;   // the converted frame (N floats), with mode bit 4 only
};
