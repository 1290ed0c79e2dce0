// qlx_digests: prints tests/vecmath/digests.csv, or writes it.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstring>
#include <fstream>

#include "accuracy/digest.h"

int main(int argc, char** argv) {
  const char* const path = QLX_SOURCE_DIR "/tests/vecmath/digests.csv";
  const bool write = argc == 2 && std::strcmp(argv[1], "--write") == 0;
  if (argc > 1 && !write) {
    std::fprintf(stderr, "qlx_digests [--write]: prints the digests of all kernels, or puts them into %s\n", path);
    return 2;
  }
  const std::string text = qlx::tools::print_digests(qlx::tools::read_digests(path));
  if (write) {
    std::ofstream(path) << text;
  } else {
    std::fputs(text.c_str(), stdout);
  }
}
