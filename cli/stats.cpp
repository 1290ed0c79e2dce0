// qlx stats: summary statistics of the numeric columns of a CSV file.
// SPDX-License-Identifier: Apache-2.0
//
// Rows are taken in blocks: the whole file is one block, or with --block N the file is swept N rows at a time and the
// accumulated weights carry the moments from one block to the next, so that its size does not matter.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "csv.h"
#include "csv_arguments.h"
#include "error.h"
#include "number.h"
#include "output.h"
#include "progress.h"
#include "qlx/qst_ss.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

constexpr double kQuartiles[] = {0.25, 0.5, 0.75};
constexpr int kQuartileCount = 3;
constexpr int64_t kStreamBlock = 1 << 16;  // rows, when quartiles are streamed and no --block is given
constexpr size_t kRowsLookedAt = 1000;     // that decide which columns are numeric

struct Arguments {
  CsvArguments csv;
  std::string weights;
  std::string missing = "fail";
  int64_t block = 0;   // 0: the whole file
  double epsilon = 0;  // 0: exact quartiles
  bool json = false;
};

enum class Quartiles { kExact, kStreamed, kNone };

// A field that stands for no value.
bool is_missing(std::string_view field) {
  const std::string word = lower_case(field);
  return word.empty() || word == "na" || word == "n/a" || word == "nan" || word == "null";
}

void expect_ok(int32_t status, const char* what) {
  if (status == QST_SS_ERROR_MEMORY) throw Error(std::string("not enough memory for ") + what);
  if (status != QST_SS_OK) throw Error(std::string(what) + ": status " + std::to_string(status));
}

// A task over blocks of observations, each of p values one after another, and everything that it accumulates.
class Summary {
 public:
  Summary(size_t variables, bool weighted, Quartiles quartiles, double epsilon)
      : p_(static_cast<int64_t>(variables)), weighted_(weighted), quartiles_(quartiles), epsilon_(epsilon) {
    for (std::vector<double>* vector :
         {&mean, &raw2_, &raw3_, &raw4_, &central2_, &central3_, &central4_, &skewness, &kurtosis})
      vector->resize(variables);
    minimum.assign(variables, std::numeric_limits<double>::infinity());
    maximum.assign(variables, -std::numeric_limits<double>::infinity());
    covariance.resize(variables * variables);
    correlation.resize(variables * variables);
    quartile.resize(variables * kQuartileCount);
    expect_ok(__qstdSSNewTask(&task_, &p_, nullptr, nullptr, nullptr, nullptr, nullptr, 1), "the task");
    __qstdSSEditMoments(task_, mean.data(), raw2_.data(), raw3_.data(), raw4_.data(), central2_.data(),
                        central3_.data(), central4_.data());
    __qstdSSEditCovCor(task_, nullptr, covariance.data(), &full_, correlation.data(), &full_);
    __qstdSSEditQuantiles(task_, &quartile_count_, kQuartiles, quartile.data(), nullptr, nullptr);
    __qstdSSEditStreamQuantiles(task_, &quartile_count_, kQuartiles, quartile.data(), &one_, &epsilon_);
    __qstdSSEditTask(task_, QST_SS_ED_SKEWNESS, skewness.data());
    __qstdSSEditTask(task_, QST_SS_ED_KURTOSIS, kurtosis.data());
    __qstdSSEditTask(task_, QST_SS_ED_MINIMUM, minimum.data());
    __qstdSSEditTask(task_, QST_SS_ED_MAXIMUM, maximum.data());
    __qstdSSEditTask(task_, QST_SS_ED_ACCUM_WEIGHT, weight_sums);
    __qstiSSEditTask(task_, QST_SS_ED_OBSERVATION_COUNT, &n_);
    __qstiSSEditTask(task_, QST_SS_ED_OBSERVATION_STORAGE, &columns_);
  }
  Summary(const Summary&) = delete;
  Summary& operator=(const Summary&) = delete;
  ~Summary() { __qstSSDeleteTask(&task_); }

