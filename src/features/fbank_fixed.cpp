// The fixed-point mel bank in caller memory: integer parameters, mode 2 triangles (linear over
// bins, centres rounded, peak 1) with Q15 weights, and integer evaluation
// out = round_even(sum(w * x) * 2^-(15 + sf)), saturated to 32 bits. The mel multiplier and
// divisor arrive in Q15 (2595.0 is 2595 * 2^15).
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/scale.h"
#include "features/fbank.h"

// Lives in caller memory and may be copied byte for byte: offsets from its own start, no
// pointers. Weights of filter j: a run of Q15 values for bins c[j-1] .. c[j+1].
struct KelsMelFBank_32s {
  std::int32_t kind;
  std::int32_t n;
  std::int32_t order;
  std::int32_t nFilter;
  std::int32_t centersAt;  // byte offsets of nFilter + 2 centres,
  std::int32_t runsAt;     // nFilter + 1 starts of each filter's run in the weights,
  std::int32_t weightsAt;  // and the weights
};

namespace kels::fbank {
namespace {

constexpr std::int32_t kFixedKind = 0x4B4E4246;  // "FBNK"
constexpr int kQ = 15;
constexpr int kMinMel = 524289, kMaxMul = 1073741823, kMaxDiv = 268435455;

// The documented size: 4 nFilter + 96 + 36 (2 nFilter + 4) + 4 (2 nFilter + 4) N/2 + 64 bytes,
// which holds our record, centres, run starts and at most N + nFilter weights.
int fixedBytes(int n, int nFilter) {
  return 4 * nFilter + 96 + 36 * (2 * nFilter + 4) + 4 * (2 * nFilter + 4) * (n / 2) + 64;
}

template <class T>
T* at(KelsMelFBank_32s* obj, std::int32_t offset) {
  return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(obj) + offset);
}
template <class T>
const T* at(const KelsMelFBank_32s* obj, std::int32_t offset) {
  return reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(obj) + offset);
}

bool aligned(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % alignof(KelsMelFBank_32s) == 0; }

// round_even(num * 2^15 / den) for 0 <= num <= den.
std::int32_t q15Ratio(std::int64_t num, std::int64_t den) {
  const std::int64_t scaled = num << kQ;
  std::int64_t q = scaled / den;
  const std::int64_t rem2 = 2 * (scaled - q * den);
  if (rem2 > den || (rem2 == den && (q & 1))) ++q;
  return std::int32_t(q);
}

KelsStatus checkSize(int l, int nFilter, int mode, const int* size) {
  if (KelsStatus st = ArgCheck{}
                          .ptr(size)
                          .arg(nFilter >= 1 && l >= 32 && l <= 8192, kelErrSize)
                          .arg(mode == kModeLinear, kelErrFBankFlag);
      st != kelOk)
    return st;
  return ArgCheck{}.arg(nFilter <= fftLength(l).n / 2, kelErrSize);
}

KelsStatus checkInit(const KelsMelFBank_32s* obj, const int* order, int l, int rate, int low,
                     int high, int nFilter, int melMul, int melDiv, int mode) {
  if (KelsStatus st = ArgCheck{}
                          .ptrs(obj, order)
                          .arg(nFilter >= 1 && high >= 1 && l >= 32 && l <= 8192, kelErrSize)
                          .arg(mode == kModeLinear, kelErrFBankFlag)
                          .arg(rate >= 1 && rate <= 48000 && low >= 0, kelErrSize)
                          .arg(high > low && high <= 24000, kelErrFBankFreq)
                          .arg(melDiv >= kMinMel && melDiv <= kMaxDiv && melMul >= kMinMel && melMul <= kMaxMul,
                               kelErrBadArg);
      st != kelOk)
    return st;
  return ArgCheck{}.arg(nFilter <= fftLength(l).n / 2, kelErrSize).arg(aligned(obj), kelErrBadArg);
}

