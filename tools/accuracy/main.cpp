// qlx_accuracy: the accuracy meter alone.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <exception>

#include "accuracy/command.h"

int main(int argc, char** argv) {
  CLI::App app{"Measure the error of kernels against exact values"};
  const std::function<int()> run = qlx::tools::attach_accuracy(app);
  CLI11_PARSE(app, argc, argv);
  try {
    return run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qlx_accuracy: %s\n", error.what());
    return 2;
  }
}
