// What the C interface does not show of SHA-256: both forms of the compression function, messages
// in pieces, and the count of their length.

#include <gtest/gtest.h>
#include <velmor_core/hash.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "core/sha256.h"

namespace core {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes finishAndWrite(Sha256Hasher& hasher) {
  Bytes digest(32);
  hasher.finish();
  hasher.write_digest(digest);
  return digest;
}

// All ways to cut messages in three, around the ends of blocks. Each piece is a copy of its own
// size, so that a sanitizer sees a read behind it.
void expectDigestsOfPieces(Sha256Compress compress) {
  Bytes message(321);
  std::iota(message.begin(), message.end(), uint8_t{1});
  const size_t cuts[] = {0, 1, 55, 56, 63, 64, 65, 127, 128, 129, 191, 192, 200, 321};
  for (const size_t end : cuts) {
    Bytes expected(32);
    velmor_core_hash_sha256(message.data(), end, expected.data());
    for (const size_t second : cuts) {
      for (const size_t first : cuts) {
        if (first > second || second > end) continue;
        const auto at = [&](size_t offset) {
          return message.begin() + static_cast<ptrdiff_t>(offset);
        };
        Sha256Hasher hasher(compress);
        hasher.update(Bytes(at(0), at(first)));
        hasher.update(Bytes(at(first), at(second)));
        hasher.update(Bytes(at(second), at(end)));
        ASSERT_EQ(finishAndWrite(hasher), expected) << first << ", " << second << ", " << end;
      }
    }
  }
}

TEST(Sha256HasherTest, PiecesGiveTheDigestOfTheWholeInBothForms) {
  expectDigestsOfPieces(compressSha256Portable);
  if (!hasShaExtensions(getThisProcessor())) GTEST_SKIP() << "no SHA extensions here";
  EXPECT_EQ(getSha256Compress(), compressSha256ShaNi);
  expectDigestsOfPieces(compressSha256ShaNi);
}

TEST(Sha256HasherTest, WritesNoMoreThanTheRangeHolds) {
  Sha256Hasher hasher;
  const Bytes whole = finishAndWrite(hasher);
  for (size_t size = 0; size <= 40; ++size) {
    Bytes expected(41, 0xEE);
    std::copy_n(whole.begin(), std::min(size, whole.size()), expected.begin());
    Bytes memory(41, 0xEE);
    hasher.write_digest(std::span(memory).first(size));
    EXPECT_EQ(memory, expected) << size;
  }
}

TEST(Sha256LengthTest, CarriesThroughAllDigits) {
  const struct {
    uint64_t first, second, bits;
  } sums[] = {{0xFFFF, 1, 0x80000},
              {0x1234'5678'9ABC, 0x1111, 0x91A2'B3C5'5E68},
              {0x1FFF'FFFF'FFFF'FFFF, 0, 0xFFFF'FFFF'FFFF'FFF8},
              {0x1FFF'FFFF'FFFF'FFFF, 1, 0},
              {0xFFFF'FFFF'FFFF'FFFF, 3, 16}};
  for (const auto& [first, second, bits] : sums) {
    Sha256Length length;
    length.add(first);
    length.add(second);
    EXPECT_EQ(length.getBitCount(), bits);
  }
}

}  // namespace
}  // namespace core
