// What the C interface does not show of SHA-256: both forms of the compression function, messages
// in pieces, and the count of their length.

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "core/sha256.h"

namespace core {
namespace {

using Digest = std::array<uint8_t, 32>;

Digest finishAndWrite(Sha256Hasher& hasher) {
  Digest digest{};
  hasher.finish();
  hasher.write_digest(digest);
  return digest;
}

std::vector<uint8_t> makeMessage(size_t size) {
  std::vector<uint8_t> message(size);
  std::iota(message.begin(), message.end(), uint8_t{1});
  return message;
}

class CompressionTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (GetParam() == "Portable") return;
    if (!hasShaExtensions(getThisProcessor())) GTEST_SKIP() << "no SHA extensions here";
    compress = compressSha256ShaNi;
  }
  Sha256Compress compress = compressSha256Portable;
};

TEST_P(CompressionTest, GivesThePublishedState) {
  std::array<uint8_t, 64> abc = {'a', 'b', 'c', 0x80};  // the message "abc" with its padding
  abc.back() = 24;
  Sha256State state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  const Sha256State initial = state;
  compress(state, nullptr, 0);
  EXPECT_EQ(state, initial);
  compress(state, abc.data(), 1);
  EXPECT_EQ(state, (Sha256State{0xba7816bf, 0x8f01cfea, 0x414140de, 0x5dae2223, 0xb00361a3,
                                0x96177a9c, 0xb410ff61, 0xf20015ad}));
}

// Both forms against each other: blocks one by one in plain C++, and all at once in this form.
TEST_P(CompressionTest, TakesManyBlocksAtAnyAddress) {
  const std::vector<uint8_t> message = makeMessage(64 * 9 + 15);
  for (unsigned shift = 0; shift < 16; ++shift) {
    Sha256State expected = {1, 2, 3, 4, 5, 6, 7, 0xFFFF'FFFF};
    Sha256State state = expected;
    for (unsigned i = 0; i < 9; ++i) {
      compressSha256Portable(expected, &message[shift + 64 * i], 1);
    }
    compress(state, &message[shift], 9);
    ASSERT_EQ(state, expected) << "at " << shift;
  }
}

// All ways to cut messages in three, around the ends of blocks. Each piece is a copy of its own
// size, so that a sanitizer sees a read behind it.
TEST_P(CompressionTest, PiecesGiveTheDigestOfTheWhole) {
  const std::vector<size_t> cuts = {0, 1, 55, 56, 63, 64, 65, 127, 128, 129, 191, 192, 200};
  const std::vector<uint8_t> message = makeMessage(200);
  const std::span<const uint8_t> bytes(message);
  const auto update = [](Sha256Hasher& hasher, std::span<const uint8_t> piece) {
    hasher.update(std::vector<uint8_t>(piece.begin(), piece.end()));
  };
  for (const size_t end : cuts) {
    Sha256Hasher whole(compressSha256Portable);
    whole.update(bytes.first(end));
    const Digest expected = finishAndWrite(whole);
    for (const size_t second : cuts) {
      for (const size_t first : cuts) {
        if (first > second || second > end) continue;
        Sha256Hasher hasher(compress);
        update(hasher, bytes.first(first));
        update(hasher, bytes.subspan(first, second - first));
        update(hasher, bytes.subspan(second, end - second));
        ASSERT_EQ(finishAndWrite(hasher), expected) << first << ", " << second << ", " << end;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(BothForms, CompressionTest, testing::Values("Portable", "ShaNi"),
                         [](const auto& test) { return test.param; });

class DescribedProcessor : public Processor {
 public:
  DescribedProcessor(uint32_t highestLeaf, uint32_t sse, uint32_t leaf7)
      : highest{.eax = highestLeaf}, one{.ecx = sse}, seven{.ebx = leaf7} {}
  CpuidResult cpuid(uint32_t leaf, uint32_t) const override {
    return leaf == 0 ? highest : leaf == 1 ? one : seven;
  }
  uint32_t xgetbv() const override { return 0; }

 private:
  CpuidResult highest, one, seven;
};

TEST(ShaExtensionsTest, NeedThreeFeatures) {
  constexpr uint32_t SSSE3 = 1U << 9;
  constexpr uint32_t SSE41 = 1U << 19;
  constexpr uint32_t SHA = 1U << 29;
  EXPECT_TRUE(hasShaExtensions(DescribedProcessor(7, SSSE3 | SSE41, SHA)));
  EXPECT_FALSE(hasShaExtensions(DescribedProcessor(6, SSSE3 | SSE41, SHA)));
  EXPECT_FALSE(hasShaExtensions(DescribedProcessor(7, ~SSSE3, ~0U)));
  EXPECT_FALSE(hasShaExtensions(DescribedProcessor(7, ~SSE41, ~0U)));
  EXPECT_FALSE(hasShaExtensions(DescribedProcessor(7, ~0U, ~SHA)));
  EXPECT_EQ(getSha256Compress(),
            hasShaExtensions(getThisProcessor()) ? compressSha256ShaNi : compressSha256Portable);
}

TEST(Sha256LengthTest, CarriesThroughAllDigits) {
  const struct {
    std::vector<uint64_t> added;
    uint64_t bits;
  } sums[] = {
      {{}, 0},
      {{0xFFFF}, 0x7FFF8},
      {{0xFFFF, 1}, 0x80000},
      {{0xFFFF'FFFF, 1}, 0x8'0000'0000},
      {{0x1234'5678'9ABC, 0x1111}, 0x91A2'B3C5'5E68},
      {{0x1FFF'FFFF'FFFF'FFFF}, 0xFFFF'FFFF'FFFF'FFF8},
      {{0x1FFF'FFFF'FFFF'FFFF, 1}, 0},  // 2^64 bits
      {{0xFFFF'FFFF'FFFF'FFFF, 3}, 16},
  };
  for (const auto& [added, bits] : sums) {
    Sha256Length length;
    for (const uint64_t bytes : added) length.add(bytes);
    EXPECT_EQ(length.getBitCount(), bits);
  }
}

TEST(Sha256HasherTest, WritesNoMoreThanTheRangeHolds) {
  Sha256Hasher hasher;
  const Digest whole = finishAndWrite(hasher);
  for (size_t size = 0; size <= 40; ++size) {
    std::vector<uint8_t> expected(41, 0xEE);
    std::copy_n(whole.begin(), std::min(size, whole.size()), expected.begin());
    std::vector<uint8_t> memory(41, 0xEE);
    hasher.write_digest(std::span(memory).first(size));
    EXPECT_EQ(memory, expected) << size;
  }
}

}  // namespace
}  // namespace core
