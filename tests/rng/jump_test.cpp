// Moves' arithmetic: modular powers against plain products, polynomials over GF(2) against long division, and the two
// jumps on shift registers that can be stepped.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "counting_allocator.h"
#include "qlx/qst.h"
#include "rng/gf2_poly.h"

namespace {

// ---- Modular powers ----

TEST(Powers, scalars) {
  struct {
    uint32_t a, m;
  } const cases[] = {{3, 7}, {0, 5}, {4294967295u, 4294967291u}, {125, 16770647}, {2, 1}, {7, 4294967295u}};
  for (const auto& c : cases) {
    uint64_t product = 1;
    EXPECT_EQ(__qstiPowMod(c.a, 0, c.m), 1u);  // also for the modulus 1
    for (uint64_t e = 1; e < 70; ++e) {
      product = product * c.a % c.m;
      ASSERT_EQ(__qstiPowMod(c.a, e, c.m), product) << c.a << " " << e;
    }
  }
  EXPECT_EQ(__qstiPowMod(5, ~uint64_t{0}, 1000003), __qstiPowMod(5, ~uint64_t{0} % 1000002, 1000003));  // Fermat
  const uint32_t m31 = 2147483647;
  for (const uint32_t a : {1u, 2u, 1132489760u, m31 - 1, 0u})
    for (const uint64_t e : {uint64_t{0}, uint64_t{1}, uint64_t{12345}, ~uint64_t{0}})
      EXPECT_EQ(__qstiPowMod2P31M1(a, e), __qstiPowMod(a, e, m31)) << a << " " << e;
  const uint64_t mask = (uint64_t{1} << 59) - 1, a = 302875106592253;
  uint64_t product = 1;
  for (uint64_t e = 0; e < 70; ++e) {
    ASSERT_EQ(__qstiPowMod2P59(a, e), product);
    product = product * a & mask;
  }
  EXPECT_EQ(__qstiPowMod2P59(a, uint64_t{1} << 57), 1u);  // the order of 5 mod 8
  EXPECT_NE(__qstiPowMod2P59(a, uint64_t{1} << 56), 1u);
}

TEST(Powers, multiplier_of_mcg31m1_is_a_primitive_root) {
  for (const uint64_t factor : {2, 3, 7, 11, 31, 151, 331})  // of 2^31 - 2
    EXPECT_NE(__qstiPowMod2P31M1(1132489760, 2147483646 / factor), 1u) << factor;
}

// The tables as the library has them.
constexpr uint32_t kTable1[193][9] = {
#include "../../src/rng/tables/mrg32k3a_powers_m1.inc"
};
constexpr uint32_t kTable2[193][9] = {
#include "../../src/rng/tables/mrg32k3a_powers_m2.inc"
};

struct Component {
  uint32_t m, row[3];  // newest first
  const uint32_t* table;
  void (*by_table)(uint32_t*, int32_t, const uint64_t*, const uint32_t*);
};
const Component kComponents[] = {
    {4294967087u, {0, 1403580, 4294967087u - 810728}, kTable1[0], __qstiVect3PowArrayMod_M1},
    {4294944443u, {527612, 0, 4294944443u - 1370589}, kTable2[0], __qstiVect3PowArrayMod_M2},
};
using Vector = std::array<uint32_t, 3>;

TEST(Powers, vectors_by_stepping) {
  for (const Component& c : kComponents)
    for (const uint64_t e : {0, 1, 2, 3, 64, 1000}) {
      Vector stepped = {c.m - 1, 12345, 7}, general = stepped, table = stepped;
      for (uint64_t i = 0; i < e; ++i) {
        const uint64_t next = static_cast<uint64_t>(c.row[2]) * stepped[0] % c.m +
                              static_cast<uint64_t>(c.row[1]) * stepped[1] % c.m +
                              static_cast<uint64_t>(c.row[0]) * stepped[2] % c.m;
        stepped = {stepped[1], stepped[2], static_cast<uint32_t>(next % c.m)};
      }
      __qstiVect3PowMod(general.data(), c.row, c.m, e);
      c.by_table(table.data(), 1, &e, c.table);
      EXPECT_EQ(general, stepped) << e;
      EXPECT_EQ(table, stepped) << e;
    }
}

// The table form goes on beyond its 193 rows, and words that are zero change nothing.
TEST(Powers, long_exponents_agree_in_both_forms) {
  const uint64_t f = ~uint64_t{0};
  const std::vector<std::vector<uint64_t>> exponents = {
      {f},          {f, 0},       {5, 0, 7},          {0, 0, f},          {0, 0, 0, 1},
      {0, 0, 0, 2}, {f, f, f, f}, {1, 2, 3, 4, 0, 0}, {9, 8, 7, 6, 5, 4}, {0, 0, 0, 0, 0, 0, 0, 0x8000000000000000u},
  };
  for (const Component& c : kComponents)
    for (const auto& e : exponents) {
      Vector general = {1, 2, 3}, table = general;
      __qstiVect3PowArrayMod(general.data(), c.row, c.m, static_cast<int32_t>(e.size()), e.data());
      c.by_table(table.data(), static_cast<int32_t>(e.size()), e.data(), c.table);
      EXPECT_EQ(table, general);
    }
}

// ---- Polynomials ----

using Bits = std::vector<uint8_t>;  // coefficients, x^0 first

Bits times_x_mod(Bits g, const std::vector<int32_t>& terms, size_t degree) {
  const bool leaves = g[degree - 1];
  std::rotate(g.begin(), g.end() - 1, g.end());
  g[0] = 0;
  if (leaves)
    for (const int32_t t : terms)
      if (static_cast<size_t>(t) < degree) g[t] ^= 1;
  return g;
}

Bits bits_of(const std::vector<uint64_t>& words, size_t count) {
  Bits bits(count);
  for (size_t i = 0; i < count; ++i) bits[i] = words[i / 64] >> i % 64 & 1;
  return bits;
}

TEST(Polynomials, powers_of_x_by_long_division) {
  std::mt19937 random(7);
  for (const size_t degree : {1, 2, 7, 63, 64, 65, 127, 128, 129, 250, 521}) {
    // Sparse and dense, with terms that cancel.
    for (const int extra : {0, 1, 200}) {
      std::vector<int32_t> terms = {static_cast<int32_t>(degree), 0};
      for (int i = 0; i < extra; ++i) terms.push_back(static_cast<int32_t>(random() % degree));
      const size_t words = (degree + 63) / 64;
      std::vector<Bits> expected = {Bits(degree)};
      expected[0][0] = 1;
      if (degree == 1) expected[0] = Bits{1};
      // x^e mod P by a multiplication for each step; duplicates cancel in the same way.
      for (size_t e = 1; e < 3 * degree + 20; ++e) expected.push_back(times_x_mod(expected.back(), terms, degree));
      for (size_t e = 0; e < expected.size(); e += 1 + e / 40) {
        std::vector<uint64_t> result(words + 1, ~uint64_t{0});
        ASSERT_EQ(__qstPolyRem(static_cast<int64_t>(e), degree, static_cast<int32_t>(terms.size()), terms.data(),
                               static_cast<int32_t>(words + 1), reinterpret_cast<uint32_t*>(result.data())),
                  0);
        ASSERT_EQ(bits_of(result, degree), expected[e]) << degree << " " << e << " " << extra;
        EXPECT_EQ(result[words], 0u);
      }
      for (const qlx::rng::Carryless form : {qlx::rng::Carryless::kPortable, qlx::rng::Carryless::kInstruction}) {
        if (form == qlx::rng::Carryless::kInstruction && !qlx::rng::has_carryless_instruction()) continue;
        std::vector<uint64_t> room(3 * words), g(words);
        const qlx::rng::PolyModulus modulus(degree, static_cast<int32_t>(terms.size()), terms.data(), room.data(),
                                            form);
        const size_t e = expected.size() - 1;
        modulus.power_of_x(e, g.data());
        ASSERT_EQ(bits_of(g, degree), expected[e]) << degree;
      }
    }
  }
}

// Both forms of the product on a modulus of the size of a twister's, for an exponent of 64 bits.
TEST(Polynomials, forms_agree_on_a_large_modulus) {
  if (!qlx::rng::has_carryless_instruction()) GTEST_SKIP() << "no carry-less multiplication here";
  std::mt19937 random(11);
  const uint64_t degree = 19937;
  std::vector<int32_t> terms = {static_cast<int32_t>(degree), 0};
  for (int i = 0; i < 3001; ++i) terms.push_back(static_cast<int32_t>(random() % degree));
  const size_t words = 312;
  std::vector<uint64_t> results[2];
  int form = 0;
  for (std::vector<uint64_t>& g : results) {
    std::vector<uint64_t> room(3 * words);
    g.resize(words);
    qlx::rng::PolyModulus(degree, static_cast<int32_t>(terms.size()), terms.data(), room.data(),
                          form++ == 0 ? qlx::rng::Carryless::kPortable : qlx::rng::Carryless::kInstruction)
        .power_of_x(0xFEDCBA9876543210u >> 34, g.data());
  }
  EXPECT_EQ(results[0], results[1]);
}

// ---- Jumps ----

// A shift register v(n) = v(n-N) xor v(n-N+LAG) of N words in a circular buffer; P = x^N + x^LAG + 1.
template <int N, int LAG>
struct Register {
  struct State {
    uint32_t w[N];
    int32_t at;  // the oldest word
  };
  static constexpr int32_t kRecordBytes = 16 + sizeof(State);
  static constexpr int32_t kTerms[] = {N, LAG, 0};

