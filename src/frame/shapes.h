// The shapes of argument lists, each written once: parameters and arguments of the entry points and kernels of one
// shape, unit-stride and strided. X-macros of catalogue.def paste a row's shape to these names.
// SPDX-License-Identifier: Apache-2.0
//
// QLX_P_<shape>(T) parameters, QLX_A_<shape> arguments; with I the strided form. QLX_IF_STRIDED_<shape> keeps its
// arguments where a strided form exists (pack and unpack have none), QLX_UNIT_STRIDES_<shape> is true when all strides
// are 1, QLX_MORE_P_<shape> and QLX_MORE_A_<shape> are what the kernel takes beyond the entry point's arguments, and
// QLX_SLOTS_<sharing> fills a kernel table.
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

// What the kernel takes beyond the entry point's arguments, as parameters and as an argument: the selector of pack and
// unpack.
#define QLX_MORE_P_A_R
#define QLX_MORE_A_A_R
#define QLX_MORE_P_A_RR
#define QLX_MORE_A_A_RR
#define QLX_MORE_P_AB_R
#define QLX_MORE_A_AB_R
#define QLX_MORE_P_AX_R
#define QLX_MORE_A_AX_R
#define QLX_MORE_P_LINEARFRAC
#define QLX_MORE_A_LINEARFRAC
#define QLX_MORE_P_PACKI , int32_t selector
#define QLX_MORE_A_PACKI , 1
#define QLX_MORE_P_PACKM , int32_t selector
#define QLX_MORE_A_PACKM , 1
#define QLX_MORE_P_PACKV , int32_t selector
#define QLX_MORE_A_PACKV , 1
#define QLX_MORE_P_UNPACKI , int32_t selector
#define QLX_MORE_A_UNPACKI , 1
#define QLX_MORE_P_UNPACKM , int32_t selector
#define QLX_MORE_A_UNPACKM , 1
#define QLX_MORE_P_UNPACKV , int32_t selector
#define QLX_MORE_A_UNPACKV , 1

#define QLX_MORE_PI_A_R
#define QLX_MORE_AI_A_R
#define QLX_MORE_PI_A_RR
#define QLX_MORE_AI_A_RR
#define QLX_MORE_PI_AB_R
#define QLX_MORE_AI_AB_R
#define QLX_MORE_PI_AX_R
#define QLX_MORE_AI_AX_R
#define QLX_MORE_PI_LINEARFRAC
#define QLX_MORE_AI_LINEARFRAC

// Whether all strides are 1.
#define QLX_UNIT_STRIDES_A_R (inca == 1 && incr == 1)
#define QLX_UNIT_STRIDES_A_RR (inca == 1 && incr1 == 1 && incr2 == 1)
#define QLX_UNIT_STRIDES_AB_R (inca == 1 && incb == 1 && incr == 1)
#define QLX_UNIT_STRIDES_AX_R (inca == 1 && incr == 1)
#define QLX_UNIT_STRIDES_LINEARFRAC (inca == 1 && incb == 1 && incr == 1)

// Its arguments for the shapes with a strided form, nothing for the others.
#define QLX_IF_STRIDED_A_R(...) __VA_ARGS__
#define QLX_IF_STRIDED_A_RR(...) __VA_ARGS__
#define QLX_IF_STRIDED_AB_R(...) __VA_ARGS__
#define QLX_IF_STRIDED_AX_R(...) __VA_ARGS__
#define QLX_IF_STRIDED_LINEARFRAC(...) __VA_ARGS__
#define QLX_IF_STRIDED_PACKI(...)
#define QLX_IF_STRIDED_PACKM(...)
#define QLX_IF_STRIDED_PACKV(...)
#define QLX_IF_STRIDED_UNPACKI(...)
#define QLX_IF_STRIDED_UNPACKM(...)
#define QLX_IF_STRIDED_UNPACKV(...)

// Which kernels fill the slots LA, HA, EP; a shared kernel carries the name of its sharing.
#define QLX_SLOTS_THREE(K) \
  { K##_LA, K##_HA, K##_EP }
#define QLX_SLOTS_ALL(K) \
  { K##_ALL, K##_ALL, K##_ALL }
#define QLX_SLOTS_LAHA(K) \
  { K##_LAHA, K##_LAHA, K##_EP }
#define QLX_SLOTS_LAEP(K) \
  { K##_LAEP, K##_HA, K##_LAEP }
