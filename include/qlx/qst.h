/* Random streams: stream object, generator registry, persistence, moves, basic generators, distributions.
   SPDX-License-Identifier: Apache-2.0

   A stream is one block: a header of 16 bytes and the state of its generator. It is made by __qstNewStreamEx (or by a
   copy or a load) and ends with __qstDeleteStream; until then it belongs to one thread at a time. Different streams
   may run side by side, also when they share read-only data.

   Pointers are trusted. A function that returns a status returns 0 (or a positive number) for success and a negative
   number for the first check that fails, in the order in which its comment names them. Identifiers are
   (row + 1) * 0x100000 + sub-stream for the rows of __RegBrngsNew; those below 0x100000 are an older numbering into
   __RegBrngs. A negative identifier is the caller's error and is not caught. */
#ifndef QLX_QST_H
#define QLX_QST_H

#include <stdint.h>

#include "qlx/api.h"

QLX_BEGIN_C

/* ---- Status numbers --------------------------------------------------------------------------------------------- */

enum {
  QST_STATUS_OK = 0,
  QST_ERROR_UNKNOWN_METHOD = -2,               /* initStream got a method other than 0 to 3 */
  QST_ERROR_BAD_ARGS = -3,                     /* bad arguments of an abstract or quasi-random stream */
  QST_ERROR_MEMORY = -4,                       /* an allocation failed */
  QST_ERROR_NULL_POINTER = -5,                 /* null function at registration, null buffer of an abstract stream */
  QST_ERROR_BAD_BRNG = -1000,                  /* identifier outside the tables, or not available through this entry */
  QST_ERROR_LEAPFROG_UNSUPPORTED = -1002,      /* the generator lacks leapfrog */
  QST_ERROR_SKIPAHEAD_UNSUPPORTED = -1003,     /* the generator lacks skip-ahead, or can't reach the position */
  QST_ERROR_SKIPAHEAD_EX_UNSUPPORTED = -1004,  /* the generator lacks skip-ahead by a long count */
  QST_ERROR_BAD_STREAM_SIZE = -1008,           /* registration: negative streamSize */
  QST_ERROR_BAD_WORD_BYTES = -1009,            /* registration: wordBytes other than 4, 8, 16 */
  QST_ERROR_BAD_WORD_COUNT = -1010,            /* registration: wordCount not positive */
  QST_ERROR_BAD_BITS = -1011,                  /* registration: bits not positive */
  QST_ERROR_QUASI_PERIOD_ELAPSED = -1012,      /* the counter of a quasi-random generator has run out */
  QST_ERROR_LEAPFROG_NSTREAMS = -1013,         /* negative nstreams */
  QST_ERROR_BITS_UNSUPPORTED = -1014,          /* the generator has no such bit output */
  QST_ERROR_FILE_CLOSE = -1100,                /* closing the file failed */
  QST_ERROR_FILE_OPEN = -1101,                 /* opening the file failed */
  QST_ERROR_FILE_WRITE = -1102,                /* writing the file failed */
  QST_ERROR_FILE_READ = -1103,                 /* reading the file failed */
  QST_ERROR_BAD_FILE_FORMAT = -1110,           /* the file's header does not fit */
  QST_ERROR_ABSTRACT_BAD_UPDATE = -1120,       /* the callback's count is negative or more than it was asked for */
  QST_ERROR_ABSTRACT_NO_NUMBERS = -1121,       /* the callback returned zero */
  QST_ERROR_ABSTRACT_WRONG_TYPE = -1122,       /* an abstract stream was asked for a type other than its own */
  QST_ERROR_NO_HARDWARE_RANDOM = -1130,        /* the processor has no hardware source */
  QST_ERROR_HARDWARE_RETRIES = -1131,          /* the hardware source kept failing past its limit */
  QST_ERROR_NO_AES = -1140,                    /* the processor has no AES instructions */
  QST_ERROR_MULTINOMIAL_PROBABILITIES = -1150, /* the multinomial generator's check failed */
  QST_ERROR_BAD_MEMORY_FORMAT = -1200,         /* a memory image's header does not fit */
  QST_ERROR_GLOBAL_ENTRY_NOT_FOUND = -3000,    /* no such shared row, or a zero identity */
  QST_ERROR_GLOBAL_TABLE_FULL = -3001          /* the shared table has 128 rows */
};

