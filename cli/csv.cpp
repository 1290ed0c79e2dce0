// CSV reader: lines by getline(3), which gives the line numbers; fields by libcsv's push parser, fed line by line.
// SPDX-License-Identifier: Apache-2.0
#include "csv.h"

#include <csv.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "error.h"
#include "number.h"
#include "text.h"

namespace qlx::cli {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr size_t kStreamBuffer = size_t{256} << 10;

// LF alone ends a row, and CR counts as a blank: so the CR of CRLF vanishes, and one elsewhere does not go unnoticed.
int is_blank(unsigned char c) {
  return c == ' ' || c == '\t' || c == '\r';
}
int is_line_end(unsigned char c) {
  return c == '\n';
}

std::string quoted(std::string_view text) {
  constexpr size_t kShown = 40;
  std::string shown = "'";
  shown += one_line(text.substr(0, kShown));
  shown += text.size() > kShown ? "...'" : "'";
  return shown;
}

bool is_number(std::string_view text) {
  double ignored;
  return parse_number(text, &ignored) != Parsed::kNotANumber;
}

std::string counted(size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

}  // namespace

struct CsvReader::Sink {
  CsvRow* row;
  bool complete = false;

  static void field(void* text, size_t size, void* self) {
    CsvRow* const row = static_cast<Sink*>(self)->row;
    row->fields_.append(static_cast<const char*>(text), size);
    row->ends_.push_back(row->fields_.size());
  }
  static void end_of_row(int, void* self) { static_cast<Sink*>(self)->complete = true; }
};

void CsvReader::FreeParser::operator()(csv_parser* parser) const {
  csv_free(parser);
  delete parser;
}

void CsvReader::fail(int64_t line, const std::string& message) const {
  throw Error(file_, line, message);
}

CsvReader::CsvReader(const std::string& path, CsvOptions options) : file_(path == "-" ? "stdin" : path) {
  stream_.reset(path == "-" ? stdin : std::fopen(path.c_str(), "rb"));
  if (!stream_) throw Error(file_ + ": cannot open: " + std::strerror(errno));
  std::setvbuf(stream_.get(), nullptr, _IOFBF, kStreamBuffer);
  struct stat status;
  if (fstat(fileno(stream_.get()), &status) == 0 && S_ISREG(status.st_mode)) bytes_total_ = status.st_size;

  parser_.reset(new csv_parser);
  // Strict: a quote may only open a field or close it; the file may not end inside quotes.
  if (csv_init(parser_.get(), CSV_STRICT | CSV_STRICT_FINI) != 0) throw Error("cannot start the CSV parser");
  csv_set_delim(parser_.get(), static_cast<unsigned char>(options.delimiter));
  csv_set_space_func(parser_.get(), is_blank);
  csv_set_term_func(parser_.get(), is_line_end);

  if (!read_row(&first_)) fail(1, "the file is empty");
  for (size_t k = 0; k < first_.size(); ++k) {
    names_.emplace_back(first_.field(k));
    if (options.header == CsvHeader::kAuto && !is_number(first_.field(k))) has_header_ = true;
  }
  if (options.header == CsvHeader::kYes) has_header_ = true;
  first_pending_ = !has_header_;
  if (!has_header_)
    for (size_t k = 0; k < names_.size(); ++k) names_[k] = std::to_string(k + 1);
}

bool CsvReader::line_is_blank() const {
  // A tab that delimits makes fields, though empty ones.
  return line_.text.find_first_not_of(csv_get_delim(parser_.get()) == '\t' ? " \r\n" : " \t\r\n") ==
         std::string_view::npos;
}

bool CsvReader::read_line() {
  errno = 0;
  const ssize_t size = getline(&line_.buffer, &line_.capacity, stream_.get());
  if (size < 0) {
    if (std::ferror(stream_.get())) throw Error(file_ + ": cannot read: " + std::strerror(errno));
    if (errno == ENOMEM) fail(line_number_ + 1, "the line is too long for the memory");
    return false;
  }
  line_.text = {line_.buffer, static_cast<size_t>(size)};
  bytes_read_ += size;
  if (++line_number_ == 1 && line_.text.starts_with(kByteOrderMark)) line_.text.remove_prefix(kByteOrderMark.size());
  return true;
}

bool CsvReader::read_row(CsvRow* row) {
  row->text_.clear();
  row->fields_.clear();
  row->ends_.clear();
  Sink sink{row};
  while (!sink.complete) {
    const bool row_begun = !row->text_.empty();
    if (!read_line()) {
      if (!row_begun) return false;
      // The last line has no line end, or a quote is open.
      if (csv_fini(parser_.get(), Sink::field, Sink::end_of_row, &sink) != 0)
        fail(row->line_, "a quoted field is not closed");
      break;
    }
    const std::string_view line = line_.text;
    if (!row_begun) {
      row->line_ = line_number_;
      if (line_is_blank()) {
        // Blank lines are welcome at the end alone: elsewhere one may stand for a missing value.
        while (read_line())
          if (!line_is_blank()) fail(row->line_, "a blank line between rows");
        return false;
      }
    }
    row->text_ += line;
    const size_t taken = csv_parse(parser_.get(), line.data(), line.size(), Sink::field, Sink::end_of_row, &sink);
    if (taken != line.size()) {
      if (csv_error(parser_.get()) == CSV_ENOMEM) fail(line_number_, "the row is too long for the memory");
      fail(line_number_, "a quote inside a field, or text after a closing quote");
    }
  }
  if (row->text_.ends_with('\n')) row->text_.pop_back();
  if (row->text_.ends_with('\r')) row->text_.pop_back();
  return true;
}

bool CsvReader::next(CsvRow* row) {
  if (first_pending_) {
    first_pending_ = false;
    *row = first_;
    return true;
  }
  if (!read_row(row)) return false;
  if (row->size() != names_.size())
    fail(row->line_, counted(row->size(), "field") + " where line " + std::to_string(first_.line_) + " has " +
                         std::to_string(names_.size()));
  return true;
}

size_t CsvReader::column(std::string_view selector) const {
  const auto found = std::find(names_.begin(), names_.end(), selector);
  if (has_header_ && found != names_.end()) {
    if (std::find(found + 1, names_.end(), selector) != names_.end())
      fail(first_.line_, "more than one column is named " + quoted(selector) + "; give its number");
    return static_cast<size_t>(found - names_.begin());
  }
  size_t number = 0;
  const char* const end = selector.data() + selector.size();
  const auto [stop, error] = std::from_chars(selector.data(), end, number);
  if (error == std::errc() && stop == end && number >= 1 && number <= names_.size()) return number - 1;

  const std::string missing = "no column " + quoted(selector) + ": ";
  if (!has_header_) fail(first_.line_, missing + "the file has " + counted(names_.size(), "column") + " and no header");
  constexpr size_t kShown = 12;
  std::vector<std::string> shown(names_.begin(), names_.begin() + std::min(kShown, names_.size()));
  if (names_.size() > kShown) shown.emplace_back("...");
  fail(first_.line_, missing + "the columns are " + join(shown, ", "));
}

std::vector<size_t> CsvReader::columns(const std::vector<std::string>& selectors) const {
  std::vector<size_t> result;
  result.reserve(selectors.size());
  for (const std::string& selector : selectors) result.push_back(column(selector));
  return result;
}

template <typename Real>
Real CsvReader::number(const CsvRow& row, size_t column) const {
  Real value;
  const std::string_view text = row.field(column);
  const Parsed parsed = parse_number(text, &value);
  if (parsed == Parsed::kNumber) return value;
  const std::string where = " in column " + quoted(names_[column]);
  if (parsed == Parsed::kTooLarge)
    fail(row.line(), quoted(text) + where + " is too large for type " + (sizeof(Real) == 4 ? "s" : "d"));
  if (text.empty()) fail(row.line(), "an empty field" + where + " where a number belongs");
  fail(row.line(), quoted(text) + where + " is not a number");
}

template <typename Real>
bool CsvReader::next_block(const std::vector<size_t>& columns, size_t max_rows, bool keep_texts,
                           NumericBlock<Real>* block) {
  block->columns.resize(columns.size());
  for (std::vector<Real>& values : block->columns) values.clear();
  block->lines.clear();
  block->texts.clear();
  CsvRow row;
  while (block->rows() < max_rows && next(&row)) {
    for (size_t c = 0; c < columns.size(); ++c) block->columns[c].push_back(number<Real>(row, columns[c]));
    block->lines.push_back(row.line());
    if (keep_texts) block->texts.emplace_back(row.text());
  }
  return block->rows() > 0;
}

template float CsvReader::number(const CsvRow&, size_t) const;
template double CsvReader::number(const CsvRow&, size_t) const;
template bool CsvReader::next_block(const std::vector<size_t>&, size_t, bool, NumericBlock<float>*);
template bool CsvReader::next_block(const std::vector<size_t>&, size_t, bool, NumericBlock<double>*);

void append_csv_field(std::string* row, std::string_view field, char delimiter) {
  const bool edge_blank = !field.empty() && (is_blank(field.front()) || is_blank(field.back()));
  if (!edge_blank && field.find(delimiter) == field.npos && field.find_first_of("\"\r\n") == field.npos) {
    *row += field;
    return;
  }
  *row += '"';
  for (const char c : field) {
    if (c == '"') *row += '"';
    *row += c;
  }
  *row += '"';
}

}  // namespace qlx::cli
