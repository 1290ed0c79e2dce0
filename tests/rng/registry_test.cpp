// Identifiers, built-in rows and registration.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <climits>

#include "rng/toy_generator.h"

namespace {

constexpr bool k32 = sizeof(void*) == 4;

// The records of the built-in generators. Streams of the abstract kinds hold pointers: their sizes are the contract's
// on 32 bits only.
TEST(Registry, built_in_rows_have_the_numbers_of_the_contract) {
  const int32_t rows[16][6] = {
      {24, 1, 0, 4, 31, 1},
      {1024, 252, 1, 4, 32, 1},
      {40, 6, 1, 4, 32, 1},
      {32, 1, 0, 8, 59, 1},
      {48, 4, 1, 16, 24, 273},
      {11712, 2604, 0, 4, 32, 1},
      {84288, 10498, 0, 4, 32, 1},
      {2520, 625, 1, 4, 32, 1},
      {312, 70, 1, 4, 32, 6024},
      {k32 ? 40 : 48, 0, 1, 4, 32, 1},
      {k32 ? 56 : 64, 0, 1, 4, 32, 1},
      {k32 ? 48 : 56, 0, 1, 4, 32, 1},
      {2536, 625, 1, 4, 32, 1},
      {24, 1, 0, 4, 32, 1},
      {72, 8, 1, 4, 32, 1},
      {64, 8, 1, 4, 32, 1},
  };
  for (int32_t row = 0; row < 16; ++row) {
    SCOPED_TRACE(row);
    const int32_t id = (row + 1) * 0x100000, subs = rows[row][5];
    QstBrngProperties p{};
    ASSERT_EQ(__qstGetBrngProperties(id, &p), 0);
    const int32_t got[] = {p.streamSize, p.wordCount, p.includesZero, p.wordBytes, p.bits};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(got[k], rows[row][k]) << k;
    EXPECT_EQ(__qstGetBrngProperties(id + subs - 1, &p), 0);
    EXPECT_EQ(__qstGetBrngProperties(id + subs, &p), QST_ERROR_BAD_BRNG);
  }
}

TEST(Registry, both_numberings_decode) {
  struct Case {
    int32_t id, row, sub_stream;
    bool is_new;
    int32_t status;
  };
  const Case cases[] = {
      {0, 0, 0, false, 0},
      {3, 3, 0, false, 0},
      {4, 4, 0, false, 0},
      {276, 4, 272, false, 0},
      {277, 277, 0, false, 0},
      {280, 280, 0, false, 0},  // empty, and yet valid
      {281, 281, 0, false, QST_ERROR_BAD_BRNG},
      {0xFFFFF, 0xFFFFF, 0, false, QST_ERROR_BAD_BRNG},
      {0x100000, 0, 0, true, 0},
      {0x500000 + 272, 4, 272, true, 0},
      {0x900000 + 6023, 8, 6023, true, 0},
      {0x900000 + 6024, 8, 6024, true, QST_ERROR_BAD_BRNG},
      {0x1000001, 15, 1, true, QST_ERROR_BAD_BRNG},
      {0x7FF00000, 2046, 0, true, QST_ERROR_BAD_BRNG},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    int32_t row, sub_stream;
    const QstBrngProperties* table = __qstGetBrngBaseOffset(c.id, &row, &sub_stream);
    EXPECT_EQ(table, c.is_new ? __RegBrngsNew : __RegBrngs);
    EXPECT_EQ(row, c.row);
    EXPECT_EQ(sub_stream, c.sub_stream);
    EXPECT_EQ(__qstIsBrngValid(table, row, sub_stream), c.status);
  }
}

TEST(Registry, the_older_table_repeats_the_records) {
  const auto same = [](const QstBrngProperties& a, const QstBrngProperties& b) {
    return a.streamSize == b.streamSize && a.wordCount == b.wordCount && a.includesZero == b.includesZero &&
           a.wordBytes == b.wordBytes && a.bits == b.bits && a.initStream == b.initStream && a.sBrng == b.sBrng &&
           a.dBrng == b.dBrng && a.iBrng == b.iBrng;
  };
  for (int32_t row = 0; row < 279; ++row) {
    const int32_t newer = row < 4 ? row : row < 277 ? 4 : row - 272;
    EXPECT_TRUE(same(__RegBrngs[row], __RegBrngsNew[newer])) << row;
  }
  for (int32_t row : {279, 280}) EXPECT_TRUE(same(__RegBrngs[row], QstBrngProperties{})) << row;
}

TEST(Registry, registration_checks_in_order_and_counts_on) {
  QstBrngProperties p = toy::kProperties;
  p.streamSize = -1;
  p.wordBytes = 12;
  p.wordCount = 0;
  p.bits = 0;
  p.initStream = nullptr;
  EXPECT_EQ(__qstRegisterBrng(&p), QST_ERROR_BAD_STREAM_SIZE);
  p.streamSize = 0;  // as good as any
  EXPECT_EQ(__qstRegisterBrng(&p), QST_ERROR_BAD_WORD_BYTES);
  p.wordBytes = 16;
  EXPECT_EQ(__qstRegisterBrng(&p), QST_ERROR_BAD_WORD_COUNT);
  p.wordCount = INT_MAX;
  EXPECT_EQ(__qstRegisterBrng(&p), QST_ERROR_BAD_BITS);
  p.bits = 1;
  EXPECT_EQ(__qstRegisterBrng(&p), QST_ERROR_NULL_POINTER);
  p.initStream = toy::init_stream;
  for (int k = 0; k < 3; ++k) {
    QstBrngProperties without = p;
    if (k == 0) without.dBrng = nullptr;
    if (k == 1) without.sBrng = nullptr;
    if (k == 2) without.iBrng = nullptr;
    EXPECT_EQ(__qstRegisterBrng(&without), QST_ERROR_NULL_POINTER);
  }
  EXPECT_EQ(__qstGetNumRegBrngs(), 16);  // nothing came of the refused ones

  EXPECT_EQ(__qstRegisterBrng(&toy::kProperties), 0x1100000);
  EXPECT_EQ(__qstRegisterBrng(&p), 0x1200000);
  EXPECT_EQ(__qstGetNumRegBrngs(), 18);
  QstBrngProperties back{};
  ASSERT_EQ(__qstGetBrngProperties(0x1100000, &back), 0);
  EXPECT_EQ(back.streamSize, toy::kProperties.streamSize);
  EXPECT_EQ(back.iBrng, toy::kProperties.iBrng);
  EXPECT_EQ(__qstGetBrngProperties(0x1100001, &back), QST_ERROR_BAD_BRNG);  // one sub-stream
}

}  // namespace