void build(KelsMelFBank_32s* obj, Length len, int rate, int low, int high, int nFilter, int melMul,
           int melDiv) {
  KelsMelFBank_32s h{};
  h.kind = kFixedKind;
  h.n = len.n;
  h.order = len.order;
  h.nFilter = nFilter;
  h.centersAt = sizeof(KelsMelFBank_32s);
  h.runsAt = h.centersAt + 4 * (nFilter + 2);
  h.weightsAt = h.runsAt + 4 * (nFilter + 1);
  std::memcpy(obj, &h, sizeof h);

  // The float bank's positions for A = melMul / 2^15 and B = melDiv / 2^15, one at a time (Init
  // takes no memory of its own); a high frequency above rate / 2 puts centres at N/2.
  std::int32_t* c = at<std::int32_t>(obj, h.centersAt);
  std::int32_t* runs = at<std::int32_t>(obj, h.runsAt);
  std::int32_t* w = at<std::int32_t>(obj, h.weightsAt);
  const double a = double(melMul) / (1 << kQ), b = double(melDiv) / (1 << kQ);
  for (int i = 0; i < nFilter + 2; ++i) c[i] = centreBin(melPosition(i, rate, low, high, nFilter, a, b, len.n), true, len.n);
  int next = 0;
  for (int j = 1; j <= nFilter; ++j) {
    runs[j - 1] = next;
    const int lo = c[j - 1], mid = c[j], hi = c[j + 1];
    for (int k = lo; k <= mid; ++k) w[next++] = q15Ratio(k - lo + 1, mid - lo + 1);
    for (int k = mid + 1; k <= hi; ++k) w[next++] = q15Ratio(hi + 1 - k, hi - mid + 1);
  }
  runs[nFilter] = next;
}

KelsStatus eval(const Kels32s* src, Kels32s* dst, const KelsMelFBank_32s* obj, int scaleFactor) {
  if (KelsStatus st = ArgCheck{}.ptrs(src, dst, obj).data(
          [&] { return aligned(obj) && obj->kind == kFixedKind; }, kelErrFBankNotSet);
      st != kelOk)
    return st;
  const std::int32_t* c = at<std::int32_t>(obj, obj->centersAt);
  const std::int32_t* runs = at<std::int32_t>(obj, obj->runsAt);
  const std::int32_t* w = at<std::int32_t>(obj, obj->weightsAt);
  const int shift = std::clamp(scaleFactor, kMinScale, kMaxScale) + kQ;
  for (int j = 1; j <= obj->nFilter; ++j) {
    // |w| <= 2^15, |x| <= 2^31, at most 4097 bins: the sum stays below 2^59.
    std::int64_t acc = 0;
    const std::int32_t* wj = w + runs[j - 1];
    for (int k = c[j - 1], i = 0; k <= c[j + 1]; ++k, ++i) acc += std::int64_t(wj[i]) * src[k];
    dst[j - 1] = sat32(scaleRoundEven(acc, shift));
  }
  return kelOk;
}

}  // namespace
}  // namespace kels::fbank

using namespace kels::fbank;

extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankGetSize_32s(int l, int nFilter, int mode, int* size) {
  if (KelsStatus st = checkSize(l, nFilter, mode, size); st != kelOk) return st;
  *size = fixedBytes(fftLength(l).n, nFilter);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInit_32s(KelsMelFBank_32s* obj, int* order, int l,
                                                           int rate, int low, int high, int nFilter,
                                                           int melMul, int melDiv, int mode) {
  if (KelsStatus st = checkInit(obj, order, l, rate, low, high, nFilter, melMul, melDiv, mode); st != kelOk)
    return st;
  const Length len = fftLength(l);
  *order = len.order;
  build(obj, len, rate, low, high, nFilter, melMul, melDiv);
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsEvalFBank_32s_Sfs(const Kels32s* src, Kels32s* dst,
                                                            KelsMelFBank_32s* obj, int scaleFactor) {
  return eval(src, dst, obj, scaleFactor);
}
