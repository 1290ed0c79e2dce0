// qlx accuracy: the error of kernels, measured against exact values.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/command.h"
#include "subcommand.h"

namespace qlx::cli {

Run attach_accuracy(CLI::App& command) {
  return tools::attach_accuracy(command);
}

}  // namespace qlx::cli
