// Arrays of numbers to stdout as they are made: one number a line, raw bytes, or NumPy's format.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_ARRAY_WRITER_H
#define QLX_CLI_ARRAY_WRITER_H

#include <cstdint>
#include <string>

namespace qlx::cli {

// Type of a number, by its NumPy letter and bytes.
enum class Number { kFloat, kDouble, kInt32, kUint32, kUint64 };

class ArrayWriter {
 public:
  // `format` is csv, raw or npy. An array of `rows` rows; `width` numbers each, comma-separated in CSV. Raw bytes are
  // in the machine's order, which is little-endian; npy is format version 1.0 (NumPy enhancement proposal 1).
  ArrayWriter(const std::string& format, Number number, int64_t rows, int width);

  // Writes `count` rows. Throws Error when stdout takes no more.
  void write(const void* numbers, int64_t count);
  void finish();

 private:
  std::string npy_header(int64_t rows) const;
  template <typename T>
  void append_lines(const T* numbers, int64_t count);
  void put(const void* bytes, size_t size);

  bool is_text_;
  Number number_;
  int width_;
  std::string text_;
};

// Bytes of one number.
int number_bytes(Number number);

}  // namespace qlx::cli

#endif
