// The exported real FFT against a long double DFT for every length, the round trip, in-place use,
// copies of the object, the power spectrum, identical bits on every target, and the checks.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <vector>

#include "core/alloc.h"
#include "support/canary.h"
#include "support/fbank_dft.h"
#include "support/layout.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

using C = std::complex<long double>;

std::vector<C> unpack(const float* p, std::size_t n) {
  std::vector<C> out(n / 2 + 1);
  out[0] = p[0];
  out[n / 2] = p[1];
  for (std::size_t k = 1; k < n / 2; ++k) out[k] = C(p[2 * k], p[2 * k + 1]);
  return out;
}

template <class V, class W>
long double relRms(const V& got, const W& ref) {
  long double e = 0, r = 0;
  for (std::size_t k = 0; k < ref.size(); ++k) {
    e += std::norm(C(got[k]) - C(ref[k]));
    r += std::norm(C(ref[k]));
  }
  return std::sqrt(e / r);
}

struct Plan {
  explicit Plan(int order) {
    int size = 0;
    EXPECT_EQ(kelsFFTGetSize_R_32f(order, &size), kelOk);
    mem.resize(std::size_t(size) / 4 + 1);
    EXPECT_EQ(kelsFFTInit_R_32f(order, get()), kelOk);
  }
  KelsFFTSpec_R_32f* get() { return reinterpret_cast<KelsFFTSpec_R_32f*>(mem.data()); }
  std::vector<std::uint32_t> mem;
};

class FftOrders : public ::testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(AllLengths, FftOrders, ::testing::Range(1, 14));

// Forward within 1e-6 relative RMS of the DFT, computed by a byte copy of the object after the
// original is scribbled over.
TEST_P(FftOrders, ForwardMatchesLongDoubleDftFromACopiedObject) {
  const int order = GetParam();
  const std::size_t n = std::size_t(1) << order;
  std::vector<std::uint32_t> copy;
  {
    Plan plan(order);
    copy = plan.mem;
    std::memset(plan.mem.data(), 0x5A, plan.mem.size() * 4);
  }
  const std::vector<float> x = Rng(order).uniformVec<float>(n, -1, 1);
  std::vector<float> out(n);
  ASSERT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), reinterpret_cast<KelsFFTSpec_R_32f*>(copy.data())), kelOk);
  const long double err = relRms(unpack(out.data(), n), refDft(x));
  EXPECT_LT(err, 1e-6L);
  RecordProperty("relRmsE9", int(err * 1e9L));
}

// Forward and inverse out of place, in place and misaligned: the same bits on every target, and
// the inverse of the forward is N x.
TEST_P(FftOrders, InPlaceAndMisalignedGiveTheSameBitsOnEveryTargetAndRoundTrip) {
  const int order = GetParam();
  const std::size_t n = std::size_t(1) << order;
  Plan plan(order);
  const std::vector<float> x = Rng(200 + order).uniformVec<float>(n, -1000, 1000);
  std::vector<float> fwd0, inv0;
  forEachTarget([&](Target t) {
    for (std::size_t mis : {0, 4, 12}) {
      Buffer<float> src(x, mis), dst(n, (mis + 8) % 32);
      ASSERT_EQ(kelsFFTFwd_RToPack_32f(src.data(), dst.data(), plan.get()), kelOk);
      const std::vector<float> fwd(dst.data(), dst.data() + n);
      ASSERT_EQ(kelsFFTFwd_RToPack_32f(src.data(), src.data(), plan.get()), kelOk);
      EXPECT_EQ(std::memcmp(src.data(), fwd.data(), n * 4), 0) << targetName(t) << " in place";
      ASSERT_EQ(kelsFFTInv_PackToR_32f(fwd.data(), dst.data(), plan.get()), kelOk);
      ASSERT_EQ(kelsFFTInv_PackToR_32f(src.data(), src.data(), plan.get()), kelOk);
      const std::vector<float> inv(src.data(), src.data() + n);
      EXPECT_EQ(std::memcmp(dst.data(), inv.data(), n * 4), 0) << targetName(t) << " inverse in place";
      if (fwd0.empty()) fwd0 = fwd, inv0 = inv;
      EXPECT_EQ(fwd, fwd0) << targetName(t) << " " << mis;
      EXPECT_EQ(inv, inv0) << targetName(t) << " " << mis;
    }
  });
  std::vector<long double> nx(x.begin(), x.end());
  for (auto& v : nx) v *= n;
  EXPECT_LT(relRms(inv0, nx), 1e-6L);
}

