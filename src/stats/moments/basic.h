// Basic: plan, sweep, merge, finish. One text for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// A run accumulates up to seven vectors, one matrix and the pair (W, W2). Every array that a run takes its state from
// is read before the sweep and written after it; between them the accumulators live in scratch, aligned and of this
// run's own, so that results may alias each other and excluded variables keep their entries. Only a full matrix that is
// the one matrix result accumulates in place, since it alone is large.
#ifndef QLX_STATS_MOMENTS_BASIC_H
#define QLX_STATS_MOMENTS_BASIC_H

#include <climits>
#include <cstring>

#include "stats/kernels.h"
#include "stats/moments/kernel.h"
#include "stats/moments/linalg.h"
#include "stats/moments/matrix_storage.h"
#include "stats/moments/request.h"
#include "stats/qst_ss_task.h"
#include "stats/threads.h"

namespace qlx::stats {

template <class T>
struct KernelTables;
template <>
struct KernelTables<double> {
  static constexpr const KernelTable<double>& one_pass = kOnePassDouble;
  static constexpr const SumKernelTable<double>&fast = kFastDouble, &given_mean = kGivenMeanDouble;
};
template <>
struct KernelTables<float> {
  static constexpr const KernelTable<float>& one_pass = kOnePassFloat;
  static constexpr const SumKernelTable<float>&fast = kFastFloat, &given_mean = kGivenMeanFloat;
};

// All values of one variable, from which every result of it is taken.
template <class T>
struct Moments {
  T moment[kVectors];
  T sum[kVectors];
};

// Central moment 2 from the central sum and the other way; one observation alone has neither.
template <class T>
T unbiased_scale(T w, T w2) {
  return w * w - w2;
}

template <class T>
class Basic {
 public:
  Basic(QstSSTask& task, uint64_t mask, uint64_t method, const QlxThreadTable* threads)
      : task_(task), mask_(mask), method_word_(method), table_(threads), p_(read_dimension(task)) {}

  int32_t run() {
    if ((method_word_ & kFinishedMethods) != 0) return from_finished();
    plan();
    if (!allocate()) return QST_SS_ERROR_MEMORY;
    load_state();
    if (matrix_ && thread_[0].weight_sums[0] != 0) centre(0, given_mean_saved_, 1, false);
    auto worker = [this](int index) { sweep(index); };
    run_workers(table_, thread_count_, worker);
    merge();
    if (matrix_ && !private_matrices_) shared_matrix();
    finish();
    return QST_SS_OK;
  }

 private:
  // Aligned, so that threads don't share the lines of their running weights.
  struct alignas(platform::kAlignment) PerThread {
    int64_t first, end;  // observations
    T* vectors[kVectors];
    T* matrix;
    T* deviations;  // one-pass: a block of deviations; blocked matrix: copies of a block of observations
    T weight_sums[4];
  };

  // Where one vector's state is kept between calls.
  struct State {
    T* array;
    bool is_sum;
  };

  // ---- Plan ---------------------------------------------------------------------------------------------------

  bool wants(uint64_t bits) const { return (mask_ & bits) != 0; }
  bool wants_vector(int v) const { return wants(kForms[v].moment_bit | kForms[v].sum_bit); }

  void plan() {
    n_ = read_integer(task_, task_.observationCount);
    rows_ = in_rows(task_, task_.observationStorage, p_);
    weights_ = as_array<const T>(task_.weights);
    matrix_ = wants(kMatrixEstimates) && p_ > 0;  // the linear algebra takes no matrix of no rows
    method_ = (method_word_ & QST_SS_METHOD_FAST) != 0    ? Method::kFast
              : (method_word_ & QST_SS_METHOD_1PASS) != 0 ? Method::kOnePass
                                                          : Method::kGivenMean;
    // Only raw values can be asked for without a mean, and both sum methods form these alike.
    if (method_ == Method::kGivenMean && task_.mean == nullptr) method_ = Method::kFast;

    plan_vectors();
    plan_threads();
  }

