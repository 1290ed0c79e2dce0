// The shell that every elementwise kernel runs in: control words, blocks, masked tail, lanes that need care, reports,
// strided forms. A kernel brings a formula; the shell owns everything else.
// SPDX-License-Identifier: Apache-2.0
//
// A formula is a small struct:
//
//   struct InvF32 {
//     using Pack = simd::PackF32;
//     static constexpr int kBlock = 32;                    // elements mended and stored together, a multiple of kLanes
//     static constexpr int kPass = 64;                     // optional: elements that a pass takes; left out: the
//                                                          // least of whole blocks that has four registers
//     Pack formula(Pack a) const;                          // all lanes, whatever they hold; [[gnu::always_inline]] if
//                                                          // the compiler would call a long one for each register
//     Pack::Mask needs_care(Pack a) const;                 // lanes that the formula can't serve; left out: none
//     static Status callout(const float *a, float *r);     // always stores a result
//     Pack::Mask short_road(Pack a, Pack &r, Pack::Mask m) const;  // optional: under QVM_ERRMODE_NOERR, mends lanes
//                                                          // in r and takes them out of m
//     Pack second_formula(Pack a) const;                   // optional: serves marked lanes, in any mode, but those of
//     Pack::Mask second_care(Pack a) const;                // this; for a formula that serves the usual ones at less
//     cost static constexpr bool kNeverReports = true;          // optional: every status of the callout is 0
//   };
//
// Two arguments: formula(a, b), needs_care(a, b), callout(a, b, r). Two results: formula returns Two<Pack>, and the
// callout is (a, r1, r2). A formula that finds its marked lanes on the way returns Marked<Pack> in place of a Pack, and
// has no needs_care. Members of the struct, if any, are scalar parameters.
//
// The order of mending, reporting and storing is part of the interface: a callback sees the marked lanes of a block in
// ascending order, each stored before its report; the other lanes of the block are stored after the last report.
#pragma once

#include <bit>
#include <type_traits>

#include "frame/control_words.h"
#include "frame/qvm_frame.h"
#include "frame/shapes.h"
#include "vecmath/simd/simd.h"