  void take(const std::vector<double>& x, const std::vector<double>& weights) {
    const QlxThreadTable* const threads = qlx_serv_thread_table();
    n_ = static_cast<int64_t>(x.size()) / p_;
    if (n_ == 0) return;
    rows += n_;
    __qstdSSEditTask(task_, QST_SS_ED_OBSERVATIONS, x.data());
    if (weighted_) __qstdSSEditTask(task_, QST_SS_ED_WEIGHTS, weights.data());
    const uint64_t mask = QST_SS_MEAN | QST_SS_CENTRAL_MOMENT_2 | QST_SS_CENTRAL_MOMENT_3 | QST_SS_CENTRAL_MOMENT_4 |
                          QST_SS_SKEWNESS | QST_SS_KURTOSIS | QST_SS_COVARIANCE | QST_SS_CORRELATION;
    expect_ok(_qstdSSBasic(task_, mask, QST_SS_METHOD_1PASS, threads), "the moments");
    expect_ok(_qstdSSMinmax(task_, QST_SS_MINIMUM | QST_SS_MAXIMUM, QST_SS_METHOD_1PASS, threads), "the extremes");
    if (quartiles_ == Quartiles::kExact)
      expect_ok(_qstdSSQuantiles(task_, QST_SS_QUANTILES, QST_SS_METHOD_FAST, threads), "the quartiles");
    if (quartiles_ == Quartiles::kStreamed)
      expect_ok(_qstdSSStreamQuantiles(task_, 0, QST_SS_METHOD_STREAM_TAKE_IN, threads), "the quartiles");
  }

  // Ends the run: streamed quartiles are answered.
  void finish() {
    n_ = 0;
    if (quartiles_ == Quartiles::kStreamed)
      expect_ok(_qstdSSStreamQuantiles(task_, 0, QST_SS_METHOD_STREAM_QUANTILES, qlx_serv_thread_table()),
                "the quartiles");
  }

  double deviation(size_t i) const { return std::sqrt(central2_[i]); }

  int64_t rows = 0;
  double weight_sums[2] = {0, 0};
  std::vector<double> mean, skewness, kurtosis, minimum, maximum, covariance, correlation, quartile;

 private:
  const int64_t p_, quartile_count_ = kQuartileCount, one_ = 1, full_ = QST_SS_FULL, columns_ = QST_SS_COLUMNS;
  int64_t n_ = 0;
  const bool weighted_;
  const Quartiles quartiles_;
  const double epsilon_;
  std::vector<double> raw2_, raw3_, raw4_, central2_, central3_, central4_;
  QstSSTask* task_ = nullptr;
};

// What a report needs beside the numbers.
struct Report {
  std::string file;
  std::vector<std::string> names, left_out;
  std::string weights;  // the column's name, or empty
  int64_t skipped = 0;
  Quartiles quartiles;
  double epsilon;
};

// One line of the table of statistics: what it is called for people and in JSON, and its value of variable i.
struct Statistic {
  const char *label, *key;
  std::function<double(const Summary&, size_t)> value;
};

std::vector<Statistic> statistics(Quartiles quartiles) {
  std::vector<Statistic> all = {
      {"count", "count", [](const Summary& s, size_t) { return static_cast<double>(s.rows); }},
      {"mean", "mean", [](const Summary& s, size_t i) { return s.mean[i]; }},
      {"std deviation", "standard_deviation", [](const Summary& s, size_t i) { return s.deviation(i); }},
      {"skewness", "skewness", [](const Summary& s, size_t i) { return s.skewness[i]; }},
      {"kurtosis", "kurtosis", [](const Summary& s, size_t i) { return s.kurtosis[i]; }},
      {"minimum", "minimum", [](const Summary& s, size_t i) { return s.minimum[i]; }}};
  constexpr const char* kLabels[] = {"25 %", "50 %", "75 %"};
  constexpr const char* kKeys[] = {"quartile_1", "median", "quartile_3"};
  for (int q = 0; q < kQuartileCount && quartiles != Quartiles::kNone; ++q)
    all.push_back(
        {kLabels[q], kKeys[q], [q](const Summary& s, size_t i) { return s.quartile[i * kQuartileCount + q]; }});
  all.push_back({"maximum", "maximum", [](const Summary& s, size_t i) { return s.maximum[i]; }});
  return all;
}

