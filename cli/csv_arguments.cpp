// The arguments of a CSV file.
// SPDX-License-Identifier: Apache-2.0
#include "csv_arguments.h"

#include "error.h"
#include "subcommand.h"

namespace qlx::cli {

void CsvArguments::attach(CLI::App& command) {
  attach_file(command);
  command
      .add_option("-c,--column", columns,
                  "Column, by its name in the header or its number from 1; repeat it for more columns")
      ->type_name("NAME|N")
      ->allow_extra_args(false);
}

void CsvArguments::attach_file(CLI::App& command) {
  command.add_option("FILE", file, "CSV file, or - for stdin")->type_name("");
  one_of(command.add_option("--header", header, "Is the first row a header? auto: if one of its fields is no number"),
         {"auto", "yes", "no"})
      ->capture_default_str();
  command.add_option("--delimiter", delimiter, "Character between fields, or 'tab'")
      ->type_name("CHAR")
      ->capture_default_str();
}

CsvOptions CsvArguments::options() const {
  CsvOptions result;
  result.header = header == "yes" ? CsvHeader::kYes : header == "no" ? CsvHeader::kNo : CsvHeader::kAuto;
  result.delimiter = delimiter == "tab" ? '\t' : delimiter.empty() ? '\0' : delimiter[0];
  if (delimiter != "tab" && (delimiter.size() != 1 || std::string("\"\r\n ").find(delimiter) != std::string::npos))
    throw Error("--delimiter takes one character, not '" + delimiter + "'");
  return result;
}

CsvReader CsvArguments::open() const {
  if (file.empty()) throw Error("a FILE is required (- for stdin)");
  return CsvReader(file, options());
}

}  // namespace qlx::cli
