// The meter as a command: `qlx accuracy`, and the program qlx_accuracy, which is there without the rest of qlx.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace qlx::tools {

// Adds the options to `app` and returns what runs the command once they are parsed; `app` must outlive it. It returns
// the exit status, or throws std::runtime_error for bad use before anything is printed.
std::function<int()> attach_accuracy(CLI::App& app);

}  // namespace qlx::tools
