// Numbers for samples, the same on every target.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace qlx::tools {

// Steele, Lea and Flood, "Fast splittable pseudorandom number generators", 2014: its mixing function over a counter.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t bits() {
    uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return z ^ z >> 31;
  }
  double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
  double between(double low, double high) { return low + (high - low) * unit(); }
  int64_t integer(int64_t low, int64_t high) {
    return low + static_cast<int64_t>(bits() % static_cast<uint64_t>(high - low + 1));
  }

 private:
  uint64_t state_;
};

}  // namespace qlx::tools
