// The life of the per-thread records: slot and heap of the process, record of each thread.
// SPDX-License-Identifier: Apache-2.0
#include <new>

#include "frame/qvm_frame.h"
#include "platform/thread_slot.h"
#include "qlx/core.h"

namespace qlx {
namespace {

constexpr int kNoMemoryMessage = 773;
constexpr int kNoMemoryExit = 3;

volatile int32_t slot_lock = 0;
volatile int32_t heap_lock = 0;

void free_record(void* record) {
  platform::heap_free(record);
}

class Locked {
 public:
  explicit Locked(volatile int32_t& lock) : lock_(lock) { qlx_serv_lock(&lock_); }
  ~Locked() { qlx_serv_unlock(&lock_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  volatile int32_t& lock_;
};

// Slot and heap are made by whoever comes first: the load, or a first use in a library whose attach did not run.
bool create_slot_and_heap() {
  {
    Locked guard(slot_lock);
    if (!platform::thread_slot_exists() && !platform::create_thread_slot(free_record)) return false;
  }
  Locked guard(heap_lock);
  return platform::heap_exists() || platform::create_heap(sizeof(QvmThreadState));
}

QvmThreadState* create_record() {
  if (!create_slot_and_heap()) return nullptr;
  void* memory = platform::heap_allocate(sizeof(QvmThreadState));
  if (memory == nullptr) return nullptr;
  auto* state = new (memory) QvmThreadState{};
  if (platform::set_thread_slot(state)) return state;
  platform::heap_free(state);
  return nullptr;
}

[[gnu::cold, gnu::noinline]] QvmThreadState& first_use() {
  QvmThreadState* state = create_record();
  if (state == nullptr) {
    qlx_serv_print(1, kNoMemoryMessage, 0);
    qlx_serv_exit(kNoMemoryExit);
  }
  return *state;
}

}  // namespace

QvmThreadState& thread_state() {
  auto* state = static_cast<QvmThreadState*>(platform::thread_slot());
  return state != nullptr ? *state : first_use();
}

namespace platform {

bool on_process_attach() {
  if (create_record() != nullptr) return true;
  qlx_serv_print(1, kNoMemoryMessage, 0);
  return false;
}

void on_process_detach() {
  if (void* record = thread_slot()) {
    heap_free(record);
    set_thread_slot(nullptr);
  }
  destroy_thread_slot();
  destroy_heap();
}

}  // namespace platform
}  // namespace qlx
