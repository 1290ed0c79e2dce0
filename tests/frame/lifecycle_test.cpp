// The life of the per-thread records: made at first use, freed at thread end and at unloading, and the way out when
// memory can't be had. The library is loaded by hand, with the core's allocator replaced and counted.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "qlx/core.h"

namespace {
std::atomic<int> live{0};
std::atomic<bool> refuse{false};
}  // namespace

extern "C" __attribute__((visibility("default"))) void* qlx_serv_allocate(size_t size, size_t alignment) {
  void* block = nullptr;
  if (refuse || posix_memalign(&block, alignment, size) != 0) return nullptr;
  ++live;
  return block;
}
extern "C" __attribute__((visibility("default"))) void qlx_serv_deallocate(void* block) {
  if (block == nullptr) return;
  --live;
  std::free(block);
}

namespace {

using GetMode = uint32_t (*)();

struct Library {
  void* handle = dlopen(QLX_AVX_PATH, RTLD_NOW);
  GetMode get_mode = handle != nullptr ? reinterpret_cast<GetMode>(dlsym(handle, "_qvmGetMode")) : nullptr;
};

TEST(Lifecycle, records_end_with_their_threads_and_with_the_library) {
  ASSERT_EQ(live, 0);
  for (int round = 0; round < 2; ++round) {
    Library library;
    ASSERT_NE(library.get_mode, nullptr) << dlerror();
    EXPECT_EQ(live, 1);  // the loading thread's, made at load
    std::vector<std::thread> threads;
    for (int k = 0; k < 8; ++k) threads.emplace_back([&] { EXPECT_EQ(library.get_mode(), 0x1A02u); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(live, 1);
    // A thread that outlives the library: its record goes with the heap, and its end must not touch the library.
    std::atomic<int> step{0};
    std::thread survivor([&] {
      library.get_mode();
      step = 1;
      while (step != 2) std::this_thread::yield();
    });
    while (step != 1) std::this_thread::yield();
    EXPECT_EQ(live, 2);
    ASSERT_EQ(dlclose(library.handle), 0);
    EXPECT_EQ(live, 0);
    step = 2;
    survivor.join();
  }
}

TEST(Lifecycle, exhausted_memory_prints_and_exits) {
  const auto first_use = [] {
    Library library;
    std::thread([&] {
      refuse = true;
      library.get_mode();
    }).join();
  };
  EXPECT_EXIT(first_use(), ::testing::ExitedWithCode(3), "memory");
  // At load it is printed, and the first use tries again.
  const auto load = [] {
    refuse = true;
    Library library;
    refuse = false;
    std::_Exit(library.get_mode() == 0x1A02 ? 0 : 1);
  };
  EXPECT_EXIT(load(), ::testing::ExitedWithCode(0), "memory");
}

}  // namespace
