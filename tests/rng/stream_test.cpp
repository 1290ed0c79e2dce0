// Life of streams, chunks with their quirks, and the shared read-only table.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "rng/counting_allocator.h"
#include "rng/toy_generator.h"

namespace {

void* block(int value, size_t size = sizeof(int)) {
  void* data = qlx_serv_allocate(size, 128);
  std::memcpy(data, &value, sizeof value);
  return data;
}

int value_of(const void* data) {
  int value;
  std::memcpy(&value, data, sizeof value);
  return value;
}

// Ids and values of a list, newest first.
std::vector<std::pair<int, int>> listed(const QstStream* stream) {
  std::vector<std::pair<int, int>> list;
  for (const QstChunk* c = stream->chunks; c != nullptr; c = c->next) list.emplace_back(c->id, value_of(c->data));
  return list;
}

// Each test ends with as many live blocks as it began with.
class Streams : public testing::Test {
 protected:
  void SetUp() override {
    toy::brng();
    counting::reset();
    before_ = counting::live;
  }
  void TearDown() override {
    EXPECT_EQ(counting::live, before_);
    QstGlobRODataEntry* entry;
    for (uint64_t k = 0; k < 4; ++k) {
      const uint64_t id[] = {k, 77};
      EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, id), QST_ERROR_GLOBAL_ENTRY_NOT_FOUND) << k;
    }
  }

 private:
  long before_ = 0;
};

TEST_F(Streams, creation_fills_the_header_and_refuses_in_order) {
  QstStream somewhere{};
  QstStream* const untouched = &somewhere;
  QstStream* stream = untouched;
  for (int32_t id : {0xA00000, 0xB00000, 0xC00000, 0xA00001, 281, 0xFFFFF, 0x1000001, 279, 280}) {
    EXPECT_EQ(__qstNewStreamEx(&stream, id, 0, nullptr), QST_ERROR_BAD_BRNG) << id;
    EXPECT_EQ(stream, untouched) << id;
  }
  // A row without entries: a generator that is not built.
  for (int32_t row = 0; row < 16; ++row) {
    if (__RegBrngsNew[row].initStream != nullptr) continue;
    EXPECT_EQ(__qstNewStreamEx(&stream, (row + 1) * 0x100000, 0, nullptr), QST_ERROR_BAD_BRNG) << row;
    EXPECT_EQ(stream, untouched) << row;
  }
  EXPECT_EQ(counting::requests, 0);

  counting::reset(1);
  EXPECT_EQ(__qstNewStreamEx(&stream, toy::brng(), 0, nullptr), QST_ERROR_MEMORY);
  EXPECT_EQ(stream, nullptr);

  counting::reset();
  const uint32_t seeds[] = {5, 0, 0};
  ASSERT_EQ(__qstNewStreamEx(&stream, toy::brng(), 1, seeds), 0);
  EXPECT_EQ(counting::last_size, 32u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(stream) % 128, 0u);
  EXPECT_EQ(__qstGetStreamStateBrng(stream), toy::brng());
  EXPECT_EQ(stream->headerTag, 1);
  EXPECT_EQ(stream->headerPad0, 0);
  EXPECT_EQ(stream->headerPad1, 0);
  EXPECT_EQ(stream->chunksSlot, 0u);
  EXPECT_EQ(__qstGetNumChunks(stream), 0);
  EXPECT_EQ(__qstSearchChunk(stream, 1), nullptr);
  EXPECT_EQ(__qstGetStreamSize(stream), 32 + 8);
  EXPECT_EQ(__qstDeleteStream(&stream), 0);
  EXPECT_EQ(stream, nullptr);

  // A generator that refuses its seeds leaves the stream to the caller.
  EXPECT_EQ(__qstNewStreamEx(&stream, toy::brng(), 3, seeds), toy::kRefused);
  ASSERT_NE(stream, nullptr);
  __qstDeleteStream(&stream);
}

