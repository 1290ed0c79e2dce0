// R250: a shift register of 250 words, v(n) = v(n-250) xor v(n-147) (Kirkpatrick, Stoll, "A very fast shift-register
// sequence random number generator", Journal of Computational Physics 40, 1981).
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "rng/output.h"

namespace {

using namespace qlx::rng;

// Words of the register, and the place of v(n-147) when that of v(n-250) is 0.
constexpr int32_t kWords = 250, kLag = 103, kShortLag = kWords - kLag;

struct State {
  uint32_t w[kWords];  // circular
  int32_t i, j;        // read positions: the oldest word, and kLag further on
};
static_assert(kStreamSize<State> == 1024);

// ---- Recurrence ----

// out[k] = first[k] xor second[k], in order; what is read may be output of at least 8 places before.
void combine(uint32_t* out, const uint32_t* first, const uint32_t* second, int32_t n) {
  int32_t k = 0;
  for (; n - k >= 8; k += 8) {
    const __m256 a = _mm256_loadu_ps(reinterpret_cast<const float*>(first + k));
    const __m256 b = _mm256_loadu_ps(reinterpret_cast<const float*>(second + k));
    _mm256_storeu_ps(reinterpret_cast<float*>(out + k), _mm256_xor_ps(a, b));
  }
  for (; k < n; ++k) out[k] = first[k] ^ second[k];
}

class R250 : public BlockOf<uint32_t> {
 public:
  struct Mapping : AffineMapping<Raw> {
    Mapping(const R250&, double a, double b) : AffineMapping(a, b, 0x1p-32) {}
  };

  // A call for the whole register or more leaves its last 250 outputs in order, a shorter one moves the positions.
  R250(QstStream* stream, int32_t n) : state_(state_of<State>(stream)), in_order_(n >= kWords) {
    if (!in_order_) return;
    std::rotate(state_.w, state_.w + state_.i, state_.w + kWords);
    state_.i = 0;
    state_.j = kLag;
  }

  void fill(uint32_t* out, int32_t m) {
    if (!in_order_) return step_by_step(out, m);
    uint32_t* w = state_.w;
    const int32_t from_register = std::min(m, kShortLag), half = std::min(m, kWords);
    combine(out, w, w + kLag, from_register);
    combine(out + from_register, w + from_register, out, half - from_register);
    combine(out + half, out, out + kLag, m - half);
    std::copy(w + half, w + kWords, w);
    std::copy(out + m - half, out + m, w + kWords - half);
  }

 private:
  void step_by_step(uint32_t* out, int32_t m) {
    State& s = state_;
    for (int32_t k = 0; k < m; ++k) {
      out[k] = s.w[s.i] ^= s.w[s.j];
      s.i = s.i == kWords - 1 ? 0 : s.i + 1;
      s.j = s.j == kWords - 1 ? 0 : s.j + 1;
    }
  }

  State& state_;
  bool in_order_;
};

// ---- Seeding ----

void seed(State& s, int32_t n, const uint32_t* params) {
  s.i = 0;
  s.j = kLag;
  if (n >= kWords) {
    std::copy(params, params + kWords, s.w);
    return;
  }
  uint32_t word = n > 0 && params[0] != 0 ? params[0] : 1;
  for (uint32_t& w : s.w) w = word *= 69069;  // Marsaglia's multiplier mod 2^32
  // A triangle of ones over zeros in 32 words makes the bit columns independent.
  for (int t = 0; t < 32; ++t) {
    uint32_t& w = s.w[3 + 7 * t];
    w = (w & 0xFFFFFFFFu >> t) | 0x80000000u >> t;
  }
}

}  // namespace

int32_t __qstBRngR250InitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  switch (method) {
    case QST_INIT_NEW:
      seed(state_of<State>(stream), n, params);
      return QST_STATUS_OK;
    case QST_INIT_LEAPFROG:
      return QST_ERROR_LEAPFROG_UNSUPPORTED;
    case QST_INIT_SKIPAHEAD:
      return QST_ERROR_SKIPAHEAD_UNSUPPORTED;
    case QST_INIT_SKIPAHEAD_EX:
      return QST_ERROR_SKIPAHEAD_EX_UNSUPPORTED;
    default:
      return QST_ERROR_UNKNOWN_METHOD;
  }
}

int32_t __qstsBRngR250(QstStream* stream, int32_t n, float* r, float a, float b) {
  return generate<R250>(stream, n, r, a, b);
}

int32_t __qstdBRngR250(QstStream* stream, int32_t n, double* r, double a, double b) {
  return generate<R250>(stream, n, r, a, b);
}

int32_t __qstiBRngR250(QstStream* stream, int32_t n, uint32_t* r) {
  if (n > 0) R250(stream, n).fill(r, n);
  return QST_STATUS_OK;
}
