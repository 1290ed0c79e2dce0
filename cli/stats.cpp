// qlx stats: summary statistics of the numeric columns of a CSV file.
// SPDX-License-Identifier: Apache-2.0
//
// Rows are taken in blocks: the whole file is one block, or with --block N the file is swept N rows at a time and the
// accumulated weights carry the moments from one block to the next, so that its size does not matter. Quartiles of a
// file in blocks are exact too: a stream of quantiles brackets each, and a second reading picks it from the bracket. A
// pipe can't be read twice, so there, and where --stream-quantiles asks for it, the stream's own answers stand.
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
#include "rank_bracket.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

constexpr double kQuartiles[] = {0.25, 0.5, 0.75};
constexpr int kQuartileCount = 3;
constexpr int64_t kStreamBlock = 1 << 16;  // rows, when quartiles are streamed and no --block is given
// Of the stream that brackets quartiles: a smaller one takes more memory for the stream and less for the brackets.
constexpr double kBracketEpsilon = 1e-3;
constexpr size_t kRowsLookedAt = 1000;  // that decide which columns are numeric

struct Arguments {
  CsvArguments csv;
  std::string weights;
  std::string missing = "fail";
  int64_t block = 0;   // 0: the whole file
  double epsilon = 0;  // 0: exact quartiles
  bool json = false;
};

enum class Quartiles { kExact, kStreamed, kBracketed };

// The orders that the stream answers of n rows: the quartiles, or two around each. An answer's rank is within epsilon n
// of the wanted one, or the nearest of a small n, so orders off by 2 epsilon and 3 ranks enclose that rank and the
// next.
std::vector<double> streamed_orders(Quartiles quartiles, double epsilon, int64_t n) {
  if (quartiles != Quartiles::kBracketed) return {std::begin(kQuartiles), std::end(kQuartiles)};
  const double off = 2 * epsilon + 3 / static_cast<double>(n);
  std::vector<double> orders;
  for (const double q : kQuartiles) orders.insert(orders.end(), {std::max(q - off, 0.0), std::min(q + off, 1.0)});
  return orders;
}

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
      : p_(static_cast<int64_t>(variables)),
        weighted_(weighted),
        quartiles_(quartiles),
        epsilon_(epsilon),
        streamed_orders_(streamed_orders(quartiles, epsilon, 1)),
        streamed_count_(static_cast<int64_t>(streamed_orders_.size())),
        streamed_(variables * streamed_orders_.size()) {
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
    __qstdSSEditStreamQuantiles(task_, &streamed_count_, streamed_orders_.data(), streamed_.data(), &one_, &epsilon_);
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
    if (quartiles_ == Quartiles::kExact) {
      expect_ok(_qstdSSQuantiles(task_, QST_SS_QUANTILES, QST_SS_METHOD_FAST, threads), "the quartiles");
    } else {
      expect_ok(_qstdSSStreamQuantiles(task_, 0, QST_SS_METHOD_STREAM_TAKE_IN, threads), "the quartiles");
    }
  }

  // Ends the blocks: the stream answers.
  void finish() {
    n_ = 0;
    if (quartiles_ == Quartiles::kExact) return;
    const std::vector<double> orders = streamed_orders(quartiles_, epsilon_, rows);
    std::copy(orders.begin(), orders.end(), streamed_orders_.begin());
    expect_ok(_qstdSSStreamQuantiles(task_, 0, QST_SS_METHOD_STREAM_QUANTILES, qlx_serv_thread_table()),
              "the quartiles");
    if (quartiles_ == Quartiles::kStreamed) quartile = streamed_;
  }

  // The brackets of all quartiles, variable by variable.
  std::vector<RankBracket> brackets() const {
    std::vector<RankBracket> all;
    for (size_t k = 0; k < streamed_.size(); k += 2) all.emplace_back(streamed_[k], streamed_[k + 1]);
    return all;
  }

  // Sets the quartiles from brackets that all values passed, by the library's formula; false when one has lost its
  // ranks.
  bool set_quartiles(std::vector<RankBracket>* all) {
    for (size_t k = 0; k < all->size(); ++k) {
      const double position = static_cast<double>(rows - 1) * kQuartiles[k % kQuartileCount];
      const auto rank = static_cast<int64_t>(position);
      const double fraction = position - static_cast<double>(rank);
      double low, high;
      (*all)[k].finish();
      if (!(*all)[k].find(rank, &low) || !(*all)[k].find(std::min(rank + 1, rows - 1), &high)) return false;
      quartile[k] = fraction == 0 ? low : (1 - fraction) * low + fraction * high;
    }
    return true;
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
  std::vector<double> streamed_orders_;
  const int64_t streamed_count_;
  std::vector<double> streamed_;  // the stream's answers, variable by variable
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

std::vector<Statistic> statistics() {
  std::vector<Statistic> all = {
      {"count", "count", [](const Summary& s, size_t) { return static_cast<double>(s.rows); }},
      {"mean", "mean", [](const Summary& s, size_t i) { return s.mean[i]; }},
      {"std deviation", "standard_deviation", [](const Summary& s, size_t i) { return s.deviation(i); }},
      {"skewness", "skewness", [](const Summary& s, size_t i) { return s.skewness[i]; }},
      {"kurtosis", "kurtosis", [](const Summary& s, size_t i) { return s.kurtosis[i]; }},
      {"minimum", "minimum", [](const Summary& s, size_t i) { return s.minimum[i]; }}};
  constexpr const char* kLabels[] = {"25 %", "50 %", "75 %"};
  constexpr const char* kKeys[] = {"quartile_1", "median", "quartile_3"};
  for (int q = 0; q < kQuartileCount; ++q)
    all.push_back(
        {kLabels[q], kKeys[q], [q](const Summary& s, size_t i) { return s.quartile[i * kQuartileCount + q]; }});
  all.push_back({"maximum", "maximum", [](const Summary& s, size_t i) { return s.maximum[i]; }});
  return all;
}

// ---- Text -----------------------------------------------------------------------------------------------------------

std::string rounded(double value) {
  if (std::isnan(value)) return "-";
  char text[32];
  // Counts and other whole numbers keep all their digits.
  const bool whole = std::fabs(value) < 1e12 && value == std::floor(value);
  std::snprintf(text, sizeof text, whole ? "%.0f" : "%.6g", value);
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
  const std::vector<Statistic> all = statistics();
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
    rows.push_back(std::string("[").append(join(cells, ", ")).append("]"));
  }
  return std::string("[\n    ").append(join(rows, ",\n    ")).append("]");
}