TEST_F(Streams, copies_go_on_alone_and_reverse_the_chunks) {
  QstStream *stream = toy::new_stream(10), *copy;
  for (int k = 1; k <= 3; ++k) __qstAddChunk(stream, k, nullptr, block(k * 100), sizeof(int));
  __qstAddChunk(stream, 2, nullptr, block(201), sizeof(int));
  EXPECT_EQ(value_of(__qstSearchChunk(stream, 2)), 201);  // the newest
  EXPECT_EQ(__qstGetStreamSize(stream), 40 + 4 * (24 + 4));
  ASSERT_EQ(__qstCopyStream(&copy, stream), 0);
  EXPECT_EQ(listed(stream), (std::vector<std::pair<int, int>>{{2, 201}, {3, 300}, {2, 200}, {1, 100}}));
  EXPECT_EQ(listed(copy), (std::vector<std::pair<int, int>>{{1, 100}, {2, 200}, {3, 300}, {2, 201}}));
  uint32_t a[2], b[2];
  _qstiRngUniformBits(0, stream, 2, a);
  EXPECT_EQ(toy::state(copy).next, 10u);
  __qstDeleteStream(&stream);
  _qstiRngUniformBits(0, copy, 2, b);
  EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
  __qstDeleteStream(&copy);
}

TEST_F(Streams, state_copy_keeps_the_identifier_and_counts_words) {
  QstStream *source = toy::new_stream(10), *destination = toy::new_stream(99);
  __qstAddChunk(source, 1, nullptr, block(1), sizeof(int));
  __qstAddChunk(destination, 2, nullptr, block(2), sizeof(int));
  EXPECT_EQ(__qstCopyStreamState(source, source), 0);
  EXPECT_EQ(listed(source).size(), 1u);
  EXPECT_EQ(__qstCopyStreamState(destination, source), 0);
  EXPECT_EQ(toy::state(destination).next, 10u);
  EXPECT_EQ(listed(destination), (std::vector<std::pair<int, int>>{{1, 1}}));
  __qstDeleteStream(&destination);

  // A generator of one word of 8: the second word of the state stays. Its own identifier stays too.
  static QstBrngProperties one_word = toy::kProperties;
  one_word.wordCount = 1;
  static const int32_t brng = __qstRegisterBrng(&one_word);
  const uint32_t seeds[] = {7, 3};
  ASSERT_EQ(__qstNewStreamEx(&destination, brng, 2, seeds), 0);
  EXPECT_EQ(__qstCopyStreamState(source, destination), 0);
  EXPECT_EQ(toy::state(source).next, 7u);
  EXPECT_EQ(toy::state(source).calls_left, -1);
  EXPECT_EQ(source->brng, toy::brng());
  __qstDeleteStream(&destination);

  // Words counted beyond the state are not copied: the sanitizer watches the ends of both blocks.
  one_word.wordCount = 100;
  static const int32_t too_many = __qstRegisterBrng(&one_word);
  ASSERT_EQ(__qstNewStreamEx(&destination, too_many, 2, seeds), 0);
  EXPECT_EQ(__qstCopyStreamState(source, destination), 0);
  EXPECT_EQ(toy::state(source).calls_left, 3);
  __qstDeleteStream(&destination);
  __qstDeleteStream(&source);
}

// What the counted words leave out: the multiplier of the congruential generators that one word covers. Those of WH are
// counted, though its count goes past the state.
TEST_F(Streams, state_copy_leaves_the_multiplier_of_a_leapfrog) {
  struct Case {
    int32_t brng;
    bool keeps;
  };
  for (const Case& c : {Case{QST_BRNG_MCG31M1, true}, {QST_BRNG_MCG59, true}, {QST_BRNG_WH, false}, {4, false}}) {
    SCOPED_TRACE(c.brng);
    const uint32_t seed = 5;
    QstStream *plain, *dealt;
    ASSERT_EQ(__qstNewStreamEx(&plain, c.brng, 1, &seed), 0);
    ASSERT_EQ(__qstNewStreamEx(&dealt, c.brng, 1, &seed), 0);
    ASSERT_EQ(__qstLeapfrogStream(dealt, 1, 3), 0);
    ASSERT_EQ(__qstCopyStreamState(dealt, plain), 0);
    double steps[7], leaps[3];
    ASSERT_EQ(_qstdRngUniform(0, plain, 7, steps, 0, 1), 0);
    ASSERT_EQ(_qstdRngUniform(0, dealt, 3, leaps, 0, 1), 0);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(leaps[k], steps[c.keeps ? 3 * k : k]) << k;
    __qstDeleteStream(&plain);
    __qstDeleteStream(&dealt);
  }
}

