// The SHA-256 digest (FIPS 180-4) of a message that comes in pieces.

#ifndef CORE_SHA256_H
#define CORE_SHA256_H

#include <array>
#include <cstdint>
#include <span>

#include "core/sha256_compress.h"
#include "core/sha256_length.h"

namespace core {

// Call update() any number of times, finish() once, then write_digest(). Nothing is allocated and
// nothing fails, whatever the size of the message.
//
// Before finish(), between two calls:
//   1. state is the hash value behind all whole blocks of the message so far;
//   2. the first pendingSize bytes of pending, fewer than a block, are the bytes behind those, and
//      the rest of pending is 0;
//   3. length counts both.
class Sha256Hasher {
 public:
  explicit Sha256Hasher(Sha256Compress form = getSha256Compress()) : compress(form) {}

  void update(std::span<const uint8_t> bytes);
  void finish();
  // Writes the 32 bytes of the digest, or as many of them as `digest` has room for.
  void write_digest(std::span<uint8_t> digest) const;

 private:
  // Adds bytes to the pending ones; together they are a block at most.
  void append(std::span<const uint8_t> bytes);
  // Takes the pending block into the state, and starts the next one.
  void compressPending();

  // A block, and room to write the first 8 bytes of padding wherever it begins.
  std::array<uint8_t, SHA256_BLOCK + 8> pending{};
  uint64_t pendingSize = 0;
  Sha256Length length;
  // The first 32 bits of the fractional parts of the square roots of the first 8 primes.
  Sha256State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  Sha256Compress compress;
};

}  // namespace core

#endif
