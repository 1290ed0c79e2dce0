// The command: options, what is printed, and its styles.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/command.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "accuracy/record.h"
#include "accuracy/report.h"

namespace qlx::tools {

namespace {

// What the options say.
struct Request {
  std::vector<std::string> functions;
  std::string type, accuracy;
  MeterOptions options;
  bool csv = false, print = false, record = false;
  std::string record_in = QLX_SOURCE_DIR;
  bool slots[3] = {};  // those of `accuracy`

  Style style() const { return csv ? Style::kCsv : print ? Style::kMarkdown : Style::kTable; }
};

// A function's name in any case.
const Reference& reference_of(const std::string& name) {
  const auto same = [](char x, char y) { return std::tolower(x) == std::tolower(y); };
  for (const Reference& row : references())
    if (std::equal(row.name.begin(), row.name.end(), name.begin(), name.end(), same)) return row;
  throw std::runtime_error("no exact values for a function '" + name + "'");
}

// The functions named, or all that are built, in the catalogue's order.
std::vector<const Reference*> functions_of(const Request& request) {
  std::vector<const Reference*> list;
  for (const std::string& name : request.functions) list.push_back(&reference_of(name));
  if (!list.empty()) return list;
  for (const KernelRow& row : kernel_list()) {
    const Reference* reference = find_reference(row.name);
    if (reference && std::find(list.begin(), list.end(), reference) == list.end()) list.push_back(reference);
  }
  return list;
}

// A kernel's slots, printed, and recorded where a record is kept.
int measure_kernel(const Request& request, const KernelRow& row, const Reference& reference, Record* record) {
  int status = 0;
  MeterOptions options = request.options;
  if (options.seeds == 0) options.seeds = record ? 8 : 1;
  std::vector<Interval> intervals = {{options.sample.low, options.sample.high}};
  if (record) {
    intervals = record->intervals(row);
    options.sample.also = record->worst(reference);
  }
  Measurement results[3];
  for (const Interval& interval : intervals) {
    options.sample.low = interval.low, options.sample.high = interval.high;
    Measurement found[3];
    measure(row, reference, request.slots, options, found);
    if (record) record->take(row, reference, request.slots, interval, found);
    merge(results, found);
  }
  for (int slot = 0; slot < 3; ++slot) {
    if (!request.slots[slot]) continue;
    std::fputs(row_text(request.style(), row, reference, slot, results[slot]).c_str(), stdout);
    std::fflush(stdout);
    if (record) record->take_page_row(row_text(Style::kMarkdown, row, reference, slot, results[slot]));
    if (results[slot].sieve_misses == 0) continue;
    std::fprintf(stderr, "%c%s: the sieve missed its slack %llu times\n", row.type, row.name.c_str(),
                 static_cast<unsigned long long>(results[slot].sieve_misses));
    status = 1;
  }
  return status;
}

int run(const Request& request, const std::string& command) {
  const std::vector<const Reference*> functions = functions_of(request);
  std::unique_ptr<Record> record;
  if (request.record)
    record = std::make_unique<Record>(request.record_in + "/tests/vecmath/bounds.csv",
                                      request.record_in + "/docs/accuracy.md");
  std::fputs(head_text(request.style(), command).c_str(), stdout);
  int status = 0;
  for (const Reference* reference : functions) {
    const std::string name(reference->name);
    for (const char type : request.type.empty() ? std::string("sd") : request.type) {
      if (const KernelRow* row = find_kernel(name, type)) {
        status |= measure_kernel(request, *row, *reference, record.get());
      } else {
        std::fprintf(stderr, "%c%s is not built\n", type, name.c_str());
      }
    }
  }
  // A run of some functions is part of the record that the whole command would make.
  if (record) record->write(head_text(Style::kMarkdown, "qlx accuracy --record"));
  return status;
}

// The command as typed, from what was parsed.
std::string command_text(const CLI::App& app) {
  std::string text = "qlx accuracy";
  for (const CLI::Option* option : app.get_options()) {
    if (option->count() == 0) continue;
    if (!option->get_lnames().empty()) text += " --" + option->get_lnames()[0];
    if (option->get_expected_max() == 0) continue;  // a flag
    for (const std::string& value : option->results()) text += " " + value;
  }
  return text;
}

}  // namespace

std::function<int()> attach_accuracy(CLI::App& app) {
  const auto request = std::make_shared<Request>();
  SampleOptions& sample = request->options.sample;
  sample.directed = QLX_SOURCE_DIR "/tests/vecmath/hard";
  app.footer(
      "Errors are in ULP of the exact value's binade: a correctly rounded result is at most 0.5 away. The worst "
      "argument is that of the relative error for EP, of the error in ULP otherwise.");
  app.add_option("FUNCTION", request->functions, "Functions, such as Exp; none: all that are approximated");
  app.add_option("--type", request->type, "s or d; both when left out")->check(CLI::IsMember({"s", "d"}));
  app.add_option("--accuracy", request->accuracy, "la, ha or ep; all when left out")
      ->check(CLI::IsMember({"la", "ha", "ep"}));
  app.add_flag("--exhaustive", sample.exhaustive, "Float functions of one argument: every bit pattern");
  app.add_option("--stride", sample.stride, "Else every stride-th, made odd")->capture_default_str();
  sample.period_stride = 1;
  app.add_option("--period-stride", sample.period_stride,
                 "Roots of floats: every so many-th from 1 to 4 or 8, where they are all; 0: none")
      ->capture_default_str();
  app.add_option("--samples", sample.samples, "Double, and pairs: arguments drawn")->capture_default_str();
  app.add_option("--seed", sample.seed, "Of the drawn arguments")->capture_default_str();
  request->options.seeds = 0;
  app.add_option("--seeds", request->options.seeds, "So many seeds in turn, from that one on; 0: 1, and 8 for --record")
      ->capture_default_str();
  CLI::Option* low = app.add_option("--low", sample.low, "Least first argument");
  CLI::Option* high = app.add_option("--high", sample.high, "Greatest first argument");
  app.add_option("--directed", sample.directed, "Folder of directed arguments, <FUNCTION>.txt");
  request->options.refine = 512;
  app.add_option("--refine", request->options.refine, "Double, and pairs: rounds of search around the worst, at most")
      ->capture_default_str();
  request->options.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  app.add_option("--threads", request->options.threads, "Threads")->capture_default_str();
  app.add_option("--record-in", request->record_in, "Source tree whose files --record writes");
  CLI::Option* styles[] = {app.add_flag("--csv", request->csv, "Comma-separated values"),
                           app.add_flag("--print", request->print, "As the page docs/accuracy.md"),
                           app.add_flag("--record", request->record,
                                        "Write what was measured to tests/vecmath/bounds.csv and docs/accuracy.md")};
  styles[2]->excludes(low)->excludes(high);  // the rows have intervals of their own
  for (CLI::Option* x : styles)
    for (CLI::Option* y : styles)
      if (x != y) x->excludes(y);
  return [request, &app] {
    const std::string& a = request->accuracy;
    request->slots[kLA] = a.empty() || a == "la";
    request->slots[kHA] = a.empty() || a == "ha";
    request->slots[kEP] = a.empty() || a == "ep";
    return run(*request, command_text(app));
  };
}

}  // namespace qlx::tools