namespace qlx::shell {

template <class Pack>
struct Two {
  Pack first, second;
};
template <class Pack>
struct Marked {
  Pack result;
  typename Pack::Mask care;
};

// Fills the lanes past the end of unit-stride arrays: ordinary for every function of one argument or two, so that they
// need no care. A formula with factors of its own, to which no number is ordinary, has kFillWithElement, and gets the
// first element of the step in its place, so that it raises no flag that the elements don't.
constexpr double kFiller = 0.75;
template <class Formula>
constexpr bool kFillsWithElement = requires {
  Formula::kFillWithElement;
};

// ---- Arrays, by how they are walked

template <class Pack, class Element>
struct UnitArray {
  using Real = typename Pack::Real;
  Element* base;
  Pack load(int32_t i) const { return simd::load(base + i); }
  Pack load_first(int32_t i, int count, bool fill_with_element) const {
    const Real filler = fill_with_element ? base[i] : static_cast<Real>(kFiller);
    return simd::load_first(base + i, count, simd::all<Pack>(filler));
  }
  void store(int32_t i, Pack x) const { simd::store(base + i, x); }
  void store_first(int32_t i, int count, Pack x) const {
    if (count == Pack::kLanes) return store(i, x);  // some processors take long over masked stores
    simd::store_first(base + i, count, x);
  }
  View<Element> view() const { return {base, 1}; }
};

template <class Pack, class Element>
struct StridedArray {
  using Real = typename Pack::Real;
  Element* base;
  std::ptrdiff_t stride;
  Pack load(int32_t i) const {
    const Element* p = base + i * stride;
    if (stride == 1) return simd::load(p);
    if (stride == 0) return simd::all<Pack>(*p);
    return simd::gather(p, stride);
  }
  // The lanes past the end repeat the first element: they raise no flag that it doesn't.
  Pack load_first(int32_t i, int count, bool) const {
    if (count == Pack::kLanes) return load(i);
    alignas(32) Real lanes[Pack::kLanes];
    simd::store_aligned(lanes, simd::all<Pack>(base[i * stride]));
    for (int k = 0; k < count; ++k) lanes[k] = base[(i + k) * stride];
    return simd::load(lanes);
  }
  void store(int32_t i, Pack x) const {
    if (stride == 1) {
      simd::store(base + i, x);
    } else {
      simd::scatter(base + i * stride, stride, x);
    }
  }
  // Whole registers only: a strided tail goes element by element.
  void store_first(int32_t i, int, Pack x) const { store(i, x); }
  View<Element> view() const { return {base, stride}; }
};

// One value for all elements.
template <class Pack>
struct ScalarArgument {
  using Real = typename Pack::Real;
  const Real* value;
  Pack load(int32_t) const { return simd::all<Pack>(*value); }
  Pack load_first(int32_t, int, bool) const { return simd::all<Pack>(*value); }
  View<const Real> view() const { return {value, 0}; }
};

// In the place of a second argument or result that a function doesn't have.
struct None {};

// ---- The walk of marked lanes, out of line and shared by all kernels of a type

constexpr int kMaxPass = 32;

// Arguments and results of one pass, its marks as the bits of masks, and what callouts and reports make of the marked
// lanes: kept apart, since a register that is loaded over a lane just stored waits for that store. Functions of one
// argument (result) use the first row.
template <class Real>
struct SavedPass {
  alignas(32) Real a[kMaxPass];
  alignas(32) Real b[kMaxPass];
  alignas(32) Real r[kMaxPass];
  alignas(32) Real s[kMaxPass];
  alignas(32) Real care[kMaxPass];
  Real mended_r[kMaxPass];
  Real mended_s[kMaxPass];
  uint32_t marked = 0;  // lanes left to the callout
  int stored = 0;       // elements of the pass that stand in the result already
};

// The callout of lane k, and the report of what it returned: lane k is element i of the run's arrays.
template <class Real>
struct Care {
  Status (*callout)(SavedPass<Real>& saved, int k);
  void (*report)(const void* run, Status status, int32_t i, SavedPass<Real>& saved, int k);
  const void* run;
};

// Calls the callout for each lane of `bits` in ascending order, and reports those that ask for it. Lane k is element
// index + k.
template <class Real>
void walk(uint32_t bits, int32_t index, SavedPass<Real>& saved, const Care<Real>& care);
extern template void walk(uint32_t, int32_t, SavedPass<float>&, const Care<float>&);
extern template void walk(uint32_t, int32_t, SavedPass<double>&, const Care<double>&);

// ---- The run over a vector

// Formula, its arrays, and the passes over them. B and S are None for functions without a second argument or result.
//
// A fast pass only asks whether any of its lanes needs care, and leaves such a pass, before it has stored anything, to
// careful_pass, which loads the arguments anew. So they don't stay in registers beyond the formula.
template <class Formula, class A, class B, class R, class S>
class Run {
  using Pack = typename Formula::Pack;
  using Mask = typename Pack::Mask;
  using Real = typename Pack::Real;
  static constexpr int kLanes = Pack::kLanes;
  static constexpr bool kTwoArguments = !std::is_same_v<B, None>;
  static constexpr bool kTwoResults = !std::is_same_v<S, None>;
  static constexpr bool kMarksOnTheWay = [] {
    if constexpr (kTwoArguments) {
      return std::is_same_v<decltype(std::declval<Formula>().formula(Pack{}, Pack{})), Marked<Pack>>;
    } else {
      return std::is_same_v<decltype(std::declval<Formula>().formula(Pack{})), Marked<Pack>>;
    }
  }();
  static constexpr bool kHasCare = kMarksOnTheWay || requires(Formula f) { &Formula::needs_care; };
  static constexpr bool kHasSecondRoad = requires { &Formula::second_formula; };
  static constexpr bool kHasShortRoad = requires { &Formula::short_road; };
  static constexpr uint32_t kAllLanes = (1u << kLanes) - 1;
  static constexpr bool kReports = kHasCare && !requires { Formula::kNeverReports; };
  // Elements that a pass of the unit-stride loop takes. The chains of four registers side by side hide most of each
  // other's latency, and the sixteen registers of the processor hold them.
  static constexpr int kPass = [] {
    constexpr int kFour = 4 * kLanes;
    if constexpr (requires { Formula::kPass; }) {
      return Formula::kPass;
    } else {
      return Formula::kBlock < kFour ? kFour : Formula::kBlock;
    }
  }();
  static_assert(kPass <= kMaxPass && Formula::kBlock % kLanes == 0 && kPass % Formula::kBlock == 0);

