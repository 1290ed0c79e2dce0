// qlx math: an elementwise function on columns of a CSV file.
// SPDX-License-Identifier: Apache-2.0
//
// The file is read in blocks of rows, so its size does not matter. What is to be printed is held until the last row
// has been read, since a bad last row must leave stdout empty.
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "csv.h"
#include "csv_arguments.h"
#include "error.h"
#include "functions.h"
#include "number.h"
#include "output.h"
#include "progress.h"
#include "qlx/qvm.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

constexpr int32_t kBlockRows = 1 << 14;

// Scalar parameters and what they are when not given. An empty default means that the user has to say.
const std::map<std::string, const char*> kParameterDefaults = {
    {"exponent", ""}, {"scalea", "1"}, {"shifta", "0"}, {"scaleb", "1"}, {"shiftb", "0"},
};

struct Arguments {
  std::string function;
  CsvArguments csv;
  std::string accuracy;
  std::string type = "d";
  std::map<std::string, std::string> parameters;
  bool results_only = false;
  bool list = false;
};

struct StatusWord {
  int32_t status;
  const char* word;
};

constexpr StatusWord kStatusWords[] = {
    {qvm_status_domain, "domain"},
    {qvm_status_pole, "pole"},
    {qvm_status_overflow, "overflow"},
    {qvm_status_underflow, "underflow"},
};

const char* status_word(int32_t status) {
  for (const StatusWord& row : kStatusWords)
    if (row.status == status) return row.word;
  return "error";
}

// The function applied to one column, or to a pair.
struct Application {
  std::string label;            // such as "hypot(x,y)"
  std::vector<size_t> columns;  // indices into the block's columns
};

struct ElementError {
  int32_t row;  // in the block
  size_t application;
  int32_t status;
  double arg1, arg2, res1, res2;
};

// Collects the reports of a kernel call. A callback has no context argument, hence the one static collector; it runs
// under the kernel's floating-point control words and must not throw, so it only copies, into memory reserved before.
class ReportCollector {
 public:
  static void begin(std::vector<ElementError>* errors, size_t application) {
    errors->reserve(errors->size() + kBlockRows);
    errors_ = errors;
    application_ = application;
  }
  static int32_t callback(QvmElementReport* report) {
    if (errors_->size() < errors_->capacity())
      errors_->push_back(
          {report->index, application_, report->code, report->arg1, report->arg2, report->res1, report->res2});
    return 1;  // keep the kernel's result; nothing else is to be done
  }

 private:
  inline static std::vector<ElementError>* errors_ = nullptr;
  inline static size_t application_ = 0;
};

// The kernel table's slot, from the mode: --accuracy when given, else the thread's own (QLX_QVM_MODE, or HA).
int set_mode(const std::string& accuracy) {
  const std::map<std::string, uint32_t> groups = {{"la", QVM_LA}, {"ha", QVM_HA}, {"ep", QVM_EP}};
  const auto found = groups.find(accuracy);
  _qvmSetMode((found == groups.end() ? 0 : found->second) | QVM_ERRMODE_CALLBACK);
  _qvmSetErrorCallBack(ReportCollector::callback);
  return qlx_qvm_kernel_GetTTableIndex();
}

template <typename Real>
std::vector<Real> parse_parameters(const Function& function, const Arguments& arguments) {
  const std::string lower = lower_case(function.name);
  const std::vector<std::string>& taken = function.shape->parameters;
  for (const auto& [name, text] : arguments.parameters)
    if (!text.empty() && std::find(taken.begin(), taken.end(), name) == taken.end())
      throw Error(lower + " takes no --" + name);
  std::vector<Real> values;
  for (const std::string& name : taken) {
    const std::string& given = arguments.parameters.at(name);
    const std::string text = given.empty() ? kParameterDefaults.at(name) : given;
    if (text.empty()) throw Error(lower + " needs --" + name);
    if (parse_number(text, &values.emplace_back()) != Parsed::kNumber)
      throw Error("--" + name + ": '" + text + "' is not a number of type " + arguments.type);
  }
  return values;
}

