// Threads that make, copy and delete streams of their own over shared read-only data.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "rng/counting_allocator.h"
#include "rng/toy_generator.h"

namespace {

constexpr int kThreads = 4, kRounds = 2000, kIdentities = 3;
constexpr int32_t kSize = 64;

// Adds shared data of identity `k`, all bytes of which are k + 1. What the table had already is given back.
void add_shared(QstStream* stream, int k) {
  const uint64_t id[] = {static_cast<uint64_t>(k), 77};
  void* data = qlx_serv_allocate(kSize, 128);
  std::memset(data, k + 1, kSize);
  __qstAddChunk(stream, k, id, data, kSize);
  if (__qstSearchChunk(stream, k) != data) qlx_serv_deallocate(data);
}

// Whether the data of identity `k` is whole: a row that went too early would have been freed.
bool is_whole(QstStream* stream, int k) {
  const auto* data = static_cast<const unsigned char*>(__qstSearchChunk(stream, k));
  for (int i = 0; i < kSize; ++i)
    if (data[i] != k + 1) return false;
  return true;
}

// Every thread drops its last reference in every round, so that rows come and go under the others' hands. Two that
// bring an identity at the same moment must end up with one row.
TEST(Threads, streams_share_rows_while_others_come_and_go) {
  toy::brng();
  const long before = counting::live;
  std::atomic<int> broken{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([t, &broken] {
      for (int round = 0; round < kRounds; ++round) {
        const int k = (t + round) % kIdentities;
        QstStream *stream = toy::new_stream(), *copy = nullptr;
        add_shared(stream, k);
        add_shared(stream, (k + 1) % kIdentities);
        __qstCopyStream(&copy, stream);
        __qstDeleteStream(&stream);
        if (!is_whole(copy, k) || !is_whole(copy, (k + 1) % kIdentities)) ++broken;
        std::vector<char> image(static_cast<size_t>(__qstGetStreamSize(copy)));
        __qstSaveStreamM(copy, image.data());
        __qstLoadStreamM(&stream, image.data());
        __qstCopyStreamState(stream, copy);
        __qstDeleteStream(&copy);
        if (!is_whole(stream, k)) ++broken;
        uint64_t fresh[2];
        __qstGenerateNewGlobalRODataTableEntryId(fresh, t);
        double r[4];
        _qstdRngUniform(0, stream, 4, r, 0, 1);
        __qstDeleteStream(&stream);
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(broken, 0);
  EXPECT_EQ(counting::live, before);
  QstGlobRODataEntry* entry;
  for (uint64_t k = 0; k < kIdentities; ++k) {
    const uint64_t id[] = {k, 77};
    EXPECT_EQ(__qstFindGlobRODataTableEntry(&entry, id), QST_ERROR_GLOBAL_ENTRY_NOT_FOUND);
  }
}

// Two threads bring one new identity at the same moment: one row, two references, in every round. The rounds go on for
// two seconds, since only a machine with two idle processors makes the moments meet at once.
TEST(Threads, an_identity_brought_twice_at_once_is_one_row) {
  toy::brng();
  constexpr std::chrono::seconds kPatience{2};
  const auto begin = std::chrono::steady_clock::now();
  std::atomic<int> arrived{0};
  std::atomic<bool> done{false};
  // Spins, so that both leave within a few cycles of each other; a thread that waits long gives its processor up.
  const auto meet = [&arrived](int target) {
    ++arrived;
    for (int spins = 0; arrived.load() < target; ++spins)
      if (spins > 100000) std::this_thread::yield();
  };
  int rounds = 0, broken = 0;
  const auto work = [&](bool checks) {
    QstStream* stream = toy::new_stream();
    for (int round = 0; !done; ++round) {
      meet(6 * round + 2);
      add_shared(stream, 1);
      meet(6 * round + 4);
      if (checks) {
        const uint64_t id[] = {1, 77};
        QstGlobRODataEntry* entry;
        broken += __qstFindGlobRODataTableEntry(&entry, id) != 0 || entry->refCount != 2;
        ++rounds;
        done = broken > 0 || rounds == 20000 || std::chrono::steady_clock::now() - begin > kPatience;
      }
      meet(6 * round + 6);
      if (!done) __qstDeleteChunks(stream);
    }
    if (broken == 0) __qstDeleteStream(&stream);  // two rows of one identity would free their data twice
  };
  std::thread other(work, false);
  work(true);
  other.join();
  EXPECT_EQ(broken, 0) << "in round " << rounds;
}

}  // namespace
