// The compression function in plain C++, after FIPS 180-4, 6.2.2.

#include <bit>
#include <cstring>

#include "core/sha256_compress.h"

namespace core {
namespace {

using Variables = std::array<uint32_t, 8>;

uint32_t bigEndian32(const uint8_t* bytes) {
  uint32_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return __builtin_bswap32(word);
}

uint32_t choose(uint32_t e, uint32_t f, uint32_t g) { return g ^ (e & (f ^ g)); }
uint32_t majority(uint32_t a, uint32_t b, uint32_t c) { return (a & b) | (c & (a | b)); }
uint32_t bigSigma0(uint32_t a) { return std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22); }
uint32_t bigSigma1(uint32_t e) { return std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25); }
uint32_t smallSigma0(uint32_t w) { return std::rotr(w, 7) ^ std::rotr(w, 18) ^ (w >> 3); }
uint32_t smallSigma1(uint32_t w) { return std::rotr(w, 17) ^ std::rotr(w, 19) ^ (w >> 10); }

// Hashes one block. Holds the last 16 words of the message schedule, word t at index t modulo 16,
// and the working variables a to h. The standard moves all eight variables in each round. Here they
// stay in place, and round t has a at index -t modulo 8, b directly after it, and so on.
class Block {
 public:
  Block(const Variables& hash, const uint8_t* block) : words{}, v(hash) {
    for (uint64_t t = 0; t < 16; ++t) words[t] = bigEndian32(block + 4 * t);
  }

  // Unrolled, so that all indices are constants and words and variables stay in registers.
  const Variables& run() {
    for (uint64_t first = 0; first < 64; first += 16) {
#pragma GCC unroll 16
      for (uint64_t t = 0; t < 16; ++t) {
        if (first > 0) expand(t);
        round(t, words[t] + static_cast<uint32_t>(SHA256_ROUND_CONSTANTS[first + t]));
      }
    }
    return v;
  }

 private:
  void expand(uint64_t t) {
    words[t] +=
        smallSigma1(words[(t + 14) % 16]) + words[(t + 9) % 16] + smallSigma0(words[(t + 1) % 16]);
  }
  void round(uint64_t t, uint32_t word) {
    const auto at = [&](uint64_t i) -> uint32_t& { return v[(i - t) % 8]; };
    uint32_t& h = at(7);
    h += word + bigSigma1(at(4)) + choose(at(4), at(5), at(6));
    at(3) += h;
    h += bigSigma0(at(0)) + majority(at(0), at(1), at(2));
  }

  std::array<uint32_t, 16> words;
  Variables v;
};

}  // namespace

void compressSha256Portable(Sha256State& state, const uint8_t* blocks, uint64_t count) {
  Variables hash{};
  for (unsigned i = 0; i < 8; ++i) hash[i] = static_cast<uint32_t>(state[i]);
  for (; count > 0; --count, blocks += SHA256_BLOCK) {
    Block block(hash, blocks);
    const Variables& result = block.run();
    for (unsigned i = 0; i < 8; ++i) hash[i] += result[i];
  }
  for (unsigned i = 0; i < 8; ++i) state[i] = hash[i];
}

}  // namespace core
