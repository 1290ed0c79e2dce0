// Drawn arguments: all exponents, ordinary results, and the ends of reductions.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "accuracy/random.h"
#include "accuracy/reference.h"

namespace qlx::tools {

// Appends about `samples` arguments, or pairs, after the reference's plan. Some may be equal.
template <class Real>
void draw(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a, std::vector<Real>& b);

// One of the ends near x, a random one of those that the rules offer, and a distance from it: of the order of a row or
// of any lesser order down to the last place. The ends are those of x - origin.
double beside_an_end(const std::vector<Ends>& ends, double x, Random& random, double origin = 0);

// The argument at the same place of a reduction, some periods further: the unit of an exponential, a factor of 2 of the
// others.
double in_another_period(const Reference& reference, double x, Random& random);

}  // namespace qlx::tools
