// Prints one table of powers of MRG32K3A's transition matrices: mrg32k3a_powers 1|2
// SPDX-License-Identifier: Apache-2.0
//
// Row i of the table for component c is A^(2^i) mod m, by repeated squaring in plain 64-bit division: nothing here is
// shared with the library, so that the table checks the library's folds and the other way round.
#include <cstdint>
#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
  const bool first = argc == 2 && std::strcmp(argv[1], "1") == 0;
  if (!first && (argc != 2 || std::strcmp(argv[1], "2") != 0)) {
    std::fprintf(stderr, "usage: mrg32k3a_powers 1|2\n");
    return 2;
  }
  const uint64_t m = first ? 4294967087u : 4294944443u;
  uint64_t a[3][3] = {
      {0, 1, 0}, {0, 0, 1}, {first ? m - 810728 : m - 1370589, first ? 1403580u : 0, first ? 0 : 527612u}};
  std::printf("// Made by: mrg32k3a_powers %s. Row i: A^(2^i) mod %llu, row-major, on (oldest, middle, newest).\n",
              argv[1], static_cast<unsigned long long>(m));
  for (int row = 0; row < 193; ++row) {
    std::printf("{");
    for (int k = 0; k < 9; ++k) std::printf("0x%08X%s", static_cast<unsigned>(a[k / 3][k % 3]), k < 8 ? ", " : "},");
    std::printf("  // %d\n", row);
    uint64_t square[3][3] = {};
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        for (int k = 0; k < 3; ++k) square[i][j] = (square[i][j] + a[i][k] * a[k][j] % m) % m;
    std::memcpy(a, square, sizeof a);
  }
}
