// kels: GMM training and scoring on the library. EM: per frame, the component scores come from
// kelsLogGaussMultiMix and their log-sum from kelsLogSum; the occupation-weighted statistics
// are gathered with kelsMeanVarAcc around the current means, and kelsUpdateVar / UpdateMean /
// UpdateWeight / UpdateGConst re-estimate the model. The mixture grows by kelsGaussianSplit.
#include "gmm.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <sstream>
#include <thread>

#include "error.h"

namespace kels::tool {
namespace {

constexpr double kMinOccupation = 1e-3;  // below this a component keeps its parameters

// Working model in double precision; scoring uses the float copy.
struct Work {
  int dim = 0, comps = 0;
  std::vector<double> weights, means, vars, gconsts;
};

Gmm toGmm(const Work& w) {
  Gmm g;
  g.dim = w.dim;
  g.comps = w.comps;
  g.weights.assign(w.weights.begin(), w.weights.end());
  g.means.assign(w.means.begin(), w.means.end());
  g.vars.assign(w.vars.begin(), w.vars.end());
  g.gconsts.assign(w.gconsts.begin(), w.gconsts.end());
  g.prepare();
  return g;
}

struct Accumulator {
  std::vector<double> occ, acc1, acc2;
  double logLik = 0.0;
  Accumulator(int comps, int dim)
      : occ(std::size_t(comps)), acc1(std::size_t(comps) * dim), acc2(std::size_t(comps) * dim) {}
  void add(const Accumulator& o) {
    for (std::size_t i = 0; i < occ.size(); ++i) occ[i] += o.occ[i];
    for (std::size_t i = 0; i < acc1.size(); ++i) acc1[i] += o.acc1[i], acc2[i] += o.acc2[i];
    logLik += o.logLik;
  }
};

}  // namespace

void Gmm::prepare() {
  ivars.resize(vars.size());
  constants.resize(std::size_t(comps));
  for (std::size_t i = 0; i < vars.size(); ++i) ivars[i] = 1.0f / vars[i];
  for (int j = 0; j < comps; ++j)
    constants[std::size_t(j)] = float(std::log(double(weights[std::size_t(j)])) -
                                      0.5 * double(gconsts[std::size_t(j)]));
}

void writeGmm(std::ostream& out, const Gmm& g) {
  char buf[40];
  auto num = [&](float v) {
    std::snprintf(buf, sizeof buf, "%.9g", double(v));
    return std::string(buf);
  };
  out << "kels-gmm diag\ndim " << g.dim << "\ncomponents " << g.comps << "\n";
  for (int j = 0; j < g.comps; ++j) {
    out << "component " << j << "\nweight " << num(g.weights[std::size_t(j)]) << "\nmean";
    for (int d = 0; d < g.dim; ++d) out << ' ' << num(g.means[std::size_t(j) * g.dim + d]);
    out << "\nvar";
    for (int d = 0; d < g.dim; ++d) out << ' ' << num(g.vars[std::size_t(j) * g.dim + d]);
    out << "\ngconst " << num(g.gconsts[std::size_t(j)]) << "\n";
  }
}

void writeGmm(const std::string& path, const Gmm& g) {
  std::ofstream f(path);
  writeGmm(f, g);
  f.close();
  if (!f) throw Error("cannot write " + path);
}

Gmm readGmm(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw Error(path + ": cannot open");
  Gmm g;
  std::string line, key;
  int lineNo = 0;
  auto fail = [&](const std::string& what) -> void {
    throw Error(path + ":" + std::to_string(lineNo) + ": " + what);
  };
  auto next = [&](const std::string& want, std::istringstream& s) {
    if (!std::getline(in, line)) fail("unexpected end of file, expected '" + want + "'");
    ++lineNo;
    s.clear();
    s.str(line);
    if (!(s >> key) || key != want) fail("expected '" + want + "'");
  };
  auto values = [&](std::istringstream& s, int n, float* out, bool positive) {
    for (int i = 0; i < n; ++i) {
      double v;
      if (!(s >> v) || !std::isfinite(v)) fail("expected " + std::to_string(n) + " numbers");
      if (positive && !(v > 0.0)) fail("weights and variances must be positive");
      out[i] = float(v);
    }
    std::string extra;
    if (s >> extra) fail("trailing text '" + extra + "'");
  };
  std::istringstream s;
  next("kels-gmm", s);
  if (!(s >> key) || key != "diag") fail("only 'kels-gmm diag' models are read");
  next("dim", s);
  if (!(s >> g.dim) || g.dim < 1 || g.dim > 100000) fail("bad dimension");
  next("components", s);
  if (!(s >> g.comps) || g.comps < 1 || g.comps > 100000) fail("bad component count");
  const std::size_t k = std::size_t(g.comps), d = std::size_t(g.dim);
  g.weights.resize(k);
  g.gconsts.resize(k);
  g.means.resize(k * d);
  g.vars.resize(k * d);
  for (std::size_t j = 0; j < k; ++j) {
    int idx = -1;
    next("component", s);
    if (!(s >> idx) || idx != int(j)) fail("components must be numbered 0, 1, ... in order");
    next("weight", s);
    values(s, 1, &g.weights[j], true);
    next("mean", s);
    values(s, g.dim, &g.means[j * d], false);
    next("var", s);
    values(s, g.dim, &g.vars[j * d], true);
    next("gconst", s);
    values(s, 1, &g.gconsts[j], false);
  }
  g.prepare();
  return g;
}

std::vector<float> scoreFrames(const Gmm& g, const Matrix& feats) {
  if (feats.cols != g.dim)
    throw Error("features have " + std::to_string(feats.cols) + " columns, the model " +
                std::to_string(g.dim));
  std::vector<float> out(std::size_t(feats.rows));
  for (int t = 0; t < feats.rows; ++t)
    check(kelsLogGaussMixture_32f_D2(feats.row(t), g.means.data(), g.ivars.data(), g.comps, g.dim,
                                     g.dim, g.constants.data(), &out[std::size_t(t)]),
          "kelsLogGaussMixture_32f_D2");
  return out;
}

Gmm trainGmm(const std::vector<const Matrix*>& data, const TrainOptions& o, TrainReport* rep,
             std::ostream* log) {
  if (data.empty()) throw Error("no training data");
  const int dim = data.front()->cols;
  long frames = 0;
  for (const Matrix* m : data) {
    if (m->cols != dim) throw Error("feature files differ in width");
    frames += m->rows;
  }
  if (dim < 1 || frames < 2) throw Error("need at least two frames of training data");
  if (o.components < 1) throw Error("--components must be at least 1");
  if (frames < o.components) throw Error("fewer frames than components");
  if (rep) rep->frames = frames;
  // Pool the frames once: the statistics and the threads want one block.
  Matrix all(int(frames), dim);
  {
    std::size_t at = 0;
    for (const Matrix* m : data) {
      std::copy(m->data.begin(), m->data.end(), all.data.begin() + long(at));
      at += m->data.size();
    }
  }
  const std::size_t d = std::size_t(dim);
  std::vector<float> mean32(d), var32(d);
  check(kelsMeanVarColumn_32f_D2(all.data.data(), all.rows, dim, mean32.data(), var32.data(), dim),
        "kelsMeanVarColumn_32f_D2");
  std::vector<double> floor(d);
  for (std::size_t i = 0; i < d; ++i) {
    if (!(var32[i] > 0.0f)) throw Error("feature column " + std::to_string(i) + " is constant");
    floor[i] = o.varFloor * double(var32[i]);
  }

  Work w;
  w.dim = dim;
  w.comps = 1;
  w.weights = {1.0};
  w.means.assign(mean32.begin(), mean32.end());
  w.vars.assign(var32.begin(), var32.end());
  w.gconsts.resize(1);
  check(kelsUpdateGConst_DirectVar_64f(w.vars.data(), dim, w.gconsts.data()),
        "kelsUpdateGConst_DirectVar_64f");

  const int threads = std::max(1, std::min(o.threads, int(frames / 64) + 1));
  auto emPass = [&]() {
    const Gmm g = toGmm(w);
    const std::size_t k = std::size_t(w.comps);
    std::vector<Accumulator> accs(std::size_t(threads), Accumulator(w.comps, dim));
    auto worker = [&](int id) {
      Accumulator& a = accs[std::size_t(id)];
      std::vector<float> score(k);
      std::vector<double> x(d);
      const long from = frames * id / threads, to = frames * (id + 1) / threads;
      for (long t = from; t < to; ++t) {
        const float* row = all.row(int(t));
        std::copy(g.constants.begin(), g.constants.end(), score.begin());
        check(kelsLogGaussMultiMix_32f_D2(g.means.data(), g.ivars.data(), dim, row, dim,
                                          score.data(), w.comps),
              "kelsLogGaussMultiMix_32f_D2");
        float total = 0.0f;
        check(kelsLogSum_32f(score.data(), &total, w.comps, 0), "kelsLogSum_32f");
        a.logLik += total;
        std::copy(row, row + dim, x.begin());
        for (std::size_t j = 0; j < k; ++j) {
          const double post = std::exp(double(score[j]) - double(total));
          if (post < 1e-8) continue;  // negligible occupation; skip the accumulation
          a.occ[j] += post;
          check(kelsMeanVarAcc_64f(x.data(), &w.means[j * d], &a.acc1[j * d], &a.acc2[j * d], dim,
                                   post),
                "kelsMeanVarAcc_64f");
        }
      }
    };
    std::vector<std::thread> pool;
    for (int i = 1; i < threads; ++i) pool.emplace_back(worker, i);
    worker(0);
    for (auto& th : pool) th.join();
    for (int i = 1; i < threads; ++i) accs[0].add(accs[std::size_t(i)]);
    Accumulator& a = accs[0];

    // The statistics are centred on the old means: UpdateVar gives the variance around the
    // new mean, and UpdateMean adds the mean shift in place.
    for (std::size_t j = 0; j < k; ++j) {
      if (a.occ[j] < kMinOccupation) continue;
      const KelsStatus st = kelsUpdateVar_64f(&a.acc1[j * d], &a.acc2[j * d], floor.data(),
                                              &w.vars[j * d], dim, a.occ[j], a.occ[j]);
      if (st < 0) check(st, "kelsUpdateVar_64f");
      check(kelsUpdateMean_64f(&a.acc1[j * d], &w.means[j * d], dim, a.occ[j]),
            "kelsUpdateMean_64f");
      check(kelsUpdateGConst_DirectVar_64f(&w.vars[j * d], dim, &w.gconsts[j]),
            "kelsUpdateGConst_DirectVar_64f");
    }
    double sum = 0.0;
    const KelsStatus st = kelsUpdateWeight_64f(a.occ.data(), w.weights.data(), w.comps, &sum,
                                               double(frames), o.weightFloor);
    if (st < 0) check(st, "kelsUpdateWeight_64f");
    const double avg = a.logLik / double(frames);
    if (rep) rep->avgLogLik.push_back(avg);
    return avg;
  };

  for (;;) {
    // One line per growth step: the likelihood before the first and after the last pass.
    // A single Gaussian starts at its maximum-likelihood estimate: one pass is enough there.
    const int passes = w.comps == 1 ? 1 : o.iterations;
    double first = 0.0, last = 0.0;
    for (int it = 0; it < passes; ++it) {
      last = emPass();
      if (it == 0) first = last;
    }
    if (log) {
      char buf[128];
      std::snprintf(buf, sizeof buf,
                    "  %4d components, %d EM passes: average log-likelihood %.4f -> %.4f\n",
                    w.comps, passes, first, last);
      *log << buf << std::flush;
    }
    if (w.comps >= o.components) break;
    // Split the heaviest components, at most doubling the mixture per step.
    const int grow = std::min(w.comps, o.components - w.comps);
    std::vector<int> order(std::size_t(w.comps));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
      return w.weights[std::size_t(a)] > w.weights[std::size_t(b)];
    });
    for (int s = 0; s < grow; ++s) {
      const std::size_t j = std::size_t(order[std::size_t(s)]);
      std::vector<double> m2(d), v2(d);
      check(kelsGaussianSplit_64f(&w.means[j * d], &w.vars[j * d], m2.data(), v2.data(), dim,
                                  o.splitFactor),
            "kelsGaussianSplit_64f");
      w.weights[j] *= 0.5;
      w.weights.push_back(w.weights[j]);
      w.gconsts.push_back(w.gconsts[j]);
      w.means.insert(w.means.end(), m2.begin(), m2.end());
      w.vars.insert(w.vars.end(), v2.begin(), v2.end());
      ++w.comps;
    }
  }
  return toGmm(w);
}

}  // namespace kels::tool
