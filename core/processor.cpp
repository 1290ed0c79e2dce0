// The processor: what the core library is asked about it.
// SPDX-License-Identifier: Apache-2.0
#include <cpuid.h>

#include "qlx/core.h"

namespace {

// Vector AES: bit 9 of ECX in leaf 7. The built-in knows that name in some compilers only.
bool has_vector_aes() {
  constexpr unsigned kVaes = 1u << 9;
  unsigned eax, ebx, ecx, edx;
  return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) && (ecx & kVaes) != 0;
}

}  // namespace

// The built-in also asks whether the system saves the 512-bit registers.
int qlx_serv_cpuisicx() { return __builtin_cpu_supports("avx512f") && has_vector_aes() ? 1 : 0; }
