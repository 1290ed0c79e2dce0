/* Data fitting: spline tasks, cell search, construction, evaluation and integration.
   SPDX-License-Identifier: Apache-2.0

   A task (DFTask) describes n points x[0] < ... < x[n-1] (the partition), F functions sampled on them and a piecewise
   polynomial spline. It borrows the caller's arrays: they must live as long as the task uses them. The letter d or s
   in a name tells the element type, double or float; both types of task share editors without such a letter.

   The calls in their usual order:

     DFTask *task = NULL;
     qlx_df_kernel_dNewTask1D(&task, n, x, DF_NON_UNIFORM, 1, y, DF_ROWS, 0);
     qlx_df_kernel_dEditPPSpline1D(task, 4, 0, DF_BC_FREE_END, NULL, 0, NULL, coefficients, DF_ROWS);
     qlx_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, services);
     qlx_df_kernel_dDFInterpolate1D(task, 0, 0, m, sites, 0, NULL, 1, orders, results, DF_ROWS, NULL, NULL, services);
     qlx_df_kernel_DeleteTask(&task);

   Every function returns a status: 0 for success, else one of the negative numbers below. The first check that fails
   decides, in the order in which a function's comment lists them. A task has no lock: do not edit it while another
   thread uses it. `services` is the core library's table of threading functions; null keeps a call on its thread. */
#ifndef QLX_DF_H
#define QLX_DF_H

#include <stdint.h>

#include "qlx/api.h"
#include "qlx/core.h" /* QlxThreadTable */

QLX_BEGIN_C

/* ---- Statuses --------------------------------------------------------------------------------------------------- */

enum {
  DF_OK = 0,
  DF_NULL_TASK = -1000,
  DF_NO_MEMORY = -1001,
  DF_BAD_METHOD = -1002,         /* method word, or the quadratic entry's spline type */
  DF_BAD_PARTITION_SIZE = -1004, /* too few points */
  DF_BAD_PARTITION = -1005,      /* null */
  DF_BAD_PARTITION_HINT = -1006,
  DF_BAD_FUNCTION_COUNT = -1007,
  DF_BAD_FUNCTION = -1008, /* null */
  DF_BAD_FUNCTION_HINT = -1009,
  DF_BAD_SPLINE_ORDER = -1010,
  DF_BAD_SPLINE_TYPE = -1011, /* also: order and type that evaluation does not know */
  DF_BAD_INTERNAL_TYPE = -1012,
  DF_BAD_INTERNAL_CONDITIONS = -1013, /* null */
  DF_BAD_BOUNDARY_TYPE = -1014,
  DF_BAD_BOUNDARY_CONDITIONS = -1015, /* null */
  DF_BAD_COEFFICIENTS = -1016,        /* null */
  DF_BAD_COEFFICIENT_HINT = -1017,
  DF_NOT_PERIODIC = -1018,  /* first and last value differ */
  DF_BAD_ATTRIBUTE = -1019, /* code outside its table */
  DF_BAD_INDEX = -1020,
  DF_BAD_SITES = -1022, /* null sites or limits, or a negative number of them */
  DF_BAD_DERIVATIVE_COUNT = -1024,
  DF_BAD_DERIVATIVE_ORDERS = -1025,
  DF_BAD_SITE_PARAMETERS = -1026,
  DF_BAD_AUXILIARY_FLAG = -1036,
  DF_NULL_OUTPUT = -1037
};

/* ---- Codes ------------------------------------------------------------------------------------------------------ */

/* Partition hints. A uniform partition is passed as its two end points. */
enum { DF_PARTITION_UNKNOWN = 0, DF_NON_UNIFORM = 1, DF_QUASI_UNIFORM = 2, DF_UNIFORM = 4 };

/* Storage hints of functions, coefficients and results. 0 means DF_ROWS. */
enum {
  DF_ROWS = 16,        /* one block, one function after another */
  DF_INTERLEAVED = 32, /* one block, all functions' values at one point adjacent (for coefficients: as DF_ROWS) */
  DF_FIRST_ROW = 128   /* a row anywhere; only row 0 is passed, the others come through qlx_df_kernel_dEditIdxPtr */
};

