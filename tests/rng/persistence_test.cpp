// Streams to and from files and memory: continuation, the format byte by byte, and every failure.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "qlx/qst_image.h"
#include "rng/counting_allocator.h"
#include "rng/toy_generator.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Bytes = std::vector<char>;

Bytes image_of(QstStream* stream) {
  Bytes image(static_cast<size_t>(__qstGetStreamSize(stream)) + 8, '\x5A');
  EXPECT_EQ(__qstSaveStreamM(stream, image.data()), 0);
  // The size is exact: nothing is written behind it.
  for (int k = 0; k < 8; ++k) EXPECT_EQ(*(image.end() - 1 - k), '\x5A');
  image.resize(image.size() - 8);
  return image;
}

void add_chunk(QstStream* stream, int32_t id, const std::string& value, const uint64_t* global_id = nullptr) {
  void* data = qlx_serv_allocate(value.size(), 128);
  std::memcpy(data, value.data(), value.size());
  __qstAddChunk(stream, id, global_id, data, static_cast<int32_t>(value.size()));
}

std::string listed(const QstStream* stream) {
  std::string list;
  for (const QstChunk* c = stream->chunks; c != nullptr; c = c->next)
    list += std::to_string(c->id) + ":" + std::string(static_cast<char*>(c->data), static_cast<size_t>(c->size)) + " ";
  return list;
}

template <class T>
void put(Bytes& image, size_t at, T value) {
  std::memcpy(&image[at], &value, sizeof value);
}

class Persistence : public testing::Test {
 protected:
  void SetUp() override {
    toy::brng();
    counting::reset();
    before_ = counting::live;
  }
  void TearDown() override {
    EXPECT_EQ(counting::live, before_);
    std::filesystem::remove(path_);
  }

