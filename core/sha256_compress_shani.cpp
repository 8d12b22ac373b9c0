// The compression function on the SHA extensions (Intel 64 and IA-32 Architectures Software
// Developer's Manual, volume 2: SHA256RNDS2, SHA256MSG1, SHA256MSG2).
//
// SHA256RNDS2 does two rounds and takes 4 cycles on today's processors. Each one waits for the one
// before it. So a block takes 128 cycles, and one more to add the result to the hash value. Loading
// the block and expanding its schedule run in parallel and take no extra time.

#include <immintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>

#include "core/sha256_compress.h"

// Marks the functions that may use the extensions. The rest of the file is compiled for every
// processor.
#define SHA_EXTENSIONS __attribute__((target("sha,ssse3,sse4.1")))

namespace core {
namespace {

constexpr std::array<uint32_t, 64> packConstants() {
  std::array<uint32_t, 64> packed{};
  for (unsigned t = 0; t < 64; ++t) packed[t] = static_cast<uint32_t>(SHA256_ROUND_CONSTANTS[t]);
  return packed;
}
alignas(16) constexpr std::array<uint32_t, 64> CONSTANTS = packConstants();

SHA_EXTENSIONS inline __m128i load(const void* words) {
  return _mm_loadu_si128(static_cast<const __m128i*>(words));
}

// Four words of a block, loaded in two halves. The padding of a short message has just been stored
// in pieces of 8 bytes. The processor forwards a store to a load of the same size, but a load of 16
// bytes would wait until both stores have reached the cache.
SHA_EXTENSIONS inline __m128i loadBigEndian(const uint8_t* bytes) {
  const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes));
  const __m128d both = _mm_loadh_pd(
      _mm_castsi128_pd(low), static_cast<const double*>(static_cast<const void*>(bytes + 8)));
  const __m128i swapBytes = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
  return _mm_shuffle_epi8(_mm_castpd_si128(both), swapBytes);
}

// Computes words t to t + 3 of the schedule from the 16 words before them.
SHA_EXTENSIONS inline __m128i expand(__m128i w16, __m128i w12, __m128i w8, __m128i w4) {
  const __m128i w7 = _mm_alignr_epi8(w4, w8, 4);
  return _mm_sha256msg2_epu32(_mm_add_epi32(_mm_sha256msg1_epu32(w16, w12), w7), w4);
}

// A hash value as the instructions take it: a and c are in the highest lanes.
struct HashValue {
  __m128i abef, cdgh;
};

// The 16 words of a block.
struct Words {
  __m128i four[4];
};

SHA_EXTENSIONS inline Words loadBlock(const uint8_t* block) {
  return {{loadBigEndian(block), loadBigEndian(block + 16), loadBigEndian(block + 32),
           loadBigEndian(block + 48)}};
}

SHA_EXTENSIONS inline void compressBlock(HashValue& hash, Words words) {
  __m128i abef = hash.abef;
  __m128i cdgh = hash.cdgh;
#pragma GCC unroll 16
  for (uint64_t i = 0; i < 16; ++i) {
    __m128i& w = words.four[i % 4];
    const __m128i sum = _mm_add_epi32(w, load(&CONSTANTS[4 * i]));
    cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
    abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0E));
    if (i < 12) {
      w = expand(w, words.four[(i + 1) % 4], words.four[(i + 2) % 4], words.four[(i + 3) % 4]);
    }
  }
  hash.abef = _mm_add_epi32(hash.abef, abef);
  hash.cdgh = _mm_add_epi32(hash.cdgh, cdgh);
}

