// The SHA-256 compression function (FIPS 180-4, 6.2.2) in two forms that give the same state.

#ifndef CORE_SHA256_COMPRESS_H
#define CORE_SHA256_COMPRESS_H

#include <array>
#include <cstdint>

#include "core/cpu_features.h"

namespace core {

constexpr uint64_t SHA256_BLOCK = 64;  // bytes

// The eight words of the hash value. Each holds 32 bits.
using Sha256State = std::array<uint64_t, 8>;

// Hashes `count` adjacent blocks into the state. They need no alignment.
using Sha256Compress = void (*)(Sha256State& state, const uint8_t* blocks, uint64_t count);

// Runs on every processor.
void compressSha256Portable(Sha256State& state, const uint8_t* blocks, uint64_t count);

// Runs on processors for which hasShaExtensions() is true.
void compressSha256ShaNi(Sha256State& state, const uint8_t* blocks, uint64_t count);

// Hashes a whole message and writes the 32 bytes of its digest. The hash value stays in registers
// from the first block to the digest. This saves time on short messages. Runs where
// compressSha256ShaNi() does. data may be null if size is 0.
void digestSha256ShaNi(const uint8_t* data, uint64_t size, uint8_t* digest);

bool hasShaExtensions(const Processor& processor);

// The fastest form for the processor that runs this code. The first call queries the processor
// itself and does not need velmor_core_init(). Any thread may call this.
Sha256Compress getSha256Compress();

// The first 32 bits of the fractional parts of the square roots of the first 8 primes.
inline constexpr Sha256State SHA256_INITIAL_STATE = {
    0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
inline constexpr std::array<uint64_t, 64> SHA256_ROUND_CONSTANTS = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

}  // namespace core

#endif
