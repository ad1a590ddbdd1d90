// Gaussian scoring and log-domain arithmetic against plain loops measured in the same run; the
// ratios and the scoring kernel's GFLOP/s beside the single-core peak are printed at the end.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <kelsr.h>

#include "../common/min_report.h"
#include "core/cpu.h"
#include "ref.h"

namespace {

constexpr int kWidth = 39, kRows = 1000, kLogLen = 1024;

struct ScoreData {
  std::vector<float> x, mu, w, out;
  ScoreData() : x(std::size_t(kRows) * kWidth), mu(kWidth), w(kWidth), out(kRows) {
    std::mt19937 gen(1);
    std::uniform_real_distribution<float> u(-3, 3), v(0.1f, 2);
    for (auto& e : x) e = u(gen);
    for (auto& e : mu) e = u(gen);
    for (auto& e : w) e = v(gen);
  }
};
ScoreData& scoreData() { static ScoreData d; return d; }

struct LogData {
  std::vector<float> a, b, work;
  LogData() : a(kLogLen), b(kLogLen), work(kLogLen) {
    std::mt19937 gen(2);
    std::uniform_real_distribution<float> u(-20, 0);  // differences span all three intervals
    for (auto& e : a) e = u(gen);
    for (auto& e : b) e = u(gen);
  }
};
LogData& logData() { static LogData d; return d; }

// Floating-point operations of one scored row: sub, mul, mul, add per element, then g - S/2.
constexpr double kRowFlops = 4.0 * kWidth + 2;

void BM_kelsLogGauss_32f_D2(benchmark::State& st) {
  auto& d = scoreData();
  for (auto _ : st) {
    kelsLogGauss_32f_D2(d.x.data(), kWidth, d.mu.data(), d.w.data(), kWidth, d.out.data(), kRows, 1.0f);
    benchmark::DoNotOptimize(d.out.data());
  }
  st.counters["ns_per_row"] = benchmark::Counter(double(kRows) * st.iterations(), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  st.counters["GFLOPs"] = benchmark::Counter(kRowFlops * kRows * st.iterations() / 1e9, benchmark::Counter::kIsRate);
}
void BM_plainLogGauss_D2(benchmark::State& st) {
  auto& d = scoreData();
  for (auto _ : st) {
    ref::logGaussRowsPlain(d.x.data(), kWidth, d.mu.data(), d.w.data(), kWidth, d.out.data(), kRows, 1.0f);
    benchmark::DoNotOptimize(d.out.data());
  }
  st.counters["ns_per_row"] = benchmark::Counter(double(kRows) * st.iterations(), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
void BM_kelsLogGaussSingle_32f(benchmark::State& st) {
  auto& d = scoreData();
  int r = 0;
  for (auto _ : st) {
    kelsLogGaussSingle_32f(d.x.data() + r * kWidth, d.mu.data(), d.w.data(), kWidth, &d.out[r], 1.0f);
    benchmark::DoNotOptimize(d.out[r]);
    r = r + 1 == kRows ? 0 : r + 1;
  }
}
void BM_plainLogGaussSingle(benchmark::State& st) {
  auto& d = scoreData();
  int r = 0;
  for (auto _ : st) {
    ref::logGaussRowsPlain(d.x.data() + r * kWidth, kWidth, d.mu.data(), d.w.data(), kWidth, &d.out[r], 1, 1.0f);
    benchmark::DoNotOptimize(d.out[r]);
    r = r + 1 == kRows ? 0 : r + 1;
  }
}

template <int kHint>
void BM_kelsLogAdd_32f(benchmark::State& st) {
  auto& d = logData();
  for (auto _ : st) {
    d.work = d.b;
    kelsLogAdd_32f(d.a.data(), d.work.data(), kLogLen, kHint);
    benchmark::DoNotOptimize(d.work.data());
  }
}
// The copy that restores b before every call, measured alone.
void BM_copyOnly(benchmark::State& st) {
  auto& d = logData();
  for (auto _ : st) {
    d.work = d.b;
    benchmark::DoNotOptimize(d.work.data());
  }
}
template <void (*kFn)(const float*, float*, int)>
void BM_refLogAdd(benchmark::State& st) {
  auto& d = logData();
  for (auto _ : st) {
    d.work = d.b;
    kFn(d.a.data(), d.work.data(), kLogLen);
    benchmark::DoNotOptimize(d.work.data());
  }
}
template <int kHint>
void BM_kelsLogSum_32f(benchmark::State& st) {
  auto& d = logData();
  float r = 0;
  for (auto _ : st) {
    kelsLogSum_32f(d.a.data(), &r, kLogLen, kHint);
    benchmark::DoNotOptimize(r);
  }
}
template <float (*kFn)(const float*, int)>
void BM_refLogSum(benchmark::State& st) {
  auto& d = logData();
  for (auto _ : st) benchmark::DoNotOptimize(kFn(d.a.data(), kLogLen));
}

void BM_peak(benchmark::State& st) {
  float sink[16];
  double flops = 0;
  for (auto _ : st) flops += ref::peakKernel(sink, 4096);
  benchmark::DoNotOptimize(sink);
  st.counters["GFLOPs"] = benchmark::Counter(flops / 1e9, benchmark::Counter::kIsRate);
  st.SetLabel(ref::peakIsa());
}

BENCHMARK(BM_kelsLogGauss_32f_D2);
BENCHMARK(BM_plainLogGauss_D2);
BENCHMARK(BM_kelsLogGaussSingle_32f);
BENCHMARK(BM_plainLogGaussSingle);
BENCHMARK(BM_kelsLogAdd_32f<0>)->Name("BM_kelsLogAdd_32f/hint0");
BENCHMARK(BM_kelsLogAdd_32f<1>)->Name("BM_kelsLogAdd_32f/hint1");
BENCHMARK(BM_copyOnly);
BENCHMARK(BM_refLogAdd<ref::logAddPlain>)->Name("BM_plainLogAdd");
BENCHMARK(BM_refLogAdd<ref::logAddNative>)->Name("BM_nativeFastMathLogAdd");
BENCHMARK(BM_kelsLogSum_32f<0>)->Name("BM_kelsLogSum_32f/hint0");
BENCHMARK(BM_refLogSum<ref::logSumPlain>)->Name("BM_plainLogSum");
BENCHMARK(BM_refLogSum<ref::logSumNative>)->Name("BM_nativeFastMathLogSum");
BENCHMARK(BM_peak);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  bench::MinReporter c;
  benchmark::RunSpecifiedBenchmarks(&c);
  std::printf("\nTarget: %s. Fastest repetition of each; ratio = reference time / kelsr time.\n",
              kels::targetName(kels::activeTarget()));
  c.ratio("LogGauss_32f_D2 vs plain loop", "BM_plainLogGauss_D2", "BM_kelsLogGauss_32f_D2", 4);
  c.ratio("LogGaussSingle_32f vs plain loop", "BM_plainLogGaussSingle", "BM_kelsLogGaussSingle_32f", 4);
  for (const char* h : {"hint0", "hint1"}) {
    const std::string ours = std::string("BM_kelsLogAdd_32f/") + h;
    c.ratio(std::string("LogAdd_32f ") + h + " vs max+log1p(exp)", "BM_plainLogAdd", ours, 10);
    c.ratio(std::string("LogAdd_32f ") + h + " vs -march=native -ffast-math", "BM_nativeFastMathLogAdd", ours, 2);
  }
  c.ratio("LogSum_32f vs max+log1p(exp)", "BM_plainLogSum", "BM_kelsLogSum_32f/hint0", 10);
  c.ratio("LogSum_32f vs -march=native -ffast-math", "BM_nativeFastMathLogSum", "BM_kelsLogSum_32f/hint0", 2);
  const double ours = c.has("BM_kelsLogGauss_32f_D2") ? c.counter("BM_kelsLogGauss_32f_D2", "GFLOPs") : 0,
               peak = c.has("BM_peak") ? c.counter("BM_peak", "GFLOPs") : 0;
  if (ours > 0 && peak > 0)
    std::printf("Scoring kernel: %.1f GFLOP/s of a %.1f GFLOP/s single-core peak (%.0f%%)\n", ours, peak, 100 * ours / peak);
  benchmark::Shutdown();
  return 0;
}
