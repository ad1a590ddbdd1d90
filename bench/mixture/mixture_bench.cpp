// One 39-dimensional frame against G diagonal Gaussians, the recogniser's inner loop:
//   kels     kelsLogGaussMultiMix_32f_D2 / kelsLogGaussMixture_32f_D2 / kelsMahDistMultiMix_32f_D2
//   scalar   the plain loop g - 1/2 sum (x - m)^2 w, baseline x86-64 code
//   sgemv2   the expanded form g' + M x - 1/2 W (x o x), two cblas_sgemv calls (M = w o m)
//   sgemv1   one cblas_sgemv over [M | W] against [x ; -1/2 x o x]
//   stream   reading the means and weights once, the memory bound of any one-frame kernel
// Mixture variants add a log-sum over the G scores (the peers: max, then sum of exp). Counters
// give ns per Gaussian; the summary compares the fastest repetition of each (run with
// --benchmark_repetitions=N on a shared machine).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <kelsr.h>

#include "../common/min_report.h"
#include "core/cpu.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KELSR_BENCH_STREAM 1
#endif

#if defined(KELSR_BENCH_OPENBLAS)
#include <cblas.h>
#endif

namespace {

constexpr int kDim = 39;
constexpr int kStep = 40;  // rows padded to 16 bytes, as a model loader lays them out

struct Model {
  int G;
  std::vector<float> mean, var, g, x;
  std::vector<float> mw, both, gPrime;  // expanded form: M = w o m; [M | W]; g - 1/2 sum w m^2
  explicit Model(int G_) : G(G_), mean(std::size_t(G_) * kStep), var(mean.size()), g(std::size_t(G_)),
                           x(kDim), mw(std::size_t(G_) * kDim), both(std::size_t(G_) * 2 * kDim),
                           gPrime(std::size_t(G_)) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> u(-2, 2), pw(0.2f, 2);
    for (auto& v : x) v = u(rng);
    for (int j = 0; j < G; ++j) {
      double c = 0;
      g[std::size_t(j)] = -20 + u(rng);
      for (int i = 0; i < kDim; ++i) {
        const float m = u(rng), w = pw(rng);
        mean[std::size_t(j) * kStep + i] = m;
        var[std::size_t(j) * kStep + i] = w;
        mw[std::size_t(j) * kDim + i] = m * w;
        both[std::size_t(j) * 2 * kDim + i] = m * w;
        both[std::size_t(j) * 2 * kDim + kDim + i] = w;
        c += double(w) * m * m;
      }
      gPrime[std::size_t(j)] = float(g[std::size_t(j)] - 0.5 * c);
    }
  }
};

const Model& model(int G) {
  static std::vector<Model*> cache;
  for (auto* m : cache)
    if (m->G == G) return *m;
  cache.push_back(new Model(G));
  return *cache.back();
}

