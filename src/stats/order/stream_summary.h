// Epsilon-approximate quantile summaries of a stream of unknown length.
// SPDX-License-Identifier: Apache-2.0
//
// Q. Zhang and W. Wang, A fast algorithm for approximate quantiles in high speed data streams, 2007. The stream is cut
// into parts of doubling length. A part collects values into blocks of `blockSize`; a full block is sorted and becomes
// a summary of level 1, and two summaries of a level merge and are thinned out into one of the next, as in a binary
// counter. A summary holds values with bounds rmin <= rank <= rmax of their rank among what it stands for.
//
// Errors. Write G for the largest rmax of an entry minus rmin of the one before it: any rank has an entry within G / 2.
// Sorted values have G = 1. Merging adds the G of both, and thinning S values to the entries nearest to blockSize + 1
// evenly spread ranks adds S / blockSize. So level l, of S = 2^(l-1) blockSize values, has G <= (l - 1) S / blockSize.
// With r = 1 / epsilon a part of length v has g = log2(v epsilon), blocks of g r values and at most 1 + g - log2(g)
// levels, hence G / 2 <= (g - log2(g)) S / (2 g r) < epsilon S / 2. A part that is over is thinned to 2 r + 1 entries,
// which adds epsilon S / 4. All errors add up over disjoint pieces: an answer is within 3/4 epsilon n of its rank.
//
// Memory: the current part has about g levels of g r entries, each of log2(epsilon n) parts before it 2 r.
#ifndef QLX_STATS_ORDER_STREAM_SUMMARY_H
#define QLX_STATS_ORDER_STREAM_SUMMARY_H

#include <cstdint>
#include <cstring>

#include "qlx/core.h"
#include "stats/kernels.h"
#include "stats/order/sort.h"
#include "stats/qst_ss_task.h"

namespace qlx::stats {

// One part of the stream. Level l of the block holds counts[l] entries; level 0 collects values as they come.
struct StreamPart {
  int32_t blockSize;
  int32_t levels;       // the highest level; levels 0 to this one have room
  int32_t length;       // values that the part takes
  int32_t taken;        // values that it has
  int32_t collected;    // of these, values in level 0
  void* block;          // the one allocation, of which the rest are parts
  void* values;         // (levels + 1) * (blockSize + 1) reals
  int32_t* rankBounds;  // as many rmin, then as many rmax
  int32_t* counts;      // entries of levels 1 to `levels`
};

struct StreamState {
  int32_t partCount;
  int32_t topPart;  // the part that collects, -1 before the first value
  int32_t enabled;
  StreamPart* parts;
};

// A sorted list of values with their rank bounds.
template <class T>
struct Summary {
  T* values;
  int32_t *rmin, *rmax;
  int32_t count;
};

template <class T>
Summary<T> level_of(const StreamPart& part, int32_t level) {
  const int64_t room = part.blockSize + 1, all = room * (part.levels + 1);
  return {static_cast<T*>(part.values) + level * room, part.rankBounds + level * room,
          part.rankBounds + all + level * room, level == 0 ? part.collected : part.counts[level - 1]};
}

// Values that a part must be able to count in 32 bits; longer ones are cut into parts of this length.
inline constexpr double kLongestPart = 1 << 30;

// The sizes of part number `index` for a given epsilon.
template <class T>
StreamPart part_sizes(int32_t index, T epsilon) {
  const double r = 1 / static_cast<double>(epsilon);
  double power = 2;  // 2^(index + 1)
  for (int32_t i = 0; i < index && r * power < kLongestPart; ++i) power *= 2;
  const double whole = __builtin_trunc(r * (2 * power - 1)) - __builtin_trunc(r * (power - 1));
  const double length = whole < 1 ? 1 : whole < kLongestPart ? whole : kLongestPart;
  const double g = log2_of(length * static_cast<double>(epsilon));
  StreamPart part = {};
  part.length = static_cast<int32_t>(length);
  // Blocks never outgrow their part, and an epsilon near 1 still gets blocks of one value.
  const double block = __builtin_trunc(g * r);
  part.blockSize = block < 1 ? 1 : block < length ? static_cast<int32_t>(block) : part.length;
  part.levels = g > 0 ? static_cast<int32_t>(g + 2.0) : 2;
  // Levels 1 to L count 2^L - 1 blocks. That is enough but for blocks cut down by truncation, at an epsilon near 1.
  while (((int64_t{1} << part.levels) - 1) * part.blockSize < part.length) ++part.levels;
  return part;
}

// Allocates the block of a part whose sizes are set.
template <class T>
bool allocate_part(StreamPart& part) {
  const int64_t entries = int64_t{part.blockSize + 1} * (part.levels + 1);
  Scratch<char> block(entries * static_cast<int64_t>(sizeof(T) + 2 * sizeof(int32_t)) +
                      part.levels * static_cast<int64_t>(sizeof(int32_t)));
  if (!block) return false;
  part.values = block.get();
  part.rankBounds = reinterpret_cast<int32_t*>(static_cast<T*>(part.values) + entries);
  part.counts = part.rankBounds + 2 * entries;
  std::memset(part.counts, 0, sizeof(int32_t) * static_cast<size_t>(part.levels));
  part.block = block.release();
  return true;
}

// Takes entries in order of value, with their rank bounds, and keeps those nearest to the ranks 1 to `total` spread
// evenly over `wanted` entries. rmin and rmax both grow along the list, so the entry nearest to a rank, by the larger
// of its two distances, is the first with rmin + rmax >= 2 rank, or the one before it.
template <class T>
class Thinner {
 public:
  Thinner(Summary<T>* out, int64_t wanted, int64_t total) : out_(out), wanted_(wanted), total_(total) {
    out_->count = 0;
    aim();
  }

