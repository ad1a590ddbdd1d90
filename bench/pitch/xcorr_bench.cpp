// Cross-correlation: the exported functions (best target and pinned to scalar) against plain
// loops of the same definitions. Ratios come from one run.
#include <benchmark/benchmark.h>
#include <kelsr.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "core/cpu.h"

#if defined(KELSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

namespace {

std::vector<Kels16s> samples(int n, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_int_distribution<int> d(-32768, 32767);
  std::vector<Kels16s> v(static_cast<std::size_t>(n));
  for (auto& x : v) x = Kels16s(d(g));
  return v;
}

struct Pin {  // arg 1: 0 the best target, 1 scalar, 2 AVX2
  explicit Pin(const benchmark::State& st) {
    if (st.range(1) == 1) kels::testing::pinTarget(kels::Target::kScalar);
    if (st.range(1) == 2) kels::testing::pinTarget(kels::Target::kAvx2);
  }
  ~Pin() { kels::testing::unpinTarget(); }
};

void BM_Coeff(benchmark::State& st) {
  const int n = int(st.range(0));
  Pin pin(st);
  auto x = samples(n, 1), y = samples(n, 2);
  float r;
  for (auto _ : st) {
    kelsCrossCorrCoeff_16s32f(x.data(), y.data(), n, &r);
    benchmark::DoNotOptimize(r);
  }
}

void BM_CoeffPlain(benchmark::State& st) {
  const int n = int(st.range(0));
  auto x = samples(n, 1), y = samples(n, 2);
  for (auto _ : st) {
    std::int64_t xx = 0, yy = 0, xy = 0;
    for (std::size_t i = 0; i < std::size_t(n); ++i) {
      xx += x[i] * x[i], yy += y[i] * y[i], xy += x[i] * y[i];
    }
    float r = float(double(xy) / std::sqrt(double(xx) * double(yy)));
    benchmark::DoNotOptimize(r);
  }
}

void BM_Decim(benchmark::State& st) {
  const int n = int(st.range(0)), m = 20, d = int(st.range(2));
  Pin pin(st);
  auto x = samples(n, 1), y = samples(n, 2);
  std::vector<float> out(static_cast<std::size_t>((n - m) / d + 1));
  for (auto _ : st) {
    kelsCrossCorrCoeffDecim_16s32f(x.data(), y.data(), n, m, out.data(), d);
    benchmark::DoNotOptimize(out.data());
  }
}

// The definition read literally: every lag summed afresh from the 16-bit data.
void BM_DecimPlain(benchmark::State& st) {
  const int n = int(st.range(0)), m = 20, d = int(st.range(1));
  auto x = samples(n, 1), y = samples(n, 2);
  std::vector<float> out(static_cast<std::size_t>((n - m) / d + 1));
  for (auto _ : st) {
    for (int i = 0; i <= (n - m) / d; ++i) {
      const int w = m + i * d;
      const Kels16s* xs = x.data() + (n - w);
      float c = 0, ex = 0, ey = 0;
      for (int k = 0; k < w; k += d) {
        c += float(xs[k] * y[std::size_t(k)]);
        ex += float(xs[k] * xs[k]);
        ey += float(y[std::size_t(k)] * y[std::size_t(k)]);
      }
      out[std::size_t(i)] =
          std::fabs(ex * ey) > 1.17549435e-38f ? c / (std::sqrt(ey) * std::sqrt(ex)) : 0;
    }
    benchmark::DoNotOptimize(out.data());
  }
}

void BM_Interpolation(benchmark::State& st) {
  const int n = int(st.range(0));
  Pin pin(st);
  auto x = samples(n, 1), y = samples(n, 2);
  float lag, r;
  for (auto _ : st) {
    kelsCrossCorrCoeffInterpolation_16s32f(x.data(), y.data(), n, &lag, &r);
    benchmark::DoNotOptimize(r);
  }
}

#if defined(KELSR_BENCH_OPENBLAS)
// Samples converted to float, then three sdot calls: what a BLAS user would write.
void BM_CoeffOpenBlas(benchmark::State& st) {
  const int n = int(st.range(0));
  auto x = samples(n, 1), y = samples(n, 2);
  std::vector<float> fx(x.size()), fy(y.size());
  for (auto _ : st) {
    for (std::size_t i = 0; i < x.size(); ++i) fx[i] = x[i], fy[i] = y[i];
    const float xx = cblas_sdot(n, fx.data(), 1, fx.data(), 1);
    const float yy = cblas_sdot(n, fy.data(), 1, fy.data(), 1);
    const float xy = cblas_sdot(n, fx.data(), 1, fy.data(), 1);
    float r = xy / (std::sqrt(xx) * std::sqrt(yy));
    benchmark::DoNotOptimize(r);
  }
}

// Every lag from strided sdot calls over the converted samples.
void BM_DecimOpenBlas(benchmark::State& st) {
  const int n = int(st.range(0)), m = 20, d = int(st.range(1));
  auto x = samples(n, 1), y = samples(n, 2);
  std::vector<float> fx(x.size()), fy(y.size()), out(std::size_t((n - m) / d + 1));
  for (auto _ : st) {
    for (std::size_t i = 0; i < x.size(); ++i) fx[i] = x[i], fy[i] = y[i];
    for (int i = 0; i <= (n - m) / d; ++i) {
      const int w = m + i * d, terms = (w - 1) / d + 1;
      const float* xs = fx.data() + (n - w);
      const float c = cblas_sdot(terms, xs, d, fy.data(), d);
      const float ex = cblas_sdot(terms, xs, d, xs, d),
                  ey = cblas_sdot(terms, fy.data(), d, fy.data(), d);
      out[std::size_t(i)] = ex * ey > 1.17549435e-38f ? c / (std::sqrt(ey) * std::sqrt(ex)) : 0;
    }
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(BM_CoeffOpenBlas)->Arg(160)->Arg(640)->Arg(8192);
BENCHMARK(BM_DecimOpenBlas)->ArgNames({"n", "d"})->ArgsProduct({{320, 640}, {1, 2}});
#endif

// Pitch-sized windows (160..640 samples at 8-16 kHz) and a long one.
BENCHMARK(BM_Coeff)->ArgNames({"len", "pin"})->ArgsProduct({{160, 640, 8192}, {0, 1, 2}});
BENCHMARK(BM_CoeffPlain)->Arg(160)->Arg(640)->Arg(8192);
BENCHMARK(BM_Decim)->ArgNames({"n", "pin", "d"})->ArgsProduct({{320, 640}, {0, 1, 2}, {1, 2}});
BENCHMARK(BM_DecimPlain)->ArgNames({"n", "d"})->ArgsProduct({{320, 640}, {1, 2}});
BENCHMARK(BM_Interpolation)->ArgNames({"len", "pin"})->ArgsProduct({{160, 640}, {0, 1, 2}});

}  // namespace

BENCHMARK_MAIN();