// ---- Text -----------------------------------------------------------------------------------------------------------

std::string rounded(double value) {
  if (std::isnan(value)) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

// Characters of a UTF-8 text: bytes that don't continue one.
size_t width_of(const std::string& text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string padded(const std::string& text, size_t width, bool right) {
  const std::string blanks(width - std::min(width, width_of(text)), ' ');
  return right ? blanks + text : text + blanks;
}

// Columns of a table, in panels as wide as the page.
struct Column {
  std::string title;
  std::vector<std::string> cells;
};

void append_table(Output* out, const std::vector<std::string>& rows, const std::vector<Column>& columns) {
  constexpr size_t kPage = 100, kGap = 2;
  size_t stub = 0;
  for (const std::string& row : rows) stub = std::max(stub, width_of(row));
  for (size_t first = 0; first < columns.size();) {
    std::vector<size_t> widths;
    size_t page = stub;
    size_t end = first;
    for (; end < columns.size(); ++end) {
      size_t width = width_of(columns[end].title);
      for (const std::string& cell : columns[end].cells) width = std::max(width, width_of(cell));
      if (end > first && page + kGap + width > kPage) break;
      page += kGap + width;
      widths.push_back(width);
    }
    const auto line = [&](const std::string& head, const auto& cell) {
      std::string text = padded(head, stub, false);
      for (size_t c = first; c < end; ++c) text += std::string(kGap, ' ') + padded(cell(c), widths[c - first], true);
      *out << text << "\n";
    };
    if (first > 0) *out << "\n";
    line("", [&](size_t c) { return columns[c].title; });
    for (size_t r = 0; r < rows.size(); ++r) line(rows[r], [&](size_t c) { return columns[c].cells[r]; });
    first = end;
  }
}

void append_matrix(Output* out, const char* title, const std::vector<std::string>& names,
                   const std::vector<double>& matrix) {
  std::vector<Column> columns;
  for (size_t k = 0; k < names.size(); ++k) {
    Column& column = columns.emplace_back(Column{names[k], {}});
    for (size_t i = 0; i < names.size(); ++i) column.cells.push_back(rounded(matrix[i * names.size() + k]));
  }
  *out << "\n" << title << "\n";
  append_table(out, names, columns);
}

void print_text(Output* out, const Report& report, const Summary& summary) {
  *out << report.file << ": " << std::to_string(summary.rows) << (summary.rows == 1 ? " row" : " rows");
  if (report.skipped > 0) *out << ", " << std::to_string(report.skipped) << " skipped for missing values";
  if (!report.weights.empty())
    *out << ", weighted by " << report.weights << " (sum " << rounded(summary.weight_sums[0]) << ")";
  if (!report.left_out.empty()) *out << "; not numeric: " << join(report.left_out, ", ");
  *out << "\n\n";
  const std::vector<Statistic> all = statistics(report.quartiles);
  std::vector<std::string> rows;
  for (const Statistic& statistic : all) rows.emplace_back(statistic.label);
  std::vector<Column> columns;
  for (size_t i = 0; i < report.names.size(); ++i) {
    Column& column = columns.emplace_back(Column{report.names[i], {}});
    for (const Statistic& statistic : all) column.cells.push_back(rounded(statistic.value(summary, i)));
  }
  append_table(out, rows, columns);
  append_matrix(out, "covariance", report.names, summary.covariance);
  append_matrix(out, "correlation", report.names, summary.correlation);
  if (report.quartiles == Quartiles::kStreamed)
    *out << "\nquartiles: the rank of each is within " << rounded(report.epsilon * static_cast<double>(summary.rows))
         << " of " << std::to_string(summary.rows) << "\n";
  if (report.quartiles == Quartiles::kNone)
    *out << "\nquartiles of a file read in blocks need --stream-quantiles EPS\n";
  if (!report.weights.empty()) *out << "\nextremes and quartiles are of the values, without the weights\n";
}

// ---- JSON -----------------------------------------------------------------------------------------------------------

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", c);
      out += escape;
    } else {
      out += c;
    }
  }
  return out + '"';
}

