// The reporter itself, called as kernels call it, with what no kernel of today passes: complex elements, two results,
// long names, bad sizes and pointers, numbers that are no status. Built with the frame's sources, since the library
// exports no reporter.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "frame/qvm_frame.h"

namespace qlx {
namespace {

QvmElementReport seen;
double new_res1, new_res2;

int32_t look(QvmElementReport* report) {
  seen = *report;
  if (new_res1 != 0) report->res1 = new_res1;
  if (new_res2 != 0) report->res2 = new_res2;
  return 0;
}

class Reporter : public ::testing::Test {
 protected:
  void SetUp() override {
    new_res1 = new_res2 = 0;
    std::memset(&seen, 0, sizeof seen);
    _qvmSetMode(0x1200);
    _qvmSetErrorCallBack(look);
    _qvmSetInterfInputVectorPointer(nullptr);
  }
};

// arg1 and arg2 from a and b, res1 and res2 into r and s; element 2 of stride 3.
template <class Element>
void report_element(Element* a, Element* b, Element* r, Element* s, Status status = kDomain, const char* name = "vzX") {
  report<Element>(status, 2, {a, 3}, {b, 3}, {r, 3}, {s, 3}, name);
}

TEST_F(Reporter, fills_and_stores_both_parts_of_complex_elements) {
  QvmComplexFloat whole[17] = {}, second[7] = {}, first_result[7] = {}, second_result[7] = {};
  QvmComplexFloat* const x[4] = {whole + 10, second, first_result, second_result};
  for (int k = 0; k < 4; ++k) x[k][6] = {static_cast<float>(k + 1), static_cast<float>(-k - 1)};
  _qvmSetInterfInputVectorPointer(whole);
  new_res1 = 0.1;  // narrowed to float
  report_element(x[0], x[1], x[2], x[3]);
  EXPECT_EQ(seen.index, 12);
  EXPECT_EQ(seen.arg1, 1);
  EXPECT_EQ(seen.arg1_im, -1);
  EXPECT_EQ(seen.arg2, 2);
  EXPECT_EQ(seen.arg2_im, -2);
  EXPECT_EQ(seen.res1, 3);
  EXPECT_EQ(seen.res1_im, -3);
  EXPECT_EQ(seen.res2, 4);
  EXPECT_EQ(seen.res2_im, -4);
  EXPECT_EQ(x[2][6].re, 0.1f);
  EXPECT_EQ(x[2][6].im, -3);
  EXPECT_EQ(x[3][6].re, 4);

  QvmComplexDouble z[7] = {};
  z[6] = {5, 6};
  _qvmSetInterfInputVectorPointer(z + 2);  // behind the array: the distance is negative
  report_element(z, z, z, z);
  EXPECT_EQ(seen.index, 0);
  EXPECT_EQ(z[6].re, 0.1);
  EXPECT_EQ(z[6].im, 6);
}

TEST_F(Reporter, of_one_array_passed_twice_the_first_result_stays) {
  float a[7] = {}, r[7] = {};
  new_res1 = 8;
  new_res2 = 9;
  report_element(a, a, r, r);
  EXPECT_EQ(r[6], 8);
}

TEST_F(Reporter, cuts_a_name_at_47_characters) {
  double x[7] = {};
  const std::string name(50, 'n');
  report_element(x, x, x, x, kPole, name.c_str());
  EXPECT_EQ(std::string(seen.func_name), std::string(47, 'n'));
  EXPECT_EQ(seen.func_name_len, 47);
  report_element(x, x, x, x, kPole, std::string(47, 'm').c_str());
  EXPECT_EQ(seen.func_name_len, 47);
  report_element(x, x, x, x, kPole, "vdInv");
  EXPECT_EQ(seen.func_name_len, 5);
}

TEST_F(Reporter, leaves_arrays_alone_that_are_in_doubt) {
  const struct {
    Status status;
    int error;
    const char* text;
  } rows[] = {{kBadSize, 22, "2"}, {kBadMemory, 13, "vdBad"}};
  for (const auto& row : rows) {
    _qvmSetMode(0x1600);
    errno = 0;
    ::testing::internal::CaptureStderr();
    report_element<double>(nullptr, nullptr, nullptr, nullptr, row.status, "vdBad");
    const std::string text = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(errno, row.error);
    EXPECT_EQ(seen.code, row.status);
    EXPECT_EQ(seen.arg1, 0);
    EXPECT_NE(text.find(row.text), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
  }
}

TEST_F(Reporter, prints_as_many_values_as_differ) {
  const struct {
    double a, b, r, s;
    int lines;
  } rows[] = {{1, 1, 3, 3, 3}, {1, 0, 3, 0, 3}, {1, 1, 3, 4, 4},
              {1, 2, 3, 3, 4}, {1, 2, 3, 4, 5}, {0.0, -0.0, 3, 3, 3}};
  for (const auto& row : rows) {
    _qvmSetMode(0x400);
    double x[4][7] = {};
    x[0][6] = row.a, x[1][6] = row.b, x[2][6] = row.r, x[3][6] = row.s;
    ::testing::internal::CaptureStderr();
    report_element(x[0], x[1], x[2], x[3]);
    const std::string text = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), row.lines) << text;
  }
}

TEST_F(Reporter, takes_any_number_for_a_status) {
  double x[7] = {1, 1, 1, 1, 1, 1, 1};
  _qvmSetMode(0x1A00);
  errno = 0;
  report_element(x, x, x, x, static_cast<Status>(9));
  EXPECT_EQ(errno, 14);
  EXPECT_EQ(_qvmGetErrStatus(), 9);
}

}  // namespace
}  // namespace qlx
