// Arrays of numbers to stdout.
// SPDX-License-Identifier: Apache-2.0
#include "array_writer.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "error.h"
#include "number.h"

namespace qlx::cli {
namespace {

struct NumberType {
  int bytes;
  const char* npy;
};

constexpr NumberType kNumberTypes[] = {{4, "<f4"}, {8, "<f8"}, {4, "<i4"}, {4, "<u4"}, {8, "<u8"}};

const NumberType& type_of(Number number) {
  return kNumberTypes[static_cast<int>(number)];
}

template <typename T>
void append(std::string* out, T value) {
  if constexpr (std::is_floating_point_v<T>) {
    append_number(out, value);
  } else {
    char text[24];
    out->append(text, std::to_chars(text, text + sizeof text, value).ptr);
  }
}

}  // namespace

int number_bytes(Number number) {
  return type_of(number).bytes;
}

ArrayWriter::ArrayWriter(const std::string& format, Number number, int64_t rows, int width)
    : is_text_(format == "csv"), number_(number), width_(width) {
  if (format == "npy") {
    const std::string header = npy_header(rows);
    put(header.data(), header.size());
  }
}

// The magic, the version, the length of what follows, and a dictionary padded with blanks so that the numbers begin at
// a multiple of 64.
std::string ArrayWriter::npy_header(int64_t rows) const {
  std::string dictionary = "{'descr': '";
  dictionary.append(type_of(number_).npy).append("', 'fortran_order': False, 'shape': (");
  dictionary.append(std::to_string(rows)).append(",");
  if (width_ > 1) dictionary.append(" ").append(std::to_string(width_));
  dictionary.append("), }");
  constexpr size_t kPrefix = 10;
  dictionary.resize((kPrefix + dictionary.size() + 1 + 63) / 64 * 64 - kPrefix - 1, ' ');
  dictionary += '\n';
  std::string header("\x93NUMPY\x01\x00", 8);
  header += static_cast<char>(dictionary.size() & 0xFF);
  header += static_cast<char>(dictionary.size() >> 8);
  return header + dictionary;
}

template <typename T>
void ArrayWriter::append_lines(const T* numbers, int64_t count) {
  for (int64_t i = 0; i < count * width_; ++i) {
    append(&text_, numbers[i]);
    text_ += (i + 1) % width_ == 0 ? '\n' : ',';
  }
}

void ArrayWriter::write(const void* numbers, int64_t count) {
  if (!is_text_) return put(numbers, static_cast<size_t>(count * width_ * number_bytes(number_)));
  text_.clear();
  switch (number_) {
    case Number::kFloat:
      append_lines(static_cast<const float*>(numbers), count);
      break;
    case Number::kDouble:
      append_lines(static_cast<const double*>(numbers), count);
      break;
    case Number::kInt32:
      append_lines(static_cast<const int32_t*>(numbers), count);
      break;
    case Number::kUint32:
      append_lines(static_cast<const uint32_t*>(numbers), count);
      break;
    case Number::kUint64:
      append_lines(static_cast<const uint64_t*>(numbers), count);
      break;
  }
  put(text_.data(), text_.size());
}

void ArrayWriter::finish() {
  if (std::fflush(stdout) != 0) throw Error(std::string("cannot write to stdout: ") + std::strerror(errno));
}

void ArrayWriter::put(const void* bytes, size_t size) {
  if (std::fwrite(bytes, 1, size, stdout) != size)
    throw Error(std::string("cannot write to stdout: ") + std::strerror(errno));
}

}  // namespace qlx::cli
