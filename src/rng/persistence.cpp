// Streams to and from files and memory: one writer and one reader over two kinds of bytes.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstring>

#include "qlx/core.h"
#include "qlx/qst_image.h"
#include "rng/qst_stream.h"

namespace {

using namespace qlx::rng;

// A file name as the caller gave it: terminated when `length` is negative, else counted and copied.
class FileName {
 public:
  FileName(const char* name, int32_t length) : name_(name) {
    if (length < 0) return;
    const size_t bytes = static_cast<size_t>(length);
    name_ = copy_ = static_cast<char*>(qlx_serv_allocate(bytes + 1, kAlignment));
    if (copy_ == nullptr) return;
    qlx_serv_memcpy_s(copy_, bytes, name, bytes);
    copy_[bytes] = '\0';
  }
  ~FileName() { qlx_serv_deallocate(copy_); }
  FileName(const FileName&) = delete;
  FileName& operator=(const FileName&) = delete;
  const char* get() const { return name_; }  // null: no memory

 private:
  char* copy_ = nullptr;
  const char* name_;
};

// Bytes to and from a file, by items: true when all `count` items of `size` bytes went through. An item of no bytes
// doesn't count as one that did, as the C runtime has it.
class File {
 public:
  File(const char* name, const char* mode) : file_(std::fopen(name, mode)) {}
  explicit operator bool() const { return file_ != nullptr; }
  bool write(const void* data, size_t size, size_t count = 1) { return std::fwrite(data, size, count, file_) == count; }
  bool read(void* data, size_t size, size_t count = 1) { return std::fread(data, size, count, file_) == count; }
  bool close() { return std::fclose(file_) == 0; }

 private:
  std::FILE* file_;
};

// The same on memory that the caller answers for.
class Memory {
 public:
  explicit Memory(char* memory) : at_(memory) {}
  bool write(const void* data, size_t size, size_t count = 1) {
    if (size != 0) std::memcpy(at_, data, size * count);
    at_ += size * count;
    return true;
  }

 private:
  char* at_;
};
class ConstMemory {
 public:
  explicit ConstMemory(const char* memory) : at_(memory) {}
  bool read(void* data, size_t size, size_t count = 1) {
    if (size != 0) std::memcpy(data, at_, size * count);
    at_ += size * count;
    return true;
  }

