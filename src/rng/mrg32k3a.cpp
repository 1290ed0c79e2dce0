// MRG32K3A: two multiple recursive generators of order three, combined (L'Ecuyer, "Good parameters and implementations
// for combined multiple recursive random number generators", Operations Research 47, 1999).
// SPDX-License-Identifier: Apache-2.0
//
// x(n) = 1403580 x(n-2) - 810728 x(n-3) mod m1, y(n) = 527612 y(n-1) - 1370589 y(n-3) mod m2, z(n) = x(n) - y(n) mod
// m1.
//
// A long stretch is cut into 16 segments that run side by side from their own starting states, which lie a fixed jump
// A^L apart. Each lane then takes the plain recurrence, whose small coefficients keep every sum below 2^53, so that
// double precision is exact integer arithmetic here. Residues are balanced, from -m/2 to m/2, while they run: that
// saves the correction of a step, and only the value that leaves is brought to 0 .. m-1. z is the same integer as by
// the plain step, for it is a residue that is unique.
#include "rng/modular.h"
#include "rng/output.h"

namespace {

using namespace qlx::rng;
using M = Mrg32k3a;

struct State {
  uint32_t x[3], y[3];  // the oldest first
};
static_assert(kStreamSize<State> == 40);

// ---- Plain step ----

// a * p - b * q mod 2^32 - gap for coefficients below 2^21. The bias is a multiple of the modulus above b * 2^32:
// b * gap is below 16 moduli.
template <uint32_t kGap>
uint32_t difference(uint64_t a, uint32_t p, uint64_t b, uint32_t q) {
  constexpr uint64_t modulus = (uint64_t{1} << 32) - kGap;
  return reduce<kGap>(a * p + ((b + 16) * modulus - b * q));
}

uint32_t step(State& s) {
  const uint32_t x = difference<M::kGap1>(M::kX1, s.x[1], M::kX0, s.x[0]);
  const uint32_t y = difference<M::kGap2>(M::kY2, s.y[2], M::kY0, s.y[0]);
  s = {{s.x[1], s.x[2], x}, {s.y[1], s.y[2], y}};
  return x - y + (M::kM1 & (0u - (x < y)));  // no branch on a random bit
}

// ---- Lanes ----

constexpr int kLanes = 16;

// A^(l L) for lane l, each entry as high * 2^16 + low, so that products with a residue stay exact in double.
struct Spread {
  alignas(32) double high[9][kLanes], low[9][kLanes];
};

template <uint32_t kGap>
constexpr Spread make_spread(const Matrix3& transition, int segment) {
  Spread spread{};
  const Matrix3 jump = power<kGap>(transition, static_cast<uint64_t>(segment));
  Matrix3 lane = power<kGap>(transition, 0);
  for (int l = 0; l < kLanes; ++l) {
    for (int i = 0; i < 9; ++i) {
      spread.high[i][l] = lane[i] >> 16;
      spread.low[i][l] = lane[i] & 0xFFFF;
    }
    lane = multiply<kGap>(jump, lane);
  }
  return spread;
}

template <int kSegment>
constexpr Spread kSpread1 = make_spread<M::kGap1>(M::step1(), kSegment);
template <int kSegment>
constexpr Spread kSpread2 = make_spread<M::kGap2>(M::step2(), kSegment);

// The balanced residue of an integer p, |p| below 2^53. The quotient is within 2^-31 of p / m before it is rounded, so
// the result is at most m/2 + 2 in size; the product of the quotient and the modulus and the difference are exact.
template <uint32_t kGap>
inline __m256d balanced(__m256d p) {
  constexpr double modulus = 0x1p32 - kGap;
  const __m256d quotient =
      _mm256_round_pd(p * _mm256_set1_pd(1 / modulus), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
  return p - quotient * _mm256_set1_pd(modulus);
}

// From a residue above -m to 0 .. m-1. (A blend by the sign is one operation less, but compilers split it for AVX.)
template <uint32_t kGap>
inline __m256d canonical(__m256d residue) {
  const __m256d negative = _mm256_cmp_pd(residue, _mm256_setzero_pd(), _CMP_LT_OQ);
  return residue + _mm256_and_pd(negative, _mm256_set1_pd(0x1p32 - kGap));
}

// Four lanes side by side.
struct Lanes {
  __m256d x[3], y[3];

  // The starting states of lanes `first` to first + 3: spread times the stream's state.
  template <uint32_t kGap>
  static void start(const Spread& spread, int first, const uint32_t* state, __m256d* lanes) {
    const __m256d s0 = _mm256_set1_pd(state[0]), s1 = _mm256_set1_pd(state[1]), s2 = _mm256_set1_pd(state[2]);
    const auto dot = [&](const double(*row)[kLanes]) {  // below 3 * 2^48
      return _mm256_load_pd(row[0] + first) * s0 + _mm256_load_pd(row[1] + first) * s1 +
             _mm256_load_pd(row[2] + first) * s2;
    };
    for (ptrdiff_t i = 0; i < 3; ++i) {
      const __m256d high = balanced<kGap>(dot(spread.high + 3 * i));
      lanes[i] = balanced<kGap>(high * _mm256_set1_pd(0x1p16) + dot(spread.low + 3 * i));
    }
  }

  // One step of the lanes; returns z, integers from 0 to m1 - 1.
  __m256d step() {
    const __m256d new_x = balanced<M::kGap1>(_mm256_set1_pd(M::kX1) * x[1] - _mm256_set1_pd(M::kX0) * x[0]);
    const __m256d new_y = balanced<M::kGap2>(_mm256_set1_pd(M::kY2) * y[2] - _mm256_set1_pd(M::kY0) * y[0]);
    x[0] = x[1];
    x[1] = x[2];
    x[2] = new_x;
    y[0] = y[1];
    y[1] = y[2];
    y[2] = new_y;
    return canonical<M::kGap1>(canonical<M::kGap1>(new_x) - canonical<M::kGap2>(new_y));
  }

  State lane(int l) const {
    State s;
    for (int i = 0; i < 3; ++i) {
      alignas(32) double value[4];
      _mm256_store_pd(value, canonical<M::kGap1>(x[i]));
      s.x[i] = static_cast<uint32_t>(value[l]);
      _mm256_store_pd(value, canonical<M::kGap2>(y[i]));
      s.y[i] = static_cast<uint32_t>(value[l]);
    }
    return s;
  }
};

// 16 kSegment elements, of which the stream takes the first m, a multiple of 4: whole pairs of vectors are made, and
// the state is that of the lane in which the last element lies, at the step behind it. Two vectors at a time: one alone
// waits for its own results, and more do not fit the registers.
template <int kSegment>
void fill_lanes(State& state, double* out, int32_t m) {
  const State from = state;
  const int last_lane = (m - 1) / kSegment, last_step = m - last_lane * kSegment;
  for (int first = 0; first <= last_lane; first += 8) {
    Lanes lanes[2];
    for (int v = 0; v < 2; ++v) {
      Lanes::start<M::kGap1>(kSpread1<kSegment>, first + 4 * v, from.x, lanes[v].x);
      Lanes::start<M::kGap2>(kSpread2<kSegment>, first + 4 * v, from.y, lanes[v].y);
    }
    int t = 0;
    const auto run_to = [&](int end) {
      for (; t < end; t += 4) {
        __m256d z[2][4];
        for (int k = 0; k < 4; ++k)
          for (int v = 0; v < 2; ++v) z[v][k] = lanes[v].step();
        for (int v = 0; v < 2; ++v) {
          transpose(z[v]);  // from a row a step to a row a lane
          for (ptrdiff_t l = 0; l < 4; ++l) _mm256_storeu_pd(out + (first + 4 * v + l) * kSegment + t, z[v][l]);
        }
      }
    };
    if (last_lane < first + 8) {
      run_to(last_step);
      state = lanes[(last_lane - first) / 4].lane(last_lane % 4);
    }
    run_to(kSegment);
  }
}

class Mrg : public BlockOf<double> {
 public:
  struct Mapping : AffineMapping<Raw> {
    // c = 1 / m1
    Mapping(const Mrg&, double a, double b) : AffineMapping(a, b, 2.328306549837829e-10) {}
  };

  Mrg(QstStream* stream, int32_t) : state_(state_of<State>(stream)) {}

  // `out` has room for a whole block, whatever m is.
  void fill(double* out, int32_t m) {
    constexpr int kLong = 64, kShort = 16, kLeast = 24;  // from the least number on, lanes pay
    static_assert(kLong * kLanes == kBlockElements);
    int32_t done = 0;
    if (m > 3 * kShort * kLanes) {
      done = m & ~3;
      fill_lanes<kLong>(state_, out, done);
    }
    while (m - done >= kLeast) {
      const int32_t part = m - done < kShort * kLanes ? (m - done) & ~3 : kShort * kLanes;
      fill_lanes<kShort>(state_, out + done, part);
      done += part;
    }
    State s = state_;
    for (; done < m; ++done) out[done] = step(s);
    state_ = s;
  }

 private:
  State& state_;
};

// ---- Seeding and moves ----

void seed(State& s, int32_t n, const uint32_t* params) {
  const auto take = [&](int32_t first, uint32_t modulus, uint32_t* to) {
    for (int32_t i = 0; i < 3; ++i) {
      const uint32_t value = first + i < n ? params[first + i] : 1;
      to[i] = value >= modulus ? value - modulus : value;
    }
    if ((to[0] | to[1] | to[2]) == 0) to[0] = 1;
  };
  take(0, M::kM1, s.x);
  take(3, M::kM2, s.y);
}

// The tables serve every count; their walk is exact beyond their end too.
void skip(State& s, int32_t n, const uint64_t* count) {
  __qstiVect3PowArrayMod_M1(s.x, n, count, kMrg32k3aPowers1[0].data());
  __qstiVect3PowArrayMod_M2(s.y, n, count, kMrg32k3aPowers2[0].data());
}

}  // namespace

int32_t __qstBRngMRG32K3AInitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  State& s = state_of<State>(stream);
  switch (method) {
    case QST_INIT_NEW:
      seed(s, n, params);
      return QST_STATUS_OK;
    case QST_INIT_LEAPFROG:
      return QST_ERROR_LEAPFROG_UNSUPPORTED;
    case QST_INIT_SKIPAHEAD: {
      const uint64_t count = count_at(params);
      skip(s, 1, &count);
      return QST_STATUS_OK;
    }
    case QST_INIT_SKIPAHEAD_EX:
      skip(s, n, reinterpret_cast<const uint64_t*>(params));
      return QST_STATUS_OK;
    default:
      return QST_ERROR_UNKNOWN_METHOD;
  }
}

