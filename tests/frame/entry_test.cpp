// The entry points of shapes that the catalogue doesn't use yet: a complex scalar passed by value, and three different
// kernels in the slots.
#include <gtest/gtest.h>

#include <string>

#include "frame/entry_points.h"
#include "qlx/qvm.h"

namespace {

std::string last_call;

void note(const char* kernel, int32_t n, QvmComplexDouble b, int strides) {
  last_call = std::string(kernel) + " " + std::to_string(n) + " " + std::to_string(b.re) + " " + std::to_string(b.im) +
              " " + std::to_string(strides);
}

}  // namespace

namespace qlx::kernels {

#define QLX_PROBE(accuracy)                                                       \
  void zProbe_##accuracy(QLX_P_AX_R(QvmComplexDouble)) {                          \
    note(#accuracy, n, b, a == nullptr && r == nullptr);                          \
  }                                                                               \
  void zProbeI_##accuracy(QLX_PI_AX_R(QvmComplexDouble)) {                        \
    note(#accuracy, n, b, a == nullptr && r == nullptr ? inca * 100 + incr : -1); \
  }
QLX_PROBE(LA)
QLX_PROBE(HA)
QLX_PROBE(EP)

}  // namespace qlx::kernels

extern "C" {
extern void (*const qlx_qvm_kernel_zProbe_ttab[3])(QLX_P_AX_R(QvmComplexDouble));
extern void (*const qlx_qvm_kernel_zProbeI_ttab[3])(QLX_PI_AX_R(QvmComplexDouble));
QLX_RECORD(z, zProbe, , AX_R, THREE, 2.0f, 3.0f, 1.0f)
QLX_RECORD(z, zProbeI, I, AX_R, THREE, 2.0f, 3.0f, 1.0f)
}

TEST(EntryPoint, passes_a_complex_scalar_to_the_slot_of_its_name) {
  const QvmComplexDouble b{1.5, -2.5};
  const struct {
    void (*unit)(QLX_P_AX_R(QvmComplexDouble));
    void (*strided)(QLX_PI_AX_R(QvmComplexDouble));
    const char* kernel;
  } rows[] = {{_qvmzProbe_50, _qvmzProbeI_50, "LA"},
              {_qvmzProbe, _qvmzProbeI, "HA"},
              {_qvmzProbe_HA, _qvmzProbeI_HA, "HA"},
              {_qvmzProbe_26, _qvmzProbeI_26, "EP"}};
  for (const auto& row : rows) {
    row.unit(7, nullptr, b, nullptr);
    EXPECT_EQ(last_call, std::string(row.kernel) + " 7 1.500000 -2.500000 1");
    row.strided(9, nullptr, 3, b, nullptr, -4);
    EXPECT_EQ(last_call, std::string(row.kernel) + " 9 1.500000 -2.500000 296");
  }
  EXPECT_EQ(_qvmzProbe, _qvmzProbe_HA);
  EXPECT_EQ(qlx_qvm_kernel_zProbe_ctab[2], 1.0f);
}
