// A progress bar on stderr, for people: it shows only on a terminal, and only when the work takes long.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_PROGRESS_H
#define QLX_CLI_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace qlx::cli {

class Progress {
 public:
  // `total` is in the unit of update's `done`, such as bytes read; below 1 when it isn't known (a pipe).
  Progress(std::string label, int64_t total);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Cheap: it draws at most ten times a second.
  void update(int64_t done);
  // Takes the bar off the screen, before other text goes to the terminal.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  std::string label_;
  int64_t total_;
  bool on_terminal_;
  bool drawn_ = false;
  Clock::time_point next_draw_;
};

}  // namespace qlx::cli

#endif