  void plan_vectors() {
    const bool central2 = wants_vector(kCentral2) || wants(QST_SS_KURTOSIS | QST_SS_SKEWNESS | QST_SS_VARIATION);
    const bool central3 = wants_vector(kCentral3) || wants(QST_SS_SKEWNESS);
    const bool central4 = wants_vector(kCentral4) || wants(QST_SS_KURTOSIS);
    const bool raw2 = wants_vector(kRaw2), raw3 = wants_vector(kRaw3), raw4 = wants_vector(kRaw4);

    const bool mean = wants_vector(kMean) || matrix_ || central2 || central3 || central4;
    bool used[kVectors] = {mean, raw2, raw3, raw4, central2, central3, central4};
    switch (method_) {
      case Method::kOnePass:
        order_ = raw3 || raw4 || central3 || central4 ? 3 : raw2 ? 2 : central2 ? 1 : 0;
        used[kCentral3] = central3 || central4;  // the update of each central sum reads the lower ones
        used[kCentral2] = central2 || used[kCentral3];
        for (int v : {kCentral2, kRaw2, kRaw3, kRaw4, kCentral3, kCentral4})
          kept_[v] = order_ >= (v == kCentral2 ? 1 : v == kRaw2 ? 2 : 3);
        break;
      case Method::kFast:
        order_ = raw4 || central4 ? 3 : raw3 || central3 ? 2 : raw2 || central2 ? 1 : 0;
        for (int v = kRaw2; v <= kRaw4; ++v) kept_[v] = order_ >= v;
        used[kRaw4] = raw4 || central4;  // central moments come from the raw ones up to their order
        used[kRaw3] = raw3 || central3 || central4;
        used[kRaw2] = raw2 || central2 || central3 || central4;
        break;
      case Method::kGivenMean:
        order_ = raw2 || raw3 || raw4 ? 3 : central4 ? 2 : central3 ? 1 : 0;
        for (int v = kRaw2; v <= kCentral4; ++v) kept_[v] = v <= kRaw4 ? order_ == 3 : order_ >= v - kCentral2;
        break;
    }
    kept_[kMean] = true;

    const uint32_t needed = needed_results(mask_, method_word_);
    for (int v = 0; v < kVectors; ++v) {
      T *const moment = as_array<T>(task_.*kForms[v].moment), *const sum = as_array<T>(task_.*kForms[v].sum);
      const bool state = kept_[v] && (used[v] || (needed >> v & 1) != 0);
      if (wants(kForms[v].moment_bit)) moment_out_[v] = moment;
      if (wants(kForms[v].sum_bit)) sum_out_[v] = sum;
      if (!state) continue;
      const bool needs_moment = wants(kForms[v].moment_bit) || (needed >> v & 1) != 0;
      const bool needs_sum = wants(kForms[v].sum_bit);
      // Vectors hold raw values as means and central ones as sums: that form carries the state with less rounding.
      const bool moment_carries = v <= kRaw4 ? needs_moment || !needs_sum : !needs_sum;
      if (moment_carries && moment != nullptr) {
        state_[v] = {moment, false};
        moment_out_[v] = moment;
      } else {
        state_[v] = {sum, true};
        sum_out_[v] = sum;
        if (needs_moment) moment_out_[v] = moment;
      }
    }
    // The given mean is an input.
    if (method_ == Method::kGivenMean) {
      state_[kMean] = {as_array<T>(task_.mean), false};
      moment_out_[kMean] = nullptr;
    }
  }

  void plan_threads() {
    const int64_t limit = thread_limit(table_);
    const uint64_t work =
        static_cast<uint64_t>(n_) * static_cast<uint64_t>(p_) * (matrix_ ? static_cast<uint64_t>(p_) : 1);
    thread_count_ = static_cast<uint64_t>(limit) < work >> 13 ? limit : static_cast<int64_t>(work >> 13);
    if (thread_count_ > n_ >> 4) thread_count_ = n_ >> 4;
    if (thread_count_ < 1) thread_count_ = 1;

    // Sum methods may leave the matrix to one update over all observations after the sweep. It reads the data a second
    // time, so it serves only where a matrix for each thread would take much memory.
    constexpr int64_t kPrivateMatrixBytes = int64_t{1} << 24;
    const int64_t bytes = (thread_count_ - 1) * p_ * p_ * static_cast<int64_t>(sizeof(T));
    private_matrices_ = method_ == Method::kOnePass || bytes <= kPrivateMatrixBytes;

    if (!matrix_) return;
    constexpr int64_t kBlockBytes = 0x40000, kLeastBlock = 64;
    const bool weighted = weights_ != nullptr;
    block_ = kBlockBytes / (p_ * static_cast<int64_t>(sizeof(T)) * (weighted ? 2 : 1));
    if (block_ < kLeastBlock) block_ = kLeastBlock;
    // A leading dimension beyond the linear algebra's integers: blocks are copied together.
    gather_ = rows_ && n_ > INT_MAX;
    scale_ = weighted;
  }

