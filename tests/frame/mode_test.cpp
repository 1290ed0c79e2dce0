// The mode word: from the environment, through SetMode, per thread; status and callback.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "qlx/qvm.h"

namespace {

// A new thread's mode, with the environment value given; null leaves it unset.
uint32_t mode_of_new_thread(const char* value) {
  if (value != nullptr) {
    setenv("QLX_QVM_MODE", value, 1);
  } else {
    unsetenv("QLX_QVM_MODE");
  }
  uint32_t mode = 0;
  std::thread([&] { mode = _qvmGetMode(); }).join();
  unsetenv("QLX_QVM_MODE");
  return mode;
}

TEST(Mode, comes_from_the_environment_of_each_new_thread) {
  const std::string fits(255 - 7, ',');
  const struct {
    const char* value;
    uint32_t mode;
  } rows[] = {
      {nullptr, 0x1A02},
      {"", 0x1A02},
      {"QVM_LA", 0x1A01},
      {"QVM_HA", 0x1A02},
      {"QVM_EP", 0x1A03},
      {"QVM_LA,QVM_HA", 0x1A03},  // masks are ORed
      {"QVM_ERRMODE_IGNORE", 0x102},
      {"QVM_ERRMODE_NOERR,QVM_LA", 0x2001},
      {"QVM_ERRMODE_ERRNO,QVM_ERRMODE_STDERR,QVM_ERRMODE_EXCEPT,QVM_ERRMODE_CALLBACK", 0x1E02},
      {"QVM_ERRMODE_DEFAULT", 0x1A02},
      {"QVM_TRAP_INVALID", 0x1001A02},
      {"QVM_TRAP_DIVBYZERO,QVM_TRAP_OVERFLOW,QVM_TRAP_UNDERFLOW", 0xE001A02},
      {"QVM_DEFAULT_PRECISION", 0x1A02},
      {"QVM_FLOAT_CONSISTENT", 0x1A12},
      {"QVM_DOUBLE_CONSISTEN", 0x1A22},
      {"QVM_DOUBLE_CONSISTENT", 0x1A02},  // the table's word is one letter short
      {"QVM_RESTORE,QVM_EP", 0x1A33},
      // Bad values, each for its own reason; what was parsed before the bad token is dropped.
      {"QVM_LAX", 0x1A02},
      {"QVM_EP,", 0x1A02},
      {"QVM_EP,,QVM_EP", 0x1A02},
      {"QVM_EP, QVM_LA", 0x1A02},
      {" QVM_EP", 0x1A02},
      {"QVM_EP,NONE", 0x1A02},
      {"QVM_", 0x1A02},
      {"qvm_EP", 0x1A02},
      {"EP", 0x1A02},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(mode_of_new_thread(row.value), row.mode) << (row.value ? row.value : "(unset)");
  }
  // 36 tokens fill the buffer of 256 bytes to its last place; one byte more does not fit, and is bad.
  std::string list = "QVM_EP";
  while (list.size() + 7 < 252) list += ",QVM_EP";
  EXPECT_EQ(mode_of_new_thread(list.c_str()), 0x1A03u) << list.size();
  while (list.size() < 256) list += ",QVM_EP";
  EXPECT_EQ(mode_of_new_thread(list.c_str()), 0x1A02u) << list.size();
}

TEST(Mode, set_mode_merges_each_group_on_its_own) {
  std::thread([] {
    const struct {
      uint32_t argument, mode_after;
    } rows[] = {
        {0, 0x1A02},
        {0x1, 0x1A01},
        {0x400, 0x401},
        {0x280000, 0x280401},
        {0x140000, 0x140401},
        {0x8000000, 0x8140401},
        {0x20000, 0x8160401},
        {0x30, 0x8160401},        // the precision group is carried over
        {0xF0000000, 0x8160401},  // bits without a meaning
        {0x7, 0x8160407},         // accuracy 7 is stored
        {0x1A02 | 0x30, 0x8161A02},
    };
    uint32_t before = _qvmGetMode();
    for (const auto& row : rows) {
      EXPECT_EQ(_qvmSetMode(row.argument), before);
      EXPECT_EQ(_qvmGetMode(), row.mode_after) << std::hex << row.argument;
      EXPECT_EQ(qlx_qvm_kernel_GetTTableIndex(), static_cast<int32_t>(row.mode_after & 0xF) - 1);
      before = row.mode_after;
    }
  }).join();
  setenv("QLX_QVM_MODE", "QVM_FLOAT_CONSISTENT", 1);
  std::thread([] {
    _qvmSetMode(0x1 | 0x30);
    EXPECT_EQ(_qvmGetMode(), 0x1A11u);
  }).join();
  unsetenv("QLX_QVM_MODE");
}

TEST(Mode, table_index_of_an_argument_ignores_the_thread) {
  const uint32_t mode = _qvmGetMode();
  EXPECT_EQ(qlx_qvm_kernel_GetTTableIndexM(3, 0x1A01), 0);
  EXPECT_EQ(qlx_qvm_kernel_GetTTableIndexM(1, 0x1A03), 2);
  EXPECT_EQ(qlx_qvm_kernel_GetTTableIndexM(1, 0x7), 6);
  EXPECT_EQ(_qvmGetMode(), mode);
}

int32_t ignore_report(QvmElementReport*) {
  return 0;
}

TEST(Callback, sets_and_clears_its_bit_of_the_mode) {
  std::thread([] {
    EXPECT_EQ(_qvmGetErrorCallBack(), nullptr);
    _qvmSetMode(0x200);
    EXPECT_EQ(_qvmSetErrorCallBack(ignore_report), nullptr);
    EXPECT_EQ(_qvmGetMode(), 0x1202u);
    EXPECT_EQ(qlx_qvm_kernel_GetErrorCallBack(), ignore_report);
    EXPECT_EQ(_qvmClearErrorCallBack(), ignore_report);
    EXPECT_EQ(_qvmGetMode(), 0x202u);
    // A group can't become empty, so the bit stays where it is the only one.
    _qvmSetMode(0x1000);
    qlx_qvm_kernel_SetErrorCallBack(ignore_report);
    EXPECT_EQ(qlx_qvm_kernel_ClearErrorCallBack(), ignore_report);
    EXPECT_EQ(_qvmGetMode(), 0x1002u);
    const float zero = 0;
    float r = 5;
    _qvmsInv(1, &zero, &r);  // reports to nobody
    EXPECT_EQ(_qvmGetErrStatus(), qvm_status_pole);
  }).join();
}

TEST(Status, belongs_to_its_thread_and_keeps_the_last_value) {
  _qvmSetErrStatus(7);
  std::thread([] {
    EXPECT_EQ(qlx_qvm_kernel_GetErrStatus(), 0);
    EXPECT_EQ(qlx_qvm_kernel_SetErrStatus(-1000), 0);
    EXPECT_EQ(_qvmSetErrStatus(3), -1000);
    EXPECT_EQ(_qvmClearErrStatus(), 3);
    EXPECT_EQ(qlx_qvm_kernel_ClearErrStatus(), 0);
  }).join();
  EXPECT_EQ(_qvmClearErrStatus(), 7);
}

}  // namespace
