// Generates, parses and formats UUIDs. Boost.UUID generates them, and parses the forms that are not
// usual. The usual form is parsed and written in two SSE2 registers of 16 digits each, which is
// several times as fast as digit by digit. Every x86-64 processor has SSE2.

#include "core/uuid.h"

#include <emmintrin.h>

#include <algorithm>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <cstring>

namespace core {
namespace {

Uuid toBytes(const boost::uuids::uuid& uuid) {
  Uuid bytes{};
  std::copy(uuid.begin(), uuid.end(), bytes.begin());
  return bytes;
}

// Loads 4 or 8 characters into the low end of a register.
__m128i load4(const char* text) {
  int characters = 0;
  std::memcpy(&characters, text, sizeof characters);
  return _mm_cvtsi32_si128(characters);
}
__m128i load8(const char* text) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text)); }

// For each byte of x: all bits set if it is at most limit as an unsigned number, else 0.
__m128i isAtMost(__m128i x, char limit) {
  return _mm_cmpeq_epi8(_mm_min_epu8(x, _mm_set1_epi8(limit)), x);
}

// Converts 16 hexadecimal digits to their values. Clears the bytes of valid where the character is
// no such digit. The low 4 bits of a letter are 1 for 'a' and 'A', 2 for 'b' and 'B', and so on.
__m128i digitValues(__m128i characters, __m128i& valid) {
  const __m128i lower = _mm_or_si128(characters, _mm_set1_epi8('a' - 'A'));
  const __m128i isLetter = isAtMost(_mm_sub_epi8(lower, _mm_set1_epi8('a')), 5);
  const __m128i isDecimal = isAtMost(_mm_sub_epi8(characters, _mm_set1_epi8('0')), 9);
  valid = _mm_and_si128(valid, _mm_or_si128(isDecimal, isLetter));
  return _mm_add_epi8(_mm_and_si128(characters, _mm_set1_epi8(0x0F)),
                      _mm_and_si128(isLetter, _mm_set1_epi8(9)));
}

// Packs each pair of digits into the low byte of its 16-bit lane. The first digit of the pair gives
// the high 4 bits.
__m128i joinPairs(__m128i digits) {
  const __m128i joined = _mm_or_si128(_mm_slli_epi16(digits, 4), _mm_srli_epi16(digits, 8));
  return _mm_and_si128(joined, _mm_set1_epi16(0xFF));
}

__m128i toCharacters(__m128i digits) {
  const __m128i isLetter = _mm_cmpgt_epi8(digits, _mm_set1_epi8(9));
  const __m128i gap = _mm_and_si128(isLetter, _mm_set1_epi8('a' - '9' - 1));
  return _mm_add_epi8(_mm_add_epi8(digits, _mm_set1_epi8('0')), gap);
}

}  // namespace

// A new generator for each call. It keeps no state and only calls the system's random source.
Uuid generateRandomUuid() { return toBytes(boost::uuids::random_generator_pure()()); }

Uuid parseUuid(const char* text, uint64_t length) {
  return toBytes(boost::uuids::string_generator()(text, text + length));
}

bool parseHyphenatedUuid(const char* text, uint8_t* uuid) noexcept {
  if (text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') return false;
  __m128i valid = _mm_set1_epi8(-1);
  const __m128i first =
      _mm_unpacklo_epi64(load8(text), _mm_unpacklo_epi32(load4(text + 9), load4(text + 14)));
  const __m128i second =
      _mm_unpacklo_epi64(_mm_unpacklo_epi32(load4(text + 19), load4(text + 24)), load8(text + 28));
  const __m128i firstDigits = digitValues(first, valid);
  const __m128i secondDigits = digitValues(second, valid);
  if (_mm_movemask_epi8(valid) != 0xFFFF) return false;
  const __m128i bytes = _mm_packus_epi16(joinPairs(firstDigits), joinPairs(secondDigits));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(uuid), bytes);
  return true;
}

void formatUuid(const uint8_t* uuid, char* text) noexcept {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(uuid));
  const __m128i low4 = _mm_set1_epi8(0x0F);
  const __m128i high = _mm_and_si128(_mm_srli_epi16(bytes, 4), low4);
  const __m128i low = _mm_and_si128(bytes, low4);
  char digits[32];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(digits), toCharacters(_mm_unpacklo_epi8(high, low)));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(digits + 16),
                   toCharacters(_mm_unpackhi_epi8(high, low)));
  std::memcpy(text, digits, 8);
  text[8] = '-';
  std::memcpy(text + 9, digits + 8, 4);
  text[13] = '-';
  std::memcpy(text + 14, digits + 12, 4);
  text[18] = '-';
  std::memcpy(text + 19, digits + 16, 4);
  text[23] = '-';
  std::memcpy(text + 24, digits + 20, 12);
  text[36] = '\0';
}

}  // namespace core