  void take(T value, int64_t rmin, int64_t rmax) {
    while (next_ < wanted_ && rmin + rmax >= 2 * rank_) {
      const int64_t here = rmax - rank_ > rank_ - rmin ? rmax - rank_ : rank_ - rmin;
      const int64_t before = rank_ - last_rmin_ > last_rmax_ - rank_ ? rank_ - last_rmin_ : last_rmax_ - rank_;
      if (has_last_ && before < here) {
        keep(last_, last_rmin_, last_rmax_);
      } else {
        keep(value, rmin, rmax);
      }
      ++next_;
      aim();
    }
    last_ = value;
    last_rmin_ = rmin;
    last_rmax_ = rmax;
    has_last_ = true;
  }

 private:
  void aim() { rank_ = wanted_ > 1 ? 1 + next_ * (total_ - 1) / (wanted_ - 1) : 1; }

  void keep(T value, int64_t rmin, int64_t rmax) {
    const int32_t k = out_->count;
    if (k > 0 && out_->rmin[k - 1] == rmin && out_->rmax[k - 1] == rmax && out_->values[k - 1] == value) return;
    out_->values[k] = value;
    out_->rmin[k] = static_cast<int32_t>(rmin);
    out_->rmax[k] = static_cast<int32_t>(rmax);
    ++out_->count;
  }

