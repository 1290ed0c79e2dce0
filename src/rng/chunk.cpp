// Chunks: the data that distribution generators and quasi-random generators hang on a stream.
// SPDX-License-Identifier: Apache-2.0
#include "qlx/core.h"
#include "rng/qst_stream.h"
#include "rng/shared_data.h"

namespace {

using namespace qlx::rng;

// Shared data goes when its last reference goes; private data goes here.
void release(QstChunk* chunk) {
  void* shared;
  if (find_shared(chunk->globalId, &shared))
    __qstUnregisterGlobRODataReference(chunk->globalId);
  else if (chunk->data != nullptr)
    qlx_serv_deallocate(chunk->data);
  qlx_serv_deallocate(chunk);
}

// Adds one node like `source`; only private data is copied.
int32_t copy_chunk(QstStream* destination, const QstChunk& source) {
  void* data;
  if (find_shared(source.globalId, &data))
    return __qstAddChunk(destination, source.id, source.globalId, data, source.size);
  const size_t bytes = static_cast<size_t>(source.size);
  data = qlx_serv_allocate(bytes, kAlignment);
  if (data == nullptr) return QST_ERROR_MEMORY;
  qlx_serv_memcpy_s(data, bytes, source.data, bytes);
  const int32_t status = __qstAddChunk(destination, source.id, source.globalId, data, source.size);
  if (status < 0) qlx_serv_deallocate(data);
  return status;
}

}  // namespace

int32_t __qstAddChunk(QstStream* stream, int32_t id, const uint64_t* globalId, void* data, int32_t size) {
  auto* chunk = static_cast<QstChunk*>(qlx_serv_allocate(sizeof(QstChunk), kAlignment));
  if (chunk == nullptr) return QST_ERROR_MEMORY;
  chunk->id = id;
  chunk->size = size;
  chunk->data = data;
  chunk->globalId[0] = globalId == nullptr ? 0 : globalId[0];
  chunk->globalId[1] = globalId == nullptr ? 0 : globalId[1];
  share(chunk);
  chunk->next = stream->chunks;
  stream->chunks = chunk;
  return QST_STATUS_OK;
}

void* __qstSearchChunk(QstStream* stream, int32_t id) {
  for (const QstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next)
    if (chunk->id == id) return chunk->data;
  return nullptr;
}

int32_t __qstGetNumChunks(QstStream* stream) {
  int32_t count = 0;
  for (const QstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next) ++count;
  return count;
}

int32_t __qstDeleteChunksById(QstStream* stream, int32_t id) {
  QstChunk* previous = nullptr;  // the last survivor
  for (QstChunk* chunk = stream->chunks; chunk != nullptr;) {
    QstChunk* next = chunk->next;
    if (chunk->id != id) {
      previous = chunk;
    } else {
      release(chunk);
      if (previous != nullptr) previous->next = next;
    }
    chunk = next;
  }
  // The list starts at the last survivor: callers count on at most one.
  stream->chunks = previous;
  return QST_STATUS_OK;
}

int32_t __qstDeleteChunks(QstStream* stream) {
  while (QstChunk* chunk = stream->chunks) {
    stream->chunks = chunk->next;
    release(chunk);
  }
  return QST_STATUS_OK;
}

int32_t __qstCopyChunks(QstStream* destination, QstStream* source) {
  for (const QstChunk* chunk = source->chunks; chunk != nullptr; chunk = chunk->next) {
    const int32_t status = copy_chunk(destination, *chunk);
    if (status < 0) {
      __qstDeleteChunks(destination);
      return status;
    }
  }
  return QST_STATUS_OK;
}
