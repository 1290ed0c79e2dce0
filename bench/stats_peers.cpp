// Plain loops that the compiler may vectorise and reorder as it likes, Eigen, and GSL.
// SPDX-License-Identifier: Apache-2.0
#include "stats_peers.h"

#include <gsl/gsl_statistics_double.h>

#include <Eigen/Dense>

namespace qlx::bench {
namespace {

void finish(double n, double s1, double s2, double s3, double s4, double* out) {
  const double m = s1 / n, r2 = s2 / n, r3 = s3 / n, r4 = s4 / n, c2 = r2 - m * m;
  out[0] = m;
  out[1] = c2 * n / (n - 1);
  out[2] = (2 * m * m - 3 * r2) * m + r3;
  out[3] = ((6 * r2 - 3 * m * m) * m - 4 * r3) * m + r4;
}

}  // namespace

void raw_sums_rows(const double* x, int n, int p, double* out) {
  for (int i = 0; i < p; ++i) {
    double s1 = 0, s2 = 0, s3 = 0, s4 = 0;
    for (int j = 0; j < n; ++j) {
      const double v = x[static_cast<long>(i) * n + j], v2 = v * v;
      s1 += v;
      s2 += v2;
      s3 += v2 * v;
      s4 += v2 * v2;
    }
    finish(n, s1, s2, s3, s4, out + 4 * i);
  }
}

void raw_sums_columns(const double* x, int n, int p, double* out) {
  double s1[64] = {}, s2[64] = {}, s3[64] = {}, s4[64] = {};
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < p; ++i) {
      const double v = x[static_cast<long>(j) * p + i], v2 = v * v;
      s1[i] += v;
      s2[i] += v2;
      s3[i] += v2 * v;
      s4[i] += v2 * v2;
    }
  for (int i = 0; i < p; ++i) finish(n, s1[i], s2[i], s3[i], s4[i], out + 4 * i);
}

void two_pass_rows(const double* x, int n, int p, double* out) {
  for (int i = 0; i < p; ++i) {
    const double* const row = x + static_cast<long>(i) * n;
    double sum = 0;
    for (int j = 0; j < n; ++j) sum += row[j];
    const double m = sum / n;
    double c2 = 0, c3 = 0, c4 = 0;
    for (int j = 0; j < n; ++j) {
      const double d = row[j] - m, d2 = d * d;
      c2 += d2;
      c3 += d2 * d;
      c4 += d2 * d2;
    }
    out[4 * i] = m;
    out[4 * i + 1] = c2 / (n - 1);
    out[4 * i + 2] = c3 / n;
    out[4 * i + 3] = c4 / n;
  }
}

void eigen_moments_columns(const double* x, int n, int p, double* out) {
  const Eigen::Map<const Eigen::ArrayXXd> data(x, p, n);
  const Eigen::ArrayXd mean = data.rowwise().mean();
  const Eigen::ArrayXXd d = data.colwise() - mean;
  Eigen::Map<Eigen::ArrayXXd> result(out, p, 4);
  result.col(0) = mean;
  result.col(1) = d.square().rowwise().sum() / (n - 1);
  result.col(2) = d.cube().rowwise().mean();
  result.col(3) = d.square().square().rowwise().mean();
}

void gsl_moments(const double* x, int n, int p, int variable_step, int observation_step, double* out) {
  for (int i = 0; i < p; ++i) {
    const double* const v = x + static_cast<long>(i) * variable_step;
    const double mean = gsl_stats_mean(v, observation_step, n), sd = gsl_stats_sd_m(v, observation_step, n, mean);
    out[4 * i] = mean;
    out[4 * i + 1] = sd * sd;
    out[4 * i + 2] = gsl_stats_skew_m_sd(v, observation_step, n, mean, sd);
    out[4 * i + 3] = gsl_stats_kurtosis_m_sd(v, observation_step, n, mean, sd);
  }
}

void eigen_covariance(const double* x, int n, int p, double* cov) {
  const Eigen::Map<const Eigen::MatrixXd> data(x, p, n);
  const Eigen::VectorXd mean = data.rowwise().mean();
  const Eigen::MatrixXd d = data.colwise() - mean;
  Eigen::Map<Eigen::MatrixXd>(cov, p, p) = d * d.transpose() / (n - 1);
}

void min_max(const double* x, int n, double* out) {
  double low = x[0], high = x[0];
  for (int j = 0; j < n; ++j) {
    low = x[j] < low ? x[j] : low;
    high = x[j] > high ? x[j] : high;
  }
  out[0] = low;
  out[1] = high;
}

}  // namespace qlx::bench
