// SHA-256: the C function, and both versions of the compression function, also in several calls.

#include "core/sha256.h"

#include <gtest/gtest.h>
#include <velmor_core/hash.h>

#include <functional>
#include <string>
#include <vector>

namespace core {
namespace {

using Bytes = std::vector<uint8_t>;
using Digest = std::function<void(const Bytes& message, std::span<uint8_t> digest)>;

// Joins the digests of messages of 0 to 300 bytes and takes the digest of that. The expected digest
// is what sha256sum gives for the same bytes.
void expectDigestsOfSha256sum(const Digest& digest) {
  Bytes joined, last(34, 0xEE);
  for (size_t size = 0; size <= 300; ++size) {
    Bytes message(size);
    uint32_t x = 1;
    for (auto& byte : message) byte = static_cast<uint8_t>((x = x * 1664525 + 1013904223) >> 24);
    joined.resize(joined.size() + 32);
    digest(message, std::span(joined).last(32));
  }
  digest(joined, std::span(last).subspan(1, 32));
  std::string hex;
  for (const uint8_t byte : last) {
    for (const int digit : {byte / 16, byte % 16}) hex += "0123456789abcdef"[digit];
  }
  EXPECT_EQ(hex, "eeb02275d18a1de3f8dc11a8f5a6bdc8006b6de6e4dba31bee48c075f6a88ffafaee")
      << "with a byte before and after";
}

// Each piece is copied to memory of its exact size, so a sanitizer detects a read past its end.
Digest inPieces(Sha256Compress compress) {
  return [compress](const Bytes& message, std::span<uint8_t> digest) {
    Sha256Hasher hasher(compress);
    std::span<const uint8_t> rest(message);
    for (size_t size = message.size() % 67; !rest.empty(); size = (size + 63) % 131) {
      const auto piece = rest.first(std::min(size, rest.size()));
      hasher.update(Bytes(piece.begin(), piece.end()));
      rest = rest.subspan(piece.size());
    }
    hasher.finish();
    hasher.write_digest(digest);
  };
}

TEST(Sha256Test, GivesTheDigestsOfSha256sum) {
  expectDigestsOfSha256sum([](const Bytes& message, std::span<uint8_t> digest) {
    velmor_core_hash_sha256(message.data(), message.size(), digest.data());
  });
  expectDigestsOfSha256sum(inPieces(compressSha256Portable));
  if (!hasShaExtensions(getThisProcessor())) GTEST_SKIP() << "no SHA extensions here";
  EXPECT_EQ(getSha256Compress(), compressSha256ShaNi);
  expectDigestsOfSha256sum(inPieces(compressSha256ShaNi));
}

TEST(Sha256LengthTest, CarriesThroughAllDigits) {
  const uint64_t sums[][3] = {// bytes, more bytes, bits
                              {0xFFFF, 1, 0x80000},
                              {0x1FFF'FFFF'FFFF'FFFF, 0, 0xFFFF'FFFF'FFFF'FFF8},
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
