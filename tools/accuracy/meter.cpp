// The threads that share a measurement, and the search uphill from what they found.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/meter.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <numeric>
#include <thread>
#include <vector>

#include "accuracy/draw.h"
#include "accuracy/real.h"
#include "accuracy/sieve.h"
#include "qlx/qvm.h"

namespace qlx::tools {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kChunk = 4096;

// A reference's sieve for the type, or null.
auto sieve_of(const Reference& reference, float) {
  return reference.sieve_f32;
}
auto sieve_of(const Reference& reference, double) {
  return reference.sieve_f64;
}

// Greater errors first. Of equal ones that of the lesser bits, so that the outcome doesn't depend on the threads.
bool is_worse(const Worst& x, const Worst& y) {
  if (x.error != y.error) return x.error > y.error;
  return std::pair(to_bits(x.b), to_bits(x.a)) < std::pair(to_bits(y.b), to_bits(y.a));
}
void keep_worse(Worst& worst, const Worst& x) {
  if (x.error > 0 && is_worse(x, worst)) worst = x;
}

// A step that visits each of n places once, near the golden section of n.
uint64_t jump_among(uint64_t n) {
  uint64_t jump = static_cast<uint64_t>(0.618 * static_cast<double>(n)) + 1;
  while (std::gcd(jump, n) != 1) ++jump;
  return jump;
}

// Where the search starts: the worst arguments of places that are apart, at most kIslands of them.
class Islands {
 public:
  static constexpr size_t kIslands = 64;

  void add(const Worst& worst) {
    if (worst.error == 0 || std::isinf(worst.error)) return;
    list_.push_back(worst);
    if (list_.size() >= 8 * kIslands) trim(kIslands);
  }
  void trim(size_t size) {
    std::sort(list_.begin(), list_.end(), is_worse);
    list_.resize(std::min(list_.size(), size));
  }
  std::vector<Worst>& list() { return list_; }

 private:
  std::vector<Worst> list_;
};

struct Results {
  Measurement measured[3];
  Islands islands[3];
};

// One chunk's arrays, a set a thread.
template <class Real>
struct Chunk {
  std::vector<Real> a = std::vector<Real>(kChunk), b = a, r = a;
  std::vector<typename Format<Real>::Wide> y = std::vector<typename Format<Real>::Wide>(kChunk);
  std::vector<Sieved> errors = std::vector<Sieved>(kChunk);
  int n = 0;
};

template <class Real>
struct Job {
  using Wide = typename Format<Real>::Wide;

  const KernelRow& row;
  const Reference& reference;
  const Arguments<Real>& arguments;
  const MeterOptions& options;
  bool slots[3];
  const double reach = sieve_reach<Real>(reference.slack);
  // The same for a relative error.
  const double relative_reach = 2 * reference.slack * static_cast<double>(std::numeric_limits<Wide>::epsilon());
  // One lane in each chunk goes to MPFR to prove the slack, or in every so many chunks: some 2^16 at most.
  const uint64_t chunks = (arguments.size() + kChunk - 1) / kChunk;
  const uint64_t check_every = chunks / 65536 + 1;
  // Chunks come in an order that jumps over the whole line: along it errors often grow slowly, as next to 0, and almost
  // every one would be the largest so far.
  const uint64_t jump = jump_among(chunks);
  std::atomic<uint64_t> next{0};

  bool searches() const { return options.refine > 0 && (sizeof(Real) == 8 || reference.arguments == 2); }

  // Takes chunks until none is left.
  void work(Results& results) {
    Chunk<Real> chunk;
    qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
    for (;;) {
      const uint64_t turn = next.fetch_add(1);
      if (turn >= chunks) break;
      const uint64_t number = turn * jump % chunks;
      chunk.n = arguments.fill(number * kChunk, kChunk, chunk.a.data(), chunk.b.data());
      const int checked = number % check_every == 0 ? static_cast<int>((number * 0x9E3779B97F4A7C15u) >> 52) : -1;
      take_references(chunk);
      for (int slot = 0; slot < 3; ++slot) {
        if (!slots[slot]) continue;
        take_slot(chunk, slot, checked, results.measured[slot]);
        if (searches()) add_islands(chunk, slot, results.islands[slot]);
      }
    }
  }