/* ---- Generator identifiers -------------------------------------------------------------------------------------- */

enum {
  QST_BRNG_MCG31M1 = 0x100000,
  QST_BRNG_R250 = 0x200000,
  QST_BRNG_MRG32K3A = 0x300000,
  QST_BRNG_MCG59 = 0x400000,
  QST_BRNG_WH = 0x500000, /* + 0 to 272 */
  QST_BRNG_SOBOL = 0x600000,
  QST_BRNG_NIEDERR = 0x700000,
  QST_BRNG_MT19937 = 0x800000,
  QST_BRNG_MT2203 = 0x900000, /* + 0 to 6023 */
  QST_BRNG_IABSTRACT = 0xA00000,
  QST_BRNG_DABSTRACT = 0xB00000,
  QST_BRNG_SABSTRACT = 0xC00000,
  QST_BRNG_SFMT19937 = 0xD00000,
  QST_BRNG_TRNG = 0xE00000,
  QST_BRNG_ARS5 = 0xF00000,
  QST_BRNG_PHILOX4X32X10 = 0x1000000
};

/* Method codes of initStream: what n and params mean with each. */
enum {
  QST_INIT_NEW = 0,         /* n seeds of 32 bits */
  QST_INIT_LEAPFROG = 1,    /* n streams, params points at the stream's index */
  QST_INIT_SKIPAHEAD = 2,   /* n = 2, params points at a 64-bit count */
  QST_INIT_SKIPAHEAD_EX = 3 /* n words of 64 bits, least significant first */
};

/* Flag of a distribution's method word: clamp the result into its range. */
#define QST_METHOD_ACCURACY_FLAG 0x40000000

/* ---- Records ---------------------------------------------------------------------------------------------------- */

/* Data attached to a stream by number; a singly linked list, newest first. */
typedef struct QstChunk {
  int32_t id;   /* the owner's chunk number */
  int32_t size; /* bytes of data */
  void* data;   /* the chunk's, unless globalId names a row of the shared table, which owns it then */
  struct QstChunk* next;
  uint64_t globalId[2]; /* identity of shared read-only data; both words zero: private */
} QstChunk;

/* The header of a stream. The generator's state follows it: see qst_stream_state. */
typedef struct QstStream {
  int32_t brng;        /* identifier as given at creation, sub-stream included */
  uint8_t headerTag;   /* 1 */
  uint8_t headerPad0;  /* 0 */
  uint16_t headerPad1; /* 0 */
  union {              /* a 64-bit slot on every target, so that the header takes 16 bytes */
    QstChunk* chunks;
    uint64_t chunksSlot;
  };
} QstStream;

/* The state record of a stream: streamSize - 16 bytes, aligned to 16. */
static inline void* qst_stream_state(QstStream* stream) {
  return (void*)(stream + 1);
}

typedef int32_t (*QstInitStream)(int32_t method, QstStream* stream, int32_t n, const uint32_t* params);
typedef int32_t (*QstSBrng)(QstStream* stream, int32_t n, float* r, float a, float b);
typedef int32_t (*QstDBrng)(QstStream* stream, int32_t n, double* r, double a, double b);
typedef int32_t (*QstIBrng)(QstStream* stream, int32_t n, uint32_t* r);

/* A generator. sBrng and dBrng map the output onto (a, b); iBrng writes n words of wordBytes bytes. */
typedef struct QstBrngProperties {
  int32_t streamSize;   /* bytes of a stream, header included */
  int32_t wordCount;    /* state words that __qstCopyStreamState copies */
  int32_t includesZero; /* 1 when the integer output can be 0 */
  int32_t wordBytes;    /* bytes of one output word: 4, 8 or 16 */
  int32_t bits;         /* significant bits of an output word */
  QstInitStream initStream;
  QstSBrng sBrng;
  QstDBrng dBrng;
  QstIBrng iBrng;
} QstBrngProperties;

/* A row of the process-wide table of shared read-only data. */
typedef struct QstGlobRODataEntry {
  uint64_t idLow;
  uint64_t idHigh;
  int32_t refCount;
  void* data;
} QstGlobRODataEntry;

/* ---- Registry --------------------------------------------------------------------------------------------------- */

enum { QST_REG_BRNGS_ROWS = 281, QST_REG_BRNGS_NEW_ROWS = 512 };

