// Results bit for bit as they were when the file of digests was made: a change of bits must show in a review.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdio>

#include "accuracy/digest.h"

namespace {

using namespace qlx::tools;

TEST(Digests, results_have_not_changed) {
  const DigestFile file = read_digests(QLX_SOURCE_DIR "/tests/vecmath/digests.csv");
  const bool own_estimates = file.maker == processor_maker();
  int compared = 0, left_out = 0;
  std::string changed;
  for (const KernelRow& kernel : kernel_list()) {
    if (!has_digest(kernel)) continue;
    for (int slot = 0; slot < 3; ++slot) {
      const std::string name = kernel.type + kernel.name + " " + kSlotNames[slot];
      const DigestRow* row = file.find(kernel.name, kernel.type, slot);
      if (!row) {
        changed += "\n  " + name + " has no row";
      } else if (row->mark == "estimate" && !own_estimates) {
        ++left_out;
      } else {
        ++compared;
        if (digest_of(kernel, slot) != row->digest) changed += "\n  " + name + " differs";
      }
    }
  }
  std::printf("%d digests compared, %d of another processor's estimates left out\n", compared, left_out);
  EXPECT_EQ(changed, "") << "qlx_digests --write records new digests; the commit says why the bits changed";
}

}  // namespace