void perGaussian(benchmark::State& state, int G) {
  // Inverted rate of G * 1e-9 items per iteration: seconds / (G * 1e-9) = ns per Gaussian.
  state.counters["ns_per_gauss"] = benchmark::Counter(double(state.iterations()) * G * 1e-9,
                                                      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// The plain loop, as a recogniser without a library writes it.
__attribute__((noinline)) void scalarScores(const Model& m, float* out) {
  for (int j = 0; j < m.G; ++j) {
    const float* mu = &m.mean[std::size_t(j) * kStep];
    const float* w = &m.var[std::size_t(j) * kStep];
    float s = 0;
    for (int i = 0; i < kDim; ++i) {
      const float d = m.x[std::size_t(i)] - mu[i];
      s += d * d * w[i];
    }
    out[j] = m.g[std::size_t(j)] - 0.5f * s;
  }
}
float logSumExp(const float* v, int n) {
  const float hi = *std::max_element(v, v + n);
  float s = 0;
  for (int i = 0; i < n; ++i) s += std::exp(v[i] - hi);
  return hi + std::log(s);
}

void BM_MultiMix_kels(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G));
  for (auto _ : state) {
    std::copy(m.g.begin(), m.g.end(), out.begin());
    kelsLogGaussMultiMix_32f_D2(m.mean.data(), m.var.data(), kStep, m.x.data(), kDim, out.data(), m.G);
    benchmark::DoNotOptimize(out.data());
  }
  perGaussian(state, m.G);
}
#if defined(KELSR_BENCH_STREAM)
// Streams the means and weights (rows as laid out, padding included) into four bitwise ORs, whose
// one-cycle latency leaves the loads as the only limit: the time a one-frame kernel cannot beat
// once the model leaves L1.
__attribute__((target("avx2"), noinline)) int streamRowsAvx2(const float* a, const float* b, std::size_t n) {
  __m256i s[4] = {_mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256()};
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    s[0] = _mm256_or_si256(s[0], _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i)));
    s[1] = _mm256_or_si256(s[1], _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a + i + 8)));
    s[2] = _mm256_or_si256(s[2], _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + i)));
    s[3] = _mm256_or_si256(s[3], _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b + i + 8)));
  }
  const __m256i r = _mm256_or_si256(_mm256_or_si256(s[0], s[1]), _mm256_or_si256(s[2], s[3]));
  return _mm256_movemask_epi8(r) + int(n - i);
}
void BM_stream(benchmark::State& state) {
  if (!__builtin_cpu_supports("avx2")) {
    state.SkipWithError("needs AVX2");
    return;
  }
  const Model& m = model(int(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(streamRowsAvx2(m.mean.data(), m.var.data(), m.mean.size()));
  perGaussian(state, m.G);
}
#endif

void BM_MultiMix_scalar(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G));
  for (auto _ : state) {
    scalarScores(m, out.data());
    benchmark::DoNotOptimize(out.data());
  }
  perGaussian(state, m.G);
}
void BM_Mixture_kels(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  float r = 0;
  for (auto _ : state) {
    kelsLogGaussMixture_32f_D2(m.x.data(), m.mean.data(), m.var.data(), m.G, kStep, kDim, m.g.data(), &r);
    benchmark::DoNotOptimize(r);
  }
  perGaussian(state, m.G);
}
void BM_Mixture_scalar(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G));
  for (auto _ : state) {
    scalarScores(m, out.data());
    benchmark::DoNotOptimize(logSumExp(out.data(), m.G));
  }
  perGaussian(state, m.G);
}
void BM_MahDistMultiMix_kels(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G));
  for (auto _ : state) {
    kelsMahDistMultiMix_32f_D2(m.mean.data(), m.var.data(), kStep, m.x.data(), kDim, out.data(), m.G);
    benchmark::DoNotOptimize(out.data());
  }
  perGaussian(state, m.G);
}
__attribute__((noinline)) void scalarDistances(const Model& m, float* out) {
  for (int j = 0; j < m.G; ++j) {
    const float* mu = &m.mean[std::size_t(j) * kStep];
    const float* w = &m.var[std::size_t(j) * kStep];
    float s = 0;
    for (int i = 0; i < kDim; ++i) {
      const float d = m.x[std::size_t(i)] - mu[i];
      s += d * d * w[i];
    }
    out[j] = s;
  }
}
void BM_MahDistMultiMix_scalar(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G));
  for (auto _ : state) {
    scalarDistances(m, out.data());
    benchmark::DoNotOptimize(out.data());
  }
  perGaussian(state, m.G);
}

