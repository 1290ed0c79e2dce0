// A strict reader of CSV files that are read row by row or in blocks of rows, whatever their size.
// SPDX-License-Identifier: Apache-2.0
//
// Fields may be quoted ("" stands for a quote, line ends and delimiters are allowed inside); blanks around a field are
// dropped. LF and CRLF end a row. Every row has as many fields as the first. Blank lines may end the file, not split
// it. Whatever breaks these rules is an Error that names the file and the line.
#ifndef QLX_CLI_CSV_H
#define QLX_CLI_CSV_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct csv_parser;

namespace qlx::cli {

enum class CsvHeader { kAuto, kYes, kNo };  // kAuto: the first row is a header when one of its fields is no number

struct CsvOptions {
  CsvHeader header = CsvHeader::kAuto;
  char delimiter = ',';
};

// One row. Reusing a row for the next one reuses its memory.
class CsvRow {
 public:
  int64_t line() const { return line_; }           // where the row starts; lines count from 1
  std::string_view text() const { return text_; }  // the row as it stands in the file, without its line end
  size_t size() const { return ends_.size(); }
  std::string_view field(size_t k) const {
    const size_t begin = k == 0 ? 0 : ends_[k - 1];
    return std::string_view(fields_).substr(begin, ends_[k] - begin);
  }

 private:
  friend class CsvReader;
  int64_t line_ = 0;
  std::string text_;
  std::string fields_;  // the fields' text, end to end
  std::vector<size_t> ends_;
};

// A block of rows, by columns: columns[c][i] is the value of the block's row i in the c-th column asked for.
template <typename Real>
struct NumericBlock {
  std::vector<std::vector<Real>> columns;
  std::vector<int64_t> lines;      // lines[i]: where row i starts
  std::vector<std::string> texts;  // texts[i]: row i as it stands; filled when asked for
  size_t rows() const { return lines.size(); }
};

class CsvReader {
 public:
  // Opens `path` ("-" is stdin) and reads the header, or the first row.
  explicit CsvReader(const std::string& path, CsvOptions options = {});

  const std::string& file() const { return file_; }  // the name for messages
  bool has_header() const { return has_header_; }
  const CsvRow& header() const { return first_; }  // valid when has_header()
  // The header's fields; "1", "2", ... without one. Never empty: a file without a row is an Error.
  const std::vector<std::string>& names() const { return names_; }

  // The index, from 0, of the column that `selector` means: a name of the header, else a number from 1.
  size_t column(std::string_view selector) const;
  // The same for each selector.
  std::vector<size_t> columns(const std::vector<std::string>& selectors) const;

  // Reads the next row; false at the end of the file.
  bool next(CsvRow* row);

  // The number in field `column` of a row of this file.
  template <typename Real>
  Real number(const CsvRow& row, size_t column) const;

  // Replaces `block` by the next rows, at most `max_rows`, with the numbers of `columns`; false when there is none.
  template <typename Real>
  bool next_block(const std::vector<size_t>& columns, size_t max_rows, bool keep_texts, NumericBlock<Real>* block);

  int64_t bytes_read() const { return bytes_read_; }
  int64_t bytes_total() const { return bytes_total_; }  // 0 when not known (a pipe)

 private:
  struct Sink;  // what the tokeniser calls back
  struct CloseFile {
    void operator()(std::FILE* file) const {
      if (file != stdin) std::fclose(file);
    }
  };
  struct FreeParser {
    void operator()(csv_parser* parser) const;
  };

  // The line read last, with its end, in getline(3)'s own buffer.
  struct Line {
    Line() = default;
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    ~Line() { std::free(buffer); }
    std::string_view text;
    char* buffer = nullptr;
    size_t capacity = 0;
  };

  bool read_line();
  bool line_is_blank() const;
  bool read_row(CsvRow* row);
  [[noreturn]] void fail(int64_t line, const std::string& message) const;

  std::string file_;
  std::unique_ptr<std::FILE, CloseFile> stream_;
  std::unique_ptr<csv_parser, FreeParser> parser_;
  Line line_;
  int64_t line_number_ = 0;
  int64_t bytes_read_ = 0;
  int64_t bytes_total_ = 0;

  bool has_header_ = false;
  bool first_pending_ = false;  // the first row is data, and next() has not given it yet
  CsvRow first_;
  std::vector<std::string> names_;
};

// Appends `field` to a row of CSV under way, quoted when it has to be.
void append_csv_field(std::string* row, std::string_view field, char delimiter = ',');

}  // namespace qlx::cli

#endif
