// A plain one-pass loop, as a caller would write it; built with -O3 -march=native.
#include "peers.h"

void plainMeanVarColumn(const float* x, int n, int step, int d, float* mean, float* var) {
  for (int j = 0; j < d; ++j) mean[j] = var[j] = 0.0f;
  for (int i = 0; i < n; ++i) {
    const float* row = x + static_cast<long>(i) * step;
    for (int j = 0; j < d; ++j) {
      mean[j] += row[j];
      var[j] += row[j] * row[j];
    }
  }
  const float r = 1.0f / float(n), r1 = 1.0f / float(n - 1);
  for (int j = 0; j < d; ++j) {
    const float m = mean[j] * r;
    var[j] = (var[j] - float(n) * m * m) * r1;
    mean[j] = m;
  }
}