void print_json(Output* out, const Report& report, const Summary& summary) {
  std::vector<std::string> columns;
  for (size_t i = 0; i < report.names.size(); ++i) {
    std::vector<std::string> members = {std::string("\"name\": ").append(json_string(report.names[i]))};
    for (const Statistic& statistic : statistics())
      members.push_back(
          std::string("\"").append(statistic.key).append("\": ").append(json_number(statistic.value(summary, i))));
    columns.push_back(std::string("{").append(join(members, ", ")).append("}"));
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
  if (rows.empty()) throw Error(reader.file() + ": no rows of data");
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

constexpr size_t kNoColumn = static_cast<size_t>(-1);

// Which fields of a row are taken, and what a missing one does.
struct Selection {
  std::vector<size_t> columns;
  size_t weights = kNoColumn;
  bool skip_missing = false;

  bool weighted() const { return weights != kNoColumn; }

  // Appends the row's values, and its weight; false when the row is left out.
  bool append(const CsvReader& reader, const CsvRow& row, std::vector<double>* x, std::vector<double>* w) const {
    const auto missing = [&](size_t c) {
      if (!is_missing(row.field(c))) return false;
      if (!skip_missing)
        throw Error(
            reader.file(), row.line(),
            "a missing value in column '" + one_line(reader.names()[c]) + "'; --missing skip leaves the row out");
      return true;
    };
    if ((weighted() && missing(weights)) || std::any_of(columns.begin(), columns.end(), missing)) return false;
    if (weighted()) {
      const double weight = reader.number<double>(row, weights);
      if (!(weight >= 0) || std::isinf(weight)) throw Error(reader.file(), row.line(), "a weight below 0, or infinite");
      w->push_back(weight);
    }
    for (const size_t c : columns) x->push_back(reader.number<double>(row, c));
    return true;
  }
};

// Calls take(row) for the rows that were looked at, and for the rest of the file.
template <class Take>
void for_each_row(CsvReader* reader, const char* label, const std::vector<CsvRow>& looked_at, Take take) {
  Progress progress(label + reader->file(), reader->bytes_total());
  for (const CsvRow& row : looked_at) take(row);
  for (CsvRow row; reader->next(&row);) {
    take(row);
    progress.update(reader->bytes_read());
  }
}

// The second reading: every value passes the brackets of its column.
void pick_quartiles(const Arguments& arguments, const Selection& selection, Summary* summary) {
  CsvReader reader = arguments.csv.open();
  std::vector<RankBracket> brackets = summary->brackets();
  std::vector<double> x, ignored;
  int64_t rows = 0;
  for_each_row(&reader, "quartiles of ", {}, [&](const CsvRow& row) {
    x.clear();
    ignored.clear();
    if (!selection.append(reader, row, &x, &ignored)) return;
    ++rows;
    for (size_t k = 0; k < brackets.size(); ++k) brackets[k].take(x[k / kQuartileCount]);
  });
  if (rows != summary->rows || !summary->set_quartiles(&brackets))
    throw Error(reader.file() + ": the file changed while it was read; --stream-quantiles EPS reads it once");
}

int run(const Arguments& arguments) {
  CsvReader reader = arguments.csv.open();
  Selection selection;
  selection.skip_missing = arguments.missing == "skip";
  if (!arguments.weights.empty()) selection.weights = reader.column(arguments.weights);

  Report report;
  report.file = reader.file();
  report.quartiles = Quartiles::kExact;
  report.epsilon = kBracketEpsilon;
  if (arguments.epsilon > 0) {
    report.quartiles = Quartiles::kStreamed;
    report.epsilon = arguments.epsilon;
  } else if (arguments.block > 0) {
    const bool reads_twice = arguments.csv.file != "-" && reader.bytes_total() > 0;
    report.quartiles = reads_twice ? Quartiles::kBracketed : Quartiles::kStreamed;
  }
  if (selection.weighted()) report.weights = one_line(reader.names()[selection.weights]);

  std::vector<CsvRow> looked_at(1);
  while (looked_at.size() <= kRowsLookedAt && reader.next(&looked_at.back())) looked_at.emplace_back();
  looked_at.pop_back();
  selection.columns = choose_columns(reader, arguments, selection.weights, looked_at, &report);
  for (const size_t c : selection.columns) report.names.push_back(one_line(reader.names()[c]));

  const int64_t block = arguments.block > 0 ? arguments.block : arguments.epsilon > 0 ? kStreamBlock : 0;
  Summary summary(selection.columns.size(), selection.weighted(), report.quartiles, report.epsilon);
  std::vector<double> x, weights;
  int64_t rows = 0;  // in x
  for_each_row(&reader, "reading ", looked_at, [&](const CsvRow& row) {
    if (!selection.append(reader, row, &x, &weights)) {
      ++report.skipped;
    } else if (++rows == block) {
      summary.take(x, weights);
      x.clear();
      weights.clear();
      rows = 0;
    }
  });
  summary.take(x, weights);
  if (summary.rows == 0) throw Error(reader.file() + ": no rows of data");
  if (selection.weighted() && summary.weight_sums[0] == 0) throw Error(reader.file() + ": all weights are 0");
  summary.finish();
  if (report.quartiles == Quartiles::kBracketed) pick_quartiles(arguments, selection, &summary);

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
  command
      .add_option("-b,--block", arguments->block,
                  "Read the file N rows at a time, in little memory; twice, for exact quartiles (a pipe: once, ranks "
                  "off by less than 0.001 of the rows)")
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, int64_t{1} << 40).description(""));
  command
      .add_option("-q,--stream-quantiles", arguments->epsilon,
                  "Quartiles in one pass and little memory; ranks are off by less than EPS times the rows")
      ->type_name("EPS")
      ->check(CLI::Validator(
          [](std::string& text) -> std::string {
            double epsilon;
            const bool good = parse_number(text, &epsilon) == Parsed::kNumber && epsilon >= 1e-7 && epsilon <= 1;
            return good ? "" : text + " is not a number from 1e-7 to 1";
          },
          ""));
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
