// Front end of distributed speech recognition: smoothed power spectra of packed FFTs, the
// recursive noise estimate, the two-stage Wiener gain, SNR-dependent waveform processing and
// blind cepstral equalisation. Stateless: what persists between frames is the caller's.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/check.h"
#include "dsrfe/kernels/front_end_table.h"

namespace kels::dsrfe {
namespace {

constexpr int kFrame = 200;           // samples per frame at 8 kHz
constexpr int kMinPeriod = 25;        // closest two pitch peaks may be
constexpr int kMaxPeriod = 79;        // farthest a search reaches from the last peak
constexpr int kMaxPeaksPerSide = 20;  // 200 / 25 < 8 occur; room to spare
constexpr int kLead = 4;              // weighting starts this many samples before a peak

// Length: a positive multiple of four (the output pairs two complex bins).
KelsStatus checkSpectrum(const void* src, const void* dst, int len) {
  return ArgCheck{}.ptrs(src, dst).size(len).arg(len % 4 == 0, kelErrSize);
}

KelsStatus checkElementwise3(const void* a, const void* b, const void* c, int len) {
  return ArgCheck{}.ptrs(a, b, c).size(len);
}

KelsStatus checkElementwise4(const void* a, const void* b, const void* c, const void* d, int len) {
  return ArgCheck{}.ptrs(a, b, c, d).size(len);
}

KelsStatus checkFrame(const void* src, const void* dst) { return ArgCheck{}.ptrs(src, dst); }

KelsStatus smoothedPowerSpectrum(const float* x, float* dst, int len) {
  if (KelsStatus st = checkSpectrum(x, dst, len); st != kelOk) return st;
  const int m = len / 4;
  // Both end values read x[1] (the Nyquist bin), which sits among bin 0's group; read the
  // input before writing so that dst may be the input array.
  const float first = ((x[0] * x[0] + x[2] * x[2]) + x[3] * x[3]) * 0.5f;
  const float nyquist = x[1] * x[1];
  frontEndKernels().halfSumsOfSquares(x + 4, dst + 1, m - 1);
  dst[0] = first;
  dst[m] = nyquist;
  return kelOk;
}

// Four squares halved and summed in 32-bit wrap-around arithmetic: only four -32768 reach 2^31,
// which wraps to -2^31 (formed without signed overflow).
Kels16s halvedPairPower(const Kels16s* g) {
  std::uint32_t s = 0;
  for (int j = 0; j < 4; ++j) s += std::uint32_t((std::int32_t(g[j]) * g[j]) >> 1);
  const std::int64_t wrapped = s < 0x80000000u ? std::int64_t(s) : std::int64_t(s) - 0x100000000;
  return wrapped < -32767 ? Kels16s(-32768) : Kels16s(std::min<std::int64_t>(wrapped, 32767));
}

KelsStatus smoothedPowerSpectrum16s(const Kels16s* x, Kels16s* dst, int len) {
  if (KelsStatus st = checkSpectrum(x, dst, len); st != kelOk) return st;
  const int m = len / 4;
  const auto sq = [](Kels16s v) { return std::int32_t(v) * v; };
  // No lower clamp for bin 0: three halved squares cannot wrap.
  const Kels16s first =
      Kels16s(std::min((sq(x[0]) >> 1) + (sq(x[2]) >> 1) + (sq(x[3]) >> 1), 32767));
  const Kels16s nyquist = Kels16s(std::min(sq(x[1]), 32767));  // not halved, unlike the rest
  for (int k = 1; k < m; ++k) dst[k] = halvedPairPower(x + 4 * k);
  dst[0] = first;
  dst[m] = nyquist;
  return kelOk;
}

KelsStatus noiseSpectrumUpdate(const float* x, const float* y, float* dst, int len) {
  if (KelsStatus st = checkElementwise3(x, y, dst, len); st != kelOk) return st;
  frontEndKernels().noiseUpdate(x, y, dst, len);
  return kelOk;
}

KelsStatus wienerFilterDesign(const float* p, const float* n, const float* d, float* h, int len) {
  if (KelsStatus st = checkElementwise4(p, n, d, h, len); st != kelOk) return st;
  frontEndKernels().wienerGain(p, n, d, h, len);
  return kelOk;
}

// Index of the largest s[lo .. hi]; the first wins a tie.
int argMax(const float* s, int lo, int hi) {
  int best = lo;
  for (int i = lo + 1; i <= hi; ++i)
    if (s[i] > s[best]) best = i;
  return best;
}

// Peaks of the smoothed Teager contour, ascending, at least kMinPeriod apart; returns the count.
int pickPeaks(const float* contour, std::int16_t* peaks) {
  std::int16_t left[kMaxPeaksPerSide], right[kMaxPeaksPerSide];
  const int p0 = argMax(contour, 0, kFrame - 1);
  int nRight = 0;
  for (int p = p0; p + kMinPeriod < kFrame && nRight < kMaxPeaksPerSide;) {
    p = argMax(contour, p + kMinPeriod, std::min(p + kMaxPeriod, kFrame - 1));
    right[nRight++] = std::int16_t(p);
  }
  // A peak at 25 starts no leftward search although sample 0 is 25 away: the front end's rule.
  int nLeft = 0;
  for (int p = p0; p - kMinPeriod >= 1 && nLeft < kMaxPeaksPerSide;) {
    p = argMax(contour, std::max(p - kMaxPeriod, 0), p - kMinPeriod);
    left[nLeft++] = std::int16_t(p);
  }
  int count = 0;
  for (int i = nLeft - 1; i >= 0; --i) peaks[count++] = left[i];
  peaks[count++] = std::int16_t(p0);
  for (int i = 0; i < nRight; ++i) peaks[count++] = right[i];
  return count;
}

// The first 80 % of a period (truncated, from a float product), less the lead.
int emphasisEnd(int peak, int gap) { return peak + int(0.8f * float(gap)) - kLead; }

// 1.2 over each period's emphasised part, 0.8 elsewhere, 1.0 on both sides of every edge.
// Successive peaks are at least 25 apart, so every index written below lies inside the frame.
void periodWeights(const std::int16_t* q, int count, float* w) {
  std::fill(w, w + kFrame, 0.8f);
  for (int k = 0; k + 1 < count; ++k) {
    const int a = std::max(q[k] - kLead, 0);
    const int b = emphasisEnd(q[k], q[k + 1] - q[k]);
    int e = a;
    if (a < b) {
      std::fill(w + a, w + b, 1.2f);
      e = b;
    }
    if (a > 0) w[a - 1] = w[a] = 1.0f;
    w[e - 1] = w[e] = 1.0f;
  }
  // The last period borrows the previous gap and is cut at the frame's end, where it keeps 1.2
  // (no neutral edge).
  const int last = q[count - 1];
  const int a = last - kLead;
  const int b = std::min(emphasisEnd(last, last - q[count - 2]), kFrame);
  if (a < b) std::fill(w + a, w + b, 1.2f);
  if (a < kFrame - 2) w[a - 1] = w[a] = 1.0f;
  if (b < kFrame) w[b - 1] = w[b] = 1.0f;
}

KelsStatus waveProcessing(const float* s, float* dst) {
  if (KelsStatus st = checkFrame(s, dst); st != kelOk) return st;
  const FrontEndKernels& k = frontEndKernels();
  float energy[kFrame], contour[kFrame], weight[kFrame];
  std::int16_t peaks[2 * kMaxPeaksPerSide + 1];

  // The ends lack a neighbour and use the sample itself; they are formed in double.
  const double s0 = s[0], s1 = s[1], sl = s[kFrame - 1], sm = s[kFrame - 2];
  energy[0] = float(std::fabs(s0 * s0 - s0 * s1));
  energy[kFrame - 1] = float(std::fabs(sl * sl - sl * sm));
  k.teager(s + 1, energy + 1, kFrame - 2);

  // Nine-sample moving sum with the end values repeated; only the positions of maxima matter,
  // so it is not divided by 9.
  float sum = 5 * energy[0] + energy[1] + energy[2] + energy[3] + energy[4];
  contour[0] = sum;
  for (int n = 1; n < kFrame; ++n) {
    sum = sum - energy[std::max(n - 5, 0)] + energy[std::min(n + 4, kFrame - 1)];
    contour[n] = sum;
  }

  periodWeights(peaks, pickPeaks(contour, peaks), weight);
  k.multiply(weight, s, dst, kFrame);
  return kelOk;
}

KelsStatus blindEqualization(const float* ref, float* cep, float* bias, int len, float logEnergy) {
  if (KelsStatus st = checkElementwise3(ref, cep, bias, len); st != kelOk) return st;
  // The step grows with the frame's log energy from 211/64 over one unit, up to 9/1024.
  const float mu = std::min(std::max(logEnergy - 3.296875f, 0.0f), 1.0f) * 0.0087890625f;
  frontEndKernels().equalize(ref, cep, bias, mu, len);
  return kelOk;
}

}  // namespace
}  // namespace kels::dsrfe

