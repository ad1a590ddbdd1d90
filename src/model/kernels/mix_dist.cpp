// The portable multi-row distances: the scalar single-row kernel row by row.
#include "model/kernels/dist_kernels.h"
#include "model/mix_kernels.h"

namespace kels::model {

namespace {

void rowsWsd32f(RowSrc<Kels32f> x, RowSrc<Kels32f> m, RowSrc<Kels32f> w, int n, int count, float* s) {
  const DistKernels& k = distKernelsScalar();
  for (int j = 0; j < count; ++j) s[j] = k.wsd32f(x[j], m[j], w[j], n);
}
void rowsSd32f(RowSrc<Kels32f> x, RowSrc<Kels32f> m, RowSrc<Kels32f>, int n, int count, float* s) {
  const DistKernels& k = distKernelsScalar();
  for (int j = 0; j < count; ++j) s[j] = k.sd32f(x[j], m[j], n);
}
void rowsWsd64f(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  const DistKernels& k = distKernelsScalar();
  for (int j = 0; j < count; ++j) s[j] = k.wsd64f(x[j], m[j], w[j], n);
}
void rowsSd64f(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f>, int n, int count, double* s) {
  const DistKernels& k = distKernelsScalar();
  for (int j = 0; j < count; ++j) s[j] = k.sd64f(x[j], m[j], n);
}
void rowsWsd16s(RowSrc<Kels16s> x, RowSrc<Kels16s> m, RowSrc<Kels16s> w, int n, int count, float* s) {
  const DistKernels& k = distKernelsScalar();
  for (int j = 0; j < count; ++j) s[j] = k.wsd16s(x[j], m[j], w[j], n);
}
void rowsSd16s(RowSrc<Kels16s> x, RowSrc<Kels16s> m, RowSrc<Kels16s>, int n, int count, float* s) {
  const DistKernels& k = distKernelsScalar();
  for (int j = 0; j < count; ++j) s[j] = k.sd16s(x[j], m[j], n);
}

}  // namespace

extern const MixDistKernels kMixDistScalar{rowsWsd32f, rowsSd32f, rowsWsd64f,
                                          rowsSd64f,  rowsWsd16s, rowsSd16s};

}  // namespace kels::model
