// Front-end steps on one frame's worth of data: the exported function (best target), the same
// function pinned to the scalar target, and a plain loop of the formula compiled with the same
// flags (the compiler may vectorise it). Ratios come from one run: compare BM_<step>/kels with
// BM_<step>/plain and BM_<step>/scalar.
#include <benchmark/benchmark.h>
#include <kelsr.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "core/cpu.h"

namespace {

std::vector<float> positive(int n, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<float> d(0.01f, 100.0f);
  std::vector<float> v(std::size_t(n) + 8);
  for (auto& x : v) x = d(g);
  return v;
}

struct Pin {  // arg 1: 0 the best target, 1 scalar, 2 AVX2
  explicit Pin(const benchmark::State& st) {
    if (st.range(1) == 1) kels::testing::pinTarget(kels::Target::kScalar);
    if (st.range(1) == 2) kels::testing::pinTarget(kels::Target::kAvx2);
  }
  ~Pin() { kels::testing::unpinTarget(); }
};

void BM_SmoothedSpectrum(benchmark::State& st) {
  const int len = int(st.range(0));
  Pin pin(st);
  auto x = positive(len, 1);
  std::vector<float> out(static_cast<std::size_t>(len / 4 + 1));
  for (auto _ : st) {
    kelsSmoothedPowerSpectrumAurora_32f(x.data(), out.data(), len);
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_SmoothedSpectrumPlain(benchmark::State& st) {
  const int len = int(st.range(0)), m = len / 4;
  auto x = positive(len, 1);
  std::vector<float> out(static_cast<std::size_t>(m + 1));
  for (auto _ : st) {
    out[0] = (x[0] * x[0] + x[2] * x[2] + x[3] * x[3]) * 0.5f;
    for (int k = 1; k < m; ++k) {
      const float* p = &x[std::size_t(4 * k)];
      out[std::size_t(k)] = (p[0] * p[0] + p[1] * p[1] + p[2] * p[2] + p[3] * p[3]) * 0.5f;
    }
    out[std::size_t(m)] = x[1] * x[1];
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_NoiseUpdate(benchmark::State& st) {
  const int len = int(st.range(0));
  Pin pin(st);
  auto x = positive(len, 1), y = positive(len, 2);
  std::vector<float> out(static_cast<std::size_t>(len));
  for (auto _ : st) {
    kelsNoiseSpectrumUpdate_Aurora_32f(x.data(), y.data(), out.data(), len);
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_NoiseUpdatePlain(benchmark::State& st) {
  const int len = int(st.range(0));
  auto x = positive(len, 1), y = positive(len, 2);
  std::vector<float> out(static_cast<std::size_t>(len));
  for (auto _ : st) {
    for (std::size_t i = 0; i < std::size_t(len); ++i) {
      const float a = 0.1f * x[i];
      out[i] = (x[i] + y[i] == 0 || y[i] + a == 0)
                   ? 0.0f
                   : y[i] * (0.9f + (a / (x[i] + y[i])) * (1.0f + y[i] / (y[i] + a)));
    }
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_Wiener(benchmark::State& st) {
  const int len = int(st.range(0));
  Pin pin(st);
  auto p = positive(len, 1), n = positive(len, 2), d = positive(len, 3);
  std::vector<float> h(static_cast<std::size_t>(len));
  for (auto _ : st) {
    kelsWienerFilterDesign_Aurora_32f(p.data(), n.data(), d.data(), h.data(), len);
    benchmark::DoNotOptimize(h.data());
  }
}

void BM_WienerPlain(benchmark::State& st) {
  const int len = int(st.range(0));
  auto p = positive(len, 1), n = positive(len, 2), d = positive(len, 3);
  std::vector<float> h(static_cast<std::size_t>(len));
  for (auto _ : st) {
    for (std::size_t i = 0; i < std::size_t(len); ++i) {
      const float eta1 = (0.02f * std::max(p[i] - n[i], 0.0f) + 0.98f * d[i]) / n[i];
      const float eta2 = std::max(eta1 / (eta1 + 1) * p[i] / n[i], 0.079432823f);
      h[i] = eta2 / (eta2 + 1);
    }
    benchmark::DoNotOptimize(h.data());
  }
}

void BM_BlindEq(benchmark::State& st) {
  const int len = int(st.range(0));
  Pin pin(st);
  auto ref = positive(len, 1), cep = positive(len, 2), bias = positive(len, 3);
  for (auto _ : st) {
    kelsBlindEqualization_Aurora_32f(ref.data(), cep.data(), bias.data(), len, 3.5f);
    benchmark::DoNotOptimize(bias.data());
  }
}

void BM_BlindEqPlain(benchmark::State& st) {
  const int len = int(st.range(0));
  auto ref = positive(len, 1), cep = positive(len, 2), bias = positive(len, 3);
  for (auto _ : st) {
    const float mu = std::min(std::max(3.5f - 3.296875f, 0.0f), 1.0f) * 0.0087890625f;
    for (std::size_t i = 0; i < std::size_t(len); ++i) cep[i] -= bias[i];
    for (std::size_t i = 0; i < std::size_t(len); ++i) bias[i] += mu * (cep[i] - ref[i]);
    benchmark::DoNotOptimize(bias.data());
  }
}

void BM_WaveProcessing(benchmark::State& st) {
  Pin pin(st);
  std::mt19937 g(5);
  std::normal_distribution<float> d(0, 1000);
  std::vector<float> s(200), o(200);
  for (auto& v : s) v = d(g);
  for (auto _ : st) {
    kelsWaveProcessing_Aurora_32f(s.data(), o.data());
    benchmark::DoNotOptimize(o.data());
  }
}

// 65 bins: a 256-point FFT's smoothed spectrum; 13 cepstra; 1024 for a long view.
BENCHMARK(BM_SmoothedSpectrum)->ArgNames({"len", "pin"})->ArgsProduct({{256, 4096}, {0, 1, 2}});
BENCHMARK(BM_SmoothedSpectrumPlain)->Arg(256)->Arg(4096);
BENCHMARK(BM_NoiseUpdate)->ArgNames({"len", "pin"})->ArgsProduct({{65, 1024}, {0, 1, 2}});
BENCHMARK(BM_NoiseUpdatePlain)->Arg(65)->Arg(1024);
BENCHMARK(BM_Wiener)->ArgNames({"len", "pin"})->ArgsProduct({{65, 1024}, {0, 1, 2}});
BENCHMARK(BM_WienerPlain)->Arg(65)->Arg(1024);
BENCHMARK(BM_BlindEq)->ArgNames({"len", "pin"})->ArgsProduct({{13, 1024}, {0, 1, 2}});
BENCHMARK(BM_BlindEqPlain)->Arg(13)->Arg(1024);
BENCHMARK(BM_WaveProcessing)->ArgNames({"frame", "pin"})->ArgsProduct({{200}, {0, 1, 2}});

}  // namespace

BENCHMARK_MAIN();
