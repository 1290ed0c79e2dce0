// The registry of generators: the two tables, the two numberings of identifiers, registration.
// SPDX-License-Identifier: Apache-2.0
#include "rng/qst_stream.h"

namespace {

using namespace qlx::rng;

struct Entries {
  QstInitStream init_stream;
  QstSBrng s_brng;
  QstDBrng d_brng;
  QstIBrng i_brng;
};

// A generator that the library has not built yet keeps its numbers in its row. Without entries no stream can be made.
constexpr Entries kNotBuilt{};

#define QLX_BRNG_ENTRIES(NAME)                                                        \
  Entries {                                                                           \
    __qstBRng##NAME##InitStream, __qstsBRng##NAME, __qstdBRng##NAME, __qstiBRng##NAME \
  }

constexpr QstBrngProperties record(int32_t stream_size, int32_t word_count, int32_t includes_zero, int32_t word_bytes,
                                   int32_t bits, Entries entries) {
  return {stream_size,         word_count,     includes_zero,  word_bytes,    bits,
          entries.init_stream, entries.s_brng, entries.d_brng, entries.i_brng};
}

// Records that both tables hold.              stream  words zero bytes bits
constexpr QstBrngProperties kMcg31m1Record = record(24, 1, 0, 4, 31, QLX_BRNG_ENTRIES(MCG31M1));
constexpr QstBrngProperties kR250Record = record(1024, 252, 1, 4, 32, QLX_BRNG_ENTRIES(R250));
constexpr QstBrngProperties kMrg32k3aRecord = record(40, 6, 1, 4, 32, QLX_BRNG_ENTRIES(MRG32K3A));
constexpr QstBrngProperties kMcg59Record = record(32, 1, 0, 8, 59, QLX_BRNG_ENTRIES(MCG59));
constexpr QstBrngProperties kWhRecord = record(48, 4, 1, 16, 24, QLX_BRNG_ENTRIES(WH));  // four words an element
constexpr QstBrngProperties kSobolRecord = record(11712, 2604, 0, 4, 32, kNotBuilt);
constexpr QstBrngProperties kNiederrRecord = record(84288, 10498, 0, 4, 32, kNotBuilt);

// Rows in use of __RegBrngsNew, and the sub-streams of each. Not guarded: registration overlaps nothing.
int32_t row_count = kBuiltInRows;
int32_t sub_stream_counts[QST_REG_BRNGS_NEW_ROWS] = {
    1, 1, 1, 1, kWhSets, 1, 1, 1, kMt2203Sets, 1, 1, 1, 1, 1, 1, 1,
};

// Identifiers of the newer numbering count rows from one in their upper bits.
constexpr int32_t kSubStreamBits = 20;
constexpr int32_t kRowUnit = 1 << kSubStreamBits;

// In the older numbering the sets of WH have identifiers of their own.
constexpr int32_t kOldWh = 4;

}  // namespace

QstBrngProperties __RegBrngsNew[QST_REG_BRNGS_NEW_ROWS] = {
    kMcg31m1Record,
    kR250Record,
    kMrg32k3aRecord,
    kMcg59Record,
    kWhRecord,
    kSobolRecord,
    kNiederrRecord,
    record(2520, 625, 1, 4, 32, kNotBuilt),                             // MT19937
    record(312, 70, 1, 4, 32, kNotBuilt),                               // MT2203
    record(kStreamSize<IntegerAbstractState>, 0, 1, 4, 32, kNotBuilt),  // integer abstract stream
    record(kStreamSize<DoubleAbstractState>, 0, 1, 4, 32, kNotBuilt),   // double abstract stream
    record(kStreamSize<FloatAbstractState>, 0, 1, 4, 32, kNotBuilt),    // float abstract stream
    record(2536, 625, 1, 4, 32, kNotBuilt),                             // SFMT19937
    record(24, 1, 0, 4, 32, kNotBuilt),                                 // TRNG
    record(72, 8, 1, 4, 32, kNotBuilt),                                 // ARS5
    record(64, 8, 1, 4, 32, kNotBuilt),                                 // PHILOX4X32X10
};

#define QLX_3(X) X, X, X
#define QLX_7(X) X, X, X, X, X, X, X
#define QLX_13(X) X, X, X, X, X, X, X, X, X, X, X, X, X
static_assert(3 * 7 * 13 == kWhSets);

const QstBrngProperties __RegBrngs[QST_REG_BRNGS_ROWS] = {
    kMcg31m1Record, kR250Record,    kMrg32k3aRecord, kMcg59Record, QLX_3(QLX_7(QLX_13(kWhRecord))),
    kSobolRecord,   kNiederrRecord,
};

const QstBrngProperties* __qstGetBrngBaseOffset(int32_t brng, int32_t* row, int32_t* subStream) {
  if (brng >= kRowUnit) {
    *row = (brng >> kSubStreamBits) - 1;
    *subStream = brng & (kRowUnit - 1);
    return __RegBrngsNew;
  }
  const bool is_wh = brng >= kOldWh && brng < kOldWh + kWhSets;
  *row = is_wh ? kOldWh : brng;
  *subStream = is_wh ? brng - kOldWh : 0;
  return __RegBrngs;
}

int32_t __qstIsBrngValid(const QstBrngProperties* table, int32_t row, int32_t subStream) {
  if (table == __RegBrngs) return row < QST_REG_BRNGS_ROWS ? QST_STATUS_OK : QST_ERROR_BAD_BRNG;
  return row < row_count && subStream < sub_stream_counts[row] ? QST_STATUS_OK : QST_ERROR_BAD_BRNG;
}

int32_t __qstRegisterBrng(const QstBrngProperties* properties) {
  const QstBrngProperties& p = *properties;
  if (p.streamSize < 0) return QST_ERROR_BAD_STREAM_SIZE;
  if (p.wordBytes != 4 && p.wordBytes != 8 && p.wordBytes != 16) return QST_ERROR_BAD_WORD_BYTES;
  if (p.wordCount <= 0) return QST_ERROR_BAD_WORD_COUNT;
  if (p.bits <= 0) return QST_ERROR_BAD_BITS;
  if (p.dBrng == nullptr || p.sBrng == nullptr || p.iBrng == nullptr || p.initStream == nullptr)
    return QST_ERROR_NULL_POINTER;
  const int32_t brng = row_count * kRowUnit + kRowUnit;
  __RegBrngsNew[row_count] = p;
  sub_stream_counts[row_count] = 1;
  ++row_count;
  return brng;
}

int32_t __qstGetBrngProperties(int32_t brng, QstBrngProperties* properties) {
  int32_t row, sub_stream;
  const QstBrngProperties* table = __qstGetBrngBaseOffset(brng, &row, &sub_stream);
  const int32_t status = __qstIsBrngValid(table, row, sub_stream);
  if (status >= 0) *properties = table[row];
  return status;
}

int32_t __qstGetNumRegBrngs(void) {
  return row_count;
}
