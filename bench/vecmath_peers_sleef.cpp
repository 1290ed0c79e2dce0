// SLEEF's AVX entry points; the suffix of a name is ten times the error in ULP.
// SPDX-License-Identifier: Apache-2.0
#include <sleef.h>

#include "vecmath_peers_avx.h"

namespace qlx::bench {

// One line a function: its names for float and for double, and the error that both state.
#define QLX_SLEEF(Name, function, suffix, ulp)                                                           \
  s.push_back({Name, "sleef-" #suffix, ulp, over_registers<Sleef_##function##f8_##suffix##avx, float>}); \
  d.push_back({Name, "sleef-" #suffix, ulp, over_registers<Sleef_##function##d4_##suffix##avx, double>});

void add_sleef_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
  QLX_SLEEF("Exp", exp, u10, 1.0)
  QLX_SLEEF("Exp2", exp2, u10, 1.0)
  QLX_SLEEF("Exp2", exp2, u35, 3.5)
  QLX_SLEEF("Exp10", exp10, u10, 1.0)
  QLX_SLEEF("Exp10", exp10, u35, 3.5)
  QLX_SLEEF("Expm1", expm1, u10, 1.0)
  QLX_SLEEF("Ln", log, u10, 1.0)
  QLX_SLEEF("Ln", log, u35, 3.5)
  QLX_SLEEF("Log2", log2, u10, 1.0)
  QLX_SLEEF("Log2", log2, u35, 3.5)
  QLX_SLEEF("Log10", log10, u10, 1.0)
  QLX_SLEEF("Log1p", log1p, u10, 1.0)
  QLX_SLEEF("Sqrt", sqrt, u05, 0.5)
  QLX_SLEEF("Sqrt", sqrt, u35, 3.5)
  QLX_SLEEF("Cbrt", cbrt, u10, 1.0)
  QLX_SLEEF("Cbrt", cbrt, u35, 3.5)
  QLX_SLEEF("Hypot", hypot, u05, 0.5)
  QLX_SLEEF("Hypot", hypot, u35, 3.5)
  QLX_SLEEF("Pow", pow, u10, 1.0)
  QLX_SLEEF("Powr", pow, u10, 1.0)
}

}  // namespace qlx::bench
