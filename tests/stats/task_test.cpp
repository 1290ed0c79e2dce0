// Tasks and editors: every code of every editor, the constructors' checks in order, 64-bit integers.
// SPDX-License-Identifier: Apache-2.0
#include "stats/task.h"

#include <cstring>
#include <map>
#include <tuple>
#include <vector>

#include "stats/qst_ss_task.h"

namespace {

using Member = void* QstSSTask::*;

struct Row {
  Member member;
  int32_t status;
};

// Code -> member and status, written out a second time here: a slip in the library's table shows as a difference.
const std::map<int64_t, Row> kReal = {{3, {&QstSSTask::observations, -4032}},
                                      {6, {&QstSSTask::weights, -4005}},
                                      {7, {&QstSSTask::mean, -4006}},
                                      {8, {&QstSSTask::rawMoment2, -4007}},
                                      {9, {&QstSSTask::rawMoment3, -4008}},
                                      {10, {&QstSSTask::rawMoment4, -4009}},
                                      {11, {&QstSSTask::centralMoment2, -4010}},
                                      {12, {&QstSSTask::centralMoment3, -4011}},
                                      {13, {&QstSSTask::centralMoment4, -4012}},
                                      {14, {&QstSSTask::kurtosis, -4013}},
                                      {15, {&QstSSTask::skewness, -4014}},
                                      {16, {&QstSSTask::minimum, -4015}},
                                      {17, {&QstSSTask::maximum, -4016}},
                                      {18, {&QstSSTask::variation, -4017}},
                                      {19, {&QstSSTask::covariance, -4018}},
                                      {21, {&QstSSTask::correlation, -4019}},
                                      {23, {&QstSSTask::accumWeight, -4020}},
                                      {25, {&QstSSTask::quantileOrders, -4021}},
                                      {26, {&QstSSTask::quantiles, -4023}},
                                      {27, {&QstSSTask::orderStatistics, -4024}},
                                      {30, {&QstSSTask::pooledMean, -4035}},
                                      {31, {&QstSSTask::pooledCovariance, -4034}},
                                      {33, {&QstSSTask::groupMean, -4037}},
                                      {35, {&QstSSTask::groupCovariance, -4036}},
                                      {38, {&QstSSTask::robustParams, -4042}},
                                      {39, {&QstSSTask::robustMean, -4028}},
                                      {40, {&QstSSTask::robustCovariance, -4027}},
                                      {42, {&QstSSTask::outlierParams, -4039}},
                                      {43, {&QstSSTask::outlierWeights, -4041}},
                                      {46, {&QstSSTask::partialCovariance, -4046}},
                                      {48, {&QstSSTask::partialCorrelation, -4047}},
                                      {51, {&QstSSTask::missingParams, -4048}},
                                      {53, {&QstSSTask::missingInit, -4053}},
                                      {55, {&QstSSTask::missingSimulation, -4054}},
                                      {57, {&QstSSTask::missingEstimates, -4057}},
                                      {59, {&QstSSTask::missingPrior, -4062}},
                                      {60, {&QstSSTask::paramCorrelation, -4071}},
                                      {63, {&QstSSTask::streamParams, -4065}},
                                      {65, {&QstSSTask::streamQuantileOrders, -4068}},
                                      {66, {&QstSSTask::streamQuantiles, -4070}},
                                      {67, {&QstSSTask::sum, -4006}},
                                      {68, {&QstSSTask::rawSum2, -4075}},
                                      {69, {&QstSSTask::rawSum3, -4076}},
                                      {70, {&QstSSTask::rawSum4, -4077}},
                                      {71, {&QstSSTask::centralSum2, -4078}},
                                      {72, {&QstSSTask::centralSum3, -4079}},
                                      {73, {&QstSSTask::centralSum4, -4080}},
                                      {74, {&QstSSTask::crossProduct, -4081}},
                                      {76, {&QstSSTask::medianAbsDeviation, -4082}},
                                      {77, {&QstSSTask::meanAbsDeviation, -4083}},
                                      {78, {&QstSSTask::sortedObservations, -4084}}};
const std::map<int64_t, Row> kInteger = {{1, {&QstSSTask::dimension, -4001}},
                                         {2, {&QstSSTask::observationCount, -4002}},
                                         {4, {&QstSSTask::observationStorage, -4044}},
                                         {5, {&QstSSTask::indices, -4004}},
                                         {20, {&QstSSTask::covarianceStorage, -4044}},
                                         {22, {&QstSSTask::correlationStorage, -4044}},
                                         {24, {&QstSSTask::quantileOrderCount, -4022}},
                                         {28, {&QstSSTask::groupIndices, -4038}},
                                         {29, {&QstSSTask::pooledCovarianceStorage, -4044}},
                                         {32, {&QstSSTask::groupCovIndices, -4038}},
                                         {34, {&QstSSTask::groupCovarianceStorage, -4044}},
                                         {36, {&QstSSTask::robustCovarianceStorage, -4044}},
                                         {37, {&QstSSTask::robustParamCount, -4043}},
                                         {41, {&QstSSTask::outlierParamCount, -4040}},
                                         {44, {&QstSSTask::orderStatisticsStorage, -4044}},
                                         {45, {&QstSSTask::partialIndices, -4045}},
                                         {47, {&QstSSTask::partialCovarianceStorage, -4044}},
                                         {49, {&QstSSTask::partialCorrelationStorage, -4044}},
                                         {50, {&QstSSTask::missingParamCount, -4049}},
                                         {52, {&QstSSTask::missingInitCount, -4052}},
                                         {54, {&QstSSTask::missingSimulationCount, -4055}},
                                         {56, {&QstSSTask::missingEstimateCount, -4056}},
                                         {58, {&QstSSTask::missingPriorCount, -4061}},
                                         {61, {&QstSSTask::paramCorrelationStorage, -4044}},
                                         {62, {&QstSSTask::streamParamCount, -4066}},
                                         {64, {&QstSSTask::streamQuantileOrderCount, -4069}},
                                         {75, {&QstSSTask::crossProductStorage, -4044}},
                                         {79, {&QstSSTask::sortedObservationsStorage, -4044}}};

QstSSTask* make_task() {
  static const int32_t p = 2;
  QstSSTask* task = nullptr;
  EXPECT_EQ(__qstdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  return task;
}

// A code sets its member, and that alone; everything else gives -3, a null the member's own status.
template <class Edit>
void expect_editor(const std::map<int64_t, Row>& rows, Edit edit) {
  QstSSTask* task = make_task();
  const double place = 0;
  std::vector<int64_t> codes = {INT64_MIN, -1, (int64_t{1} << 32) + 3, (int64_t{1} << 32) + 1, INT64_MAX};
  for (int64_t code = 0; code <= 90; ++code) codes.push_back(code);
  for (const int64_t code : codes) {
    const QstSSTask before = *task;
    EXPECT_EQ(edit(nullptr, code, &place), -4031);
    const auto row = rows.find(code);
    EXPECT_EQ(edit(task, code, nullptr), row == rows.end() ? -3 : row->second.status) << code;
    EXPECT_EQ(std::memcmp(task, &before, sizeof before), 0) << code;
    EXPECT_EQ(edit(task, code, &place), row == rows.end() ? -3 : 0) << code;
    if (row != rows.end()) {
      EXPECT_EQ(task->*row->second.member, &place) << code;
      task->*row->second.member = before.*row->second.member;
    }
    EXPECT_EQ(std::memcmp(task, &before, sizeof before), 0) << code;
  }
  __qstSSDeleteTask(&task);
}

TEST(StatsTask, each_code_sets_its_member_and_no_other) {
  expect_editor(kReal, [](QstSSTask* t, int64_t c, const double* v) { return __qstdSSEditTask(t, c, v); });
  expect_editor(kReal, [](QstSSTask* t, int64_t c, const double* v) {
    return __qstsSSEditTask(t, c, reinterpret_cast<const float*>(v));
  });
  expect_editor(kInteger, [](QstSSTask* t, int64_t c, const double* v) { return __qstiSSEditTask(t, c, v); });
}

// Calls a special editor with address i (1-based) of `places` for argument i, or all null, and compares members.
template <class... Argument>
void expect_special(int32_t (*editor)(QstSSTask*, Argument...), const std::vector<Member>& members) {
  static double places[16];
  ASSERT_EQ(members.size(), sizeof...(Argument));
  QstSSTask* task = make_task();
  const QstSSTask before = *task;
  int next = 0;
  auto place = [&](auto* argument) { return static_cast<decltype(argument)>(static_cast<void*>(places + next++)); };
  // Braced initialisation takes the arguments from left to right.
  std::tuple<Argument...> arguments{place(Argument{})...};
  const auto call = [&](QstSSTask* to) { return std::apply([&](auto... a) { return editor(to, a...); }, arguments); };
  EXPECT_EQ(call(nullptr), -4031);
  EXPECT_EQ(editor(task, Argument{}...), 0);
  EXPECT_EQ(std::memcmp(task, &before, sizeof before), 0);
  EXPECT_EQ(call(task), 0);
  for (size_t m = 0; m < members.size(); ++m) {
    EXPECT_EQ(task->*members[m], places + m) << m;
    task->*members[m] = before.*members[m];
  }
  EXPECT_EQ(std::memcmp(task, &before, sizeof before), 0);
  EXPECT_EQ(editor(task, Argument{}...), 0);
  __qstSSDeleteTask(&task);
}

#define EXPECT_SPECIAL(NAME, ...)                    \
  expect_special(__qstdSSEdit##NAME, {__VA_ARGS__}); \
  expect_special(__qstsSSEdit##NAME, {__VA_ARGS__})

TEST(StatsTask, special_editors_set_their_members_in_order_and_skip_nulls) {
  using S = QstSSTask;
  EXPECT_SPECIAL(Moments, &S::mean, &S::rawMoment2, &S::rawMoment3, &S::rawMoment4, &S::centralMoment2,
                 &S::centralMoment3, &S::centralMoment4);
  EXPECT_SPECIAL(Sums, &S::sum, &S::rawSum2, &S::rawSum3, &S::rawSum4, &S::centralSum2, &S::centralSum3,
                 &S::centralSum4);
  EXPECT_SPECIAL(CovCor, &S::mean, &S::covariance, &S::covarianceStorage, &S::correlation, &S::correlationStorage);
  EXPECT_SPECIAL(CP, &S::mean, &S::sum, &S::crossProduct, &S::crossProductStorage);
  EXPECT_SPECIAL(PartialCovCor, &S::partialIndices, &S::covariance, &S::covarianceStorage, &S::correlation,
                 &S::correlationStorage, &S::partialCovariance, &S::partialCovarianceStorage, &S::partialCorrelation,
                 &S::partialCorrelationStorage);
  EXPECT_SPECIAL(Quantiles, &S::quantileOrderCount, &S::quantileOrders, &S::quantiles, &S::orderStatistics,
                 &S::orderStatisticsStorage);
  EXPECT_SPECIAL(StreamQuantiles, &S::streamQuantileOrderCount, &S::streamQuantileOrders, &S::streamQuantiles,
                 &S::streamParamCount, &S::streamParams);
  EXPECT_SPECIAL(PooledCovariance, &S::groupIndices, &S::pooledMean, &S::pooledCovariance, &S::groupCovIndices,
                 &S::groupMean, &S::groupCovariance);
  EXPECT_SPECIAL(RCov, &S::robustCovarianceStorage, &S::robustParamCount, &S::robustParams, &S::robustMean,
                 &S::robustCovariance);
  EXPECT_SPECIAL(OutDetect, &S::outlierParamCount, &S::outlierParams, &S::outlierWeights);
  EXPECT_SPECIAL(MissingVals, &S::missingParamCount, &S::missingParams, &S::missingInitCount, &S::missingInit,
                 &S::missingPriorCount, &S::missingPrior, &S::missingSimulationCount, &S::missingSimulation,
                 &S::missingEstimateCount, &S::missingEstimates);
  EXPECT_SPECIAL(MtxParametrz, &S::correlation, &S::correlationStorage, &S::paramCorrelation,
                 &S::paramCorrelationStorage);
}

// Integers of one width with the checks of the constructor, first to last; each case breaks one more argument, so that
// the status says which check came first.
template <class I>
void expect_constructor_checks(int32_t wide) {
  const I good_p = 3, good_n = 4, good_word = 0x20000, zero = 0, negative = -1, both = 0x30000, word = 0;
  const double x[12] = {};
  struct {
    const I *p, *n, *storage;
    const double* data;
    int32_t status;
  } const cases[] = {
      {nullptr, nullptr, nullptr, nullptr, -4001}, {&zero, nullptr, nullptr, x, -4001},
      {&negative, &good_n, &good_word, x, -4001},  {&good_p, nullptr, nullptr, x, -4044},
      {&good_p, nullptr, &word, x, -4003},         {&good_p, nullptr, &both, x, -4003},
      {&good_p, nullptr, &good_word, x, -4002},    {&good_p, &zero, &good_word, x, -4002},
      {&good_p, &negative, &good_word, x, -4002},  {&good_p, &good_n, &good_word, x, 0},
      {&good_p, nullptr, nullptr, nullptr, 0},
  };
  for (const auto& c : cases) {
    QstSSTask* task = nullptr;
    EXPECT_EQ(__qstdSSNewTask(&task, c.p, c.n, c.storage, c.data, nullptr, nullptr, wide), c.status);
    if (c.status == 0) {
      EXPECT_EQ(__qstSSDeleteTask(&task), 0);
    }
    EXPECT_EQ(task, nullptr);
  }
}

TEST(StatsTask, constructor_checks_in_order) {
  expect_constructor_checks<int32_t>(0);
  expect_constructor_checks<int64_t>(1);
  EXPECT_EQ(__qstSSDeleteTask(nullptr), -4031);
}

TEST(StatsTask, constructors_differ_in_the_element_type_alone) {
  const int32_t p = 1, n = 1, storage = 0x10000, index = 1;
  const double x = 0;
  const float xs = 0;
  QstSSTask *d, *s;
  ASSERT_EQ(__qstdSSNewTask(&d, &p, &n, &storage, &x, nullptr, &index, 0), 0);
  ASSERT_EQ(__qstsSSNewTask(&s, &p, &n, &storage, &xs, &xs, nullptr, 0), 0);
  EXPECT_EQ(d->isDouble, 1);
  EXPECT_EQ(s->isDouble, 0);
  EXPECT_EQ(d->taskTag, 2);
  EXPECT_EQ(d->indices, &index);
  EXPECT_EQ(s->weights, &xs);
  __qstSSDeleteTask(&d);
  __qstSSDeleteTask(&s);
}

// The constructor takes all 64 bits of p; the estimators take its low word, which is 0 here: no variable.
TEST(StatsTask, wide_dimension_whose_low_word_is_zero_has_no_variables) {
  const int64_t p = int64_t{1} << 32, n = 2, storage = 0x10000;
  const double x[2] = {1, 2};
  double mean = -1, pair[2] = {};
  QstSSTask* task;
  ASSERT_EQ(__qstdSSNewTask(&task, &p, &n, &storage, x, nullptr, nullptr, 1), 0);
  __qstdSSEditTask(task, QST_SS_ED_MEAN, &mean);
  __qstdSSEditTask(task, QST_SS_ED_ACCUM_WEIGHT, pair);
  EXPECT_EQ(_qstdSSBasic(task, QST_SS_MEAN, QST_SS_METHOD_1PASS, nullptr), 0);
  EXPECT_EQ(mean, -1);
  EXPECT_EQ(pair[0], 2);
  __qstSSDeleteTask(&task);
}

}  // namespace
