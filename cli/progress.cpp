// A progress bar on stderr.
// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace qlx::cli {
namespace {

constexpr int kBarWidth = 40;
constexpr std::chrono::milliseconds kPatience{500};  // work shorter than this shows nothing
constexpr std::chrono::milliseconds kInterval{100};

}  // namespace

Progress::Progress(std::string label, int64_t total)
    : label_(std::move(label)),
      total_(total),
      on_terminal_(isatty(STDERR_FILENO) == 1),
      next_draw_(Clock::now() + kPatience) {}

void Progress::update(int64_t done) {
  if (!on_terminal_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_draw_) return;
  next_draw_ = now + kInterval;
  drawn_ = true;
  if (total_ < 1) {
    std::fprintf(stderr, "\r%s %lld", label_.c_str(), static_cast<long long>(done));
    return;
  }
  const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
  const int filled = static_cast<int>(share * kBarWidth);
  std::fprintf(stderr, "\r%s [%s%s] %3.0f%%", label_.c_str(), std::string(filled, '#').c_str(),
               std::string(kBarWidth - filled, '.').c_str(), 100 * share);
}

void Progress::clear() {
  if (drawn_) std::fputs("\r\033[K", stderr);  // start of line, erase to its end
  drawn_ = false;
}

}  // namespace qlx::cli
