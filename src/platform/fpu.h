// The processor's floating-point control: x87 control word and environment, SSE control and status word.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace qlx::platform {

// The six exceptions have the same bits in the x87 masks and flags, and in the SSE flags.
constexpr uint16_t kFpuInvalid = 0x01, kFpuDivByZero = 0x04, kFpuOverflow = 0x08, kFpuUnderflow = 0x10;
constexpr uint16_t kFpuAllExceptions = 0x3F;

inline uint16_t read_x87_control() {
  uint16_t word;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
inline void load_x87_control(uint16_t word) {
  asm volatile("fldcw %0" : : "m"(word) : "memory");
}
inline void clear_x87_exceptions() {
  asm volatile("fnclex" : : : "memory");
}

// The memory clobbers keep loads and stores, and with them the arithmetic between, inside the span of a control word.
inline uint32_t read_sse_control() {
  uint32_t word;
  asm volatile("vstmxcsr %0" : "=m"(word) : : "memory");
  return word;
}
inline void load_sse_control(uint32_t word) {
  asm volatile("vldmxcsr %0" : : "m"(word) : "memory");
}

// The 28 bytes that FNSTENV stores: control, status and tag word, each in the low half of a 32-bit slot, and pointers.
struct X87Environment {
  uint16_t control, reserved0, status, reserved1, tag, reserved2;
  uint32_t pointers[4];
};
static_assert(sizeof(X87Environment) == 28);

inline void store_x87_environment(X87Environment& environment) {
  asm volatile("fnstenv %0" : "=m"(environment));
}

// Loads the environment and waits, so that an exception that it opens is delivered here.
inline void load_x87_environment(const X87Environment& environment) {
  asm volatile("fldenv %0\n\tfwait" : : "m"(environment) : "memory");
}

}  // namespace qlx::platform
