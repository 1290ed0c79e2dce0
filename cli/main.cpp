// The command qlx: the table of subcommands, and the one place where errors become exit statuses.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "error.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {

#define QLX_SUBCOMMAND(name, summary) Run attach_##name(CLI::App& command);
#include "subcommands.def"
#undef QLX_SUBCOMMAND

namespace {

struct Subcommand {
  const char* name;
  const char* summary;
  Attach attach;
};

constexpr Subcommand kSubcommands[] = {
#define QLX_SUBCOMMAND(name, summary) {#name, summary, attach_##name},
#include "subcommands.def"
#undef QLX_SUBCOMMAND
};

int fail(const std::string& message) {
  std::fprintf(stderr, "qlx: %s\n", one_line(message).c_str());
  return kExitBadUse;
}

int run_subcommand(int argc, char** argv) {
  CLI::App app("Elementwise math, random numbers, statistics and splines on CSV files.", "qlx");
  app.set_version_flag("--version", "qlx " QLX_VERSION);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.get_formatter()->column_width(34);
  app.require_subcommand(1);
  app.footer(
      "qlx SUBCOMMAND --help tells more. Exit status: 0 done, 1 elements had errors (told on stderr), "
      "2 bad use or bad input.");

  Run chosen;
  std::vector<std::string> names;
  for (const Subcommand& row : kSubcommands) {
    names.emplace_back(row.name);
    CLI::App* const command = app.add_subcommand(row.name, row.summary);
    command->callback([&chosen, attached = row.attach(*command)] { chosen = attached; });
  }

  const std::string word = argc > 1 ? argv[1] : "";
  if (word.empty()) return fail("a subcommand is required: " + join(names, ", ") + "; see qlx --help");
  if (word[0] != '-' && std::find(names.begin(), names.end(), word) == names.end())
    return fail(unknown_name("subcommand", word, names, "qlx --help"));
  try {
    app.parse(argc, argv);
    return chosen();
  } catch (const CLI::Success& success) {  // --help, --version
    return app.exit(success);
  }
}

int run(int argc, char** argv) {
  try {
    return run_subcommand(argc, argv);
  } catch (const std::exception& error) {  // Error, CLI::ParseError, out of memory
    return fail(error.what());
  }
}

}  // namespace
}  // namespace qlx::cli

int main(int argc, char** argv) {
  return qlx::cli::run(argc, argv);
}
