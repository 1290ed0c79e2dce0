// Mode word, status and callback of a thread, and the environment value that a mode starts from.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "frame/qvm_frame.h"
#include "qlx/core.h"

namespace qlx {
namespace {

constexpr int kBufferSize = 256;
constexpr char kVariable[] = "QLX_QVM_MODE";
constexpr char kPrefix[] = "QVM_";
constexpr int kPrefixLength = sizeof kPrefix - 1;
constexpr uint64_t kBadValue = ~uint64_t{0};

struct Token {
  const char* word;
  uint32_t low, high;
};

// Tried in this order, each over its own length. "DOUBLE_CONSISTEN" lacks its last letter and stays so: callers have
// come to count on the full word being refused.
constexpr Token kTokens[] = {
    {"LA", QVM_LA, 0},
    {"HA", QVM_HA, 0},
    {"EP", QVM_EP, 0},
    {"DEFAULT_PRECISION", 0, 0},
    {"FLOAT_CONSISTENT", 0x10, 0},
    {"DOUBLE_CONSISTEN", 0x20, 0},
    {"RESTORE", 0x30, 0},
    {"ERRMODE_IGNORE", QVM_ERRMODE_IGNORE, 0},
    {"ERRMODE_ERRNO", QVM_ERRMODE_ERRNO, 0},
    {"ERRMODE_STDERR", QVM_ERRMODE_STDERR, 0},
    {"ERRMODE_EXCEPT", QVM_ERRMODE_EXCEPT, 0},
    {"ERRMODE_CALLBACK", QVM_ERRMODE_CALLBACK, 0},
    {"ERRMODE_NOERR", QVM_ERRMODE_NOERR, 0},
    {"ERRMODE_DEFAULT", QVM_ERRMODE_DEFAULT, 0},
    {"TRAP_INVALID", QVM_TRAP_INVALID, 0},
    {"TRAP_DIVBYZERO", QVM_TRAP_DIVBYZERO, 0},
    {"TRAP_OVERFLOW", QVM_TRAP_OVERFLOW, 0},
    {"TRAP_UNDERFLOW", QVM_TRAP_UNDERFLOW, 0},
};

// The row whose word stands at `position` and ends inside the buffer, or null.
const Token* match_token(const char (&text)[kBufferSize], int position) {
  for (const Token& token : kTokens) {
    const int length = static_cast<int>(std::strlen(token.word));
    if (position + length >= kBufferSize) continue;
    if (std::memcmp(text + position, token.word, length) == 0) return &token;
  }
  return nullptr;
}

// The masks of a comma-separated token list, high half above low half, or kBadValue.
uint64_t parse(const char (&text)[kBufferSize]) {
  uint64_t masks = 0;
  for (int position = 0;;) {
    if (position + kPrefixLength >= kBufferSize || std::memcmp(text + position, kPrefix, kPrefixLength) != 0)
      return kBadValue;
    position += kPrefixLength;
    const Token* token = match_token(text, position);
    if (token == nullptr) return kBadValue;
    position += static_cast<int>(std::strlen(token->word));
    masks |= uint64_t{token->high} << 32 | token->low;
    if (text[position] == '\0') return masks;
    if (text[position] != ',') return kBadValue;
    ++position;
  }
}

uint64_t masks_of_environment() {
  static volatile int32_t lock = 0;
  char text[kBufferSize] = {};
  qlx_serv_lock(&lock);
  const int length = qlx_serv_getenv(kVariable, text, kBufferSize);
  qlx_serv_unlock(&lock);
  return length > 0 ? parse(text) : kBadValue;
}

[[gnu::cold, gnu::noinline]] uint32_t first_mode() {
  const uint64_t masks = masks_of_environment();
  if (masks == kBadValue) return QVM_MODE_DEFAULT;
  auto mode = static_cast<uint32_t>(masks);
  if ((mode & QVM_ACCURACY_MASK) == 0) mode |= QVM_HA;
  if ((mode & QVM_ERRMODE_MASK) == 0) mode |= QVM_ERRMODE_DEFAULT;
  return mode;
}

// The groups that SetMode replaces, each on its own. The precision group is not among them.
constexpr uint32_t kReservedGroup = 0x30000;
constexpr uint32_t kMergedGroups[] = {QVM_ACCURACY_MASK, QVM_ERRMODE_MASK, QVM_DENORMAL_MASK, QVM_TRAP_MASK,
                                      kReservedGroup};

template <class Value>
Value exchange(Value& stored, Value value) {
  const Value before = stored;
  stored = value;
  return before;
}

}  // namespace
}  // namespace qlx

