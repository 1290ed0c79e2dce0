// Creating, editing, querying and deleting data fitting tasks.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "fitting/df_task.h"

namespace qlx::fitting {
namespace {

// ---- Tables of rows --------------------------------------------------------------------------------------------

// How a table of row pointers is made from the one address that a caller passes.
struct RowTable {
  int64_t entries;     // pointers in the table
  int64_t filled;      // how many are set from the address; the others come one by one
  uint64_t row_bytes;  // from one row to the next; unsigned, since nothing bounds an order or a size
};

uint64_t element_size(bool is_double) {
  return is_double ? sizeof(double) : sizeof(float);
}

RowTable function_table(int64_t hint, int64_t count, int64_t partition_size, bool is_double) {
  const bool one_by_one = hint == DF_INTERLEAVED || hint == DF_FIRST_ROW;
  return {hint == DF_INTERLEAVED ? 1 : count, one_by_one ? 1 : count,
          static_cast<uint64_t>(partition_size) * element_size(is_double)};
}

RowTable coefficient_table(const DFTask& task, int64_t hint, bool is_double) {
  // Subbotin's spline (type 1) has a cell for each point.
  const int64_t cells = task.spline_type == 1 ? task.partition_size : task.partition_size - 1;
  const bool first_only = (hint & DF_FIRST_ROW) != 0;
  return {task.function_count, first_only ? 1 : task.function_count,
          static_cast<uint64_t>(task.spline_order) * static_cast<uint64_t>(cells) * element_size(is_double)};
}

// Replaces `rows`. One more entry than told is allocated and all start as null, so that the query of the entry after
// the last, which the contract lets through, reads memory of ours.
int32_t replace_rows(void**& rows, const RowTable& table, const void* address) {
  qlx_serv_deallocate(rows);
  rows = nullptr;
  if (table.entries < 0) return DF_NO_MEMORY;
  void** fresh = allocate_array<void*>(table.entries + 1);
  if (fresh == nullptr) return DF_NO_MEMORY;
  for (int64_t i = 0; i <= table.entries; ++i) {
    const auto offset = static_cast<uintptr_t>(static_cast<uint64_t>(i) * table.row_bytes);
    fresh[i] = i < table.filled ? reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(address) + offset) : nullptr;
  }
  rows = fresh;
  return DF_OK;
}

int32_t set_functions(DFTask& task, const void* address, bool is_double) {
  return replace_rows(task.function_rows,
                      function_table(task.function_hint, task.function_count, task.partition_size, is_double), address);
}

int32_t set_coefficients(DFTask& task, int64_t hint, const void* address, bool is_double) {
  if (task.function_count == 0) return DF_BAD_FUNCTION_COUNT;
  return replace_rows(task.coefficient_rows, coefficient_table(task, hint, is_double), address);
}

// ---- Creation and the spline editor ----------------------------------------------------------------------------

bool is_partition_hint(int64_t hint) {
  return hint == DF_PARTITION_UNKNOWN || hint == DF_UNIFORM || hint == DF_NON_UNIFORM || hint == DF_QUASI_UNIFORM;
}

template <class Real>
int32_t new_task(DFTask** handle, int64_t partition_size, const Real* partition, int64_t partition_hint,
                 int64_t function_count, const Real* function, int64_t function_hint, int32_t wide_integers) {
  constexpr bool kDouble = sizeof(Real) == sizeof(double);
  if (partition_size < 2) return DF_BAD_PARTITION_SIZE;
  if (partition == nullptr) return DF_BAD_PARTITION;
  if (!is_partition_hint(partition_hint)) return DF_BAD_PARTITION_HINT;
  if (function_count != 0 && function == nullptr) return DF_BAD_FUNCTION;
  if (function_count == 0 && function != nullptr) return DF_BAD_FUNCTION_COUNT;
  if (!is_storage_hint(function_hint)) return DF_BAD_FUNCTION_HINT;

  DFTask* task = allocate_array<DFTask>(1);
  *handle = task;
  if (task == nullptr) return DF_NO_MEMORY;
  std::memset(task, 0, sizeof *task);
  task->partition_size = partition_size;
  task->partition = partition;
  task->partition_hint = partition_hint;
  if (function != nullptr) {
    const RowTable table = function_table(function_hint, function_count, partition_size, kDouble);
    const int32_t status = replace_rows(task->function_rows, table, function);
    if (status != DF_OK) return status;
  }
  task->function_hint = function_hint;
  task->function_count = function_count;
  task->wide_integers = wide_integers;
  task->task_kind = kTaskKind;
  task->is_double = kDouble;
  task->dimension = 1;
  return partition_hint == DF_UNIFORM ? DF_OK : build_search_table<Real>(*task);
}

bool boundary_needs_values(int64_t type) {
  return type != DF_BC_NONE && type != DF_BC_NOT_A_KNOT && type != DF_BC_FREE_END && type != DF_BC_PERIODIC;
}

// Each pair of attributes is stored as soon as its checks have passed; a later failure leaves it changed.
int32_t edit_spline(DFTask* task, int64_t order, int64_t type, int64_t boundary_type, const void* boundary,
                    int64_t internal_type, const void* internal, void* coefficients, int64_t coefficient_hint,
                    bool is_double) {
  if (task == nullptr) return DF_NULL_TASK;
  if (order < 0) return DF_BAD_SPLINE_ORDER;
  if (type < 0) return DF_BAD_SPLINE_TYPE;
  task->spline_order = order;
  task->spline_type = type;
  if (boundary_needs_values(boundary_type) && boundary == nullptr) return DF_BAD_BOUNDARY_CONDITIONS;
  task->boundary_condition_type = boundary_type;
  task->boundary_conditions = boundary;
  if (internal_type != DF_IC_NONE && internal == nullptr) return DF_BAD_INTERNAL_CONDITIONS;
  if (internal_type == DF_IC_NONE && internal != nullptr) return DF_BAD_INTERNAL_TYPE;
  task->internal_condition_type = internal_type;
  task->internal_conditions = internal;
  if (coefficients != nullptr) {
    const int32_t status = set_coefficients(*task, coefficient_hint, coefficients, is_double);
    if (status != DF_OK) return status;
  }
  task->coefficient_hint = coefficient_hint;
  return DF_OK;
}

// ---- Pointer attributes ----------------------------------------------------------------------------------------

// Codes 1 to 5: a borrowed array, or a table of rows.
struct PointerAttribute {
  int32_t null_status;
  const void* DFTask::*array;  // null for a table of rows
  void** DFTask::*rows;
};

constexpr PointerAttribute kPointerAttributes[] = {
    {DF_BAD_PARTITION, &DFTask::partition, nullptr},
    {DF_BAD_FUNCTION, nullptr, &DFTask::function_rows},
    {DF_BAD_INTERNAL_CONDITIONS, &DFTask::internal_conditions, nullptr},
    {DF_BAD_BOUNDARY_CONDITIONS, &DFTask::boundary_conditions, nullptr},
    {DF_BAD_COEFFICIENTS, nullptr, &DFTask::coefficient_rows},
};

const PointerAttribute* pointer_attribute(int64_t code) {
  return code < DF_PARTITION || code > DF_COEFFICIENTS ? nullptr : &kPointerAttributes[code - DF_PARTITION];
}

int32_t edit_pointer(DFTask* task, int64_t code, const void* pointer, bool is_double) {
  if (task == nullptr) return DF_NULL_TASK;
  if (task->dimension != 1) return DF_OK;
  const PointerAttribute* attribute = pointer_attribute(code);
  if (attribute == nullptr) return DF_BAD_ATTRIBUTE;
  if (pointer == nullptr) return attribute->null_status;
  if (attribute->array != nullptr) {
    task->*attribute->array = pointer;
    return DF_OK;
  }
  return code == DF_FUNCTION ? set_functions(*task, pointer, is_double)
                             : set_coefficients(*task, task->coefficient_hint, pointer, is_double);
}

// Rows are read without a test for a missing table: a query of functions or coefficients presumes that they were given.
int32_t query_pointer(const DFTask* task, int64_t code, void** pointer) {
  if (task == nullptr) return DF_NULL_TASK;
  if (pointer == nullptr) return DF_NULL_OUTPUT;
  if (task->dimension != 1) return DF_OK;
  const PointerAttribute* attribute = pointer_attribute(code);
  if (attribute == nullptr) return DF_BAD_ATTRIBUTE;
  *pointer = attribute->array != nullptr ? const_cast<void*>(task->*attribute->array) : (task->*attribute->rows)[0];
  return DF_OK;
}

int32_t edit_indexed_pointer(DFTask* task, int64_t code, int64_t index, const void* pointer) {
  if (task == nullptr) return DF_NULL_TASK;
  if (task->dimension != 1) return DF_OK;
  if (code != DF_FUNCTION && code != DF_COEFFICIENTS) return DF_BAD_ATTRIBUTE;
  if (code == DF_FUNCTION && task->function_hint == DF_INTERLEAVED) return DF_BAD_FUNCTION_HINT;
  if (index < 0 || index >= task->function_count) return DF_BAD_INDEX;
  const PointerAttribute& attribute = *pointer_attribute(code);
  if (pointer == nullptr) return attribute.null_status;
  (task->*attribute.rows)[index] = const_cast<void*>(pointer);
  return DF_OK;
}

// The index may equal function_count here, unlike in the editor.
int32_t query_indexed_pointer(const DFTask* task, int64_t code, int64_t index, void** pointer) {
  if (task == nullptr) return DF_NULL_TASK;
  if (pointer == nullptr) return DF_NULL_OUTPUT;
  if (index < 0 || index > task->function_count) return DF_BAD_INDEX;
  if (task->dimension != 1) return DF_OK;
  if (code != DF_FUNCTION && code != DF_COEFFICIENTS) return DF_BAD_ATTRIBUTE;
  if (code == DF_FUNCTION && task->function_hint == DF_INTERLEAVED) return DF_BAD_FUNCTION_HINT;
  *pointer = (task->*pointer_attribute(code)->rows)[index];
  return DF_OK;
}

// ---- Value attributes ------------------------------------------------------------------------------------------

struct ValueAttribute {
  int64_t DFTask::*member;  // null for the auxiliary flag, which has 32 bits
  bool (*accepts)(int64_t value);
  int32_t status;  // of a refused value
};

template <int64_t kLeast>
bool at_least(int64_t value) {
  return value >= kLeast;
}
bool is_spline_type(int64_t value) {
  return (value >= 0 && value <= 5) || value == 8;
}
bool is_internal_type(int64_t value) {
  return (value >= 0 && value <= 2) || (value & DF_IC_KNOTS) != 0;
}
bool is_flag(int64_t value) {
  return value == 0 || value == 1;
}

constexpr ValueAttribute kValueAttributes[] = {
    {&DFTask::partition_size, at_least<2>, DF_BAD_PARTITION_SIZE},
    {&DFTask::partition_hint, is_partition_hint, DF_BAD_PARTITION_HINT},
    {&DFTask::function_count, at_least<1>, DF_BAD_FUNCTION_COUNT},
    {&DFTask::function_hint, is_storage_hint, DF_BAD_FUNCTION_HINT},
    {&DFTask::spline_order, at_least<0>, DF_BAD_SPLINE_ORDER},
    {&DFTask::spline_type, is_spline_type, DF_BAD_SPLINE_TYPE},
    {&DFTask::internal_condition_type, is_internal_type, DF_BAD_INTERNAL_TYPE},
    {&DFTask::boundary_condition_type, at_least<0>, DF_BAD_BOUNDARY_TYPE},
    {&DFTask::coefficient_hint, is_storage_hint, DF_BAD_COEFFICIENT_HINT},
    {nullptr, is_flag, DF_BAD_AUXILIARY_FLAG},
};

const ValueAttribute* value_attribute(int64_t code) {
  return code < DF_PARTITION_SIZE || code > DF_AUXILIARY_FLAG ? nullptr : &kValueAttributes[code - DF_PARTITION_SIZE];
}

}  // namespace
}  // namespace qlx::fitting