// JSON has no NaN and no infinity.
std::string json_number(double value) {
  return std::isfinite(value) ? number_text(value) : "null";
}

std::string json_matrix(const std::vector<double>& matrix, size_t p) {
  std::vector<std::string> rows;
  for (size_t i = 0; i < p; ++i) {
    std::vector<std::string> cells;
    for (size_t k = 0; k < p; ++k) cells.push_back(json_number(matrix[i * p + k]));
    rows.push_back("[" + join(cells, ", ") + "]");
  }
  return "[\n    " + join(rows, ",\n    ") + "]";
}

void print_json(Output* out, const Report& report, const Summary& summary) {
  std::vector<std::string> columns;
  for (size_t i = 0; i < report.names.size(); ++i) {
    std::vector<std::string> members = {"\"name\": " + json_string(report.names[i])};
    for (const Statistic& statistic : statistics(report.quartiles))
      members.push_back("\"" + std::string(statistic.key) + "\": " + json_number(statistic.value(summary, i)));
    columns.push_back("{" + join(members, ", ") + "}");
  }
  *out << "{\n  \"file\": " << json_string(report.file) << ",\n  \"rows\": " << std::to_string(summary.rows)
       << ",\n  \"skipped\": " << std::to_string(report.skipped)
       << ",\n  \"weights\": " << (report.weights.empty() ? "null" : json_string(report.weights))
       << ",\n  \"weight_sum\": " << json_number(summary.weight_sums[0])
       << ",\n  \"epsilon\": " << (report.quartiles == Quartiles::kStreamed ? json_number(report.epsilon) : "null")
       << ",\n  \"columns\": [\n    " << join(columns, ",\n    ")
       << "],\n  \"covariance\": " << json_matrix(summary.covariance, report.names.size())
       << ",\n  \"correlation\": " << json_matrix(summary.correlation, report.names.size()) << "\n}\n";
}

// ---- Reading --------------------------------------------------------------------------------------------------------

// The columns asked for; else those in which the rows looked at have a number and nothing but numbers and missing
// values.
std::vector<size_t> choose_columns(const CsvReader& reader, const Arguments& arguments, size_t weights,
                                   const std::vector<CsvRow>& rows, Report* report) {
  if (!arguments.csv.columns.empty()) return reader.columns(arguments.csv.columns);
  std::vector<size_t> chosen;
  for (size_t c = 0; c < reader.names().size(); ++c) {
    if (c == weights) continue;
    bool number = false, text = false;
    for (const CsvRow& row : rows) {
      double ignored;
      if (is_missing(row.field(c))) continue;
      (parse_number(row.field(c), &ignored) == Parsed::kNotANumber ? text : number) = true;
    }
    if (number && !text) {
      chosen.push_back(c);
    } else {
      report->left_out.push_back(one_line(reader.names()[c]));
    }
  }
  if (chosen.empty()) throw Error(reader.file() + ": no numeric columns");
  return chosen;
}

