// Seeding and moves of the multiplicative congruential generators: one initStream for all of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rng/qst_stream.h"

namespace qlx::rng {

// With x the state and a its multiplier, to the generator's modulus, Moves is made of a stream and has
//   void seed(n, params)   the state of a new stream
//   void skip(count)       x := x a^count; a skip counts the steps of a leapfrogged stream, since a is the present one
//   void raise(exponent)   a := a^exponent
// Leapfrog takes element k of every n: a skip by k, then the multiplier's n-th power. k is unsigned; n widens by its
// sign.
template <class Moves>
int32_t init_congruential(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  Moves moves(stream);
  switch (method) {
    case QST_INIT_NEW:
      moves.seed(n, params);
      return QST_STATUS_OK;
    case QST_INIT_LEAPFROG:
      moves.skip(params[0]);
      moves.raise(static_cast<uint64_t>(int64_t{n}));
      return QST_STATUS_OK;
    case QST_INIT_SKIPAHEAD:
      moves.skip(count_at(params));
      return QST_STATUS_OK;
    case QST_INIT_SKIPAHEAD_EX:
      return QST_ERROR_SKIPAHEAD_EX_UNSUPPORTED;
    default:
      return QST_ERROR_UNKNOWN_METHOD;
  }
}

}  // namespace qlx::rng