using namespace qlx::fitting;

int32_t qlx_df_kernel_dNewTask1D(DFTask** task, int64_t partition_size, const double* partition, int64_t partition_hint,
                                 int64_t function_count, const double* function, int64_t function_hint,
                                 int32_t wide_integers) {
  return new_task(task, partition_size, partition, partition_hint, function_count, function, function_hint,
                  wide_integers);
}
int32_t qlx_df_kernel_sNewTask1D(DFTask** task, int64_t partition_size, const float* partition, int64_t partition_hint,
                                 int64_t function_count, const float* function, int64_t function_hint,
                                 int32_t wide_integers) {
  return new_task(task, partition_size, partition, partition_hint, function_count, function, function_hint,
                  wide_integers);
}

int32_t qlx_df_kernel_dEditPPSpline1D(DFTask* task, int64_t spline_order, int64_t spline_type,
                                      int64_t boundary_condition_type, const double* boundary_conditions,
                                      int64_t internal_condition_type, const double* internal_conditions,
                                      double* coefficients, int64_t coefficient_hint) {
  return edit_spline(task, spline_order, spline_type, boundary_condition_type, boundary_conditions,
                     internal_condition_type, internal_conditions, coefficients, coefficient_hint, true);
}
int32_t qlx_df_kernel_sEditPPSpline1D(DFTask* task, int64_t spline_order, int64_t spline_type,
                                      int64_t boundary_condition_type, const float* boundary_conditions,
                                      int64_t internal_condition_type, const float* internal_conditions,
                                      float* coefficients, int64_t coefficient_hint) {
  return edit_spline(task, spline_order, spline_type, boundary_condition_type, boundary_conditions,
                     internal_condition_type, internal_conditions, coefficients, coefficient_hint, false);
}

