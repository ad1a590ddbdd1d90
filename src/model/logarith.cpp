// Log-domain arithmetic on vectors: log-add, log-subtract, log-sum and exp(-x^2). The float and
// double element rules live in logadd.h; the integer forms read each k as k * 2^-sf, run the
// float rules and store r * 2^sf rounded half to even and saturated.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include <kelsr.h>

#include "core/alloc.h"
#include "core/check.h"
#include "core/scale.h"
#include "model/logadd.h"

namespace kels {
namespace {

constexpr int kStackElems = 100;  // work vectors up to this length live on the stack

// Length first, then pointers: the log functions report an empty vector before a null one.
template <class... P>
ArgCheck checkLog(int n, const P*... p) {
  return ArgCheck{}.size(n).ptrs(p...);
}
// exp(-x^2) checks in the usual order.
template <class... P>
KelsStatus checkExp(int n, const P*... p) {
  return ArgCheck{}.ptrs(p...).size(n);
}

// 2^sf and 2^-sf from the table; the clamp keeps -sf defined for every int.
inline float pow2F(int sf) { return pow2NegF(-std::clamp(sf, -1000, 1000)); }

template <class Int>
struct ScaledIn {
  float f;
  explicit ScaledIn(int sf) : f(pow2NegF(sf)) {}
  float operator()(Int k) const { return float(k) * f; }
};
template <class Int>
struct ScaledOut {
  float f;
  explicit ScaledOut(int sf) : f(pow2F(sf)) {}
  Int operator()(float r) const { return roundSat<Int>(r * f); }
};

// log(e^a - e^b), b < a. The subtraction's complement is formed in double, 1 - e^d.
constexpr double kSubDrop32f = -15.3195879547406;
constexpr double kSubTiny32f = 1.0057e-37;
constexpr double kSubDrop64f = -23.0258509299405;
constexpr double kSubTiny64f = 2.45e-308;
constexpr double kSubKeep64f = -9e9;  // below the drop threshold, a survives down to here

float logSub32f(float a, float b) {
  const float d = b - a;
  if (double(d) >= kSubDrop32f) {
    const double t = 1.0 - std::exp(double(d));
    return t > kSubTiny32f ? float(double(a) + std::log(t)) : kLogZero32f;
  }
  return a > kLogZero32f ? a : kLogZero32f;
}
double logSub64f(double a, double b) {
  const double d = b - a;
  if (d >= kSubDrop64f) {
    const double t = 1.0 - std::exp(d);
    return t > kSubTiny64f ? a + std::log(t) : kLogZero64f;
  }
  return a >= kSubKeep64f ? a : kLogZero64f;
}

template <class T>
bool subtrahendsBelow(const T* a, const T* b, int n) {
  for (int i = 0; i < n; ++i) {
    if constexpr (std::is_integral_v<T>) {
      if (!(std::int64_t(b[i]) - std::int64_t(a[i]) < 0)) return false;
    } else {
      if (!(b[i] - a[i] < 0)) return false;  // NaN fails too
    }
  }
  return true;
}

template <class T, class Elem>
KelsStatus logSub(const T* a, T* b, int n, Elem elem) {
  // Every b below its a, checked before anything is written.
  if (KelsStatus st = checkLog(n, a, b).data([&] { return subtrahendsBelow(a, b, n); }, kelErrRange);
      st != kelOk)
    return st;
  for (int i = 0; i < n; ++i) b[i] = elem(a[i], b[i]);
  return kelOk;
}

template <class Int>
KelsStatus logAddInt(const Int* a, Int* b, int n, int sf, int hint) {
  if (KelsStatus st = checkLog(n, a, b); st != kelOk) return st;
  Scratch<float, kStackElems> fa(n), fb(n);
  if (!fa || !fb) return kelErrNullPtr;  // deliberately not kelErrMemAlloc
  const ScaledIn<Int> in(sf);
  for (int i = 0; i < n; ++i) { fa[i] = in(a[i]); fb[i] = in(b[i]); }
  logAddRow32f(fa.data(), fb.data(), n, hint);
  const ScaledOut<Int> out(sf);
  for (int i = 0; i < n; ++i) b[i] = out(fb[i]);
  return kelOk;
}

template <class Int>
KelsStatus logSubInt(const Int* a, Int* b, int n, int sf) {
  const ScaledIn<Int> in(sf);
  const ScaledOut<Int> out(sf);
  return logSub(a, b, n, [&](Int x, Int y) { return out(logSub32f(in(x), in(y))); });
}

template <class Int>
KelsStatus logSumInt(const Int* x, Int* out, int n, int sf, int hint) {
  if (KelsStatus st = checkLog(n, x, out); st != kelOk) return st;
  Scratch<float, kStackElems> f(n);
  if (!f) return kelErrNullPtr;
  const ScaledIn<Int> in(sf);
  for (int i = 0; i < n; ++i) f[i] = in(x[i]);
  *out = ScaledOut<Int>(sf)(logSum32f(f.data(), n, hint));
  return kelOk;
}

template <class S, class D, class Elem>
KelsStatus expNegSqr(const S* x, D* y, int n, Elem elem) {
  if (KelsStatus st = checkExp(n, x, y); st != kelOk) return st;
  for (int i = 0; i < n; ++i) y[i] = elem(x[i]);
  return kelOk;
}
inline float expNegSqr32f(float x) { return std::exp(-(x * x)); }  // single precision throughout
inline double expNegSqr64f(double x) { return std::exp(-(x * x)); }
inline double expNegSqr32f64f(float x) { return std::exp(-(double(x) * double(x))); }

}  // namespace
}  // namespace kels

