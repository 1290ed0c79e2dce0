// The basic generators by the names that the command knows.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_GENERATORS_H
#define QLX_CLI_GENERATORS_H

#include <cstdint>
#include <string>
#include <vector>

#include "qlx/qst.h"

namespace qlx::cli {

struct Generator {
  const char* name;
  int32_t brng;      // of sub-stream 0
  const char* sets;  // what --set may be, for messages; empty when there is one set
};

// Those of which this library can make a stream from seeds.
std::vector<Generator> generators();
std::vector<std::string> generator_names();

// The name of a generator that has `brng`; "generator 0x..." for a registered one.
std::string generator_name(int32_t brng);

// What a status of the streams means, such as "the generator has no skip-ahead".
std::string status_text(int32_t status);

}  // namespace qlx::cli

#endif
