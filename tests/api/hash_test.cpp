// SHA-256 through the C interface.

#include <gtest/gtest.h>
#include <velmor_core/hash.h>
#include <velmor_core/uuid.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string toHex(const uint8_t* digest) {
  std::string hex;
  for (const uint8_t* byte = digest; byte != digest + VELMOR_CORE_HASH_SHA256_SIZE; ++byte) {
    hex += "0123456789abcdef"[*byte / 16];
    hex += "0123456789abcdef"[*byte % 16];
  }
  return hex;
}

std::string sha256(const void* data, uint64_t size) {
  std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE + 2> memory;
  memory.fill(0xEE);
  velmor_core_hash_sha256(data, size, &memory[1]);
  EXPECT_TRUE(memory.front() == 0xEE && memory.back() == 0xEE) << "more than the digest is written";
  return toHex(&memory[1]);
}

TEST(Sha256Test, GivesThePublishedDigests) {
  const std::string millionTimesA(1'000'000, 'a');
  EXPECT_EQ(sha256(nullptr, 0), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(sha256("abc", 3), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 56),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(sha256(millionTimesA.data(), millionTimesA.size()),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// Every ending of the last block, at every alignment. The message lies in memory of its own size,
// so that a sanitizer sees a read behind it.
TEST(Sha256Test, AgreesWithSha256sum) {
  const auto folder =
      std::filesystem::path(testing::TempDir()) / ("velmor_core_hash" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  std::ofstream list(folder / "list");
  for (size_t size = 0; size <= 300; ++size) {
    const size_t shift = size % 16;
    std::vector<char> message(shift + size);
    uint32_t x = 1;
    for (char& byte : message) byte = static_cast<char>((x = x * 1664525 + 1013904223) >> 24);
    const std::string name = std::to_string(size);
    std::ofstream(folder / name).write(message.data() + shift, static_cast<std::streamsize>(size));
    list << sha256(message.data() + shift, size) << "  " << name << '\n';
  }
  list.close();
  const std::string command = "cd '" + folder.string() + "' && sha256sum --check --quiet list";
  // NOLINTNEXTLINE(cert-env33-c): a command of our own
  EXPECT_EQ(std::system(command.c_str()), 0);
  std::filesystem::remove_all(folder);
}

TEST(ThreadsTest, DigestsAndUuidsDoNotMeet) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const std::string message(1000, static_cast<char>('a' + i));
      const std::string digest = sha256(message.data(), message.size());
      velmor_core_uuid_t last = {};
      for (int n = 0; n < 500; ++n) {
        EXPECT_EQ(sha256(message.data(), message.size()), digest);
        velmor_core_uuid_t next = {};
        velmor_core_uuid_generate_random(&next);
        EXPECT_FALSE(velmor_core_uuid_compare_eq(&last, &next));
        last = next;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Sha256Test, DigestMayOverlapTheData) {
  std::array<uint8_t, 64> memory{};
  const std::string expected = sha256(memory.data(), memory.size());
  velmor_core_hash_sha256(memory.data(), memory.size(), memory.data() + 16);
  EXPECT_EQ(toHex(memory.data() + 16), expected);
}

}  // namespace
