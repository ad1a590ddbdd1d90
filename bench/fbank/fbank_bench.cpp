// The real FFT against FFTW's r2c plan (FFTW_MEASURE), and filter-bank evaluation on time frames
// against FFTW + magnitudes + the same weighted sums written plainly. Ratios are formed from
// the times of one run: compare BM_*Kels with BM_*Fftw of the same length.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <kelsr.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

std::vector<float> noise(int n, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<float> d(-1.0f, 1.0f);
  std::vector<float> v(std::size_t(n) + 2);
  for (auto& x : v) x = d(g);
  return v;
}

void BM_FftKels(benchmark::State& st) {
  const int order = int(st.range(0)), n = 1 << order;
  int size = 0;
  kelsFFTGetSize_R_32f(order, &size);
  std::vector<float> mem(std::size_t(size) / 4 + 1);
  auto* obj = reinterpret_cast<KelsFFTSpec_R_32f*>(mem.data());
  kelsFFTInit_R_32f(order, obj);
  std::vector<float> x = noise(n, 1);
  std::vector<float> y(static_cast<std::size_t>(n));
  for (auto _ : st) {
    kelsFFTFwd_RToPack_32f(x.data(), y.data(), obj);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
}

void BM_FftFftw(benchmark::State& st) {
  const int n = 1 << int(st.range(0));
  float* x = fftwf_alloc_real(std::size_t(n));
  fftwf_complex* y = fftwf_alloc_complex(std::size_t(n) / 2 + 1);
  fftwf_plan plan = fftwf_plan_dft_r2c_1d(n, x, y, FFTW_MEASURE);
  const std::vector<float> v = noise(n, 1);
  std::copy(v.begin(), v.begin() + n, x);
  for (auto _ : st) {
    fftwf_execute(plan);
    benchmark::DoNotOptimize(y);
    benchmark::ClobberMemory();
  }
  fftwf_destroy_plan(plan);
  fftwf_free(x);
  fftwf_free(y);
}

BENCHMARK(BM_FftKels)->Arg(8)->Arg(9)->Arg(10);
BENCHMARK(BM_FftFftw)->Arg(8)->Arg(9)->Arg(10);

}  // namespace

BENCHMARK_MAIN();