// A function of one argument goes over each column chosen, or over all; one of two takes the two chosen, or the only
// two.
std::vector<Application> make_applications(const Function& function, const CsvReader& reader,
                                           const std::vector<size_t>& columns, const std::vector<std::string>& tail) {
  const std::string lower = lower_case(function.name);
  const auto label = [&](const std::vector<size_t>& members) {
    std::vector<std::string> inside;
    for (const size_t k : members) inside.push_back(reader.names()[columns[k]]);
    inside.insert(inside.end(), tail.begin(), tail.end());
    return lower + "(" + join(inside, ",") + ")";
  };
  std::vector<Application> applications;
  if (function.shape->arguments == 2) {
    if (columns.size() != 2)
      throw Error(lower + " takes two columns, not " + std::to_string(columns.size()) + ": give --column twice");
    applications.push_back({label({0, 1}), {0, 1}});
  } else {
    for (size_t k = 0; k < columns.size(); ++k) applications.push_back({label({k}), {k}});
  }
  return applications;
}

// "qlx: data.csv:17: ln(x): status 2 (pole), argument 0, result -inf"
template <typename Real>
void append_error(Output* out, const std::string& file, int64_t line, const std::string& label, const Shape& shape,
                  const ElementError& error) {
  const auto text = [](double value) { return number_text(static_cast<Real>(value)); };
  const bool two_arguments = shape.arguments == 2 || !shape.parameters.empty();
  *out << "qlx: " << file << ":" << std::to_string(line) << ": " << label << ": status " << std::to_string(error.status)
       << " (" << status_word(error.status) << "), " << (two_arguments ? "arguments " : "argument ")
       << text(error.arg1);
  if (two_arguments) *out << " and " << text(error.arg2);
  *out << (shape.results == 2 ? ", results " : ", result ") << text(error.res1);
  if (shape.results == 2) *out << " and " << text(error.res2);
  *out << "\n";
}

// "qlx: 3 of 150 elements had errors: 2 domain, 1 pole"
void append_summary(Output* out, const std::map<int32_t, int64_t>& counts, int64_t elements) {
  int64_t total = 0;
  std::vector<std::string> kinds;
  for (const auto& [status, count] : counts) {
    total += count;
    kinds.push_back(std::to_string(count) + " " + status_word(status));
  }
  *out << "qlx: " << std::to_string(total) << " of " << std::to_string(elements)
       << (elements == 1 ? " element" : " elements") << " had errors: " << join(kinds, ", ") << "\n";
}

template <typename Real>
int evaluate(const Function& function, const Arguments& arguments) {
  const Shape& shape = *function.shape;
  if (!function.table<Real>()) throw Error(lower_case(function.name) + " has no kernels of type " + arguments.type);
  const std::vector<Real> parameters = parse_parameters<Real>(function, arguments);
  std::vector<std::string> parameter_texts;
  for (const Real value : parameters) parameter_texts.push_back(number_text(value));

  CsvReader reader = arguments.csv.open();
  std::vector<size_t> columns = reader.columns(arguments.csv.columns);
  if (columns.empty())
    for (size_t k = 0; k < reader.names().size(); ++k) columns.push_back(k);
  const std::vector<Application> applications = make_applications(function, reader, columns, parameter_texts);
  const Kernel<Real>& kernel = (*function.table<Real>())[set_mode(arguments.accuracy)];
  const char delimiter = arguments.csv.options().delimiter;

  Output out, complaints;
  std::string row;
  if (reader.has_header()) {
    if (!arguments.results_only) row = reader.header().text();
    for (const Application& application : applications) {
      for (int result = 1; result <= shape.results; ++result) {
        if (!row.empty()) row += delimiter;
        append_csv_field(&row, application.label + (shape.results == 2 ? "." + std::to_string(result) : ""), delimiter);
      }
    }
    out << row << "\n";
  }

  NumericBlock<Real> block;
  // results[k]: the k-th result column, that is result k % shape.results of application k / shape.results.
  std::vector<std::vector<Real>> results(applications.size() * shape.results, std::vector<Real>(kBlockRows));
  std::vector<ElementError> errors;
  std::map<int32_t, int64_t> counts;
  int64_t elements = 0;
  Progress progress("reading " + reader.file(), reader.bytes_total());
  while (reader.next_block(columns, kBlockRows, !arguments.results_only, &block)) {
    errors.clear();
    for (size_t k = 0; k < applications.size(); ++k) {
      const std::vector<size_t>& members = applications[k].columns;
      ReportCollector::begin(&errors, k);
      run_kernel(kernel, static_cast<int32_t>(block.rows()), block.columns[members.front()].data(),
                 block.columns[members.back()].data(), parameters, results[k * shape.results].data(),
                 results[(k + 1) * shape.results - 1].data());
      elements += static_cast<int64_t>(block.rows());
    }
    std::stable_sort(errors.begin(), errors.end(),
                     [](const ElementError& x, const ElementError& y) { return x.row < y.row; });
    for (const ElementError& error : errors) {
      append_error<Real>(&complaints, reader.file(), block.lines[error.row],
                         one_line(applications[error.application].label), shape, error);
      ++counts[error.status];
    }
    for (size_t i = 0; i < block.rows(); ++i) {
      row.clear();
      if (!arguments.results_only) row = block.texts[i];
      for (size_t k = 0; k < results.size(); ++k) {
        if (k > 0 || !arguments.results_only) row += delimiter;
        append_number(&row, results[k][i]);
      }
      row += '\n';
      out << row;
    }
    progress.update(reader.bytes_read());
  }
  progress.clear();
  if (!counts.empty()) append_summary(&complaints, counts, elements);
  out.send(stdout);
  complaints.send(stderr);
  return counts.empty() ? kExitOk : kExitElementErrors;
}

