/* Summary statistics: tasks over a dataset, moments, covariance, extremes, quantiles, sorting.
   SPDX-License-Identifier: Apache-2.0

   A task binds a p by n dataset (p variables, n observations) and the arrays of all results to one object:

     QstSSTask *task;
     const int32_t p = 3, n = 100, storage = QST_SS_ROWS;
     __qstdSSNewTask(&task, &p, &n, &storage, x, NULL, NULL, 0);
     __qstdSSEditTask(task, QST_SS_ED_MEAN, mean);
     _qstdSSBasic(task, QST_SS_MEAN, QST_SS_METHOD_1PASS, qlx_serv_thread_table());
     __qstSSDeleteTask(&task);

   A task stores addresses and never copies: every count, storage word and array is read at the moment a compute entry
   runs, belongs to the caller, and must live as long as the task uses it. A value changed between two calls is seen by
   the next. A task belongs to one thread at a time; different tasks may run side by side and share inputs.

   Integers behind registered addresses are int32, or int64 when the task was made with `wideIntegers` not 0; they are
   passed as `const void *`. The d forms take double arrays, the s forms float arrays; a task serves one of them.

   Dataset in rows: x[i * n + j] is observation j of variable i. In columns: x[j * p + i]. With p = 1 both are the same.
   Matrices, p by p: full, row by row; lower packed, row i keeps elements 0 to i; upper packed, row i keeps i to p-1. */
#ifndef QLX_QST_SS_H
#define QLX_QST_SS_H

#include <stdint.h>

#include "qlx/api.h"
#include "qlx/core.h"

QLX_BEGIN_C

/* ---- Words ------------------------------------------------------------------------------------------------------ */

/* Storage words. */
enum {
  QST_SS_ROWS = 0x10000,
  QST_SS_COLUMNS = 0x20000,
  QST_SS_FULL = 0,
  QST_SS_LOWER_PACKED = 1,
  QST_SS_UPPER_PACKED = 2
};

/* Estimate mask, one bit an estimate. */
#define QST_SS_MEAN UINT64_C(0x1)
#define QST_SS_RAW_MOMENT_2 UINT64_C(0x2)
#define QST_SS_RAW_MOMENT_3 UINT64_C(0x4)
#define QST_SS_RAW_MOMENT_4 UINT64_C(0x8)
#define QST_SS_CENTRAL_MOMENT_2 UINT64_C(0x10)
#define QST_SS_CENTRAL_MOMENT_3 UINT64_C(0x20)
#define QST_SS_CENTRAL_MOMENT_4 UINT64_C(0x40)
#define QST_SS_KURTOSIS UINT64_C(0x80)
#define QST_SS_SKEWNESS UINT64_C(0x100)
#define QST_SS_VARIATION UINT64_C(0x200)
#define QST_SS_MINIMUM UINT64_C(0x400)
#define QST_SS_MAXIMUM UINT64_C(0x800)
#define QST_SS_COVARIANCE UINT64_C(0x1000)
#define QST_SS_CORRELATION UINT64_C(0x2000)
#define QST_SS_QUANTILES UINT64_C(0x10000)
#define QST_SS_ORDER_STATISTICS UINT64_C(0x20000)
#define QST_SS_SUM UINT64_C(0x2000000)
#define QST_SS_RAW_SUM_2 UINT64_C(0x4000000)
#define QST_SS_RAW_SUM_3 UINT64_C(0x8000000)
#define QST_SS_RAW_SUM_4 UINT64_C(0x10000000)
#define QST_SS_CENTRAL_SUM_2 UINT64_C(0x20000000)
#define QST_SS_CENTRAL_SUM_3 UINT64_C(0x40000000)
#define QST_SS_CENTRAL_SUM_4 UINT64_C(0x80000000)
#define QST_SS_CROSS_PRODUCT UINT64_C(0x100000000)

