// The distributions that `qlx rng` draws from: one row each.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_DISTRIBUTIONS_H
#define QLX_CLI_DISTRIBUTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "array_writer.h"
#include "qlx/qst.h"

namespace qlx::cli {

struct Parameter {
  const char* name;           // of the option, without its dashes
  const char* default_value;  // empty: the user has to say
};

// One request of at most INT32_MAX numbers.
struct Draw {
  QstStream* stream;
  int32_t method;
  int32_t n;
  void* r;
  const std::vector<double>& parameters;
};

// One type of number that a distribution gives. Without a function there is no such type.
struct Form {
  int32_t (*draw)(const Draw&);
  Number number;
};

struct Distribution {
  const char* name;
  std::vector<Parameter> parameters;
  // Says what is wrong with the values; empty when nothing is. The library doesn't check them.
  std::string (*complaint)(const std::vector<double>& values);
  Form d, s, i;  // real numbers in double and float, integers
  const char* meaning;
};

const std::vector<Distribution>& distributions();

// The generator's own words: its row says how many bytes an element has.
constexpr const char* kRawWords = "words";

}  // namespace qlx::cli

#endif
