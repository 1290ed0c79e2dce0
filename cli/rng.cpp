// qlx rng: random numbers to stdout, from a seed or from where a saved stream stopped.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "array_writer.h"
#include "csv.h"
#include "distributions.h"
#include "error.h"
#include "generators.h"
#include "number.h"
#include "output.h"
#include "progress.h"
#include "qlx/qst_image.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

// Numbers of one request. How a run is split does not change what it gives.
constexpr int32_t kBlock = 1 << 16;

struct Arguments {
  std::string distribution;
  std::string generator = "mcg31m1";
  std::vector<std::string> seeds;
  std::string set = "0";
  std::string skip;
  std::vector<std::string> leapfrog;
  std::string count = "1";
  std::string type = "d";
  std::string format = "csv";
  std::string load, save;
  std::map<std::string, std::string> parameters;  // by name; empty when not given
  bool accurate = false;
  bool list = false;
};

// A whole number from 0 to `most`, decimal or hexadecimal with 0x.
uint64_t parse_count(const std::string& option, std::string_view text, uint64_t most) {
  const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
  const std::string_view digits = is_hex ? text.substr(2) : text;
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, is_hex ? 16 : 10);
  if (digits.empty() || error == std::errc::invalid_argument || end != digits.data() + digits.size())
    throw Error(option + ": '" + std::string(text) + "' is not a whole number");
  if (error == std::errc::result_out_of_range || value > most)
    throw Error(option + ": " + std::string(text) + " is above " + std::to_string(most));
  return value;
}

class Stream {
 public:
  Stream() = default;
  ~Stream() {
    if (stream_ != nullptr) __qstDeleteStream(&stream_);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  QstStream* get() const { return stream_; }
  QstStream** slot() { return &stream_; }

 private:
  QstStream* stream_ = nullptr;
};

void check(int32_t status, const std::string& what) {
  if (status < 0) throw Error(what + ": " + status_text(status));
}

void load_stream(const std::string& path, Stream* stream) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Error(path + ": " + std::strerror(errno));
  const std::vector<char> image(std::istreambuf_iterator<char>(file), {});
  check(qst_load_image(stream->slot(), image.data(), image.size()), path);
}

void new_stream(const Arguments& arguments, Stream* stream) {
  const std::vector<Generator> known = generators();
  const auto found =
      std::find_if(known.begin(), known.end(), [&](const Generator& g) { return g.name == arguments.generator; });
  constexpr uint64_t kMostSubStreams = (1 << 20) - 1;
  const int32_t brng = found->brng + static_cast<int32_t>(parse_count("--set", arguments.set, kMostSubStreams));
  QstBrngProperties properties;
  if (__qstGetBrngProperties(brng, &properties) < 0)
    throw Error(arguments.generator +
                (*found->sets ? std::string(" has the sets ") + found->sets : " has set 0 alone"));
  std::vector<uint32_t> seeds;
  for (const std::string& text : arguments.seeds)
    seeds.push_back(static_cast<uint32_t>(parse_count("--seed", text, UINT32_MAX)));
  check(__qstNewStreamEx(stream->slot(), brng, static_cast<int32_t>(seeds.size()), seeds.data()), arguments.generator);
}

// Leapfrog comes first: a skip then counts the numbers that this stream gives.
void move_stream(const Arguments& arguments, QstStream* stream) {
  const std::string name = generator_name(stream->brng);
  if (!arguments.leapfrog.empty()) {
    const auto k = parse_count("--leapfrog", arguments.leapfrog[0], INT32_MAX);
    const auto streams = parse_count("--leapfrog", arguments.leapfrog[1], INT32_MAX);
    if (k >= streams) throw Error("--leapfrog: K must be below N");
    check(__qstLeapfrogStream(stream, static_cast<int32_t>(k), static_cast<int32_t>(streams)), name);
  }
  if (!arguments.skip.empty())
    check(__qstSkipAheadStream(stream, static_cast<int64_t>(parse_count("--skip", arguments.skip, UINT64_MAX))), name);
}

const Distribution& find_distribution(const std::string& name) {
  std::vector<std::string> names;
  for (const Distribution& distribution : distributions()) {
    if (lower_case(name) == distribution.name) return distribution;
    names.emplace_back(distribution.name);
  }
  throw Error(unknown_name("distribution", name, names, "qlx rng --list"));
}

std::vector<double> parse_parameters(const Distribution& distribution, const Arguments& arguments) {
  std::map<std::string, std::string> given = arguments.parameters;
  std::vector<double> values;
  for (const Parameter& parameter : distribution.parameters) {
    std::string& text = given[parameter.name];
    if (text.empty()) text = parameter.default_value;
    if (text.empty()) throw Error(std::string(distribution.name) + " needs --" + parameter.name);
    if (parse_number(text, &values.emplace_back()) != Parsed::kNumber)
      throw Error(std::string("--") + parameter.name + ": '" + text + "' is not a number");
    text.clear();
  }
  for (const auto& [name, text] : given)
    if (!text.empty()) throw Error(std::string(distribution.name) + " takes no --" + name);
  const std::string complaint = distribution.complaint(values);
  if (!complaint.empty()) throw Error(std::string(distribution.name) + ": " + complaint);
  return values;
}

// The form that --type asks for. A distribution over the integers has one form, whatever it says.
const Form& find_form(const Distribution& distribution, const Arguments& arguments) {
  if (distribution.i.draw != nullptr) return distribution.i;
  return arguments.type == "s" ? distribution.s : distribution.d;
}

