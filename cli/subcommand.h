// What a subcommand of qlx is, and the exit statuses that all share.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_SUBCOMMAND_H
#define QLX_CLI_SUBCOMMAND_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace qlx::cli {

enum ExitStatus : int {
  kExitOk = 0,
  kExitElementErrors = 1,  // the output is whole, but elements of it carry errors, told on stderr
  kExitBadUse = 2,         // one line on stderr, nothing on stdout
};

// Runs a subcommand once its arguments are parsed. Returns an ExitStatus, or throws Error (error.h) for bad use or bad
// input; it sends nothing to stdout before it is certain that it won't throw (output.h).
using Run = std::function<int()>;

// A subcommand: adds its options to `command` and returns what runs it. The options' storage belongs to the returned
// closure (a shared_ptr that it captures), since `command` keeps references into it.
using Attach = Run (*)(CLI::App& command);

// Lets `option` take these lower-case words alone. Help shows them as "a|b|c", and completion offers them.
inline CLI::Option* one_of(CLI::Option* option, const std::vector<std::string>& words) {
  return option->check(CLI::IsMember(words).description(""))->type_name(CLI::detail::join(words, "|"));
}

}  // namespace qlx::cli

#endif