using qlx::thread_state;

uint32_t qlx_qvm_kernel_GetMode(void) {
  qlx::QvmThreadState& state = thread_state();
  if (state.mode == 0) [[unlikely]]
    state.mode = qlx::first_mode();
  return state.mode;
}

uint32_t qlx_qvm_kernel_SetMode(uint32_t mode) {
  const uint32_t before = qlx_qvm_kernel_GetMode();
  uint32_t merged = before;
  for (const uint32_t group : qlx::kMergedGroups) {
    if (mode & group) merged = (merged & ~group) | (mode & group);
  }
  thread_state().mode = merged;
  return before;
}

int32_t qlx_qvm_kernel_GetErrStatus(void) {
  return thread_state().status;
}

int32_t qlx_qvm_kernel_SetErrStatus(int32_t status) {
  return qlx::exchange(thread_state().status, status);
}

int32_t qlx_qvm_kernel_ClearErrStatus(void) {
  return qlx_qvm_kernel_SetErrStatus(qvm_status_ok);
}

QvmErrorCallback qlx_qvm_kernel_GetErrorCallBack(void) {
  return thread_state().callback;
}

QvmErrorCallback qlx_qvm_kernel_SetErrorCallBack(QvmErrorCallback callback) {
  uint32_t mode = qlx_qvm_kernel_GetMode();
  mode = callback != nullptr ? mode | QVM_ERRMODE_CALLBACK : mode & ~uint32_t{QVM_ERRMODE_CALLBACK};
  const QvmErrorCallback before = qlx::exchange(thread_state().callback, callback);
  qlx_qvm_kernel_SetMode(mode);
  return before;
}

QvmErrorCallback qlx_qvm_kernel_ClearErrorCallBack(void) {
  return qlx_qvm_kernel_SetErrorCallBack(nullptr);
}

const void* qlx_qvm_kernel_SetInterfInputVectorPointer(const void* pointer) {
  thread_state().interf_input_vector = pointer;
  return pointer;
}

int32_t qlx_qvm_kernel_GetTTableIndex(void) {
  return qlx_qvm_kernel_GetTTableIndexM(0, qlx_qvm_kernel_GetMode());
}

int32_t qlx_qvm_kernel_GetTTableIndexM(uint32_t, uint32_t mode) {
  return static_cast<int32_t>(mode & QVM_ACCURACY_MASK) - 1;
}

uint32_t _qvmGetMode(void) {
  return qlx_qvm_kernel_GetMode();
}
uint32_t _qvmSetMode(uint32_t mode) {
  return qlx_qvm_kernel_SetMode(mode);
}
int32_t _qvmGetErrStatus(void) {
  return qlx_qvm_kernel_GetErrStatus();
}
int32_t _qvmSetErrStatus(int32_t status) {
  return qlx_qvm_kernel_SetErrStatus(status);
}
int32_t _qvmClearErrStatus(void) {
  return qlx_qvm_kernel_ClearErrStatus();
}
QvmErrorCallback _qvmGetErrorCallBack(void) {
  return qlx_qvm_kernel_GetErrorCallBack();
}
QvmErrorCallback _qvmSetErrorCallBack(QvmErrorCallback callback) {
  return qlx_qvm_kernel_SetErrorCallBack(callback);
}
QvmErrorCallback _qvmClearErrorCallBack(void) {
  return qlx_qvm_kernel_ClearErrorCallBack();
}
const void* _qvmSetInterfInputVectorPointer(const void* pointer) {
  return qlx_qvm_kernel_SetInterfInputVectorPointer(pointer);
}
