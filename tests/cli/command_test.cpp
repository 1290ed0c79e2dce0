// Runs the built command over the cases of tests/cli/*.cases, and over a file of many blocks.
// SPDX-License-Identifier: Apache-2.0
//
// A case file is lines that begin with a marker:
//   # a comment           = name of a case, which ends the one before
//   $ a shell line that runs `qlx`; the working folder is a scratch one, with the case's input as in.csv and as stdin
//   < a line of input     > a line expected on stdout     ! a line expected on stderr     ? exit status (0 if absent)
// What follows the marker and one blank counts as it stands, but for \t, \r, \\ in input, and \c, which leaves out the
// line's end. An expected line "~RE" has to match that regular expression whole, and "..." lets the rest be anything.
// %data is the repository's data folder.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Case {
  std::string name, command, input;
  std::vector<std::string> out, err;
  int status = 0;
};

void PrintTo(const Case& c, std::ostream* os) {
  *os << c.name;
}

std::string unescaped(const std::string& text) {
  std::string result;
  bool line_end = true;
  for (size_t k = 0; k < text.size(); ++k) {
    if (text[k] != '\\' || k + 1 == text.size()) {
      result += text[k];
      continue;
    }
    const char c = text[++k];
    if (c == 'c')
      line_end = false;
    else
      result += c == 't' ? '\t' : c == 'r' ? '\r' : c;
  }
  return line_end ? result + '\n' : result;
}

std::vector<Case> read_cases() {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(QLX_SOURCE_DIR "/tests/cli"))
    if (entry.path().extension() == ".cases") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<Case> cases;
  for (const fs::path& file : files) {
    std::ifstream stream(file);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
      if (line.empty() || line[0] == '#') continue;
      const std::string rest = line.size() > 2 ? line.substr(2) : "";
      if (line[0] == '=') {
        cases.emplace_back().name = file.stem().string() + ": " + rest;
        continue;
      }
      Case& c = cases.back();
      switch (line[0]) {
        case '$':
          c.command = rest;
          break;
        case '<':
          c.input += unescaped(rest);
          break;
        case '>':
          c.out.push_back(rest);
          break;
        case '!':
          c.err.push_back(rest);
          break;
        case '?':
          c.status = std::stoi(rest);
          break;
        default:
          std::fprintf(stderr, "%s:%d: unknown marker '%c'\n", file.c_str(), number, line[0]);
          std::exit(2);
      }
    }
  }
  return cases;
}

std::string content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

struct Outcome {
  int status;
  std::string out, err;
};

// Runs a shell line with the built command first on the path, in a scratch folder whose in.csv holds `input`.
Outcome run(const std::string& command, const std::string& input) {
  const fs::path folder = fs::path(QLX_BINARY_DIR) / "tests" / "cli_scratch";
  fs::create_directories(folder);
  std::ofstream(folder / "in.csv", std::ios::binary) << input;
  std::string line = command;
  for (size_t at; (at = line.find("%data")) != std::string::npos;) line.replace(at, 5, QLX_SOURCE_DIR "/data");
  std::ofstream(folder / "line.sh") << "cd '" << folder.string()
                                    << "' || exit 99\nPATH='" QLX_BINARY_DIR "/bin':$PATH\n"
                                    << "unset QLX_QVM_MODE QLX_NUM_THREADS\n{ " << line << "\n} <in.csv >out 2>err\n";
  const int status = std::system(("sh '" + (folder / "line.sh").string() + "'").c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content(folder / "out"), content(folder / "err")};
}

void expect_lines(const std::vector<std::string>& expected, const std::string& text, const char* stream) {
  std::istringstream lines(text);
  std::string line;
  size_t k = 0;
  for (; std::getline(lines, line); ++k) {
    if (k < expected.size() && expected[k] == "...") return;
    if (k >= expected.size()) FAIL() << "one line too many on " << stream << ": " << line;
    const bool matches =
        expected[k].starts_with('~') ? std::regex_match(line, std::regex(expected[k].substr(1))) : line == expected[k];
    EXPECT_TRUE(matches) << stream << " line " << k + 1 << "\n  expected " << expected[k] << "\n  got      " << line;
  }
  const size_t needed = expected.size() - (!expected.empty() && expected.back() == "...");
  EXPECT_GE(k, needed) << stream << " stops before: " << expected[std::min(k, expected.size() - 1)];
}

class Command : public testing::TestWithParam<Case> {};

TEST_P(Command, does_what_the_case_says) {
  const Case& c = GetParam();
  const Outcome outcome = run(c.command, c.input);
  EXPECT_EQ(outcome.status, c.status) << c.command;
  expect_lines(c.out, outcome.out, "stdout");
  expect_lines(c.err, outcome.err, "stderr");
}

std::string test_name(const testing::TestParamInfo<Case>& info) {
  std::string name = info.param.name;
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, Command, testing::ValuesIn(read_cases()), test_name);

// Blocks, the spill of held output to disk, and line numbers far into a file.
TEST(CommandOnALargeFile, keeps_every_row_and_its_line_number) {
  constexpr int kRows = 400000;
  const std::string padding(100, 'p');  // 40 MB of rows: more than is held in memory
  std::string input = "x,text\n", expected = "x,text,inv(x)\n", complaints;
  int poles = 0;
  for (int i = 0; i < kRows; ++i) {
    const bool pole = i % 99999 == 7;
    const std::string row = (pole ? "0," : i % 2 ? "4," : "-0.5,") + padding;
    input += row + "\n";
    expected += row + (pole ? ",inf\n" : i % 2 ? ",0.25\n" : ",-2\n");
    if (!pole) continue;
    ++poles;
    complaints += "qlx: in.csv:" + std::to_string(i + 2) + ": inv(x): status 2 (pole), argument 0, result inf\n";
  }
  const Outcome outcome = run("qlx math inv --column x in.csv", input);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.out == expected);
  EXPECT_EQ(outcome.err, complaints + "qlx: " + std::to_string(poles) +
                             " of 400000 elements had errors: " + std::to_string(poles) + " pole\n");

  const Outcome ragged = run("qlx math inv --column x in.csv", input + "1\n");
  EXPECT_EQ(ragged.status, 2);
  EXPECT_EQ(ragged.out, "");
  EXPECT_EQ(ragged.err, "qlx: in.csv:400002: 1 field where line 1 has 2\n");
}

}  // namespace