TEST_F(Streams, deletion_by_id_keeps_the_last_survivor) {
  struct Case {
    std::vector<int> added, left;
  };
  const Case cases[] = {
      {{}, {}},
      {{6}, {}},
      {{6, 6, 6}, {}},
      {{1}, {1}},
      {{6, 1, 6}, {1}},
      {{1, 2}, {1}},  // newest first: 2, 1; the list now starts at 1
      {{6, 1, 6, 2, 6}, {1}},
  };
  for (const Case& c : cases) {
    QstStream* stream = toy::new_stream();
    std::vector<QstChunk*> nodes;
    for (int id : c.added) {
      __qstAddChunk(stream, id, nullptr, block(id), sizeof(int));
      nodes.push_back(stream->chunks);
    }
    const long live = counting::live;
    __qstDeleteChunksById(stream, 6);
    std::vector<int> left;
    for (const auto& [id, value] : listed(stream)) left.push_back(id);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(counting::live, live - 2 * std::count(c.added.begin(), c.added.end(), 6));
    // Survivors before the last are lost to the stream, not freed: freed here.
    for (size_t k = 0; k < nodes.size(); ++k)
      if (c.added[k] != 6 && nodes[k] != stream->chunks) {
        qlx_serv_deallocate(nodes[k]->data);
        qlx_serv_deallocate(nodes[k]);
      }
    __qstDeleteStream(&stream);
  }
}

TEST_F(Streams, shared_data_outlives_all_but_its_last_stream) {
  const uint64_t id[] = {1, 77};
  QstStream *first = toy::new_stream(), *second = toy::new_stream(), *third;
  void *mine = block(42), *spare = block(43);
  __qstAddChunk(first, 1, id, mine, sizeof(int));
  __qstAddChunk(second, 1, id, spare, sizeof(int));
  EXPECT_EQ(__qstSearchChunk(second, 1), mine);
  EXPECT_EQ(value_of(spare), 43);  // not freed: the caller's
  qlx_serv_deallocate(spare);
  QstGlobRODataEntry* entry;
  ASSERT_EQ(__qstFindGlobRODataTableEntry(&entry, id), 0);
  EXPECT_EQ(entry->refCount, 2);
  ASSERT_EQ(__qstCopyStream(&third, second), 0);
  EXPECT_EQ(entry->refCount, 3);
  EXPECT_EQ(__qstSearchChunk(third, 1), mine);
  __qstCopyStreamState(third, second);  // lets go and takes again
  EXPECT_EQ(entry->refCount, 3);
  __qstDeleteStream(&first);
  __qstDeleteStream(&second);
  EXPECT_EQ(value_of(__qstSearchChunk(third, 1)), 42);
  __qstDeleteStream(&third);
  EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, id), QST_ERROR_GLOBAL_ENTRY_NOT_FOUND);
}