/* The generators by the older identifiers: 0 MCG31M1, 1 R250, 2 MRG32K3A, 3 MCG59, 4 to 276 WH, 277 Sobol,
   278 Niederr; rows 279 and 280 are empty. */
extern QLX_API const QstBrngProperties __RegBrngs[QST_REG_BRNGS_ROWS];

/* The generators by identifier / 0x100000 - 1. Rows from 16 on are those of __qstRegisterBrng. A row whose initStream
   is null is no generator that a stream can be made of. */
extern QLX_API QstBrngProperties __RegBrngsNew[QST_REG_BRNGS_NEW_ROWS];

/* Decodes `brng` into a row and a sub-stream and returns the table that the row stands in. Checks nothing. */
QLX_API const QstBrngProperties* __qstGetBrngBaseOffset(int32_t brng, int32_t* row, int32_t* subStream);

/* 0 when `row` of `table` is in use (and `subStream` is one of its sub-streams, in __RegBrngsNew), else -1000. */
QLX_API int32_t __qstIsBrngValid(const QstBrngProperties* table, int32_t row, int32_t subStream);

/* Adds a row with one sub-stream and returns its identifier: 0x1100000 for the first. Checks, in this order:
   streamSize negative -1008; wordBytes not 4, 8, 16 -1009; wordCount not positive -1010; bits not positive -1011;
   dBrng, sBrng, iBrng or initStream null -5. The table's 512 rows are the caller's to keep count of. Takes no lock:
   calls may overlap neither each other nor any other use of a new identifier. A row can't be removed. */
QLX_API int32_t __qstRegisterBrng(const QstBrngProperties* properties);

/* Copies the row of `brng`; -1000 when there is none. */
QLX_API int32_t __qstGetBrngProperties(int32_t brng, QstBrngProperties* properties);

/* Rows in use of __RegBrngsNew. */
QLX_API int32_t __qstGetNumRegBrngs(void);

/* ---- Life of a stream ------------------------------------------------------------------------------------------- */

/* Makes a stream of generator `brng` from n seeds of 32 bits. Checks, in this order: an abstract identifier -1000; an
   identifier outside the tables, or a row without a generator, -1000; no memory -4, with null in *stream; then the
   status of the generator. *stream is not written by the first two. A stream whose generator refuses the seeds stays
   in *stream and is the caller's to delete. */
QLX_API int32_t __qstNewStreamEx(QstStream** stream, int32_t brng, int32_t n, const uint32_t* params);

/* The same without seeding, for a decoded identifier (see __qstGetBrngBaseOffset); abstract rows are allowed. The
   state's bytes are not set. Statuses: -1000, -4. */
QLX_API int32_t __qstAllocateStream(QstStream** stream, const QstBrngProperties* table, int32_t brng, int32_t row,
                                    int32_t subStream);

/* Frees the stream and its chunks and stores null in *stream, which must hold a stream. Returns 0. */
QLX_API int32_t __qstDeleteStream(QstStream** stream);

/* Duplicates `source` with its chunks; the copy goes on where the source stands. The order of the chunks is reversed;
   shared data is shared once more. Statuses: -1000; -4 with null in *newStream when the stream can't be allocated, -4
   with a stream without chunks in *newStream when a chunk can't. */
QLX_API int32_t __qstCopyStream(QstStream** newStream, QstStream* source);

/* Copies wordBytes * wordCount bytes of state, as the row of the source counts them, but no more than either state
   holds, and replaces the chunks of the destination by copies of the source's. The generators are not compared and the
   destination keeps its identifier. For many generators those bytes are not the whole state: the multiplier of
   MCG31M1 and MCG59 stays, as do parameters of MT2203 and the tails of the twisters. Does nothing when both are the
   same. Statuses: 0; -4, with no chunks left in the destination. */
QLX_API int32_t __qstCopyStreamState(QstStream* destination, QstStream* source);

/* Bytes of the image that __qstSaveStreamM writes: streamSize + 8 + sum over chunks of (size + 24). */
QLX_API int32_t __qstGetStreamSize(QstStream* stream);

/* The identifier of the stream. */
QLX_API int32_t __qstGetStreamStateBrng(QstStream* stream);

/* ---- Chunks ----------------------------------------------------------------------------------------------------- */

