// The macros that make a catalogue row's table, costs and entry points.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/shapes.h"

// The low-accuracy and enhanced-performance suffixes of a type letter: how many of the significand's bits they keep.
#define QLX_LA_s _21
#define QLX_LA_d _50
#define QLX_LA_c _21
#define QLX_LA_z _50
#define QLX_EP_s _11
#define QLX_EP_d _26
#define QLX_EP_c _11
#define QLX_EP_z _26

#define QLX_JOIN_(a, b, c) a##b##c
#define QLX_JOIN(a, b, c) QLX_JOIN_(a, b, c)
#define QLX_STRING_(x) #x
#define QLX_STRING(x) QLX_STRING_(x)

// A table, its costs, and its three entry points under four names. An entry point does nothing but call what the
// table's slot holds, which compiles to a jump; the plain name and _HA are one function. Form is empty for unit stride,
// I for the strided form.
#define QLX_ENTRY(name, slot, t, F, Form, Shape)                              \
  void name(QLX_P##Form##_##Shape(QLX_TYPE_##t)) {                            \
    qlx_qvm_kernel_##F##_ttab[slot](QLX_A##Form##_##Shape QLX_MORE_A(Shape)); \
  }
#define QLX_RECORD(t, F, Form, Shape, Sharing, la, ha, ep)                                            \
  void (*const qlx_qvm_kernel_##F##_ttab[3])(QLX_P##Form##_##Shape(QLX_TYPE_##t) QLX_MORE_P(Shape)) = \
      QLX_SLOTS_##Sharing(qlx::kernels::F);                                                           \
  const float qlx_qvm_kernel_##F##_ctab[3] = {la, ha, ep};                                            \
  QLX_ENTRY(QLX_JOIN(_qvm, F, QLX_LA_##t), 0, t, F, Form, Shape)                                      \
  QLX_ENTRY(_qvm##F, 1, t, F, Form, Shape)                                                            \
  QLX_ENTRY(QLX_JOIN(_qvm, F, QLX_EP_##t), 2, t, F, Form, Shape)                                      \
  __attribute__((alias(QLX_STRING(_qvm##F)))) void _qvm##F##_HA(QLX_P##Form##_##Shape(QLX_TYPE_##t));
