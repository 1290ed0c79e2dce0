// The congruential and shift-register generators: known answers, mappings, splits, moves, seeds and their quirks.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "qlx/qst.h"

namespace {

using Words = std::vector<uint32_t>;

struct StreamDeleter {
  void operator()(QstStream* s) const { __qstDeleteStream(&s); }
};
using Stream = std::unique_ptr<QstStream, StreamDeleter>;

Stream make(int32_t brng, const Words& seeds) {
  QstStream* s = nullptr;
  EXPECT_EQ(__qstNewStreamEx(&s, brng, static_cast<int32_t>(seeds.size()), seeds.data()), 0);
  return Stream(s);
}

Stream copy(const Stream& source) {
  QstStream* s = nullptr;
  EXPECT_EQ(__qstCopyStream(&s, source.get()), 0);
  return Stream(s);
}

QstBrngProperties properties(const Stream& s) {
  QstBrngProperties p;
  EXPECT_EQ(__qstGetBrngProperties(__qstGetStreamStateBrng(s.get()), &p), 0);
  return p;
}

std::string state_bytes(const Stream& s) {
  return {static_cast<const char*>(qst_stream_state(s.get())), static_cast<size_t>(properties(s).streamSize) - 16};
}

Words words(const Stream& s, int32_t n) {
  const QstBrngProperties p = properties(s);
  Words r(static_cast<size_t>(n) * p.wordBytes / 4);
  EXPECT_EQ(p.iBrng(s.get(), n, r.data()), 0);
  return r;
}

template <class Real>
std::vector<Real> reals(const Stream& s, int32_t n, Real a, Real b) {
  const QstBrngProperties p = properties(s);
  std::vector<Real> r(static_cast<size_t>(n));
  if constexpr (sizeof(Real) == 4) {
    EXPECT_EQ(p.sBrng(s.get(), n, r.data(), a, b), 0);
  } else {
    EXPECT_EQ(p.dBrng(s.get(), n, r.data(), a, b), 0);
  }
  return r;
}

// Rows of a CSV file of tests/rng/data, without comments and without the header.
std::vector<std::vector<std::string>> read(const std::string& name) {
  std::ifstream file(QLX_SOURCE_DIR "/tests/rng/data/" + name);
  EXPECT_TRUE(file) << name;
  std::vector<std::vector<std::string>> rows;
  bool header = true;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#") || std::exchange(header, false)) continue;
    std::istringstream fields(line);
    rows.emplace_back();
    for (std::string field; std::getline(fields, field, ',');) rows.back().push_back(field);
  }
  return rows;
}

std::vector<uint64_t> numbers(const std::string& text) {
  std::istringstream in(text);
  std::vector<uint64_t> result;
  for (uint64_t n; in >> n;) result.push_back(n);
  return result;
}

// A count in hexadecimal as words of 64 bits, the least significant first.
std::vector<uint64_t> count_words(std::string hex) {
  std::vector<uint64_t> result;
  while (!hex.empty()) {
    const size_t cut = hex.size() > 16 ? hex.size() - 16 : 0;
    result.push_back(std::stoull(hex.substr(cut), nullptr, 16));
    hex.resize(cut);
  }
  return result;
}

TEST(KnownAnswers, words_of_an_independent_computation) {
  std::map<std::string, int> checked;
  for (const auto& row : read("known_answers.csv")) {
    ASSERT_EQ(row.size(), 5u);
    const std::vector<uint64_t> seeds = numbers(row[1]), expected = numbers(row[4]), skip = count_words(row[2]);
    const Stream s = make(static_cast<int32_t>(std::stoul(row[0], nullptr, 16)), Words(seeds.begin(), seeds.end()));
    const QstBrngProperties p = properties(s);
    if (s->brng == QST_BRNG_R250) {
      for (uint64_t left = skip[0]; left != 0; left -= std::min<uint64_t>(left, 777))
        words(s, static_cast<int32_t>(std::min<uint64_t>(left, 777)));
    } else if (skip.size() > 1) {
      ASSERT_EQ(__qstSkipAheadStreamEx(s.get(), static_cast<int32_t>(skip.size()), skip.data()), 0);
    } else {
      ASSERT_EQ(__qstSkipAheadStream(s.get(), static_cast<int64_t>(skip[0])), 0);
    }
    const int32_t index = std::stoi(row[3]);
    const Words all = words(s, index + 1);
    std::vector<uint64_t> last;
    if (p.wordBytes == 8) {
      last = {all[2 * index] | static_cast<uint64_t>(all[2 * index + 1]) << 32};
    } else {
      last.assign(all.end() - p.wordBytes / 4, all.end());
    }
    EXPECT_EQ(last, expected) << row[0] << " skip " << row[2] << " index " << index;
    ++checked[row[0]];
  }
  EXPECT_EQ(checked.size(), 8u);  // four generators and four sets of WH
}

