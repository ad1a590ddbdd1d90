// One 39-dimensional frame against G diagonal Gaussians, the recogniser's inner loop:
//   kels     kelsLogGaussMultiMix_32f_D2 / kelsLogGaussMixture_32f_D2 / kelsMahDistMultiMix_32f_D2
//   scalar   the plain loop g - 1/2 sum (x - m)^2 w, baseline x86-64 code
//   sgemv2   the expanded form g' + M x - 1/2 W (x o x), two cblas_sgemv calls (M = w o m)
//   sgemv1   one cblas_sgemv over [M | W] against [x ; -1/2 x o x]
// Mixture variants add a log-sum over the G scores (the peers: max, then sum of exp). Counters
// give ns per Gaussian; ratios are read between rows of one run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <kelsr.h>

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
BENCHMARK(BM_MultiMix_scalar)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Mixture_kels)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Mixture_scalar)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_MahDistMultiMix_kels)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_MahDistMultiMix_scalar)->Arg(256)->Arg(1024)->Arg(4096);

}  // namespace

int main(int argc, char** argv) {
#if defined(KELSR_BENCH_OPENBLAS)
  openblas_set_num_threads(1);  // one core, like the library
#endif
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