/* Site hints; with any other value nothing is known of the sites. */
enum {
  DF_UNIFORM_SITES = 4, /* the array holds two numbers: the first and the last of equally spaced sites */
  DF_SORTED_SITES = 64  /* ascending */
};

/* Boundary conditions. Where values are needed, boundary_conditions[0] is the left end's, [1] the right end's; they
   hold for all functions. */
enum {
  DF_BC_NONE = 0,
  DF_BC_NOT_A_KNOT = 1,
  DF_BC_FREE_END = 2, /* second derivative 0 */
  DF_BC_1ST_1ST = 12, /* first derivative left, first derivative right */
  DF_BC_2ND_1ST = 24,
  DF_BC_1ST_2ND = 36,
  DF_BC_2ND_2ND = 48,
  DF_BC_PERIODIC = 64,
  DF_BC_MIDDLE_VALUE = 128 /* the function's value in the middle of the first cell; quadratic type 0 */
};

/* Internal conditions. */
enum {
  DF_IC_NONE = 0,
  DF_IC_1ST_DERIVATIVE = 1, /* at x[1] to x[n-2]: n - 2 numbers, for all functions */
  DF_IC_2ND_DERIVATIVE = 2, /* likewise */
  DF_IC_KNOTS = 8,          /* quadratic type 1: the n + 1 knots, ascending */
  DF_IC_UNIFORM_KNOTS = 12  /* quadratic type 1: the first and the last of n + 1 equally spaced knots */
};

/* Attributes of qlx_df_kernel_?EditPtr, ?QueryPtr, ?EditIdxPtr (2 and 5) and ?QueryIdxPtr (2 and 5). */
enum { DF_PARTITION = 1, DF_FUNCTION = 2, DF_INTERNAL_CONDITIONS = 3, DF_BOUNDARY_CONDITIONS = 4, DF_COEFFICIENTS = 5 };

/* Attributes of qlx_df_kernel_iEditVal and iQueryVal. */
enum {
  DF_PARTITION_SIZE = 14,
  DF_PARTITION_HINT = 15,
  DF_FUNCTION_COUNT = 16,
  DF_FUNCTION_HINT = 17,
  DF_SPLINE_ORDER = 18,
  DF_SPLINE_TYPE = 19,
  DF_INTERNAL_TYPE = 20,
  DF_BOUNDARY_TYPE = 21,
  DF_COEFFICIENT_HINT = 22,
  DF_AUXILIARY_FLAG = 23
};

/* Step interpolants: `kind` of qlx_df_kernel_?DFInterpolate1D and ?DFIntegrate1D when the spline order is 0. */
enum {
  DF_STEP_LEFT_CONTINUOUS = 22,  /* y[k] for x[k-1] < t <= x[k] */
  DF_STEP_RIGHT_CONTINUOUS = 23, /* y[k] for x[k] <= t < x[k+1] */
  DF_PEAK_LOOKUP = 24            /* y at the point nearest to t; halfway, at the right one */
};

typedef struct DFTask DFTask;

/* ---- Callbacks --------------------------------------------------------------------------------------------------- */
/* Called on whatever thread works on the sites at hand, at times on several at once. A negative result ends the call,
   which returns it. */

#define QLX_DF_DECLARE_CALLBACKS(S, T)                                                                                \
  /* Finds cells of *site_count sites. A result of 1000: every cell is final. Any other result from 0 up: cells[i] is \
     final where flags[i] is not 0 (flags come in as 0), and a first guess where it is 0. `method` is the method word \
     of the call that searches. Cells are numbered as in qlx_df_kernel_dDFSearch1D. */                                \
  typedef int32_t (*QlxDfSearch##S)(const int64_t* site_count, const T* sites, int64_t* cells, int32_t* flags,        \
                                    void* user_parameters, int64_t method);                                           \
  /* Stores in results[i] the derivative of order `order` of function `function` at sites[i], all on one side outside \
     the partition. */                                                                                                \
  typedef int32_t (*QlxDfExtrapolate##S)(int64_t function, int64_t order, int64_t site_count, const T* sites,         \
                                         T* results, void* user_parameters);                                          \
  /* Stores in *result the integral of function `function` from `left` to `right`, left < right, both outside the     \
     partition on one side or on its end. */                                                                          \
  typedef int32_t (*QlxDfIntegral##S)(int64_t function, T left, T right, T * result, void* user_parameters);          \
                                                                                                                      \
  /* Any member may be null: then the library searches, and the end polynomials go on outside the partition. */       \
  typedef struct QlxDfCallbacks##S {                                                                                  \
    QlxDfSearch##S search;                                                                                            \
    void* search_parameters;                                                                                          \
    QlxDfExtrapolate##S left_extrapolate; /* sites below x[0] */                                                      \
    void* left_extrapolate_parameters;                                                                                \
    QlxDfExtrapolate##S right_extrapolate; /* sites above x[n-1] */                                                   \
    void* right_extrapolate_parameters;                                                                               \
    QlxDfIntegral##S left_integral;                                                                                   \
    void* left_integral_parameters;                                                                                   \
    QlxDfIntegral##S right_integral;                                                                                  \
    void* right_integral_parameters;                                                                                  \
  } QlxDfCallbacks##S;

