// First derivatives at the ends of a cubic spline, from the derivative at the neighbouring point.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/spline_input.h"

namespace qlx::fitting {

// d[end] = constant - factor * d[neighbour].
template <class Real>
struct EndRelation {
  Real constant, factor;
  Real operator()(Real neighbour) const { return constant - factor * neighbour; }
};

enum class EndCondition { kNotAKnot, kFirst, kSecond, kAkima };

inline EndCondition end_condition(int boundary_class, bool left) {
  switch (boundary_class) {
    case kNotAKnot:
      return EndCondition::kNotAKnot;
    case kFirstFirst:
      return EndCondition::kFirst;
    case kFirstSecond:
      return left ? EndCondition::kFirst : EndCondition::kSecond;
    case kSecondFirst:
      return left ? EndCondition::kSecond : EndCondition::kFirst;
    case kAkimaEnding:
      return EndCondition::kAkima;
    default:
      return EndCondition::kSecond;  // kFreeEnd and kSecondSecond
  }
}

// The relation of one end: h0, s0 belong to the end cell, h1, s1 to the one beside it. Mirrored, all slopes and first
// derivatives change their sign and second derivatives keep theirs; only the condition on the latter tells the ends
// apart.
//   not-a-knot  one cubic over the first two cells: the third derivative continuous at the neighbouring point. With
//               L = h0 + h1:  h1 d0 + L d1 = (h0^2 s1 + (h0 + 2 L) h1 s0) / L  (de Boor 1978, chapter IV). As ratios,
//               which can't underflow, and which give 2.5 s0 + 0.5 s1 - 2 d1 exactly in a uniform partition.
//   second      p''(x0) = (6 s0 - 4 d0 - 2 d1) / h0 = b
//   Akima       d0 = (3 s0 - s1) / 2, his parabola through the end (Akima 1970)
template <class Real>
EndRelation<Real> end_relation(const SplineInput<Real>& in, bool left, Real s0, Real s1, Real h0, Real h1) {
  const Real value = in.boundary_class == kFreeEnd || in.boundary == nullptr ? Real{0} : in.boundary[left ? 0 : 1];
  switch (end_condition(in.boundary_class, left)) {
    case EndCondition::kNotAKnot: {
      const Real length = h0 + h1;
      return {(h0 / length) * (h0 / h1) * s1 + (h0 + 2 * length) / length * s0, length / h1};
    }
    case EndCondition::kFirst:
      return {value, 0};
    case EndCondition::kAkima:
      return {(3 * s0 - s1) / 2, 0};
    default: {
      const Real bend = value * h0 / 4;
      return {Real{1.5} * s0 + (left ? -bend : bend), Real{0.5}};
    }
  }
}

}  // namespace qlx::fitting