#if defined(KELSR_BENCH_OPENBLAS)
void sgemv2Scores(const Model& m, float* xx, float* out) {
  for (int i = 0; i < kDim; ++i) xx[i] = m.x[std::size_t(i)] * m.x[std::size_t(i)];
  std::copy(m.gPrime.begin(), m.gPrime.end(), out);
  cblas_sgemv(CblasRowMajor, CblasNoTrans, m.G, kDim, 1.0f, m.mw.data(), kDim, m.x.data(), 1, 1.0f, out, 1);
  cblas_sgemv(CblasRowMajor, CblasNoTrans, m.G, kDim, -0.5f, m.var.data(), kStep, xx, 1, 1.0f, out, 1);
}
void sgemv1Scores(const Model& m, float* z, float* out) {
  for (int i = 0; i < kDim; ++i) {
    z[i] = m.x[std::size_t(i)];
    z[kDim + i] = -0.5f * m.x[std::size_t(i)] * m.x[std::size_t(i)];
  }
  std::copy(m.gPrime.begin(), m.gPrime.end(), out);
  cblas_sgemv(CblasRowMajor, CblasNoTrans, m.G, 2 * kDim, 1.0f, m.both.data(), 2 * kDim, z, 1, 1.0f, out, 1);
}
void BM_MultiMix_sgemv2(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G)), xx(kDim);
  for (auto _ : state) {
    sgemv2Scores(m, xx.data(), out.data());
    benchmark::DoNotOptimize(out.data());
  }
  perGaussian(state, m.G);
}
void BM_MultiMix_sgemv1(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G)), z(2 * kDim);
  for (auto _ : state) {
    sgemv1Scores(m, z.data(), out.data());
    benchmark::DoNotOptimize(out.data());
  }
  perGaussian(state, m.G);
}
void BM_Mixture_sgemv2(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G)), xx(kDim);
  for (auto _ : state) {
    sgemv2Scores(m, xx.data(), out.data());
    benchmark::DoNotOptimize(logSumExp(out.data(), m.G));
  }
  perGaussian(state, m.G);
}
void BM_Mixture_sgemv1(benchmark::State& state) {
  const Model& m = model(int(state.range(0)));
  std::vector<float> out(std::size_t(m.G)), z(2 * kDim);
  for (auto _ : state) {
    sgemv1Scores(m, z.data(), out.data());
    benchmark::DoNotOptimize(logSumExp(out.data(), m.G));
  }
  perGaussian(state, m.G);
}
BENCHMARK(BM_MultiMix_sgemv2)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_MultiMix_sgemv1)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Mixture_sgemv2)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Mixture_sgemv1)->Arg(256)->Arg(1024)->Arg(4096);
#endif

BENCHMARK(BM_MultiMix_kels)->Arg(256)->Arg(1024)->Arg(4096);
#if defined(KELSR_BENCH_STREAM)
BENCHMARK(BM_stream)->Arg(256)->Arg(1024)->Arg(4096);
#endif
BENCHMARK(BM_MultiMix_scalar)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Mixture_kels)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Mixture_scalar)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_MahDistMultiMix_kels)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_MahDistMultiMix_scalar)->Arg(256)->Arg(1024)->Arg(4096);

void summary(const bench::MinReporter& r) {
  std::printf("\nTarget: %s. Fastest repetition of each; ratio = reference time / kelsr time.\n",
              kels::targetName(kels::activeTarget()));
  for (int G : {256, 1024, 4096}) {
    const std::string g = "/" + std::to_string(G);
    std::printf("G = %d\n", G);
    for (const char* fam : {"MultiMix", "Mixture"}) {
      const std::string ours = std::string("BM_") + fam + "_kels" + g, f = fam;
      if (!r.has(ours)) continue;
      const double ns = r.counter(ours, "ns_per_gauss"), bound = r.counter("BM_stream" + g, "ns_per_gauss");
      if (bound > 0)
        std::printf("  %-46s %6.2f ns per Gaussian; stream bound %.2f ns (%.0f%% of it)\n", (f + " kels").c_str(), ns,
                    bound, 100 * bound / ns);
      r.ratio(f + " vs scalar loop", std::string("BM_") + fam + "_scalar" + g, ours, 4);
      r.ratio(f + " vs two sgemv", std::string("BM_") + fam + "_sgemv2" + g, ours, 2);
      r.ratio(f + " vs one sgemv over [M | W]", std::string("BM_") + fam + "_sgemv1" + g, ours, 1.5);
    }
    r.ratio("MahDistMultiMix vs scalar loop", "BM_MahDistMultiMix_scalar" + g, "BM_MahDistMultiMix_kels" + g, 0);
  }
}

}  // namespace

int main(int argc, char** argv) {
#if defined(KELSR_BENCH_OPENBLAS)
  openblas_set_num_threads(1);  // one core, like the library
#endif
  benchmark::Initialize(&argc, argv);
  bench::MinReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  summary(reporter);
  benchmark::Shutdown();
  return 0;
}
