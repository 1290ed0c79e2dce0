// The AVX functions of glibc's libmvec, by the names that the x86-64 vector ABI gives them; each below 4 ULP, as its
// makers state.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath_peers_avx.h"

extern "C" {
#define QLX_MVEC_1(Name, function)         \
  __m256 _ZGVcN8v_##function##f(__m256 a); \
  __m256d _ZGVcN4v_##function(__m256d a);
#define QLX_MVEC_2(Name, function)                    \
  __m256 _ZGVcN8vv_##function##f(__m256 a, __m256 b); \
  __m256d _ZGVcN4vv_##function(__m256d a, __m256d b);
#include "vecmath_peers_mvec.def"
#undef QLX_MVEC_1
#undef QLX_MVEC_2
}

namespace qlx::bench {

void add_mvec_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
#define QLX_MVEC_1(Name, function)                                                  \
  s.push_back({#Name, "mvec", 4.0, over_registers<_ZGVcN8v_##function##f, float>}); \
  d.push_back({#Name, "mvec", 4.0, over_registers<_ZGVcN4v_##function, double>});
#define QLX_MVEC_2(Name, function)                                                   \
  s.push_back({#Name, "mvec", 4.0, over_registers<_ZGVcN8vv_##function##f, float>}); \
  d.push_back({#Name, "mvec", 4.0, over_registers<_ZGVcN4vv_##function, double>});
#include "vecmath_peers_mvec.def"
}

}  // namespace qlx::bench