// The precision of an array editor is that of its name, whatever the task's is.
int32_t qlx_df_kernel_dEditPtr(DFTask* task, int64_t code, const void* pointer) {
  return edit_pointer(task, code, pointer, true);
}
int32_t qlx_df_kernel_sEditPtr(DFTask* task, int64_t code, const void* pointer) {
  return edit_pointer(task, code, pointer, false);
}

// One function under both names.
int32_t qlx_df_kernel_dEditIdxPtr(DFTask* task, int64_t code, int64_t index, const void* pointer) {
  return edit_indexed_pointer(task, code, index, pointer);
}
QLX_DF_ALIAS(int32_t qlx_df_kernel_sEditIdxPtr(DFTask*, int64_t, int64_t, const void*), qlx_df_kernel_dEditIdxPtr)

int32_t qlx_df_kernel_dQueryPtr(const DFTask* task, int64_t code, void** pointer) {
  return query_pointer(task, code, pointer);
}
int32_t qlx_df_kernel_sQueryPtr(const DFTask* task, int64_t code, void** pointer) {
  return query_pointer(task, code, pointer);
}
int32_t qlx_df_kernel_dQueryIdxPtr(const DFTask* task, int64_t code, int64_t index, void** pointer) {
  return query_indexed_pointer(task, code, index, pointer);
}
int32_t qlx_df_kernel_sQueryIdxPtr(const DFTask* task, int64_t code, int64_t index, void** pointer) {
  return query_indexed_pointer(task, code, index, pointer);
}

