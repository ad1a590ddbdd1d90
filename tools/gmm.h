// kels: diagonal-covariance Gaussian mixtures: the text model format, EM training that grows
// the mixture by splitting, and per-frame scoring. All numeric steps are library calls.
//
// Model file (text, one keyword per line, numbers in C locale):
//   kels-gmm diag
//   dim D
//   components K
//   then K times:  component j / weight w / mean m1 .. mD / var v1 .. vD / gconst g
// where g = D ln(2 pi) + sum ln v (the Gaussian constant; a frame scores
// ln w - (g + sum (x - m)^2 / v) / 2 under the component).
#ifndef KELS_TOOLS_GMM_H
#define KELS_TOOLS_GMM_H

#include <iosfwd>
#include <string>
#include <vector>

#include "matrix_io.h"

namespace kels::tool {

struct Gmm {
  int dim = 0, comps = 0;
  std::vector<float> weights, means, vars, gconsts;  // means and vars: comps rows of dim

  // Derived for scoring: inverse variances and ln w - g/2 per component.
  std::vector<float> ivars, constants;
  void prepare();
};

void writeGmm(std::ostream& out, const Gmm& g);
void writeGmm(const std::string& path, const Gmm& g);
Gmm readGmm(const std::string& path);  // throws Error; prepared for scoring

struct TrainOptions {
  int components = 8;
  int iterations = 8;         // EM passes after every growth step (and at the end)
  double splitFactor = 0.2;   // new means at +-factor * sigma
  double varFloor = 0.01;     // variance floor, relative to the data's variance per dimension
  double weightFloor = 1e-5;
  int threads = 1;
};

struct TrainReport {
  std::vector<double> avgLogLik;  // per EM pass, per frame
  long frames = 0;
};

// Trains on the rows of every matrix (all of the same width). Throws Error.
Gmm trainGmm(const std::vector<const Matrix*>& data, const TrainOptions& opts, TrainReport* rep,
             std::ostream* log);

// Per-frame log-likelihoods of a feature matrix under a prepared model.
std::vector<float> scoreFrames(const Gmm& g, const Matrix& feats);

}  // namespace kels::tool

#endif
