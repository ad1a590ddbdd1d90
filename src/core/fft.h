// The library's real FFT of N = 2^order points (order 1..13), unscaled both ways. A real frame of
// N samples is transformed as N/2 complex points z[n] = x[2n] + i x[2n+1] by a radix-2 Stockham
// transform on split real/imaginary arrays, then untangled into the N/2 + 1 bins of the real
// spectrum. The plan lives in caller memory and holds byte offsets only, so a copy works.
#pragma once

#include <cstddef>
#include <cstdint>

#include <kelsr.h>

// The plan record: tables follow it in the same block. Each table is a run of real parts
// followed by the same number of imaginary parts.
struct KelsFFTSpec_R_32f {
  std::int32_t kind;   // kFftKind once built: a stray pointer is refused, not followed
  std::int32_t order;
  std::int32_t n;
  std::int32_t reserved;
  std::uint32_t rootsAt;   // exp(-2 pi i p / (N/2)), p < N/4: the stage twiddles
  std::uint32_t roots2At;  // the same, each value repeated for two neighbours (stride-2 stage)
  std::uint32_t roots4At;  // ... and for four (stride-4 stage)
  std::uint32_t roots8At;  // exp(-2 pi i 8 floor(t/4) / (N/2)): stride-8 twiddles of a paired pass
  std::uint32_t untangleAt;  // exp(-2 pi i k / N), k <= N/4: splits z's spectrum into x's
};

namespace kels::fft {

constexpr int kMinOrder = 1;
constexpr int kMaxOrder = 13;
constexpr std::int32_t kFftKind = 0x52464654;  // "TFFR"

// Bytes of a plan of this order (order within kMinOrder..kMaxOrder).
std::size_t planBytes(int order);
// Builds a plan in `mem` (planBytes(order) bytes, any alignment).
void buildPlan(int order, KelsFFTSpec_R_32f* mem);
bool planValid(const KelsFFTSpec_R_32f* p);

// Floats of working storage a transform of length n needs.
inline int workFloats(int n) { return 2 * n; }

// Packed forward transform: dst[0] = Re X(0), dst[1] = Re X(N/2), then Re, Im of X(1..N/2-1).
// src may equal dst; work holds workFloats(N) floats and must not overlap either.
void forward(const KelsFFTSpec_R_32f* p, const float* src, float* dst, float* work);
// Unscaled inverse of the packed form: inverse(forward(x)) = N x. src may equal dst.
void inverse(const KelsFFTSpec_R_32f* p, const float* src, float* dst, float* work);

// |X(k)|, k = 0..n/2, from a packed spectrum of n values (n even); mag may equal pack.
void magnitudes(const float* pack, float* mag, int n);
// |X(k)|^2 likewise.
void powers(const float* pack, float* power, int n);

// What the target kernels see: the plan's tables as pointers.
struct View {
  int m;  // complex points, N/2
  const float* rootRe;
  const float* rootIm;
  const float* root2Re;
  const float* root2Im;
  const float* root4Re;
  const float* root4Im;
  const float* root8Re;
  const float* root8Im;
  const float* untRe;
  const float* untIm;
};
View view(const KelsFFTSpec_R_32f* p);

struct Kernels {
  void (*forward)(const View&, const float*, float*, float*);
  void (*inverse)(const View&, const float*, float*, float*);
  void (*magnitudes)(const float*, float*, int);
};
const Kernels& kernelsScalar();
const Kernels& kernelsSse2();
const Kernels& kernelsAvx2();
// The kernels of the active target (the same bits on every target).
const Kernels& kernels();

}  // namespace kels::fft
