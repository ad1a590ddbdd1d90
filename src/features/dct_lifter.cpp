// DCT-lifter family: builders (InitAlloc, and Init in caller memory), application in float and
// integer forms, release. The cosines cos(pi n (k - 1/2) / M) and the sine-lifter weights are
// computed in double and stored as float; the table carries no normalising factor.
#include "features/dct_lifter.h"

#include <climits>
#include <cmath>
#include <cstring>

#include "core/alloc.h"
#include "core/check.h"
#include "core/cpu.h"
#include "core/scale.h"

namespace kels::features {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kMaxCallerM = 8192;  // the largest M whose caller-memory size GetSize reports

template <class Src>
using LifterFn = void (*)(const Src*, float*, const LifterView&);

template <class Src>
LifterFn<Src> lifterKernel() {
#if defined(KELSR_X86)
  static constexpr LifterFn<Src> kTable[kTargetCount] = {lifterScalar, lifterSse2, lifterAvx2, lifterAvx2};
#else
  static constexpr LifterFn<Src> kTable[kTargetCount] = {lifterScalar, lifterScalar, lifterScalar, lifterScalar};
#endif
  return forActiveTarget(kTable);
}

// What a builder was asked for: a sine lifter (L >= 1, gain g, zeroth multiplier z) or the
// caller's multipliers u (L = -1).
struct Recipe {
  int M, Q, L, c0;
  float g, z;
  const float* u;

