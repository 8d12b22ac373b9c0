// Cuts a message into blocks and pads the last one (FIPS 180-4, 5.1.1 and 6.2).

#include "core/sha256.h"

#include <algorithm>
#include <cstring>

namespace core {

void Sha256Hasher::update(std::span<const uint8_t> bytes) {
  length.add(bytes.size());
  if (pendingSize > 0) {
    const uint64_t missing = std::min(SHA256_BLOCK - pendingSize, bytes.size());
    append(bytes.first(missing));
    bytes = bytes.subspan(missing);
    if (pendingSize < SHA256_BLOCK) return;
    compressPending();
  }
  // Whole blocks are hashed in place, without a copy.
  const uint64_t blocks = bytes.size() / SHA256_BLOCK;
  if (blocks > 0) compress(state, bytes.data(), blocks);
  append(bytes.subspan(blocks * SHA256_BLOCK));
}

void Sha256Hasher::append(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return;  // the pointer may be null then
  std::memcpy(pending.data() + pendingSize, bytes.data(), bytes.size());
  pendingSize += bytes.size();
}

void Sha256Hasher::compressPending() {
  compress(state, pending.data(), 1);
  pending.fill(0);
  pendingSize = 0;
}

// After the message come a 1 bit, zeros, and its length in bits as the last 8 bytes of a block.
void Sha256Hasher::finish() {
  const uint64_t mark = 0x80;  // in memory: the 1 bit, then 63 zero bits
  const uint64_t bits = __builtin_bswap64(length.getBitCount());
  const uint64_t lengthOffset = SHA256_BLOCK - sizeof bits;
  std::memcpy(pending.data() + pendingSize, &mark, sizeof mark);
  if (pendingSize >= lengthOffset) compressPending();
  std::memcpy(pending.data() + lengthOffset, &bits, sizeof bits);
  compress(state, pending.data(), 1);
}

// A range with room for the whole digest gets the words directly. If they were stored elsewhere and
// then copied, the copy would have to wait for the stores.
void Sha256Hasher::write_digest(std::span<uint8_t> digest) const {
  std::array<uint8_t, 32> spare;
  uint8_t* const bytes = digest.size() < spare.size() ? spare.data() : digest.data();
  for (uint64_t i = 0; i < state.size(); ++i) {
    const uint32_t word = __builtin_bswap32(static_cast<uint32_t>(state[i]));
    std::memcpy(bytes + i * sizeof word, &word, sizeof word);
  }
  if (bytes == spare.data()) std::copy_n(bytes, digest.size(), digest.data());
}

void digestSha256(std::span<const uint8_t> message, uint8_t* digest) {
  const Sha256Compress compress = getSha256Compress();
  if (compress == compressSha256ShaNi) {
    return digestSha256ShaNi(message.data(), message.size(), digest);
  }
  Sha256Hasher hasher(compress);
  hasher.update(message);
  hasher.finish();
  hasher.write_digest({digest, 32});
}

}  // namespace core