 public:
  Run(const Formula& formula, const A& a, const B& b, const R& r, const S& s, uint32_t mode, const char* name)
      : formula_(formula), a_(a), b_(b), r_(r), s_(s), mode_(mode), name_(name) {}

  // Unit stride: passes, blocks, single registers, and one masked register. Kernels that never report, whose blocks
  // nobody can tell, first bring the stores to register boundaries.
  [[gnu::always_inline]] void unit(int32_t n) const {
    int32_t i = 0;
    if constexpr (!kReports) {
      if (n >= kAlignFrom) i = align_stores();
    }
    i = passes<kPass>(i, n);
    if constexpr (kPass > Formula::kBlock) i = passes<Formula::kBlock>(i, n);
    if constexpr (Formula::kBlock > kLanes) i = passes<kLanes>(i, n);
    if (i < n) masked_pass(i, n - i);
  }

  // Strided: blocks, then element by element.
  [[gnu::always_inline]] void strided(int32_t n) const {
    for (int32_t i = passes<Formula::kBlock>(0, n); i < n;) {
      const int32_t count = n - i < kLanes ? n - i : kLanes;
      element_pass(i, count);
      i += count;
    }
  }

 private:
  // One register of each argument and result, and the lanes that need care.
  struct Lanes {
    Pack a, b, r, s;
    Mask care;
  };

  // Arrays as short as a few blocks don't win back the extra register.
  static constexpr int32_t kAlignFrom = 4 * kMaxPass;

  // Does the elements before the result's first register boundary, and returns their number.
  [[gnu::always_inline]] int32_t align_stores() const {
    const auto misplaced =
        static_cast<int32_t>(reinterpret_cast<std::uintptr_t>(r_.base) % sizeof(Pack) / sizeof(Real));
    if (misplaced == 0) return 0;
    const int32_t count = kLanes - misplaced;
    masked_pass(0, count);
    return count;
  }

  template <int kElements>
  [[gnu::always_inline]] int32_t passes(int32_t i, int32_t n) const {
    for (; n - i >= kElements; i += kElements) pass<kElements / kLanes>(i);
    return i;
  }

  template <int kRegisters>
  [[gnu::always_inline]] void pass(int32_t i) const {
    Lanes x[kRegisters];
#pragma GCC unroll 8
    for (int j = 0; j < kRegisters; ++j) x[j] = load(i + j * kLanes);
#pragma GCC unroll 8
    for (int j = 0; j < kRegisters; ++j) compute(x[j]);
    if constexpr (kHasCare) {
      Mask care = x[0].care;
#pragma GCC unroll 8
      for (int j = 1; j < kRegisters; ++j) care = care | x[j].care;
      if (simd::any(care)) [[unlikely]] {
        SavedPass<Real> saved;
        for (int j = 0; j < kRegisters; ++j) save_results(x[j], saved, j * kLanes);
        if constexpr (kHasSecondRoad) return second_pass<kRegisters>(*this, i, saved);
        return careful_pass(*this, i, kRegisters * kLanes, saved);
      }
    }
#pragma GCC unroll 8
    for (int j = 0; j < kRegisters; ++j) {
      r_.store(i + j * kLanes, x[j].r);
      if constexpr (kTwoResults) s_.store(i + j * kLanes, x[j].s);
    }
  }

  [[gnu::always_inline]] void masked_pass(int32_t i, int count) const {
    Lanes x = load_first(i, count);
    compute(x);
    if constexpr (kHasCare) {
      if (simd::any(x.care & simd::first_lanes(x.care, count))) [[unlikely]] {
        SavedPass<Real> saved;
        save_results(x, saved, 0);
        return careful_pass(*this, i, count, saved);
      }
    }
    store_first(x, i, count);
  }