  // Walks uphill from the worst of many places: rounds of arguments around each, of which the better half goes on until
  // one is left, which ends after a few rounds that find nothing larger. What it finds moves only the worst, as mean
  // and shares are those of the sample.
  void search(int slot, Islands& islands, Measurement& result) const {
    const int patience = options.refine / 8 + 1;
    Chunk<Real> chunk;
    Random random(options.sample.seed);
    std::vector<Worst>& list = islands.list();
    islands.trim(Islands::kIslands);
    const int climb = options.refine / 12 + 1;  // rounds before the lesser half leaves
    for (int round = 0, idle = 0; round < options.refine && !list.empty() && idle < patience; ++round, ++idle) {
      if (round > 0 && round % climb == 0) islands.trim(std::max<size_t>(1, list.size() / 2));
      if (list.size() > 1) idle = 0;
      std::vector<int> owners;
      chunk.n = 0;
      for (size_t i = 0; i < list.size(); ++i) {
        add_around(list[i], static_cast<int>(kChunk / list.size()), random, chunk);
        owners.resize(chunk.n, static_cast<int>(i));
      }
      Measurement found;
      found.ulp = result.ulp, found.relative = result.relative;
      take_references(chunk);
      take_slot(chunk, slot, -1, found);
      result.ulp = found.ulp, result.relative = found.relative;
      result.wrong_kind += found.wrong_kind;
      result.sieve_misses += found.sieve_misses;
      for (int i = 0; i < chunk.n; ++i) {
        const Worst lane = lane_of(chunk, slot, i);
        if (!(lane.error > list[owners[i]].error) || std::isinf(lane.error)) continue;
        list[owners[i]] = lane;
        idle = -1;
      }
    }
  }

 private:
  static Worst lane_of(const Chunk<Real>& c, int slot, int i) {
    const double error = slot == kEP ? c.errors[i].relative : c.errors[i].ulp;
    return {error, static_cast<double>(c.a[i]), static_cast<double>(c.b[i]), static_cast<double>(c.r[i])};
  }

  // The worst of each eighth of a chunk. The drawn arguments are ordered, so that these are places apart.
  static void add_islands(const Chunk<Real>& c, int slot, Islands& islands) {
    for (int first = 0; first < c.n; first += kChunk / 8) {
      Worst worst;
      for (int i = first; i < std::min(c.n, first + kChunk / 8); ++i) {
        const Worst lane = lane_of(c, slot, i);
        if (std::isfinite(lane.error)) keep_worse(worst, lane);
      }
      islands.add(worst);
    }
  }

  // The next numbers on both sides, then numbers that differ in random low bits, some of another exponent or period;
  // and some beside ends near those.
  void add_around(const Worst& worst, int count, Random& random, Chunk<Real>& c) const {
    using F = Format<Real>;
    const int next_ones = count / 8;
    const Real x = static_cast<Real>(worst.a), y = static_cast<Real>(worst.b);
    const auto blur = [&](Real value) {
      const auto mask = (typename F::Bits{1} << random.bits() % F::kPrecision) - 1;
      const Real near = from_bits<Real>(to_bits(value) ^ (static_cast<typename F::Bits>(random.bits()) & mask));
      return random.bits() % 8 == 0 ? std::ldexp(near, static_cast<int>(random.integer(-2, 2))) : near;
    };
    const bool pairs = reference.arguments == 2;
    const auto blur_first = [&] {
      const Real near = blur(x);
      if (reference.plan == Plan::kHypot) return near;
      switch (random.bits() % 8) {
        case 0:
          return static_cast<Real>(in_another_period(reference, static_cast<double>(near), random));
        case 1:
        case 2:
          return static_cast<Real>(beside_an_end(reference.ends, static_cast<double>(near), random, reference.origin));
        default:
          return near;
      }
    };
    for (int i = 0; i < count; ++i) {
      const bool move_b = pairs && i % 2 != 0, move_a = !move_b || i % 4 == 1;
      const int64_t steps = (i - next_ones / 2) / (pairs ? 2 : 1);
      const Real a = !move_a ? x : i < next_ones ? neighbour(x, move_b ? -steps : steps) : blur_first();
      const Real b = !move_b ? y : i < next_ones ? neighbour(y, steps) : blur(y);
      c.a[c.n] = a, c.b[c.n] = b;
      c.n += std::isfinite(a) && std::isfinite(b) && static_cast<double>(a) >= options.sample.low &&
             static_cast<double>(a) <= options.sample.high;
    }
  }

