// Moves between dense and scattered arrays, for the four types and both selectors.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "qlx/qvm.h"

namespace {

constexpr int kCount = 37;

// Kernel tables and entry points of one type.
template <class T>
struct Moves;
#define QLX_MOVES_OF(T, t, LA)                                                    \
  template <>                                                                     \
  struct Moves<T> {                                                               \
    static constexpr auto pack_i = _qvm##t##PackI;                                \
    static constexpr auto pack_m = _qvm##t##PackM##LA;                            \
    static constexpr auto pack_v = _qvm##t##PackV_HA;                             \
    static constexpr auto unpack_i = _qvm##t##UnpackI##LA;                        \
    static constexpr auto unpack_m = _qvm##t##UnpackM;                            \
    static constexpr auto unpack_v = _qvm##t##UnpackV_HA;                         \
    static auto kernel_pack_i() { return qlx_qvm_kernel_##t##PackI_ttab[0]; }     \
    static auto kernel_pack_m() { return qlx_qvm_kernel_##t##PackM_ttab[1]; }     \
    static auto kernel_pack_v() { return qlx_qvm_kernel_##t##PackV_ttab[2]; }     \
    static auto kernel_unpack_m() { return qlx_qvm_kernel_##t##UnpackM_ttab[0]; } \
    static auto kernel_unpack_v() { return qlx_qvm_kernel_##t##UnpackV_ttab[0]; } \
  };
QLX_MOVES_OF(float, s, _21)
QLX_MOVES_OF(double, d, _50)
QLX_MOVES_OF(QvmComplexFloat, c, _21)
QLX_MOVES_OF(QvmComplexDouble, z, _50)

void set(float& x, int value) {
  x = static_cast<float>(value);
}
void set(double& x, int value) {
  x = value;
}
void set(QvmComplexFloat& x, int value) {
  x = {static_cast<float>(value), static_cast<float>(-value)};
}
void set(QvmComplexDouble& x, int value) {
  x = {static_cast<double>(value), static_cast<double>(-value)};
}
template <class T>
bool is(const T& x, int value) {
  T expected;
  set(expected, value);
  return std::memcmp(&x, &expected, sizeof x) == 0;
}

template <class T>
class Pack : public ::testing::Test {};
using Types = ::testing::Types<float, double, QvmComplexFloat, QvmComplexDouble>;
TYPED_TEST_SUITE(Pack, Types);

TYPED_TEST(Pack, moves_elements_where_increments_masks_and_indices_say) {
  using M = Moves<TypeParam>;
  constexpr int64_t kHigh = int64_t{5} << 32;  // the entry points look at the low half of a count and of an increment
  std::vector<TypeParam> a(3 * kCount), y(3 * kCount);
  for (int i = 0; i < 3 * kCount; ++i) set(a[i], i + 1);
  const auto clear = [&] {
    for (TypeParam& x : y) set(x, -1);
  };
  std::vector<int32_t> mask(kCount), index(kCount);
  std::vector<int64_t> mask64(kCount), index64(kCount);
  int selected = 0;
  for (int i = 0; i < kCount; ++i) {
    mask[i] = i % 3 == 1 ? (i % 2 ? -7 : 1 << 31) : 0;
    mask64[i] = mask[i] != 0 ? int64_t{1} << (i % 2 ? 40 : 3) : 0;  // either half counts
    index[i] = (i * 11) % kCount;
    index64[i] = index[i] | kHigh;
    selected += mask[i] != 0;
  }

  for (const int64_t n : {int64_t{0}, int64_t{-3}, int64_t{0x80000000}, kHigh}) {
    clear();
    M::pack_i(n, a.data(), 3, y.data());
    M::unpack_i(n, a.data(), y.data(), 3);
    M::pack_m(n, a.data(), mask.data(), y.data());
    M::pack_v(n, a.data(), index.data(), y.data());
    for (const TypeParam& x : y) ASSERT_TRUE(is(x, -1)) << n;
  }

  for (const int64_t high : {int64_t{0}, kHigh}) {
    clear();
    M::pack_i(kCount | high, a.data(), 3 | high, y.data());
    for (int i = 0; i < 3 * kCount; ++i) ASSERT_TRUE(is(y[i], i < kCount ? 3 * i + 1 : -1));
    clear();
    M::pack_i(kCount, a.data() + kCount - 1, -1, y.data());
    for (int i = 0; i < kCount; ++i) ASSERT_TRUE(is(y[i], kCount - i));
    clear();
    M::unpack_i(kCount | high, a.data(), y.data(), 2 | high);
    for (int i = 0; i < 2 * kCount; ++i) ASSERT_TRUE(is(y[i], i % 2 == 0 ? i / 2 + 1 : -1));
  }

  for (const bool wide : {false, true}) {
    clear();
    const auto* m = wide ? reinterpret_cast<const int32_t*>(mask64.data()) : mask.data();
    const auto* ix = wide ? reinterpret_cast<const int32_t*>(index64.data()) : index.data();
    wide ? M::kernel_pack_m()(kCount, a.data(), m, y.data(), 2) : M::pack_m(kCount, a.data(), m, y.data());
    for (int i = 0; i < kCount; ++i) ASSERT_TRUE(is(y[i], i < selected ? 3 * i + 2 : -1)) << i;
    clear();
    wide ? M::kernel_unpack_m()(kCount, a.data(), y.data(), m, 2) : M::unpack_m(kCount, a.data(), y.data(), m);
    for (int i = 0; i < kCount; ++i) ASSERT_TRUE(is(y[i], i % 3 == 1 ? i / 3 + 1 : -1)) << i;
    clear();
    wide ? M::kernel_pack_v()(kCount, a.data(), ix, y.data(), 2) : M::pack_v(kCount, a.data(), ix, y.data());
    for (int i = 0; i < kCount; ++i) ASSERT_TRUE(is(y[i], (i * 11) % kCount + 1)) << i;
    clear();
    wide ? M::kernel_unpack_v()(kCount, a.data(), y.data(), ix, 2) : M::unpack_v(kCount, a.data(), y.data(), ix);
    for (int i = 0; i < kCount; ++i) ASSERT_TRUE(is(y[(i * 11) % kCount], i + 1)) << i;
  }
  clear();
  M::kernel_pack_i()(-1, a.data(), 1, y.data(), 2);
  EXPECT_TRUE(is(y[0], -1));
}

}  // namespace