  Summary<T>* out_;
  int64_t wanted_, total_, next_ = 0, rank_ = 1;
  T last_ = 0;
  int64_t last_rmin_ = 0, last_rmax_ = 0;
  bool has_last_ = false;
};

// Merges two summaries of a_total and b_total values into the thinned `out` of `wanted` entries. An entry's rank among
// both is at least its own rmin plus that of the other list's entry before it, and at most its own rmax plus that of
// the other's entry behind it, less that entry itself.
template <class T>
void merge_summaries(const Summary<T>& a, int64_t a_total, const Summary<T>& b, int64_t b_total, int64_t wanted,
                     Summary<T>* out) {
  Thinner<T> thinner(out, wanted, a_total + b_total);
  int32_t i = 0, k = 0;
  while (i < a.count || k < b.count) {
    const bool from_a = k == b.count || (i < a.count && !(b.values[k] < a.values[i]));
    const Summary<T>&own = from_a ? a : b, &other = from_a ? b : a;
    const int32_t mine = from_a ? i : k, others = from_a ? k : i;
    const int64_t other_total = from_a ? b_total : a_total;
    const int64_t below = others > 0 ? other.rmin[others - 1] : 0;
    const int64_t above = others < other.count ? other.rmax[others] - 1 : other_total;
    thinner.take(own.values[mine], own.rmin[mine] + below, own.rmax[mine] + above);
    ++(from_a ? i : k);
  }
}

// The full level 0 joins the levels above, as 1 joins a binary counter.
template <class T>
void push_block(StreamPart& part) {
  Summary<T> carry = level_of<T>(part, 0);
  quick_sort(Elements<T, 1>{carry.values, 1}, carry.count);
  for (int32_t k = 0; k < carry.count; ++k) carry.rmin[k] = carry.rmax[k] = k + 1;
  int32_t target = 1;
  while (target < part.levels && part.counts[target - 1] != 0) ++target;
  const Summary<T> place = level_of<T>(part, target), spare = level_of<T>(part, 1);
  // Results of merges take turns in the free target level and in level 1, which the first merge has emptied.
  int64_t total = part.blockSize;
  for (int32_t level = 1; level < target; ++level, total *= 2) {
    const Summary<T> other = level_of<T>(part, level);
    Summary<T> merged = carry.values == place.values ? spare : place;
    merge_summaries(other, total, carry, total, part.blockSize + 1, &merged);
    part.counts[level - 1] = 0;
    carry = merged;
  }
  if (carry.values != place.values) {
    std::memcpy(place.values, carry.values, sizeof(T) * static_cast<size_t>(carry.count));
    std::memcpy(place.rmin, carry.rmin, sizeof(int32_t) * static_cast<size_t>(carry.count));
    std::memcpy(place.rmax, carry.rmax, sizeof(int32_t) * static_cast<size_t>(carry.count));
  }
  part.counts[target - 1] = carry.count;
  part.collected = 0;
}

// ---- All summaries in one list --------------------------------------------------------------------------------------

// An entry as steps of the two running bounds: passing it, the rank below which all later values lie moves up by
// `min_step`, and the rank that no value before the next entry exceeds by `max_step`.
template <class T>
struct RankStep {
  T value;
  int32_t min_step, max_step;
};
template <class T>
T key(const RankStep<T>& step) {
  return step.value;
}

template <class T>
int64_t entries_of(const StreamPart& part) {
  int64_t entries = part.collected;
  for (int32_t level = 1; level <= part.levels; ++level) entries += part.counts[level - 1];
  return entries;
}

template <class T>
int64_t append_summary(const Summary<T>& summary, int64_t total, RankStep<T>* to) {
  for (int32_t k = 0; k < summary.count; ++k) {
    const int32_t before = k > 0 ? summary.rmin[k - 1] : 0;
    const int64_t behind = k + 1 < summary.count ? summary.rmax[k + 1] : total + 1;
    to[k] = {summary.values[k], summary.rmin[k] - before, static_cast<int32_t>(behind - summary.rmax[k])};
  }
  return summary.count;
}

// Appends the summaries of a part, level 0 sorted among them. Level l stands for 2^(l-1) blocks, except in a part that
// was condensed to one summary of all its values.
template <class T>
int64_t append_part(StreamPart& part, RankStep<T>* to) {
  int64_t count = 0;
  const bool condensed = part.levels == 1;
  if (part.collected > 0) {
    const Summary<T> fresh = level_of<T>(part, 0);
    quick_sort(Elements<T, 1>{fresh.values, 1}, fresh.count);
    for (int32_t k = 0; k < fresh.count; ++k) to[count++] = {fresh.values[k], 1, 1};
  }
  int64_t total = condensed ? part.taken : part.blockSize;
  for (int32_t level = 1; level <= part.levels; ++level, total *= 2) {
    count += append_summary(level_of<T>(part, level), total, to + count);
  }
  return count;
}

// Calls visit(value, rmin, rmax) for every entry in order of value.
template <class T, class Visit>
void visit_ranks(RankStep<T>* steps, int64_t count, Visit visit) {
  quick_sort(Elements<RankStep<T>, 1>{steps, 1}, count);
  int64_t rmin = 0, upper = 1;
  for (int64_t k = 0; k < count; ++k) {
    rmin += steps[k].min_step;
    visit(steps[k].value, rmin, upper);
    upper += steps[k].max_step;
  }
}

// Replaces the levels of a part that is over by one summary of 2 r + 1 entries, where that is smaller.
template <class T>
bool condense(StreamPart& part, T epsilon) {
  const int64_t entries = entries_of<T>(part);
  const double wanted = 2 / static_cast<double>(epsilon) + 1;
  if (static_cast<double>(entries) <= wanted) return true;
  StreamPart small = {};
  small.blockSize = static_cast<int32_t>(wanted);
  small.levels = 1;
  small.length = small.taken = part.taken;
  Scratch<RankStep<T>> steps(entries);
  if (!steps || !allocate_part<T>(small)) return false;
  const int64_t count = append_part(part, steps.get());
  Summary<T> out = level_of<T>(small, 1);
  Thinner<T> thinner(&out, small.blockSize, part.taken);
  visit_ranks(steps.get(), count, [&](T value, int64_t rmin, int64_t rmax) { thinner.take(value, rmin, rmax); });
  small.counts[0] = out.count;
  qlx_serv_deallocate(part.block);
  part = small;
  return true;
}

}  // namespace qlx::stats

#endif