int print_list() {
  Output out;
  out << "function,arguments,results,parameters,types,meaning\n";
  for (const Function& function : functions()) {
    const Shape& shape = *function.shape;
    const bool d = function.table<double>().has_value(), s = function.table<float>().has_value();
    std::string row = lower_case(function.name) + "," + std::to_string(shape.arguments) + "," +
                      std::to_string(shape.results) + "," + join(shape.parameters, " ") + "," + (d ? "d" : "") +
                      (d && s ? " " : "") + (s ? "s" : "") + ",";
    append_csv_field(&row, function.equation);
    out << row << "\n";
  }
  out.send(stdout);
  return kExitOk;
}

int run(const Arguments& arguments) {
  if (arguments.list) return print_list();
  if (arguments.function.empty()) throw Error("a FUNCTION is required; see qlx math --list");
  const Function& function = find_function(arguments.function);
  return arguments.type == "s" ? evaluate<float>(function, arguments) : evaluate<double>(function, arguments);
}

}  // namespace

Run attach_math(CLI::App& command) {
  auto arguments = std::make_shared<Arguments>();
  command.add_option("FUNCTION", arguments->function, "Function, in any case; --list names them")->type_name("");
  arguments->csv.attach(command);
  one_of(command.add_option("-a,--accuracy", arguments->accuracy,
                            "Below 4 ULP, below 1 ULP, or half of the digits, fast. Default: ha, or QLX_QVM_MODE's"),
         {"la", "ha", "ep"});
  one_of(command.add_option("-t,--type", arguments->type, "double or float"), {"d", "s"})->capture_default_str();
  for (const auto& [name, value] : kParameterDefaults)
    command
        .add_option("--" + name, arguments->parameters[name],
                    *value ? std::string("Of linearfrac; default ") + value : "Of powx, which needs it")
        ->type_name("NUMBER");
  command.add_flag("-r,--results-only", arguments->results_only, "Print the results without the file's own columns");
  command.add_flag("-l,--list", arguments->list, "List the functions, as CSV");
  command.footer(
      "A function of one argument is applied to each --column, or to every column; one of two arguments to the two\n"
      "columns named, or to the file's only two. linearfrac is (scalea a + shifta) / (scaleb b + shiftb).\n"
      "An element's error (domain, pole, overflow, underflow) is told on stderr with its line, and the exit status\n"
      "is 1; the output is whole all the same.\n\n"
      "  qlx math sqrt --column sepal_length data/iris.csv\n"
      "  qlx math ln --accuracy la --type s -c 1 -c 3 data/iris.csv\n"
      "  printf '3,4\\n5,12\\n' | qlx math hypot --results-only -");
  return [arguments] { return run(*arguments); };
}

}  // namespace qlx::cli
