/* One 8 kHz frame through the front end's noise reduction and a pitch search:
 * a 125 Hz pulse train in white noise -> real FFT -> smoothed power spectrum -> Wiener gains
 * against a noise estimate, then normalised cross-correlation over candidate periods. */
#include <kelsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { kFrame = 200, kOrder = 8, kFft = 1 << kOrder, kBins = kFft / 4 + 1 };

static float noise(void) { return (float)rand() / (float)RAND_MAX - 0.5f; }

int main(void) {
  float frame[kFft] = {0}, spectrum[kBins], noiseFloor[kBins], previous[kBins] = {0}, gain[kBins];
  Kels16s samples[kFrame];
  float best = -2.0f;
  int bestPeriod = 0, size = 0, k, n, period;
  void* fftMemory;

  for (n = 0; n < kFrame; ++n) {
    frame[n] = (n % 64 < 4 ? 1000.0f : 0.0f) + 200.0f * noise(); /* a pulse every 64 samples */
    samples[n] = (Kels16s)frame[n];
  }
  if (kelsFFTGetSize_R_32f(kOrder, &size) != kelOk || (fftMemory = malloc((size_t)size)) == NULL)
    return 1;
  kelsFFTInit_R_32f(kOrder, (KelsFFTSpec_R_32f*)fftMemory);
  kelsFFTFwd_RToPack_32f(frame, frame, (const KelsFFTSpec_R_32f*)fftMemory);
  kelsSmoothedPowerSpectrumAurora_32f(frame, spectrum, kFft);
  for (k = 0; k < kBins; ++k) noiseFloor[k] = 200.0f * 200.0f / 12.0f * kFrame; /* white noise */
  kelsWienerFilterDesign_Aurora_32f(spectrum, noiseFloor, previous, gain, kBins);
  printf("Wiener gains, every 8th bin:");
  for (k = 0; k < kBins; k += 8) printf(" %.3f", gain[k]);
  printf("\n");

  /* The period whose two neighbouring windows correlate best. */
  for (period = 20; period <= 100; ++period) {
    float r = 0.0f;
    if (kelsCrossCorrCoeff_16s32f(samples, samples + period, kFrame - period, &r) == kelOk &&
        r > best)
      best = r, bestPeriod = period;
  }
  printf("pitch period %d samples (%.1f Hz), correlation %.3f\n", bestPeriod, 8000.0 / bestPeriod,
         best);
  free(fftMemory);
  return 0;
}
