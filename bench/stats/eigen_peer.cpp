// Eigen's column-wise statistics and centred Gram product; built with -O3 -march=native.
#include <Eigen/Dense>

#include "peers.h"

void eigenMeanVarColumn(const float* x, int n, int step, int d, float* mean, float* var) {
  using Block = Eigen::Map<const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>, 0,
                           Eigen::OuterStride<>>;
  const Block X(x, n, d, Eigen::OuterStride<>(step));
  const Eigen::RowVectorXf m = X.colwise().mean();
  Eigen::Map<Eigen::RowVectorXf>(mean, d) = m;
  Eigen::Map<Eigen::RowVectorXf>(var, d) = (X.rowwise() - m).array().square().colwise().sum() / float(n - 1);
}

void eigenCovariance(const double* x, int n, int d, const double* mean, double* dst) {
  const Eigen::Map<const Eigen::MatrixXd> X(x, n, d);
  const Eigen::Map<const Eigen::RowVectorXd> m(mean, d);
  const Eigen::MatrixXd centred = X.rowwise() - m;
  Eigen::Map<Eigen::MatrixXd>(dst, d, d).noalias() = centred.transpose() * centred;
}
