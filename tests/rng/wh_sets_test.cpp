// The 273 sets of WH: every property that the search promises, for every set, and that the streams use them.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <set>
#include <vector>

#include "qlx/qst.h"

namespace {

struct Row {
  std::array<uint32_t, 4> moduli;
  std::array<uint8_t, 4> multipliers;
};
constexpr Row kRows[] = {
#include "../../src/rng/tables/wh_sets.inc"
};
constexpr int kSets = 273;
static_assert(std::size(kRows) == kSets);

TEST(WhSets, known_rows) {
  const auto expect = [](int set, std::array<uint32_t, 4> moduli, std::array<uint8_t, 4> multipliers) {
    EXPECT_EQ(kRows[set].moduli, moduli);
    EXPECT_EQ(kRows[set].multipliers, multipliers);
  };
  expect(0, {16770647, 16770643, 16770623, 16770617}, {125, 117, 127, 126});
  expect(1, {16770311, 16770283, 16770263, 16770209}, {127, 126, 125, 123});
  expect(272, {16766363, 16766359, 16766327, 16766231}, {126, 127, 125, 124});
}

TEST(WhSets, moduli_are_distinct_descending_and_independent) {
  std::set<uint32_t> all;
  for (const Row& row : kRows) {
    EXPECT_LT(row.moduli[0], 1u << 24);
    EXPECT_TRUE(std::is_sorted(row.moduli.rbegin(), row.moduli.rend()));
    // The period is the product of the periods over 2^3.
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < i; ++j) EXPECT_EQ(std::gcd((row.moduli[i] - 1) / 2, (row.moduli[j] - 1) / 2), 1u);
    all.insert(row.moduli.begin(), row.moduli.end());
  }
  EXPECT_EQ(all.size(), 4u * kSets);
}

// Each stream steps by its own row.
TEST(WhSets, streams_use_their_row) {
  for (int set = 0; set < kSets; ++set) {
    QstStream* s = nullptr;
    ASSERT_EQ(__qstNewStreamEx(&s, QST_BRNG_WH + set, 0, nullptr), 0);
    uint32_t w[40 * 4];
    ASSERT_EQ(__qstiBRngWH(s, 40, w), 0);
    for (int i = 1; i < 40; ++i)
      for (int l = 0; l < 4; ++l)
        ASSERT_EQ(w[4 * i + l],
                  static_cast<uint64_t>(w[4 * i - 4 + l]) * kRows[set].multipliers[l] % kRows[set].moduli[l]);
    __qstDeleteStream(&s);
  }
}

#ifdef __SIZEOF_INT128__
}  // namespace
#include "../../tools/rng/spectral.h"
namespace {

TEST(WhSets, full_period) {
  for (const Row& row : kRows) {
    std::set<int> different;
    for (int l = 0; l < 4; ++l) {
      ASSERT_TRUE(spectral::is_prime(row.moduli[l])) << row.moduli[l];
      EXPECT_TRUE(spectral::is_primitive_root(row.multipliers[l], row.moduli[l])) << row.moduli[l];
      EXPECT_GE(row.multipliers[l], 112);
      EXPECT_LE(row.multipliers[l], 127);
      different.insert(row.multipliers[l]);
    }
    EXPECT_EQ(different.size(), 4u);
  }
}

// Row 0 has 0.3997 before the division by Hermite's constant of dimension two, sqrt(2 / sqrt(3)).
TEST(WhSets, spectral_merit) {
  EXPECT_NEAR(spectral::merit(kRows[0].moduli, kRows[0].multipliers) * 1.0745699, 0.3997, 5e-5);
  for (int set = 2; set < kSets - 1; ++set)
    EXPECT_GE(spectral::merit(kRows[set].moduli, kRows[set].multipliers), 0.40) << set;
}

// The lattice method against a case that can be done by hand: modulus 101, multiplier 12, two dimensions. Of the
// vectors (h0, h1) with h0 + 12 h1 = 0 mod 101 the shortest is (5, 8): 5 + 96 = 101, squared length 89.
TEST(WhSets, spectral_method_by_hand) {
  long double shortest = 1e9L;
  for (int h0 = -50; h0 <= 50; ++h0)
    for (int h1 = -50; h1 <= 50; ++h1)
      if ((h0 != 0 || h1 != 0) && (h0 + 12 * h1) % 101 == 0)
        shortest = std::min(shortest, static_cast<long double>(h0 * h0 + h1 * h1));
  EXPECT_EQ(spectral::DualLattice(101, 12).extend(), shortest);
}
#endif

}  // namespace
