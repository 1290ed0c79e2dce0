// Messages: the catalogue of what the kernel library prints, and its printer.
// SPDX-License-Identifier: Apache-2.0
#include <charconv>
#include <cstdarg>
#include <cstdio>

#include "qlx/core.h"

namespace {

// The arguments that a message takes, in order.
enum class Takes { kNothing, kName, kNameIndex, kIndexValue };

struct Message {
  int id;
  Takes takes;
  const char* text;
};

// A status line names the function; the lines of values below it are indented and name the element.
constexpr Message kCatalogue[] = {
    {748, Takes::kNameIndex, "%s: the array length is bad, at element %d\n"},
    {749, Takes::kName, "%s: an array pointer is bad\n"},
    {750, Takes::kName, "%s: an argument is outside the function's domain\n"},
    {751, Takes::kName, "%s: a finite argument gives an infinite result\n"},
    {752, Takes::kName, "%s: a result is too large for its type\n"},
    {753, Takes::kName, "%s: a result is too small for its type\n"},
    {754, Takes::kName, "%s: an error of unknown kind\n"},
    // one argument, one result
    {755, Takes::kIndexValue, "  argument [%d] = %s\n"},
    {756, Takes::kIndexValue, "  result [%d] = %s\n"},
    // one argument, two results
    {757, Takes::kIndexValue, "  argument [%d] = %s\n"},
    {758, Takes::kIndexValue, "  first result [%d] = %s\n"},
    {759, Takes::kIndexValue, "  second result [%d] = %s\n"},
    // two arguments, one result
    {760, Takes::kIndexValue, "  first argument [%d] = %s\n"},
    {761, Takes::kIndexValue, "  second argument [%d] = %s\n"},
    {762, Takes::kIndexValue, "  result [%d] = %s\n"},
    // two arguments, two results
    {763, Takes::kIndexValue, "  first argument [%d] = %s\n"},
    {764, Takes::kIndexValue, "  second argument [%d] = %s\n"},
    {765, Takes::kIndexValue, "  first result [%d] = %s\n"},
    {766, Takes::kIndexValue, "  second result [%d] = %s\n"},
    {773, Takes::kNothing, "qlx: no memory for the state of this thread\n"},
};

constexpr int argument_count(Takes takes) {
  switch (takes) {
    case Takes::kNothing:
      return 0;
    case Takes::kName:
      return 1;
    default:
      return 2;
  }
}

// The row of `id` if the caller passed what it takes, else null.
const Message* find(int id, int count) {
  for (const Message& message : kCatalogue) {
    if (message.id == id) return count >= argument_count(message.takes) ? &message : nullptr;
  }
  return nullptr;
}

int print(std::FILE* stream, const Message& message, va_list arguments) {
  switch (message.takes) {
    case Takes::kNothing:
      return std::fprintf(stream, "%s", message.text);
    case Takes::kName:
      return std::fprintf(stream, message.text, va_arg(arguments, const char*));
    case Takes::kNameIndex: {
      const char* name = va_arg(arguments, const char*);
      return std::fprintf(stream, message.text, name, va_arg(arguments, int));
    }
    default: {
      const int index = va_arg(arguments, int);
      // The shortest text that reads back as this value, whatever the locale: at most 24 characters.
      char value[32];
      *std::to_chars(value, value + sizeof value - 1, va_arg(arguments, double)).ptr = '\0';
      return std::fprintf(stream, message.text, index, value);
    }
  }
}

}  // namespace

int qlx_serv_print(int to_stderr, int id, int count, ...) {
  std::FILE* stream = to_stderr ? stderr : stdout;
  const Message* message = find(id, count);
  if (message == nullptr) return std::fprintf(stream, "qlx: message %d\n", id);
  va_list arguments;
  va_start(arguments, count);
  const int written = print(stream, *message, arguments);
  va_end(arguments);
  return written;
}
