// Small text services; suggestions go by edit distance.
// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <algorithm>
#include <utility>

namespace qlx::cli {
namespace {

// Insertions, deletions and substitutions that turn a into b (Levenshtein 1966), one row of the table at a time.
size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i);
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t substituted = diagonal + (a[i - 1] != b[j - 1]);
      diagonal = std::exchange(row[j], std::min({substituted, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row[b.size()];
}

}  // namespace

std::string lower_case(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

std::string one_line(std::string_view text) {
  std::string line(text);
  for (char& c : line)
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
  return line;
}

std::string join(const std::vector<std::string>& words, std::string_view separator) {
  std::string joined;
  for (const std::string& word : words) {
    if (!joined.empty()) joined += separator;
    joined += word;
  }
  return joined;
}

std::string unknown_name(std::string_view kind, std::string_view word, const std::vector<std::string>& names,
                         std::string_view help) {
  const std::string lower = lower_case(word);
  std::vector<std::pair<size_t, std::string>> near;
  for (const std::string& name : names) {
    const size_t distance = edit_distance(lower, lower_case(name));
    // Half of the letters wrong is another word, unless the name goes on where the word stops ("arc", "cdf").
    if (distance <= std::max<size_t>(1, lower.size() / 2))
      near.emplace_back(distance, name);
    else if (lower.size() >= 3 && lower_case(name).starts_with(lower))
      near.emplace_back(lower.size(), name);
  }
  std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  if (near.size() > 3) near.resize(3);

  std::string message = "unknown " + std::string(kind) + " '" + std::string(word) + "'; ";
  if (near.empty()) return message + "see " + std::string(help);
  std::string list = near[0].second;
  for (size_t k = 1; k < near.size(); ++k) list += (k + 1 == near.size() ? " or " : ", ") + near[k].second;
  return message + "did you mean " + list + "?";
}

}  // namespace qlx::cli
