// The basic generators by name, and the statuses of streams in words.
// SPDX-License-Identifier: Apache-2.0
#include "generators.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace qlx::cli {
namespace {

// One row for each of the registry's built-in rows, in their order. An abstract stream has no seeds: no name.
constexpr Generator kGenerators[] = {
    {"mcg31m1", QST_BRNG_MCG31M1, ""},
    {"r250", QST_BRNG_R250, ""},
    {"mrg32k3a", QST_BRNG_MRG32K3A, ""},
    {"mcg59", QST_BRNG_MCG59, ""},
    {"wh", QST_BRNG_WH, "0 to 272"},
    {"sobol", QST_BRNG_SOBOL, ""},
    {"niederr", QST_BRNG_NIEDERR, ""},
    {"mt19937", QST_BRNG_MT19937, ""},
    {"mt2203", QST_BRNG_MT2203, "0 to 6023"},
    {"", QST_BRNG_IABSTRACT, ""},
    {"", QST_BRNG_DABSTRACT, ""},
    {"", QST_BRNG_SABSTRACT, ""},
    {"sfmt19937", QST_BRNG_SFMT19937, ""},
    {"trng", QST_BRNG_TRNG, ""},
    {"ars5", QST_BRNG_ARS5, ""},
    {"philox4x32x10", QST_BRNG_PHILOX4X32X10, ""},
};

struct StatusText {
  int32_t status;
  const char* text;
};

constexpr StatusText kStatusTexts[] = {
    {QST_ERROR_BAD_ARGS, "the generator refuses these seeds"},
    {QST_ERROR_MEMORY, "out of memory"},
    {QST_ERROR_BAD_BRNG, "no such generator in this library"},
    {QST_ERROR_LEAPFROG_UNSUPPORTED, "the generator has no leapfrog"},
    {QST_ERROR_SKIPAHEAD_UNSUPPORTED, "the generator has no skip-ahead, or none that far"},
    {QST_ERROR_QUASI_PERIOD_ELAPSED, "the sequence has come to its end"},
    {QST_ERROR_BITS_UNSUPPORTED, "the generator has no such bits"},
    {QST_ERROR_FILE_CLOSE, "writing the file failed"},
    {QST_ERROR_FILE_OPEN, "the file can't be opened"},
    {QST_ERROR_FILE_WRITE, "writing the file failed"},
    {QST_ERROR_FILE_READ, "the file ends early"},
    {QST_ERROR_NO_HARDWARE_RANDOM, "the processor has no hardware source"},
    {QST_ERROR_HARDWARE_RETRIES, "the hardware source kept failing"},
    {QST_ERROR_NO_AES, "the processor has no AES instructions"},
    {QST_ERROR_BAD_MEMORY_FORMAT, "not a saved stream"},
};

}  // namespace

std::vector<Generator> generators() {
  std::vector<Generator> list;
  for (const Generator& generator : kGenerators) {
    QstBrngProperties properties;
    if (*generator.name && __qstGetBrngProperties(generator.brng, &properties) == QST_STATUS_OK &&
        properties.initStream != nullptr)
      list.push_back(generator);
  }
  return list;
}

std::vector<std::string> generator_names() {
  std::vector<std::string> names;
  for (const Generator& generator : generators()) names.emplace_back(generator.name);
  return names;
}

std::string generator_name(int32_t brng) {
  int32_t row, sub_stream;
  const QstBrngProperties* table = __qstGetBrngBaseOffset(brng, &row, &sub_stream);
  // The older numbering has the same rows up to WH; its last two are Sobol and Niederr.
  if (table == __RegBrngs && row > 4) row -= 277 - 5;
  if (row < static_cast<int32_t>(std::size(kGenerators)) && *kGenerators[row].name) return kGenerators[row].name;
  char text[32];
  std::snprintf(text, sizeof text, "generator 0x%X", static_cast<unsigned>(brng));
  return text;
}

std::string status_text(int32_t status) {
  for (const StatusText& row : kStatusTexts)
    if (row.status == status) return row.text;
  return "status " + std::to_string(status);
}

}  // namespace qlx::cli