  bool allocate() {
    const int64_t vector_room = padded<T>(p_);
    const int64_t copies = (scale_ ? 1 : 0) + (gather_ ? 1 : 0);
    const int64_t deviation_room = !matrix_                      ? 0
                                   : method_ == Method::kOnePass ? padded<T>(2 * kDeviationBlock * p_)
                                                                 : padded<T>(copies * block_ * p_);
    const int64_t room = kVectors * vector_room + deviation_room;
    if (!thread_.allocate(thread_count_) || !vectors_.allocate(thread_count_ * room)) return false;

    T* const in_place = plan_matrix();
    const int64_t matrices = !matrix_ ? 0 : (private_matrices_ ? thread_count_ : 1) - (in_place != nullptr ? 1 : 0);
    const int64_t matrix_room = padded<T>(int64_t{p_} * p_);
    if (matrices > 0 && !matrices_.allocate(matrices * matrix_room)) return false;
    if (wants(QST_SS_CORRELATION) && !allocate_correlation()) return false;
    if (method_word_ & QST_SS_METHOD_FAST_GIVEN_MEAN && !allocate_saved_mean()) return false;

    const int64_t share = n_ / thread_count_;
    T* next_matrix = matrices_.get();
    for (int64_t t = 0; t < thread_count_; ++t) {
      PerThread& own = thread_[t];
      own = {};
      own.first = t * share;
      own.end = t + 1 < thread_count_ ? own.first + share : n_;
      T* const block = vectors_.get() + t * room;
      for (int v = 0; v < kVectors; ++v) own.vectors[v] = block + v * vector_room;
      std::memset(static_cast<void*>(block), 0, sizeof(T) * kVectors * vector_room);
      own.deviations = block + kVectors * vector_room;
      if (!matrix_ || (t > 0 && !private_matrices_)) continue;
      if (t == 0 && in_place != nullptr) {
        own.matrix = in_place;
      } else {
        own.matrix = next_matrix;
        next_matrix += matrix_room;
        std::memset(static_cast<void*>(own.matrix), 0, sizeof(T) * p_ * p_);
      }
    }
    return true;
  }

  // Chooses the matrix that carries the state and says whether it can accumulate in place.
  T* plan_matrix() {
    if (!matrix_) return nullptr;
    T *const product = as_array<T>(task_.crossProduct), *const covariance = as_array<T>(task_.covariance);
    product_out_ = wants(QST_SS_CROSS_PRODUCT) ? product : nullptr;
    covariance_out_ = wants(QST_SS_COVARIANCE) ? covariance : nullptr;
    // Correlation alone has lost its scale: a registered matrix that keeps it goes along.
    if (product_out_ == nullptr && covariance_out_ == nullptr) {
      product_out_ = product;
      if (product == nullptr) covariance_out_ = covariance;
    }
    correlation_out_ = wants(QST_SS_CORRELATION) ? as_array<T>(task_.correlation) : nullptr;

    T* full = nullptr;
    int results = 0;
    const struct {
      T* array;
      const void* storage;
    } candidates[] = {{product_out_, task_.crossProductStorage},
                      {covariance_out_, task_.covarianceStorage},
                      {correlation_out_, task_.correlationStorage}};
    for (const auto& candidate : candidates) {
      if (candidate.array == nullptr) continue;
      ++results;
      if (matrix_form(task_, candidate.storage) == MatrixForm::kFull) full = candidate.array;
    }
    return results == 1 && task_.indices == nullptr ? full : nullptr;
  }

  bool allocate_correlation() { return roots_.allocate(2 * padded<T>(p_)); }

  bool allocate_saved_mean() {
    given_mean_saved_ = as_array<T>(task_.savedMean);
    if (task_.savedMean != nullptr && task_.savedMeanCount == p_) return true;
    Scratch<T> fresh(p_);
    if (!fresh) return false;
    if (task_.savedMean != nullptr) qlx_serv_deallocate(task_.savedMean);
    given_mean_saved_ = nullptr;
    task_.savedMean = fresh.release();
    task_.savedMeanCount = p_;
    return true;
  }

  // ---- State of earlier calls ---------------------------------------------------------------------------------

