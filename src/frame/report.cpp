// The report of one element, and what follows from it: errno, a printed message, a floating-point exception.
// SPDX-License-Identifier: Apache-2.0
#include <bit>
#include <cstring>
#include <type_traits>

#include "frame/control_words.h"
#include "frame/qvm_frame.h"
#include "platform/fpu.h"
#include "platform/platform.h"
#include "qlx/core.h"

namespace qlx {
namespace {

// What each status means to the rest of the process. The last row serves any other number.
struct StatusRow {
  int32_t status;
  int errno_value;
  uint16_t exception;
  int message;  // 0: nothing is printed
};
constexpr StatusRow kStatusTable[] = {
    {qvm_status_ok, 0, 0, 0},
    {qvm_status_bad_size, 22, 0, 748},
    {qvm_status_bad_memory, 13, 0, 749},
    {qvm_status_domain, 33, platform::kFpuInvalid, 750},
    {qvm_status_pole, 34, platform::kFpuDivByZero, 751},
    {qvm_status_overflow, 34, platform::kFpuOverflow, 752},
    {qvm_status_underflow, 34, platform::kFpuUnderflow, 753},
};
constexpr StatusRow kOtherStatus = {0, 14, 0, 754};

const StatusRow& row_of(int32_t status) {
  for (const StatusRow& row : kStatusTable) {
    if (row.status == status) return row;
  }
  return kOtherStatus;
}

// With these two the arrays themselves are in doubt, and are not touched.
bool arrays_are_trusted(int32_t status) {
  return status != qvm_status_bad_size && status != qvm_status_bad_memory;
}

bool same_bits(double a, double b) {
  return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

// A value that repeats the one before it, or was never set, is not a value of its own.
bool is_second_value(double first, double second) {
  return !same_bits(first, second) && second != 0;
}

void print_values(const QvmElementReport& record) {
  constexpr int kFirstMessage[2][2] = {{755, 757}, {760, 763}};  // [two arguments][two results]
  const bool two_args = is_second_value(record.arg1, record.arg2);
  const bool two_results = is_second_value(record.res1, record.res2);
  int message = kFirstMessage[two_args][two_results];
  const auto print = [&](double value) { qlx_serv_print(1, message++, 2, static_cast<int>(record.index), value); };
  print(record.arg1);
  if (two_args) print(record.arg2);
  print(record.res1);
  if (two_results) print(record.res2);
}

void print_report(const QvmElementReport& record) {
  const int message = row_of(record.code).message;
  if (message == 0) return;
  platform::prepare_stderr();
  if (record.code == qvm_status_bad_size) {
    qlx_serv_print(1, message, 2, record.func_name, static_cast<int>(record.index));
  } else {
    qlx_serv_print(1, message, 1, record.func_name);
  }
  if (arrays_are_trusted(record.code)) print_values(record);
}

// Leaves the status's exception flag set in the x87 unit, and delivers it as a trap where the mode opens one.
void raise_exception(int32_t status, uint32_t mode) {
  constexpr struct {
    uint32_t mode_bit;
    uint16_t exception;
  } kTraps[] = {{QVM_TRAP_INVALID, platform::kFpuInvalid},
                {QVM_TRAP_DIVBYZERO, platform::kFpuDivByZero},
                {QVM_TRAP_OVERFLOW, platform::kFpuOverflow},
                {QVM_TRAP_UNDERFLOW, platform::kFpuUnderflow}};
  platform::X87Environment saved;
  platform::store_x87_environment(saved);
  platform::X87Environment opened = saved;
  for (const auto& trap : kTraps) {
    if (mode & trap.mode_bit) opened.control &= static_cast<uint16_t>(~trap.exception);
  }
  const uint16_t flag = row_of(status).exception;
  opened.status = static_cast<uint16_t>((opened.status & ~platform::kFpuAllExceptions) | flag);
  platform::load_x87_environment(opened);
  saved.control |= platform::kFpuAllExceptions;
  saved.status |= flag;
  platform::load_x87_environment(saved);
}

void copy_name(QvmElementReport& record, const char* name) {
  constexpr std::size_t kLongest = 47;
  const void* end = std::memchr(name, '\0', kLongest);
  const std::size_t length = end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - name) : kLongest;
  std::memcpy(record.func_name, name, length);
  record.func_name[length] = '\0';
  record.func_name_len = static_cast<int32_t>(length);
}

// Floats change their width on the way to the record and back; a denormal has to survive that, whatever the kernel's
// control word says.
class DenormalsOn {
 public:
  DenormalsOn() : saved_(platform::read_sse_control()) {
    if (saved_ & kFlushing) platform::load_sse_control(saved_ & ~kFlushing);
  }
  ~DenormalsOn() {
    if (saved_ & kFlushing) platform::load_sse_control(saved_);
  }
  DenormalsOn(const DenormalsOn&) = delete;
  DenormalsOn& operator=(const DenormalsOn&) = delete;