  void take_references(Chunk<Real>& c) const {
    const auto wide = sieve_of(reference, Real{});
    if (!wide || options.sieveless) return;
    for (int i = 0; i < c.n; ++i) c.y[i] = wide(c.a[i], c.b[i]);
  }

  // The slot's kernel on a chunk whose references are there. Leaves the errors in it; `checked` goes to MPFR in any
  // case.
  void take_slot(Chunk<Real>& c, int slot, int checked, Measurement& m) const {
    const bool has_sieve = sieve_of(reference, Real{}) && !options.sieveless;
    call(slot, c);
    m.count += static_cast<uint64_t>(c.n);
    // The largest of the chunk is known before any of them goes to MPFR.
    double ulp = m.ulp.error, relative = m.relative.error;
    for (int i = 0; i < c.n; ++i) {
      const Sieved e = has_sieve ? sieve(c.r[i], c.y[i], reference.slack, reach) : Sieved{0, 0, false};
      ulp = std::max(ulp, e.certain ? e.ulp : 0);
      relative = std::max(relative, e.certain ? e.relative : 0);
      c.errors[i] = e;
    }
    // Exact where it may be the largest, or where the sieve can't tell whether it is correctly rounded.
    const double large = std::max(ulp - 2 * reach, reach), relatively_large = relative - 2 * relative_reach;
    uint64_t ordinary = 0, correct = 0;
    double sum = 0;
    for (int i = 0; i < c.n; ++i) {
      const Sieved& e = c.errors[i];
      const bool decides =
          (e.ulp > reach) & ((e.ulp >= large) | (e.relative >= relatively_large) | (std::fabs(e.ulp - 0.5) <= reach));
      if (!e.certain | decides | (i == checked)) [[unlikely]] {
        if (!decide(c, i, m)) continue;
      }
      const bool counts = std::fabs(c.r[i]) < std::numeric_limits<Real>::infinity() && c.r[i] != 0;
      ordinary += counts;
      sum += counts ? e.ulp : 0;
      correct += counts & (e.ulp <= 0.5);
    }
    m.ordinary += ordinary;
    m.sum += sum;
    m.correct += correct;
  }

  // A lane by MPFR; false when it is of the wrong kind.
  bool decide(Chunk<Real>& c, int i, Measurement& m) const {
    const ExactError exact = exact_error(reference, c.a[i], c.b[i], c.r[i]);
    Sieved& e = c.errors[i];
    if (e.certain && std::fabs(exact.ulp - e.ulp) > std::max(2 * reach, e.ulp * 1e-6)) ++m.sieve_misses;
    e = {exact.ulp, exact.relative, true};
    keep_worse(m.ulp, lane_of(c, kLA, i));
    keep_worse(m.relative, lane_of(c, kEP, i));
    if (!std::isinf(exact.ulp)) return true;
    ++m.wrong_kind;
    return false;
  }

