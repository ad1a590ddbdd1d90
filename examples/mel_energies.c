/* Log mel energies of one 512-sample frame at 16 kHz, and the power spectrum of the same frame
 * through the exported FFT. The filter bank is built with mode 2 + 4, so it takes the frame
 * itself and forms the magnitude spectrum first. */
#include <kelsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { kFrame = 512, kOrder = 9, kFilters = 23 };

int main(void) {
  static float frame[kFrame], pack[kFrame], power[kFrame / 2 + 1], energies[kFilters];
  const double pi = 3.14159265358979323846;
  KelsMelFBank_32f* bank = NULL;
  KelsFFTSpec_R_32f* fft;
  int order = 0, size = 0, i;
  for (i = 0; i < kFrame; ++i) /* 1 kHz and 3 kHz tones */
    frame[i] = (float)(sin(2 * pi * 1000 * i / 16000.0) + 0.5 * sin(2 * pi * 3000 * i / 16000.0));

  if (kelsMelFBankInitAlloc_32f(&bank, &order, kFrame, 16000.0f, 64.0f, 8000.0f, kFilters,
                                2595.0f, 700.0f, 2 + 4) != kelOk ||
      kelsEvalFBank_32f(frame, energies, bank) != kelOk) {
    fprintf(stderr, "filter bank failed\n");
    return 1;
  }
  printf("log mel energies (FFT order %d):\n", order);
  for (i = 0; i < kFilters; ++i) printf("%2d %8.3f\n", i + 1, log(energies[i] + 1e-10));
  kelsFBankFree_32f(bank); /* the small object record itself stays allocated */

  if (kelsFFTGetSize_R_32f(kOrder, &size) != kelOk || (fft = malloc((size_t)size)) == NULL ||
      kelsFFTInit_R_32f(kOrder, fft) != kelOk || kelsFFTFwd_RToPack_32f(frame, pack, fft) != kelOk ||
      kelsPowerSpectrum_Pack_32f(pack, power, kFrame) != kelOk) {
    fprintf(stderr, "FFT failed\n");
    return 1;
  }
  printf("power at 1 kHz (bin 32): %.1f, at 3 kHz (bin 96): %.1f\n", power[32], power[96]);
  free(fft);
  return 0;
}