TEST_F(Streams, shared_table_is_dense_and_limited) {
  QstGlobRODataEntry *entry, *row[3];
  const uint64_t zero[] = {0, 0};
  EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, nullptr), QST_ERROR_GLOBAL_ENTRY_NOT_FOUND);
  EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, zero), QST_ERROR_GLOBAL_ENTRY_NOT_FOUND);
  const uint64_t ids[3][2] = {{1, 77}, {2, 77}, {3, 77}};
  for (int k = 0; k < 3; ++k) ASSERT_EQ(__qstCreateGlobRODataTableEntry(&row[k], ids[k], nullptr), 0);
  EXPECT_EQ(row[1], row[0] + 1);
  EXPECT_EQ(row[2], row[0] + 2);
  QstChunk chunk{};
  row[2]->data = &chunk;
  __qstRegisterGlobRODataReference(&chunk, ids[2]);
  EXPECT_EQ(chunk.data, &chunk);
  EXPECT_EQ(row[2]->refCount, 2);
  row[2]->data = nullptr;
  __qstUnregisterGlobRODataReference(ids[0]);  // the last row fills the hole
  EXPECT_EQ(row[0]->idLow, 3u);
  EXPECT_EQ(row[0]->refCount, 2);
  EXPECT_EQ(row[1]->idLow, 2u);
  __qstUnregisterGlobRODataReference(ids[0]);  // no such row any more
  __qstUnregisterGlobRODataReference(ids[1]);
  __qstUnregisterGlobRODataReference(ids[2]);
  EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, ids[2]), 0);
  __qstUnregisterGlobRODataReference(ids[2]);

  // Chunks share up to 127 rows; a row made directly may be the 128th.
  const auto id_of = [](uint64_t k, uint64_t* id) { id[0] = k, id[1] = 78; };
  QstStream* stream = toy::new_stream();
  uint64_t id[2];
  for (uint64_t k = 1; k <= 127; ++k) {
    id_of(k, id);
    __qstAddChunk(stream, 1, id, nullptr, 0);
    EXPECT_EQ(stream->chunks->globalId[0], k);
  }
  id_of(128, id);
  __qstAddChunk(stream, 1, id, block(5), sizeof(int));
  EXPECT_EQ(stream->chunks->globalId[0], 0u);
  EXPECT_EQ(stream->chunks->globalId[1], 0u);
  EXPECT_EQ(__qstCreateGlobRODataTableEntry(&entry, id, nullptr), 0);
  id_of(129, id);
  EXPECT_EQ(__qstCreateGlobRODataTableEntry(&entry, id, nullptr), QST_ERROR_GLOBAL_TABLE_FULL);
  id_of(1, id);  // a known identity is shared although the table is full
  __qstAddChunk(stream, 1, id, nullptr, 0);
  ASSERT_EQ(__qstFindGlobRODataTableEntry(&entry, id), 0);
  EXPECT_EQ(entry->refCount, 2);
  id_of(128, id);
  __qstUnregisterGlobRODataReference(id);
  __qstDeleteStream(&stream);
  id_of(64, id);
  EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, id), QST_ERROR_GLOBAL_ENTRY_NOT_FOUND);
}

TEST_F(Streams, fresh_identities_differ_and_carry_their_tag) {
  uint64_t a[2], b[2];
  EXPECT_EQ(__qstGenerateNewGlobalRODataTableEntryId(a, -2), 0);
  EXPECT_EQ(__qstGenerateNewGlobalRODataTableEntryId(b, -2), 0);
  EXPECT_EQ(a[1], ~uint64_t{1});
  EXPECT_NE(a[0], b[0]);
}

// The k-th request of each operation fails, for all k until none does: the status, and no block left behind.
TEST_F(Streams, failed_allocations_give_their_status_and_leak_nothing) {
  const uint64_t id[] = {2, 77};
  QstStream *source = toy::new_stream(3), *destination = toy::new_stream(4);
  __qstAddChunk(source, 1, nullptr, block(1), sizeof(int));
  __qstAddChunk(source, 2, id, block(2), sizeof(int));
  __qstAddChunk(source, 3, nullptr, block(3), sizeof(int));
  long k = 0;
  int32_t status;
  do {
    counting::reset(++k);
    const long live = counting::live;
    QstStream* copy;
    status = __qstCopyStream(&copy, source);
    if (k == 1) {
      EXPECT_EQ(copy, nullptr);
    } else {
      ASSERT_NE(copy, nullptr);
      EXPECT_EQ(__qstGetNumChunks(copy), status < 0 ? 0 : 3);
      __qstDeleteStream(&copy);
    }
    EXPECT_EQ(status, counting::requests >= k ? QST_ERROR_MEMORY : QST_STATUS_OK) << k;
    EXPECT_EQ(counting::live, live) << k;
  } while (status < 0);
  EXPECT_EQ(k, 1 + 3 + 2 + 1);  // block, three nodes, two private copies, and the round that succeeds

  for (k = 1; k <= 6; ++k) {
    counting::reset(k);
    EXPECT_EQ(__qstCopyStreamState(destination, source), k < 6 ? QST_ERROR_MEMORY : QST_STATUS_OK);
    EXPECT_EQ(__qstGetNumChunks(destination), k < 6 ? 0 : 3);
    EXPECT_EQ(toy::state(destination).next, 3u);
  }
  counting::reset(1);
  int mine;
  EXPECT_EQ(__qstAddChunk(destination, 9, id, &mine, 0), QST_ERROR_MEMORY);
  EXPECT_EQ(__qstSearchChunk(destination, 9), nullptr);
  counting::reset();
  __qstDeleteStream(&destination);
  __qstDeleteStream(&source);
}

}  // namespace
