// The real FFT: plan tables, the scalar kernels, target dispatch and the exported FFT object.
#include "core/fft.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "core/alloc.h"
#include "core/check.h"
#include "core/cpu.h"
#include "core/fft_kernels.h"

namespace kels::fft {
namespace {

constexpr double kTwoPi = 6.283185307179586476925286766559;

// exp(-2 pi i j / n) rounded to float; exact at quarter turns, where the cosine or sine of the
// rounded angle would leave a residue of 1e-17 instead of 0.
void root(long long j, long long n, float& re, float& im) {
  j %= n;
  if (4 * j % n == 0) {
    static constexpr float kC[4] = {1, 0, -1, 0}, kS[4] = {0, -1, 0, 1};
    re = kC[4 * j / n];
    im = kS[4 * j / n];
    return;
  }
  const double a = kTwoPi * double(j) / double(n);
  re = float(std::cos(a));
  im = float(-std::sin(a));
}

int quarterCount(int m) { return m / 2 > 0 ? m / 2 : 1; }  // entries of each stage table
int untangleCount(int m) { return m / 2 + 1; }

// Stage driver shared by the scalar target: log2(m) stages between the two halves of `work`.
// Returns the array pair holding the result.
void stagesScalar(const View& v, float*& zr, float*& zi, float* work) {
  float* yr = work + 2 * v.m;
  float* yi = work + 3 * v.m;
  for (int s = 1; s < v.m; s *= 2) {
    stageScalar(v, s, zr, zi, yr, yi);
    std::swap(zr, yr);
    std::swap(zi, yi);
  }
}

void forwardScalar(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  splitScalar(src, zr, zi, 0, v.m);
  stagesScalar(v, zr, zi, work);
  untangleScalar(v, zr, zi, dst, 0);
}

void inverseScalar(const View& v, const float* src, float* dst, float* work) {
  float* zr = work;
  float* zi = work + v.m;
  tangleScalar(v, src, zr, zi);
  stagesScalar(v, zr, zi, work);
  mergeSwappedScalar(zr, zi, dst, 0, v.m);
}

}  // namespace

std::size_t planBytes(int order) {
  const int m = (1 << order) / 2;
  const std::size_t floats = 2 * (4 * std::size_t(quarterCount(m)) + std::size_t(untangleCount(m)));
  return sizeof(KelsFFTSpec_R_32f) + floats * sizeof(float);
}

void buildPlan(int order, KelsFFTSpec_R_32f* p) {
  const int n = 1 << order, m = n / 2, q = quarterCount(m), u = untangleCount(m);
  KelsFFTSpec_R_32f h{};
  h.kind = kFftKind;
  h.order = order;
  h.n = n;
  h.rootsAt = sizeof(KelsFFTSpec_R_32f);
  h.roots2At = h.rootsAt + std::uint32_t(2 * q * sizeof(float));
  h.roots4At = h.roots2At + std::uint32_t(2 * q * sizeof(float));
  h.roots8At = h.roots4At + std::uint32_t(2 * q * sizeof(float));
  h.untangleAt = h.roots8At + std::uint32_t(2 * q * sizeof(float));
  std::memcpy(p, &h, sizeof h);
  auto* base = reinterpret_cast<unsigned char*>(p);
  auto* r1 = reinterpret_cast<float*>(base + h.rootsAt);
  auto* r2 = reinterpret_cast<float*>(base + h.roots2At);
  auto* r4 = reinterpret_cast<float*>(base + h.roots4At);
  auto* r8 = reinterpret_cast<float*>(base + h.roots8At);
  auto* un = reinterpret_cast<float*>(base + h.untangleAt);
  for (int i = 0; i < q; ++i) {
    root(i, m, r1[i], r1[q + i]);
    root(i / 2 * 2, m, r2[i], r2[q + i]);
    root(i / 4 * 4, m, r4[i], r4[q + i]);
    root(i / 4 * 8, m, r8[i], r8[q + i]);
  }
  for (int k = 0; k < u; ++k) root(k, n, un[k], un[u + k]);
}

bool planValid(const KelsFFTSpec_R_32f* p) {
  if (reinterpret_cast<std::uintptr_t>(p) % alignof(KelsFFTSpec_R_32f) != 0) return false;
  return p->kind == kFftKind && p->order >= kMinOrder && p->order <= kMaxOrder &&
         p->n == (1 << p->order);
}

View view(const KelsFFTSpec_R_32f* p) {
  const auto* base = reinterpret_cast<const unsigned char*>(p);
  const int m = p->n / 2, q = quarterCount(m), u = untangleCount(m);
  const auto* r1 = reinterpret_cast<const float*>(base + p->rootsAt);
  const auto* r2 = reinterpret_cast<const float*>(base + p->roots2At);
  const auto* r4 = reinterpret_cast<const float*>(base + p->roots4At);
  const auto* r8 = reinterpret_cast<const float*>(base + p->roots8At);
  const auto* un = reinterpret_cast<const float*>(base + p->untangleAt);
  return View{m, r1, r1 + q, r2, r2 + q, r4, r4 + q, r8, r8 + q, un, un + u};
}

void magnitudesFrom1(const float* pack, float* mag, int n) { magnitudesScalar(pack, mag, 1, n); }

const Kernels& kernelsScalar() {
  static constexpr Kernels k{forwardScalar, inverseScalar, magnitudesFrom1};
  return k;
}

const Kernels& kernels() {
#if defined(KELSR_X86)
  static const Kernels* const table[kTargetCount] = {&kernelsScalar(), &kernelsSse2(),
                                                     &kernelsAvx2(), &kernelsAvx2()};
#else
  static const Kernels* const table[kTargetCount] = {&kernelsScalar(), &kernelsScalar(),
                                                     &kernelsScalar(), &kernelsScalar()};
#endif
  return *forActiveTarget(table);
}

void forward(const KelsFFTSpec_R_32f* p, const float* src, float* dst, float* work) {
  kernels().forward(view(p), src, dst, work);
}

void inverse(const KelsFFTSpec_R_32f* p, const float* src, float* dst, float* work) {
  kernels().inverse(view(p), src, dst, work);
}

// Bin n/2 is read before bin 0 overwrites pack[0] and bin 1 overwrites pack[1], so the output
// may share the input's memory.
void magnitudes(const float* pack, float* mag, int n) {
  const float r0 = pack[0], rh = pack[1];
  mag[0] = std::sqrt(r0 * r0);
  kernels().magnitudes(pack, mag, n);
  mag[n / 2] = std::sqrt(rh * rh);
}

void powers(const float* pack, float* power, int n) {
  const float r0 = pack[0], rh = pack[1];
  power[0] = r0 * r0;
  for (int k = 1; k < n / 2; ++k) {
    const float re = pack[2 * k], im = pack[2 * k + 1];
    power[k] = re * re + im * im;
  }
  power[n / 2] = rh * rh;
}

}  // namespace kels::fft