  void load_state() {
    PerThread& own = thread_[0];
    const T* const pair = as_array<const T>(task_.accumWeight);
    const T w = pair != nullptr ? pair[0] : 0, w2 = w != 0 ? pair[1] : 0;
    own.weight_sums[0] = w;
    own.weight_sums[1] = w2;
    if (method_ == Method::kGivenMean) {
      for (int64_t t = 0; t < thread_count_; ++t)
        std::memcpy(thread_[t].vectors[kMean], task_.mean, sizeof(T) * static_cast<size_t>(p_));
    }
    if (w == 0) {
      if (matrix_) std::memset(static_cast<void*>(own.matrix), 0, sizeof(T) * p_ * p_);
      return;
    }
    for (int v = 0; v < kVectors; ++v) {
      if (state_[v].array == nullptr || (v == kMean && method_ == Method::kGivenMean)) continue;
      // Raw values stand in the vectors as moments, central ones as sums.
      T factor = 1;
      if (v >= kCentral2) {
        if (!state_[v].is_sum) factor = v == kCentral2 ? unbiased_scale(w, w2) / w : w;
      } else if (state_[v].is_sum) {
        factor = 1 / w;
      }
      for (int64_t i = 0; i < p_; ++i) own.vectors[v][i] = factor != 0 ? state_[v].array[i] * factor : 0;
    }
    recover_central(w);
    if (matrix_) load_matrix(w, w2);
  }

  // A central sum that has no array of its own but is read by the updates of a higher one comes from the raw moments.
  void recover_central(T w) {
    if (method_ != Method::kOnePass) return;
    T* const* const a = thread_[0].vectors;
    const bool raw2 = state_[kRaw2].array != nullptr, raw3 = state_[kRaw3].array != nullptr;
    for (int64_t i = 0; i < p_; ++i) {
      const T m = a[kMean][i];
      if (kept_[kCentral2] && state_[kCentral2].array == nullptr && raw2) a[kCentral2][i] = w * (a[kRaw2][i] - m * m);
      if (kept_[kCentral3] && state_[kCentral3].array == nullptr && raw2 && raw3)
        a[kCentral3][i] = w * ((2 * m * m - 3 * a[kRaw2][i]) * m + a[kRaw3][i]);
    }
  }

  void load_matrix(T w, T w2) {
    T* const triangle = thread_[0].matrix;
    const T to_product = w - w2 / w;  // 0 for one observation, of which nothing but zeros has come
    if (product_out_ != nullptr) {
      load_triangle(matrix_form(task_, task_.crossProductStorage), p_, product_out_, triangle,
                    [](int64_t, int64_t) { return T(1); });
    } else if (to_product == 0) {
      std::memset(static_cast<void*>(triangle), 0, sizeof(T) * p_ * p_);
    } else if (covariance_out_ != nullptr) {
      load_triangle(matrix_form(task_, task_.covarianceStorage), p_, covariance_out_, triangle,
                    [=](int64_t, int64_t) { return to_product; });
    } else {
      const T* const s2 = state_[kCentral2].array != nullptr ? thread_[0].vectors[kCentral2] : nullptr;
      load_triangle(matrix_form(task_, task_.correlationStorage), p_, correlation_out_, triangle,
                    [=](int64_t i, int64_t k) { return s2 != nullptr ? square_root(s2[i] * s2[k]) : to_product; });
    }
  }

  // ---- Sweep --------------------------------------------------------------------------------------------------

  bool is_raw_kept(int v) const { return kept_[v] && v <= kRaw4 && !(v == kMean && method_ == Method::kGivenMean); }

  void scale_raw(PerThread& own, T factor) {
    for (int v = kMean; v <= kRaw4; ++v) {
      if (!is_raw_kept(v)) continue;
      for (int64_t i = 0; i < p_; ++i) own.vectors[v][i] *= factor;
    }
  }

  // Between the centred and the raw form of thread t's matrix: C += sign W m m^T.
  void centre(int64_t t, const T* mean, int sign, bool inside) {
    if (method_ == Method::kOnePass) return;
    PerThread& own = thread_[t];
    const T alpha = static_cast<T>(sign) * own.weight_sums[0];
    add_outer_product(inside, p_, alpha, mean != nullptr ? mean : own.vectors[kMean], own.matrix);
  }