  void write_file(const Bytes& bytes) {
    std::ofstream(path_, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  Bytes read_file() {
    std::ifstream file(path_, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  int32_t load_file(QstStream** stream) { return __qstLoadStreamF(stream, path_.c_str(), -1); }

  // The status of the file's reader; on success the list of chunks goes to `chunks`.
  int32_t load_bytes(const Bytes& image, std::string* chunks = nullptr) {
    write_file(image);
    QstStream* stream = reinterpret_cast<QstStream*>(this);
    const int32_t status = load_file(&stream);
    EXPECT_EQ(status == 0, stream != nullptr);
    if (stream != nullptr) {
      if (chunks != nullptr) *chunks = listed(stream);
      EXPECT_EQ(stream->headerTag, 1);
      __qstDeleteStream(&stream);
    }
    return status;
  }

  // An image of the toy generator with the given chunks: state at 24, first chunk at 40.
  Bytes toy_image(std::vector<std::string> chunks) {
    QstStream* stream = toy::new_stream(5);
    int32_t id = 0;
    for (const std::string& value : chunks) add_chunk(stream, ++id, value);
    const Bytes image = image_of(stream);
    __qstDeleteStream(&stream);
    return image;
  }

  const std::string path_ = testing::TempDir() + "qlx_persistence_" + std::to_string(getpid()) + ".qst";

 private:
  long before_ = 0;
};

// Every generator that the library has, under both numberings, and a registered one.
TEST_F(Persistence, loaded_streams_go_on) {
  std::vector<int32_t> ids = {0, 1, 2, 3, 4, 276, 277, 278, 0x500000 + 100, 0x900000 + 6023, toy::brng()};
  for (int32_t row = 0; row < 16; ++row)
    if (row != 13) ids.push_back((row + 1) * 0x100000);  // the hardware source has no sequence
  int made = 0;
  for (int32_t id : ids) {
    SCOPED_TRACE(id);
    QstStream *stream = nullptr, *from_memory, *from_file, *copy;
    const uint32_t seed = 3;
    if (__qstNewStreamEx(&stream, id, 1, &seed) < 0) continue;  // not built yet
    ++made;
    double r[4][600];
    if (_qstdRngUniform(0, stream, 300, r[0], 0.0, 1.0) == 0) {
      const Bytes image = image_of(stream);
      EXPECT_EQ(__qstSaveStreamF(stream, path_.c_str(), -1), 0);
      EXPECT_EQ(read_file(), image);
      ASSERT_EQ(qst_load_image(&from_memory, image.data(), image.size()), 0);
      ASSERT_EQ(load_file(&from_file), 0);
      EXPECT_EQ(from_file->brng, id);
      ASSERT_EQ(__qstCopyStream(&copy, stream), 0);
      int k = 0;
      for (QstStream* s : {stream, from_memory, from_file, copy})
        EXPECT_EQ(_qstdRngUniform(0, s, 600, r[k++], 0.0, 1.0), 0);
      EXPECT_EQ(std::memcmp(r[0], r[1], sizeof r[0]), 0);
      EXPECT_EQ(std::memcmp(r[0], r[2], sizeof r[0]), 0);
      EXPECT_EQ(std::memcmp(r[0], r[3], sizeof r[0]), 0);
      __qstDeleteStream(&copy);
      __qstDeleteStream(&from_memory);
      __qstDeleteStream(&from_file);
    }
    __qstDeleteStream(&stream);
  }
  EXPECT_GE(made, 1 + 5);
}

TEST_F(Persistence, image_has_the_layout_of_the_format) {
  QstStream* stream = toy::new_stream(5);
  const uint64_t shared[] = {0x1111, 0x2222};
  add_chunk(stream, 7, "seven");
  add_chunk(stream, 8, "eight!", shared);
  const Bytes image = image_of(stream);
  __qstDeleteStream(&stream);
  Bytes expected(24 + 16 + 24 + 6 + 24 + 5);
  expected[0] = 2;
  std::memcpy(&expected[4], "RNG", 3);
  put<uint16_t>(expected, 8, 24);
  put<int32_t>(expected, 12, 16);
  put<uint16_t>(expected, 16, 2);
  put<int32_t>(expected, 20, toy::brng());
  put(expected, 24, toy::State{5, -1, 0});
  put<int32_t>(expected, 40, 8);  // the newest chunk first, shared data in full
  put(expected, 44, shared[0]);
  put(expected, 52, shared[1]);
  put<int32_t>(expected, 60, 6);
  std::memcpy(&expected[64], "eight!", 6);
  put<int32_t>(expected, 70, 7);
  put<int32_t>(expected, 90, 5);
  std::memcpy(&expected[94], "seven", 5);
  for (size_t k : {1, 2, 3, 7, 10, 11, 18, 19}) expected[k] = image[k];  // bytes without meaning
  EXPECT_EQ(image, expected);
}

TEST_F(Persistence, bytes_without_meaning_are_ignored_and_chunks_come_back_reversed) {
  const Bytes image = toy_image({"a", "bb", "ccc"});
  std::string chunks;
  EXPECT_EQ(load_bytes(image, &chunks), 0);
  EXPECT_EQ(chunks, "1:a 2:bb 3:ccc ");
  for (size_t k : {1, 2, 3, 7, 10, 11, 18, 19}) {
    Bytes flipped = image;
    flipped[k] = static_cast<char>(~flipped[k]);
    EXPECT_EQ(load_bytes(flipped), 0) << k;
    EXPECT_EQ(qst_check_image(flipped.data(), flipped.size()), 0) << k;
  }
}

TEST_F(Persistence, loading_shared_data_takes_what_the_process_has) {
  const uint64_t shared[] = {5, 77};
  QstStream *stream = toy::new_stream(), *loaded;
  add_chunk(stream, 1, "shared", shared);
  const Bytes image = image_of(stream);
  ASSERT_EQ(__qstLoadStreamM(&loaded, image.data()), 0);
  EXPECT_EQ(__qstSearchChunk(loaded, 1), __qstSearchChunk(stream, 1));
  __qstDeleteStream(&stream);
  EXPECT_EQ(listed(loaded), "1:shared ");
  __qstDeleteStream(&loaded);
}

// The older header of 20 bytes, versions 0 and 1, and the magic in its first place.
TEST_F(Persistence, older_images_load) {
  const auto older = [](char version, bool magic_first, bool with_identity, int chunk_count) {
    Bytes image(20 + 16);
    image[0] = version;
    std::memcpy(&image[magic_first ? 0 : 4], "RNG", 3);
    put<uint16_t>(image, 8, 0xFFFF);  // not read
    put<uint16_t>(image, 10, 16);
    put<uint16_t>(image, 12, static_cast<uint16_t>(chunk_count));
    put<uint16_t>(image, 14, 0xFFFF);  // not read
    put<int32_t>(image, 16, toy::brng());
    for (int k = 0; k < chunk_count; ++k) {
      const char value = static_cast<char>('a' + k);
      const size_t at = image.size();
      image.resize(at + (with_identity ? 25 : 9));
      put<int32_t>(image, at, k + 1);
      put<int32_t>(image, image.size() - 5, 1);
      image.back() = value;
    }
    return image;
  };
  struct Case {
    Bytes image;
    int32_t status;
    const char* chunks;
  };
  const Case cases[] = {
      {older(0, false, false, 2), 0, "2:b 1:a "}, {older(1, false, true, 2), 0, "2:b 1:a "},
      {older(3, false, true, 0), 0, ""},          {older(3, false, true, 1), QST_ERROR_FILE_READ, ""},
      {older(0, true, false, 0), 0, ""},          {older(0, true, false, 1), QST_ERROR_FILE_READ, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    std::string chunks;
    EXPECT_EQ(load_bytes(c.image, &chunks), c.status);
    EXPECT_EQ(chunks, c.chunks);
    EXPECT_EQ(qst_check_image(c.image.data(), c.image.size()), c.status);
    QstStream* stream;
    EXPECT_EQ(__qstLoadStreamM(&stream, c.image.data()), c.status);
    if (stream != nullptr) __qstDeleteStream(&stream);
  }
}

// What the header may not be; the file's status, the memory's status.
TEST_F(Persistence, bad_headers_are_refused) {
  struct Case {
    const char* what;
    std::function<void(Bytes&)> change;
    int32_t status;
  };
  const Case cases[] = {
      {"header size 23", [](Bytes& b) { put<uint16_t>(b, 8, 23); }, QST_ERROR_BAD_FILE_FORMAT},
      {"header size 100", [](Bytes& b) { put<uint16_t>(b, 8, 100); }, 0},
      {"state size", [](Bytes& b) { put<int32_t>(b, 12, 17); }, QST_ERROR_BAD_FILE_FORMAT},
      {"magic", [](Bytes& b) { b[5] = 'n'; }, QST_ERROR_BAD_FILE_FORMAT},
      {"no such generator", [](Bytes& b) { put<int32_t>(b, 20, 0x7FF00000); }, QST_ERROR_BAD_FILE_FORMAT},
      {"no such sub-stream", [](Bytes& b) { put<int32_t>(b, 20, toy::brng() + 1); }, QST_ERROR_BAD_FILE_FORMAT},
      {"negative identifier", [](Bytes& b) { put<int32_t>(b, 20, -1); }, QST_ERROR_BAD_FILE_FORMAT},
      {"empty row", [](Bytes& b) { put<int32_t>(b, 20, 279), put<int32_t>(b, 12, 0); }, QST_ERROR_BAD_BRNG},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes image = toy_image({});
    c.change(image);
    EXPECT_EQ(load_bytes(image), c.status);
    QstStream* stream = reinterpret_cast<QstStream*>(this);
    EXPECT_EQ(__qstLoadStreamM(&stream, image.data()),
              c.status == QST_ERROR_BAD_FILE_FORMAT ? QST_ERROR_BAD_MEMORY_FORMAT : c.status);
    if (c.status < 0)
      EXPECT_EQ(stream, nullptr);
    else
      __qstDeleteStream(&stream);
  }
}

TEST_F(Persistence, short_files_are_refused_at_every_length) {
  const Bytes image = toy_image({"a", "bb"});
  for (size_t length = 0; length < image.size(); ++length) {
    SCOPED_TRACE(length);
    const Bytes cut(image.begin(), image.begin() + static_cast<ptrdiff_t>(length));
    EXPECT_EQ(load_bytes(cut), QST_ERROR_FILE_READ);
    EXPECT_EQ(qst_check_image(cut.data(), cut.size()), QST_ERROR_FILE_READ);
  }
  // In a file a chunk of no bytes fails in the last place and nowhere else, on both ways.
  for (const bool last : {false, true}) {
    QstStream *stream = toy::new_stream(), *loaded;
    add_chunk(stream, 1, last ? "" : "a");  // the oldest is written last
    add_chunk(stream, 2, last ? "a" : "");
    EXPECT_EQ(__qstSaveStreamF(stream, path_.c_str(), -1), last ? QST_ERROR_FILE_WRITE : 0);
    const Bytes written = image_of(stream);
    EXPECT_EQ(load_bytes(written), last ? QST_ERROR_FILE_READ : 0);
    EXPECT_EQ(__qstLoadStreamM(&loaded, written.data()), 0);  // memory has no short reads
    __qstDeleteStream(&loaded);
    __qstDeleteStream(&stream);
  }
}

TEST_F(Persistence, file_failures_have_their_status) {
  QstStream *stream = toy::new_stream(), *loaded = stream;
  EXPECT_EQ(__qstSaveStreamF(stream, "/nowhere/at/all", -1), QST_ERROR_FILE_OPEN);
  EXPECT_EQ(__qstLoadStreamF(&loaded, "/nowhere/at/all", -1), QST_ERROR_FILE_OPEN);
  EXPECT_EQ(loaded, nullptr);
  // A full device: a small image fails when the buffer goes out at the end.
  if (std::filesystem::exists("/dev/full")) {
    EXPECT_EQ(__qstSaveStreamF(stream, "/dev/full", -1), QST_ERROR_FILE_CLOSE);
  }

  // Counted names need no terminator; length 0 is the empty name.
  const std::string longer = path_ + "and more";
  EXPECT_EQ(__qstSaveStreamF(stream, longer.c_str(), static_cast<int32_t>(path_.size())), 0);
  EXPECT_EQ(read_file(), image_of(stream));
  ASSERT_EQ(__qstLoadStreamF(&loaded, longer.c_str(), static_cast<int32_t>(path_.size())), 0);
  __qstDeleteStream(&loaded);
  EXPECT_EQ(__qstSaveStreamF(stream, longer.c_str(), 0), QST_ERROR_FILE_OPEN);
  __qstDeleteStream(&stream);
}

TEST_F(Persistence, failed_allocations_give_their_status_and_leak_nothing) {
  QstStream *stream = toy::new_stream(), *loaded;
  const uint64_t shared[] = {6, 77};
  add_chunk(stream, 1, "one");
  add_chunk(stream, 2, "two", shared);
  const int32_t length = static_cast<int32_t>(path_.size());
  counting::reset(1);
  EXPECT_EQ(__qstSaveStreamF(stream, path_.c_str(), length), QST_ERROR_MEMORY);
  counting::reset();
  ASSERT_EQ(__qstSaveStreamF(stream, path_.c_str(), length), 0);
  EXPECT_EQ(counting::requests, 1);  // the name alone
  const Bytes image = image_of(stream);
  __qstDeleteStream(&stream);
  const long live = counting::live;
  // The name, the stream, and two blocks a chunk; from memory all but the name.
  for (long k = 1; k <= 6; ++k) {
    SCOPED_TRACE(k);
    QstStream* const before = loaded = reinterpret_cast<QstStream*>(this);
    counting::reset(k);
    EXPECT_EQ(__qstLoadStreamF(&loaded, path_.c_str(), length), QST_ERROR_MEMORY);
    EXPECT_EQ(loaded, k == 1 ? before : nullptr);
    EXPECT_EQ(counting::live, live);
    if (k == 6) break;
    counting::reset(k);
    EXPECT_EQ(__qstLoadStreamM(&loaded, image.data()), QST_ERROR_MEMORY);
    EXPECT_EQ(loaded, nullptr);
    EXPECT_EQ(counting::live, live);
  }
  counting::reset(7);
  ASSERT_EQ(__qstLoadStreamF(&loaded, path_.c_str(), length), 0);
  __qstDeleteStream(&loaded);
  // A negative size is more than any memory.
  Bytes negative = image;
  put<int32_t>(negative, 60, -1);
  counting::reset();
  EXPECT_EQ(load_bytes(negative), QST_ERROR_MEMORY);
  EXPECT_EQ(qst_check_image(negative.data(), negative.size()), QST_ERROR_BAD_MEMORY_FORMAT);
}

TEST_F(Persistence, corpus_of_the_fuzzer_runs_clean) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(QLX_SOURCE_DIR "/tests/rng/corpus")) {
    if (entry.path().extension() != ".qst") continue;
    SCOPED_TRACE(entry.path());
    std::ifstream file(entry.path(), std::ios::binary);
    const Bytes bytes(std::istreambuf_iterator<char>(file), {});
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++files;
  }
  EXPECT_GE(files, 20);
}

}  // namespace