  bool fromCaller() const { return L == -1; }
  void fillLifter(float* w) const {
    if (fromCaller()) {
      for (int n = 1; n <= Q; ++n) w[n] = u[n - 1];
      w[0] = c0 ? u[Q - 1] : 0.0f;  // deliberately the last multiplier, the one of coefficient Q
      return;
    }
    for (int n = 0; n <= Q; ++n) w[n] = float(1.0 + 0.5 * L * std::sin(kPi * n / L)) * g;
    if (c0) w[0] = z;
  }
};

Recipe sine(int M, int Q, int L, float g, int c0, float z) { return {M, Q, L, c0, g, z, nullptr}; }
Recipe mul(int M, const float* u, int Q, int c0) { return {M, Q, -1, c0, 1.0f, 1.0f, u}; }

void fillBasis(float* row0, std::ptrdiff_t stride, int M, int Q) {
  for (int n = 0; n <= Q; ++n) {
    float* row = row0 + n * stride;
    for (int k = 1; k <= M; ++k) row[k - 1] = float(std::cos(kPi * n * (k + -0.5) / M));
  }
}

// Handle, then the multipliers of the Mul forms; then the sizes, L only for the sine forms.
KelsStatus checkBuild(const void* obj, const Recipe& r) {
  ArgCheck c;
  c.ptr(obj);
  if (r.fromCaller()) c.ptr(r.u);
  c.size(r.M).size(r.Q);
  if (!r.fromCaller()) c.size(r.L);
  return c.arg(r.M >= r.Q, kelErrSize);
}

KelsStatus checkCallerMemory(const void* obj, const Recipe& r) {
  return ArgCheck{}.ptr(obj).ptr(r.u).size(r.M).size(r.Q).arg(r.M >= r.Q, kelErrSize)
      .arg(r.M <= kMaxCallerM, kelErrSize);
}

// The InitAlloc records: KelsDCTLifter_32f itself, HeapLifter16s behind a KelsDCTLifter_16s.
KelsDCTLifter_32f* handleOf(KelsDCTLifter_32f* rec) { return rec; }
KelsDCTLifter_16s* handleOf(HeapLifter16s* rec) { return rec != nullptr ? &rec->head : nullptr; }
void setHeader(KelsDCTLifter_32f& o, const Recipe& r) { o.L = r.L, o.M = r.M, o.Q = r.Q, o.c0 = r.c0; }
void setHeader(HeapLifter16s& o, const Recipe& r) {
  o.head.L = r.L, o.head.M = r.M, o.head.Q = r.Q, o.head.c0 = r.c0, o.head.inCaller = 0;
}

float* allocZeroFloats(int n) {
  auto* p = static_cast<float*>(alloc32(n));
  if (p != nullptr) zero32(p, n);
  return p;
}

// Record first, handed out at once; then lifter, basis table and (integer forms) the output
// buffer. A refusal returns at once with what exists attached, for Free to release.
template <class Rec, class Handle>
KelsStatus initAlloc(Handle** pp, const Recipe& r) {
  if (KelsStatus st = checkBuild(pp, r); st != kelOk) return st;
  auto* rec = static_cast<Rec*>(allocBytes(int(sizeof(Rec))));
  *pp = handleOf(rec);
  if (rec == nullptr) return kelErrMemAlloc;
  std::memset(static_cast<void*>(rec), 0, sizeof(Rec));
  setHeader(*rec, r);
  if (r.Q == INT_MAX) return kelErrMemAlloc;  // Q + 1 rows cannot even be counted
  const int n = r.Q + 1;
  if ((rec->lifter = allocZeroFloats(n)) == nullptr) return kelErrMemAlloc;
  if ((rec->basis = allocRows<float>(n, r.M)) == nullptr) return kelErrMemAlloc;
  const std::ptrdiff_t stride = rec->basis[1] - rec->basis[0];
  std::memset(rec->basis[0], 0, std::size_t(n) * std::size_t(stride) * sizeof(float));
  if constexpr (std::is_same_v<Rec, HeapLifter16s>) {
    if ((rec->out = allocZeroFloats(n)) == nullptr) return kelErrMemAlloc;
  }
  r.fillLifter(rec->lifter);
  fillBasis(rec->basis[0], stride, r.M, r.Q);
  return kelOk;
}

// Caller memory: the header, then lifter, output buffer, a table of Q + 1 int32 row offsets and
// the rows, each block on the next 32-byte boundary of the actual address. With any start
// address this ends within the documented size.
struct CallerLayout {
  std::size_t lifterAt, outAt, tableAt, row0At, stride;  // stride in bytes
};
CallerLayout callerLayout(const void* mem, int M, int Q) {
  const auto base = reinterpret_cast<std::uintptr_t>(mem);
  auto next32 = [base](std::size_t at) {
    return std::size_t(((base + at + 31) & ~std::uintptr_t(31)) - base);
  };
  const std::size_t n = std::size_t(Q) + 1;
  CallerLayout l{};
  l.lifterAt = next32(sizeof(KelsDCTLifter_16s));
  l.outAt = next32(l.lifterAt + n * sizeof(float));
  l.tableAt = next32(l.outAt + n * sizeof(float));
  l.row0At = next32(l.tableAt + n * sizeof(std::int32_t));
  l.stride = (std::size_t(M) * sizeof(float) + 31) & ~std::size_t(31);
  return l;
}

template <class T>
T* at(void* base, std::size_t offset) {
  return reinterpret_cast<T*>(static_cast<char*>(base) + offset);
}

LifterView view(const KelsDCTLifter_32f& o) {
  return {o.M, o.Q, o.c0, o.lifter, o.basis[0], o.basis[1] - o.basis[0], nullptr};
}
LifterView view(KelsDCTLifter_16s& o) {
  if (o.inCaller) {
    const auto* table = at<const std::int32_t>(&o, o.basisAt);
    return {o.M, o.Q, o.c0, at<float>(&o, o.lifterAt), at<float>(&o, std::size_t(table[0])),
            std::ptrdiff_t(table[1] - table[0]) / std::ptrdiff_t(sizeof(float)), at<float>(&o, o.outAt)};
  }
  auto& h = reinterpret_cast<HeapLifter16s&>(o);
  return {o.M, o.Q, o.c0, h.lifter, h.basis[0], h.basis[1] - h.basis[0], h.out};
}

KelsStatus apply(const float* x, float* y, const KelsDCTLifter_32f* o) {
  if (KelsStatus st = ArgCheck{}.ptrs(x, y, o); st != kelOk) return st;
  lifterKernel<float>()(x, y, view(*o));
  return kelOk;
}

// Float sums into the object's buffer, then x 2^-sf, rounded half to even, saturated.
template <class Src>
KelsStatus apply(const Src* x, Kels16s* y, KelsDCTLifter_16s* o, int sf) {
  if (KelsStatus st = ArgCheck{}.ptrs(x, y, o); st != kelOk) return st;
  const LifterView v = view(*o);
  lifterKernel<Src>()(x, v.out, v);
  const ScaleSat<Kels16s> toInt{sf};
  for (int j = 0; j < v.Q + v.c0; ++j) y[j] = toInt(v.out[j]);
  return kelOk;
}

// The documented size: with M <= 8192 it stays far below INT_MAX.
KelsStatus callerSize(int M, int Q, int* size) {
  if (KelsStatus st = ArgCheck{}.ptr(size).size(M).size(Q).arg(M >= Q, kelErrSize)
                          .arg(M <= kMaxCallerM, kelErrSize);
      st != kelOk)
    return st;
  *size = 8 * Q + 100 + 18 * (2 * Q + 2) + 2 * (2 * Q + 2) * M + 32;
  return kelOk;
}

KelsStatus initInCaller(KelsDCTLifter_16s* o, const Recipe& r) {
  if (KelsStatus st = checkCallerMemory(o, r); st != kelOk) return st;
  const CallerLayout l = callerLayout(o, r.M, r.Q);
  const int n = r.Q + 1;
  *o = KelsDCTLifter_16s{r.L, r.M, r.Q, r.c0, 1, std::uint32_t(l.lifterAt), std::uint32_t(l.outAt),
                         std::uint32_t(l.tableAt)};
  r.fillLifter(at<float>(o, l.lifterAt));
  std::memset(at<float>(o, l.outAt), 0, std::size_t(n) * sizeof(float));
  auto* table = at<std::int32_t>(o, l.tableAt);
  for (int i = 0; i < n; ++i) {
    table[i] = std::int32_t(l.row0At + std::size_t(i) * l.stride);
    std::memset(at<float>(o, std::size_t(table[i])), 0, std::size_t(r.M) * sizeof(float));
  }
  fillBasis(at<float>(o, l.row0At), std::ptrdiff_t(l.stride / sizeof(float)), r.M, r.Q);
  return kelOk;
}

// The arrays go; the record stays allocated, deliberately. Pointers are cleared, so a second
// Free releases nothing twice.
KelsStatus freeLifter(KelsDCTLifter_32f* o) {
  if (o == nullptr) return kelErrNullPtr;
  release(o->basis);
  release(o->lifter);
  o->basis = nullptr;
  o->lifter = nullptr;
  return kelOk;
}
KelsStatus freeLifter(KelsDCTLifter_16s* o) {
  if (o == nullptr) return kelErrNullPtr;
  if (o->inCaller) return kelOk;  // the caller's memory
  auto& h = reinterpret_cast<HeapLifter16s&>(*o);
  release(h.out);
  release(h.lifter);
  release(h.basis);
  h.out = h.lifter = nullptr;
  h.basis = nullptr;
  return kelOk;
}

}  // namespace
}  // namespace kels::features

