// The shapes of argument lists, each written once: parameters and arguments of the entry points and kernels of one
// shape, unit-stride and strided. X-macros of catalogue.def paste a row's shape to these names.
// SPDX-License-Identifier: Apache-2.0
//
// QLX_P_<shape>(T) parameters, QLX_A_<shape> arguments; with I the strided form. QLX_UNIT_STRIDES_<shape> is true when
// all strides are 1, QLX_KIND_<shape> tells elementwise functions from moves, and QLX_SLOTS_<sharing> fills a kernel
// table.
#pragma once

#define QLX_TYPE_s float
#define QLX_TYPE_d double
#define QLX_TYPE_c QvmComplexFloat
#define QLX_TYPE_z QvmComplexDouble

// r from a.
#define QLX_P_A_R(T) int32_t n, const T *a, T *r
#define QLX_A_A_R n, a, r
#define QLX_PI_A_R(T) int32_t n, const T *a, int32_t inca, T *r, int32_t incr
#define QLX_AI_A_R n, a, inca, r, incr

// r1 and r2 from a.
#define QLX_P_A_RR(T) int32_t n, const T *a, T *r1, T *r2
#define QLX_A_A_RR n, a, r1, r2
#define QLX_PI_A_RR(T) int32_t n, const T *a, int32_t inca, T *r1, int32_t incr1, T *r2, int32_t incr2
#define QLX_AI_A_RR n, a, inca, r1, incr1, r2, incr2

// r from a and b.
#define QLX_P_AB_R(T) int32_t n, const T *a, const T *b, T *r
#define QLX_A_AB_R n, a, b, r
#define QLX_PI_AB_R(T) int32_t n, const T *a, int32_t inca, const T *b, int32_t incb, T *r, int32_t incr
#define QLX_AI_AB_R n, a, inca, b, incb, r, incr

// r from a and one scalar b for all elements.
#define QLX_P_AX_R(T) int32_t n, const T *a, T b, T *r
#define QLX_A_AX_R n, a, b, r
#define QLX_PI_AX_R(T) int32_t n, const T *a, int32_t inca, T b, T *r, int32_t incr
#define QLX_AI_AX_R n, a, inca, b, r, incr

// r from a, b and four scalars.
#define QLX_P_LINEARFRAC(T) int32_t n, const T *a, const T *b, T scalea, T shifta, T scaleb, T shiftb, T *r
#define QLX_A_LINEARFRAC n, a, b, scalea, shifta, scaleb, shiftb, r
#define QLX_PI_LINEARFRAC(T)                                                                                   \
  int32_t n, const T *a, int32_t inca, const T *b, int32_t incb, T scalea, T shifta, T scaleb, T shiftb, T *r, \
      int32_t incr
#define QLX_AI_LINEARFRAC n, a, inca, b, incb, scalea, shifta, scaleb, shiftb, r, incr

// Moves between dense and scattered arrays: 64-bit counts and increments. Their kernels take one more argument, the
// selector of their loop, which the entry points add.
#define QLX_P_PACKI(T) int64_t n, const T *a, int64_t inca, T *y
#define QLX_A_PACKI n, a, inca, y
#define QLX_P_PACKM(T) int64_t n, const T *a, const int32_t *mask, T *y
#define QLX_A_PACKM n, a, mask, y
#define QLX_P_PACKV(T) int64_t n, const T *a, const int32_t *ix, T *y
#define QLX_A_PACKV n, a, ix, y
#define QLX_P_UNPACKI(T) int64_t n, const T *a, T *y, int64_t incy
#define QLX_A_UNPACKI n, a, y, incy
#define QLX_P_UNPACKM(T) int64_t n, const T *a, T *y, const int32_t *mask
#define QLX_A_UNPACKM n, a, y, mask
#define QLX_P_UNPACKV(T) int64_t n, const T *a, T *y, const int32_t *ix
#define QLX_A_UNPACKV n, a, y, ix

// Elementwise shapes have a strided form; the kernels of moves take a selector beyond the entry point's arguments.
#define QLX_KIND_A_R ELEMENTWISE
#define QLX_KIND_A_RR ELEMENTWISE
#define QLX_KIND_AB_R ELEMENTWISE
#define QLX_KIND_AX_R ELEMENTWISE
#define QLX_KIND_LINEARFRAC ELEMENTWISE
#define QLX_KIND_PACKI MOVE
#define QLX_KIND_PACKM MOVE
#define QLX_KIND_PACKV MOVE
#define QLX_KIND_UNPACKI MOVE
#define QLX_KIND_UNPACKM MOVE
#define QLX_KIND_UNPACKV MOVE

#define QLX_PASTE_NAMES(a, b) a##b
#define QLX_PASTE(a, b) QLX_PASTE_NAMES(a, b)

// What the kernel takes beyond the entry point's arguments, as parameters and as an argument.
#define QLX_MORE_P(Shape) QLX_PASTE(QLX_MORE_P_, QLX_KIND_##Shape)
#define QLX_MORE_P_ELEMENTWISE
#define QLX_MORE_P_MOVE , int32_t selector
#define QLX_MORE_A(Shape) QLX_PASTE(QLX_MORE_A_, QLX_KIND_##Shape)
#define QLX_MORE_A_ELEMENTWISE
#define QLX_MORE_A_MOVE , 1

// Its arguments for the shapes with a strided form, nothing for the others.
#define QLX_IF_STRIDED(Shape) QLX_PASTE(QLX_IF_STRIDED_, QLX_KIND_##Shape)
#define QLX_IF_STRIDED_ELEMENTWISE(...) __VA_ARGS__
#define QLX_IF_STRIDED_MOVE(...)

// Whether all strides are 1.
#define QLX_UNIT_STRIDES_A_R (inca == 1 && incr == 1)
#define QLX_UNIT_STRIDES_A_RR (inca == 1 && incr1 == 1 && incr2 == 1)
#define QLX_UNIT_STRIDES_AB_R (inca == 1 && incb == 1 && incr == 1)
#define QLX_UNIT_STRIDES_AX_R (inca == 1 && incr == 1)
#define QLX_UNIT_STRIDES_LINEARFRAC (inca == 1 && incb == 1 && incr == 1)

// Which kernels fill the slots LA, HA, EP; a shared kernel carries the name of its sharing.
#define QLX_SLOTS_THREE(K) \
  { K##_LA, K##_HA, K##_EP }
#define QLX_SLOTS_ALL(K) \
  { K##_ALL, K##_ALL, K##_ALL }
#define QLX_SLOTS_LAHA(K) \
  { K##_LAHA, K##_LAHA, K##_EP }
#define QLX_SLOTS_LAEP(K) \
  { K##_LAEP, K##_HA, K##_LAEP }
