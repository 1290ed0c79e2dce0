// Moves between dense and scattered arrays: PackI, PackM, PackV, UnpackI, UnpackM, UnpackV.
// SPDX-License-Identifier: Apache-2.0
//
// Plain scalar loops that read no mode, set no control word and report nothing. With selector 1, the only one that the
// entry points pass, n is its low 32 bits as a signed count, and masks and indices are 32-bit words. With any other, n
// has 64 bits, and masks and indices are 64-bit words, of which an index uses the low half. Increments use their low
// half in both.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/shapes.h"
#include "qlx/qvm.h"

namespace qlx::pack {

constexpr int32_t kNarrow = 1;

// Runs body(i, word) for each element; `word` has the type of mask and index words.
template <class Body>
void for_each(int64_t n, int32_t selector, Body body) {
  if (selector == kNarrow) {
    const auto count = static_cast<int32_t>(static_cast<uint32_t>(n));
    for (int32_t i = 0; i < count; ++i) body(static_cast<std::ptrdiff_t>(i), int32_t{});
  } else {
    for (int64_t i = 0; i < n; ++i) body(static_cast<std::ptrdiff_t>(i), int64_t{});
  }
}

// Element i of a mask or index array of words like `word`.
template <class Word>
Word word_at(const int32_t* words, std::ptrdiff_t i, Word) {
  return reinterpret_cast<const Word*>(words)[i];
}

inline std::ptrdiff_t low_half(int64_t word) {
  return static_cast<int32_t>(static_cast<uint32_t>(word));
}

template <class T>
void pack_i(int64_t n, const T* a, int64_t inca, T* y, int32_t selector) {
  const std::ptrdiff_t stride = low_half(inca);
  for_each(n, selector, [=](std::ptrdiff_t i, auto) { y[i] = a[i * stride]; });
}

template <class T>
void pack_m(int64_t n, const T* a, const int32_t* mask, T* y, int32_t selector) {
  for_each(n, selector, [=](std::ptrdiff_t i, auto word) mutable {
    if (word_at(mask, i, word) != 0) *y++ = a[i];
  });
}

template <class T>
void pack_v(int64_t n, const T* a, const int32_t* ix, T* y, int32_t selector) {
  for_each(n, selector, [=](std::ptrdiff_t i, auto word) { y[i] = a[low_half(word_at(ix, i, word))]; });
}

template <class T>
void unpack_i(int64_t n, const T* a, T* y, int64_t incy, int32_t selector) {
  const std::ptrdiff_t stride = low_half(incy);
  for_each(n, selector, [=](std::ptrdiff_t i, auto) { y[i * stride] = a[i]; });
}

template <class T>
void unpack_m(int64_t n, const T* a, T* y, const int32_t* mask, int32_t selector) {
  for_each(n, selector, [=](std::ptrdiff_t i, auto word) mutable {
    if (word_at(mask, i, word) != 0) y[i] = *a++;
  });
}

template <class T>
void unpack_v(int64_t n, const T* a, T* y, const int32_t* ix, int32_t selector) {
  for_each(n, selector, [=](std::ptrdiff_t i, auto word) { y[low_half(word_at(ix, i, word))] = a[i]; });
}

}  // namespace qlx::pack

// QLX_MOVE(Shape, t, Name, function): the kernel of type t, one for all accuracies.
#define QLX_MOVE(Shape, t, Name, function)                            \
  namespace qlx::kernels {                                            \
  void t##Name##_ALL(QLX_P_##Shape(QLX_TYPE_##t) QLX_MORE_P(Shape)) { \
    pack::function(QLX_A_##Shape, selector);                          \
  }                                                                   \
  }

#define QLX_MOVES(t)                      \
  QLX_MOVE(PACKI, t, PackI, pack_i)       \
  QLX_MOVE(PACKM, t, PackM, pack_m)       \
  QLX_MOVE(PACKV, t, PackV, pack_v)       \
  QLX_MOVE(UNPACKI, t, UnpackI, unpack_i) \
  QLX_MOVE(UNPACKM, t, UnpackM, unpack_m) \
  QLX_MOVE(UNPACKV, t, UnpackV, unpack_v)
