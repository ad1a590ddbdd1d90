/* Scores a few feature vectors under a two-component diagonal Gaussian mixture: one
 * kelsLogGauss_32f_D2 call per component scores every frame, and kelsLogAdd_32f combines the
 * components in the log domain. The Gaussian constant of each component carries its log weight
 * and -1/2 log((2 pi)^n det Sigma). */
#include <kelsr.h>
#include <math.h>
#include <stdio.h>

#define DIM 3
#define FRAMES 4

static float gconst(const float* var, float weight) {
  double g = log(weight);
  int i;
  for (i = 0; i < DIM; ++i) g -= 0.5 * log(2.0 * 3.14159265358979323846 * var[i]);
  return (float)g;
}

int main(void) {
  const float frames[FRAMES][DIM] = {{0.1f, 0.2f, -0.1f}, {1.0f, 0.9f, 1.2f}, {0.5f, 0.4f, 0.6f}, {3.0f, -2.0f, 0.0f}};
  const float mean[2][DIM] = {{0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}};
  const float var[2][DIM] = {{1.0f, 0.5f, 2.0f}, {0.25f, 0.25f, 0.25f}};
  const float weight[2] = {0.7f, 0.3f};
  float inv[2][DIM], score[2][FRAMES];
  int c, i, t;
  KelsStatus st;

  for (c = 0; c < 2; ++c) {
    for (i = 0; i < DIM; ++i) inv[c][i] = 1.0f / var[c][i]; /* the plain forms take precisions */
    st = kelsLogGauss_32f_D2(&frames[0][0], DIM, mean[c], inv[c], DIM, score[c], FRAMES,
                             gconst(var[c], weight[c]));
    if (st != kelOk) {
      fprintf(stderr, "kelsLogGauss_32f_D2: status %d\n", (int)st);
      return 1;
    }
  }
  st = kelsLogAdd_32f(score[0], score[1], FRAMES, 0); /* score[1] <- log(e^s0 + e^s1) */
  if (st != kelOk) {
    fprintf(stderr, "kelsLogAdd_32f: status %d\n", (int)st);
    return 1;
  }
  for (t = 0; t < FRAMES; ++t) printf("frame %d: log-likelihood %.4f\n", t, score[1][t]);
  return 0;
}