  // A scalar second argument holds for a run of equal ones.
  void call(int slot, Chunk<Real>& c) const {
    if (row.shape != Shape::kAXR) return call_unit<Real>(row, slot, c.n, {c.a.data(), c.b.data(), c.r.data(), nullptr});
    for (int i = 0, end; i < c.n; i = end) {
      end = i + 1;
      while (end < c.n && to_bits(c.b[end]) == to_bits(c.b[i])) ++end;
      call_unit<Real>(row, slot, end - i, {&c.a[i], &c.b[i], &c.r[i], nullptr});
    }
  }
};

template <class Real>
void measure_typed(const KernelRow& row, const Reference& reference, const bool (&slots)[3],
                   const MeterOptions& options, Measurement (&results)[3]) {
  const Arguments<Real> arguments(reference, options.sample);
  Job<Real> job{row, reference, arguments, options, {}};
  for (int slot = 0; slot < 3; ++slot)
    if (slots[slot]) job.slots[row.first_slot(slot)] = true;

  std::vector<Results> parts(std::max(1, options.threads));
  const auto on_all_threads = [&](const auto& work) {
    std::vector<std::thread> workers;
    for (size_t t = 0; t < parts.size(); ++t)
      workers.emplace_back([&, t] {
        work(t);
        mpfr_free_cache();
      });
    for (std::thread& worker : workers) worker.join();
  };
  on_all_threads([&](size_t t) { job.work(parts[t]); });
  for (size_t t = 1; t < parts.size(); ++t)
    for (int slot = 0; slot < 3; ++slot) {
      merge(parts[0].measured[slot], parts[t].measured[slot]);
      for (const Worst& x : parts[t].islands[slot].list()) parts[0].islands[slot].add(x);
    }
  // A sweep has been everywhere, or asks for --exhaustive.
  if (job.searches())
    on_all_threads([&](size_t t) {
      qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
      for (size_t slot = t; slot < 3; slot += parts.size())
        if (job.slots[slot]) job.search(static_cast<int>(slot), parts[0].islands[slot], parts[0].measured[slot]);
    });
  for (int slot = 0; slot < 3; ++slot)
    results[slot] = slots[slot] ? parts[0].measured[row.first_slot(slot)] : Measurement{};
}

}  // namespace

void merge(Measurement& into, const Measurement& m) {
  into.count += m.count;
  into.ordinary += m.ordinary;
  into.sum += m.sum;
  into.correct += m.correct;
  into.wrong_kind += m.wrong_kind;
  into.sieve_misses += m.sieve_misses;
  keep_worse(into.ulp, m.ulp);
  keep_worse(into.relative, m.relative);
}

void merge(Measurement (&into)[3], const Measurement (&results)[3]) {
  for (int slot = 0; slot < 3; ++slot) merge(into[slot], results[slot]);
}

double Measurement::relative_bits() const {
  return relative.error == 0 ? kInfinity : -std::log2(relative.error);
}

void measure(const KernelRow& row, const Reference& reference, const bool (&slots)[3], const MeterOptions& options,
             Measurement (&results)[3]) {
  MeterOptions seeded = options;
  // A sweep has one seed's worth: what is drawn beside it is little.
  if (row.type == 's' && reference.arguments == 1) seeded.seeds = 1;
  for (Measurement& m : results) m = {};
  for (int i = 0; i < seeded.seeds; ++i, ++seeded.sample.seed) {
    Measurement found[3];
    if (row.type == 's') {
      measure_typed<float>(row, reference, slots, seeded, found);
    } else {
      measure_typed<double>(row, reference, slots, seeded, found);
    }
    merge(results, found);
  }
}

std::string hex_arguments(const Reference& reference, double a, double b) {
  char text[96];
  if (reference.arguments == 1) {
    std::snprintf(text, sizeof text, "%a", a);
  } else {
    std::snprintf(text, sizeof text, "%a %a", a, b);
  }
  return text;
}

}  // namespace qlx::tools
