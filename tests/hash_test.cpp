// SHA-256 through the C interface.

#include <gtest/gtest.h>
#include <velmor_core/hash.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#ifdef HAVE_OPENSSL
#include <openssl/evp.h>
#endif

namespace {

std::string toHex(const uint8_t* digest) {
  std::ostringstream hex;
  hex << std::hex << std::setfill('0');
  for (unsigned i = 0; i < VELMOR_CORE_HASH_SHA256_SIZE; ++i) {
    hex << std::setw(2) << unsigned{digest[i]};
  }
  return hex.str();
}

std::string sha256(const void* data, uint64_t size) {
  std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE> digest{};
  velmor_core_hash_sha256(data, size, digest.data());
  return toHex(digest.data());
}

// Bytes that do not repeat within a block.
std::vector<uint8_t> makeMessage(size_t size) {
  std::vector<uint8_t> message(size);
  uint32_t x = 1;
  for (uint8_t& byte : message) byte = static_cast<uint8_t>((x = x * 1664525 + 1013904223) >> 24);
  return message;
}

#ifdef HAVE_OPENSSL
std::string peerSha256(const uint8_t* data, size_t size) {
  std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE> digest{};
  EXPECT_EQ(EVP_Digest(data, size, digest.data(), nullptr, EVP_sha256(), nullptr), 1);
  return toHex(digest.data());
}
#else
// The sha256sum of coreutils, through a file and a pipe.
std::string peerSha256(const uint8_t* data, size_t size) {
  const std::string path = testing::TempDir() + "velmor_core_hash_test";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  std::FILE* pipe = popen(("sha256sum < " + path).c_str(), "r");
  std::array<char, 65> hex{};
  EXPECT_NE(std::fgets(hex.data(), hex.size(), pipe), nullptr);
  EXPECT_EQ(pclose(pipe), 0);
  std::filesystem::remove(path);
  return hex.data();
}
#endif

TEST(Sha256Test, GivesThePublishedDigests) {
  const std::string millionTimesA(1'000'000, 'a');
  const struct {
    std::string message, digest;
  } published[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmn"
       "o"
       "pqrsmnopqrstnopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {millionTimesA, "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const auto& [message, digest] : published) {
    EXPECT_EQ(sha256(message.data(), message.size()), digest);
  }
  EXPECT_EQ(sha256(nullptr, 0), published[0].digest);
}

// Every ending of the last block, at every alignment. The message lies in memory of its own size,
// so that a sanitizer sees a read behind it.
TEST(Sha256Test, AgreesWithAnotherImplementation) {
  for (size_t size = 0; size <= 300; ++size) {
    const size_t shift = size % 16;
    const std::vector<uint8_t> memory = makeMessage(shift + size);
    const uint8_t* message = memory.data() + shift;
    ASSERT_EQ(sha256(message, size), peerSha256(message, size)) << size << " bytes";
  }
  const std::vector<uint8_t> message = makeMessage(3'000'001);
  EXPECT_EQ(sha256(message.data() + 1, 3'000'000), peerSha256(message.data() + 1, 3'000'000));
}

TEST(Sha256Test, WritesTheDigestAndNothingElse) {
  std::array<uint8_t, 34> memory;
  memory.fill(0xEE);
  velmor_core_hash_sha256("abc", 3, &memory[1]);
  EXPECT_EQ(memory.front(), 0xEE);
  EXPECT_EQ(memory.back(), 0xEE);
  EXPECT_EQ(toHex(&memory[1]), sha256("abc", 3));

  std::array<uint8_t, 64> overlapping{};
  velmor_core_hash_sha256(overlapping.data(), overlapping.size(), overlapping.data() + 16);
  EXPECT_EQ(toHex(overlapping.data() + 16), sha256(std::array<uint8_t, 64>{}.data(), 64));
}

// The first calls of the process, which choose the form, come from all threads at once.
TEST(Sha256Test, RunsOnManyThreads) {
  const std::vector<uint8_t> message = makeMessage(1000);
  std::vector<std::string> digests(4);
  {
    const auto hash = [&](size_t i) { digests[i] = sha256(message.data(), message.size()); };
    std::jthread first(hash, 0), second(hash, 1), third(hash, 2), fourth(hash, 3);
  }
  EXPECT_EQ(std::ranges::count(digests, sha256(message.data(), message.size())), 4);
}

}  // namespace
