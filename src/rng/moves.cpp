// Moves of a stream: the three entries, which only find the generator and hand the count on.
// SPDX-License-Identifier: Apache-2.0
#include "rng/qst_stream.h"

namespace {

int32_t move(QstStream* stream, int32_t method, int32_t n, const void* params) {
  return qlx::rng::generator_of(stream).properties->initStream(method, stream, n, static_cast<const uint32_t*>(params));
}

}  // namespace

int32_t __qstLeapfrogStream(QstStream* stream, int32_t k, int32_t nstreams) {
  if (nstreams < 0) return QST_ERROR_LEAPFROG_NSTREAMS;
  return move(stream, QST_INIT_LEAPFROG, nstreams, &k);
}

int32_t __qstSkipAheadStream(QstStream* stream, int64_t nskip) {
  return move(stream, QST_INIT_SKIPAHEAD, 2, &nskip);
}

int32_t __qstSkipAheadStreamEx(QstStream* stream, int32_t n, const uint64_t* nskip) {
  return move(stream, QST_INIT_SKIPAHEAD_EX, n, nskip);
}
