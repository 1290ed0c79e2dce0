// make_table: prints a table of constants from the rules of its columns.
// SPDX-License-Identifier: Apache-2.0
//
//   make_table --name kExpF64 --count 64 'hi=exp2(i/64)' 'lo=exp2(i/64)-hi'
//
// Row i, counted from --first, holds the columns in the order given, each rounded once to its type. A rule may use i
// and the columns before it, as rounded. "name:f32=rule" gives a column a type of its own, for --arrays.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "tables/expression.h"

using namespace qlx::tools;

namespace {

struct Type {
  const char* name;
  const char* c;
};
constexpr Type kTypes[] = {{"f32", "float"}, {"f64", "double"}, {"i32", "int32_t"}, {"i64", "int64_t"}};

const Type& find_type(const std::string& name) {
  for (const Type& type : kTypes)
    if (name == type.name) return type;
  throw std::invalid_argument("no type \"" + name + "\"");
}

struct Column {
  std::string name, rule;
  Type type;
};

// "name[:type]=rule"
Column parse_column(const std::string& text, const Type& type) {
  const size_t equals = text.find('='), colon = text.find(':');
  if (equals == std::string::npos) throw std::invalid_argument("no '=' in \"" + text + "\"");
  Column column{text.substr(0, std::min(equals, colon)), text.substr(equals + 1), type};
  if (colon < equals) column.type = find_type(text.substr(colon + 1, equals - colon - 1));
  return column;
}

// Rounds the value to the type, in place, and prints it.
std::string print_rounded(Value& value, const Type& type) {
  char text[64];
  switch (type.name[0] == 'i' ? 'i' : type.name[1]) {
    case 'i':
      mpfr_rint(value, value, MPFR_RNDN);
      std::snprintf(text, sizeof text, "%ld", mpfr_get_si(value, MPFR_RNDN));
      break;
    case '3': {
      const float x = mpfr_get_flt(value, MPFR_RNDN);
      mpfr_set_flt(value, x, MPFR_RNDN);
      std::snprintf(text, sizeof text, "%af", static_cast<double>(x));
      break;
    }
    default: {
      const double x = mpfr_get_d(value, MPFR_RNDN);
      mpfr_set_d(value, x, MPFR_RNDN);
      std::snprintf(text, sizeof text, "%a", x);
    }
  }
  return text;
}

// The command as it stands in a shell.
std::string command_line(int argc, char** argv) {
  std::string line = "make_table";
  for (int k = 1; k < argc; ++k) {
    const std::string word = argv[k];
    const bool plain =
        word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./=:,+") ==
        std::string::npos;
    line += plain ? " " + word : " '" + word + "'";
  }
  return line;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app{"Prints a table of constants, each column a rule in i."};
  std::string name, title, type = "f64";
  std::vector<std::string> texts;
  long first = 0, count = 0, step = 1;
  bool arrays = false;
  app.add_option("--name", name, "Of the array, kLikeThis")->required();
  app.add_option("--title", title, "What the table is for, printed above it");
  app.add_option("--type", type, "f32, f64, i32, i64: of the columns that name none")->capture_default_str();
  app.add_option("--first", first, "First i")->capture_default_str();
  app.add_option("--step", step, "Between rows")->capture_default_str();
  app.add_option("--count", count, "Rows")->required();
  app.add_flag("--arrays", arrays, "One array a column, <name><Column>, in place of one array of rows");
  app.add_option("COLUMN", texts, "name=rule")->required();
  CLI11_PARSE(app, argc, argv);

  std::vector<Column> columns;
  for (const std::string& text : texts) columns.push_back(parse_column(text, find_type(type)));

  std::vector<std::vector<std::string>> rows;
  for (long row = 0; row < count; ++row) {
    Names names;
    mpfr_set_si(names["i"], first + row * step, MPFR_RNDN);
    rows.emplace_back();
    for (const Column& column : columns) {
      Value value = evaluate(column.rule, names);
      rows.back().push_back(print_rounded(value, column.type));
      names[column.name] = value;
    }
  }

  std::printf("// %s\n// SPDX-License-Identifier: Apache-2.0\n", command_line(argc, argv).c_str());
  if (!title.empty()) std::printf("// %s\n", title.c_str());
  std::printf("// Row i = %ld, %ld, ... %ld; computed with %d bits, each entry rounded once to nearest.\n", first,
              first + step, first + (count - 1) * step, kTableBits);
  if (arrays) {
    for (size_t c = 0; c < columns.size(); ++c) {
      std::string suffix = columns[c].name;
      suffix[0] = static_cast<char>(std::toupper(suffix[0]));
      std::printf("// %s = %s\nalignas(64) constexpr %s %s%s[%ld] = {\n", columns[c].name.c_str(),
                  columns[c].rule.c_str(), columns[c].type.c, name.c_str(), suffix.c_str(), count);
      for (long row = 0; row < count; ++row) std::printf("    %s,  // %ld\n", rows[row][c].c_str(), first + row * step);
      std::printf("};\n");
    }
    return 0;
  }
  for (const Column& column : columns) std::printf("// %s = %s\n", column.name.c_str(), column.rule.c_str());
  const bool flat = columns.size() == 1;
  std::printf("alignas(64) constexpr %s %s[%ld]", columns[0].type.c, name.c_str(), count);
  if (!flat) std::printf("[%zu]", columns.size());
  std::printf(" = {\n");
  for (long row = 0; row < count; ++row) {
    std::printf(flat ? "    " : "    {");
    for (size_t c = 0; c < columns.size(); ++c) std::printf("%s%s", c ? ", " : "", rows[row][c].c_str());
    std::printf("%s,  // %ld\n", flat ? "" : "}", first + row * step);
  }
  std::printf("};\n");
} catch (const std::exception& e) {
  std::fprintf(stderr, "make_table: %s\n", e.what());
  return 2;
}