uint64_t load8(const uint8_t* bytes) {
  uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Loads the last `count` bytes of a message, at most 7, into the low end of a word of zeros.
uint64_t loadEnd(const uint8_t* end, uint64_t count, uint64_t messageSize) {
  if (count == 0) return 0;
  if (messageSize >= 8) return load8(end - 8) >> (64 - 8 * count);
  uint64_t word = 0;
  for (; count > 0; --count) word = word << 8 | *--end;
  return word;
}

// Compresses the last one or two blocks: the last `left` bytes of the message, fewer than a block,
// then a 1 bit, zeros, and the length in bits.
SHA_EXTENSIONS inline void padAndCompress(HashValue& hash, const uint8_t* data, uint64_t left,
                                          uint64_t messageSize) {
  const uint64_t bits = 8 * messageSize;
  if (left == 0) {
    const __m128i zero = _mm_setzero_si128();
    return compressBlock(hash, {{_mm_set_epi32(0, 0, 0, INT32_MIN), zero, zero,
                                 _mm_set_epi64x(static_cast<int64_t>(std::rotl(bits, 32)), 0)}});
  }
  // Stored in whole words: a load that needs two stores would wait until both are in the cache.
  std::array<uint64_t, 16> last{};
  const uint64_t words = left / 8;
  const uint64_t bytes = left % 8;
  for (uint64_t i = 0; i < words; ++i) last[i] = load8(data + 8 * i);
  last[words] = loadEnd(data + left, bytes, messageSize) | uint64_t{0x80} << (8 * bytes);
  const bool isOneBlock = left < SHA256_BLOCK - sizeof bits;
  last[isOneBlock ? 7 : 15] = __builtin_bswap64(bits);
  const auto* blocks = reinterpret_cast<const uint8_t*>(last.data());
  compressBlock(hash, loadBlock(blocks));
  if (!isOneBlock) compressBlock(hash, loadBlock(blocks + SHA256_BLOCK));
}

}  // namespace

SHA_EXTENSIONS void compressSha256ShaNi(Sha256State& state, const uint8_t* blocks, uint64_t count) {
  // The state has 64-bit words, so its values are in the even lanes of a load.
  const auto pack = [](const uint64_t* low, const uint64_t* high) SHA_EXTENSIONS {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(load(low)),
                                           _mm_castsi128_ps(load(high)), _MM_SHUFFLE(0, 2, 0, 2)));
  };
  HashValue hash = {pack(&state[4], &state[0]), pack(&state[6], &state[2])};

  for (; count > 0; --count, blocks += SHA256_BLOCK) {
    compressBlock(hash, loadBlock(blocks));
  }

  const auto unpack = [](__m128i words, uint64_t* low, uint64_t* high) SHA_EXTENSIONS {
    const __m128i swapped = _mm_shuffle_epi32(words, _MM_SHUFFLE(2, 3, 0, 1));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), _mm_unpacklo_epi32(swapped, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), _mm_unpackhi_epi32(swapped, zero));
  };
  unpack(hash.abef, &state[4], &state[0]);
  unpack(hash.cdgh, &state[6], &state[2]);
}

SHA_EXTENSIONS void digestSha256ShaNi(const uint8_t* data, uint64_t size, uint8_t* digest) {
  const auto initial = [](unsigned i) { return static_cast<int>(SHA256_INITIAL_STATE[i]); };
  HashValue hash = {_mm_set_epi32(initial(0), initial(1), initial(4), initial(5)),
                    _mm_set_epi32(initial(2), initial(3), initial(6), initial(7))};
  uint64_t left = size;
  for (; left >= SHA256_BLOCK; left -= SHA256_BLOCK, data += SHA256_BLOCK) {
    compressBlock(hash, loadBlock(data));
  }

  padAndCompress(hash, data, left, size);

  // The digest begins with word a, and each word begins with its highest byte.
  const __m128i reverse = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
  const auto store = [&](uint8_t* to, __m128i words) SHA_EXTENSIONS {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(words, reverse));
  };
  store(digest, _mm_unpackhi_epi64(hash.cdgh, hash.abef));
  store(digest + 16, _mm_unpacklo_epi64(hash.cdgh, hash.abef));
}

}  // namespace core
