// The platform on POSIX: an initial-exec thread-local pointer (one load to read), a pthread key for its end, and a list
// of blocks as the heap.
// SPDX-License-Identifier: Apache-2.0
#include <pthread.h>

#include <cerrno>
#include <cstdlib>  // atexit

#include "platform/scratch.h"
#include "platform/thread_slot.h"
#include "qlx/core.h"

namespace qlx::platform {

__thread void* current_slot __attribute__((tls_model("initial-exec"))) = nullptr;

namespace {

// The key carries the pointer too, so that pthreads hands it to the exit function.
pthread_key_t key;
bool key_exists = false;
void (*exit_function)(void*) = nullptr;

void end_of_thread(void* pointer) {
  current_slot = nullptr;
  exit_function(pointer);
}

// A block of the heap: a node of a circular list, followed by the caller's bytes.
struct alignas(64) Block {
  Block* previous;
  Block* next;
};
Block heap_list{&heap_list, &heap_list};
bool heap_created = false;
volatile int32_t heap_list_lock = 0;

}  // namespace

bool create_thread_slot(void (*on_thread_exit)(void*)) {
  exit_function = on_thread_exit;
  key_exists = pthread_key_create(&key, end_of_thread) == 0;
  return key_exists;
}

void destroy_thread_slot() {
  if (key_exists) pthread_key_delete(key);
  key_exists = false;
  current_slot = nullptr;
}

bool thread_slot_exists() {
  return key_exists;
}

bool set_thread_slot(void* pointer) {
  if (pthread_setspecific(key, pointer) != 0) return false;
  current_slot = pointer;
  return true;
}

bool create_heap(std::size_t) {
  return heap_created = true;
}

bool heap_exists() {
  return heap_created;
}

void* heap_allocate(std::size_t size) {
  auto* block = static_cast<Block*>(qlx_serv_allocate(sizeof(Block) + size, kAlignment));
  if (block == nullptr) return nullptr;
  qlx_serv_lock(&heap_list_lock);
  block->previous = &heap_list;
  block->next = heap_list.next;
  heap_list.next->previous = block;
  heap_list.next = block;
  qlx_serv_unlock(&heap_list_lock);
  return block + 1;
}

void heap_free(void* pointer) {
  Block* block = static_cast<Block*>(pointer) - 1;
  qlx_serv_lock(&heap_list_lock);
  block->previous->next = block->next;
  block->next->previous = block->previous;
  qlx_serv_unlock(&heap_list_lock);
  qlx_serv_deallocate(block);
}

void destroy_heap() {
  while (heap_list.next != &heap_list) heap_free(heap_list.next + 1);
  heap_created = false;
}

void set_errno(int value) {
  errno = value;
}

void prepare_stderr() {}

namespace {

bool process_is_exiting = false;

__attribute__((constructor)) void attach() {
  // exit() runs this handler before the library's destructor, dlclose() after it: so the destructor can tell the two
  // apart, and leaves the records alone at process exit, when other threads may still be inside a kernel.
  std::atexit([] { process_is_exiting = true; });
  // A load can't be refused here; on failure the first use tries again and ends the process.
  (void)on_process_attach();
}

__attribute__((destructor)) void detach() {
  if (!process_is_exiting) on_process_detach();
}

}  // namespace
}  // namespace qlx::platform