/* Method word. */
#define QST_SS_METHOD_FAST UINT64_C(0x1)                 /* raw sums; central values afterwards from raw ones */
#define QST_SS_METHOD_1PASS UINT64_C(0x2)                /* running means and central sums, stable */
#define QST_SS_METHOD_STREAM_QUANTILES UINT64_C(0x40)    /* take the data in and answer */
#define QST_SS_METHOD_STREAM_TAKE_IN UINT64_C(0x80)      /* take the data in */
#define QST_SS_METHOD_FAST_GIVEN_MEAN UINT64_C(0x100)    /* sums of deviations from the mean given in `mean` */
#define QST_SS_METHOD_CROSS_PRODUCT_DONE UINT64_C(0x200) /* no sweep: matrices from a finished cross-product */
#define QST_SS_METHOD_SUMS_DONE UINT64_C(0x400)          /* no sweep: moments from finished sums */
#define QST_SS_METHOD_SORT UINT64_C(0x100000)            /* the one method of the dataset sort */

/* Codes of the general editors: the real arrays. */
enum {
  QST_SS_ED_OBSERVATIONS = 3,
  QST_SS_ED_WEIGHTS = 6,
  QST_SS_ED_MEAN = 7,
  QST_SS_ED_RAW_MOMENT_2 = 8,
  QST_SS_ED_RAW_MOMENT_3 = 9,
  QST_SS_ED_RAW_MOMENT_4 = 10,
  QST_SS_ED_CENTRAL_MOMENT_2 = 11,
  QST_SS_ED_CENTRAL_MOMENT_3 = 12,
  QST_SS_ED_CENTRAL_MOMENT_4 = 13,
  QST_SS_ED_KURTOSIS = 14,
  QST_SS_ED_SKEWNESS = 15,
  QST_SS_ED_MINIMUM = 16,
  QST_SS_ED_MAXIMUM = 17,
  QST_SS_ED_VARIATION = 18,
  QST_SS_ED_COVARIANCE = 19,
  QST_SS_ED_CORRELATION = 21,
  QST_SS_ED_ACCUM_WEIGHT = 23,
  QST_SS_ED_QUANTILE_ORDERS = 25,
  QST_SS_ED_QUANTILES = 26,
  QST_SS_ED_ORDER_STATISTICS = 27,
  QST_SS_ED_POOLED_MEAN = 30,
  QST_SS_ED_POOLED_COVARIANCE = 31,
  QST_SS_ED_GROUP_MEAN = 33,
  QST_SS_ED_GROUP_COVARIANCE = 35,
  QST_SS_ED_ROBUST_PARAMS = 38,
  QST_SS_ED_ROBUST_MEAN = 39,
  QST_SS_ED_ROBUST_COVARIANCE = 40,
  QST_SS_ED_OUTLIER_PARAMS = 42,
  QST_SS_ED_OUTLIER_WEIGHTS = 43,
  QST_SS_ED_PARTIAL_COVARIANCE = 46,
  QST_SS_ED_PARTIAL_CORRELATION = 48,
  QST_SS_ED_MISSING_PARAMS = 51,
  QST_SS_ED_MISSING_INIT = 53,
  QST_SS_ED_MISSING_SIMULATION = 55,
  QST_SS_ED_MISSING_ESTIMATES = 57,
  QST_SS_ED_MISSING_PRIOR = 59,
  QST_SS_ED_PARAM_CORRELATION = 60,
  QST_SS_ED_STREAM_PARAMS = 63,
  QST_SS_ED_STREAM_QUANTILE_ORDERS = 65,
  QST_SS_ED_STREAM_QUANTILES = 66,
  QST_SS_ED_SUM = 67,
  QST_SS_ED_RAW_SUM_2 = 68,
  QST_SS_ED_RAW_SUM_3 = 69,
  QST_SS_ED_RAW_SUM_4 = 70,
  QST_SS_ED_CENTRAL_SUM_2 = 71,
  QST_SS_ED_CENTRAL_SUM_3 = 72,
  QST_SS_ED_CENTRAL_SUM_4 = 73,
  QST_SS_ED_CROSS_PRODUCT = 74,
  QST_SS_ED_MEDIAN_ABS_DEVIATION = 76,
  QST_SS_ED_MEAN_ABS_DEVIATION = 77,
  QST_SS_ED_SORTED_OBSERVATIONS = 78
};

