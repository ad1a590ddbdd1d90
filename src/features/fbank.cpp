// Mel filter banks: the warping functions, the builders (mel, mel-plus-linear, the two fixed 8 kHz
// banks, the empty bank), the accessors, evaluation and release.
#include "features/fbank.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "core/alloc.h"
#include "core/check.h"
#include "core/scale.h"

namespace kels::fbank {

Length fftLength(int l) {
  Length len{2, 1};
  while (len.n < l) {
    len.n *= 2;
    ++len.order;
  }
  return len;
}

void melPositions(double sampleRate, double low, double high, int nFilter, double melMul,
                  double melDiv, int n, double* mel, double* pos) {
  const double melLow = melOf(low, melMul, melDiv), delta = melOf(high, melMul, melDiv) - melLow;
  for (int i = 0; i < nFilter + 2; ++i) {
    mel[i] = (1.0 / (nFilter + 1)) * (i * delta) + melLow;
    pos[i] = hzOf(mel[i], melMul, melDiv) * (1.0 / sampleRate) * n;
  }
}

// A position within 1e-9 of a whole bin is that bin, however it is rounded or truncated: the
// last centre of a bank whose high frequency is exactly half the rate is N/2 in exact
// arithmetic, and a last-place error must not truncate it to N/2 - 1.
Kels32s centreBin(double pos, bool round, int n) {
  if (!(pos > 0)) return 0;
  if (pos >= n / 2) return n / 2;
  const double near = std::nearbyint(pos);
  if (std::fabs(pos - near) <= 1e-9 * (1 + pos)) return Kels32s(near);
  return Kels32s(round ? roundEven(pos) : std::trunc(pos));  // below N/2 <= 2^29: in range
}

namespace {

// One run of a filter's weights: row elements first..last, element i at bin bin0 + i.
struct Run {
  long long bin0;
  long long first, last;  // empty when last < first
};

// The rising run has c[j] - c[j-1] + 1 values and the falling run c[j+1] - c[j], each cut to
// what its row holds. Centres come from SetCenters as well, whose test deliberately leaves
// some orders through, so the differences are formed in 64 bits.
Run riseRun(const Bank& b, int j) {
  const long long lo = b.centers[j - 1], mid = b.centers[j];
  return {lo, 0, std::min<long long>(mid - lo, b.n / 2)};
}
Run fallRun(const Bank& b, int j) {
  const long long mid = b.centers[j], hi = b.centers[j + 1];
  return {mid + 1, 0, std::min<long long>(hi - mid, b.n / 2) - 1};
}
long long count(const Run& r) { return r.last >= r.first ? r.last - r.first + 1 : 0; }
// The part of a run whose bins lie in the spectrum 0..N/2.
Run inSpectrum(Run r, int n) {
  r.first = std::max(r.first, -r.bin0);
  r.last = std::min<long long>(r.last, n / 2 - r.bin0);
  return r;
}

template <class In>
float weightedSum(const float* w, const Run& r, const In* x) {
  float acc = 0.0f;
  for (long long i = r.first; i <= r.last; ++i) acc += w[i] * float(x[r.bin0 + i]);
  return acc;
}

// Output j-1 = the rising weights times bins c[j-1]..c[j] plus the falling weights times bins
// c[j]+1..c[j+1], summed in bin order from 0. This form serves any centres the accessors let
// through; spanSums below is the same arithmetic for ordered centres.
template <class In>
void filterSums(const Bank& b, const In* x, float* out) {
  for (int j = 1; j <= b.nFilter; ++j) {
    const float rise = weightedSum(b.lower[j - 1], inSpectrum(riseRun(b, j), b.n), x);
    const Run fall = inSpectrum(fallRun(b, j), b.n);
    float acc = rise;
    for (long long i = fall.first; i <= fall.last; ++i) acc += b.upper[j - 1][i] * float(x[fall.bin0 + i]);
    out[j - 1] = acc;
  }
}

// Centres in order within the spectrum, as every builder makes them.
bool ordered(const Bank& b) {
  const Kels32s* c = b.centers;
  if (c[0] < 0 || c[b.nFilter + 1] > b.n / 2) return false;
  for (int i = 0; i <= b.nFilter; ++i)
    if (c[i] > c[i + 1]) return false;
  return true;
}

// Each span c[s] .. c[s+1] is walked once: it ends filter s (falling over c[s]+1 .. c[s+1]) and
// starts filter s+1 (rising over c[s] .. c[s+1]); the two sums run side by side. Every filter
// still adds its bins in ascending order from 0, so the results are filterSums' to the bit.
template <class In>
void spanSums(const Bank& b, const In* x, float* out) {
  const Kels32s* c = b.centers;
  const int nFilter = b.nFilter;
  float next = 0.0f;
  for (int k = c[0]; k <= c[1]; ++k) next += b.lower[0][k - c[0]] * float(x[k]);
  for (int s = 1; s <= nFilter; ++s) {
    const int lo = c[s], hi = c[s + 1];
    const float* fallW = b.upper[s - 1];  // element 0 at bin lo + 1
    float cur = next;
    if (s < nFilter) {
      const float* riseW = b.lower[s];  // element 0 at bin lo
      next = 0.0f;
      next += riseW[0] * float(x[lo]);
      for (int k = lo + 1; k <= hi; ++k) {
        const float v = float(x[k]);
        cur += fallW[k - lo - 1] * v;
        next += riseW[k - lo] * v;
      }
    } else {
      for (int k = lo + 1; k <= hi; ++k) cur += fallW[k - lo - 1] * float(x[k]);
    }
    out[s - 1] = cur;
  }
}

template <class In>
void weightedSums(const Bank& b, const In* x, float* out) {
  if (ordered(b)) spanSums(b, x, out);
  else filterSums(b, x, out);
}

// ---- building --------------------------------------------------------------------------------

template <class Obj>
Obj* newRecord(Obj** handle) {
  void* mem = allocBytes(int(sizeof(Obj)));
  if (mem == nullptr) return nullptr;
  Obj* obj = new (mem) Obj{};
  *handle = obj;
  return obj;
}

// Steps shared by every builder after the record: the FFT (a plan followed by its working
// storage) and its zeroed buffer with mode bit 4, then the centres. Rows come later, after the
// builder's scratch, in the documented order.
KelsStatus allocateFft(Bank& b, bool withFft) {
  if (!withFft) return kelOk;
  const std::size_t plan = fft::planBytes(b.order);
  b.fft = static_cast<KelsFFTSpec_R_32f*>(allocSize(plan + std::size_t(fft::workFloats(b.n)) * 4));
  if (b.fft == nullptr) return kelErrMemAlloc;
  fft::buildPlan(b.order, b.fft);
  b.fftBuf = static_cast<float*>(alloc32(b.n + 2));
  if (b.fftBuf == nullptr) return kelErrMemAlloc;
  std::memset(b.fftBuf, 0, std::size_t(b.n + 2) * 4);
  return kelOk;
}

KelsStatus allocateRows(Bank& b) {
  const int rows = b.nFilter + 2, half = b.n / 2;
  float** lower = allocRows<float>(rows, half + 3);
  if (lower == nullptr) return kelErrMemAlloc;
  b.lower = lower;
  for (int r = 0; r < rows; ++r) {
    std::memset(lower[r], 0, std::size_t(half + 4) * 4);  // the spare 3, the row, and the one after
    lower[r] += 3;
  }
  float** upper = allocRows<float>(rows, half);
  if (upper == nullptr) return kelErrMemAlloc;
  b.upper = upper;
  for (int r = 0; r < rows; ++r) std::memset(upper[r], 0, std::size_t(half) * 4);
  return kelOk;
}

void setHeader(Bank& b, Length len, int nFilter, int mode, float melMul, float melDiv) {
  b.n = len.n;
  b.order = len.order;
  b.nFilter = b.nFilterCopy = nFilter;
  b.mode = mode;
  b.melMul = melMul;
  b.melDiv = melDiv;
}

// Everything but the weights: header, FFT, centres, the builder's scratch of 2 (nFilter + 2)
// floats, the rows. On failure what was allocated stays attached to the record for Free.
template <class Obj>
KelsStatus allocateBank(Obj** handle, Obj*& obj, Owned<double>& scratch, Length len, int nFilter,
                        int mode, float melMul, float melDiv, bool withFft) {
  obj = newRecord(handle);
  if (obj == nullptr) return kelErrMemAlloc;
  Bank& b = obj->b;
  setHeader(b, len, nFilter, mode, melMul, melDiv);
  if (KelsStatus st = allocateFft(b, withFft); st != kelOk) return st;
  b.centers = static_cast<Kels32s*>(alloc32(nFilter + 2));
  if (b.centers == nullptr) return kelErrMemAlloc;
  scratch.reset(static_cast<double*>(alloc32(4 * (nFilter + 2))));
  if (!scratch) return kelErrMemAlloc;
  return allocateRows(b);
}

// The _16s record's two buffers, last.
KelsStatus allocateExtras(KelsMelFBank_32f*) { return kelOk; }
KelsStatus allocateExtras(KelsMelFBank_16s* obj) {
  obj->out = static_cast<float*>(alloc32(obj->b.nFilter));
  if (obj->out == nullptr) return kelErrMemAlloc;
  if (obj->b.mode & kModeFrame) {
    obj->in = static_cast<float*>(alloc32(obj->b.n));
    if (obj->in == nullptr) return kelErrMemAlloc;
  }
  return kelOk;
}

// Triangles over bins: mode 2 from rounded centres with linear weights; mode 1 from truncated
// centres with weights interpolated in a warped domain: rise(j, k) and fall(j, k) give them.
template <class Rise, class Fall>
void fillTriangles(Bank& b, const double* pos, Rise rise, Fall fall) {
  const bool linear = (b.mode & 3) == kModeLinear;
  for (int i = 0; i < b.nFilter + 2; ++i) b.centers[i] = centreBin(pos[i], linear, b.n);
  for (int j = 1; j <= b.nFilter; ++j) {
    const int lo = b.centers[j - 1], mid = b.centers[j], hi = b.centers[j + 1];
    float* lw = b.lower[j - 1];
    float* uw = b.upper[j - 1];
    if (linear) {
      for (int k = lo; k <= mid; ++k) lw[k - lo] = riseLinear(k, lo, mid);
      for (int k = mid + 1; k <= hi; ++k) uw[k - mid - 1] = fallLinear(k, mid, hi);
    } else {
      lw[0] = 0.0f;  // the left edge bin has weight 0
      for (int k = lo + 1; k <= mid; ++k) lw[k - lo] = float(rise(j, k));
      for (int k = mid + 1; k <= hi; ++k) uw[k - mid - 1] = float(fall(j, k));
    }
  }
}

// ---- checks ----------------------------------------------------------------------------------

bool modeOk(int mode) { return (mode & ~kModeFrame) == kModeMel || (mode & ~kModeFrame) == kModeLinear; }

// Written so that a NaN fails every test, as a non-positive value would.
KelsStatus checkMelBank(int l, float rate, float low, float high, int nFilter, float melMul,
                        float melDiv, int mode) {
  return ArgCheck{}
      .arg(l > 0 && l <= kMaxLength, kelErrSize)
      .arg(nFilter > 0, kelErrSize)
      .arg(rate > 0, kelErrSize)
      .arg(low > 0, kelErrSize)  // a low frequency of 0 is refused
      .arg(low <= high, kelErrFBankFreq)
      .arg(high <= rate * 0.5f, kelErrFBankFreq)
      .arg(modeOk(mode), kelErrFBankFlag)
      .arg(melMul != 0 && !std::isnan(melMul) && melDiv > 0, kelErrBadArg);
}

template <class Obj>
KelsStatus melBank(Obj** handle, int* order, int l, float rate, float low, float high,
                   int nFilter, float melMul, float melDiv, int mode) {
  // The two pointers are deliberately not checked.
  if (KelsStatus st = checkMelBank(l, rate, low, high, nFilter, melMul, melDiv, mode); st != kelOk)
    return st;
  const Length len = fftLength(l);
  *order = len.order;
  Obj* obj = nullptr;
  Owned<double> scratch;
  if (KelsStatus st = allocateBank(handle, obj, scratch, len, nFilter, mode, melMul, melDiv,
                                   (mode & kModeFrame) != 0);
      st != kelOk)
    return st;
  Bank& b = obj->b;
  double* mel = scratch.get();
  double* pos = mel + nFilter + 2;
  melPositions(rate, low, high, nFilter, melMul, melDiv, len.n, mel, pos);
  auto melAt = [&](int k) { return melOf(k * (1.0 / len.n) * rate, melMul, melDiv); };
  fillTriangles(
      b, pos, [&](int j, int k) { return (melAt(k) - mel[j - 1]) * (1.0 / (mel[j] - mel[j - 1])); },
      [&](int j, int k) { return (mel[j + 1] - melAt(k)) * (1.0 / (mel[j + 1] - mel[j])); });
  if (KelsStatus st = allocateExtras(obj); st != kelOk) return st;
  b.ready = 1;
  return kelOk;
}

// Mel-plus-linear: points 0..nLinear evenly spaced in Hz from low to linearEnd, points
// nLinear..nFilter+1 evenly spaced in mel from linearEnd to high. Mode 1 interpolates each
// half-triangle in the domain its two end points are evenly spaced in.
KelsStatus checkMelLinBank(int l, float rate, float low, float high, int nFilter, int nLinear,
                           float linearEnd, float melMul, float melDiv, int mode) {
  return ArgCheck{}
      .arg(l > 0 && l <= kMaxLength, kelErrSize)
      .arg(nFilter > 0, kelErrSize)
      .arg(nLinear >= 0 && nLinear <= nFilter, kelErrSize)
      .arg(rate > 0, kelErrSize)
      .arg(low > 0, kelErrSize)
      .arg(low <= high, kelErrFBankFreq)
      .arg(high <= rate * 0.5f, kelErrFBankFreq)
      .arg(nLinear == 0 || (low <= linearEnd && linearEnd <= high), kelErrFBankFreq)
      .arg(modeOk(mode), kelErrFBankFlag)
      .arg(melMul != 0 && !std::isnan(melMul) && melDiv > 0, kelErrBadArg);
}

template <class Obj>
KelsStatus melLinBank(Obj** handle, int* order, int l, float rate, float low, float high,
                      int nFilter, int nLinear, float linearEnd, float melMul, float melDiv,
                      int mode) {
  if (KelsStatus st = checkMelLinBank(l, rate, low, high, nFilter, nLinear, linearEnd, melMul,
                                      melDiv, mode);
      st != kelOk)
    return st;
  const Length len = fftLength(l);
  *order = len.order;
  Obj* obj = nullptr;
  Owned<double> scratch;
  if (KelsStatus st = allocateBank(handle, obj, scratch, len, nFilter, mode, melMul, melDiv,
                                   (mode & kModeFrame) != 0);
      st != kelOk)
    return st;
  Bank& b = obj->b;
  double* warp = scratch.get();  // Hz up to point nLinear, mel from there on
  double* pos = warp + nFilter + 2;
  const double start = nLinear > 0 ? linearEnd : low;
  const double melStart = melOf(start, melMul, melDiv);
  const double melStep = (melOf(high, melMul, melDiv) - melStart) / (nFilter + 1 - nLinear);
  const double hzStep = nLinear > 0 ? (double(linearEnd) - low) / nLinear : 0.0;
  for (int i = 0; i < nFilter + 2; ++i) {
    double hz;
    if (i <= nLinear && nLinear > 0) {
      hz = i == nLinear ? linearEnd : low + i * hzStep;
      warp[i] = hz;
    } else {
      warp[i] = melStart + (i - nLinear) * melStep;
      hz = hzOf(warp[i], melMul, melDiv);
    }
    pos[i] = hz * (1.0 / rate) * len.n;
  }
  const double binHz = double(rate) / len.n;
  auto linearPart = [&](int i) { return nLinear > 0 && i <= nLinear; };
  auto warpAt = [&](int k, bool inHz) { return inHz ? k * binHz : melOf(k * binHz, melMul, melDiv); };
  auto warpOf = [&](int i, bool inHz) {  // point i in the domain of its neighbour's segment
    return inHz || !linearPart(i) ? warp[i] : melStart;  // only the junction point nLinear
  };
  fillTriangles(
      b, pos,
      [&](int j, int k) {
        const bool hz = linearPart(j);
        const double a = warpOf(j - 1, hz), c = warpOf(j, hz);
        return (warpAt(k, hz) - a) * (1.0 / (c - a));
      },
      [&](int j, int k) {
        const bool hz = linearPart(j + 1);
        const double a = warpOf(j, hz), c = warpOf(j + 1, hz);
        return (c - warpAt(k, hz)) * (1.0 / (c - a));
      });
  if (KelsStatus st = allocateExtras(obj); st != kelOk) return st;
  b.ready = 1;
  return kelOk;
}

// The fixed 8 kHz banks of the front end: N = 128, mode 2, A = 2595, B = 700; points evenly
// spaced in mel from `from` Hz with `steps` steps up to 4000 Hz, positions at or past N/2 set
// to N/2, rounded.
constexpr float kFixedMul = 2595.0f, kFixedDiv = 700.0f;
constexpr int kFixedN = 128;

void fixedCentres(Bank& b, double from, int steps) {
  const double melFrom = melOf(from, kFixedMul, kFixedDiv);
  const double step = (melOf(4000, kFixedMul, kFixedDiv) - melFrom) / steps;
  const double scale = kFixedN * (1.0 / 8000) * kFixedDiv;
  for (int i = 0; i < b.nFilter + 2; ++i) {
    double pos = std::expm1((melFrom + i * step) / kFixedMul) * scale;
    if (pos >= kFixedN / 2) pos = kFixedN / 2;
    b.centers[i] = centreBin(pos, true, kFixedN);
  }
}

// A proper triangle: 0 at c[j-1], 1 at c[j] (a filter whose rise is empty is 1 there), 0 at
// c[j+1]. Returns the sum of its weights.
float fixedTriangle(Bank& b, int j) {
  const int lo = b.centers[j - 1], mid = b.centers[j], hi = b.centers[j + 1];
  float sum = 0.0f;
  for (int k = lo; k <= mid; ++k) {
    const float w = mid > lo ? float(k - lo) / float(mid - lo) : 1.0f;
    b.lower[j - 1][k - lo] = w;
    sum += w;
  }
  for (int k = mid + 1; k <= hi; ++k) {
    const float w = float(hi - k) / float(hi - mid);
    b.upper[j - 1][k - mid - 1] = w;
    sum += w;
  }
  return sum;
}

void normalise(Bank& b, int j, float sum) {
  const Run r = riseRun(b, j), f = fallRun(b, j);
  for (long long i = r.first; i <= r.last; ++i) b.lower[j - 1][i] /= sum;
  for (long long i = f.first; i <= f.last; ++i) b.upper[j - 1][i] /= sum;
}

template <class Obj>
KelsStatus fixedBank(Obj** handle, bool low) {
  if (KelsStatus st = ArgCheck{}.ptr(handle); st != kelOk) return st;
  const int nFilter = low ? 25 : 3;
  Obj* obj = nullptr;
  Owned<double> scratch;
  if (KelsStatus st = allocateBank(handle, obj, scratch, fftLength(kFixedN), nFilter, kModeLinear,
                                   kFixedMul, kFixedDiv, false);
      st != kelOk)
    return st;
  Bank& b = obj->b;
  fixedCentres(b, low ? 1.0f : 80.0f, low ? 24 : 4);
  for (int j = 1; j <= nFilter; ++j) {
    if (low && j == 1) {
      // A falling half triangle from c[0]: 1 - k / (c[1] - c[0]) at offsets 0 .. c[1] - c[0] - 1.
      const int width = b.centers[1] - b.centers[0];
      float sum = 0.0f;
      for (int k = 0; k < std::max(width, 1); ++k) {
        const float w = width > 0 ? 1.0f - float(k) / float(width) : 1.0f;
        b.lower[0][k] = w;
        sum += w;
      }
      normalise(b, 1, sum);
      continue;
    }
    const float sum = fixedTriangle(b, j);
    if (low) normalise(b, j, sum);
  }
  if (KelsStatus st = allocateExtras(obj); st != kelOk) return st;
  b.ready = 1;
  return kelOk;
}

template <class Obj>
KelsStatus emptyBank(Obj** handle, int* order, int l, int nFilter, int mode) {
  if (KelsStatus st = ArgCheck{}.arg(l > 0 && l <= kMaxLength, kelErrSize).size(nFilter); st != kelOk)
    return st;
  const Length len = fftLength(l);
  *order = len.order;
  Obj* obj = nullptr;
  Owned<double> scratch;
  // Stored as mode 1 whatever was asked: an empty bank is evaluated on spectra. Bit 4 still
  // buys the FFT and its buffer.
  if (KelsStatus st = allocateBank(handle, obj, scratch, len, nFilter, kModeMel, 0.0f, 1.0f,
                                   (mode & kModeFrame) != 0);
      st != kelOk)
    return st;
  scratch.reset();
  if (KelsStatus st = allocateExtras(obj); st != kelOk) return st;
  return kelOk;
}

// ---- evaluation ------------------------------------------------------------------------------

// A record whose build failed part way, or that was freed, has null arrays: refused as null.
bool complete(const Bank& b) {
  return b.lower != nullptr && b.upper != nullptr &&
         (!(b.mode & kModeFrame) || (b.fft != nullptr && b.fftBuf != nullptr));
}

template <class Src, class Dst, class Obj>
KelsStatus checkEval(const Src* src, const Dst* dst, const Obj* obj) {
  if (KelsStatus st = ArgCheck{}.ptrs(src, dst, obj); st != kelOk) return st;
  const Bank& b = obj->b;
  return ArgCheck{}.ptr(b.centers).arg(b.ready != 0, kelErrFBankNotSet).arg(complete(b), kelErrNullPtr);
}

// With mode bit 4: the magnitude spectrum of the frame in the FFT buffer, which is returned.
const float* frameSpectrum(Bank& b, const float* frame) {
  std::memset(b.fftBuf, 0, std::size_t(b.n + 2) * 4);
  float* work = reinterpret_cast<float*>(reinterpret_cast<unsigned char*>(b.fft) + fft::planBytes(b.order));
  fft::forward(b.fft, frame, b.fftBuf, work);
  fft::magnitudes(b.fftBuf, b.fftBuf, b.n);
  return b.fftBuf;
}

KelsStatus eval32f(const Kels32f* src, Kels32f* dst, KelsMelFBank_32f* obj) {
  if (KelsStatus st = checkEval(src, dst, obj); st != kelOk) return st;
  Bank& b = obj->b;
  weightedSums(b, b.mode & kModeFrame ? frameSpectrum(b, src) : src, dst);
  return kelOk;
}

template <class Dst>
KelsStatus eval16s(const Kels16s* src, Dst* dst, KelsMelFBank_16s* obj, int scaleFactor) {
  if (KelsStatus st = checkEval(src, dst, obj); st != kelOk) return st;
  Bank& b = obj->b;
  if (KelsStatus st = ArgCheck{}.ptr(obj->out).ptr(b.mode & kModeFrame ? obj->in : obj->out);
      st != kelOk)
    return st;
  if (b.mode & kModeFrame) {
    for (int i = 0; i < b.n; ++i) obj->in[i] = float(src[i]);
    weightedSums(b, frameSpectrum(b, obj->in), obj->out);
  } else {
    weightedSums(b, src, obj->out);
  }
  const ScaleSat<Dst> out{scaleFactor};
  for (int j = 0; j < b.nFilter; ++j) dst[j] = out(obj->out[j]);
  return kelOk;
}

// ---- accessors -------------------------------------------------------------------------------

// The accessors' test of centres: c[0] >= 0, c[i] <= c[i+1] <= c[i+2] for i = 0 .. nFilter - 2,
// c[nFilter+1] <= N/2. The pair c[nFilter] <= c[nFilter+1] is deliberately not tested.
bool centresPass(const Kels32s* c, int nFilter, int n) {
  if (c[0] < 0) return false;
  for (int i = 0; i + 2 <= nFilter; ++i)
    if (!(c[i] <= c[i + 1] && c[i + 1] <= c[i + 2])) return false;
  return c[nFilter + 1] <= n / 2;
}

template <class Obj>
KelsStatus getCenters(const Obj* obj, int* centres) {
  if (KelsStatus st = ArgCheck{}.ptrs(obj, centres); st != kelOk) return st;
  const Bank& b = obj->b;
  if (KelsStatus st = ArgCheck{}
                          .arg(b.ready != 0, kelErrFBankNotSet)
                          .ptr(b.centers)
                          .data([&] { return centresPass(b.centers, b.nFilter, b.n); }, kelErrFBankNotSet);
      st != kelOk)
    return st;
  std::memcpy(centres, b.centers, std::size_t(b.nFilter + 2) * 4);
  return kelOk;
}

template <class Obj>
KelsStatus setCenters(Obj* obj, const int* centres) {
  if (KelsStatus st = ArgCheck{}.ptrs(centres, obj); st != kelOk) return st;
  Bank& b = obj->b;
  if (KelsStatus st = ArgCheck{}.ptr(b.centers).data(
          [&] { return centresPass(centres, b.nFilter, b.n); }, kelErrFBankNotSet);
      st != kelOk)
    return st;
  b.ready = 1;
  std::memcpy(b.centers, centres, std::size_t(b.nFilter + 2) * 4);
  return kelOk;
}

// A filter's weights as one run: its rising values, then its falling ones. Filter nFilter + 1
// has only a rising run (there is no c[nFilter+2]).
template <class Obj>
KelsStatus checkCoeffs(const Obj* obj, int j, const void* w, int lastFilter) {
  if (KelsStatus st = ArgCheck{}.ptrs(obj, w); st != kelOk) return st;
  const Bank& b = obj->b;
  return ArgCheck{}
      .arg(b.ready != 0, kelErrFBankNotSet)
      .arg(j >= 1 && j <= lastFilter, kelErrSize)
      .arg(b.centers != nullptr && b.lower != nullptr && b.upper != nullptr, kelErrNullPtr);
}

template <class Obj>
KelsStatus getCoeffs(const Obj* obj, int j, float* w) {
  if (KelsStatus st = checkCoeffs(obj, j, w, obj ? obj->b.nFilter + 1 : 0); st != kelOk) return st;
  const Bank& b = obj->b;
  const Run r = riseRun(b, j);
  std::memcpy(w, b.lower[j - 1], std::size_t(count(r)) * 4);
  if (j <= b.nFilter) {
    const Run f = fallRun(b, j);
    std::memcpy(w + count(r), b.upper[j - 1], std::size_t(count(f)) * 4);
  }
  return kelOk;
}

template <class Obj>
KelsStatus setCoeffs(Obj* obj, int j, const float* w) {
  if (KelsStatus st = checkCoeffs(obj, j, w, obj ? obj->b.nFilter : 0); st != kelOk) return st;
  Bank& b = obj->b;
  const Run r = riseRun(b, j), f = fallRun(b, j);
  std::memcpy(b.lower[j - 1], w, std::size_t(count(r)) * 4);
  std::memcpy(b.upper[j - 1], w + count(r), std::size_t(count(f)) * 4);
  return kelOk;
}

// ---- release ---------------------------------------------------------------------------------

void releaseBank(Bank& b) {
  release(b.centers);
  release(b.lower);
  release(b.upper);
  b.centers = nullptr;
  b.lower = b.upper = nullptr;
  b.ready = 0;
  release(b.fftBuf);
  release(b.fft);
  b.fftBuf = nullptr;
  b.fft = nullptr;
}

// The record itself stays allocated, deliberately: the handle must not be used again.
KelsStatus freeBank(KelsMelFBank_32f* obj) {
  if (KelsStatus st = ArgCheck{}.ptr(obj); st != kelOk) return st;
  releaseBank(obj->b);
  return kelOk;
}
KelsStatus freeBank(KelsMelFBank_16s* obj) {
  if (KelsStatus st = ArgCheck{}.ptr(obj); st != kelOk) return st;
  releaseBank(obj->b);
  release(obj->out);
  release(obj->in);
  obj->out = obj->in = nullptr;
  return kelOk;
}

// ---- warping ---------------------------------------------------------------------------------

KelsStatus checkWarp(const Kels32f* src, const Kels32f* dst, int len, float melMul, float melDiv) {
  return ArgCheck{}.ptrs(src, dst).size(len).arg(melMul > 0, kelErrSize).arg(melDiv > 0, kelErrSize);
}

}  // namespace
}  // namespace kels::fbank