/* Attaches `data` (from qlx_serv_allocate; the stream owns it from here on) of `size` bytes at the head of the list.
   `globalId` null or zero: private data. Else the identity of read-only data that streams of this process share: when
   the table has it, the chunk takes the table's data and the `data` passed is left to the caller; when not, it enters
   the table, or, with 127 rows in use, becomes private. Statuses: 0; -4, then the data stays the caller's. */
QLX_API int32_t __qstAddChunk(QstStream* stream, int32_t id, const uint64_t* globalId, void* data, int32_t size);

/* The data of the newest chunk of that number, or null. */
QLX_API void* __qstSearchChunk(QstStream* stream, int32_t id);

/* The length of the list. */
QLX_API int32_t __qstGetNumChunks(QstStream* stream);

/* Releases the chunks of that number. At most one chunk of another number may be on the list: the list that is left
   starts at the last survivor, and survivors before it are lost without being freed. Returns 0. */
QLX_API int32_t __qstDeleteChunksById(QstStream* stream, int32_t id);

/* Releases all chunks. Returns 0. */
QLX_API int32_t __qstDeleteChunks(QstStream* stream);

/* Adds copies of the source's chunks to the destination, in reverse order. On -4 the destination has no chunks. */
QLX_API int32_t __qstCopyChunks(QstStream* destination, QstStream* source);

/* ---- Shared read-only data -------------------------------------------------------------------------------------- */
/* One table of at most 128 rows for the process, guarded by a spin lock. An address of a row is good until the table
   changes: rows stay dense, and removal moves the last row into the hole. */

/* Stores the address of the row of identity `id` (two words). -3000 when `id` is null, zero or not in the table. */
QLX_API int32_t __qstFindGlobRODataTableEntry(QstGlobRODataEntry** entry, const uint64_t* id);

/* Appends a row with reference count 1; does not look for one of the same identity. -3001 with 128 rows in use. */
QLX_API int32_t __qstCreateGlobRODataTableEntry(QstGlobRODataEntry** entry, const uint64_t* id, void* data);

/* Takes a reference on row `id` for `chunk` and gives the chunk the row's data. No such row: nothing happens. */
QLX_API void __qstRegisterGlobRODataReference(QstChunk* chunk, const uint64_t* id);

/* Drops a reference; the last one frees the row's data and removes the row. No such row: nothing happens. */
QLX_API void __qstUnregisterGlobRODataReference(const uint64_t* id);

/* Makes an identity that is not in the table: id[0] the processor's time-stamp counter, id[1] `tag` sign-extended.
   Returns 0. */
QLX_API int32_t __qstGenerateNewGlobalRODataTableEntryId(uint64_t* id, int32_t tag);

/* ---- Persistence ------------------------------------------------------------------------------------------------ */
/* The image, the same in a file and in memory, little-endian and without padding: a header of 24 bytes, the state, the
   chunks. docs/rng.md gives every byte. It fits processes with the same pointer width; an abstract stream's image is
   of no use outside the process that wrote it. Never load an image from a source that isn't trusted without the
   checks of qlx/qst_image.h: a state is taken as it is.

   The name is terminated when fnameLength is negative, else it has fnameLength characters. */

/* Statuses: -4 for the name's copy; -1101; -1102; -1100. Success or failure of a write is that of the last one. */
QLX_API int32_t __qstSaveStreamF(QstStream* stream, const char* fname, int32_t fnameLength);

/* Makes a stream from a file. Statuses: -4 for the name's copy, with *stream untouched; and with null in *stream:
   -1101; -1103 header; -1110 magic, identifier, state size or header size; -1000 no such generator in this library; -4;
   -1103 state; -1130 or -1140 no hardware for it; -4 or -1103 chunks; -1100. */
QLX_API int32_t __qstLoadStreamF(QstStream** stream, const char* fname, int32_t fnameLength);

/* Writes the image to `memory`, which has room for __qstGetStreamSize(stream) bytes. Returns 0. */
QLX_API int32_t __qstSaveStreamM(QstStream* stream, char* memory);

/* Makes a stream from an image in memory, whose length is trusted. Statuses as for a file, with -1200 for -1110. */
QLX_API int32_t __qstLoadStreamM(QstStream** stream, const char* memory);

/* ---- Moves ------------------------------------------------------------------------------------------------------ */

