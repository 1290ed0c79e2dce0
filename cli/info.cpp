// qlx info: what a report of a problem should say about the machine, the library and its settings.
// SPDX-License-Identifier: Apache-2.0
#include <cpuid.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "functions.h"
#include "generators.h"
#include "output.h"
#include "qlx/core.h"
#include "qlx/qvm.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

// ---- Processor ------------------------------------------------------------------------------------------------------

enum Register { kEax, kEbx, kEcx, kEdx };

// The state that the system has to save on a switch of tasks before a feature may be used.
enum class State { kSse, kAvx, kAvx512 };

struct Feature {
  const char* name;
  unsigned leaf;
  Register reg;
  int bit;
  State state;
};

// Leaf, register and bit as in the processor manuals' description of the CPUID instruction (subleaf 0).
constexpr Feature kFeatures[] = {
    {"sse2", 1, kEdx, 26, State::kSse},        {"sse4.1", 1, kEcx, 19, State::kSse},
    {"sse4.2", 1, kEcx, 20, State::kSse},      {"popcnt", 1, kEcx, 23, State::kSse},
    {"aes", 1, kEcx, 25, State::kSse},         {"pclmul", 1, kEcx, 1, State::kSse},
    {"avx", 1, kEcx, 28, State::kAvx},         {"f16c", 1, kEcx, 29, State::kAvx},
    {"fma", 1, kEcx, 12, State::kAvx},         {"avx2", 7, kEbx, 5, State::kAvx},
    {"bmi2", 7, kEbx, 8, State::kSse},         {"avx512f", 7, kEbx, 16, State::kAvx512},
    {"avx512dq", 7, kEbx, 17, State::kAvx512}, {"vaes", 7, kEcx, 9, State::kAvx},
    {"rdrand", 1, kEcx, 30, State::kSse},      {"rdseed", 7, kEbx, 18, State::kSse},
};

struct CpuidLeaf {
  unsigned registers[4] = {};
  explicit CpuidLeaf(unsigned leaf) {
    unsigned* const r = registers;
    if (!__get_cpuid_count(leaf, 0, &r[kEax], &r[kEbx], &r[kEcx], &r[kEdx])) std::fill(r, r + 4, 0u);
  }
  bool bit(Register reg, int k) const { return registers[reg] >> k & 1; }
};

bool system_saves(State state) {
  constexpr int kOsxsave = 27;
  if (state == State::kSse) return true;
  if (!CpuidLeaf(1).bit(kEcx, kOsxsave)) return false;
  unsigned low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  // Bits 1 and 2: the 128-bit registers and the upper halves of the 256-bit ones; 5 to 7: what 512 bits add.
  const unsigned needed = state == State::kAvx ? 0x06u : 0xE6u;
  return (low & needed) == needed;
}

std::string processor_name() {
  constexpr unsigned kFirstBrandLeaf = 0x80000002u;  // three leaves of 16 characters, NUL-padded
  char name[49] = {};
  for (unsigned k = 0; k < 3; ++k) std::memcpy(name + size_t{16} * k, CpuidLeaf(kFirstBrandLeaf + k).registers, 16);
  const std::string_view text(name);
  const size_t begin = text.find_first_not_of(' ');
  return begin == text.npos ? "unknown" : std::string(text.substr(begin, text.find_last_not_of(' ') - begin + 1));
}

std::string processor_features(bool present) {
  std::vector<std::string> names;
  for (const Feature& feature : kFeatures)
    if ((CpuidLeaf(feature.leaf).bit(feature.reg, feature.bit) && system_saves(feature.state)) == present)
      names.emplace_back(feature.name);
  return names.empty() ? "none" : join(names, " ");
}

// ---- Mode word ------------------------------------------------------------------------------------------------------

struct ModeBits {
  uint32_t mask;
  uint32_t value;
  const char* words;
};