  // A pass with lanes that the second road may serve: for the arrays that need it everywhere.
  template <int kRegisters>
  [[gnu::noinline]] static void second_pass(const Run run, int32_t i, SavedPass<Real>& saved) {
    Mask care[kRegisters], served[kRegisters];
    Mask any_care = simd::lanes_of_bits(Mask{}, 0), any_served = any_care;
    const auto each_register = [&](const auto& body) __attribute__((always_inline)) {
#pragma GCC unroll 8
      for (int j = 0; j < kRegisters; ++j) body(j, run.load(i + j * kLanes));
    };
    each_register([&](int j, Lanes x) __attribute__((always_inline)) {
      run.recall_marks(x, j * kLanes, saved);
      care[j] = x.care & of_arguments(x, [&](auto... a) { return run.formula_.second_care(a...); });
      served[j] = simd::without(x.care, care[j]);
      any_care = any_care | care[j];
      any_served = any_served | served[j];
    });
    if (!simd::any(any_served)) return careful_pass(run, i, kRegisters * kLanes, saved);
    Pack r[kRegisters];
    each_register([&](int j, const Lanes& x) __attribute__((always_inline)) {
      const Pack second = of_arguments(x, [&](auto... a) { return run.formula_.second_formula(a...); });
      r[j] = simd::select(served[j], second, simd::load(saved.r + j * kLanes));
    });
    if (simd::any(any_care)) {
      for (int j = 0; j < kRegisters; ++j) {
        simd::store_aligned(saved.r + j * kLanes, r[j]);
        simd::store_aligned(saved.care + j * kLanes, Pack{care[j].v});
      }
      return careful_pass(run, i, kRegisters * kLanes, saved);
    }
    for (int j = 0; j < kRegisters; ++j) run.r_.store(i + j * kLanes, r[j]);
  }

  // A pass with lanes that need care: mending, the walk, the store. By value, so that the fast path's run never has an
  // address and stays in registers. Where the marks are decides addresses and counts of loops, hardly ever a jump: the
  // processor has one misprediction to pay, that of coming here. Not "cold", which would optimize it for size.
  [[gnu::noinline]] static void careful_pass(const Run run, int32_t i, int count, SavedPass<Real>& saved) {
    uint32_t bits = 0;
    for (int k = 0; k < count; k += kLanes) bits |= run.marks(i, k, lanes_from(k, count), saved) << k;
    if constexpr (kHasSecondRoad) bits = run.take_second_road(count, bits, saved);
    if constexpr (kHasShortRoad) bits = run.take_short_road(bits, saved);
    saved.marked = bits;
    if (bits != 0) walk(bits, i, saved, run.care());
    run.store_up_to(i, count, saved);
  }
  static int lanes_from(int k, int end) {
    return end - k < kLanes ? end - k : kLanes;
  }

  // Stores what is not stored of the pass's first `count` elements.
  [[gnu::always_inline]] void store_up_to(int32_t i, int count, SavedPass<Real>& saved) const {
    for (int k = saved.stored; k < count; k += kLanes) {
      Lanes x;
      x.r = simd::load(saved.r + k);
      if constexpr (kTwoResults) x.s = simd::load(saved.s + k);
      store_first(x, i + k, lanes_from(k, count));
    }
    const auto up_to = [](int k) { return (uint64_t{1} << k) - 1; };
    for (uint64_t bits = saved.marked & up_to(count) & ~up_to(saved.stored); bits != 0; bits &= bits - 1) {
      store_mended(i, std::countr_zero(bits), saved);
    }
    saved.stored = count;
  }

  // A register's marks, which are saved if they came on the way.
  [[gnu::always_inline]] void recall_marks(Lanes& x, int k, const SavedPass<Real>& saved) const {
    if constexpr (kMarksOnTheWay) {
      x.care = Mask{simd::load(saved.care + k).v};
    } else {
      mark(x);
    }
  }

