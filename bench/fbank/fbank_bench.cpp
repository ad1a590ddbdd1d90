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

// 23 mel filters at 16 kHz over 512-sample frames (mode 2 + 4: the bank transforms the frame).
constexpr int kFrame = 512, kFilters = 23;

KelsMelFBank_32f* frameBank() {
  KelsMelFBank_32f* bank = nullptr;
  int order = 0;
  kelsMelFBankInitAlloc_32f(&bank, &order, kFrame, 16000, 64, 8000, kFilters, 2595, 700, 6);
  return bank;
}

void BM_FBankFrameKels(benchmark::State& st) {
  KelsMelFBank_32f* bank = frameBank();
  const std::vector<float> x = noise(kFrame, 2);
  std::vector<float> y(kFilters);
  for (auto _ : st) {
    kelsEvalFBank_32f(x.data(), y.data(), bank);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  kelsFBankFree_32f(bank);  // the record stays: a few bytes, once
}

// The peer: FFTW r2c, magnitudes, and the bank's own weights summed in plain loops.
void BM_FBankFrameFftw(benchmark::State& st) {
  KelsMelFBank_32f* bank = frameBank();
  std::vector<int> c(kFilters + 2);
  kelsFBankGetCenters_32f(bank, c.data());
  std::vector<std::vector<float>> w(kFilters);
  for (int j = 1; j <= kFilters; ++j) {
    w[std::size_t(j - 1)].resize(std::size_t(c[std::size_t(j + 1)] - c[std::size_t(j - 1)] + 1));
    kelsFBankGetCoeffs_32f(bank, j, w[std::size_t(j - 1)].data());
  }
  kelsFBankFree_32f(bank);
  float* x = fftwf_alloc_real(kFrame);
  fftwf_complex* bins = fftwf_alloc_complex(kFrame / 2 + 1);
  fftwf_plan plan = fftwf_plan_dft_r2c_1d(kFrame, x, bins, FFTW_MEASURE);
  const std::vector<float> v = noise(kFrame, 2);
  std::vector<float> mag(kFrame / 2 + 1), y(kFilters);
  for (auto _ : st) {
    std::copy(v.begin(), v.begin() + kFrame, x);
    fftwf_execute(plan);
    for (int k = 0; k <= kFrame / 2; ++k) mag[std::size_t(k)] = std::sqrt(bins[k][0] * bins[k][0] + bins[k][1] * bins[k][1]);
    for (int j = 1; j <= kFilters; ++j) {
      float acc = 0;
      for (int k = c[std::size_t(j - 1)]; k <= c[std::size_t(j + 1)]; ++k)
        acc += w[std::size_t(j - 1)][std::size_t(k - c[std::size_t(j - 1)])] * mag[std::size_t(k)];
      y[std::size_t(j - 1)] = acc;
    }
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  fftwf_destroy_plan(plan);
  fftwf_free(x);
  fftwf_free(bins);
}

BENCHMARK(BM_FBankFrameKels);
BENCHMARK(BM_FBankFrameFftw);

}  // namespace

BENCHMARK_MAIN();
