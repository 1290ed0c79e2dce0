// A generator whose sequence can be read off: it counts up from its seed, and can be told to fail.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "qlx/qst.h"

namespace toy {

struct State {
  uint64_t next;
  int32_t calls_left;  // draws until the generator fails; negative: never
  int32_t unused;
};
constexpr int32_t kRefused = -3, kFailed = -1131;

inline State& state(QstStream* stream) {
  return *static_cast<State*>(qst_stream_state(stream));
}

// Seeds: the first number, the draws until failure. Three seeds are refused.
inline int32_t init_stream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  if (method != QST_INIT_NEW) return QST_ERROR_UNKNOWN_METHOD;
  state(stream) = {n > 0 ? params[0] : 1, n > 1 ? static_cast<int32_t>(params[1]) : -1, 0};
  return n == 3 ? kRefused : QST_STATUS_OK;
}

// The k-th number is k mod 16 sixteenths of the range, so that every value is exact.
template <class Real>
int32_t draw(QstStream* stream, int32_t n, Real* r, Real a, Real b) {
  State& s = state(stream);
  if (s.calls_left-- == 0) return kFailed;
  for (int32_t i = 0; i < n; ++i) r[i] = a + (b - a) * static_cast<Real>(s.next++ % 16) / 16;
  return QST_STATUS_OK;
}

inline int32_t draw_words(QstStream* stream, int32_t n, uint32_t* r) {
  for (int32_t i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(state(stream).next++);
  return QST_STATUS_OK;
}

constexpr QstBrngProperties kProperties{16 + sizeof(State), 2,         1, 8, 32, init_stream, draw<float>,
                                        draw<double>,       draw_words};

// The identifier of the one registration of this program.
inline int32_t brng() {
  static const int32_t id = __qstRegisterBrng(&kProperties);
  return id;
}

inline QstStream* new_stream(uint32_t seed = 1) {
  QstStream* stream = nullptr;
  __qstNewStreamEx(&stream, brng(), 1, &seed);
  return stream;
}

}  // namespace toy