int32_t qlx_df_kernel_iEditVal(DFTask* task, int64_t code, int64_t value) {
  if (task == nullptr) return DF_NULL_TASK;
  if (task->dimension != 1) return DF_OK;
  const ValueAttribute* attribute = value_attribute(code);
  if (attribute == nullptr) return DF_BAD_ATTRIBUTE;
  if (!attribute->accepts(value)) return attribute->status;
  if (attribute->member == nullptr) {
    task->auxiliary_flag = static_cast<int32_t>(value);
  } else {
    task->*attribute->member = value;
  }
  // Only this value has an effect beyond being stored.
  if (code != DF_PARTITION_HINT || value != DF_NON_UNIFORM) return DF_OK;
  return task->is_double != 0 ? build_search_table<double>(*task) : build_search_table<float>(*task);
}

int32_t qlx_df_kernel_iQueryVal(const DFTask* task, int64_t code, void* value) {
  if (task == nullptr) return DF_NULL_TASK;
  if (value == nullptr) return DF_NULL_OUTPUT;
  if (task->dimension != 1) return DF_OK;
  const ValueAttribute* attribute = value_attribute(code);
  if (attribute == nullptr) return DF_BAD_ATTRIBUTE;
  const int64_t wide = attribute->member == nullptr ? task->auxiliary_flag : task->*attribute->member;
  if (task->wide_integers != 0) {
    std::memcpy(value, &wide, sizeof wide);
  } else {
    const auto narrow = static_cast<int32_t>(wide);
    std::memcpy(value, &narrow, sizeof narrow);
  }
  return DF_OK;
}

int32_t qlx_df_kernel_DeleteTask(DFTask** task) {
  if (task == nullptr || *task == nullptr) return DF_NULL_TASK;
  qlx_serv_deallocate((*task)->function_rows);
  qlx_serv_deallocate((*task)->coefficient_rows);
  qlx_serv_deallocate((*task)->search_table);
  qlx_serv_deallocate(*task);
  *task = nullptr;
  return DF_OK;
}