  // The marked lanes of a register, whose arguments are saved.
  [[gnu::always_inline]] uint32_t marks(int32_t i, int k, int lanes, SavedPass<Real>& saved) const {
    Lanes x = lanes == kLanes ? load(i + k) : load_first(i + k, lanes);
    recall_marks(x, k, saved);
    save_arguments(x, saved, k);
    return simd::lane_bits(x.care & simd::first_lanes(x.care, lanes));
  }

  // Both roads mend the results of lanes and return the bits of those left.
  uint32_t take_second_road(int count, uint32_t bits, SavedPass<Real>& saved) const {
    uint32_t left = 0;
    for (int k = 0; k < count; k += kLanes) {
      const Mask care = of_arguments(saved_lanes(k, saved), [&](auto... a) { return formula_.second_care(a...); });
      left |= simd::lane_bits(care) << k;
    }
    left &= bits;
    if (left == bits) return left;
    for (int k = 0; k < count; k += kLanes) {
      const Lanes x = saved_lanes(k, saved);
      const Pack second = of_arguments(x, [&](auto... a) { return formula_.second_formula(a...); });
      simd::store_aligned(saved.r + k, simd::select(simd::lanes_of_bits(x.care, (bits & ~left) >> k), second, x.r));
    }
    return left;
  }
  // Only where no report is wanted.
  uint32_t take_short_road(uint32_t bits, SavedPass<Real>& saved) const {
    if ((mode_ & QVM_ERRMODE_MASK) != QVM_ERRMODE_NOERR) return bits;
    for (uint32_t to_do = bits; to_do != 0;) {
      const int k = std::countr_zero(to_do) / kLanes * kLanes;
      const uint32_t lanes = kAllLanes << k;
      to_do &= ~lanes;
      Lanes x = saved_lanes(k, saved);
      const Mask care = simd::lanes_of_bits(x.care, bits >> k);
      x.care = of_arguments(x, [&](auto... a) { return formula_.short_road(a..., x.r, care); });
      simd::store_aligned(saved.r + k, x.r);
      bits = (bits & ~lanes) | simd::lane_bits(x.care) << k;
    }
    return bits;
  }

  // The lanes are computed together, and mended and stored one after the other, as if each had a pass of its own.
  void element_pass(int32_t i, int count) const {
    Lanes x = load_first(i, count);
    compute(x);
    SavedPass<Real> block;
    save_arguments(x, block, 0);
    save_results(x, block, 0);
    uint32_t bits = 0;
    if constexpr (kHasCare) bits = simd::lane_bits(x.care);
    if constexpr (kHasSecondRoad) bits = take_second_road(kLanes, bits, block);
    for (int k = 0; k < count; ++k) {
      if (bits >> k & 1) {
        walk(uint32_t{1} << k, i, block, care());
        store_mended(i, k, block);
        continue;
      }
      r_.view()[i + k] = block.r[k];
      if constexpr (kTwoResults) s_.view()[i + k] = block.s[k];
    }
  }

  [[gnu::always_inline]] Lanes load(int32_t i) const {
    Lanes x;
    x.a = a_.load(i);
    if constexpr (kTwoArguments) x.b = b_.load(i);
    return x;
  }
  // A register that may end early.
  [[gnu::always_inline]] Lanes load_first(int32_t i, int count) const {
    Lanes x;
    x.a = a_.load_first(i, count, kFillsWithElement<Formula>);
    if constexpr (kTwoArguments) x.b = b_.load_first(i, count, kFillsWithElement<Formula>);
    return x;
  }
  [[gnu::always_inline]] void store_first(const Lanes& x, int32_t i, int count) const {
    r_.store_first(i, count, x.r);
    if constexpr (kTwoResults) s_.store_first(i, count, x.s);
  }

  [[gnu::always_inline]] void compute(Lanes& x) const {
    const auto result = of_arguments(
        x, [this](auto... a) __attribute__((always_inline)) { return formula_.formula(a...); });
    if constexpr (kMarksOnTheWay) {
      x.r = result.result;
      x.care = result.care;
    } else if constexpr (kTwoResults) {
      x.r = result.first;
      x.s = result.second;
    } else {
      x.r = result;
    }
    if constexpr (kHasCare && !kMarksOnTheWay) mark(x);
  }