int32_t __qstsBRngMRG32K3A(QstStream* stream, int32_t n, float* r, float a, float b) {
  return generate<Mrg>(stream, n, r, a, b);
}

int32_t __qstdBRngMRG32K3A(QstStream* stream, int32_t n, double* r, double a, double b) {
  return generate<Mrg>(stream, n, r, a, b);
}

int32_t __qstiBRngMRG32K3A(QstStream* stream, int32_t n, uint32_t* r) {
  alignas(64) double block[kBlockElements];
  Mrg generator(stream, n);
  for (int32_t m; n > 0; n -= m, r += m) {
    m = n < kBlockElements ? n : kBlockElements;
    generator.fill(block, m);
    int32_t i = 0;
    // Added to 2^52, an integer below 2^32 stands in the lower half of the word.
    for (; i + 4 <= m; i += 4) {
      const __m256 word = _mm256_castpd_ps(_mm256_load_pd(block + i) + _mm256_set1_pd(kTwo52));
      const __m128 low = _mm256_castps256_ps128(word), high = _mm256_extractf128_ps(word, 1);
      _mm_storeu_ps(reinterpret_cast<float*>(r + i), _mm_shuffle_ps(low, high, 0x88));
    }
    for (; i < m; ++i) r[i] = static_cast<uint32_t>(block[i]);
  }
  return QST_STATUS_OK;
}
