// Prints the 273 rows of the WH generators: wh_search
// SPDX-License-Identifier: Apache-2.0
//
// Rows 0, 1 and 272 are the published ones. A row is made from its first modulus: each next lower prime m whose
// (m-1)/2 is coprime to those of the moduli taken, so that the period is prod (m-1) / 8; then for each modulus in turn
// the largest primitive root not above 127 that the row does not have. That reproduces the three rows, which this
// program checks. The rows between start at the primes below row 1, in descending order; no modulus comes twice. A row
// whose spectral merit in dimensions 2 to 6 is below 0.40 takes the next smaller choice of multipliers, and when there
// is none from 112 up, the next first modulus.
#include <cstdio>
#include <numeric>
#include <optional>
#include <set>

#include "spectral.h"

namespace {

constexpr double kLeastMerit = 0.40;
constexpr uint32_t kSmallest = 112, kLargest = 127;  // multipliers

struct Row {
  std::array<uint32_t, 4> moduli;
  std::array<uint8_t, 4> multipliers;
};

// The moduli that follow from the first.
std::array<uint32_t, 4> moduli_from(uint32_t first, const std::set<uint32_t>& used) {
  std::array<uint32_t, 4> moduli = {first};
  int count = 1;
  for (uint32_t m = first - 2; count < 4; m -= 2) {
    const bool coprime = std::all_of(moduli.begin(), moduli.begin() + count,
                                     [&](uint32_t other) { return std::gcd((m - 1) / 2, (other - 1) / 2) == 1; });
    if (coprime && !used.contains(m) && spectral::is_prime(m)) moduli[count++] = m;
  }
  return moduli;
}

// The first choice of different primitive roots, from the largest down, whose merit is enough.
std::optional<Row> row_from(const std::array<uint32_t, 4>& moduli, double least_merit, int part = 0, Row row = {}) {
  row.moduli = moduli;
  if (part == 4) {
    if (least_merit > 0 && spectral::merit(row.moduli, row.multipliers) < least_merit) return std::nullopt;
    return row;
  }
  for (uint32_t a = kLargest; a >= kSmallest; --a) {
    const auto taken = row.multipliers.begin() + part;
    if (std::find(row.multipliers.begin(), taken, a) != taken || !spectral::is_primitive_root(a, moduli[part]))
      continue;
    row.multipliers[part] = static_cast<uint8_t>(a);
    if (const std::optional<Row> found = row_from(moduli, least_merit, part + 1, row)) return found;
  }
  return std::nullopt;
}

void print(int index, const Row& row) {
  std::printf("{{%u, %u, %u, %u}, {%u, %u, %u, %u}},  // %d  %.4f\n", row.moduli[0], row.moduli[1], row.moduli[2],
              row.moduli[3], row.multipliers[0], row.multipliers[1], row.multipliers[2], row.multipliers[3], index,
              spectral::merit(row.moduli, row.multipliers));
}

}  // namespace

int main() {
  const Row known[] = {
      {{16770647, 16770643, 16770623, 16770617}, {125, 117, 127, 126}},
      {{16770311, 16770283, 16770263, 16770209}, {127, 126, 125, 123}},
      {{16766363, 16766359, 16766327, 16766231}, {126, 127, 125, 124}},
  };
  std::set<uint32_t> used;
  for (const Row& row : known) {
    const std::optional<Row> made = row_from(moduli_from(row.moduli[0], {}), 0);
    if (!made || made->moduli != row.moduli || made->multipliers != row.multipliers) {
      std::fprintf(stderr, "the rule does not reproduce the row of %u\n", row.moduli[0]);
      return 1;
    }
    used.insert(row.moduli.begin(), row.moduli.end());
  }
  std::printf(
      "// Made by: wh_search. Row: moduli, multipliers; index and least spectral merit in dimensions 2 to 6.\n");
  print(0, known[0]);
  print(1, known[1]);
  uint32_t first = known[1].moduli[3];
  for (int index = 2; index < 272;) {
    first -= 2;
    if (used.contains(first) || !spectral::is_prime(first)) continue;
    const std::optional<Row> row = row_from(moduli_from(first, used), kLeastMerit);
    if (!row) continue;
    used.insert(row->moduli.begin(), row->moduli.end());
    print(index++, *row);
  }
  print(272, known[2]);
}
