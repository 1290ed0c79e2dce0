// The environment: a variable's value, copied.
// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <cstring>

#include "qlx/core.h"

int qlx_serv_getenv(const char* name, char* buffer, int size) {
  constexpr int kAbsent = -1;
  if (name == nullptr || buffer == nullptr || size <= 0) return kAbsent;
  const char* value = std::getenv(name);
  if (value == nullptr) return kAbsent;
  const size_t length = std::strlen(value);
  if (length >= static_cast<size_t>(size)) return kAbsent;
  std::memcpy(buffer, value, length + 1);
  return static_cast<int>(length);
}