using namespace kels;

extern "C" KELS_API KelsStatus KELS_CALL kelsLogAdd_32f(const Kels32f* pSrc, Kels32f* pSrcDst, int len, int hint) {
  if (KelsStatus st = checkLog(len, pSrc, pSrcDst); st != kelOk) return st;
  logAddRow32f(pSrc, pSrcDst, len, hint);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogAdd_64f(const Kels64f* pSrc, Kels64f* pSrcDst, int len, int /*hint*/) {
  if (KelsStatus st = checkLog(len, pSrc, pSrcDst); st != kelOk) return st;
  for (int i = 0; i < len; ++i) pSrcDst[i] = logAdd64f(pSrc[i], pSrcDst[i]);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogAdd_32s_Sfs(const Kels32s* pSrc, Kels32s* pSrcDst, int len,
                                                      int scaleFactor, int hint) {
  return logAddInt(pSrc, pSrcDst, len, scaleFactor, hint);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogAdd_16s_Sfs(const Kels16s* pSrc, Kels16s* pSrcDst, int len,
                                                      int scaleFactor, int hint) {
  return logAddInt(pSrc, pSrcDst, len, scaleFactor, hint);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSub_32f(const Kels32f* pSrc, Kels32f* pSrcDst, int len) {
  return logSub(pSrc, pSrcDst, len, logSub32f);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSub_64f(const Kels64f* pSrc, Kels64f* pSrcDst, int len) {
  return logSub(pSrc, pSrcDst, len, logSub64f);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSub_32s_Sfs(const Kels32s* pSrc, Kels32s* pSrcDst, int len,
                                                      int scaleFactor) {
  return logSubInt(pSrc, pSrcDst, len, scaleFactor);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSub_16s_Sfs(const Kels16s* pSrc, Kels16s* pSrcDst, int len,
                                                      int scaleFactor) {
  return logSubInt(pSrc, pSrcDst, len, scaleFactor);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSum_32f(const Kels32f* pSrc, Kels32f* pResult, int len, int hint) {
  if (KelsStatus st = checkLog(len, pSrc, pResult); st != kelOk) return st;
  *pResult = logSum32f(pSrc, len, hint);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSum_64f(const Kels64f* pSrc, Kels64f* pResult, int len, int /*hint*/) {
  if (KelsStatus st = checkLog(len, pSrc, pResult); st != kelOk) return st;
  *pResult = logSum64f(pSrc, len);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSum_32s_Sfs(const Kels32s* pSrc, Kels32s* pResult, int len,
                                                      int scaleFactor, int hint) {
  return logSumInt(pSrc, pResult, len, scaleFactor, hint);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsLogSum_16s_Sfs(const Kels16s* pSrc, Kels16s* pResult, int len,
                                                      int scaleFactor, int hint) {
  return logSumInt(pSrc, pResult, len, scaleFactor, hint);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsExpNegSqr_32f(const Kels32f* pSrc, Kels32f* pDst, int len) {
  return expNegSqr(pSrc, pDst, len, expNegSqr32f);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsExpNegSqr_64f(const Kels64f* pSrc, Kels64f* pDst, int len) {
  return expNegSqr(pSrc, pDst, len, expNegSqr64f);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsExpNegSqr_32f64f(const Kels32f* pSrc, Kels64f* pDst, int len) {
  return expNegSqr(pSrc, pDst, len, expNegSqr32f64f);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsExpNegSqr_32f_I(Kels32f* pSrcDst, int len) {
  return expNegSqr(pSrcDst, pSrcDst, len, expNegSqr32f);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsExpNegSqr_64f_I(Kels64f* pSrcDst, int len) {
  return expNegSqr(pSrcDst, pSrcDst, len, expNegSqr64f);
}
