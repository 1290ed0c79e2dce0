// The arguments that every subcommand with a CSV file shares: FILE, --header, --delimiter, --column.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_CSV_ARGUMENTS_H
#define QLX_CLI_CSV_ARGUMENTS_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "csv.h"

namespace qlx::cli {

struct CsvArguments {
  std::string file;
  std::string header = "auto";
  std::string delimiter = ",";
  std::vector<std::string> columns;  // --column, in the order given

  // Adds the options to `command`; FILE is the next positional argument. They write into *this when it parses.
  void attach(CLI::App& command);
  // The same without --column, for a command that names its columns by their roles.
  void attach_file(CLI::App& command);
  CsvOptions options() const;
  // Opens the file. Throws Error when none was named.
  CsvReader open() const;
};

}  // namespace qlx::cli

#endif
