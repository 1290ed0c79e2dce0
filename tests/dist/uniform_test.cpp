// Uniform reals, integers and bits over a generator whose numbers are known, and over those that have bits.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "rng/toy_generator.h"

namespace {

class Stream {
 public:
  Stream(int32_t brng, std::vector<uint32_t> seeds) {
    status = __qstNewStreamEx(&stream_, brng, static_cast<int32_t>(seeds.size()), seeds.data());
  }
  ~Stream() { __qstDeleteStream(&stream_); }
  operator QstStream*() const { return stream_; }  // NOLINT: stands for the stream
  int32_t status;

 private:
  QstStream* stream_ = nullptr;
};

// A generator whose reals lie a little beyond both ends of the range, as a rounded mapping may.
template <class Real>
int32_t beyond(QstStream*, int32_t n, Real* r, Real a, Real b) {
  for (int32_t i = 0; i < n; ++i) r[i] = i % 3 == 0 ? a - 1 : i % 3 == 1 ? b + 1 : (a + b) / 2;
  return 7;  // a status above zero is no failure and comes back
}

template <class Real>
void clamps(int32_t (*uniform)(int32_t, QstStream*, int32_t, Real*, Real, Real), QstStream* stream) {
  for (int32_t n : {0, 1, 15, 16, 17, 100}) {
    std::vector<Real> plain(101, 9), clamped(101, 9);
    // Off the alignment of a vector on purpose.
    EXPECT_EQ(uniform(0, stream, n, plain.data() + 1, 2, 4), 7);
    EXPECT_EQ(uniform(QST_METHOD_ACCURACY_FLAG | 3, stream, n, clamped.data() + 1, 2, 4), 7);
    for (int32_t i = 0; i < n; ++i) {
      EXPECT_EQ(plain[i + 1], i % 3 == 0 ? 1 : i % 3 == 1 ? 5 : 3);
      EXPECT_EQ(clamped[i + 1], std::clamp<Real>(plain[i + 1], 2, 4));
    }
    if (n < 100) {
      EXPECT_EQ(clamped[n + 1], 9);
    }
  }
  Real crossed[5];
  uniform(QST_METHOD_ACCURACY_FLAG, stream, 5, crossed, 4, 2);
  for (Real value : crossed) EXPECT_EQ(value, 2);  // the upper bound is applied last
}

TEST(Uniform, accuracy_flag_clamps_and_nothing_else_does) {
  QstBrngProperties p = toy::kProperties;
  p.sBrng = beyond<float>;
  p.dBrng = beyond<double>;
  Stream stream(__qstRegisterBrng(&p), {1});
  clamps<double>(_qstdRngUniform, stream);
  clamps<float>(_qstsRngUniform, stream);
}

TEST(Uniform, integers_are_floors_drawn_by_blocks_of_1024) {
  Stream stream(toy::brng(), {0});
  int32_t r[2050];
  // Sixteenths of (-3, 4): -3, -2.5625, ... 3.5625; truncation would give -2 for the second.
  ASSERT_EQ(_qstiRngUniform(0, stream, 16, r, -3, 4), 0);
  const int32_t floors[] = {-3, -3, -3, -2, -2, -1, -1, 0, 0, 0, 1, 1, 2, 2, 3, 3};
  EXPECT_TRUE(std::equal(floors, floors + 16, r));
  EXPECT_EQ(toy::state(stream).next, 16u);
  for (int32_t n : {0, -1}) EXPECT_EQ(_qstiRngUniform(0, stream, n, r, 0, 16), 0);
  EXPECT_EQ(toy::state(stream).next, 16u);
  EXPECT_EQ(toy::state(stream).calls_left, -2);  // one call so far

  for (const auto& [n, calls] : {std::pair{1024, 1}, {1025, 2}, {2048, 2}, {2049, 3}}) {
    const int32_t before = toy::state(stream).calls_left;
    ASSERT_EQ(_qstiRngUniform(0, stream, n, r, 0, 16), 0);
    EXPECT_EQ(before - toy::state(stream).calls_left, calls);
    for (int32_t i = 1; i < n; ++i) ASSERT_EQ(r[i], (r[i - 1] + 1) % 16) << i;
  }

  // The second block fails: the first stays in r and nothing else is written.
  Stream failing(toy::brng(), {0, 1});
  std::fill(r, r + 2050, 99);
  EXPECT_EQ(_qstiRngUniform(0, failing, 1025, r, 0, 16), toy::kFailed);
  EXPECT_EQ(r[1023], 1023 % 16);
  EXPECT_EQ(r[1024], 99);
}

TEST(Uniform, failures_of_a_generator_come_back) {
  Stream stream(toy::brng(), {0, 0});
  double r[1] = {5};
  EXPECT_EQ(_qstdRngUniform(QST_METHOD_ACCURACY_FLAG, stream, 1, r, 0, 1), toy::kFailed);
  EXPECT_EQ(r[0], 5);
}

// Which built-in generator has bit output: 0 none, 1 its words, 2 the upper 32 of 59 bits.
TEST(UniformBits, tables_hold_for_every_generator) {
  const int kinds[16] = {0, 0, 0, 2, 0, 0, 0, 1, 1, 0, 0, 0, 1, 1, 1, 1};
  for (int32_t row = 0; row < 16; ++row) {
    SCOPED_TRACE(row);
    if (__RegBrngsNew[row].initStream == nullptr || kinds[row] == 2 || row == 13) continue;
    Stream stream((row + 1) * 0x100000, {1}), twin((row + 1) * 0x100000, {1});
    uint32_t words[20] = {7}, raw[20];
    uint64_t pairs[10] = {7};
    const int32_t expected = kinds[row] == 0 ? QST_ERROR_BITS_UNSUPPORTED : 0;
    EXPECT_EQ(_qstiRngUniformBits32(0, stream, 20, words), expected);
    EXPECT_EQ(_qstiRngUniformBits64(0, stream, 10, pairs), expected);
    if (expected < 0) {
      EXPECT_EQ(words[0], 7u);
      EXPECT_EQ(pairs[0], 7u);
      continue;
    }
    ASSERT_EQ(_qstiRngUniformBits(0, twin, 20, raw), 0);
    EXPECT_TRUE(std::equal(raw, raw + 20, words));
    ASSERT_EQ(_qstiRngUniformBits(0, twin, 20, raw), 0);
    for (int k = 0; k < 10; ++k) EXPECT_EQ(pairs[k], raw[2 * k] | uint64_t{raw[2 * k + 1]} << 32);
  }
  Stream registered(toy::brng(), {1});
  uint32_t word = 7;
  uint64_t pair = 7;
  EXPECT_EQ(_qstiRngUniformBits32(0, registered, 1, &word), QST_ERROR_BITS_UNSUPPORTED);
  EXPECT_EQ(_qstiRngUniformBits64(0, registered, 1, &pair), QST_ERROR_BITS_UNSUPPORTED);
  EXPECT_EQ(_qstiRngUniformBits(0, registered, 1, &word), 0);
  EXPECT_EQ(word, 1u);
}

// MCG59 hands out the upper 32 of its 59 bits, in both numberings, across the blocks of 2048 words.
TEST(UniformBits, mcg59_drops_its_low_bits) {
  for (int32_t id : {QST_BRNG_MCG59 + 0, 3})
    for (int32_t n : {0, 1, 1023, 1024, 1025, 2047, 2048, 2049, 4096, 5000}) {
      SCOPED_TRACE(n);
      Stream stream(id, {77}), twin(id, {77});
      std::vector<uint64_t> raw(2 * n), pairs(n + 1, 7);
      std::vector<uint32_t> words(n + 1, 7);
      ASSERT_EQ(_qstiRngUniformBits32(0, stream, n, words.data()), 0);
      if (n > 0) {
        ASSERT_EQ(_qstiRngUniformBits(0, twin, n, reinterpret_cast<uint32_t*>(raw.data())), 0);
      }
      for (int32_t i = 0; i < n; ++i) ASSERT_EQ(words[i], static_cast<uint32_t>(raw[i] >> 27)) << i;
      EXPECT_EQ(words[n], 7u);
      ASSERT_EQ(_qstiRngUniformBits64(0, stream, n, pairs.data()), 0);
      if (n > 0) {
        ASSERT_EQ(_qstiRngUniformBits(0, twin, 2 * n, reinterpret_cast<uint32_t*>(raw.data())), 0);
      }
      for (int32_t i = 0; i < n; ++i) ASSERT_EQ(pairs[i], (raw[2 * i] >> 27) | (raw[2 * i + 1] >> 27) << 32) << i;
      EXPECT_EQ(pairs[n], 7u);
    }
}

}  // namespace