/* Codes of the integer editor. */
enum {
  QST_SS_ED_DIMENSION = 1,
  QST_SS_ED_OBSERVATION_COUNT = 2,
  QST_SS_ED_OBSERVATION_STORAGE = 4,
  QST_SS_ED_INDICES = 5,
  QST_SS_ED_COVARIANCE_STORAGE = 20,
  QST_SS_ED_CORRELATION_STORAGE = 22,
  QST_SS_ED_QUANTILE_ORDER_COUNT = 24,
  QST_SS_ED_GROUP_INDICES = 28,
  QST_SS_ED_POOLED_COVARIANCE_STORAGE = 29,
  QST_SS_ED_GROUP_COV_INDICES = 32,
  QST_SS_ED_GROUP_COVARIANCE_STORAGE = 34,
  QST_SS_ED_ROBUST_COVARIANCE_STORAGE = 36,
  QST_SS_ED_ROBUST_PARAM_COUNT = 37,
  QST_SS_ED_OUTLIER_PARAM_COUNT = 41,
  QST_SS_ED_ORDER_STATISTICS_STORAGE = 44,
  QST_SS_ED_PARTIAL_INDICES = 45,
  QST_SS_ED_PARTIAL_COVARIANCE_STORAGE = 47,
  QST_SS_ED_PARTIAL_CORRELATION_STORAGE = 49,
  QST_SS_ED_MISSING_PARAM_COUNT = 50,
  QST_SS_ED_MISSING_INIT_COUNT = 52,
  QST_SS_ED_MISSING_SIMULATION_COUNT = 54,
  QST_SS_ED_MISSING_ESTIMATE_COUNT = 56,
  QST_SS_ED_MISSING_PRIOR_COUNT = 58,
  QST_SS_ED_PARAM_CORRELATION_STORAGE = 61,
  QST_SS_ED_STREAM_PARAM_COUNT = 62,
  QST_SS_ED_STREAM_QUANTILE_ORDER_COUNT = 64,
  QST_SS_ED_CROSS_PRODUCT_STORAGE = 75,
  QST_SS_ED_SORTED_OBSERVATIONS_STORAGE = 79
};

