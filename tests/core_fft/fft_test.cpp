// The exported real FFT against a long double DFT for every length, its inverse, in-place use,
// copies of the object, the power spectrum, identical bits on every target, and the checks.
#include <gtest/gtest.h>
#include <kelsr.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <vector>

#include "core/alloc.h"
#include "support/canary.h"
#include "support/layout.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels::test {
namespace {

using C = std::complex<long double>;

// Plain O(N^2) DFT, angles from a long double table indexed by (k n) mod N.
std::vector<C> refDft(const std::vector<long double>& x) {
  const std::size_t n = x.size();
  std::vector<C> w(n), out(n / 2 + 1);
  for (std::size_t j = 0; j < n; ++j) {
    const long double a = -2.0L * 3.14159265358979323846264338327950288L * j / n;
    w[j] = C(std::cos(a), std::sin(a));
  }
  for (std::size_t k = 0; k <= n / 2; ++k) {
    C s = 0;
    for (std::size_t t = 0; t < n; ++t) s += x[t] * w[(k * t) % n];
    out[k] = s;
  }
  return out;
}

// Real signal of the Hermitian spectrum given by bins 0..N/2, unscaled: sum of X(k) e^{+}.
std::vector<long double> refInverse(const std::vector<C>& half, std::size_t n) {
  std::vector<long double> x(n), c(n), s(n);
  for (std::size_t j = 0; j < n; ++j) {
    const long double a = 2.0L * 3.14159265358979323846264338327950288L * j / n;
    c[j] = std::cos(a);
    s[j] = std::sin(a);
  }
  for (std::size_t t = 0; t < n; ++t) {
    long double sum = 0;
    for (std::size_t k = 0; k < n; ++k) {
      const C v = k <= n / 2 ? half[k] : std::conj(half[n - k]);
      sum += v.real() * c[(k * t) % n] - v.imag() * s[(k * t) % n];
    }
    x[t] = sum;
  }
  return x;
}

std::vector<C> unpack(const float* p, std::size_t n) {
  std::vector<C> out(n / 2 + 1);
  out[0] = C(p[0], 0);
  out[n / 2] = C(p[1], 0);
  for (std::size_t k = 1; k < n / 2; ++k) out[k] = C(p[2 * k], p[2 * k + 1]);
  if (n == 2) out[1] = C(p[1], 0);
  return out;
}

long double relRms(const std::vector<C>& got, const std::vector<C>& ref) {
  long double e = 0, r = 0;
  for (std::size_t k = 0; k < ref.size(); ++k) {
    e += std::norm(got[k] - ref[k]);
    r += std::norm(ref[k]);
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

TEST_P(FftOrders, ForwardMatchesLongDoubleDft) {
  const int order = GetParam();
  const std::size_t n = std::size_t(1) << order;
  Plan plan(order);
  Rng rng(order);
  std::vector<float> x = rng.uniformVec<float>(n, -1, 1);
  std::vector<float> out(n);
  ASSERT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), plan.get()), kelOk);
  const auto ref = refDft(std::vector<long double>(x.begin(), x.end()));
  const long double err = relRms(unpack(out.data(), n), ref);
  EXPECT_LT(err, 1e-6L);
  RecordProperty("relRmsE9", int(err * 1e9L));
}

TEST_P(FftOrders, InverseMatchesLongDoubleSynthesis) {
  const int order = GetParam();
  const std::size_t n = std::size_t(1) << order;
  Plan plan(order);
  Rng rng(100 + order);
  std::vector<float> pack = rng.uniformVec<float>(n, -1, 1);
  std::vector<float> out(n);
  ASSERT_EQ(kelsFFTInv_PackToR_32f(pack.data(), out.data(), plan.get()), kelOk);
  const auto ref = refInverse(unpack(pack.data(), n), n);
  long double e = 0, r = 0;
  for (std::size_t t = 0; t < n; ++t) {
    e += (out[t] - ref[t]) * (out[t] - ref[t]);
    r += ref[t] * ref[t];
  }
  EXPECT_LT(std::sqrt(e / r), 1e-6L);
}

TEST_P(FftOrders, InPlaceAndMisalignedGiveTheSameBitsOnEveryTarget) {
  const int order = GetParam();
  const std::size_t n = std::size_t(1) << order;
  Plan plan(order);
  Rng rng(200 + order);
  const std::vector<float> x = rng.uniformVec<float>(n, -1000, 1000);
  std::vector<float> fwd0, inv0;
  forEachTarget([&](Target t) {
    for (std::size_t mis : {0, 4, 12}) {
      Buffer<float> src(x, mis), dst(n, (mis + 8) % 32);
      ASSERT_EQ(kelsFFTFwd_RToPack_32f(src.data(), dst.data(), plan.get()), kelOk);
      std::vector<float> fwd(dst.data(), dst.data() + n);
      ASSERT_EQ(kelsFFTFwd_RToPack_32f(src.data(), src.data(), plan.get()), kelOk);
      EXPECT_EQ(std::memcmp(src.data(), fwd.data(), n * 4), 0) << targetName(t) << " in place";
      ASSERT_EQ(kelsFFTInv_PackToR_32f(src.data(), src.data(), plan.get()), kelOk);
      std::vector<float> inv(src.data(), src.data() + n);
      if (fwd0.empty()) {
        fwd0 = fwd;
        inv0 = inv;
      }
      EXPECT_EQ(std::memcmp(fwd.data(), fwd0.data(), n * 4), 0) << targetName(t) << " " << mis;
      EXPECT_EQ(std::memcmp(inv.data(), inv0.data(), n * 4), 0) << targetName(t) << " " << mis;
    }
  });
  // The round trip gives N x.
  double e = 0, r = 0;
  for (std::size_t t = 0; t < n; ++t) {
    const double want = double(n) * x[t];
    e += (inv0[t] - want) * (inv0[t] - want);
    r += want * want;
  }
  EXPECT_LT(std::sqrt(e / r), 1e-6);
}

