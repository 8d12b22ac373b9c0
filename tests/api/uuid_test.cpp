// UUIDs through the C interface.

#include <gtest/gtest.h>
#include <velmor_core/uuid.h>

#include <array>
#include <set>
#include <string>
#include <vector>

#include "support/faults.h"

namespace {

const std::string SAMPLE_TEXT = "01234567-89ab-cdef-fedc-ba9876543210";

std::string unparse(const velmor_core_uuid_t& uuid) {
  std::string memory(39, '#');
  velmor_core_uuid_unparse(&uuid, &memory[1]);
  EXPECT_EQ(memory[0] + memory.substr(37), std::string("#\0#", 3));
  return memory.substr(1, 36);
}

std::string generate() {
  velmor_core_uuid_t uuid = {};
  velmor_core_uuid_generate_random(&uuid);
  return unparse(uuid);
}

// Random bytes may come one by one, or be interrupted.
TEST(UuidGenerateTest, GivesVersionFourAndNothingTwice) {
  std::set<std::string> texts;
  for (int i = 0; i < 1000; ++i) {
    faults::arm(faults::Call::GETRANDOM, 0,
                i % 2 == 0 ? faults::How::SHORT_COUNTS : faults::How::FAIL_ONCE);
    const std::string text = generate();
    EXPECT_TRUE(faults::disarm());
    EXPECT_EQ(text[14], '4');
    EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
    EXPECT_TRUE(texts.insert(text.substr(24)).second && texts.insert(text.substr(0, 13)).second);
  }
  faults::arm(faults::Call::GETRANDOM, 0, faults::How::FAIL_FROM_HERE_ON);
  EXPECT_EQ(generate(), "00000000-0000-0000-0000-000000000000") << "the record as it was";
  EXPECT_TRUE(faults::disarm());
}

// The text is in memory of its own size, so that a sanitizer sees a read past its end.
void expectParsed(const std::string& text, bool accepted) {
  const std::vector<char> bytes(text.begin(), text.end());
  velmor_core_uuid_t uuid = {{1}};
  EXPECT_EQ(velmor_core_uuid_parse2(bytes.data(), bytes.size(), &uuid), accepted) << text;
  EXPECT_EQ(unparse(uuid), accepted ? SAMPLE_TEXT : unparse({{1}})) << text;
}

// Each form as it is, shortened, lengthened, and with each character replaced by the neighbours of
// the digits, by a NUL, and by a byte above 127.
TEST(UuidParseTest, AcceptsFourFormsAndNothingElse) {
  const std::string mixed = "01234567-89AB-CDEF-fEdC-Ba9876543210";
  const std::string bare = "0123456789ABCDEFfedcba9876543210";
  for (const std::string& good : {mixed, bare, "{" + SAMPLE_TEXT + "}", "{" + bare + "}"}) {
    expectParsed(good, true);
    for (size_t i = 0; i < good.size(); ++i) {
      expectParsed(good.substr(0, i), false);
      for (const char bad : std::string("/:@G`g\0\xB0", 8)) {
        std::string damaged = good;
        damaged[i] = bad;
        expectParsed(damaged, false);
      }
    }
    for (const char extra : std::string(" \n0{}\0", 6)) {
      expectParsed(good + extra, false);
      expectParsed(extra + good, false);
    }
  }
  expectParsed("0123456789abcdef-fedc-ba9876543210", false);
  expectParsed("01234567-89abcdeffedcba9876543210", false);
  velmor_core_uuid_t uuid = {};
  EXPECT_TRUE(velmor_core_uuid_parse2((bare + "more").c_str(), 32, &uuid));
  EXPECT_TRUE(velmor_core_uuid_parse(bare.c_str(), &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse((bare + "m").c_str(), &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse("", &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse2(nullptr, 36, &uuid));
  EXPECT_FALSE(velmor_core_uuid_parse(nullptr, &uuid));
  EXPECT_EQ(unparse(uuid), SAMPLE_TEXT);
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
  velmor_core_uuid_t record = {};
  velmor_core_uuid_copy(&record, &ascending[7]);
  EXPECT_TRUE(velmor_core_uuid_compare_eq(&record, &ascending[7]));
  velmor_core_uuid_clear(&record);
  EXPECT_TRUE(velmor_core_uuid_is_null(&record));
}

}  // namespace
