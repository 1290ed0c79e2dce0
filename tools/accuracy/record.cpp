// Rows measured in the place of recorded ones.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/record.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace qlx::tools {

namespace {

// "| Exp | float | LA |" of a row of the page.
std::string page_key(const std::string& row) {
  size_t end = 0;
  for (int cell = 0; cell < 3 && end != std::string::npos; ++cell) end = row.find('|', end + 1);
  return row.substr(0, end);
}

// The row that `same` tells, or a new one at the end.
template <class Row, class Same>
Row& place_of(std::vector<Row>& rows, Same same) {
  const auto old = std::find_if(rows.begin(), rows.end(), same);
  return old != rows.end() ? *old : rows.emplace_back();
}

bool is_of(const BoundRow& row, const KernelRow& kernel) {
  return row.function == kernel.name && row.type == kernel.type;
}

}  // namespace

Record::Record(std::string bounds_path, std::string page_path)
    : bounds_path_(std::move(bounds_path)), page_path_(std::move(page_path)) {
  if (std::filesystem::exists(bounds_path_)) bounds_ = read_bounds(bounds_path_);
  std::ifstream page(page_path_);
  bool rows = false;
  for (std::string line; std::getline(page, line);) {
    if (rows) page_.push_back(line + "\n");
    rows = rows || line.starts_with("|---");
  }
}

std::vector<Interval> Record::intervals(const KernelRow& kernel) const {
  std::vector<Interval> list;
  for (const BoundRow& row : bounds_) {
    const auto same = [&](const Interval& x) { return x.low == row.low && x.high == row.high; };
    if (is_of(row, kernel) && std::none_of(list.begin(), list.end(), same)) list.push_back({row.low, row.high});
  }
  if (list.empty()) list.push_back({-INFINITY, INFINITY});
  return list;
}

std::vector<DirectedLine> Record::worst(const Reference& reference) const {
  return recorded_worst(bounds_, reference);
}

void Record::take(const KernelRow& kernel, const Reference& reference, const bool (&slots)[3], const Interval& interval,
                  const Measurement (&results)[3]) {
  for (int slot = 0; slot < 3; ++slot) {
    if (!slots[slot]) continue;
    const Worst& worst = bounded_error(results[slot], slot);
    BoundRow& row = place_of(bounds_, [&](const BoundRow& x) {
      return is_of(x, kernel) && x.slot == slot && x.low == interval.low && x.high == interval.high;
    });
    row = {kernel.name,   kernel.type,
           slot,          interval.low,
           interval.high, bound_for(worst.error, kernel.type, slot),
           worst.error,   hex_arguments(reference, worst.a, worst.b),
           row.note};
  }
}

void Record::take_page_row(const std::string& row) {
  place_of(page_, [&](const std::string& x) { return page_key(x) == page_key(row); }) = row;
}

void Record::write(const std::string& page_head) const {
  write_bounds(bounds_path_, bounds_);
  std::ofstream page(page_path_);
  page << page_head;
  for (const std::string& row : page_) page << row;
  if (!page.flush()) throw std::runtime_error(page_path_ + ": can't be written");
}

}  // namespace qlx::tools
