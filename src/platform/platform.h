// What the kernel library asks of the operating system: a pointer per thread, a private heap, errno, and word of the
// library's loading and unloading. posix/ and windows/ each give it once.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace qlx::platform {

// One pointer per thread. `on_thread_exit` gets a thread's pointer when the thread ends with one set.
bool create_thread_slot(void (*on_thread_exit)(void*));
void destroy_thread_slot();
bool thread_slot_exists();
bool set_thread_slot(void* pointer);
void* thread_slot_of_system();  // thread_slot.h has the quick way

// The heap that holds the per-thread records. Destroying it releases every block still in it. heap_free and
// heap_allocate may run in several threads at once.
bool create_heap(std::size_t initial_size);
void destroy_heap();
bool heap_exists();
void* heap_allocate(std::size_t size);
void heap_free(void* block);

// Stores the value in the errno of the language runtime that the process uses; does nothing when there is none.
void set_errno(int value);

// Called before a report is printed to stderr.
void prepare_stderr();

// Defined by the frame, called by the platform when the library is loaded (false: can't work), when a thread ends, and
// when it is unloaded while the process goes on.
bool on_process_attach();
void on_process_detach();

}  // namespace qlx::platform
