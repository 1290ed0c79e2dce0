// The platform on Windows: thread-local storage and private heaps of the system, and the errno of whichever C runtime
// the process has loaded.
// SPDX-License-Identifier: Apache-2.0
#include <windows.h>

#include "platform/thread_slot.h"

namespace qlx::platform {
namespace {

DWORD slot = TLS_OUT_OF_INDEXES;
HANDLE heap = nullptr;
void (*exit_function)(void*) = nullptr;

using ErrnoAccessor = int*(__cdecl*)();

// The runtimes are asked in this order; the first that is loaded decides, even if it has no accessor.
ErrnoAccessor find_errno() {
  static constexpr const char* kRuntimes[] = {"MSVCR100.DLL", "MSVCR90.DLL",  "MSVCR80.DLL",   "MSVCR71.DLL",
                                              "MSVCR70.DLL",  "MSVCRT.DLL",   "MSVCR100D.DLL", "MSVCR90D.DLL",
                                              "MSVCR80D.DLL", "MSVCR71D.DLL", "MSVCR70D.DLL",  "MSVCRTD.DLL"};
  for (const char* name : kRuntimes) {
    if (HMODULE module = GetModuleHandleA(name)) {
      return reinterpret_cast<ErrnoAccessor>(reinterpret_cast<void*>(GetProcAddress(module, "_errno")));
    }
  }
  return nullptr;
}

// Sought once per process. Without a lock: two first reports may both seek, and find the same.
volatile bool errno_sought = false;
volatile ErrnoAccessor errno_accessor = nullptr;

}  // namespace

bool create_thread_slot(void (*on_thread_exit)(void*)) {
  exit_function = on_thread_exit;
  slot = TlsAlloc();
  return slot != TLS_OUT_OF_INDEXES;
}

void destroy_thread_slot() {
  if (slot != TLS_OUT_OF_INDEXES) TlsFree(slot);
  slot = TLS_OUT_OF_INDEXES;
}

bool thread_slot_exists() {
  return slot != TLS_OUT_OF_INDEXES;
}

bool set_thread_slot(void* pointer) {
  return TlsSetValue(slot, pointer) != 0;
}

void* thread_slot_of_system() {
  if (slot == TLS_OUT_OF_INDEXES) return nullptr;
  // TlsGetValue clears the thread's last error, which belongs to the caller.
  const DWORD last_error = GetLastError();
  void* pointer = TlsGetValue(slot);
  SetLastError(last_error);
  return pointer;
}

bool create_heap(std::size_t initial_size) {
  heap = HeapCreate(0, initial_size, 0);
  return heap != nullptr;
}

void destroy_heap() {
  if (heap != nullptr) HeapDestroy(heap);
  heap = nullptr;
}

bool heap_exists() {
  return heap != nullptr;
}

void* heap_allocate(std::size_t size) {
  return HeapAlloc(heap, 0, size);
}

void heap_free(void* block) {
  HeapFree(heap, 0, block);
}

void set_errno(int value) {
  if (!errno_sought) {
    errno_accessor = find_errno();
    errno_sought = true;
  }
  const ErrnoAccessor accessor = errno_accessor;
  if (accessor != nullptr) *accessor() = value;
}

void prepare_stderr() {
  (void)GetStdHandle(STD_ERROR_HANDLE);
}

}  // namespace qlx::platform

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  using namespace qlx::platform;
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      return on_process_attach() ? TRUE : FALSE;
    case DLL_THREAD_DETACH:
      if (void* pointer = thread_slot()) {
        exit_function(pointer);
        set_thread_slot(nullptr);
      }
      return TRUE;
    case DLL_PROCESS_DETACH:
      if (reserved == nullptr) on_process_detach();  // not null: the process ends, and other threads are gone
      return TRUE;
    default:
      return TRUE;
  }
}