TEST(KnownAnswers, published_mrg32k3a) {
  for (const auto& [file, seed] : {std::pair{"mrg32k3a_seed_12345.csv", 12345u}, {"mrg32k3a_seed_1.csv", 1u}}) {
    const Stream s = make(QST_BRNG_MRG32K3A, Words(6, seed)), t = copy(s);
    for (const auto& row : read(file)) {
      EXPECT_EQ(words(s, 1)[0], std::stoul(row[3])) << file << " " << row[0];
      // The published mapping is z / (m1 + 1); this library's z / m1.
      EXPECT_NEAR(reals(t, 1, 0.0, 1.0)[0], std::stod(row[4]), 3e-10) << file << " " << row[0];
    }
  }
}

// The second of the streams 2^127 apart that the package RngStreams hands out from its default seed (L'Ecuyer, Simard,
// Chen, Kelton, "An object-oriented random-number package with many long streams and substreams", Operations Research
// 50, 2002).
TEST(KnownAnswers, published_streams_of_mrg32k3a) {
  const Stream s = make(QST_BRNG_MRG32K3A, Words(6, 12345));
  const uint64_t far[2] = {0, uint64_t{1} << 63};
  ASSERT_EQ(__qstSkipAheadStreamEx(s.get(), 2, far), 0);
  const uint32_t expected[6] = {3692455944u, 1366884236u, 2968912127u, 335948734u, 4161675175u, 475798818u};
  EXPECT_EQ(std::memcmp(qst_stream_state(s.get()), expected, sizeof expected), 0);
}

// ---- What holds for every generator ----

struct Case {
  const char* name;
  int32_t brng;
  bool leapfrog, skip, long_skip;
};
const Case kCases[] = {
    {"MCG31M1", QST_BRNG_MCG31M1, true, true, false},
    {"MCG59", QST_BRNG_MCG59, true, true, false},
    {"MRG32K3A", QST_BRNG_MRG32K3A, false, true, true},
    {"R250", QST_BRNG_R250, false, false, false},
    {"WH0", QST_BRNG_WH, true, true, false},
    {"WH272", QST_BRNG_WH + 272, true, true, false},
};
void PrintTo(const Case& c, std::ostream* out) {
  *out << c.name;
}