namespace kels {
namespace {

bool orderOk(int order) { return order >= fft::kMinOrder && order <= fft::kMaxOrder; }

KelsStatus checkTransform(const Kels32f* src, Kels32f* dst, const KelsFFTSpec_R_32f* fftObj) {
  return ArgCheck{}.ptrs(src, dst, fftObj).data([&] { return fft::planValid(fftObj); }, kelErrBadObject);
}

template <class Run>
KelsStatus transform(const Kels32f* src, Kels32f* dst, const KelsFFTSpec_R_32f* fftObj, Run run) {
  if (KelsStatus st = checkTransform(src, dst, fftObj); st != kelOk) return st;
  Scratch<float, 4096> work(fft::workFloats(fftObj->n));  // on the stack up to N = 2048
  if (!work) return kelErrMemAlloc;
  run(fft::view(fftObj), src, dst, work.data());
  return kelOk;
}

}  // namespace
}  // namespace kels

using namespace kels;

extern "C" KELS_API KelsStatus KELS_CALL kelsFFTGetSize_R_32f(int order, int* size) {
  if (KelsStatus st = ArgCheck{}.ptr(size).arg(orderOk(order), kelErrSize); st != kelOk) return st;
  *size = int(fft::planBytes(order));
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsFFTInit_R_32f(int order, KelsFFTSpec_R_32f* fftObj) {
  const bool aligned = reinterpret_cast<std::uintptr_t>(fftObj) % alignof(KelsFFTSpec_R_32f) == 0;
  if (KelsStatus st = ArgCheck{}.ptr(fftObj).arg(orderOk(order), kelErrSize).arg(aligned, kelErrBadArg);
      st != kelOk)
    return st;
  fft::buildPlan(order, fftObj);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsFFTFwd_RToPack_32f(const Kels32f* src, Kels32f* dst,
                                                             const KelsFFTSpec_R_32f* fftObj) {
  return transform(src, dst, fftObj, fft::kernels().forward);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsFFTInv_PackToR_32f(const Kels32f* src, Kels32f* dst,
                                                             const KelsFFTSpec_R_32f* fftObj) {
  return transform(src, dst, fftObj, fft::kernels().inverse);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsPowerSpectrum_Pack_32f(const Kels32f* pack,
                                                                 Kels32f* power, int n) {
  if (KelsStatus st = ArgCheck{}.ptrs(pack, power).size(n, 2).arg(n % 2 == 0, kelErrSize);
      st != kelOk)
    return st;
  fft::powers(pack, power, n);
  return kelOk;
}
