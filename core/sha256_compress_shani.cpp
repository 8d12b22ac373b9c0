// The compression function on the SHA extensions (Intel 64 and IA-32 Architectures Software
// Developer's Manual, volume 2: SHA256RNDS2, SHA256MSG1, SHA256MSG2).
//
// One instruction does two rounds and takes 4 cycles on today's processors. Each waits for the one
// before it, so a block takes 128 cycles, and one more to add the result to the hash value. Loading
// the block and expanding its schedule run in parallel and take no extra time.

#include <immintrin.h>

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

}  // namespace

SHA_EXTENSIONS void compressSha256ShaNi(Sha256State& state, const uint8_t* blocks, uint64_t count) {
  // The instructions take a, b, e, f in one register and c, d, g, h in the other, with a and c in
  // the highest lanes. The state has 64-bit words, so its values are in the even lanes of a load.
  const auto pack = [](const uint64_t* low, const uint64_t* high) SHA_EXTENSIONS {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(load(low)),
                                           _mm_castsi128_ps(load(high)), _MM_SHUFFLE(0, 2, 0, 2)));
  };
  __m128i abef = pack(&state[4], &state[0]);
  __m128i cdgh = pack(&state[6], &state[2]);

  for (; count > 0; --count, blocks += SHA256_BLOCK) {
    const __m128i oldAbef = abef;
    const __m128i oldCdgh = cdgh;
    __m128i words[4] = {loadBigEndian(blocks), loadBigEndian(blocks + 16),
                        loadBigEndian(blocks + 32), loadBigEndian(blocks + 48)};
#pragma GCC unroll 16
    for (uint64_t i = 0; i < 16; ++i) {
      __m128i& w = words[i % 4];
      const __m128i sum = _mm_add_epi32(w, load(&CONSTANTS[4 * i]));
      cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
      abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0E));
      if (i < 12) w = expand(w, words[(i + 1) % 4], words[(i + 2) % 4], words[(i + 3) % 4]);
    }
    abef = _mm_add_epi32(abef, oldAbef);
    cdgh = _mm_add_epi32(cdgh, oldCdgh);
  }

  const auto unpack = [](__m128i words, uint64_t* low, uint64_t* high) SHA_EXTENSIONS {
    const __m128i swapped = _mm_shuffle_epi32(words, _MM_SHUFFLE(2, 3, 0, 1));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), _mm_unpacklo_epi32(swapped, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), _mm_unpackhi_epi32(swapped, zero));
  };
  unpack(abef, &state[4], &state[0]);
  unpack(cdgh, &state[6], &state[2]);
}

}  // namespace core
