// Feeds bytes to both readers of stream images: nothing may crash, leak or be read out of bounds. Runs under libFuzzer
// (scripts/fuzz) and, over the checked-in corpus, in the test of persistence.
// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>  // memfd_create
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "qlx/qst_image.h"
#ifdef QLX_FUZZING
#include "rng/counting_allocator.h"
#endif

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// A stream that passed the check draws without leaving its state or an integer's range, and its image loads again.
void use(QstStream* stream) {
  double r[700];
  require(_qstdRngUniform(0, stream, 700, r, 0.0, 1.0) <= 0, "a draw gave a positive status");
  std::vector<char> image(static_cast<size_t>(__qstGetStreamSize(stream)));
  require(__qstSaveStreamM(stream, image.data()) == 0, "saving to memory failed");
  QstStream* again;
  require(qst_load_image(&again, image.data(), image.size()) == 0, "a stream's own image was refused");
  __qstDeleteStream(&again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QstStream* stream;
  if (qst_load_image(&stream, data, size) == 0)
    use(stream), __qstDeleteStream(&stream);
  else
    require(stream == nullptr, "a refused image left a stream");

  // A short file is read on for all the chunks that it claims, each as good as the last: a few hundred show the same.
  QstImageHeader header;
  char bytes[QST_IMAGE_HEADER_BYTES] = {};
  std::copy_n(data, std::min(size, sizeof bytes), bytes);
  if (qst_parse_image_header(bytes, &header, -1) == 0 && header.chunkCount > 300) return 0;

  static const int file = memfd_create("image", 0);
  static const std::string path = "/proc/self/fd/" + std::to_string(file);
  require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size), "no file to read");
  const int32_t status = __qstLoadStreamF(&stream, path.c_str(), -1);
  require((status == 0) == (stream != nullptr), "status and stream disagree");
  if (stream != nullptr) __qstDeleteStream(&stream);  // its state was taken as it stood: not to be drawn from
  return 0;
}