// Rows that hold print their words, in this order. The error group's bits stand each on its own.
constexpr ModeBits kModeBits[] = {
    {QVM_ACCURACY_MASK, QVM_LA, "accuracy la"},
    {QVM_ACCURACY_MASK, QVM_HA, "accuracy ha"},
    {QVM_ACCURACY_MASK, QVM_EP, "accuracy ep"},
    {QVM_PRECISION_MASK, 0x10, "float consistent"},
    {QVM_PRECISION_MASK, 0x20, "double consistent"},
    {QVM_PRECISION_MASK, 0x30, "precision restored"},
    {QVM_ERRMODE_IGNORE, QVM_ERRMODE_IGNORE, "errors ignored"},
    {QVM_ERRMODE_ERRNO, QVM_ERRMODE_ERRNO, "errors to errno"},
    {QVM_ERRMODE_STDERR, QVM_ERRMODE_STDERR, "errors to stderr"},
    {QVM_ERRMODE_EXCEPT, QVM_ERRMODE_EXCEPT, "errors raise flags"},
    {QVM_ERRMODE_CALLBACK, QVM_ERRMODE_CALLBACK, "errors to callback"},
    {QVM_ERRMODE_NOERR, QVM_ERRMODE_NOERR, "no error handling"},
    {QVM_DENORMAL_MASK, QVM_DENORMAL_FAST, "denormals are zero"},
    {QVM_TRAP_INVALID, QVM_TRAP_INVALID, "trap invalid"},
    {QVM_TRAP_DIVBYZERO, QVM_TRAP_DIVBYZERO, "trap division by zero"},
    {QVM_TRAP_OVERFLOW, QVM_TRAP_OVERFLOW, "trap overflow"},
    {QVM_TRAP_UNDERFLOW, QVM_TRAP_UNDERFLOW, "trap underflow"},
};

std::string mode_text(uint32_t mode) {
  std::vector<std::string> words;
  for (const ModeBits& row : kModeBits)
    if ((mode & row.mask) == row.value) words.emplace_back(row.words);
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%X", static_cast<unsigned>(mode));
  return std::string(hex) + " (" + join(words, ", ") + ")";
}

// ---- Library --------------------------------------------------------------------------------------------------------

std::string library_path() {
  Dl_info found;
  return dladdr(reinterpret_cast<void*>(&dll_cpu_version), &found) != 0 && found.dli_fname ? found.dli_fname
                                                                                           : "unknown";
}

template <typename Real>
std::string function_count(char type) {
  const auto has_type = [](const Function& function) { return function.table<Real>().has_value(); };
  return std::to_string(std::count_if(functions().begin(), functions().end(), has_type)) + " of type " + type;
}

// What qlx info prints, a line for each row. A room that has something to tell, such as its generators, adds a row.
struct Fact {
  const char* label;
  std::string (*text)();
};

const Fact kFacts[] = {
    {"version", [] { return std::string(QLX_VERSION); }},
    {"library", library_path},
    {"generation", [] { return std::to_string(dll_cpu_version()); }},
    {"processor", processor_name},
    {"features", [] { return processor_features(true); }},
    {"absent", [] { return processor_features(false); }},
    {"thread limit", [] { return std::to_string(qlx_qst_serv_threader_get_num_threads_limit()); }},
    {"mode", [] { return mode_text(_qvmGetMode()); }},
    {"functions",
     [] { return function_count<double>('d') + ", " + function_count<float>('s') + " (qlx math --list)"; }},
    {"generators", [] { return join(generator_names(), " "); }},
};

}  // namespace

Run attach_info(CLI::App& command) {
  command.footer("QLX_QVM_MODE sets the mode, QLX_NUM_THREADS the thread limit.");
  return [] {
    Output out;
    for (const Fact& fact : kFacts) {
      std::string label = std::string(fact.label) + ":";
      label.resize(std::max<size_t>(label.size() + 1, 14), ' ');
      out << label << fact.text() << "\n";
    }
    out.send(stdout);
    return kExitOk;
  };
}

}  // namespace qlx::cli