/* Statuses: 0 for success. The first failing check decides; each function lists its checks in order. */
enum {
  QST_SS_OK = 0,
  QST_SS_ERROR_BAD_CODE = -3,
  QST_SS_ERROR_MEMORY = -4000,
  QST_SS_ERROR_DIMENSION = -4001,
  QST_SS_ERROR_OBSERVATION_COUNT = -4002,
  QST_SS_ERROR_STORAGE = -4003,
  QST_SS_ERROR_INDICES = -4004,
  QST_SS_ERROR_WEIGHTS = -4005,
  QST_SS_ERROR_MEAN = -4006,
  QST_SS_ERROR_RAW_MOMENT_2 = -4007,
  QST_SS_ERROR_RAW_MOMENT_3 = -4008,
  QST_SS_ERROR_RAW_MOMENT_4 = -4009,
  QST_SS_ERROR_CENTRAL_MOMENT_2 = -4010,
  QST_SS_ERROR_CENTRAL_MOMENT_3 = -4011,
  QST_SS_ERROR_CENTRAL_MOMENT_4 = -4012,
  QST_SS_ERROR_KURTOSIS = -4013,
  QST_SS_ERROR_SKEWNESS = -4014,
  QST_SS_ERROR_MINIMUM = -4015,
  QST_SS_ERROR_MAXIMUM = -4016,
  QST_SS_ERROR_VARIATION = -4017,
  QST_SS_ERROR_COVARIANCE = -4018,
  QST_SS_ERROR_CORRELATION = -4019,
  QST_SS_ERROR_ACCUM_WEIGHT = -4020,
  QST_SS_ERROR_QUANTILE_ORDERS = -4021,
  QST_SS_ERROR_QUANTILE_ORDER_COUNT = -4022,
  QST_SS_ERROR_QUANTILES = -4023,
  QST_SS_ERROR_ORDER_STATISTICS = -4024,
  QST_SS_ERROR_ROBUST_COVARIANCE = -4027,
  QST_SS_ERROR_ROBUST_MEAN = -4028,
  QST_SS_ERROR_METHOD = -4029,
  QST_SS_ERROR_TASK = -4031,
  QST_SS_ERROR_OBSERVATIONS = -4032,
  QST_SS_ERROR_POOLED_COVARIANCE = -4034,
  QST_SS_ERROR_POOLED_MEAN = -4035,
  QST_SS_ERROR_GROUP_COVARIANCE = -4036,
  QST_SS_ERROR_GROUP_MEAN = -4037,
  QST_SS_ERROR_GROUP_INDICES = -4038,
  QST_SS_ERROR_OUTLIER_PARAMS = -4039,
  QST_SS_ERROR_OUTLIER_PARAM_COUNT = -4040,
  QST_SS_ERROR_OUTLIER_WEIGHTS = -4041,
  QST_SS_ERROR_ROBUST_PARAMS = -4042,
  QST_SS_ERROR_ROBUST_PARAM_COUNT = -4043,
  QST_SS_ERROR_STORAGE_WORD = -4044,
  QST_SS_ERROR_PARTIAL_INDICES = -4045,
  QST_SS_ERROR_PARTIAL_COVARIANCE = -4046,
  QST_SS_ERROR_PARTIAL_CORRELATION = -4047,
  QST_SS_ERROR_MISSING_PARAMS = -4048,
  QST_SS_ERROR_MISSING_PARAM_COUNT = -4049,
  QST_SS_ERROR_MISSING_INIT_COUNT = -4052,
  QST_SS_ERROR_MISSING_INIT = -4053,
  QST_SS_ERROR_MISSING_SIMULATION = -4054,
  QST_SS_ERROR_MISSING_SIMULATION_COUNT = -4055,
  QST_SS_ERROR_MISSING_ESTIMATE_COUNT = -4056,
  QST_SS_ERROR_MISSING_ESTIMATES = -4057,
  QST_SS_ERROR_MISSING_PRIOR_COUNT = -4061,
  QST_SS_ERROR_MISSING_PRIOR = -4062,
  QST_SS_ERROR_NO_STREAM_PARAM_COUNT = -4064,
  QST_SS_ERROR_STREAM_PARAMS = -4065,
  QST_SS_ERROR_STREAM_PARAM_COUNT = -4066,
  QST_SS_ERROR_EPSILON = -4067,
  QST_SS_ERROR_STREAM_QUANTILE_ORDERS = -4068,
  QST_SS_ERROR_STREAM_QUANTILE_ORDER_COUNT = -4069,
  QST_SS_ERROR_STREAM_QUANTILES = -4070,
  QST_SS_ERROR_PARAM_CORRELATION = -4071,
  QST_SS_ERROR_SUM = -4074,
  QST_SS_ERROR_RAW_SUM_2 = -4075,
  QST_SS_ERROR_RAW_SUM_3 = -4076,
  QST_SS_ERROR_RAW_SUM_4 = -4077,
  QST_SS_ERROR_CENTRAL_SUM_2 = -4078,
  QST_SS_ERROR_CENTRAL_SUM_3 = -4079,
  QST_SS_ERROR_CENTRAL_SUM_4 = -4080,
  QST_SS_ERROR_CROSS_PRODUCT = -4081,
  QST_SS_ERROR_MEDIAN_ABS_DEVIATION = -4082,
  QST_SS_ERROR_MEAN_ABS_DEVIATION = -4083,
  QST_SS_ERROR_SORTED_OBSERVATIONS = -4084,
  QST_SS_ERROR_SORT_INDICES = -4085
};

typedef struct QstSSTask QstSSTask;

/* ---- Task and editors ------------------------------------------------------------------------------------------- */

/* Frees the task and what it owns, never the caller's arrays, and stores null behind `task`. The pointer behind `task`
   must be a task. Statuses: -4031 for a null address. */
QLX_API int32_t __qstSSDeleteTask(QstSSTask** task);

/* Registers integer `value` under one of the integer codes. Statuses in the order checked: -4031 task null, -3 code
   outside 1..79 or not an integer's, the member's own status when value is null. */
QLX_API int32_t __qstiSSEditTask(QstSSTask* task, int64_t code, const void* value);

