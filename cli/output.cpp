// Output held in memory, then in a temporary file.
// SPDX-License-Identifier: Apache-2.0
#include "output.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include "error.h"

namespace qlx::cli {
namespace {

void check_written(bool written, const char* where) {
  if (!written) throw Error(std::string("cannot write to ") + where + ": " + std::strerror(errno));
}

void write_all(std::string_view text, std::FILE* stream, const char* where) {
  check_written(std::fwrite(text.data(), 1, text.size(), stream) == text.size(), where);
}

}  // namespace

void Output::spill() {
  if (!spilled_) spilled_.reset(std::tmpfile());
  if (!spilled_) throw Error(std::string("cannot make a temporary file: ") + std::strerror(errno));
  write_all(held_, spilled_.get(), "a temporary file");
  held_.clear();
}

void Output::send(std::FILE* stream) {
  const char* const where = stream == stdout ? "stdout" : "stderr";
  if (spilled_) {
    std::rewind(spilled_.get());
    std::vector<char> buffer(size_t{1} << 20);
    while (const size_t count = std::fread(buffer.data(), 1, buffer.size(), spilled_.get()))
      write_all({buffer.data(), count}, stream, where);
    if (std::ferror(spilled_.get())) throw Error("cannot read a temporary file back");
    spilled_.reset();
  }
  write_all(held_, stream, where);
  held_.clear();
  check_written(std::fflush(stream) == 0, where);
}

}  // namespace qlx::cli