int run(const Arguments& arguments) {
  CsvReader reader = arguments.csv.open();
  constexpr size_t kNoColumn = static_cast<size_t>(-1);
  const size_t weights_column = arguments.weights.empty() ? kNoColumn : reader.column(arguments.weights);

  Report report;
  report.file = reader.file();
  report.epsilon = arguments.epsilon;
  report.quartiles = arguments.epsilon > 0 ? Quartiles::kStreamed
                     : arguments.block > 0 ? Quartiles::kNone
                                           : Quartiles::kExact;
  if (weights_column != kNoColumn) report.weights = one_line(reader.names()[weights_column]);

  std::vector<CsvRow> looked_at(1);
  while (looked_at.size() <= kRowsLookedAt && reader.next(&looked_at.back())) looked_at.emplace_back();
  looked_at.pop_back();
  const std::vector<size_t> columns = choose_columns(reader, arguments, weights_column, looked_at, &report);
  for (const size_t c : columns) report.names.push_back(one_line(reader.names()[c]));

  const size_t p = columns.size();
  const int64_t block = arguments.block > 0 ? arguments.block : arguments.epsilon > 0 ? kStreamBlock : 0;
  Summary summary(p, weights_column != kNoColumn, report.quartiles, arguments.epsilon);
  std::vector<double> x, weights;
  const auto take = [&](const CsvRow& row) {
    const auto missing = [&](size_t c) {
      if (!is_missing(row.field(c))) return false;
      if (arguments.missing == "fail")
        throw Error(
            reader.file(), row.line(),
            "a missing value in column '" + one_line(reader.names()[c]) + "'; --missing skip leaves the row out");
      return true;
    };
    bool skip = weights_column != kNoColumn && missing(weights_column);
    for (size_t k = 0; k < p && !skip; ++k) skip = missing(columns[k]);
    if (skip) {
      ++report.skipped;
      return;
    }
    if (weights_column != kNoColumn) {
      const double weight = reader.number<double>(row, weights_column);
      if (!(weight >= 0) || std::isinf(weight)) throw Error(reader.file(), row.line(), "a weight below 0, or infinite");
      weights.push_back(weight);
    }
    for (const size_t c : columns) x.push_back(reader.number<double>(row, c));
    if (block > 0 && x.size() == static_cast<size_t>(block) * p) {
      summary.take(x, weights);
      x.clear();
      weights.clear();
    }
  };

  Progress progress("reading " + reader.file(), reader.bytes_total());
  for (const CsvRow& row : looked_at) take(row);
  looked_at.clear();
  for (CsvRow row; reader.next(&row);) {
    take(row);
    progress.update(reader.bytes_read());
  }
  progress.clear();
  summary.take(x, weights);
  if (summary.rows == 0) throw Error(reader.file() + ": no rows of data");
  if (weights_column != kNoColumn && summary.weight_sums[0] == 0) throw Error(reader.file() + ": all weights are 0");
  summary.finish();

  Output out;
  if (arguments.json) {
    print_json(&out, report, summary);
  } else {
    print_text(&out, report, summary);
  }
  out.send(stdout);
  return kExitOk;
}

}  // namespace

Run attach_stats(CLI::App& command) {
  auto arguments = std::make_shared<Arguments>();
  arguments->csv.attach(command);
  command.add_option("-w,--weights", arguments->weights, "Column of observation weights, a name or a number from 1")
      ->type_name("COLUMN");
  one_of(command.add_option("-m,--missing", arguments->missing,
                            "What an empty field, NA or NaN does: leave its row out, or end with an error"),
         {"skip", "fail"})
      ->capture_default_str();
  command.add_option("-b,--block", arguments->block, "Read the file N rows at a time, in little memory")
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, int64_t{1} << 40).description(""));
  command
      .add_option("-q,--stream-quantiles", arguments->epsilon,
                  "Quartiles in one pass and little memory; ranks are off by less than EPS times the rows")
      ->type_name("EPS")
      ->check(CLI::Range(1e-7, 1.0).description(""));
  command.add_flag("-j,--json", arguments->json, "Print JSON, with all digits");
  command.footer(
      "Without --column, every column of numbers takes part. The standard deviation and the covariance divide by n - "
      "1;\n"
      "skewness and kurtosis (0 for a normal law) are central moments 3 and 4 over powers of that variance.\n\n"
      "  qlx stats data/iris.csv\n"
      "  qlx stats --block 100000 --stream-quantiles 0.001 large.csv\n"
      "  qlx stats --weights w --missing skip --json survey.csv");
  return [arguments] { return run(*arguments); };
}

}  // namespace qlx::cli
