// Memory, environment, locks and the process's end.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "qlx/core.h"

extern "C" int call_core_from_c();

TEST(core, serves_c_callers) {
  EXPECT_EQ(call_core_from_c(), 0);
}

TEST(memory, is_aligned_and_refused_when_too_large) {
  for (size_t alignment : {1, 8, 64, 128, 4096}) {
    for (size_t size : {0, 1, 1000}) {
      void* block = qlx_serv_allocate(size, alignment);
      ASSERT_NE(block, nullptr);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u);
      std::memset(block, 1, size);
      qlx_serv_deallocate(block);
    }
  }
  qlx_serv_deallocate(nullptr);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which end the process at such a size
  EXPECT_EQ(qlx_serv_allocate(SIZE_MAX / 2, 128), nullptr);
#endif
}

TEST(memory, bounded_copy_copies_all_or_nothing) {
  char room[4] = "abc";
  EXPECT_EQ(qlx_serv_memcpy_s(room, 2, "xyz", 3), 34);
  EXPECT_EQ(qlx_serv_memcpy_s(nullptr, 2, "xyz", 1), 22);
  EXPECT_EQ(qlx_serv_memcpy_s(room, 4, nullptr, 1), 22);
  EXPECT_EQ(qlx_serv_memcpy_s(nullptr, 0, nullptr, 0), 0);
  EXPECT_STREQ(room, "abc");
  EXPECT_EQ(qlx_serv_memcpy_s(room, 4, "xyz", 3), 0);
  EXPECT_STREQ(room, "xyz");
}

TEST(environment, copies_what_fits) {
  setenv("QLX_TEST_VALUE", "12345", 1);
  setenv("QLX_TEST_EMPTY", "", 1);
  unsetenv("QLX_TEST_ABSENT");
  char buffer[8];
  EXPECT_EQ(qlx_serv_getenv("QLX_TEST_VALUE", buffer, sizeof buffer), 5);
  EXPECT_STREQ(buffer, "12345");
  EXPECT_EQ(qlx_serv_getenv("QLX_TEST_VALUE", buffer, 6), 5);
  std::strcpy(buffer, "kept");
  EXPECT_EQ(qlx_serv_getenv("QLX_TEST_VALUE", buffer, 5), -1);
  EXPECT_EQ(qlx_serv_getenv("QLX_TEST_VALUE", buffer, 0), -1);
  EXPECT_EQ(qlx_serv_getenv("QLX_TEST_ABSENT", buffer, sizeof buffer), -1);
  EXPECT_STREQ(buffer, "kept");
  EXPECT_EQ(qlx_serv_getenv("QLX_TEST_EMPTY", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
}

TEST(locks, let_one_thread_in_at_a_time) {
  volatile int32_t lock = 0;
  int64_t count = 0;
  constexpr int kRounds = 20000;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        qlx_serv_lock(&lock);
        ++count;  // not atomic: a second holder loses counts, and the thread sanitizer sees it
        qlx_serv_unlock(&lock);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 4 * kRounds);
  EXPECT_EQ(lock, 0);
}

TEST(ProcessDeathTest, ends_with_the_code) {
  EXPECT_EXIT(qlx_serv_exit(3), testing::ExitedWithCode(3), "");
}

TEST(processor, both_features_or_none) {
  EXPECT_EQ(qlx_serv_cpuisicx(), __builtin_cpu_supports("vaes") && __builtin_cpu_supports("avx512f") ? 1 : 0);
}