using namespace kels::dsrfe;

extern "C" KELS_API KelsStatus KELS_CALL kelsSmoothedPowerSpectrumAurora_32f(const Kels32f* pSrc,
                                                                             Kels32f* pDst,
                                                                             int len) {
  return smoothedPowerSpectrum(pSrc, pDst, len);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsSmoothedPowerSpectrumAurora_16s(const Kels16s* pSrc,
                                                                             Kels16s* pDst,
                                                                             int len) {
  return smoothedPowerSpectrum16s(pSrc, pDst, len);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsNoiseSpectrumUpdate_Aurora_32f(const Kels32f* pSrcX,
                                                                            const Kels32f* pSrcY,
                                                                            Kels32f* pDst,
                                                                            int len) {
  return noiseSpectrumUpdate(pSrcX, pSrcY, pDst, len);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsWienerFilterDesign_Aurora_32f(
    const Kels32f* pSrcP, const Kels32f* pSrcN, const Kels32f* pSrcD, Kels32f* pDstH, int len) {
  return wienerFilterDesign(pSrcP, pSrcN, pSrcD, pDstH, len);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsWaveProcessing_Aurora_32f(const Kels32f* pSrc,
                                                                       Kels32f* pDst) {
  return waveProcessing(pSrc, pDst);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsBlindEqualization_Aurora_32f(const Kels32f* pRefCep,
                                                                          Kels32f* pCep,
                                                                          Kels32f* pBias, int len,
                                                                          Kels32f logEnergy) {
  return blindEqualization(pRefCep, pCep, pBias, len, logEnergy);
}
