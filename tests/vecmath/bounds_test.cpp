// The declared accuracy of every approximating kernel, measured over a fixed sample.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

#include "accuracy/digest.h"
#include "qlx/qvm.h"

namespace {

using namespace qlx::tools;

const std::vector<BoundRow>& bounds() {
  static const std::vector<BoundRow> rows = read_bounds(QLX_SOURCE_DIR "/tests/vecmath/bounds.csv");
  return rows;
}

// The rows of a kernel, ordered along the line.
std::vector<BoundRow> rows_of(const KernelRow& kernel, int slot) {
  std::vector<BoundRow> rows;
  for (const BoundRow& row : bounds())
    if (row.function == kernel.name && row.type == kernel.type && row.slot == slot) rows.push_back(row);
  std::sort(rows.begin(), rows.end(), [](const BoundRow& x, const BoundRow& y) { return x.low < y.low; });
  return rows;
}

std::vector<const KernelRow*> approximating_kernels() {
  std::vector<const KernelRow*> list;
  for (const KernelRow& kernel : kernel_list())
    if (kernel.real() && !is_exact_function(kernel.name)) list.push_back(&kernel);
  return list;
}

std::string name_of(const KernelRow& kernel, int slot) {
  return kernel.type + kernel.name + " " + kSlotNames[slot];
}

TEST(Bounds, every_kernel_declares_the_whole_line) {
  for (const KernelRow* kernel : approximating_kernels()) {
    EXPECT_NE(find_reference(kernel->name), nullptr) << kernel->name << " has no reference in tools/accuracy";
    for (int slot = 0; slot < 3; ++slot) {
      const std::vector<BoundRow> rows = rows_of(*kernel, slot);
      double reached = -INFINITY;
      for (const BoundRow& row : rows)
        if (row.low <= reached) reached = std::max(reached, row.high);
      EXPECT_TRUE(!rows.empty() && reached == INFINITY)
          << name_of(*kernel, slot) << (rows.empty() ? ": no row" : ": rows leave a gap") << "; qlx_accuracy "
          << kernel->name << " --record writes them";
    }
  }
}

// A row of a kernel that is gone, or of a name misspelt, would bound nothing.
TEST(Bounds, every_row_has_a_kernel) {
  const std::vector<const KernelRow*> kernels = approximating_kernels();
  for (const BoundRow& row : bounds())
    EXPECT_TRUE(std::any_of(kernels.begin(), kernels.end(),
                            [&](const KernelRow* k) { return k->name == row.function && k->type == row.type; }))
        << row.type << row.function << ": no such kernel";
}

// The error of a kernel at the arguments of a directed line.
template <class Real>
Worst error_at(const KernelRow& kernel, const Reference& reference, int slot, const DirectedLine& line) {
  const Real a = static_cast<Real>(line.a), b = static_cast<Real>(line.b);
  Real result;
  call_unit<Real>(kernel, slot, 1, {&a, &b, &result, nullptr});
  const ExactError e = exact_error(reference, a, b, result);
  return {slot == kEP ? e.relative : e.ulp, line.a, line.b, static_cast<double>(result)};
}

// Kernels with the processor's estimates have these errors on processors of one maker.
TEST(Bounds, recorded_errors_are_those_at_the_recorded_arguments) {
  const DigestFile digests = read_digests(QLX_SOURCE_DIR "/tests/vecmath/digests.csv");
  const bool own_estimates = digests.maker == processor_maker();
  const uint32_t mode = qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
  for (const BoundRow& row : bounds()) {
    const KernelRow* kernel = find_kernel(row.function, row.type);
    const Reference* reference = find_reference(row.function);
    if (!kernel || !reference) continue;
    const DigestRow* digest = digests.find(row.function, row.type, row.slot);
    if (digest && digest->mark == "estimate" && !own_estimates) continue;
    const DirectedLine line = recorded_worst({row}, *reference)[0];
    const Worst worst = row.type == 's' ? error_at<float>(*kernel, *reference, row.slot, line)
                                        : error_at<double>(*kernel, *reference, row.slot, line);
    EXPECT_EQ(error_text(worst.error, row.slot), error_text(row.measured, row.slot))
        << name_of(*kernel, row.slot) << " at " << row.worst << "; qlx_accuracy " << row.function
        << " --record measures it anew";
  }
  qlx_qvm_kernel_SetMode(mode);
}

// docs/accuracy.md tells no larger error than the rows do, and none is missing.
TEST(Bounds, the_page_agrees_with_the_rows) {
  std::ifstream page(QLX_SOURCE_DIR "/docs/accuracy.md");
  size_t found = 0;
  for (std::string line; std::getline(page, line);) {
    std::replace(line.begin(), line.end(), '|', ' ');
    std::istringstream words(line);
    std::string function, type, accuracy;
    double arguments, ulp;
    std::string bits_text;  // "inf" where all is exact
    if (!(words >> function >> type >> accuracy >> arguments >> ulp >> bits_text)) continue;
    const double bits = std::strtod(bits_text.c_str(), nullptr);
    double measured = -1;
    for (const BoundRow& row : bounds())
      if (row.function == function && row.type == (type == "float" ? 's' : 'd') && kSlotNames[row.slot] == accuracy)
        measured = std::max(measured, row.measured);
    // Half a unit of the digits that the page shows.
    const bool agrees = accuracy == "EP" ? bits >= -std::log2(measured) - 0.011 : ulp <= measured * 1.0006;
    EXPECT_TRUE(agrees) << line << ": bounds.csv has " << measured;
    ++found;
  }
  EXPECT_EQ(found, 3 * approximating_kernels().size()) << "qlx accuracy --record writes the page";
}

// What the accuracies mean to a caller, and rows that would let an error grow unseen.
TEST(Bounds, rows_are_within_the_promise_and_tight) {
  for (const BoundRow& row : bounds()) {
    const std::string name = row.type + row.function + " " + kSlotNames[row.slot];
    if (row.note.empty()) {
      EXPECT_LE(row.bound, promise(row.type, row.slot))
          << name << ": a bound beyond the accuracy's needs a note that says why";
    }
    EXPECT_LE(row.measured, row.bound) << name;
    // A correctly rounded kernel comes near its half, and an exact one stays at 0.
    if (row.bound != 0.5) {
      EXPECT_GE(row.measured, 0.8 * row.bound) << name << ": tighten the bound";
    }
  }
}

TEST(Bounds, measured_errors_stay_within) {
  MeterOptions options;
  options.threads = 1;
  options.sample.stride = 2053;
  options.sample.period_stride = 63;
  options.sample.samples = 300'000;
  options.sample.directed = QLX_SOURCE_DIR "/tests/vecmath/hard";
  uint64_t arguments = 0;
  for (const KernelRow* kernel : approximating_kernels()) {
    const Reference* reference = find_reference(kernel->name);
    if (!reference) continue;
    // Slots of one interval are measured together: their exact values are the same.
    std::vector<std::pair<double, double>> intervals;
    for (int slot = 0; slot < 3; ++slot)
      for (const BoundRow& row : rows_of(*kernel, slot)) intervals.emplace_back(row.low, row.high);
    std::sort(intervals.begin(), intervals.end());
    intervals.erase(std::unique(intervals.begin(), intervals.end()), intervals.end());
    for (const auto& [low, high] : intervals) {
      options.sample.low = low;
      options.sample.high = high;
      bool slots[3] = {};
      double bound[3];
      for (int slot = 0; slot < 3; ++slot)
        for (const BoundRow& row : rows_of(*kernel, slot))
          if (row.low == low && row.high == high) {
            slots[slot] = true;
            bound[slot] = row.bound;
          }
      Measurement m[3];
      measure(*kernel, *reference, slots, options, m);
      for (int slot = 0; slot < 3; ++slot) {
        if (!slots[slot]) continue;
        arguments += m[slot].count;
        const Worst& worst = bounded_error(m[slot], slot);
        EXPECT_LE(worst.error, bound[slot])
            << name_of(*kernel, slot) << " at " << hex_arguments(*reference, worst.a, worst.b) << ": "
            << error_text(worst.error, slot) << " is beyond " << error_text(bound[slot], slot);
        EXPECT_EQ(m[slot].wrong_kind, 0u) << name_of(*kernel, slot);
        EXPECT_EQ(m[slot].sieve_misses, 0u) << name_of(*kernel, slot);
      }
    }
  }
  std::printf("%zu functions, %llu results measured\n", approximating_kernels().size(),
              static_cast<unsigned long long>(arguments));
}

}  // namespace
