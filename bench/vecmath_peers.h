// What the kernels are measured against, in the same process.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qlx::bench {

template <class Real>
struct Peer {
  const char* function;  // the catalogue's name
  const char* name;      // "plain", "glibc", ...
  double ulp;            // largest error that its makers state; 0.5 is correctly rounded
  void (*run)(int32_t n, const Real* a, const Real* b, Real* r, Real* s);
};

// Each file of peers adds its rows for both types.
void add_plain_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d);
void add_glibc_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d);
void add_sleef_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d);
void add_mvec_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d);
void add_eigen_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d);

}  // namespace qlx::bench