using namespace kels::fbank;

extern "C" KELS_API KelsStatus KELS_CALL kelsLinearToMel_32f(const Kels32f* src, Kels32f* dst, int len,
                                                          Kels32f melMul, Kels32f melDiv) {
  if (KelsStatus st = checkWarp(src, dst, len, melMul, melDiv); st != kelOk) return st;
  for (int i = 0; i < len; ++i) dst[i] = float(melOf(src[i], melMul, melDiv));
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelToLinear_32f(const Kels32f* src, Kels32f* dst, int len,
                                                          Kels32f melMul, Kels32f melDiv) {
  if (KelsStatus st = checkWarp(src, dst, len, melMul, melDiv); st != kelOk) return st;
  for (int i = 0; i < len; ++i) dst[i] = float(hzOf(src[i], melMul, melDiv));
  return kelOk;
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInitAlloc_32f(
    KelsMelFBank_32f** obj, int* order, int l, Kels32f rate, Kels32f low, Kels32f high,
    int nFilter, Kels32f melMul, Kels32f melDiv, int mode) {
  return melBank(obj, order, l, rate, low, high, nFilter, melMul, melDiv, mode);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInitAlloc_16s(
    KelsMelFBank_16s** obj, int* order, int l, Kels32f rate, Kels32f low, Kels32f high,
    int nFilter, Kels32f melMul, Kels32f melDiv, int mode) {
  return melBank(obj, order, l, rate, low, high, nFilter, melMul, melDiv, mode);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocLow_Aurora_32f(KelsMelFBank_32f** obj) {
  return fixedBank(obj, true);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocLow_Aurora_16s(KelsMelFBank_16s** obj) {
  return fixedBank(obj, true);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocHigh_Aurora_32f(KelsMelFBank_32f** obj) {
  return fixedBank(obj, false);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsMelFBankInitAllocHigh_Aurora_16s(KelsMelFBank_16s** obj) {
  return fixedBank(obj, false);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelLinFBankInitAlloc_32f(
    KelsMelFBank_32f** obj, int* order, int l, Kels32f rate, Kels32f low, Kels32f high,
    int nFilter, int nLinear, Kels32f linearEnd, Kels32f melMul, Kels32f melDiv, int mode) {
  return melLinBank(obj, order, l, rate, low, high, nFilter, nLinear, linearEnd, melMul, melDiv, mode);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsMelLinFBankInitAlloc_16s(
    KelsMelFBank_16s** obj, int* order, int l, Kels32f rate, Kels32f low, Kels32f high,
    int nFilter, int nLinear, Kels32f linearEnd, Kels32f melMul, Kels32f melDiv, int mode) {
  return melLinBank(obj, order, l, rate, low, high, nFilter, nLinear, linearEnd, melMul, melDiv, mode);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsEmptyFBankInitAlloc_32f(KelsMelFBank_32f** obj, int* order,
                                                                  int l, int nFilter, int mode) {
  return emptyBank(obj, order, l, nFilter, mode);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsEmptyFBankInitAlloc_16s(KelsMelFBank_16s** obj, int* order,
                                                                  int l, int nFilter, int mode) {
  return emptyBank(obj, order, l, nFilter, mode);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsEvalFBank_32f(const Kels32f* src, Kels32f* dst,
                                                        KelsMelFBank_32f* obj) {
  return eval32f(src, dst, obj);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsEvalFBank_16s_Sfs(const Kels16s* src, Kels16s* dst,
                                                            KelsMelFBank_16s* obj, int scaleFactor) {
  return eval16s(src, dst, obj, scaleFactor);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsEvalFBank_16s32s_Sfs(const Kels16s* src, Kels32s* dst,
                                                               KelsMelFBank_16s* obj, int scaleFactor) {
  return eval16s(src, dst, obj, scaleFactor);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsFBankGetCenters_32f(const KelsMelFBank_32f* obj, int* centres) {
  return getCenters(obj, centres);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankGetCenters_16s(const KelsMelFBank_16s* obj, int* centres) {
  return getCenters(obj, centres);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankSetCenters_32f(KelsMelFBank_32f* obj, const int* centres) {
  return setCenters(obj, centres);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankSetCenters_16s(KelsMelFBank_16s* obj, const int* centres) {
  return setCenters(obj, centres);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankGetCoeffs_32f(const KelsMelFBank_32f* obj, int j, Kels32f* w) {
  return getCoeffs(obj, j, w);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankGetCoeffs_16s(const KelsMelFBank_16s* obj, int j, Kels32f* w) {
  return getCoeffs(obj, j, w);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankSetCoeffs_32f(KelsMelFBank_32f* obj, int j, const Kels32f* w) {
  return setCoeffs(obj, j, w);
}
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankSetCoeffs_16s(KelsMelFBank_16s* obj, int j, const Kels32f* w) {
  return setCoeffs(obj, j, w);
}

extern "C" KELS_API KelsStatus KELS_CALL kelsFBankFree_32f(KelsMelFBank_32f* obj) { return freeBank(obj); }
extern "C" KELS_API KelsStatus KELS_CALL kelsFBankFree_16s(KelsMelFBank_16s* obj) { return freeBank(obj); }
