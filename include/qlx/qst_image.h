/* Stream images: the header's fields, and a check of a whole image before it is loaded.
   SPDX-License-Identifier: Apache-2.0

   __qstLoadStreamM trusts the image and has no length. qst_check_image tells whether the image lies within the bytes
   that there are; qst_load_image checks and then loads. Both need the kernel library's registry alone.

   Example: read a file into memory and make a stream of it.

     QstStream *stream;
     int32_t status = qst_load_image(&stream, bytes, length);
     if (status < 0) return status;   // stream is null

   The image of version 2, little-endian, without padding (offset: content):
     0: version, 2        4: "RNG"            8: header size (16 bits), 24   12: bytes of state (32 bits)
     16: number of chunks (16 bits)           20: identifier (32 bits)       24: the state, then the chunks
   A chunk: id (32 bits), identity of shared data (two words of 64 bits), size in bytes (32 bits), the data. Versions 0
   and 1 have a header of 20 bytes: bytes of state (16 bits) at 10, number of chunks (16 bits) at 12, identifier at 16;
   the chunks of version 0 lack the identity. The bytes that are not named hold anything. The name may stand at byte 0
   instead; such an image has the header of 20 bytes and can have no chunks. */
#ifndef QLX_QST_IMAGE_H
#define QLX_QST_IMAGE_H

#include <stddef.h>
#include <string.h>

#include "qlx/qst.h"

QLX_BEGIN_C

enum {
  QST_IMAGE_VERSION = 2,
  QST_IMAGE_HEADER_BYTES = 24,
  QST_IMAGE_OLD_HEADER_BYTES = 20, /* of versions other than 2 */
  QST_IMAGE_CHUNK_BYTES = 24       /* before the data of a chunk of version 1 or 2 */
};

typedef struct QstImageHeader {
  int32_t version;
  int32_t headerSize;
  int32_t stateSize;
  int32_t chunkCount;
  int32_t brng;
} QstImageHeader;

/* A field of the image; its bytes have no alignment. */
static inline uint16_t qst_image_u16(const char* at) {
  uint16_t value;
  memcpy(&value, at, sizeof value);
  return value;
}
static inline int32_t qst_image_i32(const char* at) {
  int32_t value;
  memcpy(&value, at, sizeof value);
  return value;
}

/* Bytes of the header, by the image's first byte. */
static inline int32_t qst_image_header_bytes(const char* image) {
  return image[0] == QST_IMAGE_VERSION ? QST_IMAGE_HEADER_BYTES : QST_IMAGE_OLD_HEADER_BYTES;
}

/* Bytes of state behind the header of a stream of that row. */
static inline int32_t qst_image_state_bytes(const QstBrngProperties* properties) {
  const int32_t bytes = properties->streamSize - (int32_t)sizeof(QstStream);
  return bytes > 0 ? bytes : 0;
}

/* Reads the header, all of whose bytes are there. Returns 0, or `bad_format` at the first of these that fails: the
   name in one of its two places; an identifier of the registry; the state size of that generator; a header size of at
   least 24. */
static inline int32_t qst_parse_image_header(const char* image, QstImageHeader* header, int32_t bad_format) {
  const int is_old = qst_image_header_bytes(image) == QST_IMAGE_OLD_HEADER_BYTES;
  int32_t row, sub_stream;
  const QstBrngProperties* table;
  header->version = (unsigned char)image[0];
  header->headerSize = is_old ? (int32_t)QST_IMAGE_HEADER_BYTES : qst_image_u16(image + 8);
  header->stateSize = is_old ? qst_image_u16(image + 10) : qst_image_i32(image + 12);
  header->chunkCount = qst_image_u16(image + (is_old ? 12 : 16));
  header->brng = qst_image_i32(image + (is_old ? 16 : 20));
  if (memcmp(image + 4, "RNG", 3) != 0 && memcmp(image, "RNG", 3) != 0) return bad_format;
  if (header->brng < 0) return bad_format; /* the registry takes no notice of negative identifiers */
  table = __qstGetBrngBaseOffset(header->brng, &row, &sub_stream);
  if (__qstIsBrngValid(table, row, sub_stream) < 0) return bad_format;
  if (qst_image_state_bytes(table + row) != header->stateSize) return bad_format;
  return header->headerSize < QST_IMAGE_HEADER_BYTES ? bad_format : QST_STATUS_OK;
}

/* Words of the state that have a range: `count` of 32 bits from `offset` bytes on in the state of row `row`. */
typedef struct QstImageRange {
  int32_t row;
  ptrdiff_t offset, count;
  uint32_t low, high;
} QstImageRange;

/* 0 when the words in a state of `brng` are such as the generator leaves them: positions within the state, and residues
   below their modulus. Else -1200. */
