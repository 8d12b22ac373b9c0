// UUIDs through the C interface, with a random source that can be told how to behave.

#include <gtest/gtest.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <velmor_core/uuid.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

// What the next calls of getrandom() answer: how many bytes they give at most, or -errno. Once
// there are none left, the system is asked. The bytes of a script count from 0xF0 on.
std::deque<ssize_t> script;
std::vector<size_t> asked;

}  // namespace

// Takes the place of the C library's function for the whole program, the shared library included.
extern "C" __attribute__((visibility("default"))) ssize_t getrandom(void* buffer, size_t length,
                                                                    unsigned flags) {
  EXPECT_EQ(flags, 0U);
  if (script.empty()) return syscall(SYS_getrandom, buffer, length, flags);
  const ssize_t answer = script.front();
  script.pop_front();
  asked.push_back(length);
  errno = static_cast<int>(std::max<ssize_t>(-answer, 0));
  auto value = static_cast<uint8_t>(0xF0 + 16 - length);
  for (ssize_t i = 0; i < answer; ++i) static_cast<uint8_t*>(buffer)[i] = value++;
  return std::max<ssize_t>(answer, -1);
}

namespace {

constexpr velmor_core_uuid_t SAMPLE = {{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99,
                                        0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

// The text, of which 37 bytes are written.
std::string unparse(const velmor_core_uuid_t& uuid) {
  std::string memory(39, '#');
  velmor_core_uuid_unparse(&uuid, &memory[1]);
  EXPECT_EQ(memory.substr(37), std::string("\0#", 2));
  EXPECT_EQ(memory[0], '#');
  return memory.substr(1, 36);
}

// What generation makes of a null record.
std::string generate(std::deque<ssize_t> answers) {
  script = std::move(answers);
  asked.clear();
  velmor_core_uuid_t uuid = {};
  velmor_core_uuid_generate_random(&uuid);
  return unparse(uuid);
}

TEST(UuidGenerateTest, AsksTheSystemUntilAllBytesAreThere) {
  EXPECT_EQ(generate({16}), "f0f1f2f3-f4f5-46f7-b8f9-fafbfcfdfeff");
  EXPECT_EQ(asked, std::vector<size_t>{16});
  EXPECT_EQ(generate({5, -EINTR, -EINTR, 10, 1}), "f0f1f2f3-f4f5-46f7-b8f9-fafbfcfdfeff");
  EXPECT_EQ(asked, (std::vector<size_t>{16, 11, 11, 11, 1}));
  EXPECT_EQ(generate({-ENOSYS}), "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(generate({15, -EPERM}), "00000000-0000-0000-0000-000000000000");
}

TEST(UuidGenerateTest, GivesVersionFourAndNothingTwice) {
  std::set<std::string> texts;
  for (int i = 0; i < 1000; ++i) {
    const std::string text = generate({});
    EXPECT_EQ(text[14], '4');
    EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
    EXPECT_TRUE(texts.insert(text).second);
  }
}

// Parses a terminated text, and memory of the text's own size, so that a sanitizer sees a read
// behind it. What is rejected leaves the record alone.
void expectParsed(const std::string& text, bool accepted) {
  const std::vector<char> bytes(text.begin(), text.end());
  velmor_core_uuid_t uuid = {{1}};
  EXPECT_EQ(velmor_core_uuid_parse2(bytes.data(), bytes.size(), &uuid), accepted) << text;
  EXPECT_EQ(unparse(uuid), unparse(accepted ? SAMPLE : velmor_core_uuid_t{{1}})) << text;
  if (text.find('\0') != std::string::npos) return;
  uuid = {{1}};
  EXPECT_EQ(velmor_core_uuid_parse(text.c_str(), &uuid), accepted) << text;
  EXPECT_EQ(unparse(uuid), unparse(accepted ? SAMPLE : velmor_core_uuid_t{{1}})) << text;
}

// Each form, then shortened, lengthened, and with each of its characters replaced by the neighbours
// of the digits, by a NUL, and by bytes above 127.
TEST(UuidParseTest, AcceptsFourFormsAndNothingNearThem) {
  for (const std::string good :
       {"00112233-4455-6677-8899-aabbccddeeff", "00112233445566778899AABBCCDDEEFF",
        "{00112233-4455-6677-8899-AaBbCcDdEeFf}", "{00112233445566778899aabbccddeeff}"}) {
    expectParsed(good, true);
    for (size_t i = 0; i < good.size(); ++i) {
      expectParsed(good.substr(0, i), false);
      expectParsed(good.substr(i + 1), false);
      for (const char bad : std::string("/:@G`g +_\0\x80\xB0\xFF", 13)) {
        std::string damaged = good;
        damaged[i] = bad;
        expectParsed(damaged, false);
      }
    }
    for (const char extra : std::string(" \n0f-{}\0", 8)) {
      expectParsed(good + extra, false);
      expectParsed(extra + good, false);
    }
  }
}

TEST(UuidParseTest, RejectsEverythingElse) {
  for (const char* text :
       {"{}", "0011223344556677-8899-aabbccddeeff", "00112233-445566778899aabbccddeeff",
        "00112233-4455-66778899-aabbccddeeff", "00112233-4455-6677-8899aabbccddeeff",
        "00112233--4455-6677-8899-aabbccddeeff", "0011-2233-4455-6677-8899-aabbccddeeff",
        "0x112233445566778899aabbccddeeff00", "{{00112233-4455-6677-8899-aabbccddeeff}}",
        "(00112233-4455-6677-8899-aabbccddeeff)", "[00112233445566778899aabbccddeeff]",
        "{00112233445566778899aabbccddeeff)", "urn:uuid:00112233-4455-6677-8899-aabbccddeeff"}) {
    expectParsed(text, false);
  }
}

TEST(UuidParseTest, TakesTheGivenLengthOnly) {
  velmor_core_uuid_t uuid = {};
  EXPECT_TRUE(velmor_core_uuid_parse2("00112233-4455-6677-8899-aabbccddeeff, and more", 36, &uuid));
  const std::vector<char> nothing(1);  // with a sanitizer, unreadable from its end on
  EXPECT_FALSE(velmor_core_uuid_parse2(nothing.data() + 1, 0, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse2(nullptr, 36, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse2(nullptr, 0, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse(nullptr, &uuid));
  EXPECT_TRUE(velmor_core_uuid_compare_eq(&uuid, &SAMPLE));
}

TEST(UuidRecordTest, ComparesBytesAsUnsignedFromTheFirst) {
  std::vector<velmor_core_uuid_t> ascending(1);
  for (size_t i = 16; i-- > 0;) {
    for (const uint8_t value : std::to_array<uint8_t>({0x01, 0x7F, 0x80, 0xFF})) {
      ascending.emplace_back().bytes[i] = value;
    }
  }
  for (const velmor_core_uuid_t& a : ascending) {
    for (const velmor_core_uuid_t& b : ascending) {
      EXPECT_EQ(velmor_core_uuid_compare_eq(&a, &b), &a == &b);
      EXPECT_EQ(velmor_core_uuid_compare_gt(&a, &b), &a > &b);
      EXPECT_EQ(velmor_core_uuid_compare_lt(&a, &b), &a < &b);
    }
    EXPECT_EQ(velmor_core_uuid_is_null(&a), &a == &ascending[0]);
  }
}

TEST(UuidRecordTest, IsCopiedAndCleared) {
  velmor_core_uuid_t record = {};
  velmor_core_uuid_copy(&record, &SAMPLE);
  EXPECT_EQ(unparse(record), unparse(SAMPLE));
  velmor_core_uuid_clear(&record);
  EXPECT_TRUE(velmor_core_uuid_is_null(&record));
}

}  // namespace
