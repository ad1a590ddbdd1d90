// Building filter banks: the check order, allocation failures, and the fixed and mel-plus-linear
// banks against the stated formulas in long double.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <numeric>

#include "fbank_support.h"
#include "support/fault.h"

namespace kels::test {
namespace {

struct MelArgs {
  KelsMelFBank_32f** obj;
  int* order;
  int l = 512;
  float rate = 16000, low = 100, high = 8000;
  int nFilter = 20;
  float melMul = 2595, melDiv = 700;
  int mode = 2;
};

TEST(MelBankBuild, ChecksInOrder) {
  const Fault<MelArgs> faults[] = {
      {"L 0 before nFilter 0", kelErrSize, [](MelArgs& a) { a.l = 0; a.nFilter = 0; }},
      {"L above 2^30", kelErrSize, [](MelArgs& a) { a.l = (1 << 30) + 1; }},
      {"nFilter 0 before a bad mode", kelErrSize, [](MelArgs& a) { a.nFilter = 0; a.mode = 3; }},
      {"rate 0 before low > high", kelErrSize, [](MelArgs& a) { a.rate = 0; a.low = 9000; }},
      {"rate NaN", kelErrSize, [](MelArgs& a) { a.rate = NAN; }},
      {"low 0", kelErrSize, [](MelArgs& a) { a.low = 0; }},
      {"low -1 before a bad mode", kelErrSize, [](MelArgs& a) { a.low = -1; a.mode = 0; }},
      {"low > high", kelErrFBankFreq, [](MelArgs& a) { a.low = 5000; a.high = 4000; }},
      {"high above rate / 2", kelErrFBankFreq, [](MelArgs& a) { a.high = 8000.5f; }},
      {"high NaN", kelErrFBankFreq, [](MelArgs& a) { a.high = NAN; }},
      {"high > rate / 2 before a bad mode", kelErrFBankFreq, [](MelArgs& a) { a.high = 9000; a.mode = 3; }},
      {"mode 4", kelErrFBankFlag, [](MelArgs& a) { a.mode = 4; }},
      {"mode before A", kelErrFBankFlag, [](MelArgs& a) { a.mode = 7; a.melMul = 0; }},
      {"A 0", kelErrBadArg, [](MelArgs& a) { a.melMul = 0; }},
      {"B NaN", kelErrBadArg, [](MelArgs& a) { a.melDiv = NAN; }},
      {"null pointers are not checked", kelErrSize, [](MelArgs& a) { a.obj = nullptr; a.order = nullptr; a.l = 0; }},
  };
  for (const auto& f : faults) {
    KelsMelFBank_32f* const sentinel = reinterpret_cast<KelsMelFBank_32f*>(const_cast<Fault<MelArgs>*>(faults));
    KelsMelFBank_32f* obj = sentinel;
    int order = -99;
    MelArgs a;
    a.obj = &obj;
    a.order = &order;
    f.apply(a);
    EXPECT_EQ(kelsMelFBankInitAlloc_32f(a.obj, a.order, a.l, a.rate, a.low, a.high, a.nFilter, a.melMul,
                                        a.melDiv, a.mode), f.expected) << f.what;
    EXPECT_TRUE(obj == sentinel && order == -99) << f.what;
  }
}

// Each allocation refused in turn: kelErrMemAlloc; from the second on, the record is handed out
// so Free takes what was built (the sanitizer build sees leaks).
template <class Obj, class Build>
void everyAllocationFailure(Build build, int expectedAllocations) {
  for (int nth = 1; nth <= expectedAllocations + 1; ++nth) {
    Owner<Obj> bank;
    const long before = kels::testing::allocationCount();
    kels::testing::failNthAllocation(nth);
    const KelsStatus st = build(bank.out());
    kels::testing::failNthAllocation(0);
    EXPECT_EQ(st, nth > expectedAllocations ? kelOk : kelErrMemAlloc) << nth;
    if (nth > expectedAllocations) EXPECT_EQ(kels::testing::allocationCount() - before, expectedAllocations);
    else EXPECT_EQ(bank.p == nullptr, nth == 1) << nth;
  }
}

TEST(MelBankBuild, EveryRefusedAllocationIsReported) {
  int order;
  // record, FFT, FFT buffer, centres, scratch, lower rows, upper rows (+ two buffers for _16s)
  everyAllocationFailure<KelsMelFBank_32f>(
      [&](KelsMelFBank_32f** o) { return kelsMelFBankInitAlloc_32f(o, &order, 512, 16000, 64, 8000, 23, 2595, 700, 6); }, 7);
  everyAllocationFailure<KelsMelFBank_16s>(
      [&](KelsMelFBank_16s** o) { return kelsMelFBankInitAlloc_16s(o, &order, 512, 16000, 64, 8000, 23, 2595, 700, 6); }, 9);
  everyAllocationFailure<KelsMelFBank_32f>(kelsMelFBankInitAllocLow_Aurora_32f, 5);
  everyAllocationFailure<KelsMelFBank_16s>(kelsMelFBankInitAllocHigh_Aurora_16s, 6);
  everyAllocationFailure<KelsMelFBank_32f>([&](KelsMelFBank_32f** o) { return kelsEmptyFBankInitAlloc_32f(o, &order, 64, 4, 4); }, 7);
  everyAllocationFailure<KelsMelFBank_32f>(
      [&](KelsMelFBank_32f** o) { return kelsMelLinFBankInitAlloc_32f(o, &order, 512, 16000, 64, 8000, 23, 5, 1000, 2595, 700, 2); }, 5);

  // A bank missing its rows is refused by evaluation until it has them.
  Owner<KelsMelFBank_32f> bank;
  kels::testing::failNthAllocation(4);
  ASSERT_EQ(kelsMelFBankInitAlloc_32f(bank.out(), &order, 512, 16000, 64, 8000, 4, 2595, 700, 2), kelErrMemAlloc);
  kels::testing::failNthAllocation(0);
  std::vector<float> x(257, 1.0f), y(4, -1.0f);
  EXPECT_EQ(kelsEvalFBank_32f(x.data(), y.data(), bank.p), kelErrFBankNotSet);
  const int c[6] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(kelsFBankSetCenters_32f(bank.p, c), kelOk);
  EXPECT_EQ(kelsEvalFBank_32f(x.data(), y.data(), bank.p), kelErrNullPtr);
  EXPECT_EQ(y[0], -1.0f);
}

// The fixed 8 kHz banks: centres from the stated grid, Low filters summing to 1, High rising
// weights as stated.
void expectFixedCentres(const std::vector<int>& c, LD from, int steps) {
  auto mel = [](LD f) { return 2595.0L * std::log1p(f / 700.0L); };
  for (std::size_t i = 0; i < c.size(); ++i) {
    const LD m = mel(from) + i * (mel(4000) - mel(from)) / steps;
    const int want = refCentre(std::min(64.0L, std::expm1(m / 2595.0L) * (128.0L / 8000.0L * 700.0L)), true);
    if (want >= 0) {
      EXPECT_EQ(c[i], want) << i;
    }
  }
}

TEST(FixedBanks, LowBank) {
  Owner<KelsMelFBank_32f> bank;
  ASSERT_EQ(kelsMelFBankInitAllocLow_Aurora_32f(bank.out()), kelOk);
  const std::vector<int> c = centres(bank.p, 25);
  ASSERT_EQ(c.size(), 27u);
  expectFixedCentres(c, 1, 24);
  EXPECT_TRUE(c[24] == 64 && c[26] == 64);
  for (int j = 1; j <= 25; ++j) {
    const std::vector<float> w = coeffs(bank.p, j, c);
    ASSERT_FALSE(w.empty()) << j;
    EXPECT_NEAR(std::accumulate(w.begin(), w.end(), 0.0), 1.0, 1e-6) << j;
    const int lo = c[std::size_t(j - 1)], mid = c[std::size_t(j)];
    if (j == 1) {  // falling half triangle from c[0]
      const int width = c[1] - c[0];
      for (int k = 0; k < width; ++k) EXPECT_NEAR(w[std::size_t(k)] / w[0], 1.0 - double(k) / width, 1e-6) << k;
      EXPECT_EQ(w[std::size_t(width)], 0.0f);
    } else if (mid > lo) {  // proper triangle, peak at c[j]
      EXPECT_EQ(std::max_element(w.begin(), w.end()) - w.begin(), mid - lo) << j;
      EXPECT_EQ(w[0], 0.0f) << j;
    }
  }
  const std::vector<float> last = coeffs(bank.p, 25, c);
  EXPECT_EQ(last, std::vector<float>{1.0f});  // collapsed onto bin 64
}

TEST(FixedBanks, HighBank) {
  Owner<KelsMelFBank_16s> bank;
  ASSERT_EQ(kelsMelFBankInitAllocHigh_Aurora_16s(bank.out()), kelOk);
  std::vector<int> c(5);
  ASSERT_EQ(kelsFBankGetCenters_16s(bank.p, c.data()), kelOk);
  expectFixedCentres(c, 80, 4);
  EXPECT_EQ(c[4], 64);
  for (int j = 1; j <= 3; ++j) {
    const int lo = c[std::size_t(j - 1)], mid = c[std::size_t(j)], hi = c[std::size_t(j + 1)];
    std::vector<float> w(std::size_t(hi - lo + 1));
    ASSERT_EQ(kelsFBankGetCoeffs_16s(bank.p, j, w.data()), kelOk);
    for (int k = lo; k <= hi; ++k) {
      const double want = k <= mid ? double(k - lo) / (mid - lo) : double(hi - k) / (hi - mid);
      EXPECT_NEAR(w[std::size_t(k - lo)], want, 1e-7) << j << " " << k;
    }
  }
  EXPECT_EQ(kelsMelFBankInitAllocHigh_Aurora_16s(nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsMelFBankInitAllocLow_Aurora_32f(nullptr), kelErrNullPtr);
}

// Mel plus linear: filters 1..nLinear peak at evenly spaced frequencies up to the junction,
// the rest evenly in mel; the triangles join up.
TEST(MelLinBank, LinearThenMelCentres) {
  const int nFilter = 20, nLinear = 8;
  const float low = 100, junction = 1000, high = 8000, rate = 16000;
  auto mel = [](LD f) { return 2595.0L * std::log1p(f / 700.0L); };
  for (int mode : {1, 2, 6}) {
    Owner<KelsMelFBank_32f> bank;
    int order = 0;
    ASSERT_EQ(kelsMelLinFBankInitAlloc_32f(bank.out(), &order, 1024, rate, low, high, nFilter, nLinear,
                                           junction, 2595, 700, mode),
              kelOk);
    EXPECT_EQ(order, 10);
    const std::vector<int> c = centres(bank.p, nFilter);
    ASSERT_FALSE(c.empty());
    for (int i = 0; i < nFilter + 2; ++i) {
      const LD m = mel(junction) + (mel(high) - mel(junction)) * (i - nLinear) / (nFilter + 1 - nLinear);
      const LD hz = i <= nLinear ? low + (junction - low) * LD(i) / nLinear : 700.0L * std::expm1(m / 2595.0L);
      const int want = refCentre(hz / rate * 1024, (mode & 3) == 2);
      if (want >= 0) {
        EXPECT_EQ(c[std::size_t(i)], want) << "mode " << mode << " point " << i;
      }
    }
    for (int j = 1; j <= nFilter; ++j) {
      const std::vector<float> w = coeffs(bank.p, j, c);
      ASSERT_EQ(w.size(), std::size_t(c[std::size_t(j + 1)] - c[std::size_t(j - 1)] + 1));
      const std::size_t peak = std::size_t(c[std::size_t(j)] - c[std::size_t(j - 1)]);
      EXPECT_EQ((mode & 3) == 2 ? w[peak] : w[0], (mode & 3) == 2 ? 1.0f : 0.0f) << j;
      EXPECT_TRUE(std::all_of(w.begin(), w.end(), [](float v) { return v >= 0 && v <= 1; })) << j;
    }
  }
}

TEST(MelLinBank, NoLinearPartIsAMelBankAndChecks) {
  Owner<KelsMelFBank_32f> a, b;
  int order;
  ASSERT_EQ(kelsMelLinFBankInitAlloc_32f(a.out(), &order, 512, 16000, 64, 8000, 23, 0, 0, 2595, 700, 2), kelOk);
  ASSERT_EQ(kelsMelFBankInitAlloc_32f(b.out(), &order, 512, 16000, 64, 8000, 23, 2595, 700, 2), kelOk);
  const std::vector<int> ca = centres(a.p, 23), cb = centres(b.p, 23);
  ASSERT_EQ(ca.size(), 25u);
  ASSERT_EQ(cb.size(), 25u);
  for (std::size_t i = 0; i < ca.size(); ++i) EXPECT_LE(std::abs(ca[i] - cb[i]), 1) << i;

  KelsMelFBank_32f* obj = nullptr;
  const struct { int nLinear; float junction, low; int mode; KelsStatus want; } bad[] = {
      {-1, 1000, 64, 2, kelErrSize}, {24, 1000, 64, 2, kelErrSize}, {5, 50, 64, 2, kelErrFBankFreq},
      {5, 9000, 64, 2, kelErrFBankFreq}, {5, 1000, 64, 3, kelErrFBankFlag}, {5, 1000, 0, 2, kelErrSize}};
  for (const auto& f : bad)
    EXPECT_EQ(kelsMelLinFBankInitAlloc_32f(&obj, &order, 512, 16000, f.low, 8000, 23, f.nLinear, f.junction, 2595, 700, f.mode),
              f.want) << f.nLinear << " " << f.junction << " " << f.low << " " << f.mode;
  EXPECT_EQ(obj, nullptr);
}

}  // namespace
}  // namespace kels::test
