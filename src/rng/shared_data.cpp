// The process-wide table of shared read-only data, with reference counts, under one spin lock.
// SPDX-License-Identifier: Apache-2.0
#include "rng/shared_data.h"

#include <x86intrin.h>  // __rdtsc

#include <atomic>

#include "qlx/core.h"

namespace {

constexpr int32_t kRows = 128;
// A chunk never takes the last row: it stays free for __qstCreateGlobRODataTableEntry.
constexpr int32_t kRowsForChunks = kRows - 1;

// Rows are dense and few, so that a scan beats any index.
QstGlobRODataEntry rows[kRows];
int32_t row_count = 0;

std::atomic<int32_t> lock_word{0};
static_assert(sizeof lock_word == 4 && std::atomic<int32_t>::is_always_lock_free);

// Held for a scan of the table and no longer, hence a spin lock without back-off. Not re-entrant.
class Lock {
 public:
  Lock() {
    int32_t expected = 0;
    while (!lock_word.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed))
      expected = 0;
  }
  ~Lock() { lock_word.store(0, std::memory_order_release); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

bool is_zero(const uint64_t* id) {
  return id[0] == 0 && id[1] == 0;
}

bool has_id(const QstGlobRODataEntry& row, const uint64_t* id) {
  return row.idLow == id[0] && row.idHigh == id[1];
}

// The first row of that identity, or null. Under the lock.
QstGlobRODataEntry* find_row(const uint64_t* id) {
  for (int32_t i = 0; i < row_count; ++i)
    if (has_id(rows[i], id)) return &rows[i];
  return nullptr;
}

QstGlobRODataEntry* append_row(const uint64_t* id, void* data) {
  QstGlobRODataEntry* row = &rows[row_count++];
  *row = {id[0], id[1], 1, data};
  return row;
}

}  // namespace

namespace qlx::rng {

// One critical section from the search to the change. Two threads that bring the same identity at once then end up
// with one row and two references, and none can see a row that the other is about to drop.
void share(QstChunk* chunk) {
  if (is_zero(chunk->globalId)) return;
  Lock lock;
  if (QstGlobRODataEntry* row = find_row(chunk->globalId)) {
    ++row->refCount;
    chunk->data = row->data;
  } else if (row_count < kRowsForChunks) {
    append_row(chunk->globalId, chunk->data);
  } else {
    chunk->globalId[0] = chunk->globalId[1] = 0;
  }
}

bool find_shared(const uint64_t* id, void** data) {
  if (is_zero(id)) return false;
  Lock lock;
  const QstGlobRODataEntry* row = find_row(id);
  if (row != nullptr) *data = row->data;
  return row != nullptr;
}

}  // namespace qlx::rng

int32_t __qstFindGlobRODataTableEntry(QstGlobRODataEntry** entry, const uint64_t* id) {
  if (id == nullptr || is_zero(id)) return QST_ERROR_GLOBAL_ENTRY_NOT_FOUND;
  Lock lock;
  QstGlobRODataEntry* row = find_row(id);
  if (row == nullptr) return QST_ERROR_GLOBAL_ENTRY_NOT_FOUND;
  *entry = row;
  return QST_STATUS_OK;
}

int32_t __qstCreateGlobRODataTableEntry(QstGlobRODataEntry** entry, const uint64_t* id, void* data) {
  Lock lock;
  if (row_count >= kRows) return QST_ERROR_GLOBAL_TABLE_FULL;
  *entry = append_row(id, data);
  return QST_STATUS_OK;
}

void __qstRegisterGlobRODataReference(QstChunk* chunk, const uint64_t* id) {
  Lock lock;
  if (QstGlobRODataEntry* row = find_row(id)) {
    ++row->refCount;
    chunk->data = row->data;
  }
}

void __qstUnregisterGlobRODataReference(const uint64_t* id) {
  Lock lock;
  for (int32_t i = 0; i < row_count; ++i) {
    QstGlobRODataEntry& row = rows[i];
    if (!has_id(row, id) || --row.refCount != 0) continue;
    if (row.data != nullptr) qlx_serv_deallocate(row.data);
    // The row that fills the hole is not looked at again.
    if (i != --row_count) row = rows[row_count];
  }
}

int32_t __qstGenerateNewGlobalRODataTableEntryId(uint64_t* id, int32_t tag) {
  id[1] = static_cast<uint64_t>(static_cast<int64_t>(tag));
  for (;;) {
    id[0] = __rdtsc();
    void* unused;
    if (is_zero(id) || !qlx::rng::find_shared(id, &unused)) return QST_STATUS_OK;
  }
}