static inline int32_t qst_check_image_state(int32_t brng, const char* state) {
  static const QstImageRange ranges[] = {
      {0, 0, 2, 1, 0x7FFFFFFE},                           /* MCG31M1: x, a modulo 2^31 - 1 */
      {1, 1000, 2, 0, 249},                               /* R250: i, j */
      {2, 0, 3, 0, 4294967086u},                          /* MRG32K3A: x modulo 2^32 - 209 */
      {2, 12, 3, 0, 4294944442u},                         /*           y modulo 2^32 - 22853 */
      {3, 4, 1, 0, 0x7FFFFFF},                            /* MCG59: upper halves of x, a modulo 2^59 */
      {3, 12, 1, 0, 0x7FFFFFF},   {4, 0, 8, 1, 0xFFFFFF}, /* WH: x, a modulo numbers below 2^24 */
      {7, 2496, 1, 0, 624},                               /* MT19937: index */
      {8, 276, 1, 0, 69},                                 /* MT2203: index */
      {12, 2496, 1, 0, 624},                              /* SFMT19937: index */
      {12, 2512, 2, 0, 3},                                /*            tailPos, tailEnd */
      {14, 32, 1, 0, 4},                                  /* ARS5: left */
      {15, 24, 1, 0, 4},                                  /* PHILOX4X32X10: left */
  };
  int32_t row, sub_stream;
  ptrdiff_t k;
  size_t i;
  /* The older numbering has the rows up to WH and none of the others. */
  __qstGetBrngBaseOffset(brng, &row, &sub_stream);
  if (brng < 0x100000 && row > 4) return QST_STATUS_OK;
  for (i = 0; i < sizeof ranges / sizeof ranges[0]; ++i) {
    const QstImageRange* range = &ranges[i];
    for (k = 0; range->row == row && k < range->count; ++k) {
      const uint32_t word = (uint32_t)qst_image_i32(state + range->offset + 4 * k);
      if (word < range->low || word > range->high) return QST_ERROR_BAD_MEMORY_FORMAT;
    }
  }
  return QST_STATUS_OK;
}

/* One chunk of an image of version 1 or 2 that shares data: whether an earlier one, from `first` on, has its identity
   and another size. The second to be loaded would take the first one's data. */
static inline int qst_image_shares_other_size(const char* first, const char* chunk) {
  static const char is_private[16] = {0};
  if (memcmp(chunk + 4, is_private, 16) == 0) return 0;
  while (first != chunk) {
    if (memcmp(first + 4, chunk + 4, 16) == 0 && qst_image_i32(first + 20) != qst_image_i32(chunk + 20)) return 1;
    first += QST_IMAGE_CHUNK_BYTES + qst_image_i32(first + 20);
  }
  return 0;
}

/* Whether the `length` bytes at `image` begin with a whole image that is safe to load and to draw from; what a chunk's
   data means to its owner is not looked at. Returns 0, or, in this order: -1103 the header ends early; -1200 the header
   does not fit; -1000 an abstract stream, whose state is pointers, or a generator that this library lacks; -1103 the
   state ends early; -1200 a word of the state is out of its range; -1103 a version that has no chunks; then chunk by
   chunk -1103 it ends early, -1200 its size is negative, or not that of its shared data elsewhere in the image. */
static inline int32_t qst_check_image(const void* image, size_t length) {
  const char* at = (const char*)image;
  const char* const end = at + length;
  const char* chunks;
  QstImageHeader header;
  QstBrngProperties properties;
  int32_t status, k;
  if (length < 1 || length < (size_t)qst_image_header_bytes(at)) return QST_ERROR_FILE_READ;
  status = qst_parse_image_header(at, &header, QST_ERROR_BAD_MEMORY_FORMAT);
  if (status < 0) return status;
  __qstGetBrngProperties(header.brng, &properties);
  if (!properties.initStream || header.brng == QST_BRNG_IABSTRACT || header.brng == QST_BRNG_DABSTRACT ||
      header.brng == QST_BRNG_SABSTRACT)
    return QST_ERROR_BAD_BRNG;
  at += qst_image_header_bytes(at);
  if (end - at < header.stateSize) return QST_ERROR_FILE_READ;
  status = qst_check_image_state(header.brng, at);
  if (status < 0) return status;
  chunks = at += header.stateSize;
  if (header.chunkCount > 0 && header.version > QST_IMAGE_VERSION) return QST_ERROR_FILE_READ;
  for (k = 0; k < header.chunkCount; ++k) {
    const int32_t chunk_bytes = header.version == 0 ? 8 : QST_IMAGE_CHUNK_BYTES;
    int32_t size;
    if (end - at < chunk_bytes) return QST_ERROR_FILE_READ;
    size = qst_image_i32(at + chunk_bytes - 4);
    if (size < 0) return QST_ERROR_BAD_MEMORY_FORMAT;
    if (end - at - chunk_bytes < size) return QST_ERROR_FILE_READ;
    if (header.version != 0 && qst_image_shares_other_size(chunks, at)) return QST_ERROR_BAD_MEMORY_FORMAT;
    at += chunk_bytes + size;
  }
  return QST_STATUS_OK;
}

/* Checks the image as above and makes a stream of it. With a negative status *stream is null. */
static inline int32_t qst_load_image(QstStream** stream, const void* image, size_t length) {
  const int32_t status = qst_check_image(image, length);
  *stream = NULL; /* NOLINT(modernize-use-nullptr): C too */
  return status < 0 ? status : __qstLoadStreamM(stream, (const char*)image);
}

QLX_END_C

#endif