using kels::features::mul;
using kels::features::sine;

extern "C" {

KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_32f(KelsDCTLifter_32f** ppObj, int M, int Q,
                                                          int L, Kels32f g) {
  return kels::features::initAlloc<KelsDCTLifter_32f>(ppObj, sine(M, Q, L, g, 0, 0.0f));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_16s(KelsDCTLifter_16s** ppObj, int M, int Q,
                                                          int L, Kels32f g) {
  return kels::features::initAlloc<kels::features::HeapLifter16s>(ppObj, sine(M, Q, L, g, 0, 0.0f));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_C0_32f(KelsDCTLifter_32f** ppObj, int M,
                                                             int Q, int L, Kels32f g, Kels32f z) {
  return kels::features::initAlloc<KelsDCTLifter_32f>(ppObj, sine(M, Q, L, g, 1, z));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_C0_16s(KelsDCTLifter_16s** ppObj, int M,
                                                             int Q, int L, Kels32f g, Kels32f z) {
  return kels::features::initAlloc<kels::features::HeapLifter16s>(ppObj, sine(M, Q, L, g, 1, z));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_Mul_32f(KelsDCTLifter_32f** ppObj, int M,
                                                              const Kels32f* pMul, int Q) {
  return kels::features::initAlloc<KelsDCTLifter_32f>(ppObj, mul(M, pMul, Q, 0));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_Mul_16s(KelsDCTLifter_16s** ppObj, int M,
                                                              const Kels32f* pMul, int Q) {
  return kels::features::initAlloc<kels::features::HeapLifter16s>(ppObj, mul(M, pMul, Q, 0));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_MulC0_32f(KelsDCTLifter_32f** ppObj, int M,
                                                                const Kels32f* pMul, int Q) {
  return kels::features::initAlloc<KelsDCTLifter_32f>(ppObj, mul(M, pMul, Q, 1));
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInitAlloc_MulC0_16s(KelsDCTLifter_16s** ppObj, int M,
                                                                const Kels32f* pMul, int Q) {
  return kels::features::initAlloc<kels::features::HeapLifter16s>(ppObj, mul(M, pMul, Q, 1));
}

KELS_API KelsStatus KELS_CALL kelsDCTLifterGetSize_MulC0_16s(int M, int Q, int* pSize) {
  return kels::features::callerSize(M, Q, pSize);
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterInit_MulC0_16s(KelsDCTLifter_16s* pObj, int M,
                                                           const Kels32f* pMul, int Q) {
  return kels::features::initInCaller(pObj, mul(M, pMul, Q, 1));
}

KELS_API KelsStatus KELS_CALL kelsDCTLifter_32f(const Kels32f* pSrc, Kels32f* pDst,
                                                 const KelsDCTLifter_32f* pObj) {
  return kels::features::apply(pSrc, pDst, pObj);
}
KELS_API KelsStatus KELS_CALL kelsDCTLifter_16s_Sfs(const Kels16s* pSrc, Kels16s* pDst,
                                                     KelsDCTLifter_16s* pObj, int scaleFactor) {
  return kels::features::apply(pSrc, pDst, pObj, scaleFactor);
}
KELS_API KelsStatus KELS_CALL kelsDCTLifter_32s16s_Sfs(const Kels32s* pSrc, Kels16s* pDst,
                                                        KelsDCTLifter_16s* pObj, int scaleFactor) {
  return kels::features::apply(pSrc, pDst, pObj, scaleFactor);
}

KELS_API KelsStatus KELS_CALL kelsDCTLifterFree_32f(KelsDCTLifter_32f* pObj) {
  return kels::features::freeLifter(pObj);
}
KELS_API KelsStatus KELS_CALL kelsDCTLifterFree_16s(KelsDCTLifter_16s* pObj) {
  return kels::features::freeLifter(pObj);
}

}  // extern "C"
