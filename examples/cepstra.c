/* Cepstra with dynamic features: log filter-bank energies of a few frames go through a DCT
 * lifter (13 coefficients plus c0, last) and the streaming delta-delta operator, fed in two
 * calls as a front end would feed it. */
#include <kelsr.h>
#include <math.h>
#include <stdio.h>

enum { M = 23, Q = 13, W = Q + 1, T = 10 };

int main(void) {
  KelsDCTLifter_32f* dct = NULL;
  float logE[M], cep[T][W], rows[T][3 * W];
  int t, k, status;

  status = kelsDCTLifterInitAlloc_C0_32f(&dct, M, Q, 22, 1.0f, 1.0f);
  if (status != kelOk) return 1;
  for (t = 0; t < T; ++t) {
    for (k = 0; k < M; ++k) logE[k] = (float)log(1.0 + k + 3.0 * sin(0.3 * t + 0.1 * k));
    if (kelsDCTLifter_32f(logE, cep[t], dct) != kelOk) return 1;
  }
  kelsDCTLifterFree_32f(dct);

  /* First call: 4 frames with the begin flag. Second: the other 6 with the end flag, its
   * destination 3 rows (the overlap of DeltaDelta_Win1) before the end of the first call's rows. */
  if (kelsDeltaDelta_Win1_32f_D2(&cep[0][0], W, &rows[0][0], 3 * W, 4, 0.5f, 0.5f, 1) != kelOk) return 1;
  if (kelsDeltaDelta_Win1_32f_D2(&cep[4][0], W, &rows[4 - 3][0], 3 * W, T - 4, 0.5f, 0.5f, 2) != kelOk)
    return 1;
  for (t = 0; t < T; ++t)
    printf("frame %d: c1 %8.3f  d1 %8.3f  dd1 %8.3f  c0 %8.3f\n", t, rows[t][0], rows[t][W], rows[t][2 * W],
           rows[t][Q]);
  return 0;
}
