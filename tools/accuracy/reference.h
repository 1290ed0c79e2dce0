// Exact values of the functions that kernels approximate: MPFR, and a wider hardware type as a sieve before it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mpfr.h>

#include <string_view>
#include <vector>

namespace qlx::tools {

// How arguments are drawn, where a sweep over all exponents is not enough.
enum class Plan {
  kSweep,  // all exponents, and the intervals of `dense`
  kPower,  // pairs whose power covers the whole range of results, its ends, and bases near 1
  kHypot,  // pairs of near exponents
};

struct Interval {
  double low, high;
};

// Where a reduction changes its table row, its binade or its road: errors are largest just beside these places, which
// even draws hit at few points.
struct Ends {
  enum Kind {
    kMultiples,    // (k + 1/2) unit / N, k any integer: rows of an exponential
    kRows,         // j / 2N times a power of two, N <= j/2 <= 2N: edges and centres of a table over the significand
    kReciprocals,  // 1 / (c + 1/2) times a power of two, N <= c <= 2N: where a rounded reciprocal changes
    kBesideOne,    // 1 +- 2^-k: where a logarithm loses its leading bits
    kPoints,       // those of `points`, of both signs
  };
  Kind kind;
  std::vector<int> counts = {};  // the Ns, each as often as the others
  double unit = 1;
  std::vector<double> points = {};
};

// `exact` rounds once or twice at the precision of r, kExactBits, far below what the meter resolves. The sieves take
// the same arguments in the next wider type; null: every argument goes to MPFR.
struct Reference {
  std::string_view name;
  int arguments;
  Plan plan;
  void (*exact)(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b);
  double (*sieve_f32)(double a, double b);
  long double (*sieve_f64)(long double a, long double b);
  double slack;                 // largest error of a sieve, in units in its own last place
  std::vector<Interval> dense;  // where results are ordinary, for the wider type; sampled evenly
  std::vector<Ends> ends;       // of the first argument; of Hypot: of a a + b b
  double origin = 0;            // the function reduces its argument less this: -1 for Log1p
  // The kernels reduce by this power of two and repeat their bits: floats from 1 to it are all of them. 0: none.
  double period = 0;
};

constexpr int kExactBits = 320;

// Null when the function is not known.
const Reference* find_reference(std::string_view name);
const std::vector<Reference>& references();

// Catalogue functions that need no meter: their results are exact or correctly rounded by construction, and their tests
// compare bits.
bool is_exact_function(std::string_view name);

}  // namespace qlx::tools