int draw(const Arguments& arguments) {
  if (arguments.distribution.empty()) throw Error("a DISTRIBUTION is required; see qlx rng --list");
  const Distribution& distribution = find_distribution(arguments.distribution);
  const std::vector<double> parameters = parse_parameters(distribution, arguments);
  const Form& form = find_form(distribution, arguments);
  const int64_t count = static_cast<int64_t>(parse_count("--count", arguments.count, INT64_MAX / 64));

  Stream stream;
  if (arguments.load.empty())
    new_stream(arguments, &stream);
  else
    load_stream(arguments.load, &stream);
  move_stream(arguments, stream.get());

  Number number = form.number;
  int width = 1;
  if (distribution.name == std::string_view(kRawWords)) {
    QstBrngProperties properties;
    __qstGetBrngProperties(stream.get()->brng, &properties);
    number = properties.wordBytes == 8 ? Number::kUint64 : Number::kUint32;
    width = properties.wordBytes / number_bytes(number);
  }

  // The first block is drawn before anything is written: what a generator can't do shows there.
  std::vector<uint64_t> block(static_cast<size_t>(kBlock) * width * number_bytes(number) / sizeof(uint64_t));
  const int32_t method = arguments.accurate ? QST_METHOD_ACCURACY_FLAG : 0;
  std::unique_ptr<ArrayWriter> writer;
  Progress progress("drawing", count);
  int64_t done = 0;
  do {
    const int32_t n = static_cast<int32_t>(std::min<int64_t>(kBlock, count - done));
    if (n > 0)  // a request of nothing is none: some generators draw one number for it
      check(form.draw({stream.get(), method, n, block.data(), parameters}),
            generator_name(stream.get()->brng) + (done > 0 ? " after " + std::to_string(done) + " numbers" : ""));
    if (!writer) writer = std::make_unique<ArrayWriter>(arguments.format, number, count, width);
    writer->write(block.data(), n);
    done += n;
    progress.update(done);
  } while (done < count);
  progress.clear();
  writer->finish();
  if (!arguments.save.empty()) check(__qstSaveStreamF(stream.get(), arguments.save.c_str(), -1), arguments.save);
  return kExitOk;
}

int print_list() {
  Output out;
  out << "distribution,parameters,types,meaning\n";
  for (const Distribution& distribution : distributions()) {
    std::vector<std::string> names, types;
    for (const Parameter& parameter : distribution.parameters) names.emplace_back(parameter.name);
    if (distribution.d.draw != nullptr) types.emplace_back("d");
    if (distribution.s.draw != nullptr) types.emplace_back("s");
    if (distribution.i.draw != nullptr) types.emplace_back("i");
    std::string row = std::string(distribution.name) + "," + join(names, " ") + "," + join(types, " ") + ",";
    append_csv_field(&row, distribution.meaning);
    out << row << "\n";
  }
  out.send(stdout);
  return kExitOk;
}

}  // namespace

Run attach_rng(CLI::App& command) {
  auto arguments = std::make_shared<Arguments>();
  command.add_option("DISTRIBUTION", arguments->distribution, "Distribution; --list names them")->type_name("");
  CLI::Option* generator =
      one_of(command.add_option("-g,--generator", arguments->generator, "Basic generator"), generator_names())
          ->capture_default_str();
  CLI::Option* seed = command.add_option("--seed", arguments->seeds, "Seed of 32 bits; repeat it for more words")
                          ->type_name("S")
                          ->allow_extra_args(false);
  CLI::Option* set =
      command.add_option("--set", arguments->set, "Parameter set of wh (0 to 272) or mt2203 (0 to 6023)")
          ->type_name("K");
  command.add_option("--leapfrog", arguments->leapfrog, "Take numbers K, K + N, K + 2 N ... alone; K counts from 0")
      ->type_name("K N")
      ->expected(2);
  command.add_option("--skip", arguments->skip, "Leave out that many numbers first; counted after --leapfrog")
      ->type_name("COUNT");
  command.add_option("-n,--count", arguments->count, "How many numbers")->type_name("COUNT")->capture_default_str();
  std::map<std::string, std::vector<std::string>> uses;  // distributions by parameter
  for (const Distribution& distribution : distributions())
    for (const Parameter& parameter : distribution.parameters)
      uses[parameter.name].push_back(
          distribution.name +
          (*parameter.default_value ? std::string(" (default ") + parameter.default_value + ")" : ""));
  for (const auto& [name, users] : uses)
    command.add_option("--" + name, arguments->parameters[name], "Parameter of " + join(users, ", "))
        ->type_name("NUMBER");
  one_of(command.add_option("-t,--type", arguments->type, "double or float"), {"d", "s"})->capture_default_str();
  one_of(command.add_option("-f,--format", arguments->format, "One number a line, bytes, or NumPy's file format"),
         {"csv", "raw", "npy"})
      ->capture_default_str();
  command.add_flag("--accurate", arguments->accurate, "Clamp real numbers into a to b: rounding may give b itself");
  CLI::Option* load = command.add_option("--load", arguments->load, "Go on from a saved stream")->type_name("FILE");
  command.add_option("--save", arguments->save, "Save the stream when the numbers are drawn")->type_name("FILE");
  command.add_flag("-l,--list", arguments->list, "List the distributions, as CSV");
  for (CLI::Option* option : {generator, seed, set}) load->excludes(option);  // the file has them
  command.footer(
      "A run is resumed exactly: --save writes the stream with its position, --load goes on from there. Other copies\n"
      "of the stream take disjoint numbers by --skip or --leapfrog.\n\n"
      "  qlx rng uniform --generator mrg32k3a --seed 7 --skip 1000000 -n 5\n"
      "  qlx rng integers --b 6 -n 10 --save state.qst; qlx rng integers --b 6 -n 10 --load state.qst\n"
      "  qlx rng uniform -g wh --set 12 -n 1000000 --format npy >numbers.npy");
  return [arguments] { return arguments->list ? print_list() : draw(*arguments); };
}

}  // namespace qlx::cli