TEST(Fft, CopiedObjectWorksAfterTheOriginalIsGone) {
  const int order = 9;
  std::vector<float> x = Rng(5).uniformVec<float>(512, -1, 1), a(512), b(512);
  std::vector<std::uint32_t> copy;
  {
    Plan plan(order);
    ASSERT_EQ(kelsFFTFwd_RToPack_32f(x.data(), a.data(), plan.get()), kelOk);
    copy = plan.mem;
    std::memset(plan.mem.data(), 0x5A, plan.mem.size() * 4);
  }
  ASSERT_EQ(kelsFFTFwd_RToPack_32f(x.data(), b.data(), reinterpret_cast<KelsFFTSpec_R_32f*>(copy.data())), kelOk);
  EXPECT_EQ(a, b);
}

TEST(Fft, ChecksInOrderAndWritesNothing) {
  int size = -1;
  EXPECT_EQ(kelsFFTGetSize_R_32f(0, nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsFFTGetSize_R_32f(0, &size), kelErrSize);
  EXPECT_EQ(kelsFFTGetSize_R_32f(14, &size), kelErrSize);
  EXPECT_EQ(size, -1);
  int s1 = 0, s13 = 0;
  EXPECT_EQ(kelsFFTGetSize_R_32f(1, &s1), kelOk);
  EXPECT_EQ(kelsFFTGetSize_R_32f(13, &s13), kelOk);
  EXPECT_GT(s13, 8192 * 2);

  Canary<std::uint32_t> mem(std::size_t(s13) / 4 + 1);
  auto* fftObj = reinterpret_cast<KelsFFTSpec_R_32f*>(mem.data());
  EXPECT_EQ(kelsFFTInit_R_32f(3, nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsFFTInit_R_32f(0, fftObj), kelErrSize);
  EXPECT_EQ(kelsFFTInit_R_32f(-3, fftObj), kelErrSize);
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
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), nullptr, fftObj), kelErrNullPtr);
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), nullptr), kelErrNullPtr);
  EXPECT_EQ(kelsFFTInv_PackToR_32f(nullptr, out.data(), fftObj), kelErrNullPtr);
  EXPECT_EQ(kelsFFTInv_PackToR_32f(x.data(), out.data(), nullptr), kelErrNullPtr);
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(kelsFFTFwd_RToPack_32f(x.data(), out.data(), fftObj), kelOk);
  EXPECT_TRUE(out.guardsIntact());
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

TEST(PowerSpectrum, SquaresOfThePackedBins) {
  for (int n : {2, 4, 6, 10, 512}) {
    const std::vector<float> pack = Rng(n).uniformVec<float>(std::size_t(n), -3, 3);
    Canary<float> out(std::size_t(n / 2 + 1));
    ASSERT_EQ(kelsPowerSpectrum_Pack_32f(pack.data(), out.data(), n), kelOk);
    EXPECT_TRUE(out.guardsIntact());
    const auto bins = unpack(pack.data(), std::size_t(n));
    for (int k = 0; k <= n / 2; ++k)
      EXPECT_NEAR(out[std::size_t(k)], double(std::norm(bins[std::size_t(k)])), 1e-6 * (1 + std::norm(bins[std::size_t(k)])))
          << n << " " << k;
    std::vector<float> inPlace = pack;
    ASSERT_EQ(kelsPowerSpectrum_Pack_32f(inPlace.data(), inPlace.data(), n), kelOk);
    EXPECT_EQ(std::memcmp(inPlace.data(), out.data(), std::size_t(n / 2 + 1) * 4), 0) << n;
  }
}

TEST(PowerSpectrum, Checks) {
  float pack[4] = {1, 2, 3, 4};
  Canary<float> out(3);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(nullptr, out.data(), 0), kelErrNullPtr);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, nullptr, 4), kelErrNullPtr);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, out.data(), 0), kelErrSize);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, out.data(), 1), kelErrSize);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, out.data(), 3), kelErrSize);
  EXPECT_EQ(kelsPowerSpectrum_Pack_32f(pack, out.data(), -2), kelErrSize);
  EXPECT_TRUE(out.untouched());
}

}  // namespace
}  // namespace kels::test
