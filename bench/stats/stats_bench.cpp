// Column statistics on a 10000 x 39 block (a few minutes of 39-dimensional features): the
// library against a plain loop and Eigen, with the ratios printed after the run.
#include <benchmark/benchmark.h>
#include <kelsr.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "peers.h"

namespace {

constexpr int kRows = 10000, kDims = 39;

struct Data {
  std::vector<float> x = std::vector<float>(std::size_t(kRows) * kDims);
  std::vector<double> xd = std::vector<double>(std::size_t(kRows) * kDims);  // column-major
  std::vector<float> mean = std::vector<float>(kDims);
  std::vector<double> meand = std::vector<double>(kDims);
  Data() {
    std::mt19937 gen(1);
    std::normal_distribution<float> nd(0.0f, 3.0f);
    for (float& v : x) v = nd(gen);
    for (int i = 0; i < kRows; ++i)
      for (int j = 0; j < kDims; ++j) xd[std::size_t(j) * kRows + i] = x[std::size_t(i) * kDims + j];
    for (int j = 0; j < kDims; ++j) mean[j] = float(meand[j] = 0.1 * j);
  }
};
const Data& data() {
  static const Data d;
  return d;
}

void BM_MeanVarColumn_kels(benchmark::State& s) {
  const Data& d = data();
  std::vector<float> m(kDims), v(kDims);
  for (auto _ : s) {
    kelsMeanVarColumn_32f_D2(d.x.data(), kRows, kDims, m.data(), v.data(), kDims);
    benchmark::DoNotOptimize(v.data());
  }
}
void BM_MeanVarColumn_plainO3native(benchmark::State& s) {
  const Data& d = data();
  std::vector<float> m(kDims), v(kDims);
  for (auto _ : s) {
    plainMeanVarColumn(d.x.data(), kRows, kDims, kDims, m.data(), v.data());
    benchmark::DoNotOptimize(v.data());
  }
}
void BM_AccCovariance_kels(benchmark::State& s) {
  const Data& d = data();
  std::vector<double> c(std::size_t(kDims) * kDims, 0.0);
  for (auto _ : s) {
    kelsAccCovarianceMatrix_32f64f_D2(d.x.data(), kDims, kRows, d.mean.data(), c.data(), kDims, kDims, 1.0);
    benchmark::DoNotOptimize(c.data());
  }
}
BENCHMARK(BM_MeanVarColumn_kels);
BENCHMARK(BM_MeanVarColumn_plainO3native);
BENCHMARK(BM_AccCovariance_kels);

#if defined(KELSR_BENCH_EIGEN)
void BM_MeanVarColumn_eigen(benchmark::State& s) {
  const Data& d = data();
  std::vector<float> m(kDims), v(kDims);
  for (auto _ : s) {
    eigenMeanVarColumn(d.x.data(), kRows, kDims, kDims, m.data(), v.data());
    benchmark::DoNotOptimize(v.data());
  }
}
void BM_AccCovariance_eigen(benchmark::State& s) {
  const Data& d = data();
  std::vector<double> c(std::size_t(kDims) * kDims, 0.0);
  for (auto _ : s) {
    eigenCovariance(d.xd.data(), kRows, kDims, d.meand.data(), c.data());
    benchmark::DoNotOptimize(c.data());
  }
}
BENCHMARK(BM_MeanVarColumn_eigen);
BENCHMARK(BM_AccCovariance_eigen);
#endif

// Prints, after the table, how many times faster the library ran than each reference, by CPU
// time: on a shared machine wall time also counts the moments the process was not running.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (!r.error_occurred) times_[r.benchmark_name()] = r.GetAdjustedCPUTime();
    ConsoleReporter::ReportRuns(runs);
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    ratio("BM_MeanVarColumn_kels", "BM_MeanVarColumn_plainO3native", 1.5);
    ratio("BM_MeanVarColumn_kels", "BM_MeanVarColumn_eigen", 1.0);
    ratio("BM_AccCovariance_kels", "BM_AccCovariance_eigen", 1.0);
  }

 private:
  void ratio(const std::string& ours, const std::string& ref, double target) {
    if (!times_.count(ours) || !times_.count(ref)) return;
    const double x = times_[ref] / times_[ours];
    std::printf("%-24s vs %-32s %6.2fx faster (target >= %.1fx): %s\n", ours.c_str(), ref.c_str(), x,
                target, x >= target ? "met" : "NOT met");
  }
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
