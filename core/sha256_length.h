// Counts the length of a message that is hashed with SHA-256.

#ifndef CORE_SHA256_LENGTH_H
#define CORE_SHA256_LENGTH_H

#include <array>
#include <cstdint>

namespace core {

// Counts bytes modulo 2^64, as four digits of base 65536, the lowest first. Between two calls each
// digit is below 65536.
class Sha256Length {
 public:
  void add(uint64_t bytes) {
    digits[0] += bytes;
    for (unsigned i = 0; i < 3; ++i) {
      digits[i + 1] += digits[i] >> 16;
      digits[i] &= 0xFFFF;
    }
    digits[3] &= 0xFFFF;
  }

  // The length in bits modulo 2^64, as the padding states it.
  uint64_t getBitCount() const {
    uint64_t bits = 0;
    uint64_t carry = 0;
    for (unsigned i = 0; i < 4; ++i) {
      const uint64_t shifted = (digits[i] << 3) + carry;
      bits |= (shifted & 0xFFFF) << (16 * i);
      carry = shifted >> 16;
    }
    return bits;
  }

 private:
  std::array<uint64_t, 4> digits{};
};

}  // namespace core

#endif
