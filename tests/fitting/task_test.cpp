// Tasks: creation, editors, queries and the search table.
// SPDX-License-Identifier: Apache-2.0
#include "df_api.h"
#include "fitting/df_task.h"  // the record itself: its layout is part of the contract

namespace {

constexpr int64_t kBig = int64_t{1} << 40;

template <class Real>
struct TaskTest : ::testing::Test {
  std::vector<Real> points{0, 1, 2.5, 4}, values{1, 2, 3, 4, 5, 6, 7, 8}, room = std::vector<Real>(64);
};
TYPED_TEST_SUITE(TaskTest, RealTypes);

TYPED_TEST(TaskTest, CreationChecksInOrderAndStores) {
  using A = Api<TypeParam>;
  const TypeParam *x = this->points.data(), *y = this->values.data(), *none = nullptr;
  struct Case {
    int64_t n;
    const TypeParam* x;
    int64_t hint, count;
    const TypeParam* y;
    int64_t y_hint;
    int32_t status;
  };
  // Each row fails every check after the one that must decide.
  const Case cases[] = {
      {1, none, 3, 1, none, 1, DF_BAD_PARTITION_SIZE},  {-1, x, 0, 0, none, 0, DF_BAD_PARTITION_SIZE},
      {4, none, 3, 1, none, 1, DF_BAD_PARTITION},       {4, x, 3, 1, none, 1, DF_BAD_PARTITION_HINT},
      {4, x, kBig + 1, 1, y, 0, DF_BAD_PARTITION_HINT}, {4, x, 0, 1, none, 1, DF_BAD_FUNCTION},
      {4, x, 0, -1, none, 1, DF_BAD_FUNCTION},          {4, x, 0, 0, y, 1, DF_BAD_FUNCTION_COUNT},
      {4, x, 0, 1, y, 1, DF_BAD_FUNCTION_HINT},         {4, x, 0, 1, y, kBig + 16, DF_BAD_FUNCTION_HINT}};
  for (const Case& c : cases) {
    DFTask* task = reinterpret_cast<DFTask*>(1);
    EXPECT_EQ(A::new_task(&task, c.n, c.x, c.hint, c.count, c.y, c.y_hint, 0), c.status);
    EXPECT_EQ(task, reinterpret_cast<DFTask*>(1)) << "a failing check leaves the handle alone";
  }
  // A negative count passes the checks, and its table can't be had.
  TaskHandle negative;
  EXPECT_EQ(A::new_task(&negative, 4, x, 0, -1, y, 16, 0), DF_NO_MEMORY);
  EXPECT_NE(negative.task, nullptr);

  TaskHandle t;
  ASSERT_EQ(A::new_task(&t, 4, x, 2, 2, y, 16, 7), DF_OK);
  const DFTask& task = *t.task;
  EXPECT_EQ(task.wide_integers, 7);
  EXPECT_EQ(task.task_kind, 4);
  EXPECT_EQ(task.is_double, sizeof(TypeParam) == 8);
  EXPECT_EQ(task.dimension, 1);
  EXPECT_EQ(task.function_rows[1], y + 4);
  EXPECT_EQ(task.spline_order, 0);
  EXPECT_EQ(task.coefficient_rows, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(t.task) % 128, 0u);
}

TYPED_TEST(TaskTest, RowsFollowTheStorageHints) {
  using A = Api<TypeParam>;
  TypeParam *y = this->values.data(), *block = this->room.data();
  void* row = nullptr;
  for (const int64_t hint : {0, 16, 32, 128}) {
    TaskHandle t;
    ASSERT_EQ(A::new_task(&t, 4, this->points.data(), 0, 2, y, hint, 0), DF_OK);
    EXPECT_EQ(A::query_ptr(t, DF_FUNCTION, &row), DF_OK);
    EXPECT_EQ(row, y);
    if (hint == 32) {
      EXPECT_EQ(A::query_idx_ptr(t, DF_FUNCTION, 0, &row), DF_BAD_FUNCTION_HINT);
      EXPECT_EQ(A::edit_idx_ptr(t, DF_FUNCTION, 9, nullptr), DF_BAD_FUNCTION_HINT);
    } else {
      EXPECT_EQ(A::query_idx_ptr(t, DF_FUNCTION, 1, &row), DF_OK);
      EXPECT_EQ(row, hint == 128 ? nullptr : y + 4);
      EXPECT_EQ(A::edit_idx_ptr(t, DF_FUNCTION, 1, y + 1), DF_OK);
      EXPECT_EQ(A::query_idx_ptr(t, DF_FUNCTION, 1, &row), DF_OK);
      EXPECT_EQ(row, y + 1);
    }
    // Coefficient rows: type 1 has a cell more; hint 32 means rows as 16 does.
    for (const int64_t type : {0, 1, 5}) {
      ASSERT_EQ(A::edit_spline(t, 3, type, 0, nullptr, 0, nullptr, block, hint), DF_OK);
      EXPECT_EQ(A::query_idx_ptr(t, DF_COEFFICIENTS, 1, &row), DF_OK);
      EXPECT_EQ(row, hint == 128 ? nullptr : block + 3 * (type == 1 ? 4 : 3));
      EXPECT_EQ(A::edit_ptr(t, DF_COEFFICIENTS, block + 1), DF_OK);
      EXPECT_EQ(A::query_ptr(t, DF_COEFFICIENTS, &row), DF_OK);
      EXPECT_EQ(row, block + 1);
    }
    // New function data is laid out by the hint in force.
    ASSERT_EQ(qlx_df_kernel_iEditVal(t, DF_FUNCTION_HINT, 0), DF_OK);
    ASSERT_EQ(A::edit_ptr(t, DF_FUNCTION, y + 1), DF_OK);
    EXPECT_EQ(A::query_idx_ptr(t, DF_FUNCTION, 1, &row), DF_OK);
    EXPECT_EQ(row, y + 5);
  }
}

TYPED_TEST(TaskTest, SplineEditorStoresUpToTheFailingCheck) {
  using A = Api<TypeParam>;
  TypeParam *v = this->values.data(), *none = nullptr;
  TaskHandle t, empty;
  ASSERT_EQ(A::new_task(&t, 4, this->points.data(), 0, 1, v, 0, 1), DF_OK);
  ASSERT_EQ(A::new_task(&empty, 4, this->points.data(), 0, 0, none, 0, 1), DF_OK);
  EXPECT_EQ(empty.task->function_rows, nullptr);
  EXPECT_EQ(A::edit_spline(nullptr, -1, -1, 12, none, 1, none, v, 0), DF_NULL_TASK);
  EXPECT_EQ(A::edit_spline(t, -1, -1, 12, none, 1, none, v, 0), DF_BAD_SPLINE_ORDER);
  EXPECT_EQ(A::edit_spline(t, 4, -1, 12, none, 1, none, v, 0), DF_BAD_SPLINE_TYPE);
  EXPECT_EQ(t.task->spline_order, 0);
  for (const int64_t type : {12, 24, 36, 48, 128, 3, -5}) {
    EXPECT_EQ(A::edit_spline(t, 4, 9, type, none, 1, none, v, 0), DF_BAD_BOUNDARY_CONDITIONS) << type;
  }
  EXPECT_EQ(t.task->spline_order, 4);
  EXPECT_EQ(t.task->spline_type, 9);
  EXPECT_EQ(t.task->boundary_condition_type, 0);
  for (const int64_t type : {0, 1, 2, 64}) {
    EXPECT_EQ(A::edit_spline(t, 4, 9, type, none, 1, none, v, 0), DF_BAD_INTERNAL_CONDITIONS) << type;
    EXPECT_EQ(t.task->boundary_condition_type, type);
  }
  EXPECT_EQ(A::edit_spline(t, 4, 9, 12, v, 0, v, v, 0), DF_BAD_INTERNAL_TYPE);
  EXPECT_EQ(t.task->boundary_conditions, v);
  EXPECT_EQ(t.task->internal_conditions, nullptr);
  EXPECT_EQ(A::edit_spline(empty, 4, 9, 12, v, 2, v, v, 99), DF_BAD_FUNCTION_COUNT);
  EXPECT_EQ(empty.task->coefficient_hint, 0);
  // Only the value editor looks at the coefficient hint.
  EXPECT_EQ(A::edit_spline(t, 4, 9, 12, v, 2, v, v, 99), DF_OK);
  EXPECT_EQ(t.task->coefficient_hint, 99);
}

TYPED_TEST(TaskTest, PointerEditorsAndQueriesCheckInOrder) {
  using A = Api<TypeParam>;
  TypeParam* v = this->values.data();
  TaskHandle t, empty;
  ASSERT_EQ(A::new_task(&t, 4, this->points.data(), 0, 2, v, 0, 0), DF_OK);
  ASSERT_EQ(A::new_task(&empty, 4, this->points.data(), 0, 0, nullptr, 0, 0), DF_OK);
  ASSERT_EQ(A::edit_spline(t, 4, 0, 0, nullptr, 0, nullptr, this->room.data(), 0), DF_OK);
  const int32_t null_status[] = {DF_BAD_PARTITION, DF_BAD_FUNCTION, DF_BAD_INTERNAL_CONDITIONS,
                                 DF_BAD_BOUNDARY_CONDITIONS, DF_BAD_COEFFICIENTS};
  for (int64_t code = 1; code <= 5; ++code) {
    void* out = nullptr;
    EXPECT_EQ(A::edit_ptr(t, code, nullptr), null_status[code - 1]);
    EXPECT_EQ(A::edit_ptr(t, code, v), DF_OK);
    EXPECT_EQ(A::query_ptr(t, code, &out), DF_OK);
    EXPECT_EQ(out, v);
    EXPECT_EQ(A::query_ptr(t, code, nullptr), DF_NULL_OUTPUT);
    EXPECT_EQ(A::query_ptr(nullptr, code, nullptr), DF_NULL_TASK);
  }
  EXPECT_EQ(A::edit_ptr(empty, DF_COEFFICIENTS, nullptr), DF_BAD_COEFFICIENTS);
  EXPECT_EQ(A::edit_ptr(empty, DF_COEFFICIENTS, v), DF_BAD_FUNCTION_COUNT);
  void* out = nullptr;
  for (const int64_t code : {int64_t{0}, int64_t{6}, int64_t{14}, kBig + 1}) {
    EXPECT_EQ(A::edit_ptr(t, code, nullptr), DF_BAD_ATTRIBUTE);
    EXPECT_EQ(A::edit_ptr(nullptr, code, nullptr), DF_NULL_TASK);
    EXPECT_EQ(A::query_ptr(t, code, &out), DF_BAD_ATTRIBUTE);
    EXPECT_EQ(A::edit_idx_ptr(t, code, 99, nullptr), DF_BAD_ATTRIBUTE);
    EXPECT_EQ(A::query_idx_ptr(t, code, 99, &out), DF_BAD_INDEX);
    EXPECT_EQ(A::query_idx_ptr(t, code, 0, &out), DF_BAD_ATTRIBUTE);
  }
  for (const int64_t code : {2, 5}) {
    EXPECT_EQ(A::edit_idx_ptr(nullptr, code, 0, v), DF_NULL_TASK);
    EXPECT_EQ(A::edit_idx_ptr(t, code, 2, nullptr), DF_BAD_INDEX);
    EXPECT_EQ(A::edit_idx_ptr(t, code, -1, nullptr), DF_BAD_INDEX);
    EXPECT_EQ(A::edit_idx_ptr(t, code, 1, nullptr), code == 2 ? DF_BAD_FUNCTION : DF_BAD_COEFFICIENTS);
    EXPECT_EQ(A::edit_idx_ptr(t, code, 1, v + 3), DF_OK);
    EXPECT_EQ(A::query_idx_ptr(t, code, 1, &out), DF_OK);
    EXPECT_EQ(out, v + 3);
    EXPECT_EQ(A::query_idx_ptr(t, code, 2, &out), DF_OK) << "the entry after the last is let through";
    EXPECT_EQ(A::query_idx_ptr(t, code, 3, &out), DF_BAD_INDEX);
    EXPECT_EQ(A::query_idx_ptr(t, code, 3, nullptr), DF_NULL_OUTPUT);
    EXPECT_EQ(A::query_idx_ptr(nullptr, code, 3, nullptr), DF_NULL_TASK);
  }
  // Any dimension but 1 turns editors and queries into no-ops, each at its place in the order of checks.
  t.task->dimension = 2;
  EXPECT_EQ(A::edit_ptr(t, 99, nullptr), DF_OK);
  EXPECT_EQ(A::edit_idx_ptr(t, 99, 0, nullptr), DF_OK);
  EXPECT_EQ(A::query_ptr(t, 99, &out), DF_OK);
  EXPECT_EQ(A::query_idx_ptr(t, 99, 0, &out), DF_OK);
  EXPECT_EQ(A::query_idx_ptr(t, 2, 9, &out), DF_BAD_INDEX);
  EXPECT_EQ(qlx_df_kernel_iEditVal(t, 99, 0), DF_OK);
  EXPECT_EQ(qlx_df_kernel_iQueryVal(t, 99, &out), DF_OK);
  EXPECT_EQ(A::edit_spline(t, -1, 0, 0, nullptr, 0, nullptr, nullptr, 0), DF_BAD_SPLINE_ORDER);
}

TYPED_TEST(TaskTest, SearchTableBoundsTheCellOfEverySite) {
  using A = Api<TypeParam>;
  Random random(7);
  struct {
    int64_t n, buckets;
  } const sizes[] = {{2, 16}, {255, 16}, {256, 16}, {272, 17}, {16384, 1024}, {16383, 1023}, {40000, 1024}};
  for (const auto& size : sizes) {
    std::vector<TypeParam> x(size.n);
    // Steps over six decades leave many buckets empty and crowd others.
    TypeParam at = -3;
    for (auto& v : x) v = at += static_cast<TypeParam>(size.n > 2 ? random.real() * random.real() * random.real() : 1);
    TaskHandle t;
    ASSERT_EQ(A::new_task(&t, size.n, x.data(), 0, 0, nullptr, 0, 1), DF_OK);
    const DFTask& task = *t.task;
    ASSERT_EQ(task.search_table_size, size.buckets);
    const auto scale = qlx::fitting::search_scale_of<TypeParam>(task);
    EXPECT_EQ(scale, static_cast<TypeParam>(size.buckets) / (x.back() - x[0]));
    for (int64_t i = 0; i < size.n; ++i) {
      const auto k = static_cast<int64_t>(scale * (x[i] - x[0]));
      const int32_t lo = task.search_table[2 * k], hi = task.search_table[2 * k + 1];
      // The cell of a site on x[i] is i + 1, and n - 1 on the last point.
      const int64_t cell = i == size.n - 1 ? i : i + 1;
      ASSERT_TRUE(lo < cell && cell <= hi) << i;
    }
    if (size.n == 2) {
      for (int k = 0; k < 17; ++k) {
        EXPECT_EQ(task.search_table[2 * k], 0);
        EXPECT_EQ(task.search_table[2 * k + 1], 1);
      }
    }
  }
}

// Points in buckets 0, 3, 3, 9 and, the last one, 16 of 16.
TYPED_TEST(TaskTest, SearchTableWorkedByHand) {
  const TypeParam x[] = {0, 0.5, 3.25, 3.5, 9, 16};
  const int32_t lo[] = {0, 0, 0, 0, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 4};
  const int32_t hi[] = {2, 2, 2, 4, 4, 4, 4, 4, 4, 5, 5, 5, 5, 5, 5, 5, 5};
  TaskHandle t;
  ASSERT_EQ(Api<TypeParam>::new_task(&t, 6, x, 0, 0, nullptr, 0, 1), DF_OK);
  for (int k = 0; k <= 16; ++k) {
    EXPECT_EQ(t.task->search_table[2 * k], lo[k]) << k;
    EXPECT_EQ(t.task->search_table[2 * k + 1], hi[k]) << k;
  }
}

TYPED_TEST(TaskTest, OnlyHintOneRebuildsTheSearchTable) {
  using A = Api<TypeParam>;
  std::vector<TypeParam> ends{0, 3}, longer(600);
  for (size_t i = 0; i < longer.size(); ++i) longer[i] = static_cast<TypeParam>(i * i);
  TaskHandle t;
  ASSERT_EQ(A::new_task(&t, 4, ends.data(), DF_UNIFORM, 0, nullptr, 0, 1), DF_OK);
  ASSERT_EQ(A::edit_ptr(t, DF_PARTITION, longer.data()), DF_OK);
  ASSERT_EQ(qlx_df_kernel_iEditVal(t, DF_PARTITION_SIZE, 600), DF_OK);
  for (const int64_t hint : {0, 2, 4}) {
    EXPECT_EQ(qlx_df_kernel_iEditVal(t, DF_PARTITION_HINT, hint), DF_OK);
    EXPECT_EQ(t.task->search_table, nullptr);
  }
  EXPECT_EQ(qlx_df_kernel_iEditVal(t, DF_PARTITION_HINT, 1), DF_OK);
  ASSERT_NE(t.task->search_table, nullptr);
  EXPECT_EQ(t.task->search_table_size, 37);
  EXPECT_EQ(qlx::fitting::search_scale_of<TypeParam>(*t.task), TypeParam{37} / longer.back());
  EXPECT_EQ(qlx_df_kernel_iEditVal(t, DF_PARTITION_HINT, 4), DF_OK);
  EXPECT_NE(t.task->search_table, nullptr) << "nor does any hint release it";
}

TEST(TaskValues, AcceptRefuseStoreAndReport) {
  struct Case {
    int64_t code;
    std::vector<int64_t> accepted, refused;
    int32_t status;
  };
  const Case cases[] = {{14, {2, kBig}, {1, -kBig}, -1004},
                        {15, {0, 2, 4}, {3, 5, -1, 8}, -1006},
                        {16, {1, kBig}, {0, -1}, -1007},
                        {17, {0, 16, 32, 128}, {1, 64, 48}, -1009},
                        {18, {0, 4, 99}, {-1}, -1010},
                        {19, {0, 1, 2, 3, 4, 5, 8}, {6, 7, 9, -1}, -1011},
                        {20, {0, 1, 2, 8, 12, kBig + 8, -8}, {3, 4, 7, 16}, -1012},
                        {21, {0, 64, 12345}, {-1}, -1014},
                        {22, {0, 16, 32, 128}, {1, 64}, -1017},
                        {23, {0, 1}, {2, -1, kBig}, -1036}};
  const double x[] = {0, 1, 2};
  TaskHandle wide, narrow;
  ASSERT_EQ(qlx_df_kernel_dNewTask1D(&wide, 3, x, 0, 0, nullptr, 0, 1), DF_OK);
  ASSERT_EQ(qlx_df_kernel_dNewTask1D(&narrow, 3, x, 0, 0, nullptr, 0, 0), DF_OK);
  for (const Case& c : cases) {
    for (const int64_t value : c.accepted) {
      int64_t got = -99;
      EXPECT_EQ(qlx_df_kernel_iEditVal(wide, c.code, value), DF_OK) << c.code << " " << value;
      EXPECT_EQ(qlx_df_kernel_iQueryVal(wide, c.code, &got), DF_OK);
      EXPECT_EQ(got, value);
      int32_t words[2] = {0, 77};
      EXPECT_EQ(qlx_df_kernel_iEditVal(narrow, c.code, value), DF_OK);
      EXPECT_EQ(qlx_df_kernel_iQueryVal(narrow, c.code, words), DF_OK);
      EXPECT_EQ(words[0], static_cast<int32_t>(value));
      EXPECT_EQ(words[1], 77) << "a narrow task writes 32 bits";
    }
    for (const int64_t value : c.refused) {
      EXPECT_EQ(qlx_df_kernel_iEditVal(wide, c.code, value), c.status) << c.code << " " << value;
    }
    int64_t got = 0;
    EXPECT_EQ(qlx_df_kernel_iQueryVal(wide, c.code, &got), DF_OK);
    EXPECT_EQ(got, c.accepted.back()) << "a refused value is not stored";
  }
  int64_t out = 0;
  for (const int64_t code : {13, 24, 1}) {
    EXPECT_EQ(qlx_df_kernel_iEditVal(wide, code, 1), DF_BAD_ATTRIBUTE);
    EXPECT_EQ(qlx_df_kernel_iQueryVal(wide, code, &out), DF_BAD_ATTRIBUTE);
    EXPECT_EQ(qlx_df_kernel_iQueryVal(wide, code, nullptr), DF_NULL_OUTPUT);
    EXPECT_EQ(qlx_df_kernel_iQueryVal(nullptr, code, nullptr), DF_NULL_TASK);
    EXPECT_EQ(qlx_df_kernel_iEditVal(nullptr, code, 1), DF_NULL_TASK);
  }
  DFTask* none = nullptr;
  EXPECT_EQ(qlx_df_kernel_DeleteTask(&none), DF_NULL_TASK);
  EXPECT_EQ(qlx_df_kernel_DeleteTask(nullptr), DF_NULL_TASK);
  EXPECT_EQ(qlx_df_kernel_dEditIdxPtr, qlx_df_kernel_sEditIdxPtr);
}

}  // namespace