  KernelRange<T> range_of(PerThread& own) const {
    KernelRange<T> r = {};
    r.first_observation = own.first;
    r.end_observation = own.end;
    r.n = n_;
    r.end_variable = p_;
    r.p = p_;
    r.observations = as_array<const T>(task_.observations);
    r.weights = weights_;
    r.deviations = own.deviations;
    r.weight_sums = own.weight_sums;
    for (int v = 0; v < kVectors; ++v) r.vectors[v] = own.vectors[v];
    r.matrix = own.matrix;
    return r;
  }

  void sweep(int index) {
    PerThread& own = thread_[index];
    KernelRange<T> r = range_of(own);
    if (method_ == Method::kOnePass) {
      KernelTables<T>::one_pass.entries[one_pass_index(matrix_, order_, weights_ != nullptr, !rows_)](r);
      return;
    }
    const auto& table = method_ == Method::kFast ? KernelTables<T>::fast : KernelTables<T>::given_mean;
    const Kernel<T> kernel = table.entries[sum_index(order_, weights_ != nullptr, !rows_)];
    if (own.weight_sums[0] != 0) scale_raw(own, own.weight_sums[0]);
    if (matrix_ && private_matrices_) {
      for (int64_t first = own.first; first < own.end; first += block_) {
        r.first_observation = first;
        r.end_observation = first + block_ < own.end ? first + block_ : own.end;
        kernel(r);
        update_matrix_block(own, first, r.end_observation, true);
      }
    } else {
      kernel(r);
    }
    if (own.weight_sums[0] != 0) scale_raw(own, 1 / own.weight_sums[0]);
    if (matrix_ && private_matrices_) centre(index, nullptr, -1, true);
  }

  // The rank-k update of own.matrix by observations [first, end).
  void update_matrix_block(PerThread& own, int64_t first, int64_t end, bool inside) {
    const T* a = as_array<const T>(task_.observations) + (rows_ ? first : first * p_);
    const int k = static_cast<int>(end - first);
    int lda = rows_ ? static_cast<int>(n_) : p_;
    T* copies = own.deviations;
    if (gather_) {
      for (int64_t i = 0; i < p_; ++i) std::memcpy(copies + i * k, a + i * n_, sizeof(T) * static_cast<size_t>(k));
      a = copies;
      lda = k;
      copies += int64_t{k} * p_;
    }
    if (!scale_) {
      add_rank_k(inside, rows_, p_, k, a, lda, own.matrix);
      return;
    }
    const T* const w = weights_ + first;
    if (rows_) {
      for (int64_t i = 0; i < p_; ++i)
        for (int64_t j = 0; j < k; ++j) copies[i * k + j] = w[j] * a[i * lda + j];
    } else {
      for (int64_t j = 0; j < k; ++j)
        for (int64_t i = 0; i < p_; ++i) copies[j * p_ + i] = w[j] * a[j * p_ + i];
    }
    add_product(inside, rows_, p_, k, a, lda, copies, rows_ ? k : p_, own.matrix);
  }

  // Threads without matrices of their own: one update over all observations on the caller's thread, where the linear
  // algebra may use threads itself.
  void shared_matrix() {
    PerThread& own = thread_[0];
    const int64_t step = scale_ || gather_ ? block_ : INT_MAX / 2;
    for (int64_t first = 0; first < n_; first += step) {
      update_matrix_block(own, first, first + step < n_ ? first + step : n_, false);
    }
    centre(0, nullptr, -1, false);
  }

  // ---- Merge --------------------------------------------------------------------------------------------------

  // Partial results join thread 0 in the order of threads (P. Pebay, 2008).
  void merge() {
    PerThread& a = thread_[0];
    for (int64_t t = 1; t < thread_count_; ++t) {
      PerThread& b = thread_[t];
      const T wa = a.weight_sums[0], wb = b.weight_sums[0], w = wa + wb;
      if (wb == 0) continue;
      const T f = wa != 0 ? wa * wb / w : 0;
      if (matrix_ && private_matrices_) {
        for (int64_t k = 0; k < p_; ++k) {
          const T dk = f * (b.vectors[kMean][k] - a.vectors[kMean][k]);
          for (int64_t i = 0; i <= k; ++i)
            a.matrix[k * p_ + i] += b.matrix[k * p_ + i] + dk * (b.vectors[kMean][i] - a.vectors[kMean][i]);
        }
      }
      for (int64_t i = 0; i < p_; ++i) merge_variable(a, b, i, wa, wb, w, f);
      a.weight_sums[0] = w;
      a.weight_sums[1] += b.weight_sums[1];
    }
  }

