// Writes 32-bit words of a generator to stdout without end, for test batteries: rng_words BRNG SEED
// SPDX-License-Identifier: Apache-2.0
//
//   rng_words 0x300000 7 | dieharder -g 200 -a
//
// A word is the upper 32 bits of the uniform double on (0, 1), the same for every generator.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "qlx/qst.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: rng_words BRNG SEED\n");
    return 2;
  }
  const uint32_t seed = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 0));
  QstStream* stream = nullptr;
  if (const int status = __qstNewStreamEx(&stream, static_cast<int32_t>(std::strtol(argv[1], nullptr, 0)), 1, &seed)) {
    std::fprintf(stderr, "rng_words: status %d\n", status);
    return 1;
  }
  constexpr int32_t kBlock = 4096;
  std::vector<double> u(kBlock);
  std::vector<uint32_t> words(kBlock);
  do {
    _qstdRngUniform(0, stream, kBlock, u.data(), 0, 1);
    for (int32_t i = 0; i < kBlock; ++i) words[i] = static_cast<uint32_t>(static_cast<int64_t>(u[i] * 0x1p32));
  } while (std::fwrite(words.data(), sizeof(uint32_t), words.size(), stdout) == words.size());
  __qstDeleteStream(&stream);
  return 0;
}