 private:
  const char* at_;
};

template <class T>
void put(char* image, int32_t offset, T value) {
  std::memcpy(image + offset, &value, sizeof value);
}

template <class Sink>
int32_t save(QstStream* stream, Sink& sink) {
  QstBrngProperties properties{};
  __qstGetBrngProperties(stream->brng, &properties);
  const int32_t state_size = qst_image_state_bytes(&properties);

  char header[QST_IMAGE_HEADER_BYTES] = {};  // the bytes that have no meaning are zero, so that images compare equal
  header[0] = QST_IMAGE_VERSION;
  for (int k = 0; k < 3; ++k) header[4 + k] = "RNG"[k];
  put<uint16_t>(header, 8, QST_IMAGE_HEADER_BYTES);
  put<int32_t>(header, 12, state_size);
  put<uint16_t>(header, 16, static_cast<uint16_t>(__qstGetNumChunks(stream)));
  put<int32_t>(header, 20, stream->brng);
  if (!sink.write(header, sizeof header) || !sink.write(qst_stream_state(stream), static_cast<size_t>(state_size)))
    return QST_ERROR_FILE_WRITE;

  // Only the last write of the last chunk decides. A chunk of no bytes in that place fails in a file.
  int32_t status = QST_STATUS_OK;
  for (const QstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next) {
    sink.write(&chunk->id, sizeof chunk->id);
    sink.write(chunk->globalId, sizeof chunk->globalId[0], 2);
    sink.write(&chunk->size, sizeof chunk->size);
    status = sink.write(chunk->data, static_cast<size_t>(chunk->size)) ? QST_STATUS_OK : QST_ERROR_FILE_WRITE;
  }
  return status;
}

// Reads one chunk and adds it. `status` of a short read is set and the chunk is added all the same: the caller's next
// chunk sets it anew. Returns false when no further chunk may be read.
template <class Source>
bool load_chunk(QstStream* stream, Source& source, int32_t version, int32_t& status) {
  int32_t id = 0, size = 0;
  uint64_t global_id[2] = {0, 0};
  source.read(&id, sizeof id);
  if (version > QST_IMAGE_VERSION) {
    status = QST_ERROR_FILE_READ;
    return false;
  }
  if (version > 0) source.read(global_id, sizeof global_id[0], 2);
  source.read(&size, sizeof size);
  // A negative size is more than any memory.
  void* data = size < 0 ? nullptr : qlx_serv_allocate(static_cast<size_t>(size), kAlignment);
  if (data == nullptr) {
    status = QST_ERROR_MEMORY;
    return false;
  }
  status = source.read(data, static_cast<size_t>(size)) ? QST_STATUS_OK : QST_ERROR_FILE_READ;
  const int32_t added = __qstAddChunk(stream, id, global_id, data, size);
  if (added < 0) {
    status = added;
    qlx_serv_deallocate(data);
    return false;
  }
  // This process had the shared data: the chunk took that, and what was read is ours still.
  if (stream->chunks->data != data) qlx_serv_deallocate(data);
  return true;
}

template <class Source>
int32_t load_stream(QstStream** stream, Source& source, int32_t bad_format) {
  *stream = nullptr;
  // The first 8 bytes tell how long the header is. Only the last read of the two matters: at the end of a file both
  // are short.
  char bytes[QST_IMAGE_HEADER_BYTES] = {};
  source.read(bytes, 8);
  if (!source.read(bytes + 8, static_cast<size_t>(qst_image_header_bytes(bytes) - 8))) return QST_ERROR_FILE_READ;
  QstImageHeader header;
  int32_t status = qst_parse_image_header(bytes, &header, bad_format);
  if (status < 0) return status;

  int32_t row, sub_stream;
  const QstBrngProperties* table = __qstGetBrngBaseOffset(header.brng, &row, &sub_stream);
  status = __qstAllocateStream(stream, table, header.brng, row, sub_stream);
  if (status < 0) return status;

  if (!source.read(qst_stream_state(*stream), static_cast<size_t>(header.stateSize))) status = QST_ERROR_FILE_READ;
  if (header.brng == QST_BRNG_TRNG && !__qstCPUisRDRAND()) status = QST_ERROR_NO_HARDWARE_RANDOM;
  if (header.brng == QST_BRNG_ARS5 && !__qstCPUisAES()) status = QST_ERROR_NO_AES;
  if (status < 0) return status;
  for (int32_t k = 0; k < header.chunkCount; ++k)
    if (!load_chunk(*stream, source, header.version, status)) break;
  return status;
}

// A stream that could not be read whole goes.
int32_t finish(QstStream** stream, int32_t status) {
  if (status < 0 && *stream != nullptr) __qstDeleteStream(stream);
  return status;
}

}  // namespace

int32_t __qstSaveStreamF(QstStream* stream, const char* fname, int32_t fnameLength) {
  const FileName name(fname, fnameLength);
  if (name.get() == nullptr) return QST_ERROR_MEMORY;
  File file(name.get(), "wb");
  if (!file) return QST_ERROR_FILE_OPEN;
  const int32_t status = save(stream, file);
  return file.close() ? status : QST_ERROR_FILE_CLOSE;
}

int32_t __qstLoadStreamF(QstStream** stream, const char* fname, int32_t fnameLength) {
  const FileName name(fname, fnameLength);
  if (name.get() == nullptr) return QST_ERROR_MEMORY;
  File file(name.get(), "rb");
  if (!file) {
    *stream = nullptr;
    return QST_ERROR_FILE_OPEN;
  }
  const int32_t status = load_stream(stream, file, QST_ERROR_BAD_FILE_FORMAT);
  return finish(stream, file.close() ? status : QST_ERROR_FILE_CLOSE);
}

int32_t __qstSaveStreamM(QstStream* stream, char* memory) {
  Memory sink(memory);
  return save(stream, sink);
}

int32_t __qstLoadStreamM(QstStream** stream, const char* memory) {
  ConstMemory source(memory);
  return finish(stream, load_stream(stream, source, QST_ERROR_BAD_MEMORY_FORMAT));
}
