// Chief header of the streams: the records' layouts, held, and what generators and distributions share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/scratch.h"
#include "qlx/qst.h"

// A double that is held wider than its type would make sequences depend on the compiler.
static_assert(FLT_EVAL_METHOD == 0);

namespace qlx::rng {

// streamSize counts the header and a saved image does not: both rest on its 16 bytes, on every target.
inline constexpr int32_t kHeaderBytes = 16;
static_assert(sizeof(QstStream) == kHeaderBytes && offsetof(QstStream, chunks) == 8);
static_assert(offsetof(QstStream, headerTag) == 4 && offsetof(QstStream, headerPad0) == 5 &&
              offsetof(QstStream, headerPad1) == 6);
static_assert(offsetof(QstBrngProperties, bits) == 16);
static_assert(offsetof(QstGlobRODataEntry, refCount) == 16);
static_assert(offsetof(QstChunk, data) == 8);
// With pointers of 32 bits the sizes are numbers of the contract.
static_assert(sizeof(void*) != 4 || (sizeof(QstChunk) == 32 && offsetof(QstChunk, globalId) == 16));
static_assert(sizeof(void*) != 4 || (sizeof(QstBrngProperties) == 36 && sizeof(QstGlobRODataEntry) == 24));

using platform::kAlignment, platform::Scratch;

// Rows of __RegBrngsNew that are built in.
enum Row : int32_t {
  kMcg31m1,
  kR250,
  kMrg32k3a,
  kMcg59,
  kWh,
  kSobol,
  kNiederr,
  kMt19937,
  kMt2203,
  kIntegerAbstract,
  kDoubleAbstract,
  kFloatAbstract,
  kSfmt19937,
  kTrng,
  kArs5,
  kPhilox4x32x10,
  kBuiltInRows
};

// Sub-streams of the two generators that have more than one.
inline constexpr int32_t kWhSets = 273, kMt2203Sets = 6024;

// Bytes of a stream whose state is State: what a row's streamSize must be. Records end on a multiple of 8 bytes.
template <class State>
inline constexpr int32_t kStreamSize = kHeaderBytes + static_cast<int32_t>((sizeof(State) + 7) / 8 * 8);

// State records of the abstract streams, the only ones with pointers: 40, 56 and 48 bytes of stream on 32 bits, more
// on 64. `unread` elements are size - free; new ones go in at (index + size - free) mod size.
using AbstractCallback = int32_t (*)(QstStream* stream, int32_t* size, void* buffer, int32_t* min_count,
                                     int32_t* max_count, int32_t* position);
struct IntegerAbstractState {
  int32_t size, index, free;
  uint32_t* buffer;
  AbstractCallback callback;
};
struct DoubleAbstractState {
  int32_t size, index, free;
  alignas(8) double a;
  double b;
  double* buffer;
  AbstractCallback callback;
};
struct FloatAbstractState {
  int32_t size, index, free;
  float a, b;
  float* buffer;
  AbstractCallback callback;
};
static_assert(sizeof(void*) != 4 || (kStreamSize<IntegerAbstractState> == 40 &&
                                     kStreamSize<DoubleAbstractState> == 56 && kStreamSize<FloatAbstractState> == 48));

// The state record of a stream.
template <class State>
inline State& state_of(QstStream* stream) {
  static_assert(alignof(State) <= 16, "the state begins 16 bytes into a block aligned to 128");
  return *static_cast<State*>(qst_stream_state(stream));
}

// The row and the sub-stream of a stream's generator. Nothing keeps a pointer to a row between calls.
struct Generator {
  const QstBrngProperties* properties;
  int32_t row;
  int32_t sub_stream;
};
inline Generator generator_of(const QstStream* stream) {
  int32_t row, sub_stream;
  const QstBrngProperties* table = __qstGetBrngBaseOffset(stream->brng, &row, &sub_stream);
  return {table + row, row, sub_stream};
}

// Count of 64 bits behind the params of methods 2 and 3; they are words of 32 bits to the caller's compiler.
inline uint64_t count_at(const uint32_t* params) {
  uint64_t count;
  std::memcpy(&count, params, sizeof count);
  return count;
}

}  // namespace qlx::rng