class EveryGenerator : public testing::TestWithParam<Case> {
 protected:
  Stream fresh() const { return make(GetParam().brng, {987654321}); }
};
INSTANTIATE_TEST_SUITE_P(Rng, EveryGenerator, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

// Lengths on both sides of every block, lane and register length.
const int32_t kLengths[] = {1,   2,   3,   4,   5,   7,   8,    9,    15,   16,   17,   23,   24,  25,  31,
                            32,  33,  63,  64,  65,  100, 249,  250,  251,  255,  256,  257,  500, 511, 513,
                            767, 768, 769, 775, 900, 999, 1000, 1023, 1024, 1025, 1300, 2049, 3000};

TEST_P(EveryGenerator, any_split_and_any_entry_gives_one_sequence) {
  const int32_t n = std::accumulate(std::begin(kLengths), std::end(kLengths), 0);
  const Stream stepped = fresh();
  const QstBrngProperties p = properties(stepped);
  const size_t per = static_cast<size_t>(p.wordBytes / 4);
  Words single;
  std::vector<double> single_d;
  const Stream stepped_d = fresh();
  for (int32_t i = 0; i < n; ++i) {
    for (const uint32_t w : words(stepped, 1)) single.push_back(w);
    single_d.push_back(reals(stepped_d, 1, -1.5, 2.25)[0]);
  }
  EXPECT_EQ(words(fresh(), n), single);
  EXPECT_EQ(reals(fresh(), n, -1.5, 2.25), single_d);

  // One stream read by all entries in turn, into arrays at every offset from alignment.
  const Stream mixed = fresh();
  size_t at = 0;
  int turn = 0;
  for (const int32_t m : kLengths) {
    const size_t offset = static_cast<size_t>(turn % 8), count = static_cast<size_t>(m);
    switch (turn++ % 3) {
      case 0: {
        Words r(count * per + 8);
        ASSERT_EQ(p.iBrng(mixed.get(), m, r.data() + offset), 0);
        EXPECT_TRUE(std::equal(r.begin() + offset, r.begin() + offset + count * per, single.begin() + at * per)) << m;
        break;
      }
      case 1: {
        std::vector<double> r(count + 16, -77);
        ASSERT_EQ(p.dBrng(mixed.get(), m, r.data() + offset, -1.5, 2.25), 0);
        EXPECT_TRUE(std::equal(r.begin() + offset, r.begin() + offset + m, single_d.begin() + at)) << m;
        EXPECT_EQ(r[offset + count], -77) << "wrote past the end, n = " << m;
        break;
      }
      default: {
        std::vector<float> r(count + 16, -77);
        ASSERT_EQ(p.sBrng(mixed.get(), m, r.data() + offset, -1.5f, 2.25f), 0);
        for (int32_t i = 0; i < m; ++i) ASSERT_EQ(r[offset + i], static_cast<float>(single_d[at + i])) << m;
        EXPECT_EQ(r[offset + count], -77) << "wrote past the end, n = " << m;
      }
    }
    at += count;
  }
}

// r = a + v ((b - a) c) with exactly these operations; WH has its own.
double mapped(int32_t brng, const uint32_t* w, double a, double b) {
  switch (brng) {
    case QST_BRNG_MCG31M1:
      return a + w[0] * ((b - a) * 4.656612875245797e-10);
    case QST_BRNG_MCG59:
      return a + (w[0] * ((b - a) * 0x1p-59) + w[1] * 0x1p32 * ((b - a) * 0x1p-59));
    case QST_BRNG_MRG32K3A:
      return a + w[0] * ((b - a) * 2.328306549837829e-10);
    case QST_BRNG_R250:
      return a + w[0] * ((b - a) * 0x1p-32);
    default: {
      static const double m[2][4] = {{16770647, 16770643, 16770623, 16770617},
                                     {16766363, 16766359, 16766327, 16766231}};
      const double* set = m[brng == QST_BRNG_WH ? 0 : 1];
      const double s = (w[0] * (1 / set[0]) + w[2] * (1 / set[2])) + (w[1] * (1 / set[1]) + w[3] * (1 / set[3]));
      return (s - static_cast<int>(s)) * (b - a) + a;
    }
  }
}

TEST_P(EveryGenerator, mapping_is_bit_exact) {
  const size_t per = static_cast<size_t>(properties(fresh()).wordBytes / 4);
  for (const auto& [a, b] : {std::pair{0.0, 1.0}, {-3.0, 4.0}, {1e-300, 1e300}, {5.0, 5.0}}) {
    const int32_t n = 1500;
    const Words w = words(fresh(), n);
    const std::vector<double> d = reals(fresh(), n, a, b);
    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(d[i], mapped(GetParam().brng, &w[per * i], a, b)) << i;
    const float fa = static_cast<float>(a), fb = static_cast<float>(b / 1e265 > 1 ? 8.0 : b);
    const std::vector<float> f = reals(fresh(), n, fa, fb);
    for (int32_t i = 0; i < n; ++i)
      ASSERT_EQ(f[i], static_cast<float>(mapped(GetParam().brng, &w[per * i], fa, fb))) << i;
  }
}

TEST_P(EveryGenerator, moves_or_their_refusal) {
  const Case& c = GetParam();
  const Stream s = fresh();
  const QstBrngProperties p = properties(s);
  const size_t per = static_cast<size_t>(p.wordBytes / 4);
  const std::string before = state_bytes(s);
  const uint64_t zero[2] = {0, 0};
  EXPECT_EQ(__qstLeapfrogStream(s.get(), 0, -1), QST_ERROR_LEAPFROG_NSTREAMS);
  EXPECT_EQ(p.initStream(4, s.get(), 0, nullptr), QST_ERROR_UNKNOWN_METHOD);
  EXPECT_EQ(p.initStream(-1, s.get(), 0, nullptr), QST_ERROR_UNKNOWN_METHOD);
  EXPECT_EQ(__qstSkipAheadStream(s.get(), 0), c.skip ? 0 : QST_ERROR_SKIPAHEAD_UNSUPPORTED);
  EXPECT_EQ(__qstSkipAheadStreamEx(s.get(), 2, zero), c.long_skip ? 0 : QST_ERROR_SKIPAHEAD_EX_UNSUPPORTED);
  if (!c.leapfrog) {
    EXPECT_EQ(__qstLeapfrogStream(s.get(), 1, 3), QST_ERROR_LEAPFROG_UNSUPPORTED);
  }
  EXPECT_EQ(state_bytes(s), before);

  const Words plain = words(fresh(), 1000);
  const auto from = [&](size_t start, size_t stride, size_t count) {
    Words r;
    for (size_t i = 0; i < count; ++i) {
      const size_t at = per * (start + i * stride);
      r.insert(r.end(), plain.begin() + at, plain.begin() + at + per);
    }
    return r;
  };
  for (const int64_t skip : {1, 2, 100, 999}) {
    if (!c.skip) break;
    const Stream moved = fresh();
    EXPECT_EQ(__qstSkipAheadStream(moved.get(), skip), 0);
    EXPECT_EQ(words(moved, static_cast<int32_t>(1000 - skip)), from(skip, 1, 1000 - skip)) << skip;
  }
  if (c.skip) {  // unsigned, and additive
    const Stream once = fresh(), twice = fresh();
    __qstSkipAheadStream(once.get(), -2);
    __qstSkipAheadStream(twice.get(), INT64_MAX);
    __qstSkipAheadStream(twice.get(), INT64_MAX);
    EXPECT_EQ(words(once, 5), words(twice, 5));
  }
  for (const int32_t k : {0, 1, 2}) {
    if (!c.leapfrog) break;
    const Stream leaper = fresh();
    EXPECT_EQ(__qstLeapfrogStream(leaper.get(), k, 3), 0);
    const Stream skipped = copy(leaper);
    EXPECT_EQ(words(leaper, 300), from(k, 3, 300)) << k;
    EXPECT_EQ(__qstSkipAheadStream(skipped.get(), 50), 0);  // steps of the leapfrogged sequence
    EXPECT_EQ(words(skipped, 100), from(k + 150, 3, 100)) << k;
  }
}

// ---- Seeds and quirks ----

TEST(Seeds, mcg31m1) {
  EXPECT_EQ(words(make(QST_BRNG_MCG31M1, {0}), 2), (Words{1, 1132489760}));
  EXPECT_EQ(words(make(QST_BRNG_MCG31M1, {2147483647, 5}), 2), (Words{1, 1132489760}));
  EXPECT_EQ(words(make(QST_BRNG_MCG31M1, {}), 1), Words{1});
  EXPECT_EQ(words(make(QST_BRNG_MCG31M1, {0xFFFFFFFF}), 1), Words{1});
  EXPECT_EQ(words(make(QST_BRNG_MCG31M1, {2147483646}), 1), Words{2147483646});
}

TEST(Seeds, mcg31m1_reals_write_one_element_at_length_zero) {
  const Stream s = make(QST_BRNG_MCG31M1, {77});
  double d = -1;
  float f = -1;
  EXPECT_EQ(__qstdBRngMCG31M1(s.get(), 0, &d, 0, 1), 0);
  EXPECT_EQ(__qstsBRngMCG31M1(s.get(), 0, &f, 0, 1), 0);
  const std::vector<double> two = reals(make(QST_BRNG_MCG31M1, {77}), 2, 0.0, 1.0);
  EXPECT_EQ(d, two[0]);
  EXPECT_EQ(f, static_cast<float>(two[1]));
  uint32_t untouched = 5;
  const std::string before = state_bytes(s);
  EXPECT_EQ(__qstiBRngMCG31M1(s.get(), 0, &untouched), 0);
  EXPECT_EQ(untouched, 5u);
  EXPECT_EQ(state_bytes(s), before);
}

TEST(Seeds, mcg59) {
  const auto first = [](const Words& seeds) {
    const Words w = words(make(QST_BRNG_MCG59, seeds), 1);
    return w[0] | static_cast<uint64_t>(w[1]) << 32;
  };
  EXPECT_EQ(first({}), 1u);
  EXPECT_EQ(first({0}), 1u);
  EXPECT_EQ(first({6}), 6u);  // even, and stays so
  EXPECT_EQ(first({0, 0x8000000}), 1u);
  EXPECT_EQ(first({3, 0xFFFFFFFF, 9}), (uint64_t{0x7FFFFFF} << 32) + 3);
}

TEST(Seeds, mrg32k3a) {
  const auto state = [](const Words& seeds) {
    const Stream s = make(QST_BRNG_MRG32K3A, seeds);
    Words w(6);
    std::memcpy(w.data(), qst_stream_state(s.get()), 24);
    return w;
  };
  constexpr uint32_t m1 = 4294967087, m2 = 4294944443;
  EXPECT_EQ(state({}), Words(6, 1));
  EXPECT_EQ(state({7, 8}), (Words{7, 8, 1, 1, 1, 1}));
  EXPECT_EQ(state({m1, m1 + 5, 0xFFFFFFFF, m2, m2 + 5, m2 - 1, 99}), (Words{0, 5, 208, 0, 5, m2 - 1}));
  EXPECT_EQ(state({0, 0, 0, 0, 0, 0}), (Words{1, 0, 0, 1, 0, 0}));
  EXPECT_EQ(state({m1, 0, 0, 0, m2, 0}), (Words{1, 0, 0, 1, 0, 0}));
}

struct R250State {
  uint32_t w[250];
  int32_t i, j;
};
const R250State& r250_state(const Stream& s) {
  return *static_cast<const R250State*>(qst_stream_state(s.get()));
}

TEST(Seeds, r250) {
  Words all(250);
  std::iota(all.begin(), all.end(), 100);
  const Stream given = make(QST_BRNG_R250, all);
  EXPECT_TRUE(std::equal(all.begin(), all.end(), r250_state(given).w));
  all.pop_back();
  EXPECT_EQ(state_bytes(make(QST_BRNG_R250, all)), state_bytes(make(QST_BRNG_R250, {100})));
  EXPECT_EQ(state_bytes(make(QST_BRNG_R250, {0})), state_bytes(make(QST_BRNG_R250, {})));
  // The triangle: word t keeps its bits below bit 31 - t, which is set, and has none above.
  const Stream s = make(QST_BRNG_R250, {5});
  for (int t = 0; t < 32; ++t) EXPECT_EQ(r250_state(s).w[3 + 7 * t] >> (31 - t), 1u) << t;
  EXPECT_EQ(r250_state(s).w[0], 5u * 69069);
}

TEST(Seeds, r250_positions_and_words_after_short_and_long_calls) {
  const Stream shorter = make(QST_BRNG_R250, {5}), longer = copy(shorter);
  words(shorter, 249);
  EXPECT_EQ(r250_state(shorter).i, 249);
  EXPECT_EQ(r250_state(shorter).j, 102);
  const Words w = words(longer, 1400);  // not a whole number of blocks
  EXPECT_EQ(r250_state(longer).i, 0);
  EXPECT_EQ(r250_state(longer).j, 103);
  EXPECT_TRUE(std::equal(w.end() - 250, w.end(), r250_state(longer).w));
  const Stream real = make(QST_BRNG_R250, {5});
  reals(real, 1400, 0.0, 1.0);
  EXPECT_EQ(state_bytes(real), state_bytes(longer));
}

TEST(Seeds, wh) {
  constexpr uint32_t m0 = 16770647, m3 = 16770617;
  EXPECT_EQ(words(make(QST_BRNG_WH, {}), 2), (Words{1, 1, 1, 1, 125, 117, 127, 126}));
  EXPECT_EQ(words(make(QST_BRNG_WH, {m0, m0 + 3}), 1), (Words{1, 7, 1, 1}));  // m1 = m0 - 4
  EXPECT_EQ(words(make(QST_BRNG_WH, {2, 3, 4, m3 - 1, 9}), 1), (Words{2, 3, 4, m3 - 1}));
  EXPECT_EQ(words(make(276, {2, 3, 4, 5}), 9), words(make(QST_BRNG_WH + 272, {2, 3, 4, 5}), 9));
}

}  // namespace
