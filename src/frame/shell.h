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
//     Pack::Mask second_road(Pack a, Pack &r, Pack::Mask m) const;  // optional: the same before all else, in any mode;
//                                                          // for a formula that serves the usual lanes at less cost
//     static constexpr bool kNeverReports = true;          // optional: every status of the callout is 0
//   };
//
// Two arguments: formula(a, b), needs_care(a, b), callout(a, b, r). Two results: formula returns Two<Pack>, and the
// callout is (a, r1, r2). A formula that finds its marked lanes on the way returns Marked<Pack> in place of a Pack, and
// has no needs_care. Members of the struct, if any, are scalar parameters.
//
// The order of mending, reporting and storing is part of the interface: a callback sees the marked lanes of a block in
// ascending order, each stored before its report; the other lanes of the block are stored after the last report.
#pragma once

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

// Arguments and results of one pass, and its marks as the bits of masks. Functions of one argument (result) use the
// first row.
template <class Real>
struct SavedPass {
  alignas(32) Real a[kMaxPass];
  alignas(32) Real b[kMaxPass];
  alignas(32) Real r[kMaxPass];
  alignas(32) Real s[kMaxPass];
  alignas(32) Real care[kMaxPass];
};

// The caller's arrays as reports see them; a missing second one repeats the first.
template <class Real>
struct Views {
  View<const Real> a, b;
  View<Real> r, s;
};

// Exactly one is set.
template <class Real>
struct Callout {
  Status (*one)(const Real*, Real*) = nullptr;
  Status (*two_arguments)(const Real*, const Real*, Real*) = nullptr;
  Status (*two_results)(const Real*, Real*, Real*) = nullptr;
};

// Calls the callout for each lane of `bits` in ascending order, and reports those that ask for it. Lane k is element
// index + k.
template <class Real>
[[gnu::cold]] void walk(uint32_t bits, int32_t index, SavedPass<Real>& block, const Views<Real>& views,
                        const Callout<Real>& callout, const char* name);
extern template void walk(uint32_t, int32_t, SavedPass<float>&, const Views<float>&, const Callout<float>&,
                          const char*);
extern template void walk(uint32_t, int32_t, SavedPass<double>&, const Views<double>&, const Callout<double>&,
                          const char*);

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
    for (int j = 0; j < kRegisters; ++j) {
      x[j].a = a_.load(i + j * kLanes);
      if constexpr (kTwoArguments) x[j].b = b_.load(i + j * kLanes);
    }
#pragma GCC unroll 8
    for (int j = 0; j < kRegisters; ++j) compute(x[j]);
    if constexpr (kHasCare) {
      Mask care = x[0].care;
#pragma GCC unroll 8
      for (int j = 1; j < kRegisters; ++j) care = care | x[j].care;
      if (simd::any(care)) [[unlikely]] {
        SavedPass<Real> saved;
        for (int j = 0; j < kRegisters; ++j) save_results(x[j], saved, j * kLanes);
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

  // A pass with lanes that need care, block by block: mending, the walk, the store. By value, so that the fast path's
  // run never has an address and stays in registers.
  [[gnu::noinline, gnu::cold]] static void careful_pass(const Run run, int32_t i, int count, SavedPass<Real>& saved) {
    const Views<Real> views = run.views();
    for (int block = 0; block < count; block += Formula::kBlock) {
      const int end = count - block < Formula::kBlock ? count : block + Formula::kBlock;
      const auto each_register = [block, end](const auto& body) {
        for (int k = block; k < end; k += kLanes) body(k, end - k < kLanes ? end - k : kLanes);
      };
      uint32_t bits = 0;
      each_register([&](int k, int lanes) { bits |= run.marks(i, k, lanes, saved) << k; });
      if (bits != 0) walk(bits, i, saved, views, callout(), run.name_);
      each_register([&](int k, int lanes) {
        Lanes x;
        x.r = simd::load(saved.r + k);
        if constexpr (kTwoResults) x.s = simd::load(saved.s + k);
        run.store_first(x, i + k, lanes);
      });
    }
  }

  // The lanes of a register left to the callout: those marked, without what the second road and, when no report is
  // wanted, the short one can mend.
  uint32_t marks(int32_t i, int k, int lanes, SavedPass<Real>& saved) const {
    Lanes x = load_first(i + k, lanes);
    x.r = simd::load(saved.r + k);
    if constexpr (kMarksOnTheWay) {
      x.care = Mask{simd::load(saved.care + k).v};
    } else {
      mark(x);
    }
    x.care = x.care & simd::first_lanes(x.care, lanes);
    if (!simd::any(x.care)) return 0;
    take_second_road(x);
    take_short_road(x);
    save_arguments(x, saved, k);
    simd::store_aligned(saved.r + k, x.r);
    return simd::lane_bits(x.care);
  }

  // The lanes are computed together, and mended and stored one after the other, as if each had a pass of its own.
  void element_pass(int32_t i, int count) const {
    Lanes x = load_first(i, count);
    compute(x);
    SavedPass<Real> block;
    uint32_t bits = 0;
    if constexpr (kHasCare) {
      take_second_road(x);
      bits = simd::lane_bits(x.care);
    }
    save_arguments(x, block, 0);
    save_results(x, block, 0);
    const Views<Real> views = this->views();
    for (int k = 0; k < count; ++k) {
      if constexpr (kHasCare) {
        if (bits >> k & 1) walk(uint32_t{1} << k, i, block, views, callout(), name_);
      }
      views.r[i + k] = block.r[k];
      if constexpr (kTwoResults) views.s[i + k] = block.s[k];
    }
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
    const auto result = [&] {
      if constexpr (kTwoArguments) {
        return formula_.formula(x.a, x.b);
      } else {
        return formula_.formula(x.a);
      }
    }();
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
    if constexpr (kTwoArguments) {
      x.care = formula_.needs_care(x.a, x.b);
    } else {
      x.care = formula_.needs_care(x.a);
    }
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

  void take_second_road(Lanes& x) const {
    if constexpr (requires { &Formula::second_road; }) {
      if constexpr (kTwoArguments) {
        x.care = formula_.second_road(x.a, x.b, x.r, x.care);
      } else {
        x.care = formula_.second_road(x.a, x.r, x.care);
      }
    }
  }
  void take_short_road(Lanes& x) const {
    if constexpr (requires { &Formula::short_road; }) {
      if ((mode_ & QVM_ERRMODE_MASK) != QVM_ERRMODE_NOERR) return;
      if constexpr (kTwoArguments) {
        x.care = formula_.short_road(x.a, x.b, x.r, x.care);
      } else {
        x.care = formula_.short_road(x.a, x.r, x.care);
      }
    }
  }

  Views<Real> views() const {
    Views<Real> v;
    const auto a = a_.view();
    v.a = {a.base, a.stride};
    v.b = v.a;
    if constexpr (kTwoArguments) {
      const auto b = b_.view();
      v.b = {b.base, b.stride};
    }
    v.r = r_.view();
    v.s = v.r;
    if constexpr (kTwoResults) v.s = s_.view();
    return v;
  }

  static constexpr Callout<Real> callout() {
    Callout<Real> c;
    if constexpr (kTwoResults) {
      c.two_results = Formula::callout;
    } else if constexpr (kTwoArguments) {
      c.two_arguments = Formula::callout;
    } else {
      c.one = Formula::callout;
    }
    return c;
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
