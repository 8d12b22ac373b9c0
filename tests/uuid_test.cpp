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
#include <string>
#include <thread>
#include <vector>

namespace {

// One call of getrandom(): how many bytes it gives at most, or which error it ends with.
struct Answer {
  size_t most = 0;
  int error = 0;
};

// What the next calls on this thread answer; when it is empty, the system is asked. Bytes that are
// made up here count from 0x10 on.
thread_local std::deque<Answer> answers;
thread_local std::vector<size_t> asked;
thread_local bool madeUp = false;

}  // namespace

// Takes the place of the C library's function for the whole program, the shared library included.
extern "C" __attribute__((visibility("default"))) ssize_t getrandom(void* buffer, size_t length,
                                                                    unsigned flags) {
  EXPECT_EQ(flags, 0U);
  if (!madeUp) return syscall(SYS_getrandom, buffer, length, flags);
  size_t count = length;
  if (!answers.empty()) {
    const Answer answer = answers.front();
    answers.pop_front();
    if (answer.error != 0) {
      errno = answer.error;
      return -1;
    }
    count = std::min(length, answer.most);
  }
  asked.push_back(length);
  for (size_t i = 0; i < count; ++i) {
    static_cast<uint8_t*>(buffer)[i] = static_cast<uint8_t>(0xF0 + 16 - length + i);
  }
  return static_cast<ssize_t>(count);
}

