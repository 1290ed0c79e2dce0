// The kernels of every row of the catalogue, as their family files define them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/shapes.h"
#include "qlx/qvm.h"

namespace qlx::kernels {

#define QLX_DECLARE_THREE(K, ...) \
  void K##_LA(__VA_ARGS__);       \
  void K##_HA(__VA_ARGS__);       \
  void K##_EP(__VA_ARGS__);
#define QLX_DECLARE_ALL(K, ...) void K##_ALL(__VA_ARGS__);
#define QLX_DECLARE_LAHA(K, ...) \
  void K##_LAHA(__VA_ARGS__);    \
  void K##_EP(__VA_ARGS__);
#define QLX_DECLARE_LAEP(K, ...) \
  void K##_LAEP(__VA_ARGS__);    \
  void K##_HA(__VA_ARGS__);

#define QLX_FUNCTION(Name, equation)
#define QLX_FN(t, Name, Shape, Sharing, la, ha, ep)                             \
  QLX_DECLARE_##Sharing(t##Name, QLX_P_##Shape(QLX_TYPE_##t) QLX_MORE_P(Shape)) \
      QLX_IF_STRIDED(Shape)(QLX_DECLARE_##Sharing(t##Name##I, QLX_PI_##Shape(QLX_TYPE_##t)))
#include "frame/catalogue.def"

#undef QLX_FUNCTION
#undef QLX_FN
#undef QLX_DECLARE_THREE
#undef QLX_DECLARE_ALL
#undef QLX_DECLARE_LAHA
#undef QLX_DECLARE_LAEP

}  // namespace qlx::kernels