TEST(Fft, ChecksInOrderAndWritesNothing) {
  int size = -1;
  EXPECT_EQ(kelsFFTGetSize_R_32f(0, nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsFFTGetSize_R_32f(0, &size), kelErrSize);
  EXPECT_EQ(kelsFFTGetSize_R_32f(14, &size), kelErrSize);
  EXPECT_EQ(size, -1);
  ASSERT_EQ(kelsFFTGetSize_R_32f(13, &size), kelOk);

  Canary<std::uint32_t> mem(std::size_t(size) / 4 + 1);
  auto* fftObj = reinterpret_cast<KelsFFTSpec_R_32f*>(mem.data());
  EXPECT_EQ(kelsFFTInit_R_32f(0, nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsFFTInit_R_32f(0, fftObj), kelErrSize);
  EXPECT_EQ(kelsFFTInit_R_32f(14, fftObj), kelErrSize);
  EXPECT_EQ(kelsFFTInit_R_32f(3, reinterpret_cast<KelsFFTSpec_R_32f*>(reinterpret_cast<char*>(mem.data()) + 1)),
            kelErrBadArg);
  EXPECT_TRUE(mem.untouched());

  // Memory never built is refused, not followed.
  std::vector<float> x(16, 1.0f);
  Canary<float> out(16);
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), fftObj), kelErrBadObject);
  EXPECT_EQ(kelsFFTInv_PackToR_32f(x.data(), out.data(), fftObj), kelErrBadObject);
  ASSERT_EQ(kelsFFTInit_R_32f(4, fftObj), kelOk);
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(nullptr, out.data(), fftObj), kelErrNullPtr);
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsFFTInv_PackToR_32f(x.data(), nullptr, fftObj), kelErrNullPtr);
  EXPECT_TRUE(out.untouched());
}

TEST(Fft, LongTransformsReportRefusedWorkingMemory) {
  Plan plan(13);
  std::vector<float> x(8192, 1.0f);
  Canary<float> out(8192);
  kels::testing::failNthAllocation(1);
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), plan.get()), kelErrMemAlloc);
  kels::testing::failNthAllocation(0);
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), plan.get()), kelOk);
  EXPECT_EQ(out[0], 8192.0f);
}

TEST(PowerSpectrum, SquaresOfThePackedBinsAndChecks) {
  for (int n : {2, 4, 6, 10, 512}) {
    const std::vector<float> pack = Rng(n).uniformVec<float>(std::size_t(n), -3, 3);
    Canary<float> out(std::size_t(n / 2 + 1));
    ASSERT_EQ(kelsPowerSpectrum_Pack_32f(pack.data(), out.data(), n), kelOk);
    EXPECT_TRUE(out.guardsIntact());
    const auto bins = unpack(pack.data(), std::size_t(n));
    for (int k = 0; k <= n / 2; ++k) {
      const double want = double(std::norm(bins[std::size_t(k)]));
      EXPECT_NEAR(out[std::size_t(k)], want, 1e-6 * (1 + want)) << n << " " << k;
    }
    std::vector<float> inPlace = pack;
    ASSERT_EQ(kelsPowerSpectrum_Pack_32f(inPlace.data(), inPlace.data(), n), kelOk);
    EXPECT_EQ(std::memcmp(inPlace.data(), out.data(), std::size_t(n / 2 + 1) * 4), 0) << n;
  }
  float pack[4] = {1, 2, 3, 4};
  Canary<float> out(3);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(nullptr, out.data(), 0), kelErrNullPtr);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, nullptr, 4), kelErrNullPtr);
  for (int n : {0, 1, 3, -2}) EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, out.data(), n), kelErrSize) << n;
  EXPECT_TRUE(out.untouched());
}

}  // namespace
}  // namespace kels::test