#define QLX_QST_SS_DECLARE_TASK(P, T)                                                                                  \
  /* Makes a task and stores its address behind `task`. p, n and xStorage are addresses of integers, x is the dataset, \
     weights is null or n weights, indices is null or p integers of which a zero excludes the variable. A task can be  \
     made without data (x null); then n and xStorage are stored unread. Statuses in the order checked: -4001 p null or \
     not positive; unless x is null: -4044 xStorage null, -4003 neither 0x10000 nor 0x20000, -4002 n null or not       \
     positive; -4000 no memory (null is stored behind `task`). */                                                      \
  QLX_API int32_t __qst##P##SSNewTask(QstSSTask** task, const void* p, const void* n, const void* xStorage,            \
                                      const T* x, const T* weights, const void* indices, int32_t wideIntegers);        \
  /* Registers real array `value` under one of the real codes; result arrays are written by the compute entries.       \
     Statuses in the order checked: -4031 task null, -3 code outside 3..78 or not a real's, the member's own status    \
     when value is null. */                                                                                            \
  QLX_API int32_t __qst##P##SSEditTask(QstSSTask* task, int64_t code, const T* value);                                 \
  /* The special editors register several addresses at once; a null leaves its member as it was. Status: -4031 task    \
     null. */                                                                                                          \
  QLX_API int32_t __qst##P##SSEditMoments(QstSSTask* task, T* mean, T* rawMoment2, T* rawMoment3, T* rawMoment4,       \
                                          T* centralMoment2, T* centralMoment3, T* centralMoment4);                    \
  QLX_API int32_t __qst##P##SSEditSums(QstSSTask* task, T* sum, T* rawSum2, T* rawSum3, T* rawSum4, T* centralSum2,    \
                                       T* centralSum3, T* centralSum4);                                                \
  QLX_API int32_t __qst##P##SSEditCovCor(QstSSTask* task, T* mean, T* covariance, const void* covarianceStorage,       \
                                         T* correlation, const void* correlationStorage);                              \
  QLX_API int32_t __qst##P##SSEditCP(QstSSTask* task, T* mean, T* sum, T* crossProduct,                                \
                                     const void* crossProductStorage);                                                 \
  QLX_API int32_t __qst##P##SSEditPartialCovCor(                                                                       \
      QstSSTask* task, const void* partialIndices, const T* covariance, const void* covarianceStorage,                 \
      const T* correlation, const void* correlationStorage, T* partialCovariance,                                      \
      const void* partialCovarianceStorage, T* partialCorrelation, const void* partialCorrelationStorage);             \
  QLX_API int32_t __qst##P##SSEditQuantiles(QstSSTask* task, const void* quantileOrderCount, const T* quantileOrders,  \
                                            T* quantiles, T* orderStatistics, const void* orderStatisticsStorage);     \
  QLX_API int32_t __qst##P##SSEditStreamQuantiles(QstSSTask* task, const void* streamQuantileOrderCount,               \
                                                  const T* streamQuantileOrders, T* streamQuantiles,                   \
                                                  const void* streamParamCount, const T* streamParams);                \
  QLX_API int32_t __qst##P##SSEditPooledCovariance(QstSSTask* task, const void* groupIndices, T* pooledMean,           \
                                                   T* pooledCovariance, const void* groupCovIndices, T* groupMean,     \
                                                   T* groupCovariance);                                                \
  QLX_API int32_t __qst##P##SSEditRCov(QstSSTask* task, const void* robustCovarianceStorage,                           \
                                       const void* robustParamCount, const T* robustParams, T* robustMean,             \
                                       T* robustCovariance);                                                           \
  QLX_API int32_t __qst##P##SSEditOutDetect(QstSSTask* task, const void* outlierParamCount, const T* outlierParams,    \
                                            T* outlierWeights);                                                        \
  QLX_API int32_t __qst##P##SSEditMissingVals(                                                                         \
      QstSSTask* task, const void* missingParamCount, const T* missingParams, const void* missingInitCount,            \
      const T* missingInit, const void* missingPriorCount, const T* missingPrior, const void* missingSimulationCount,  \
      T* missingSimulation, const void* missingEstimateCount, T* missingEstimates);                                    \
  QLX_API int32_t __qst##P##SSEditMtxParametrz(QstSSTask* task, const T* correlation, const void* correlationStorage,  \
                                               T* paramCorrelation, const void* paramCorrelationStorage);