QLX_DF_DECLARE_CALLBACKS(D, double)
QLX_DF_DECLARE_CALLBACKS(S, float)
#undef QLX_DF_DECLARE_CALLBACKS

/* ---- Tasks ------------------------------------------------------------------------------------------------------- */

/* qlx_df_kernel_?NewTask1D creates a task in *task. `partition` holds partition_size points (two when the hint is
   DF_UNIFORM), `function` the values of function_count functions as the hint tells. wide_integers 0 makes
   qlx_df_kernel_iQueryVal write 32-bit integers, any other value 64-bit ones.
   Statuses: -1004 (below 2 points), -1005, -1006, -1008 (functions but no pointer), -1007 (a pointer but no functions),
   -1009, -1001. After -1001 *task may be set: delete it.

   qlx_df_kernel_?EditPPSpline1D describes the spline. A row of coefficients is spline_order * (n - 1) elements long,
   spline_order * n for spline type 1. Attributes that passed are kept when a later one fails.
   Statuses: -1000, -1010, -1011, -1015 (null values for a code other than 0, 1, 2 and 64), -1013, -1012, -1007 (a
   pointer but no functions), -1001.

   qlx_df_kernel_?EditPtr changes one array. The search table stays: after a new partition or partition size set
   DF_PARTITION_HINT to DF_NON_UNIFORM again, which rebuilds it; after a new function count or function hint pass the
   functions and the coefficients again. Statuses: -1000, -1019, then by attribute -1005; -1008, -1001; -1013; -1015;
   -1016, -1007, -1001.

   qlx_df_kernel_?EditIdxPtr changes one function's row of values (2) or coefficients (5). Statuses: -1000, for 2
   -1009 (interleaved), -1020, -1008; for 5 -1020, -1016; else -1019.

   qlx_df_kernel_?QueryPtr stores an array's address in *pointer; for 2 and 5 that of row 0, and the task must have
   such rows. Statuses: -1000, -1037, -1019.

   qlx_df_kernel_?QueryIdxPtr stores a row's address; an index equal to the function count gives the entry after the
   last, which is of no use. Statuses: -1000, -1037, -1020, for 2 -1009 (interleaved), -1019. */
#define QLX_DF_DECLARE_TASK(P, T)                                                                                  \
  QLX_API int32_t qlx_df_kernel_##P##NewTask1D(DFTask** task, int64_t partition_size, const T* partition,          \
                                               int64_t partition_hint, int64_t function_count, const T* function,  \
                                               int64_t function_hint, int32_t wide_integers);                      \
  QLX_API int32_t qlx_df_kernel_##P##EditPPSpline1D(DFTask* task, int64_t spline_order, int64_t spline_type,       \
                                                    int64_t boundary_condition_type, const T* boundary_conditions, \
                                                    int64_t internal_condition_type, const T* internal_conditions, \
                                                    T* coefficients, int64_t coefficient_hint);                    \
  QLX_API int32_t qlx_df_kernel_##P##EditPtr(DFTask* task, int64_t code, const void* pointer);                     \
  QLX_API int32_t qlx_df_kernel_##P##EditIdxPtr(DFTask* task, int64_t code, int64_t index, const void* pointer);   \
  QLX_API int32_t qlx_df_kernel_##P##QueryPtr(const DFTask* task, int64_t code, void** pointer);                   \
  QLX_API int32_t qlx_df_kernel_##P##QueryIdxPtr(const DFTask* task, int64_t code, int64_t index, void** pointer);