/* From here on the stream gives elements k, k + nstreams, k + 2 nstreams ... of what it would have given (k from 0).
   Statuses: nstreams negative -1013; then the generator's: -1002 where it has no leapfrog. */
QLX_API int32_t __qstLeapfrogStream(QstStream* stream, int32_t k, int32_t nstreams);

/* Moves the stream on by nskip elements, an unsigned count. -1003 where the generator has no skip-ahead. */
QLX_API int32_t __qstSkipAheadStream(QstStream* stream, int64_t nskip);

/* Moves the stream on by the count nskip[0] + 2^64 nskip[1] + ... of n words. -1004 where the generator lacks it. */
QLX_API int32_t __qstSkipAheadStreamEx(QstStream* stream, int32_t n, const uint64_t* nskip);

/* ---- Arithmetic of the moves ------------------------------------------------------------------------------------ */

/* a^e mod m; 1 for e = 0. */
QLX_API uint32_t __qstiPowMod(uint32_t a, uint64_t e, uint32_t m);
/* a^e mod 2^31 - 1; 1 for e = 0. */
QLX_API uint32_t __qstiPowMod2P31M1(uint32_t a, uint64_t e);
/* a^e mod 2^59; 1 for e = 0. */
QLX_API uint64_t __qstiPowMod2P59(uint64_t a, uint64_t e);

/* v := A^e v mod m, with A = rows (0, 1, 0), (0, 0, 1), (row[2], row[1], row[0]): `row` has the coefficients of the
   newest value first. The entries of v and row are below m. */
QLX_API void __qstiVect3PowMod(uint32_t* v, const uint32_t* row, uint32_t m, uint64_t e);
/* The same for the exponent e[0] + 2^64 e[1] + ... of n words. */
QLX_API void __qstiVect3PowArrayMod(uint32_t* v, const uint32_t* row, uint32_t m, int32_t n, const uint64_t* e);
/* The same for the two moduli of MRG32K3A, from a table of 193 matrices (row-major 3 x 3): A^(2^i) mod m. */
QLX_API void __qstiVect3PowArrayMod_M1(uint32_t* v, int32_t n, const uint64_t* e, const uint32_t* table);
QLX_API void __qstiVect3PowArrayMod_M2(uint32_t* v, int32_t n, const uint64_t* e, const uint32_t* table);

/* result := x^e mod P over GF(2), e unsigned: coefficient j is bit j of the wordCount words of 64 bits (stored as pairs
   of 32, the low one first). P has degree `degree` of at least 1 and the exponents `terms`, of which those named twice
   cancel. Coefficients beyond the words are dropped. Statuses: 0; -4, with result zero. */
QLX_API int32_t __qstPolyRem(int64_t e, uint64_t degree, int32_t termCount, const int32_t* terms, int32_t wordCount,
                             uint32_t* result);

/* What a jump needs to know of a generator over GF(2). A work record is a block of recordBytes bytes that holds what a
   stream of the generator holds; clear and combine leave its read position valid. */
typedef void (*QstJumpClear)(QstStream* work); /* all words of the state := 0 */
/* add: destination := destination xor source, each read from its own position; copy: destination := source, position
   included. The last argument is 0. */
typedef void (*QstJumpCombine)(QstStream* destination, QstStream* source, int32_t zero);
typedef void (*QstJumpStep)(QstStream* work); /* one element of the recursion */
/* Moves the result from `work` back into the stream, aligned as its blocks are; `scratch` is one record more. */
typedef void (*QstJumpFinish)(QstStream* stream, QstStream* work, QstStream* scratch);
/* Lets the present block absorb what it can: 0 when that was all of *nskip, else 1 with the rest in *nskip and the
   stream at the block's end. *out is 0 and is not looked at again. */
typedef int32_t (*QstJumpPrepare)(QstStream* stream, uint64_t* nskip, int32_t* out);

/* Moves a stream on by nskip elements: state := g(A) state, g = x^nskip mod P, with P of degree `degree` and the
   exponents `terms`, the state of wordCount words of 32 bits. Horner adds the state once for each set bit of g; SWin
   takes windows of 7 bits against a table of 128 records. nskip = 0 does nothing. Statuses: 0; -4, then the stream
   stands where prepareSkip left it. */
