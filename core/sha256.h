// The SHA-256 digest (FIPS 180-4) of a whole message, and of one that is given in pieces.

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
// Between two calls before finish():
//   1. state is the hash value of all whole blocks of the message so far.
//   2. The first pendingSize bytes of pending are the bytes after these blocks. They are fewer than
//      a block, and the rest of pending is 0.
//   3. length counts the bytes of these blocks and the pending bytes.
class Sha256Hasher {
 public:
  explicit Sha256Hasher(Sha256Compress form = getSha256Compress()) : compress(form) {}

  void update(std::span<const uint8_t> bytes);
  void finish();
  // Writes the 32 bytes of the digest, or the first digest.size() of them if that is less.
  void write_digest(std::span<uint8_t> digest) const;

 private:
  // Appends to the pending bytes. Together they must not exceed a block.
  void append(std::span<const uint8_t> bytes);
  // Hashes the pending block and starts the next one.
  void compressPending();

  // Room for one block. Whole blocks are hashed in place and need no buffer. The 8 extra bytes let
  // finish() write its first 8 bytes of padding at any position.
  std::array<uint8_t, SHA256_BLOCK + 8> pending{};
  uint64_t pendingSize = 0;
  Sha256Length length;
  Sha256State state = SHA256_INITIAL_STATE;
  Sha256Compress compress;  // chosen by the processor's features
};

// Hashes a whole message in the fastest way and writes the 32 bytes of its digest.
void digestSha256(std::span<const uint8_t> message, uint8_t* digest);

}  // namespace core

#endif
