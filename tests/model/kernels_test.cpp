// Every target's kernels against the portable ones, bit for bit, on lengths around the lane
// counts and at every misalignment; and the Low split against its defining formula.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "model/kernels/dist_kernels.h"
#include "model/logadd.h"
#include "support/layout.h"
#include "support/rng.h"
#include "support/targets.h"

namespace kels {
namespace {

const int kLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 39, 63, 64, 65, 100};

template <class T>
std::uint64_t bitsOf(T v) {
  std::uint64_t b = 0;
  std::memcpy(&b, &v, sizeof v);
  return b;
}

template <class T>
struct Data {
  test::Buffer<T> x, mu, w;
  Data(test::Rng& rng, int n, int off, double lo, double hi, double wlo, double whi)
      : x(rng.uniformVec<T>(n, lo, hi), off * sizeof(T)),
        mu(rng.uniformVec<T>(n, lo, hi), (3 - off) * sizeof(T)),
        w(rng.uniformVec<T>(n, wlo, whi), off * sizeof(T)) {}
};

// Calls every kernel of one table on the data and collects the result bits.
std::vector<std::uint64_t> runAll(const DistKernels& k, Data<float>& f, Data<double>& d,
                                  Data<std::int16_t>& s, int n) {
  std::vector<std::uint64_t> r;
  r.push_back(bitsOf(k.wsd32f(f.x.data(), f.mu.data(), f.w.data(), n)));
  r.push_back(bitsOf(k.sd32f(f.x.data(), f.mu.data(), n)));
  r.push_back(bitsOf(k.dvd32f(f.x.data(), f.mu.data(), f.w.data(), n)));
  r.push_back(bitsOf(k.wsd64f(d.x.data(), d.mu.data(), d.w.data(), n)));
  r.push_back(bitsOf(k.sd64f(d.x.data(), d.mu.data(), n)));
  r.push_back(bitsOf(k.dvd64f(d.x.data(), d.mu.data(), d.w.data(), n)));
  r.push_back(bitsOf(k.wsd32f64f(f.x.data(), f.mu.data(), f.w.data(), n)));
  r.push_back(bitsOf(k.sd32f64f(f.x.data(), f.mu.data(), n)));
  r.push_back(bitsOf(k.dvd32f64f(f.x.data(), f.mu.data(), f.w.data(), n)));
  r.push_back(bitsOf(k.wsd16s(s.x.data(), s.mu.data(), s.w.data(), n)));
  r.push_back(bitsOf(k.sd16s(s.x.data(), s.mu.data(), n)));
  r.push_back(bitsOf(k.dvd16s(s.x.data(), s.mu.data(), s.w.data(), n)));
  for (int sf : {0, 1, 7, 15}) {
    r.push_back(bitsOf(k.lowWsd16s(s.x.data(), s.mu.data(), s.w.data(), n, sf)));
    r.push_back(bitsOf(k.lowSd16s(s.x.data(), s.mu.data(), n, sf)));
  }
  return r;
}

TEST(DistKernels, EveryTargetMatchesScalarBits) {
  test::Rng rng(7);
  for (int n : kLengths)
    for (int off = 0; off < 4; ++off) {
      // Wide magnitudes, so that a different summation order would show in the last bits.
      Data<float> f(rng, n, off, -1e3, 1e3, 1e-4, 1e2);
      Data<double> d(rng, n, off, -1e3, 1e3, 1e-4, 1e2);
      Data<std::int16_t> s(rng, n, off, -32768, 32767, -32768, 32767);
      const auto want = runAll(distKernelsScalar(), f, d, s, n);
      for (Target t : test::availableTargets())
        EXPECT_EQ(want, runAll(distKernels(t), f, d, s, n)) << targetName(t) << " n " << n << " off " << off;
    }
}

// The Low split against its definition, written out per element with 64-bit products.
TEST(DistKernels, LowSplitFollowsItsDefinition) {
  test::Rng rng(8);
  for (int n : {1, 9, 16, 17, 40})
    for (int sf = 0; sf <= 15; ++sf) {
      auto x = rng.uniformVec<std::int16_t>(n, -32768, 32767);
      auto mu = rng.uniformVec<std::int16_t>(n, -32768, 32767);
      auto w = rng.uniformVec<std::int16_t>(n, -32768, 32767);
      long long want = 0, wantId = 0;
      long double exact = 0;
      for (int i = 0; i < n; ++i) {
        long long dd = (long long)x[i] - mu[i];
        dd = dd > 32767 ? 32767 : dd < -32768 ? -32768 : dd;
        const long long sq = dd * dd;
        const long long hi = sq / 65536, lo = (sq % 65536) / 2;
        auto floorDiv = [](long long v, long long p) { return v >= 0 ? v / p : -((-v + p - 1) / p); };
        want += hi * w[i] * (1LL << (15 - sf)) + floorDiv(lo * w[i], 1LL << sf);
        wantId += hi * (1LL << (15 - sf)) + floorDiv(lo, 1LL << sf);
        exact += 0.5L * sq * w[i] / (1LL << sf);
      }
      for (Target t : test::availableTargets()) {
        const DistKernels& k = distKernels(t);
        EXPECT_EQ(want, k.lowWsd16s(x.data(), mu.data(), w.data(), n, sf)) << targetName(t);
        EXPECT_EQ(wantId, k.lowSd16s(x.data(), mu.data(), n, sf)) << targetName(t);
      }
      // The split loses at most one unit per element (the floor of the low product, halving).
      EXPECT_LE(std::abs((long double)want - exact), n * (1.0L + 32768.0L / (1 << sf)));
    }
}

TEST(LogKernels, EveryTargetMatchesScalarBits) {
  test::Rng rng(9);
  const LogKernels* tables[] = {&logKernelsScalar(), &logKernelsSse2(), &logKernelsAvx2(), &logKernelsAvx512()};
  for (int n : kLengths)
    for (int off = 0; off < 4; ++off) {
      auto av = rng.uniformVec<float>(n, -30, 10);
      auto bv = rng.uniformVec<float>(n, -30, 10);
      if (n > 3) { av[1] = bv[1]; av[2] = -5e6f; bv[2] = -5.00002e6f; av[3] = 1.0f; bv[3] = -20.0f; }
      test::Buffer<float> a(av, off * 4);
      for (Target t : test::availableTargets()) {
        for (bool fast : {false, true}) {
          test::Buffer<float> want(bv, (3 - off) * 4), got(bv, (3 - off) * 4);
          (fast ? tables[0]->addRow32fFast : tables[0]->addRow32f)(a.data(), want.data(), n);
          (fast ? tables[int(t)]->addRow32fFast : tables[int(t)]->addRow32f)(a.data(), got.data(), n);
          EXPECT_EQ(0, std::memcmp(want.data(), got.data(), n * sizeof(float))) << targetName(t) << " n " << n;
        }
        if (n >= 2) {
          EXPECT_EQ(bitsOf(tables[0]->sum32f(a.data(), n)), bitsOf(tables[int(t)]->sum32f(a.data(), n)))
              << targetName(t) << " n " << n;
        }
      }
    }
}

}  // namespace
}  // namespace kels
