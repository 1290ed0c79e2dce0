// The one exception of the command: a line for stderr, after which qlx ends with status 2.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_ERROR_H
#define QLX_CLI_ERROR_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qlx::cli {

class Error : public std::runtime_error {
 public:
  // Bad use: arguments that make no sense together, an unknown name.
  explicit Error(const std::string& message) : std::runtime_error(message) {}
  // Bad input at a line of a file; lines count from 1.
  Error(const std::string& file, int64_t line, const std::string& message)
      : std::runtime_error(file + ':' + std::to_string(line) + ": " + message) {}
};

}  // namespace qlx::cli

#endif
