// The accuracy meter: largest and mean error of kernels against exact values.
// SPDX-License-Identifier: Apache-2.0
//
// Error in ULP: the distance from the result r to the exact real y, in units of the last place of the binade
// 2^e <= |y| < 2^(e+1) that holds y, so that a correctly rounded result is at most 0.5 away. No half is taken off.
// - At a binade's upper end the unit is still that of y's binade, also when r lies in the next one.
// - Where |y| is below the least normal number, the unit is the least denormal. y = 0 counts in it as well.
// - Overflow: an infinite r is exact when |y| rounds to it, that is |y| >= (1 - 2^-(p+1)) 2^(emax+1). For smaller |y|
// it
//   counts as 2^(emax+1). A finite r counts as it stands, in units of the highest binade, however large y is.
// - A NaN where the exact function has a value, or the reverse, and an infinity for a finite y or of the wrong sign, is
//   an infinite error, counted as a wrong kind.
//
// Relative error (EP): |r - y| / max(|y|, least normal number), told in bits as -log2.
#pragma once

#include <cstdint>
#include <string>

#include "accuracy/arguments.h"
#include "accuracy/kernel_list.h"
#include "accuracy/reference.h"

namespace qlx::tools {

struct Worst {
  double error = 0;
  double a = 0, b = 0;
  double result = 0;
};

struct Measurement {
  uint64_t count = 0;         // distinct arguments
  Worst ulp;                  // largest error in ULP
  Worst relative;             // largest relative error
  uint64_t ordinary = 0;      // arguments with a finite result that is not 0: what mean and share are taken over
  uint64_t correct = 0;       // of them, correctly rounded
  double sum = 0;             // of their errors in ULP
  uint64_t wrong_kind = 0;    // NaN or infinity, or not, against the exact value
  uint64_t sieve_misses = 0;  // sieve values further from the exact one than the reference's slack: must be 0

  double mean() const { return sum / static_cast<double>(ordinary); }
  double share_correct() const { return static_cast<double>(correct) / static_cast<double>(ordinary); }
  double relative_bits() const;  // infinite when every result is exact
};

struct MeterOptions {
  SampleOptions sample;
  int threads = 2;
  int seeds = 1;           // samples of so many seeds, from sample.seed on
  int refine = 0;          // rounds of search around the worst doubles or pairs, at most
  bool sieveless = false;  // every result to MPFR, to prove that the sieve changes nothing
};

// Measures the slots of `row` that are set in `slots`, over the same arguments, each kernel once: results[slot] of a
// slot that shares its kernel repeats the first one's. The thread's mode is QVM_ERRMODE_IGNORE meanwhile.
void measure(const KernelRow& row, const Reference& reference, const bool (&slots)[3], const MeterOptions& options,
             Measurement (&results)[3]);

// Takes m's arguments into a measurement of others.
void merge(Measurement& into, const Measurement& m);
void merge(Measurement (&into)[3], const Measurement (&results)[3]);

// One result against the exact value, by MPFR.
struct ExactError {
  double ulp;
  double relative;
};
template <class Real>
ExactError exact_error(const Reference& reference, Real a, Real b, Real result);

// "0x1.8p+1" or, for two arguments, "0x1.8p+1 0x1p-2".
std::string hex_arguments(const Reference& reference, double a, double b);

}  // namespace qlx::tools
