// MCG59: x(n+1) = 13^13 x(n) mod 2^59. 13^13 is 5 mod 8, so the period is 2^57 from an odd seed.
// SPDX-License-Identifier: Apache-2.0
#include "rng/modular.h"
#include "rng/output.h"

namespace {

using namespace qlx::rng;

struct State {
  uint64_t x;  // next value to emit
  uint64_t a;  // multiplier: that of the generator, or a power of it on a leapfrogged stream
};
static_assert(kStreamSize<State> == 32);

constexpr uint64_t kMultiplier = 302875106592253;  // 13^13

// ---- Recurrence and mapping ----

// The block is short, so that the end of its multiplications and the start of its mapping overlap.
class Mcg59 : public BlockOf<uint64_t, 128> {
 public:
  // r = a + (low * f + high * (2^32 f)), f = (b - a) 2^-59, low the lower 32 bits and high the upper 27.
  class Mapping {
   public:
    Mapping(const Mcg59&, double a, double b) : a_(a), factor_((b - a) * 0x1p-59) {}

    template <class Real>
    void operator()(const uint64_t* x, int32_t n, Real* r) const {
      const __m256d a = _mm256_set1_pd(a_), factor = _mm256_set1_pd(factor_);
      const __m256 upper52 = _mm256_castpd_ps(_mm256_set1_pd(kTwo52)),
                   upper84 = _mm256_castpd_ps(_mm256_set1_pd(kTwo84));
      const __m256 upper_bits = _mm256_castsi256_ps(_mm256_set1_epi32(kMask59 >> 32));
      int32_t i = 0;
      for (; i + 4 <= n; i += 4) {
        const __m256 words = _mm256_loadu_ps(reinterpret_cast<const float*>(x + i));
        // Halves of a word behind the leading half of 2^52 and of 2^84; 2^84 leaves high * 2^32, still exact.
        const __m256d low = _mm256_castps_pd(_mm256_blend_ps(words, upper52, 0xAA));
        const __m256 halves = _mm256_and_ps(_mm256_movehdup_ps(words), upper_bits);
        const __m256d high = _mm256_castps_pd(_mm256_blend_ps(halves, upper84, 0xAA));
        store(r + i, a + ((low - _mm256_set1_pd(kTwo52)) * factor + (high - _mm256_set1_pd(kTwo84)) * factor));
      }
      for (; i < n; ++i) {
        const double low = static_cast<double>(static_cast<uint32_t>(x[i]));
        const double high = static_cast<double>(static_cast<uint32_t>((x[i] & kMask59) >> 32)) * 0x1p32;
        r[i] = static_cast<Real>(a_ + (low * factor_ + high * factor_));
      }
    }

   private:
    double a_, factor_;
  };

  Mcg59(QstStream* stream, int32_t)
      : state_(state_of<State>(stream)), a_(state_.a), a2_(a_ * a_), a3_(a2_ * a_), a4_(a2_ * a2_) {}

  // Four values side by side, by the multiplier's fourth power. Words are kept modulo 2^64, which 2^59 divides, and are
  // cut by who takes them.
  void fill(uint64_t* out, int32_t m) {
    const uint64_t a4 = a4_;
    uint64_t x0 = state_.x, x1 = x0 * a_, x2 = x0 * a2_, x3 = x0 * a3_;
    int32_t i = 0;
    for (; i + 4 <= m; i += 4) {
      out[i] = x0;
      out[i + 1] = x1;
      out[i + 2] = x2;
      out[i + 3] = x3;
      x0 *= a4;
      x1 *= a4;
      x2 *= a4;
      x3 *= a4;
    }
    for (; i < m; ++i) {
      out[i] = x0;
      x0 *= a_;
    }
    state_.x = x0 & kMask59;
  }

 private:
  State& state_;
  uint64_t a_, a2_, a3_, a4_;
};

// ---- Seeding and moves ----

void skip(State& s, uint64_t count) {
  s.x = s.x * __qstiPowMod2P59(s.a, count) & kMask59;
}

}  // namespace

int32_t __qstBRngMCG59InitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  State& s = state_of<State>(stream);
  switch (method) {
    case QST_INIT_NEW: {
      const uint64_t low = n > 0 ? params[0] : 1;
      const uint64_t high = n > 1 ? params[1] & 0x7FFFFFF : 0;
      const uint64_t seed = low | high << 32;  // an even seed stays even, and its period short
      s = {seed == 0 ? 1 : seed, kMultiplier};
      return QST_STATUS_OK;
    }
    case QST_INIT_LEAPFROG:
      skip(s, params[0]);
      s.a = __qstiPowMod2P59(s.a, static_cast<uint64_t>(int64_t{n}));
      return QST_STATUS_OK;
    case QST_INIT_SKIPAHEAD:
      skip(s, count_at(params));
      return QST_STATUS_OK;
    case QST_INIT_SKIPAHEAD_EX:
      return QST_ERROR_SKIPAHEAD_EX_UNSUPPORTED;
    default:
      return QST_ERROR_UNKNOWN_METHOD;
  }
}

int32_t __qstsBRngMCG59(QstStream* stream, int32_t n, float* r, float a, float b) {
  return generate<Mcg59>(stream, n, r, a, b);
}

int32_t __qstdBRngMCG59(QstStream* stream, int32_t n, double* r, double a, double b) {
  return generate<Mcg59>(stream, n, r, a, b);
}

// The caller's words are 32 bits wide and need not be aligned to 64.
int32_t __qstiBRngMCG59(QstStream* stream, int32_t n, uint32_t* r) {
  uint64_t block[Mcg59::kBlock];
  Mcg59 generator(stream, n);
  for (int32_t m; n > 0; n -= m, r += 2 * m) {
    m = n < Mcg59::kBlock ? n : Mcg59::kBlock;
    generator.fill(block, m);
    for (int32_t i = 0; i < m; ++i) block[i] &= kMask59;
    std::memcpy(r, block, static_cast<size_t>(m) * sizeof(uint64_t));
  }
  return QST_STATUS_OK;
}