QLX_DF_DECLARE_TASK(d, double)
QLX_DF_DECLARE_TASK(s, float)
#undef QLX_DF_DECLARE_TASK

/* Sets one integer attribute (DF_PARTITION_SIZE to DF_AUXILIARY_FLAG). Setting DF_PARTITION_HINT to DF_NON_UNIFORM
   rebuilds the search table from the partition's partition_size points. Statuses: -1000, -1019, the attribute's own
   (-1004, -1006, -1007, -1009, -1010, -1011, -1012, -1014, -1017, -1036), -1001. */
QLX_API int32_t qlx_df_kernel_iEditVal(DFTask* task, int64_t code, int64_t value);

/* Stores the attribute in *value: an int64_t or an int32_t, as wide_integers told. Statuses: -1000, -1037, -1019. */
QLX_API int32_t qlx_df_kernel_iQueryVal(const DFTask* task, int64_t code, void* value);

/* Releases the task with its own tables, never the caller's arrays, and sets *task to null. Status: -1000. */
QLX_API int32_t qlx_df_kernel_DeleteTask(DFTask** task);

/* ---- Cell search ------------------------------------------------------------------------------------------------- */

/* qlx_df_kernel_?DFSearch1D stores in cells[i], for i < site_count, the cell that holds sites[i]:

     0 when t < x[0];  k, 1 to n - 1, when x[k-1] <= t < x[k];  n - 1 also when t = x[n-1];  n when t > x[n-1]

   A NaN gets some cell from 0 to n. `method` is handed on to user_search. site_parameters is null or holds five
   elements: element 1 asks for the hybrid search (0) or for the search around a peak (1), which expects all sites near
   the cell given in element 4. The method is: user_search when not null; by the partition's hint (uniform,
   quasi-uniform); for DF_SORTED_SITES a merge; else as site_parameters asks; else hybrid, that is the task's bucket
   table and then bisection. More than 3000 sites are shared among threads.
   Statuses: -1000, -1026, -1001 (more than 4096 uniform sites), a negative one of user_search.

   The kernels behind it work on a contiguous run of sites on the calling thread; a name that ends in 32 does the same.
   `scale` is (n - 1) / (last point - first point), and search_scale of the task for the hybrid search, whose table
   has min(max(n / 16, 16), 1024) + 1 pairs in use. *start_cell is where the merge starts, and where it ended. */
#define QLX_DF_DECLARE_SEARCH_KERNELS(P, S, T, SUFFIX)                                                              \
  QLX_API int32_t qlx_df_kernel_##P##DFUniformSearch1D##SUFFIX(                                                     \
      int64_t partition_size, const T* partition, int64_t site_count, const T* sites, int32_t* cells, T scale);     \
  QLX_API int32_t qlx_df_kernel_##P##DFQuasiUniformSearch1D##SUFFIX(                                                \
      int64_t partition_size, const T* partition, int64_t site_count, const T* sites, int32_t* cells, T scale);     \
  QLX_API int32_t qlx_df_kernel_##P##DFSortedSearch1D##SUFFIX(int64_t partition_size, const T* partition,           \
                                                              int64_t site_count, const T* sites, int32_t* cells,   \
                                                              int32_t* start_cell);                                 \
  QLX_API int32_t qlx_df_kernel_##P##DFPeakSearch1D##SUFFIX(                                                        \
      int64_t partition_size, const T* partition, int64_t site_count, const T* sites, int32_t* cells, T peak_cell); \
  QLX_API int32_t qlx_df_kernel_##P##DFHybridSearch1D##SUFFIX(int64_t partition_size, const T* partition,           \
                                                              int64_t site_count, const T* sites, int32_t* cells,   \
                                                              T scale, const int32_t* search_table);                \
  QLX_API int32_t qlx_df_kernel_##P##DFUserDefSearch1D##SUFFIX(int64_t partition_size, const T* partition,          \
                                                               int64_t site_count, const T* sites, int32_t* cells,  \
                                                               QlxDfSearch##S user_search, void* user_parameters);  \
  QLX_API int32_t qlx_df_kernel_##P##DFUniUserDefSearch1D##SUFFIX(                                                  \
      int64_t partition_size, const T* partition, int64_t site_count, const T* sites, int32_t* cells,               \
      QlxDfSearch##S user_search, void* user_parameters, T scale);

