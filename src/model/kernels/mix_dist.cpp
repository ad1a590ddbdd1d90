// Multi-row distances that run the single-row kernel of the active target row by row (the
// portable version, and the fallback of targets without a multi-row kernel), and the lookup.
#include "model/kernels/dist_kernels.h"
#include "model/mix_kernels.h"

namespace kels::model {

namespace {

template <Target kT>
void rowsWsd32f(RowSrc<Kels32f> x, RowSrc<Kels32f> m, RowSrc<Kels32f> w, int n, int count, float* s) {
  const DistKernels& k = distKernels(kT);
  for (int j = 0; j < count; ++j) s[j] = k.wsd32f(x[j], m[j], w[j], n);
}
template <Target kT>
void rowsSd32f(RowSrc<Kels32f> x, RowSrc<Kels32f> m, RowSrc<Kels32f>, int n, int count, float* s) {
  const DistKernels& k = distKernels(kT);
  for (int j = 0; j < count; ++j) s[j] = k.sd32f(x[j], m[j], n);
}
template <Target kT>
void rowsWsd64f(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f> w, int n, int count, double* s) {
  const DistKernels& k = distKernels(kT);
  for (int j = 0; j < count; ++j) s[j] = k.wsd64f(x[j], m[j], w[j], n);
}
template <Target kT>
void rowsSd64f(RowSrc<Kels64f> x, RowSrc<Kels64f> m, RowSrc<Kels64f>, int n, int count, double* s) {
  const DistKernels& k = distKernels(kT);
  for (int j = 0; j < count; ++j) s[j] = k.sd64f(x[j], m[j], n);
}
template <Target kT>
void rowsWsd16s(RowSrc<Kels16s> x, RowSrc<Kels16s> m, RowSrc<Kels16s> w, int n, int count, float* s) {
  const DistKernels& k = distKernels(kT);
  for (int j = 0; j < count; ++j) s[j] = k.wsd16s(x[j], m[j], w[j], n);
}
template <Target kT>
void rowsSd16s(RowSrc<Kels16s> x, RowSrc<Kels16s> m, RowSrc<Kels16s>, int n, int count, float* s) {
  const DistKernels& k = distKernels(kT);
  for (int j = 0; j < count; ++j) s[j] = k.sd16s(x[j], m[j], n);
}

template <Target kT>
constexpr MixDistKernels kRowByRow = {rowsWsd32f<kT>, rowsSd32f<kT>, rowsWsd64f<kT>,
                                      rowsSd64f<kT>,  rowsWsd16s<kT>, rowsSd16s<kT>};

}  // namespace

#if defined(KELSR_X86)
const MixDistKernels& mixDistKernelsSse2();
const MixDistKernels& mixDistKernelsAvx2();
#endif

const MixDistKernels& mixDistKernels(Target t) {
#if defined(KELSR_X86)
  switch (t) {
    case Target::kSse2: return mixDistKernelsSse2();
    // 512-bit registers measured slower here: two 8-lane rows per register need shuffles.
    case Target::kAvx2:
    case Target::kAvx512: return mixDistKernelsAvx2();
    case Target::kScalar: break;
  }
#else
  (void)t;
#endif
  return kRowByRow<Target::kScalar>;
}

}  // namespace kels::model