 private:
  static constexpr uint32_t kFlushing = 0x8040;  // flush to zero, denormals are zero
  const uint32_t saved_;
};

// Element <-> members of the record.
template <class Element>
void widen(const Element& element, double& re, double& im) {
  if constexpr (std::is_floating_point_v<Element>) {
    re = element;
  } else {
    re = element.re;
    im = element.im;
  }
}
template <class Element>
void narrow(Element& element, double re, double im) {
  if constexpr (std::is_floating_point_v<Element>) {
    element = static_cast<Element>(re);
  } else {
    using Real = decltype(element.re);
    element = {static_cast<Real>(re), static_cast<Real>(im)};
  }
}

}  // namespace

void dispatch(const QvmElementReport& record, uint32_t mode) {
  if (mode & QVM_ERRMODE_ERRNO) platform::set_errno(row_of(record.code).errno_value);
  if (mode & QVM_ERRMODE_STDERR) print_report(record);
  if (mode & QVM_ERRMODE_EXCEPT) raise_exception(record.code, mode);
}

template <class Element>
void report(Status status, int32_t index, View<const Element> arg1, View<const Element> arg2, View<Element> res1,
            View<Element> res2, const char* name) {
  constexpr uint32_t kDispatchBits = 0x2F00;
  constexpr int kIndexShift = std::countr_zero(sizeof(Element));
  if (!note_status(status)) return;
  const QvmThreadState& state = thread_state();
  const uint32_t mode = state.mode;

  QvmElementReport record = {};
  record.code = status;
  record.index = index;
  if (state.interf_input_vector != nullptr) {
    // Unsigned, so that even a pointer that has nothing to do with this array gives a number.
    const auto bytes = static_cast<std::intptr_t>(reinterpret_cast<std::uintptr_t>(arg1.base) -
                                                  reinterpret_cast<std::uintptr_t>(state.interf_input_vector));
    const auto elements = static_cast<uint32_t>(bytes >> kIndexShift);
    record.index = static_cast<int32_t>(static_cast<uint32_t>(index) + elements);
  }
  copy_name(record, name);
  const bool trusted = arrays_are_trusted(status);
  if (trusted) {
    const DenormalsOn exact;
    widen(arg1[index], record.arg1, record.arg1_im);
    widen(arg2[index], record.arg2, record.arg2_im);
    widen(res1[index], record.res1, record.res1_im);
    widen(res2[index], record.res2, record.res2_im);
  }
  if ((mode & QVM_ERRMODE_CALLBACK) && state.callback != nullptr) {
    if (state.callback(&record) != 0) return;
  }
  if (mode & kDispatchBits) dispatch(record, mode);
  if (trusted) {
    const DenormalsOn exact;
    // res1 last: a function of one result passes one array twice, and res1 is the value that stays.
    narrow(res2[index], record.res2, record.res2_im);
    narrow(res1[index], record.res1, record.res1_im);
  }
}

#define QLX_INSTANTIATE(Element)                                                                                \
  template void report(Status, int32_t, View<const Element>, View<const Element>, View<Element>, View<Element>, \
                       const char*);
QLX_INSTANTIATE(float)
QLX_INSTANTIATE(double)
QLX_INSTANTIATE(QvmComplexFloat)
QLX_INSTANTIATE(QvmComplexDouble)
#undef QLX_INSTANTIATE

}  // namespace qlx