#define QLX_DF_DECLARE_SEARCH(P, S, T)                                                                             \
  QLX_API int32_t qlx_df_kernel_##P##DFSearch1D(const DFTask* task, int64_t method, int64_t site_count,            \
                                                const T* sites, int64_t site_hint, const T* site_parameters,       \
                                                int32_t* cells, QlxDfSearch##S user_search, void* user_parameters, \
                                                const QlxThreadTable* services);                                   \
  QLX_DF_DECLARE_SEARCH_KERNELS(P, S, T, )                                                                         \
  QLX_DF_DECLARE_SEARCH_KERNELS(P, S, T, 32)

QLX_DF_DECLARE_SEARCH(d, D, double)
QLX_DF_DECLARE_SEARCH(s, S, float)
#undef QLX_DF_DECLARE_SEARCH
#undef QLX_DF_DECLARE_SEARCH_KERNELS

/* ---- Construction ------------------------------------------------------------------------------------------------ */

/* Each entry writes the coefficients of all functions of the task. Cell i of a row occupies spline_order elements, the
   lowest power first, of the polynomial in u = t - x[i]:  p(t) = c0 + c1 u + c2 u^2 + c3 u^3. Terms beyond a kind's own
   degree are stored as 0, so that a linear spline may be kept with spline_order 4. A spline_order below the kind's own
   (2, 3, 4) is taken as its own. `word` is not read; `method` must be 0 for Linear and Natural. With
   h[i] = x[i+1] - x[i], s[i] = (y[i+1] - y[i]) / h[i] and d[i] = p'(x[i]):

     Linear         c1 = s[i].
     Quadratic      type 0: knots at the points, continuous first derivative, boundary code 128.
                    type 1: Subbotin's spline; cell i lies between the knots z[i] and z[i+1] of the internal conditions,
                    holds the point x[i] (z[i] <= x[i] <= z[i+1], z[0] to z[n]) and there are n cells. Boundary codes
                    12, 24, 36, 48. (Subbotin 1967; de Boor, A Practical Guide to Splines, 1978, chapter VI.)
     DefaultCubic   p''(x[i]) of the inner points as the internal conditions give them (code 2), or p'(x[i]) (code 1);
                    without internal conditions it is Natural.
     NaturalCubic   two continuous derivatives (de Boor 1978, chapter IV).
     HermiteCubic   d[i] of the inner points as the internal conditions give them; without them
                    d[i] = (y[i+1] - y[i-1]) / (x[i+1] - x[i-1]) (Catmull and Rom 1974).
     BesselCubic    d[i] of the parabola through three points (de Boor 1978, chapter IV).
     HymanCubic     Bessel's d[i] limited to keep each cell monotone (Hyman 1983; de Boor and Swartz 1977). Derivatives
                    given as boundary values are not limited.
     AkimaCubic     Akima, Journal of the ACM 17 (1970) 589-602; boundary code 0 is the paper's own ending.

   Ends of the cubic kinds: codes 1 to 64; Akima also 0.
   Statuses: -1002, -1004 (points below 2 for Linear; 3 Default, Hermite; 2 Natural, 3 with code 1; 4 Bessel, Hyman;
   5 Akima), -1009, -1014, -1015, -1018, -1016 (the task has no coefficients), -1001. Quadratic: -1009, -1014, -1015
   for type 0, -1012, -1014, -1015 for type 1, -1002 for any other type, -1016, -1001. Nothing is written before the
   last check has passed. */
#define QLX_DF_DECLARE_SPLINE(NAME)                                                             \
  QLX_API int32_t qlx_df_kernel_dDF##NAME##Spline1D(DFTask* task, int64_t word, int64_t method, \
                                                    const QlxThreadTable* services);            \
  QLX_API int32_t qlx_df_kernel_sDF##NAME##Spline1D(DFTask* task, int64_t word, int64_t method, \
                                                    const QlxThreadTable* services);