  void merge_variable(PerThread& a, const PerThread& b, int64_t i, T wa, T wb, T w, T f) {
    const T d = b.vectors[kMean][i] - a.vectors[kMean][i], d2 = d * d;
    T* const* const to = a.vectors;
    T* const* const from = b.vectors;
    if (kept_[kCentral4]) {
      to[kCentral4][i] += from[kCentral4][i] + d2 * d2 * wa * wb * (wa * wa - wa * wb + wb * wb) / (w * w * w) +
                          6 * d2 * (wa * wa * from[kCentral2][i] + wb * wb * to[kCentral2][i]) / (w * w) +
                          4 * d * (wa * from[kCentral3][i] - wb * to[kCentral3][i]) / w;
    }
    if (kept_[kCentral3]) {
      to[kCentral3][i] += from[kCentral3][i] + d2 * d * wa * wb * (wa - wb) / (w * w) +
                          3 * d * (wa * from[kCentral2][i] - wb * to[kCentral2][i]) / w;
    }
    if (kept_[kCentral2]) to[kCentral2][i] += from[kCentral2][i] + f * d2;
    for (int v = kMean; v <= kRaw4; ++v) {
      if (is_raw_kept(v)) to[v][i] = (wa * to[v][i] + wb * from[v][i]) / w;
    }
  }

  // ---- Finish -------------------------------------------------------------------------------------------------

  void finish() {
    const PerThread& own = thread_[0];
    const T w = own.weight_sums[0], w2 = own.weight_sums[1];
    if (T* const pair = as_array<T>(task_.accumWeight); pair != nullptr) {
      pair[0] = w;
      pair[1] = w2;
    }
    if (matrix_) store_matrices(own.matrix, w, w2);
    for (int64_t i = 0; i < p_; ++i) {
      if (includes(task_, i)) store_variable(i, moments_of(own, i, w, w2));
    }
    if ((method_word_ & QST_SS_METHOD_FAST_GIVEN_MEAN) != 0)
      std::memcpy(task_.savedMean, own.vectors[kMean], sizeof(T) * static_cast<size_t>(p_));
  }

  Moments<T> moments_of(const PerThread& own, int64_t i, T w, T w2) const {
    Moments<T> v = {};
    for (int k = kMean; k <= kRaw4; ++k) {
      v.moment[k] = own.vectors[k][i];
      v.sum[k] = v.moment[k] * w;
    }
    if (method_ == Method::kFast) {
      const T m = v.moment[kMean], r2 = v.moment[kRaw2], r3 = v.moment[kRaw3], r4 = v.moment[kRaw4];
      const T variance = r2 - m * m;
      v.moment[kCentral2] = variance * (w * w) / unbiased_scale(w, w2);
      v.moment[kCentral3] = (2 * m * m - 3 * r2) * m + r3;
      v.moment[kCentral4] = ((6 * r2 - 3 * m * m) * m - 4 * r3) * m + r4;
      v.sum[kCentral2] = variance * w;
      v.sum[kCentral3] = v.moment[kCentral3] * w;
      v.sum[kCentral4] = v.moment[kCentral4] * w;
    } else {
      for (int k = kCentral2; k <= kCentral4; ++k) {
        v.sum[k] = own.vectors[k][i];
        v.moment[k] = k == kCentral2 ? v.sum[k] * w / unbiased_scale(w, w2) : v.sum[k] / w;
      }
    }
    return v;
  }

  void store_variable(int64_t i, const Moments<T>& v) {
    for (int k = 0; k < kVectors; ++k) {
      if (moment_out_[k] != nullptr) moment_out_[k][i] = v.moment[k];
      if (sum_out_[k] != nullptr) sum_out_[k][i] = v.sum[k];
    }
    const T c2 = v.moment[kCentral2];
    if (wants(QST_SS_KURTOSIS)) as_array<T>(task_.kurtosis)[i] = v.moment[kCentral4] / (c2 * c2) - T(3.0);
    if (wants(QST_SS_SKEWNESS)) as_array<T>(task_.skewness)[i] = v.moment[kCentral3] / square_root(c2 * c2 * c2);
    if (wants(QST_SS_VARIATION)) as_array<T>(task_.variation)[i] = square_root(c2) / v.moment[kMean];
  }

