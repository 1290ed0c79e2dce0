// The rows of special values, and their reader.
// SPDX-License-Identifier: Apache-2.0
//
// special/<Function>.csv has the rows "function,type,accuracy,arguments,result,status". Accuracy is LA, HA, EP or
// several joined by +, or *. Arguments are bits, one or two separated by a blank. The result is its bits, or a kind:
// NaN, denormal (not zero), normal (finite, not denormal, not zero), * for any. The status * is any. A # starts a
// comment.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "accuracy/real.h"

namespace qlx::tests {

constexpr int kAnyStatus = -1000;

struct SpecialRow {
  std::string where;  // file and line
  std::string function;
  char type;
  std::string accuracy;
  uint64_t a, b;
  bool pair;
  std::string result;
  int status;
};

inline std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

inline void read_rows(const std::filesystem::path& path, std::vector<SpecialRow>& rows) {
  std::ifstream file(path);
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    line.resize(std::min(line.find('#'), line.size()));
    while (!line.empty() && line.back() == ' ') line.pop_back();
    if (line.empty() || line.starts_with("function,")) continue;
    const std::string where = path.filename().string() + ":" + std::to_string(number);
    const std::vector<std::string> fields = split(line, ',');
    ASSERT_EQ(fields.size(), 6u) << where;
    const std::vector<std::string> arguments = split(fields[3], ' ');
    ASSERT_TRUE(arguments.size() == 1 || arguments.size() == 2) << where;
    ASSERT_TRUE(fields[1] == "s" || fields[1] == "d") << where;
    SpecialRow row{where, fields[0], fields[1][0], fields[2], 0, 0, arguments.size() == 2, fields[4], 0};
    row.a = std::stoull(arguments[0], nullptr, 16);
    if (row.pair) row.b = std::stoull(arguments[1], nullptr, 16);
    row.status = fields[5] == "*" ? kAnyStatus : std::stoi(fields[5]);
    rows.push_back(row);
  }
}

inline std::vector<SpecialRow> read_all_rows() {
  std::vector<SpecialRow> rows;
  for (const auto& entry : std::filesystem::directory_iterator(QLX_SOURCE_DIR "/tests/vecmath/special"))
    if (entry.path().extension() == ".csv") read_rows(entry.path(), rows);
  return rows;
}

template <class Real>
bool matches(Real value, const std::string& wanted) {
  if (wanted == "*") return true;
  if (wanted == "NaN") return std::isnan(value);
  if (wanted == "denormal") return std::fpclassify(value) == FP_SUBNORMAL;
  if (wanted == "normal") return std::fpclassify(value) == FP_NORMAL;
  return !std::isnan(value) && tools::to_bits(value) == std::stoull(wanted, nullptr, 16);
}

}  // namespace qlx::tests
