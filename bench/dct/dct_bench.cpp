// kelsDCTLifter_32f for a typical front end (23 log filter-bank energies, 13 cepstra plus c0)
// against the same arithmetic as a plain scalar loop and, if present, Eigen's product.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <kelsr.h>

#include "core/cpu.h"

#if defined(KELSR_BENCH_EIGEN)
#include <Eigen/Dense>
#endif

namespace {

constexpr int kM = 23, kQ = 13, kL = 22;
constexpr double kPi = 3.14159265358979323846;

struct Frame {
  std::vector<float> x, basis, w;  // basis: Q + 1 rows of M, row 0 all ones
  Frame() : x(kM), basis((kQ + 1) * kM), w(kQ + 1) {
    for (int k = 0; k < kM; ++k) x[k] = float(std::log(1.0 + k * 0.37 + (k % 3)));
    for (int n = 0; n <= kQ; ++n) {
      for (int k = 0; k < kM; ++k) basis[n * kM + k] = float(std::cos(kPi * n * (k + 0.5) / kM));
      w[n] = float(1.0 + 0.5 * kL * std::sin(kPi * n / kL));
    }
    w[0] = 1.0f;
  }
};

void plainLoop(const Frame& f, float* out) {
  for (int j = 0; j <= kQ; ++j) {
    const int n = j < kQ ? j + 1 : 0;
    float s = 0.0f;
    for (int k = 0; k < kM; ++k) s += f.basis[n * kM + k] * f.x[k];
    out[j] = s * f.w[n];
  }
}

void PlainLoop(benchmark::State& state) {
  Frame f;
  std::vector<float> out(kQ + 1);
  for (auto _ : state) {
    plainLoop(f, out.data());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(PlainLoop);

// The ratio itself: batches of the plain loop and of the library call alternate, each timed on
// this thread's CPU clock, so a change in machine load falls on both; the counter is the median
// of the per-round ratios.
double threadSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

void SpeedupOverPlainLoop(benchmark::State& state) {
  Frame f;
  KelsDCTLifter_32f* obj = nullptr;
  kelsDCTLifterInitAlloc_C0_32f(&obj, kM, kQ, kL, 1.0f, 1.0f);
  std::vector<float> out(kQ + 1);
  std::vector<double> ratios;
  constexpr int kBatch = 2000;
  for (auto _ : state) {
    const double t0 = threadSeconds();
    for (int i = 0; i < kBatch; ++i) {
      plainLoop(f, out.data());
      benchmark::DoNotOptimize(out.data());
      benchmark::ClobberMemory();
    }
    const double t1 = threadSeconds();
    for (int i = 0; i < kBatch; ++i) {
      kelsDCTLifter_32f(f.x.data(), out.data(), obj);
      benchmark::DoNotOptimize(out.data());
      benchmark::ClobberMemory();
    }
    const double t2 = threadSeconds();
    ratios.push_back((t1 - t0) / (t2 - t1));
  }
  std::nth_element(ratios.begin(), ratios.begin() + ratios.size() / 2, ratios.end());
  state.counters["speedup"] = ratios[ratios.size() / 2];
  kelsDCTLifterFree_32f(obj);
}
BENCHMARK(SpeedupOverPlainLoop);

void Kelsr(benchmark::State& state, kels::Target target) {
  if (!kels::testing::pinTarget(target)) {
    state.SkipWithError("target not available");
    return;
  }
  Frame f;
  KelsDCTLifter_32f* obj = nullptr;
  kelsDCTLifterInitAlloc_C0_32f(&obj, kM, kQ, kL, 1.0f, 1.0f);
  std::vector<float> out(kQ + 1);
  for (auto _ : state) {
    kelsDCTLifter_32f(f.x.data(), out.data(), obj);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  kelsDCTLifterFree_32f(obj);
  kels::testing::unpinTarget();
}
BENCHMARK_CAPTURE(Kelsr, scalar, kels::Target::kScalar);
BENCHMARK_CAPTURE(Kelsr, sse2, kels::Target::kSse2);
BENCHMARK_CAPTURE(Kelsr, avx2, kels::Target::kAvx2);
BENCHMARK_CAPTURE(Kelsr, best, kels::bestTarget());

#if defined(KELSR_BENCH_EIGEN)
void Eigen(benchmark::State& state) {
  Frame f;
  using Mat = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
  const Eigen::Map<const Mat> basis(f.basis.data(), kQ + 1, kM);
  const Eigen::Map<const Eigen::VectorXf> x(f.x.data(), kM), w(f.w.data(), kQ + 1);
  Eigen::VectorXf out(kQ + 1);
  for (auto _ : state) {
    out.noalias() = basis * x;
    out.array() *= w.array();
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Eigen);
#endif

}  // namespace

BENCHMARK_MAIN();
