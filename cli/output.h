// Output that is held back until it is whole: bad input found at the last line must leave stdout empty.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_OUTPUT_H
#define QLX_CLI_OUTPUT_H

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace qlx::cli {

// Text on its way to a stream. Up to kHeldBytes stay in memory; what goes beyond waits in a temporary file that has no
// name, so an output larger than memory is no matter.
class Output {
 public:
  Output& operator<<(std::string_view text) {
    held_ += text;
    if (held_.size() > kHeldBytes) spill();
    return *this;
  }

  // Writes everything to `stream` and flushes it. Throws Error when that fails.
  void send(std::FILE* stream);

 private:
  static constexpr size_t kHeldBytes = size_t{32} << 20;
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void spill();

  std::string held_;
  std::unique_ptr<std::FILE, CloseFile> spilled_;  // comes before held_
};

}  // namespace qlx::cli

#endif