  // Results from the accumulated triangle: correlation, covariance, cross-product.
  void store_matrices(const T* triangle, T w, T w2) {
    const int64_t p = p_;
    if (correlation_out_ != nullptr) {
      T *const diagonal = roots_.get(), *const root = diagonal + padded<T>(p);
      for (int64_t i = 0; i < p; ++i) diagonal[i] = includes(task_, i) ? triangle[i * p + i] : T(1);
      inverse_square_roots(p_, diagonal, root);
      store_triangle(task_, matrix_form(task_, task_.correlationStorage), p, correlation_out_,
                     [=](int64_t i, int64_t k) { return triangle[k * p + i] * root[i] * root[k]; });
    }
    if (covariance_out_ != nullptr) {
      const T g = w > 0 ? 1 / (w - w2 / w) : T(1);
      store_triangle(task_, matrix_form(task_, task_.covarianceStorage), p, covariance_out_,
                     [=](int64_t i, int64_t k) { return g * triangle[k * p + i]; });
    }
    if (product_out_ != nullptr) {
      store_triangle(task_, matrix_form(task_, task_.crossProductStorage), p, product_out_,
                     [=](int64_t i, int64_t k) { return triangle[k * p + i]; });
    }
  }

  // ---- Without a sweep ----------------------------------------------------------------------------------------

  int32_t from_finished() {
    const T* const pair = as_array<const T>(task_.accumWeight);
    const T n = pair != nullptr ? T(0) : static_cast<T>(read_integer(task_, task_.observationCount));
    const T w = pair != nullptr ? pair[0] : n, w2 = pair != nullptr ? pair[1] : n;

    Scratch<T> expanded;
    const T* const product = as_array<const T>(task_.crossProduct);
    if (wants(QST_SS_COVARIANCE | QST_SS_CORRELATION) && product != nullptr) {
      const MatrixForm form = matrix_form(task_, task_.crossProductStorage);
      const T* triangle = product;
      if (form != MatrixForm::kFull) {
        if (!expanded.allocate(int64_t{p_} * p_)) return QST_SS_ERROR_MEMORY;
        load_triangle(form, p_, product, expanded.get(), [](int64_t, int64_t) { return T(1); });
        triangle = expanded.get();
      }
      if (wants(QST_SS_CORRELATION) && !allocate_correlation()) return QST_SS_ERROR_MEMORY;
      correlation_out_ = wants(QST_SS_CORRELATION) ? as_array<T>(task_.correlation) : nullptr;
      covariance_out_ = wants(QST_SS_COVARIANCE) ? as_array<T>(task_.covariance) : nullptr;
      store_matrices(triangle, w, w2);
    }
    for (int64_t i = 0; i < p_; ++i) {
      if (!includes(task_, i)) continue;
      Moments<T> v = {};
      for (int k = 0; k < kVectors; ++k) {
        const T* const sum = as_array<const T>(task_.*kForms[k].sum);
        T* const moment = as_array<T>(task_.*kForms[k].moment);
        const bool wanted = wants(kForms[k].moment_bit) && sum != nullptr;
        if (wanted) {
          v.moment[k] = k == kCentral2 ? sum[i] * w / unbiased_scale(w, w2) : sum[i] / w;
          moment_out_[k] = moment;
        } else if (moment != nullptr) {
          v.moment[k] = moment[i];
        }
      }
      store_variable(i, v);
    }
    return QST_SS_OK;
  }

  QstSSTask& task_;
  const uint64_t mask_, method_word_;
  const QlxThreadTable* const table_;
  const int32_t p_;

  int64_t n_ = 0, thread_count_ = 1, block_ = 1;
  bool rows_ = true, matrix_ = false, private_matrices_ = true;
  bool gather_ = false, scale_ = false;  // copies that the blocked matrix update makes
  const T* weights_ = nullptr;
  Method method_ = Method::kOnePass;
  int order_ = 0;
  bool kept_[kVectors] = {};  // by the kernel
  State state_[kVectors] = {};
  T *moment_out_[kVectors] = {}, *sum_out_[kVectors] = {};
  T *product_out_ = nullptr, *covariance_out_ = nullptr, *correlation_out_ = nullptr;
  const T* given_mean_saved_ = nullptr;  // means of the call before, under the given-mean method

  Scratch<PerThread> thread_;
  Scratch<T> vectors_, matrices_, roots_;
};

template <class T>
int32_t run_basic(QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable* threads) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  const int32_t status = check_basic(*task, mask, method);
  if (status != QST_SS_OK) return status;
  return Basic<T>(*task, mask, method, threads).run();
}

}  // namespace qlx::stats

#endif
