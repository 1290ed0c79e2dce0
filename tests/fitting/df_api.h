// The data fitting interface by element type, and what its tests share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "qlx/core.h"
#include "qlx/df.h"

template <class Real>
struct Api;

#define QLX_TEST_SEARCH(P, NAME)                                                \
  static constexpr auto& NAME##_search = qlx_df_kernel_##P##DF##NAME##Search1D; \
  static constexpr auto& NAME##_search32 = qlx_df_kernel_##P##DF##NAME##Search1D32;
#define QLX_TEST_API(P, S, REAL)                                                 \
  template <>                                                                    \
  struct Api<REAL> {                                                             \
    using Callbacks = QlxDfCallbacks##S;                                         \
    static constexpr auto& new_task = qlx_df_kernel_##P##NewTask1D;              \
    static constexpr auto& edit_spline = qlx_df_kernel_##P##EditPPSpline1D;      \
    static constexpr auto& edit_ptr = qlx_df_kernel_##P##EditPtr;                \
    static constexpr auto& edit_idx_ptr = qlx_df_kernel_##P##EditIdxPtr;         \
    static constexpr auto& query_ptr = qlx_df_kernel_##P##QueryPtr;              \
    static constexpr auto& query_idx_ptr = qlx_df_kernel_##P##QueryIdxPtr;       \
    static constexpr auto& search = qlx_df_kernel_##P##DFSearch1D;               \
    QLX_TEST_SEARCH(P, Uniform)                                                  \
    QLX_TEST_SEARCH(P, QuasiUniform)                                             \
    QLX_TEST_SEARCH(P, Sorted)                                                   \
    QLX_TEST_SEARCH(P, Peak)                                                     \
    QLX_TEST_SEARCH(P, Hybrid)                                                   \
    QLX_TEST_SEARCH(P, UserDef)                                                  \
    QLX_TEST_SEARCH(P, UniUserDef)                                               \
    static constexpr auto& linear = qlx_df_kernel_##P##DFLinearSpline1D;         \
    static constexpr auto& quadratic = qlx_df_kernel_##P##DFQuadraticSpline1D;   \
    static constexpr auto& standard = qlx_df_kernel_##P##DFDefaultCubicSpline1D; \
    static constexpr auto& natural = qlx_df_kernel_##P##DFNaturalCubicSpline1D;  \
    static constexpr auto& hermite = qlx_df_kernel_##P##DFHermiteCubicSpline1D;  \
    static constexpr auto& bessel = qlx_df_kernel_##P##DFBesselCubicSpline1D;    \
    static constexpr auto& hyman = qlx_df_kernel_##P##DFHymanCubicSpline1D;      \
    static constexpr auto& akima = qlx_df_kernel_##P##DFAkimaCubicSpline1D;      \
    static constexpr auto& interpolate = qlx_df_kernel_##P##DFInterpolate1D;     \
    static constexpr auto& integrate = qlx_df_kernel_##P##DFIntegrate1D;         \
  };
QLX_TEST_API(d, D, double)
QLX_TEST_API(s, S, float)
#undef QLX_TEST_API
#undef QLX_TEST_SEARCH

using RealTypes = ::testing::Types<double, float>;

// A task that deletes itself.
struct TaskHandle {
  DFTask* task = nullptr;
  TaskHandle() = default;
  TaskHandle(const TaskHandle&) = delete;
  TaskHandle& operator=(const TaskHandle&) = delete;
  ~TaskHandle() { qlx_df_kernel_DeleteTask(&task); }
  operator DFTask*() const { return task; }
  DFTask** operator&() { return &task; }
};

// Fixed sequence of pseudo-random numbers (xorshift64*, Vigna 2016), the same on every machine.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint64_t word() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 0x2545F4914F6CDD1Du;
  }
  double real() { return static_cast<double>(word() >> 11) * 0x1p-53; }
  double real(double low, double high) { return low + (high - low) * real(); }
  int64_t below(int64_t bound) { return static_cast<int64_t>(word() % static_cast<uint64_t>(bound)); }

 private:
  uint64_t state_;
};

// A table of threading functions that runs on `count` threads' worth of tasks, in order and on the caller's thread, so
// that slices are exercised without a scheduler.
inline int slice_count = 4;
inline const QlxThreadTable kSlicingServices = {[](int tasks, int, void* context, QlxTaskFunction function) {
                                                  for (int task = tasks - 1; task >= 0; --task) function(task, context);
                                                  return 0;
                                                },
                                                [] { return slice_count; }};
