// The sweep, its hash, and the file of digests.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/digest.h"

#include <cpuid.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "accuracy/random.h"
#include "accuracy/real.h"
#include "qlx/qvm.h"

namespace qlx::tools {

namespace {

constexpr int kChunk = 1000;  // blocks and a tail
constexpr int kSweep = 1 << 16;
constexpr int kScalars = 16;  // exponents that a scalar second argument goes through

// An argument of any bit pattern, of magnitude 2^-12 to 2^12, or next to 1, where logarithms and powers are finest.
// Integers alone make them.
enum class Kind { kAny, kOrdinary, kNearOne };
template <class Real>
Real draw(Random& random, Kind kind) {
  using F = Format<Real>;
  using Bits = typename F::Bits;
  Bits bits = static_cast<Bits>(random.bits() >> (64 - sizeof(Real) * 8));
  // A NaN is a quiet one: 32-bit targets return numbers in x87 registers, which quiet the others on the way.
  if ((bits & F::kExponentMask) == F::kExponentMask) bits |= Bits{1} << (F::kPrecision - 2);
  if (kind == Kind::kAny) return from_bits<Real>(bits);
  if (kind == Kind::kNearOne) {
    const Bits distance = (bits & ~F::kExponentMask) << 1 >> 2 >> random.bits() % (F::kPrecision - 1);
    return from_bits<Real>(random.bits() % 2 == 0 ? to_bits(Real{1}) + distance : to_bits(Real{1}) - distance);
  }
  const Bits field = static_cast<Bits>(F::kMaxExponent - 12 + static_cast<int>(random.bits() % 24));
  return from_bits<Real>((bits & ~F::kExponentMask) | field << (F::kPrecision - 1));
}
constexpr Kind kFirst[] = {Kind::kAny, Kind::kOrdinary, Kind::kNearOne, Kind::kOrdinary};
constexpr Kind kSecond[] = {Kind::kAny, Kind::kAny, Kind::kOrdinary, Kind::kOrdinary};

class Hash {
 public:
  template <class Real>
  void add(Real x) {
    // One bit pattern for all NaNs: which of two operands' payloads survives is up to the compiler.
    const uint64_t word = std::isnan(x) ? ~uint64_t{0} : to_bits(x);
    // Fowler, Noll and Vo's multiplication, a word at a time, with the high half folded in.
    hash_ = (hash_ ^ word) * 0x100000001B3u;
    hash_ ^= hash_ >> 32;
  }
  uint64_t value() const { return hash_; }

 private:
  uint64_t hash_ = 0xCBF29CE484222325u;
};

template <class Real>
uint64_t digest_typed(const KernelRow& kernel, int slot) {
  Random random(sizeof(Real));
  Hash hash;
  std::vector<Real> a(kChunk), b(kChunk), r(kChunk), s(kChunk);
  const bool two_results = kernel.shape == Shape::kARR, scalar = kernel.shape == Shape::kAXR;
  Real x = 0;
  for (int done = 0, next_scalar = 0; done < kSweep;) {
    const int n = kSweep - done < kChunk ? kSweep - done : kChunk;
    if (scalar && done >= next_scalar) {
      x = draw<Real>(random, Kind::kOrdinary) / 16;
      next_scalar += kSweep / kScalars;
    }
    for (int i = 0; i < n; ++i) {
      a[i] = draw<Real>(random, kFirst[i % 4]);
      b[i] = scalar ? x : draw<Real>(random, kSecond[i % 4]);
    }
    call_unit<Real>(kernel, slot, n, {a.data(), b.data(), r.data(), s.data()});
    for (int i = 0; i < n; ++i) {
      hash.add(r[i]);
      if (two_results) hash.add(s[i]);
    }
    done += n;
  }
  return hash.value();
}

}  // namespace

bool has_digest(const KernelRow& kernel) {
  return kernel.real() && kernel.shape != Shape::kOther;
}

uint64_t digest_of(const KernelRow& kernel, int slot) {
  const uint32_t mode = qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
  const uint64_t digest = kernel.type == 's' ? digest_typed<float>(kernel, slot) : digest_typed<double>(kernel, slot);
  qlx_qvm_kernel_SetMode(mode);
  return digest;
}

std::string processor_maker() {
  unsigned eax, words[3];
  if (!__get_cpuid(0, &eax, &words[0], &words[2], &words[1])) return "unknown";
  char text[13] = {};
  std::memcpy(text, words, 12);
  return text;
}

const DigestRow* DigestFile::find(const std::string& function, char type, int slot) const {
  for (const DigestRow& row : rows)
    if (row.function == function && row.type == type && row.slot == slot) return &row;
  return nullptr;
}

constexpr const char kMakerLine[] = "# maker: ";

DigestFile read_digests(const std::string& path) {
  DigestFile digests;
  std::ifstream file(path);
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.starts_with(kMakerLine)) digests.maker = line.substr(sizeof kMakerLine - 1);
    if (line.empty() || line[0] == '#' || line.starts_with("function,")) continue;
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) fields.push_back(field);
    if (fields.size() == 4) fields.emplace_back();  // no mark
    int slot = 0;
    while (slot < 3 && fields.size() == 5 && fields[2] != kSlotNames[slot]) ++slot;
    if (fields.size() != 5 || slot == 3 || fields[1].size() != 1)
      throw std::runtime_error(path + ":" + std::to_string(number) + ": not function,type,accuracy,digest,mark");
    digests.rows.push_back({fields[0], fields[1][0], slot, std::stoull(fields[3], nullptr, 16), fields[4]});
  }
  return digests;
}

std::string print_digests(const DigestFile& old) {
  std::string text = kMakerLine + processor_maker() +
                     "\n# Made by qlx_digests; marks are kept from the file before.\n" +
                     "function,type,accuracy,digest,mark\n";
  for (const KernelRow& kernel : kernel_list()) {
    if (!has_digest(kernel)) continue;
    for (int slot = 0; slot < 3; ++slot) {
      const DigestRow* row = old.find(kernel.name, kernel.type, slot);
      char line[128];
      std::snprintf(line, sizeof line, "%s,%c,%s,%016llX,%s\n", kernel.name.c_str(), kernel.type, kSlotNames[slot],
                    static_cast<unsigned long long>(digest_of(kernel, kernel.first_slot(slot))),
                    row ? row->mark.c_str() : "");
      text += line;
    }
  }
  return text;
}

}  // namespace qlx::tools
