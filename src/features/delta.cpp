// Delta features: regressions over time of static coefficients, r_t = (sum_tau tau (x_{t+tau} -
// x_{t-tau})) * s, either in place over a whole block (EvalDelta, with its own edge rule) or
// streamed call by call into rows that carry statics, deltas and delta-deltas side by side.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/export.h"
#include "core/scale.h"

namespace kels::features {
namespace {

using Row = std::int64_t;  // row indices: a count plus the overlap can pass INT_MAX

// How one element type sums and stores a regression. `rows.fwd(tau)` and `rows.bwd(tau)` give the
// rows (already at the right column) that stand for x_{t+tau} and x_{t-tau}.
struct Float32 {
  using T = Kels32f;
  // Summed in the output row itself, the tau = 1 term first: the same float operations as one
  // register per element, and the loops over i vectorise without changing a bit.
  template <class Rows, class Mul>
  void regress(int D, const Rows& rows, int w, const Mul& m, float* out) const {
    const float* f = rows.fwd(1);
    const float* b = rows.bwd(1);
    for (int i = 0; i < w; ++i) out[i] = f[i] - b[i];
    for (int tau = 2; tau <= D; ++tau) {
      f = rows.fwd(tau);
      b = rows.bwd(tau);
      const float ft = float(tau);
      for (int i = 0; i < w; ++i) out[i] += ft * (f[i] - b[i]);
    }
    for (int i = 0; i < w; ++i) out[i] *= m[i];
  }
};

// Exact integer sums; 64 bits hold every sum of a window below 2^24 frames, and beyond that (or
// a product with the scale past 2^63) the value saturates, which 16-bit saturation then keeps.
inline std::int64_t satAdd(std::int64_t a, std::int64_t b) {
  std::int64_t r;
  return __builtin_add_overflow(a, b, &r) ? (b > 0 ? INT64_MAX : INT64_MIN) : r;
}
inline std::int64_t satMul(std::int64_t a, std::int64_t b) {
  std::int64_t r;
  return __builtin_mul_overflow(a, b, &r) ? ((a > 0) == (b > 0) ? INT64_MAX : INT64_MIN) : r;
}

struct Fixed16 {
  using T = Kels16s;
  int sf;
  template <class Rows, class Mul>
  void regress(int D, const Rows& rows, int w, const Mul& m, Kels16s* out) const {
    for (int i = 0; i < w; ++i) {
      std::int64_t acc = 0;
      for (int tau = 1; tau <= D; ++tau)
        acc = satAdd(acc, std::int64_t(tau) * (std::int64_t(rows.fwd(tau)[i]) - rows.bwd(tau)[i]));
      out[i] = sat16(scaleRoundEven(satMul(acc, m[i]), sf));
    }
  }
};

// Multipliers: one scale for every coefficient, or a vector of w (the Mul members).
template <class T>
struct Scale {
  T s;
  T operator[](int) const { return s; }
  bool present() const { return true; }
};
template <class T>
struct PerCoef {
  const T* m;
  T operator[](int i) const { return m[i]; }
  bool present() const { return m != nullptr; }
};

// ---- EvalDelta: whole block, in place ----

// The deliberate edge rule: the first W rows take row 0 for every backward term, the last W rows
// take row T-1 for every forward term.
template <class T>
struct EvalRows {
  const T* base;  // row 0 at the statics' column
  std::ptrdiff_t step;
  Row t, height, W;
  const T* fwd(int tau) const { return base + (t >= height - W ? height - 1 : t + tau) * step; }
  const T* bwd(int tau) const { return base + (t < W ? 0 : t - tau) * step; }
};

template <class Mul>
KelsStatus checkEvalDelta(const void* block, int height, int step, int w, int offset, int W,
                          const Mul& m) {
  return ArgCheck{}.ptr(block).arg(m.present(), kelErrNullPtr)
      .size(height).size(w).size(W).index(offset)
      .arg(std::int64_t(height) >= 2 * std::int64_t(W), kelErrSize)
      .arg(std::int64_t(step) >= 2 * std::int64_t(w) + offset, kelErrStep);
}

template <class A, class Mul>
KelsStatus evalDelta(A arith, typename A::T* block, int height, int step, int w, int offset,
                     int W, Mul m) {
  if (KelsStatus st = checkEvalDelta(block, height, step, w, offset, W, m); st != kelOk) return st;
  for (Row t = 0; t < height; ++t)
    arith.regress(W, EvalRows<typename A::T>{block + offset, step, t, height, W}, w, m,
                  block + t * step + offset + w);
  return kelOk;
}

// ---- Streaming members ----

constexpr int kBegin = 1, kEnd = 2;

// Half-widths of the delta regression (d1) and of the delta-delta regression over the deltas
// (d2; 0 for delta only). The overlap is every row a later call still reads: the statics under
// the d1 pending deltas, and the deltas under the d1 + d2 pending delta-deltas.
struct Window {
  int d1, d2;
  int overlap() const { return std::max(2 * d1, d1 + 2 * d2); }
  int columns() const { return d2 > 0 ? 3 : 2; }
};
constexpr Window kWin1{1, 0}, kWin2{2, 0}, kWin1DD{1, 1}, kWin2DD{2, 2}, kAurora{4, 2};

// Neighbours replicated at the utterance's ends. Inside a stream the bounds are never reached:
// rows before 0 are never asked for once the overlap is in place, and the upper bound is the
// last row whose value is final.
template <class T>
struct EdgeRows {
  const T* base;
  std::ptrdiff_t step;
  Row t, last;
  const T* fwd(int tau) const { return base + std::min(t + tau, last) * step; }
  const T* bwd(int tau) const { return base + std::max(t - tau, Row(0)) * step; }
};

template <class M1, class M2>
KelsStatus checkStream(const void* src, int w, const void* dst, int step, int height, const M1& m1,
                       const M2& m2, Window win) {
  return ArgCheck{}.ptr(src).ptr(dst).arg(m1.present(), kelErrNullPtr).arg(m2.present(), kelErrNullPtr)
      .size(w).size(height, win.overlap())
      .arg(std::int64_t(step) >= std::int64_t(win.columns()) * w, kelErrStep);
}

template <class A, class M1, class M2>
KelsStatus deltaStream(A arith, Window win, const typename A::T* src, int w, typename A::T* dst,
                       int step, int height, M1 m1, M2 m2, int flags) {
  using T = typename A::T;
  if (KelsStatus st = checkStream(src, w, dst, step, height, m1, m2, win); st != kelOk) return st;
  const bool begin = (flags & kBegin) != 0, end = (flags & kEnd) != 0;
  const Row overlap = win.overlap();
  const Row first = begin ? 0 : overlap;  // row of the first new frame
  const Row rows = first + height;
  auto row = [&](Row r) { return dst + r * step; };
  for (Row k = 0; k < height; ++k) std::memcpy(row(first + k), src + k * w, std::size_t(w) * sizeof(T));

  // Deltas from the first row still open to the last whose right neighbours are known.
  const Row lastDelta = end ? rows - 1 : rows - 1 - win.d1;
  for (Row t = begin ? 0 : overlap - win.d1; t <= lastDelta; ++t)
    arith.regress(win.d1, EdgeRows<T>{dst, step, t, rows - 1}, w, m1, row(t) + w);
  if (win.d2 == 0) return kelOk;
  const Row lastAccel = end ? rows - 1 : rows - 1 - win.d1 - win.d2;
  for (Row t = begin ? 0 : overlap - win.d1 - win.d2; t <= lastAccel; ++t)
    arith.regress(win.d2, EdgeRows<T>{dst + w, step, t, lastDelta}, w, m2, row(t) + 2 * w);
  return kelOk;
}

struct NoScale {  // the absent second multiplier of the delta-only members
  bool present() const { return true; }
  int operator[](int) const { return 0; }
};

}  // namespace
}  // namespace kels::features

