// A digest of each kernel's results over a fixed sweep: the same bits on every target and from every compiler.
// SPDX-License-Identifier: Apache-2.0
//
// tests/vecmath/digests.csv has the rows "function,type,accuracy,digest,mark". The mark "estimate" stands at kernels
// that use the processor's reciprocal or square-root estimates: their bits belong to the maker in the file's first
// line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "accuracy/kernel_list.h"

namespace qlx::tools {

struct DigestRow {
  std::string function;
  char type;
  int slot;
  uint64_t digest;
  std::string mark;
};

struct DigestFile {
  std::string maker;
  std::vector<DigestRow> rows;
  const DigestRow* find(const std::string& function, char type, int slot) const;
};

// The results of 2^16 arguments or pairs, every NaN as one, in the mode QVM_ERRMODE_IGNORE.
uint64_t digest_of(const KernelRow& kernel, int slot);

// Whether the kernel has a digest: real functions of the shapes that call_unit knows.
bool has_digest(const KernelRow& kernel);

// The processor's maker, as its identification tells it.
std::string processor_maker();

// An absent file is an empty one.
DigestFile read_digests(const std::string& path);

// The file for the kernels as they are, with the marks of `old`.
std::string print_digests(const DigestFile& old);

}  // namespace qlx::tools
