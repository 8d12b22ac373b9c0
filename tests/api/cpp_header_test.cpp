// The C++ header, over the same library: what it adds to the C interface.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>
#include <velmor_core/velmor_core.hpp>

namespace {

using namespace velmor_core::literals;
using std::string_view;
using velmor_core::Chunk;
using velmor_core::Object;
using velmor_core::Uuid;

static_assert("data"_id == VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a'), "an id from a literal");
static_assert("fmt"_id == "fmt "_id && ""_id == 0x20202020, "short ids are padded");
static_assert(!std::is_copy_constructible<Object>::value, "objects move");
static_assert(sizeof(Chunk) == sizeof(void*) && std::is_trivially_copyable<Chunk>::value,
              "no cost");
static_assert(sizeof(Object) == sizeof(void*), "no cost");

TEST(CppHeader, ChunksAreWrittenFoundAndRead) {
  Object cache = Object::openCache(64);
  const Chunk riff = cache.root().addGroup("RIFF"_id, "test"_id);
  const Chunk text = riff.addData("text"_id, string_view("abc"));
  const Chunk words = riff.addData("word"_id, std::vector<uint16_t>{1, 2, 0x0403});
  riff.addGroup("LIST"_id, "grp"_id).addCopy(text);
  EXPECT_EQ(words.dataSize(), 6u);
  std::vector<uint32_t> ids;
  for (const Chunk chunk : riff.children()) ids.push_back(chunk.id());
  EXPECT_EQ(ids, (std::vector<uint32_t>{"text"_id, "word"_id, "LIST"_id}));
  EXPECT_TRUE(text.children().empty());
  EXPECT_EQ(riff.find("LIST"_id, "grp"_id).child(0).data<std::string>(), "abc");
  EXPECT_FALSE(riff.find("LIST"_id, "none"_id));

  std::array<uint8_t, 2> bytes{};
  words.read(bytes, 4);
  EXPECT_EQ(bytes, (std::array<uint8_t, 2>{3, 4}));
  words.write(string_view("xy"), 4);
  EXPECT_EQ(words.data<std::string>().substr(4), "xy");
  text.resize(2);
  EXPECT_EQ(text.data<std::string>(), "ab");

  Object moved = std::move(cache);
  EXPECT_FALSE(cache);  // NOLINT(bugprone-use-after-move): that is what is tested
  Chunk recycled = moved.first().find("word"_id);
  recycled.recycle();
  EXPECT_EQ(recycled.id(), "JUNK"_id);
  Object other = Object::openCache();
  EXPECT_EQ(moved.pourInto(other.root()).groupId(), "test"_id);
  other.first().remove();
  EXPECT_EQ(other.size(), 0u);
}

TEST(CppHeader, BuffersOfAnyKindAreOpened) {
  std::string bytes("data\3\0\0\0abc\0", 12);
  EXPECT_EQ(Object::openBuffer(bytes).first().data<std::vector<char>>().size(), 3u);
  bytes.resize(40);
  Object editable = Object::openBuffer(bytes, 12);
  EXPECT_EQ(editable.capacity(), 40u);
  editable.root().addData("more"_id, string_view("x"));
  EXPECT_EQ(bytes.substr(12, 4), "more");
  EXPECT_FALSE(Object::openBuffer(bytes, 41, std::nothrow));
}

TEST(CppHeader, FailuresThrowOrNotAsTheCallerChooses) {
  EXPECT_THROW(Object::openFile("/nonexistent"), velmor_core::Error);
  EXPECT_FALSE(Object::openFile("/nonexistent", velmor_core::READ_ONLY, std::nothrow));
  const string_view cut("data\xff\xff\xff\xffxyz", 11);
  const Object object = Object::openBuffer(cut);
  const Chunk data = object.first();
  EXPECT_THROW(data.data<std::string>(), velmor_core::Error);
  EXPECT_EQ(data.data<std::string>(std::nothrow), std::nullopt);
  EXPECT_THROW(data.write(cut), velmor_core::Error);
  EXPECT_THROW(data.addData("x"_id, cut), velmor_core::Error);
  EXPECT_FALSE(data.addData("x"_id, cut, std::nothrow));
  EXPECT_FALSE(data.remove(std::nothrow));
  EXPECT_THROW(std::string_view("x").size() == 1 ? "too long"_id : 0, velmor_core::Error);
  try {
    Chunk().resize(1);
    FAIL();
  } catch (const velmor_core::Error& error) {
    EXPECT_EQ(error.status(), VELMOR_CORE_BAD_HANDLE);
  }
}

TEST(CppHeader, ValuesOfTheOtherFamilies) {
  EXPECT_EQ(velmor_core::toNumber<int64_t>("4k7"), 4700);
  EXPECT_EQ(velmor_core::toNumber<uint64_t>("-1"), UINT64_MAX);
  EXPECT_EQ(velmor_core::toNumber<double>("1.5", std::nothrow), 1.5);
  EXPECT_EQ(velmor_core::toNumber<double>("x", std::nothrow), std::nullopt);
  EXPECT_THROW(velmor_core::toNumber<int64_t>("x"), velmor_core::Error);
  const Uuid uuid = Uuid::random();
  EXPECT_EQ(Uuid::parse(uuid.text()), uuid);
  EXPECT_LT(Uuid(), uuid);
  EXPECT_THROW(Uuid::parse("x"), velmor_core::Error);
  EXPECT_EQ(velmor_core::sha256(string_view("abc"))[0], 0xba);
  EXPECT_NE(velmor_core::sha256(std::vector<uint32_t>(2)), velmor_core::sha256(string_view()));
}

}  // namespace