using kels::features::deltaStream;
using kels::features::evalDelta;
using kels::features::Fixed16;
using kels::features::Float32;
using kels::features::NoScale;
using kels::features::PerCoef;
using kels::features::Scale;
using kels::features::kAurora;
using kels::features::kWin1;
using kels::features::kWin1DD;
using kels::features::kWin2;
using kels::features::kWin2DD;

extern "C" {

KELS_API KelsStatus KELS_CALL kelsEvalDelta_32f_D2(Kels32f* pSrcDst, int height, int step,
                                                    int width, int offset, int winSize,
                                                    Kels32f scale) {
  return evalDelta(Float32{}, pSrcDst, height, step, width, offset, winSize, Scale<Kels32f>{scale});
}
KELS_API KelsStatus KELS_CALL kelsEvalDelta_16s_D2Sfs(Kels16s* pSrcDst, int height, int step,
                                                       int width, int offset, int winSize,
                                                       Kels16s scale, int scaleFactor) {
  return evalDelta(Fixed16{scaleFactor}, pSrcDst, height, step, width, offset, winSize,
                   Scale<Kels16s>{scale});
}
KELS_API KelsStatus KELS_CALL kelsEvalDeltaMul_32f_D2(Kels32f* pSrcDst, int height, int step,
                                                       int width, int offset, int winSize,
                                                       const Kels32f* pMul) {
  return evalDelta(Float32{}, pSrcDst, height, step, width, offset, winSize, PerCoef<Kels32f>{pMul});
}
KELS_API KelsStatus KELS_CALL kelsEvalDeltaMul_16s_D2Sfs(Kels16s* pSrcDst, int height, int step,
                                                          int width, int offset, int winSize,
                                                          const Kels16s* pMul, int scaleFactor) {
  return evalDelta(Fixed16{scaleFactor}, pSrcDst, height, step, width, offset, winSize,
                   PerCoef<Kels16s>{pMul});
}

KELS_API KelsStatus KELS_CALL kelsDelta_Win1_32f_D2(const Kels32f* pSrc, int width, Kels32f* pDst,
                                                     int dstStep, int height, Kels32f scale,
                                                     int flags) {
  return deltaStream(Float32{}, kWin1, pSrc, width, pDst, dstStep, height, Scale<Kels32f>{scale},
                     NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDelta_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                        Kels16s* pDst, int dstStep, int height,
                                                        Kels16s scale, int flags, int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin1, pSrc, width, pDst, dstStep, height,
                     Scale<Kels16s>{scale}, NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDelta_Win2_32f_D2(const Kels32f* pSrc, int width, Kels32f* pDst,
                                                     int dstStep, int height, Kels32f scale,
                                                     int flags) {
  return deltaStream(Float32{}, kWin2, pSrc, width, pDst, dstStep, height, Scale<Kels32f>{scale},
                     NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDelta_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                        Kels16s* pDst, int dstStep, int height,
                                                        Kels16s scale, int flags, int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin2, pSrc, width, pDst, dstStep, height,
                     Scale<Kels16s>{scale}, NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win1_32f_D2(const Kels32f* pSrc, int width,
                                                          Kels32f* pDst, int dstStep, int height,
                                                          Kels32f scale1, Kels32f scale2,
                                                          int flags) {
  return deltaStream(Float32{}, kWin1DD, pSrc, width, pDst, dstStep, height,
                     Scale<Kels32f>{scale1}, Scale<Kels32f>{scale2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                             Kels16s* pDst, int dstStep,
                                                             int height, Kels16s scale1,
                                                             Kels16s scale2, int flags,
                                                             int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin1DD, pSrc, width, pDst, dstStep, height,
                     Scale<Kels16s>{scale1}, Scale<Kels16s>{scale2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win2_32f_D2(const Kels32f* pSrc, int width,
                                                          Kels32f* pDst, int dstStep, int height,
                                                          Kels32f scale1, Kels32f scale2,
                                                          int flags) {
  return deltaStream(Float32{}, kWin2DD, pSrc, width, pDst, dstStep, height,
                     Scale<Kels32f>{scale1}, Scale<Kels32f>{scale2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                             Kels16s* pDst, int dstStep,
                                                             int height, Kels16s scale1,
                                                             Kels16s scale2, int flags,
                                                             int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin2DD, pSrc, width, pDst, dstStep, height,
                     Scale<Kels16s>{scale1}, Scale<Kels16s>{scale2}, flags);
}

KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win1_32f_D2(const Kels32f* pSrc, int width,
                                                        Kels32f* pDst, int dstStep, int height,
                                                        const Kels32f* pMul, int flags) {
  return deltaStream(Float32{}, kWin1, pSrc, width, pDst, dstStep, height, PerCoef<Kels32f>{pMul},
                     NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                           Kels16s* pDst, int dstStep, int height,
                                                           const Kels16s* pMul, int flags,
                                                           int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin1, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels16s>{pMul}, NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win2_32f_D2(const Kels32f* pSrc, int width,
                                                        Kels32f* pDst, int dstStep, int height,
                                                        const Kels32f* pMul, int flags) {
  return deltaStream(Float32{}, kWin2, pSrc, width, pDst, dstStep, height, PerCoef<Kels32f>{pMul},
                     NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaMul_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                           Kels16s* pDst, int dstStep, int height,
                                                           const Kels16s* pMul, int flags,
                                                           int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin2, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels16s>{pMul}, NoScale{}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win1_32f_D2(const Kels32f* pSrc, int width,
                                                             Kels32f* pDst, int dstStep,
                                                             int height, const Kels32f* pMul1,
                                                             const Kels32f* pMul2, int flags) {
  return deltaStream(Float32{}, kWin1DD, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels32f>{pMul1}, PerCoef<Kels32f>{pMul2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win1_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                                Kels16s* pDst, int dstStep,
                                                                int height, const Kels16s* pMul1,
                                                                const Kels16s* pMul2, int flags,
                                                                int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin1DD, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels16s>{pMul1}, PerCoef<Kels16s>{pMul2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win2_32f_D2(const Kels32f* pSrc, int width,
                                                             Kels32f* pDst, int dstStep,
                                                             int height, const Kels32f* pMul1,
                                                             const Kels32f* pMul2, int flags) {
  return deltaStream(Float32{}, kWin2DD, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels32f>{pMul1}, PerCoef<Kels32f>{pMul2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Win2_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                                Kels16s* pDst, int dstStep,
                                                                int height, const Kels16s* pMul1,
                                                                const Kels16s* pMul2, int flags,
                                                                int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kWin2DD, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels16s>{pMul1}, PerCoef<Kels16s>{pMul2}, flags);
}

KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Aurora_32f_D2(const Kels32f* pSrc, int width,
                                                            Kels32f* pDst, int dstStep,
                                                            int height, Kels32f scale1,
                                                            Kels32f scale2, int flags) {
  return deltaStream(Float32{}, kAurora, pSrc, width, pDst, dstStep, height,
                     Scale<Kels32f>{scale1}, Scale<Kels32f>{scale2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDelta_Aurora_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                               Kels16s* pDst, int dstStep,
                                                               int height, Kels16s scale1,
                                                               Kels16s scale2, int flags,
                                                               int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kAurora, pSrc, width, pDst, dstStep, height,
                     Scale<Kels16s>{scale1}, Scale<Kels16s>{scale2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Aurora_32f_D2(const Kels32f* pSrc, int width,
                                                               Kels32f* pDst, int dstStep,
                                                               int height, const Kels32f* pMul1,
                                                               const Kels32f* pMul2, int flags) {
  return deltaStream(Float32{}, kAurora, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels32f>{pMul1}, PerCoef<Kels32f>{pMul2}, flags);
}
KELS_API KelsStatus KELS_CALL kelsDeltaDeltaMul_Aurora_16s_D2Sfs(const Kels16s* pSrc, int width,
                                                                  Kels16s* pDst, int dstStep,
                                                                  int height,
                                                                  const Kels16s* pMul1,
                                                                  const Kels16s* pMul2, int flags,
                                                                  int scaleFactor) {
  return deltaStream(Fixed16{scaleFactor}, kAurora, pSrc, width, pDst, dstStep, height,
                     PerCoef<Kels16s>{pMul1}, PerCoef<Kels16s>{pMul2}, flags);
}

}  // extern "C"

KELS_ALIAS(kelsDeltaW1_32f_D2, kelsDelta_Win1_32f_D2);
KELS_ALIAS(kelsDeltaW2_32f_D2, kelsDelta_Win2_32f_D2);
KELS_ALIAS(kelsDeltaDeltaW1_32f_D2, kelsDeltaDelta_Win1_32f_D2);
KELS_ALIAS(kelsDeltaDeltaW2_32f_D2, kelsDeltaDelta_Win2_32f_D2);
