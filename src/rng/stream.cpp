// The life of a stream: creation, copies, deletion.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "qlx/core.h"
#include "qlx/qst_image.h"
#include "rng/qst_stream.h"

namespace {

using namespace qlx::rng;

// Abstract streams take a buffer and a callback, which their own constructors collect.
bool is_abstract(int32_t brng) {
  return brng == QST_BRNG_IABSTRACT || brng == QST_BRNG_DABSTRACT || brng == QST_BRNG_SABSTRACT;
}

}  // namespace

int32_t __qstAllocateStream(QstStream** stream, const QstBrngProperties* table, int32_t brng, int32_t row,
                            int32_t subStream) {
  const int32_t status = __qstIsBrngValid(table, row, subStream);
  if (status < 0) return status;
  // The empty rows of the older table, and generators that are not built, are in no state to be called.
  if (table[row].initStream == nullptr) return QST_ERROR_BAD_BRNG;
  // A registered generator may be smaller than the header, which is written in any case.
  const int32_t bytes = std::max(table[row].streamSize, kHeaderBytes);
  *stream = static_cast<QstStream*>(qlx_serv_allocate(static_cast<size_t>(bytes), kAlignment));
  if (*stream == nullptr) return QST_ERROR_MEMORY;
  QstStream& header = **stream;
  header.brng = brng;
  header.headerTag = 1;
  header.headerPad0 = 0;
  header.headerPad1 = 0;
  header.chunksSlot = 0;  // all 64 bits, also where a pointer has 32
  return QST_STATUS_OK;
}

int32_t __qstNewStreamEx(QstStream** stream, int32_t brng, int32_t n, const uint32_t* params) {
  if (is_abstract(brng)) return QST_ERROR_BAD_BRNG;
  int32_t row, sub_stream;
  const QstBrngProperties* table = __qstGetBrngBaseOffset(brng, &row, &sub_stream);
  const int32_t status = __qstAllocateStream(stream, table, brng, row, sub_stream);
  if (status < 0) return status;
  return table[row].initStream(QST_INIT_NEW, *stream, n, params);
}

int32_t __qstDeleteStream(QstStream** stream) {
  __qstDeleteChunks(*stream);
  qlx_serv_deallocate(*stream);
  *stream = nullptr;
  return QST_STATUS_OK;
}

int32_t __qstCopyStream(QstStream** newStream, QstStream* source) {
  int32_t row, sub_stream;
  const QstBrngProperties* table = __qstGetBrngBaseOffset(source->brng, &row, &sub_stream);
  const int32_t status = __qstAllocateStream(newStream, table, source->brng, row, sub_stream);
  if (status < 0) return status;
  QstStream* copy = *newStream;
  const size_t bytes = static_cast<size_t>(table[row].streamSize);
  qlx_serv_memcpy_s(copy, bytes, source, bytes);
  copy->chunksSlot = 0;  // the list belongs to the source
  return __qstCopyChunks(copy, source);
}

int32_t __qstCopyStreamState(QstStream* destination, QstStream* source) {
  if (destination == source) return QST_STATUS_OK;
  const QstBrngProperties& properties = *generator_of(source).properties;
  // The count of words is the rule. For WH it counts elements of four words and would run past both blocks, and
  // nothing says that the destination holds the same generator: no more is copied than both states have.
  const int32_t room =
      std::min(qst_image_state_bytes(&properties), qst_image_state_bytes(generator_of(destination).properties));
  const int64_t counted = int64_t{properties.wordBytes} * properties.wordCount;
  const size_t bytes = static_cast<size_t>(std::min<int64_t>(counted, room));
  qlx_serv_memcpy_s(qst_stream_state(destination), bytes, qst_stream_state(source), bytes);
  __qstDeleteChunks(destination);
  return __qstCopyChunks(destination, source);
}

int32_t __qstGetStreamSize(QstStream* stream) {
  int32_t bytes = QST_IMAGE_HEADER_BYTES + qst_image_state_bytes(generator_of(stream).properties);
  for (const QstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next)
    bytes += chunk->size + QST_IMAGE_CHUNK_BYTES;
  return bytes;
}

int32_t __qstGetStreamStateBrng(QstStream* stream) {
  return stream->brng;
}
