// The catalogue of messages, read back through a pipe.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <limits>
#include <string>

#include "qlx/core.h"

namespace {

// What `print` writes to `stream`, whose descriptor is replaced by a pipe meanwhile. The texts fit a pipe's buffer.
template <class Print>
std::string printed(std::FILE* stream, Print print) {
  std::fflush(stream);
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  const int saved = dup(fileno(stream));
  dup2(ends[1], fileno(stream));
  close(ends[1]);
  const int written = print();
  std::fflush(stream);
  dup2(saved, fileno(stream));
  close(saved);
  std::string text(1000, '\0');
  const ssize_t length = read(ends[0], text.data(), text.size());
  close(ends[0]);
  text.resize(length > 0 ? length : 0);
  EXPECT_EQ(static_cast<size_t>(written), text.size());
  return text;
}

std::string value_line(int id, int index, double value) {
  return printed(stderr, [&] { return qlx_serv_print(1, id, 2, index, value); });
}

}  // namespace

TEST(messages, status_lines_name_the_function) {
  EXPECT_EQ(printed(stderr, [] { return qlx_serv_print(1, 748, 2, "vsExp", 7); }),
            "vsExp: the array length is bad, at element 7\n");
  for (int id = 749; id <= 754; ++id) {
    const std::string line = printed(stderr, [&] { return qlx_serv_print(1, id, 1, "vdLn"); });
    EXPECT_EQ(line.find("vdLn: "), 0u) << line;
    EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
  }
  EXPECT_EQ(printed(stderr, [] { return qlx_serv_print(1, 773, 0); }), "qlx: no memory for the state of this thread\n");
}

TEST(messages, value_lines_tell_role_index_and_shortest_value) {
  const char* const roles[] = {"argument",       "result",          "argument",        "first result",
                               "second result",  "first argument",  "second argument", "result",
                               "first argument", "second argument", "first result",    "second result"};
  for (int id = 755; id <= 766; ++id) {
    EXPECT_EQ(value_line(id, -3, 0.1), std::string("  ") + roles[id - 755] + " [-3] = 0.1\n");
  }
  EXPECT_EQ(value_line(755, 0, -std::numeric_limits<double>::infinity()), "  argument [0] = -inf\n");
  EXPECT_EQ(value_line(755, 2147483647, -std::numeric_limits<double>::denorm_min()),
            "  argument [2147483647] = -5e-324\n");
  EXPECT_EQ(value_line(755, 0, -0.0), "  argument [0] = -0\n");
}

TEST(messages, choose_the_stream_and_survive_bad_ids) {
  EXPECT_EQ(printed(stdout, [] { return qlx_serv_print(0, 749, 1, "vsLn"); }), "vsLn: an array pointer is bad\n");
  for (int id : {-1, 0, 747, 767, 772, 774}) {
    EXPECT_EQ(printed(stderr, [&] { return qlx_serv_print(1, id, 0); }), "qlx: message " + std::to_string(id) + "\n");
  }
  EXPECT_EQ(printed(stderr, [] { return qlx_serv_print(1, 755, 1, 3); }), "qlx: message 755\n");
}
