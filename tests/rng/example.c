/* The example of docs/rng.md, as a C program: a run that is cut in two, saved and resumed, is the run in one.
   SPDX-License-Identifier: Apache-2.0 */
#include <stdlib.h>
#include <string.h>

#include "qlx/qst.h"
#include "qlx/qst_image.h"

int main(void) {
  enum { kCount = 1000 };
  const uint32_t seed = 7;
  double whole[2 * kCount], parts[2 * kCount];
  QstStream* stream;
  char* image;
  size_t length;

  /* 1000000 numbers further on than the seed. A negative status ends it. */
  if (__qstNewStreamEx(&stream, QST_BRNG_MRG32K3A, 1, &seed) < 0) return 1;
  if (__qstSkipAheadStream(stream, 1000000) < 0) return 2;

  /* The image of a stream holds its position. */
  length = (size_t)__qstGetStreamSize(stream);
  image = malloc(length);
  if (image == NULL) return 3;
  __qstSaveStreamM(stream, image);
  if (_qstdRngUniform(0, stream, 2 * kCount, whole, 0.0, 1.0) < 0) return 4;
  __qstDeleteStream(&stream);

  /* The check finds an image that is cut short or tampered with; a stream made of it goes on where the other was. */
  if (qst_load_image(&stream, image, length) < 0) return 5;
  if (_qstdRngUniform(0, stream, kCount, parts, 0.0, 1.0) < 0) return 6;
  if (_qstdRngUniform(0, stream, kCount, parts + kCount, 0.0, 1.0) < 0) return 7;
  __qstDeleteStream(&stream);
  if (qst_load_image(&stream, image, length - 1) != QST_ERROR_FILE_READ || stream != NULL) return 8;
  free(image);
  return memcmp(whole, parts, sizeof whole) == 0 ? 0 : 9;
}