QLX_API int32_t __qst_SkipAheadHorner(QstStream* stream, QstJumpClear clearState, QstJumpCombine addState,
                                      QstJumpCombine copyState, QstJumpStep stepState, QstJumpFinish finishState,
                                      QstJumpPrepare prepareSkip, uint64_t nskip, int32_t wordCount, int32_t degree,
                                      int32_t recordBytes, int32_t termCount, const int32_t* terms);
QLX_API int32_t __qst_SkipAheadSWin(QstStream* stream, QstJumpClear clearState, QstJumpCombine addState,
                                    QstJumpCombine copyState, QstJumpStep stepState, QstJumpFinish finishState,
                                    QstJumpPrepare prepareSkip, uint64_t nskip, int32_t wordCount, int32_t degree,
                                    int32_t recordBytes, int32_t termCount, const int32_t* terms);

/* ---- Basic generators ------------------------------------------------------------------------------------------- */
/* The entries that the rows of the tables hold. An n of at least 1 is the caller's duty. */

#define QLX_QST_DECLARE_BRNG(NAME)                                                                                   \
  QLX_API int32_t __qstBRng##NAME##InitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params); \
  QLX_API int32_t __qstsBRng##NAME(QstStream* stream, int32_t n, float* r, float a, float b);                        \
  QLX_API int32_t __qstdBRng##NAME(QstStream* stream, int32_t n, double* r, double a, double b);                     \
  QLX_API int32_t __qstiBRng##NAME(QstStream* stream, int32_t n, uint32_t* r);

QLX_QST_DECLARE_BRNG(MCG31M1)
QLX_QST_DECLARE_BRNG(R250)
QLX_QST_DECLARE_BRNG(MRG32K3A)
QLX_QST_DECLARE_BRNG(MCG59) /* the words of __qstiBRngMCG59 have 64 bits: r has room for 2n */
QLX_QST_DECLARE_BRNG(WH)    /* four words an element: r has room for 4n */
QLX_QST_DECLARE_BRNG(Sobol)
QLX_QST_DECLARE_BRNG(Niederr)
QLX_QST_DECLARE_BRNG(MT19937)
QLX_QST_DECLARE_BRNG(MT2203)
QLX_QST_DECLARE_BRNG(SFMT19937)
QLX_QST_DECLARE_BRNG(TRNG)
QLX_QST_DECLARE_BRNG(ARS5)
QLX_QST_DECLARE_BRNG(PHILOX4X32X10)

/* 1 when the processor has what ARS5 and TRNG need, else 0. */
QLX_API int32_t __qstCPUisAES(void);
QLX_API int32_t __qstCPUisVAES(void);
QLX_API int32_t __qstCPUisRDRAND(void);

/* ---- Uniform numbers and bits ----------------------------------------------------------------------------------- */
/* Of the form (method, stream, n, r, parameters); arguments are not checked. r belongs to the caller and has room for
   n elements. A status is the generator's. */

/* r[i] uniform on (a, b): what the generator's dBrng or sBrng gives. With QST_METHOD_ACCURACY_FLAG in `method`
   r[i] := min(b, max(a, r[i])), for the mapping alone may round up to b. */
QLX_API int32_t _qstdRngUniform(int32_t method, QstStream* stream, int32_t n, double* r, double a, double b);
QLX_API int32_t _qstsRngUniform(int32_t method, QstStream* stream, int32_t n, float* r, float a, float b);

/* r[i] = floor(u) with u uniform on (a, b) in double: integers from a to b - 1, and b only by rounding. `method` is
   ignored. n of 0 or below draws nothing. */
QLX_API int32_t _qstiRngUniform(int32_t method, QstStream* stream, int32_t n, int32_t* r, int32_t a, int32_t b);

/* The generator's own output, wordBytes bytes an element, so that r may need more room than n words. */
QLX_API int32_t _qstiRngUniformBits(int32_t method, QstStream* stream, int32_t n, uint32_t* r);

/* r[i]: 32 or 64 uniform bits. -1014 for a generator that has no such output; then nothing is written. A word of 64
   bits takes two steps of the generator, the first in the low half. */
QLX_API int32_t _qstiRngUniformBits32(int32_t method, QstStream* stream, int32_t n, uint32_t* r);
QLX_API int32_t _qstiRngUniformBits64(int32_t method, QstStream* stream, int32_t n, uint64_t* r);

QLX_END_C

#endif
