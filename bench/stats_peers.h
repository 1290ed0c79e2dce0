// Peers of the statistics benchmark, compiled for themselves.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_BENCH_STATS_PEERS_H
#define QLX_BENCH_STATS_PEERS_H

namespace qlx::bench {

// Four moments of each variable, into out[4 * p]. Rows: x[i * n + j]; columns: x[j * p + i].
void raw_sums_rows(const double* x, int n, int p, double* out);  // one pass over sums of powers
void raw_sums_columns(const double* x, int n, int p, double* out);
void two_pass_rows(const double* x, int n, int p, double* out);  // mean first, then deviations
void eigen_moments_columns(const double* x, int n, int p, double* out);
void gsl_moments(const double* x, int n, int p, int variable_step, int observation_step, double* out);

// Covariance of columns storage into cov[p * p].
void eigen_covariance(const double* x, int n, int p, double* cov);

void min_max(const double* x, int n, double* out);

}  // namespace qlx::bench

#endif
