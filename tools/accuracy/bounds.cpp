// Reading, printing and proposing rows of bounds.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/bounds.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace qlx::tools {

namespace {

// "0.75", "inf", or "2^-12.5".
double parse_number(const std::string& text, const std::string& where) {
  const bool power = text.starts_with("2^");
  const char* start = text.c_str() + (power ? 2 : 0);
  char* end;
  const double value = std::strtod(start, &end);
  if (end == start || *end != '\0') throw std::runtime_error(where + ": \"" + text + "\" is no number");
  return power ? std::exp2(value) : value;
}

}  // namespace

std::vector<BoundRow> read_bounds(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path + ": can't be read");
  std::vector<BoundRow> rows;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] == '#' || line.starts_with("function,")) continue;
    const std::string where = path + ":" + std::to_string(number);
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) fields.push_back(field);
    if (fields.size() == 8) fields.emplace_back();  // an empty note
    if (fields.size() != 9) throw std::runtime_error(where + ": 9 fields wanted");
    const auto* slot = std::find(std::begin(kSlotNames), std::end(kSlotNames), fields[2]);
    if (slot == std::end(kSlotNames) || fields[1].size() != 1) throw std::runtime_error(where + ": no such kernel");
    rows.push_back({fields[0], fields[1][0], static_cast<int>(slot - kSlotNames), parse_number(fields[3], where),
                    parse_number(fields[4], where), parse_number(fields[5], where), parse_number(fields[6], where),
                    fields[7], fields[8]});
  }
  return rows;
}

const Worst& bounded_error(const Measurement& m, int slot) {
  return slot == kEP ? m.relative : m.ulp;
}

std::string error_text(double error, int slot) {
  constexpr double kSame = 1e-6;  // a text that is read and written again stays
  char text[32];
  if (slot != kEP || error == 0 || std::isinf(error)) {
    std::snprintf(text, sizeof text, "%.4f", std::ceil(error * 1e4 - kSame) / 1e4 + 0.0);  // no -0
  } else {
    std::snprintf(text, sizeof text, "2^%.2f", std::ceil(std::log2(error) * 100 - kSame) / 100);
  }
  return text;
}

double promise(char type, int slot) {
  return slot == kHA ? 1 : slot == kLA ? 4 : type == 's' ? 0x1p-11 : 0x1p-26;
}

double bound_for(double error, char type, int slot) {
  double bound = error;
  if (slot == kEP) {
    if (error > 0) bound = std::exp2(std::ceil(std::log2(error) * 10 + 1) / 10);
  } else if (error > 0.5) {
    bound = std::ceil(error * 1.05 * 50) / 50;
  } else if (error > 0) {
    bound = 0.5;
  }
  return error < promise(type, slot) ? std::min(bound, promise(type, slot)) : bound;
}

void write_bounds(const std::string& path, const std::vector<BoundRow>& rows) {
  std::ofstream file(path);
  file << "# Largest errors of the approximating kernels; tools/accuracy/bounds.h tells how to read a row.\n"
          "# `qlx accuracy --record` writes bounds, measured errors and their arguments; notes are written by hand.\n"
          "function,type,accuracy,low,high,bound,measured,worst,note\n";
  for (const BoundRow& row : rows) {
    char interval[64];
    std::snprintf(interval, sizeof interval, "%.17g,%.17g", row.low, row.high);
    file << row.function << ',' << row.type << ',' << kSlotNames[row.slot] << ',' << interval << ','
         << error_text(row.bound, row.slot) << ',' << error_text(row.measured, row.slot) << ',' << row.worst << ','
         << row.note << '\n';
  }
  if (!file.flush()) throw std::runtime_error(path + ": can't be written");
}

std::vector<DirectedLine> recorded_worst(const std::vector<BoundRow>& rows, const Reference& reference) {
  constexpr int kNeighbours = 8;
  std::vector<DirectedLine> lines;
  for (const BoundRow& row : rows) {
    if (row.function != reference.name) continue;
    char* end;
    const double a = std::strtod(row.worst.c_str(), &end);
    lines.push_back({row.type, a, std::strtod(end, nullptr), kNeighbours});
  }
  return lines;
}

}  // namespace qlx::tools