  [[gnu::always_inline]] void mark(Lanes& x) const {
    x.care = of_arguments(
        x, [this](auto... a) __attribute__((always_inline)) { return formula_.needs_care(a...); });
  }

  [[gnu::always_inline]] static void save_arguments(const Lanes& x, SavedPass<Real>& saved, int k) {
    simd::store_aligned(saved.a + k, x.a);
    if constexpr (kTwoArguments) simd::store_aligned(saved.b + k, x.b);
  }
  // And the marks, unless they are as easily made again.
  [[gnu::always_inline]] static void save_results(const Lanes& x, SavedPass<Real>& saved, int k) {
    simd::store_aligned(saved.r + k, x.r);
    if constexpr (kTwoResults) simd::store_aligned(saved.s + k, x.s);
    if constexpr (kMarksOnTheWay) simd::store_aligned(saved.care + k, Pack{x.care.v});
  }

  // Arguments and result of a register that are saved.
  [[gnu::always_inline]] static Lanes saved_lanes(int k, const SavedPass<Real>& saved) {
    Lanes x;
    x.a = simd::load(saved.a + k);
    if constexpr (kTwoArguments) x.b = simd::load(saved.b + k);
    x.r = simd::load(saved.r + k);
    return x;
  }
  template <class Of>
  [[gnu::always_inline]] static auto of_arguments(const Lanes& x, const Of& of) {
    if constexpr (kTwoArguments) {
      return of(x.a, x.b);
    } else {
      return of(x.a);
    }
  }

  // A lane as its callout, or the report of it, has left it.
  void store_mended(int32_t i, int k, const SavedPass<Real>& saved) const {
    r_.view()[i + k] = saved.mended_r[k];
    if constexpr (kTwoResults) s_.view()[i + k] = saved.mended_s[k];
  }

  Care<Real> care() const {
    if constexpr (kHasCare) {
      return {call_out, report_lane, this};
    } else {
      return {};
    }
  }

  static Status call_out(SavedPass<Real>& saved, int k) {
    if constexpr (kTwoResults) {
      return Formula::callout(saved.a + k, saved.mended_r + k, saved.mended_s + k);
    } else if constexpr (kTwoArguments) {
      return Formula::callout(saved.a + k, saved.b + k, saved.mended_r + k);
    } else {
      return Formula::callout(saved.a + k, saved.mended_r + k);
    }
  }

  // Earlier blocks and the result stand in the array while it is reported, and what the report leaves there is the
  // result. Where only the status is wanted, nothing is stored. A missing second argument or result repeats the first.
  static void report_lane(const void* run, Status status, int32_t i, SavedPass<Real>& saved, int k) {
    if (!note_status(status)) return;
    const Run& self = *static_cast<const Run*>(run);
    const auto constant = [](const auto& array) { return View<const Real>{array.view().base, array.view().stride}; };
    const View<const Real> a = constant(self.a_);
    const View<Real> r = self.r_.view();
    View<const Real> b = a;
    View<Real> s = r;
    if constexpr (kTwoArguments) b = constant(self.b_);
    if constexpr (kTwoResults) s = self.s_.view();
    self.store_up_to(i - k, k / Formula::kBlock * Formula::kBlock, saved);
    self.store_mended(i - k, k, saved);
    report(status, i, a, b, r, s, self.name_);
    saved.mended_r[k] = r[i];
    if constexpr (kTwoResults) saved.mended_s[k] = s[i];
  }

  const Formula formula_;
  const A a_;
  const B b_;
  const R r_;
  const S s_;
  const uint32_t mode_;
  const char* const name_;
};

// ---- Kernels by the shape of their arguments
// One overload of run() for each shape, unit-stride and strided. `n` and the pointers are trusted.

template <class F>
struct Kernel {
  using Pack = typename F::Pack;
  using Real = typename Pack::Real;
  using In = UnitArray<Pack, const Real>;
  using Out = UnitArray<Pack, Real>;
  using StridedIn = StridedArray<Pack, const Real>;
  using StridedOut = StridedArray<Pack, Real>;
  using Scalar = ScalarArgument<Pack>;

