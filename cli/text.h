// Small text services: case, joining, messages of one line, and "did you mean".
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_TEXT_H
#define QLX_CLI_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace qlx::cli {

std::string lower_case(std::string_view text);
// Control characters become blanks: names that come from a file must not break a message's line.
std::string one_line(std::string_view text);
std::string join(const std::vector<std::string>& words, std::string_view separator);

// "unknown KIND 'WORD'; did you mean A, B or C?", with up to three names of the least edit distance, case apart; only
// "unknown KIND 'WORD'; see HELP" when none is near.
std::string unknown_name(std::string_view kind, std::string_view word, const std::vector<std::string>& names,
                         std::string_view help);

}  // namespace qlx::cli

#endif
