// What the processor offers to the counter-based and hardware generators.
// SPDX-License-Identifier: Apache-2.0
#include <cpuid.h>

#include "qlx/core.h"
#include "qlx/qst.h"

namespace {

// Third and fourth register of identification leaf 1; zeros where the leaf is absent.
struct Features {
  unsigned third = 0, fourth = 0;
};

Features features() {
  unsigned first, second;
  Features f;
  if (__get_cpuid(1, &first, &second, &f.third, &f.fourth) == 0) return {};
  return f;
}

constexpr unsigned kAes = 0x2000000, kRdrand = 0x40000000;  // third register
constexpr unsigned kSse2 = 0x4000000;                       // fourth register

}  // namespace

int32_t __qstCPUisAES(void) {
  const Features f = features();
  return (f.fourth & kSse2) != 0 && (f.third & kAes) != 0;
}

int32_t __qstCPUisVAES(void) {
  return qlx_serv_cpuisicx();
}

int32_t __qstCPUisRDRAND(void) {
  return (features().third & kRdrand) != 0;
}