QLX_QST_SS_DECLARE_TASK(d, double)
QLX_QST_SS_DECLARE_TASK(s, float)
#undef QLX_QST_SS_DECLARE_TASK

/* ---- Estimators ------------------------------------------------------------------------------------------------- */
/* Every estimator takes the task, a mask of estimates, a method word and the table of threading functions (null: no
   threads). Threads write disjoint parts and take no locks. For a given number of threads a result is the same from
   run to run; between numbers of threads it differs by the rounding of the merge. */

#define QLX_QST_SS_DECLARE_ESTIMATORS(P, T)                                                                            \
  /* Means, raw and central moments and sums, skewness, kurtosis, variation, covariance, correlation, cross-product:   \
       W = sum w_j, W2 = sum w_j^2, mean = sum w_j x_j / W, raw k = sum w_j x_j^k / W, S_k = sum w_j (x_j - mean)^k,   \
       central 2 = S_2 W / (W^2 - W2), central 3, 4 = S_k / W, kurtosis = c4 / c2^2 - 3, skewness = c3 / c2^1.5,       \
       variation = sqrt(c2) / mean, C = sum w_j d_j d_j^T, covariance = C / (W - W2 / W),                              \
       correlation_ik = C_ik / sqrt(C_ii C_kk), sum k = W raw k, central sum k = S_k, cross-product = C.               \
     Continued runs: `accumWeight` (two reals, W and W2) and the results of one call start the next; W = 0 starts      \
     afresh. Central values of order 3 and 4 go on from the lower orders too, so register these. Correlation alone     \
     goes on from a registered covariance or cross-product.                                                            \
     Method: 0x1 fast, 0x2 one-pass (B. P. Welford, Note on a method for calculating corrected sums of squares and     \
     products, 1962; merges by P. Pebay, Formulas for robust, one-pass parallel computation of covariances and         \
     arbitrary-order statistical moments, 2008), 0x100 about the mean given in `mean` (sums are taken as about the     \
     true mean), 0x200 and 0x400 without a sweep from `crossProduct` and from the sums.                                \
     A variable excluded by `indices` keeps its entries. Results must not overlap the dataset or the weights. Two      \
     results may be one array of a run in a single call; the one stored last stays: correlation, covariance,           \
     cross-product, then for each vector moment and sum, then kurtosis, skewness, variation.                           \
     Reciprocal roots of a correlation come from the table of InvSqrt, high accuracy, whatever the mode: a variable    \
     of no variance is reported there as a pole, and its correlations are NaN.                                         \
     Statuses in the order checked: -4031 task null; -4029 not exactly one of 0x1, 0x2, 0x100 (nor 0x200 or 0x400      \
     without them); a needed result that is null, in the order mean, raw 2 to 4, central 2 to 4, covariance,           \
     correlation, kurtosis, skewness, variation, sum, raw sums, central sums, cross-product: its status; with a sweep: \
     -4002 n, -4032 dataset, -4044 and -4003 its storage; without: -4020 accumWeight null where n alone does not say   \
     the weights. -4000 from any point when scratch can't be had. */                                                   \
  QLX_API int32_t _qst##P##SSBasic(QstSSTask* task, uint64_t estimateMask, uint64_t method,                            \
                                   const QlxThreadTable* threadTable);                                                 \
  /* Extremes: minimum = min(minimum, x), maximum = max(maximum, x); both arrays hold starting values on entry. A NaN  \
     observation never replaces a value and a NaN in the array stays. Method: 0x1 or 0x2. Statuses in the order        \
     checked: -4031 task null, -4003 dataset storage, -4015 minimum null, -4016 maximum null, -4029 method, -4002 n    \
     null or not positive, -4032 dataset null, -4000 memory. */                                                        \
  QLX_API int32_t _qst##P##SSMinmax(QstSSTask* task, uint64_t estimateMask, uint64_t method,                           \
                                    const QlxThreadTable* threadTable);                                                \
  /* Quantiles by linear interpolation between order statistics (type 7 of R. J. Hyndman and Y. Fan, Sample quantiles  \
     in statistical packages, 1996): with ranks from 0, h = (n - 1) q,                                                 \
     k = floor(h), f = h - k: (1 - f) x_(k) + f x_(k+1), which is x_(k) where f = 0.                                   \
     `quantiles` holds the orders of a variable together: quantiles[i * count + o]. Order statistics: the sorted p by  \
     n dataset, in `orderStatisticsStorage` form. Method: 0x1. NaN observations have no rank: they make the order      \
     statistics of their variable meaningless. Statuses in the order checked: -4031 task null; -4003 dataset storage;  \
     -4023, -4021, -4022 quantiles, orders, count or an order outside [0, 1]; -4024, -4044, -4003 order statistics and \
     their storage; -4029 method; -4002 n null or not positive; -4032 dataset null; -4000 memory. */                   \
  QLX_API int32_t _qst##P##SSQuantiles(QstSSTask* task, uint64_t estimateMask, uint64_t method,                        \
                                       const QlxThreadTable* threadTable);                                             \
  /* Sorts every variable of the dataset upwards into `sortedObservations`, which may be the dataset itself. The mask  \
     is not read. Method: 0x100000. Statuses in the order checked: -4031 task null; -4084 and -4044 output and its     \
     storage null; in place: -4044 storages differ, -4085 indices not null; -4003 a storage word; -4029 method; -4002  \
     n null or not positive; -4032 dataset null; -4000 memory. */                                                      \
  QLX_API int32_t _qst##P##SSSort(QstSSTask* task, uint64_t estimateMask, uint64_t method,                             \
                                  const QlxThreadTable* threadTable);                                                  \
  /* Quantiles of data that arrive in blocks, in memory that grows as log^2(epsilon n) / epsilon: the rank of every    \
     answer is within epsilon n of the wanted rank (Q. Zhang and W. Wang, A fast algorithm for approximate quantiles   \
     in high speed data streams, 2007). streamParams[0] is epsilon in (0, 1]. streamQuantiles[i * count + o] as in     \
     Quantiles; NaN while nothing was taken in. Method: 0x80 takes the block in, 0x40 also answers; n may be 0. The    \
     mask is not read, weights are not used. p must not change between calls. NaN observations must not occur.         \
     Statuses in the order checked: -4031 task null; -4002 n null or negative; unless n is 0: -4032, -4044, -4003      \
     dataset and its storage; -4070 streamQuantiles null; -4068 orders null; -4069 count null or negative; -4064       \
     streamParamCount null, -4066 not 1; -4069 an order outside [0, 1]; -4065 streamParams null; -4029 method; -4067   \
     epsilon; -4000 memory (what was taken in before stays); -4004 no variable is included, or one is that the first   \
     call excluded. */                                                                                                 \
  QLX_API int32_t _qst##P##SSStreamQuantiles(QstSSTask* task, uint64_t estimateMask, uint64_t method,                  \
                                             const QlxThreadTable* threadTable);                                       \
  /* Sorts a[0..n) upwards in place (quicksort with median of three). */                                               \
  QLX_API void __qst##P##QSort(int64_t n, T* a);                                                                       \
  /* The same over the n elements a[0], a[step], a[2 step], ... */                                                     \
  QLX_API void __qst##P##QSortStep(int64_t n, T* a, int64_t step);                                                     \
  /* The element of rank k, counted from 0; on return a[k] is that element, none after it is smaller and none before   \
     it larger. */                                                                                                     \
  QLX_API T __qst##P##QSortSelect(int64_t n, T* a, int64_t k);

QLX_QST_SS_DECLARE_ESTIMATORS(d, double)
QLX_QST_SS_DECLARE_ESTIMATORS(s, float)
#undef QLX_QST_SS_DECLARE_ESTIMATORS

/* Frees the buffers of the streaming quantiles of a task; deletion of the task calls it. Null buffers are allowed. */
QLX_API void __qstSQuantilesFreeBuffers(QstSSTask* task);

QLX_END_C

#endif