  [[gnu::always_inline]] static void run(const char* name, int32_t n, const Real* a, Real* r) {
    unit(name, n, In{a}, None{}, Out{r}, None{});
  }
  static void run(const char* name, int32_t n, const Real* a, int32_t inca, Real* r, int32_t incr) {
    strided(name, n, StridedIn{a, inca}, None{}, StridedOut{r, incr}, None{});
  }

  [[gnu::always_inline]] static void run(const char* name, int32_t n, const Real* a, Real* r1, Real* r2) {
    unit(name, n, In{a}, None{}, Out{r1}, Out{r2});
  }
  static void run(const char* name, int32_t n, const Real* a, int32_t inca, Real* r1, int32_t incr1, Real* r2,
                  int32_t incr2) {
    strided(name, n, StridedIn{a, inca}, None{}, StridedOut{r1, incr1}, StridedOut{r2, incr2});
  }

  [[gnu::always_inline]] static void run(const char* name, int32_t n, const Real* a, const Real* b, Real* r) {
    unit(name, n, In{a}, In{b}, Out{r}, None{});
  }
  static void run(const char* name, int32_t n, const Real* a, int32_t inca, const Real* b, int32_t incb, Real* r,
                  int32_t incr) {
    strided(name, n, StridedIn{a, inca}, StridedIn{b, incb}, StridedOut{r, incr}, None{});
  }

  [[gnu::always_inline]] static void run(const char* name, int32_t n, const Real* a, Real b, Real* r) {
    unit(name, n, In{a}, Scalar{&b}, Out{r}, None{});
  }
  static void run(const char* name, int32_t n, const Real* a, int32_t inca, Real b, Real* r, int32_t incr) {
    strided(name, n, StridedIn{a, inca}, Scalar{&b}, StridedOut{r, incr}, None{});
  }

 private:
  template <class A, class B, class R, class S>
  [[gnu::always_inline]] static void unit(const char* name, int32_t n, A a, B b, R r, S s) {
    ControlWords words;
    Run<F, A, B, R, S>(F{}, a, b, r, s, words.mode(), name).unit(n);
  }
  template <class A, class B, class R, class S>
  [[gnu::always_inline]] static void strided(const char* name, int32_t n, A a, B b, R r, S s) {
    ControlWords words;
    Run<F, A, B, R, S>(F{}, a, b, r, s, words.mode(), name).strided(n);
  }
};

}  // namespace qlx::shell

// ---- Instantiation, one line a kernel, at file scope
//
// QLX_KERNEL(Shape, t, Name, Accuracy, Formula) defines the unit-stride and the strided kernel that the row of t and
// Name in catalogue.def calls Accuracy: LA, HA, EP, or the sharing ALL, LAHA, LAEP. A strided call whose strides are
// all 1 goes to the unit-stride kernel through the function's table. Both report as "v<t>Name"; QLX_KERNEL_OF takes any
// class with run(), and the name that the strided kernel reports under.

#define QLX_SLOT_LA 0
#define QLX_SLOT_HA 1
#define QLX_SLOT_EP 2
#define QLX_SLOT_ALL 0
#define QLX_SLOT_LAHA 0
#define QLX_SLOT_LAEP 0

#define QLX_KERNEL(Shape, t, Name, Accuracy, ...) \
  QLX_KERNEL_OF(Shape, t, Name, Accuracy, #Name, qlx::shell::Kernel<__VA_ARGS__>)

#define QLX_KERNEL_OF(Shape, t, Name, Accuracy, strided_name, ...)                                            \
  namespace qlx::kernels {                                                                                    \
  void t##Name##_##Accuracy(QLX_P_##Shape(QLX_TYPE_##t)) {                                                    \
    __VA_ARGS__::run("v" #t #Name, QLX_A_##Shape);                                                            \
  }                                                                                                           \
  void t##Name##I_##Accuracy(QLX_PI_##Shape(QLX_TYPE_##t)) {                                                  \
    if (QLX_UNIT_STRIDES_##Shape) return qlx_qvm_kernel_##t##Name##_ttab[QLX_SLOT_##Accuracy](QLX_A_##Shape); \
    __VA_ARGS__::run("v" #t strided_name, QLX_AI_##Shape);                                                    \
  }                                                                                                           \
  }