QLX_DF_DECLARE_SPLINE(Linear)
QLX_DF_DECLARE_SPLINE(Quadratic)
QLX_DF_DECLARE_SPLINE(DefaultCubic)
QLX_DF_DECLARE_SPLINE(NaturalCubic)
QLX_DF_DECLARE_SPLINE(HermiteCubic)
QLX_DF_DECLARE_SPLINE(BesselCubic)
QLX_DF_DECLARE_SPLINE(HymanCubic)
QLX_DF_DECLARE_SPLINE(AkimaCubic)
#undef QLX_DF_DECLARE_SPLINE

/* ---- Evaluation and integration ---------------------------------------------------------------------------------- */

/* qlx_df_kernel_?DFInterpolate1D evaluates derivatives of the spline that the task's coefficients hold:

     result(f, k, i) = d^orders[k] p_f / dt^orders[k] (sites[i])

   task              its spline order and type tell what is evaluated: order 3 with type 0 or 1; order 4 with type 0, 2,
                     3, 4, 5 or 9; order 0 with `kind`. Order 0 reads the function values and no coefficients.
   kind              read when the order is 0 only: DF_STEP_LEFT_CONTINUOUS, ..., DF_PEAK_LOOKUP.
   method            handed on to callbacks->search.
   sites             site_count sites, or two with DF_UNIFORM_SITES.
   site_parameters   as for qlx_df_kernel_dDFSearch1D, with all that is told there of the search.
   orders            derivative_count orders of derivatives from 0 up, in any sequence. Orders beyond the degree give 0,
                     and every order NaN where the site is NaN.
   results           null when derivative_count is 0; else by result_hint
                       DF_ROWS or 0     results[(f * derivative_count + k) * site_count + i]
                       DF_INTERLEAVED   results[(i * function_count + f) * derivative_count + k]
                     May not overlap any other array.
   cells             null, or takes the cells of the sites, of the knots z for quadratic type 1.
   callbacks         null for none. Without an extrapolation callback the end polynomials go on outside the partition;
                     the step interpolants keep the value of the end point.

   More than 3000 sites are shared among threads, with the same results. Statuses: -1000, -1011, -1022, -1024 (negative,
   or results null while it is not 0), -1025 (null or negative), -1017 (result_hint), -1016 (no coefficients) or
   -1008 (no functions), -1026, a callback's own. No memory is taken.

   qlx_df_kernel_?DFIntegrate1D integrates it:

     result(f, i) = integral of p_f from left[i] to right[i]

   with the sign that this has when left[i] > right[i]. task, kind, method and callbacks as above; left and right each
   hold limit_count limits, or two with DF_UNIFORM_SITES as their hint; site_parameters serve both searches. Results:
     DF_ROWS or 0     results[f * limit_count + i]
     DF_INTERLEAVED   results[i * function_count + f]
   When the limits span more cells in all than the partition has, the cells' integrals are first summed up, in scratch
   memory. Statuses: -1000, -1011, -1022, -1017 (result_hint), -1016 or -1008, -1026, -1001, a callback's own. */
#define QLX_DF_DECLARE_EVALUATION(P, S, T)                                                                        \
  QLX_API int32_t qlx_df_kernel_##P##DFInterpolate1D(                                                             \
      const DFTask* task, int64_t kind, int64_t method, int64_t site_count, const T* sites, int64_t site_hint,    \
      const T* site_parameters, int64_t derivative_count, const int64_t* orders, T* results, int64_t result_hint, \
      int32_t* cells, const QlxDfCallbacks##S* callbacks, const QlxThreadTable* services);                        \
  QLX_API int32_t qlx_df_kernel_##P##DFIntegrate1D(                                                               \
      const DFTask* task, int64_t kind, int64_t method, int64_t limit_count, const T* left, int64_t left_hint,    \
      const T* right, int64_t right_hint, const T* site_parameters, T* results, int64_t result_hint,              \
      const QlxDfCallbacks##S* callbacks, const QlxThreadTable* services);

QLX_DF_DECLARE_EVALUATION(d, D, double)
QLX_DF_DECLARE_EVALUATION(s, S, float)
#undef QLX_DF_DECLARE_EVALUATION

QLX_END_C

#endif
