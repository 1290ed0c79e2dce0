// Prints include/qlx/qvm_functions.h from the catalogue.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <string>

#include "frame/shapes.h"

namespace {

// One table, its costs and its entry points. `la` and `ep` are the suffixes of the type letter.
void print_record(const std::string& name, char type, const std::string& params, const std::string& kernel_params) {
  const bool single = type == 's' || type == 'c';
  const char* f = name.c_str();
  std::printf("QLX_API extern void (*const qlx_qvm_kernel_%s_ttab[3])(%s);\n", f, kernel_params.c_str());
  std::printf("QLX_API extern const float qlx_qvm_kernel_%s_ctab[3];\n", f);
  for (const char* suffix : {single ? "_21" : "_50", "", "_HA", single ? "_11" : "_26"})
    std::printf("QLX_API void _qvm%s%s(%s);\n", f, suffix, params.c_str());
}

}  // namespace

#define TEXT_(...) #__VA_ARGS__
#define TEXT(...) TEXT_(__VA_ARGS__)

int main() {
  std::printf(
      "/* Made by tools/catalogue/print_header from src/frame/catalogue.def; don't edit.\n"
      "   Kernel tables, cost tables and entry points of every function; qlx/qvm.h tells how to read the names.\n"
      "   SPDX-License-Identifier: Apache-2.0 */\n"
      "#ifndef QLX_QVM_FUNCTIONS_H\n#define QLX_QVM_FUNCTIONS_H\n\n"
      "#include \"qlx/qvm.h\"\n\nQLX_BEGIN_C\n");
#define QLX_FUNCTION(Name, equation) std::printf("\n/* %s: %s. */\n", #Name, equation);
#define QLX_FN(t, Name, Shape, Sharing, la, ha, ep)                                                                    \
  print_record(#t #Name, *#t, TEXT(QLX_P_##Shape(QLX_TYPE_##t)), TEXT(QLX_P_##Shape(QLX_TYPE_##t) QLX_MORE_P(Shape))); \
  QLX_IF_STRIDED(Shape)                                                                                                \
  (print_record(#t #Name "I", *#t, TEXT(QLX_PI_##Shape(QLX_TYPE_##t)), TEXT(QLX_PI_##Shape(QLX_TYPE_##t))));
#include "frame/catalogue.def"
  std::printf("\nQLX_END_C\n\n#endif\n");
}