namespace {

constexpr velmor_core_uuid_t SAMPLE = {{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99,
                                        0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

std::string unparse(const velmor_core_uuid_t& uuid) {
  std::array<char, VELMOR_CORE_UUID_TEXT_SIZE> text{};
  velmor_core_uuid_unparse(&uuid, text.data());
  return text.data();
}

velmor_core_uuid_t withByte(size_t index, unsigned value) {
  velmor_core_uuid_t uuid = {};
  uuid.bytes[index] = static_cast<uint8_t>(value);
  return uuid;
}

class RandomSourceTest : public testing::Test {
 protected:
  // What generation leaves behind in a null record.
  std::string generate(std::deque<Answer> script) {
    answers = std::move(script);
    asked.clear();
    madeUp = true;
    velmor_core_uuid_t uuid = {};
    velmor_core_uuid_generate_random(&uuid);
    madeUp = false;
    return unparse(uuid);
  }
  static constexpr char COMPLETE[] = "f0f1f2f3-f4f5-46f7-b8f9-fafbfcfdfeff";
  static constexpr char UNWRITTEN[] = "00000000-0000-0000-0000-000000000000";
};

TEST_F(RandomSourceTest, IsAskedOnceForAllBytes) {
  EXPECT_EQ(generate({}), COMPLETE);
  EXPECT_EQ(asked, std::vector<size_t>{16});
}

TEST_F(RandomSourceTest, IsAskedAgainForWhatIsMissing) {
  EXPECT_EQ(generate({{.most = 5}, {.error = EINTR}, {.error = EINTR}, {.most = 10}}), COMPLETE);
  EXPECT_EQ(asked, (std::vector<size_t>{16, 11, 1}));
}

TEST_F(RandomSourceTest, FailureLeavesTheRecordUnwritten) {
  EXPECT_EQ(generate({{.error = ENOSYS}}), UNWRITTEN);
  EXPECT_EQ(generate({{.most = 15}, {.error = EPERM}}), UNWRITTEN);
  EXPECT_EQ(generate({}), COMPLETE);
}

TEST(UuidGenerateTest, GivesVersionFourAndDiffersOnAllThreads) {
  std::vector<std::string> texts(1024);
  std::vector<std::thread> threads;
  for (size_t first = 0; first < texts.size(); first += 256) {
    threads.emplace_back([&, first] {
      for (size_t i = first; i < first + 256; ++i) {
        velmor_core_uuid_t uuid;
        velmor_core_uuid_generate_random(&uuid);
        EXPECT_EQ(uuid.bytes[6] & 0xF0, 0x40);
        EXPECT_EQ(uuid.bytes[8] & 0xC0, 0x80);
        texts[i] = unparse(uuid);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::ranges::sort(texts);
  EXPECT_EQ(std::ranges::adjacent_find(texts), texts.end());
}

// Parses in memory of the text's own size, so that a sanitizer sees a read behind it.
bool parseExactly(const std::string& text, velmor_core_uuid_t* uuid) {
  const std::vector<char> bytes(text.begin(), text.end());
  return velmor_core_uuid_parse2(bytes.data(), bytes.size(), uuid);
}

TEST(UuidParseTest, AcceptsFourForms) {
  for (const std::string text : {
           "00112233-4455-6677-8899-aabbccddeeff",
           "00112233445566778899AABBCCDDEEFF",
           "{00112233-4455-6677-8899-AaBbCcDdEeFf}",
           "{00112233445566778899aabbccddeeff}",
       }) {
    velmor_core_uuid_t uuid = {};
    EXPECT_TRUE(velmor_core_uuid_parse(text.c_str(), &uuid)) << text;
    EXPECT_EQ(unparse(uuid), "00112233-4455-6677-8899-aabbccddeeff");
    uuid = {};
    EXPECT_TRUE(parseExactly(text, &uuid)) << text;
    EXPECT_TRUE(velmor_core_uuid_compare_eq(&uuid, &SAMPLE));
  }
}

void expectRejected(const std::string& text) {
  velmor_core_uuid_t uuid = SAMPLE;
  EXPECT_FALSE(parseExactly(text, &uuid)) << text;
  if (text.find('\0') == std::string::npos) {
    EXPECT_FALSE(velmor_core_uuid_parse(text.c_str(), &uuid)) << text;
  }
  EXPECT_TRUE(velmor_core_uuid_compare_eq(&uuid, &SAMPLE)) << text;
}

TEST(UuidParseTest, RejectsEverythingElse) {
  for (const char* text : {
           "",
           "{",
           "{}",
           "-",
           "0011223344556677-8899-aabbccddeeff",
           "00112233-445566778899aabbccddeeff",
           "00112233-4455-66778899-aabbccddeeff",
           "00112233-4455-6677-8899aabbccddeeff",
           "00112233--4455-6677-8899-aabbccddeeff",
           "0011-2233-4455-6677-8899-aabbccddeeff",
           "00112233-4455-6677-8899-aabbccddeeff-",
           "00112233_4455_6677_8899_aabbccddeeff",
           "0x112233445566778899aabbccddeeff00",
           "{{00112233-4455-6677-8899-aabbccddeeff}}",
           "(00112233-4455-6677-8899-aabbccddeeff)",
           "[00112233445566778899aabbccddeeff]",
           "{00112233445566778899aabbccddeeff)",
           "urn:uuid:00112233-4455-6677-8899-aabbccddeeff",
       }) {
    expectRejected(text);
  }
}

// Each form shortened, lengthened, and with each of its characters replaced by the neighbours of
// the digits, by a NUL, and by bytes above 127.
TEST(UuidParseTest, RejectsEveryDamageToAGoodText) {
  for (const std::string good :
       {"00112233-4455-6677-8899-aabbccddeeff", "00112233445566778899AABBCCDDEEFF",
        "{00112233-4455-6677-8899-AaBbCcDdEeFf}", "{00112233445566778899aabbccddeeff}"}) {
    for (size_t i = 0; i < good.size(); ++i) {
      expectRejected(good.substr(0, i));
      expectRejected(good.substr(i + 1));
      for (const char bad :
           {'/', ':', '@', 'G', '`', 'g', ' ', '+', '\0', '\x80', '\xB0', '\xFF'}) {
        std::string damaged = good;
        damaged[i] = bad;
        expectRejected(damaged);
      }
    }
    for (const char extra : {' ', '\n', '0', 'f', '-', '{', '}', '\0'}) {
      expectRejected(good + extra);
      expectRejected(extra + good);
    }
  }
}

TEST(UuidParseTest, TakesTheGivenLengthOnly) {
  velmor_core_uuid_t uuid = {};
  EXPECT_TRUE(velmor_core_uuid_parse2("00112233-4455-6677-8899-aabbccddeeff, and more", 36, &uuid));
  EXPECT_TRUE(velmor_core_uuid_compare_eq(&uuid, &SAMPLE));
  const std::vector<char> nothing(1);  // with a sanitizer, unreadable from its end on
  EXPECT_FALSE(velmor_core_uuid_parse2(nothing.data() + 1, 0, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse2(nullptr, 36, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse2(nullptr, 0, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse(nullptr, &uuid));
  EXPECT_TRUE(velmor_core_uuid_compare_eq(&uuid, &SAMPLE));
}

TEST(UuidUnparseTest, WritesThirtySevenBytes) {
  std::array<char, 39> memory;
  memory.fill('#');
  velmor_core_uuid_unparse(&SAMPLE, &memory[1]);
  EXPECT_EQ(std::string(memory.data(), memory.size()),
            std::string("#00112233-4455-6677-8899-aabbccddeeff\0#", 39));
}

TEST(UuidCompareTest, OrdersBytesAsUnsignedFromTheFirst) {
  std::vector<velmor_core_uuid_t> ascending = {{}};
  for (size_t i = 16; i-- > 0;) {
    for (const unsigned value : {0x01U, 0x7FU, 0x80U, 0xFFU})
      ascending.push_back(withByte(i, value));
  }
  for (size_t i = 0; i < ascending.size(); ++i) {
    for (size_t j = 0; j < ascending.size(); ++j) {
      const velmor_core_uuid_t* a = &ascending[i];
      const velmor_core_uuid_t* b = &ascending[j];
      EXPECT_EQ(velmor_core_uuid_compare_eq(a, b), i == j);
      EXPECT_EQ(velmor_core_uuid_compare_gt(a, b), i > j);
      EXPECT_EQ(velmor_core_uuid_compare_lt(a, b), i < j);
    }
    EXPECT_EQ(velmor_core_uuid_is_null(&ascending[i]), i == 0);
  }
}

TEST(UuidRecordTest, IsCopiedAndClearedAlone) {
  const std::string sample = unparse(SAMPLE);
  const velmor_core_uuid_t other = withByte(7, 7);
  std::array<velmor_core_uuid_t, 3> records = {other, {}, other};
  velmor_core_uuid_copy(&records[1], &SAMPLE);
  EXPECT_EQ(unparse(records[1]), sample);
  velmor_core_uuid_clear(&records[1]);
  EXPECT_TRUE(velmor_core_uuid_is_null(&records[1]));
  EXPECT_EQ(unparse(records[0]), unparse(other));
  EXPECT_EQ(unparse(records[2]), unparse(other));
}

}  // namespace