  static State& state(QstStream* s) { return *static_cast<State*>(qst_stream_state(s)); }
  static void clear(QstStream* s) { std::fill_n(state(s).w, N, 0u); }
  static void add(QstStream* to, QstStream* from, int32_t) {
    for (int k = 0; k < N; ++k) state(to).w[(state(to).at + k) % N] ^= state(from).w[(state(from).at + k) % N];
  }
  static void copy(QstStream* to, QstStream* from, int32_t) { std::memcpy(to, from, kRecordBytes); }
  static void step(QstStream* s) {
    State& t = state(s);
    t.w[t.at] ^= t.w[(t.at + LAG) % N];
    t.at = (t.at + 1) % N;
  }
  static void finish(QstStream* stream, QstStream* work, QstStream* scratch) {
    copy(scratch, work, 0);
    for (int k = 0; k < N; ++k) state(stream).w[k] = state(scratch).w[(state(scratch).at + k) % N];
    state(stream).at = 0;
  }
  // A block of three.
  static int32_t prepare(QstStream* s, uint64_t* nskip, int32_t*) {
    for (int k = 0; k < 3; ++k, --*nskip) {
      if (*nskip == 0) return 0;
      step(s);
    }
    return *nskip != 0;
  }

  alignas(16) char bytes[kRecordBytes] = {};
  QstStream* stream() { return reinterpret_cast<QstStream*>(bytes); }
  Register() {
    std::mt19937 random(5);
    for (uint32_t& w : state(stream()).w) w = static_cast<uint32_t>(random());
    state(stream()).at = N / 2;
  }
  std::vector<uint32_t> contents() {
    std::vector<uint32_t> c;
    for (int k = 0; k < N; ++k) c.push_back(state(stream()).w[(state(stream()).at + k) % N]);
    return c;
  }

  using Jump = decltype(&__qst_SkipAheadHorner);
  int32_t skip(Jump jump, uint64_t count) {
    return jump(stream(), clear, add, copy, step, finish, prepare, count, N, N, kRecordBytes, 3, kTerms);
  }
};

template <class R>
class Jumps : public testing::Test {};
using Registers = testing::Types<Register<250, 103>, Register<31, 3>, Register<7, 1>>;
TYPED_TEST_SUITE(Jumps, Registers);

TYPED_TEST(Jumps, equal_stepping) {
  for (const auto jump : {__qst_SkipAheadHorner, __qst_SkipAheadSWin}) {
    for (const uint64_t count : {0, 1, 2, 3, 4, 5, 6, 9, 10, 11, 30, 34, 35, 130, 252, 253, 254, 1000, 31337}) {
      TypeParam jumped, stepped;
      ASSERT_EQ(jumped.skip(jump, count), 0);
      for (uint64_t i = 0; i < count; ++i) TypeParam::step(stepped.stream());
      ASSERT_EQ(jumped.contents(), stepped.contents()) << count;
    }
    // Far jumps add up, and the count is unsigned.
    TypeParam once, parts;
    ASSERT_EQ(once.skip(jump, 0xF000000000000123u), 0);
    for (const uint64_t part : {0x7000000000000100u, 0x8000000000000023u}) ASSERT_EQ(parts.skip(jump, part), 0);
    EXPECT_EQ(once.contents(), parts.contents());
  }
}

TYPED_TEST(Jumps, failed_allocations_leave_the_stream_and_nothing_behind) {
  using Jump = typename TypeParam::Jump;
  for (const auto& [jump, allocations] : {std::pair<Jump, int>{__qst_SkipAheadHorner, 3}, {__qst_SkipAheadSWin, 5}})
    for (int failing = 1; failing <= allocations + 1; ++failing) {
      TypeParam jumped, expected;
      counting::reset(failing);
      const long live = counting::live;
      const int32_t status = jumped.skip(jump, 5000);
      EXPECT_EQ(counting::live, live);
      EXPECT_EQ(status, failing <= allocations ? QST_ERROR_MEMORY : 0) << failing;
      counting::reset();
      // Where prepareSkip left it.
      if (status != 0) {
        for (int k = 0; k < 3; ++k) TypeParam::step(expected.stream());
        EXPECT_EQ(jumped.contents(), expected.contents());
      }
    }
}

}  // namespace
