// What the C++ headers add to the C interface. Built as C++17 and as C++20.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>
#include <velmor_core/velmor_core.hpp>

namespace {

using namespace velmor_core;
using std::string_view;

// The types are as small as the handles, and literals are constants.
static_assert(sizeof(Chunk) == sizeof(void*) && std::is_trivially_copyable_v<Chunk>);
static_assert(sizeof(Object) == sizeof(void*) && !std::is_copy_constructible_v<Object>);
static_assert("data"_id.value() == VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a'));
static_assert("IN"_id == "IN  "_id && "IN"_id != "INAM"_id);

// What must not compile. COMPILES defines name<X>: whether the expression compiles for a type X.
#define COMPILES(name, expression)       \
  template <typename X, typename = void> \
  struct name : std::false_type {};      \
  template <typename X>                  \
  struct name<X, std::void_t<decltype(expression)>> : std::true_type {}
COMPILES(GivesRoot, std::declval<X>().root());
COMPILES(GivesFirst, std::declval<X>().first());
COMPILES(Opens, Object::openBuffer(std::declval<X>(), std::nothrow));
COMPILES(OpensForEditing, Object::openBuffer(std::declval<X>(), 0, std::nothrow));
COMPILES(FindsGroup, Chunk().find("LIST"_id, std::declval<X>()));
COMPILES(Finds, Chunk().find(std::declval<X>()));
COMPILES(OpensFileAs, Object::openFile("", std::declval<X>(), std::nothrow));
COMPILES(Hashes, sha256(std::declval<X>()));
static_assert(GivesRoot<Object&>() && !GivesRoot<Object>() && !GivesRoot<const Object>());
static_assert(GivesFirst<const Object&>() && !GivesFirst<Object>());
static_assert(Opens<std::string&>() && Opens<string_view>() && Opens<Bytes>());
static_assert(!Opens<std::string>() && !Opens<const std::vector<char>>() && !Opens<char (&)[9]>());
static_assert(OpensForEditing<std::string&>() && OpensForEditing<char (&)[9]>());
static_assert(!OpensForEditing<std::string>() && !OpensForEditing<const std::string&>());
static_assert(FindsGroup<GroupId>() && !FindsGroup<Id>() && !FindsGroup<uint32_t>());
static_assert(Finds<Id>() && Finds<const char*>() && !Finds<GroupId>() && !Finds<uint32_t>());
static_assert(OpensFileAs<Mode>() && !OpensFileAs<int>());
static_assert(Hashes<const char*>() && Hashes<std::vector<double>>() && !Hashes<char (&)[9]>() &&
              !Hashes<std::nullptr_t>() && !Hashes<std::vector<std::string>>());
#if __cplusplus >= 202002L
template <std::size_t Size>
concept IsIdLength = requires {
  std::integral_constant<uint32_t, operator""_id("12345", Size).value()>();
};
static_assert(IsIdLength<1> && IsIdLength<4> && !IsIdLength<0> && !IsIdLength<5>);
static_assert(std::ranges::forward_range<Children> && std::ranges::sized_range<Children> &&
              std::ranges::view<Children> && std::ranges::borrowed_range<Children>);
static_assert(std::ranges::view<Matches> && std::ranges::borrowed_range<Matches>);
static_assert(std::three_way_comparable<Uuid, std::strong_ordering>);
#endif

TEST(CppHeader, ChunksAreAddedChangedAndRead) {
  Object cache = Object::openCache(64);
  const Chunk riff = cache.root().addGroup("RIFF"_id, "test"_group);
  const Chunk text = riff.addData("text"_id, "abc");
  const Chunk words = riff.addData("word"_id, std::vector<uint16_t>{1, 2, 0x0403});
  EXPECT_EQ(text.dataSize(), 3u);  // no NUL
  EXPECT_EQ(text.totalSize(), 12u);
  EXPECT_EQ(words.dataSize(), 6u);
  std::array<uint8_t, 2> bytes{};
  words.read(bytes, 4);
  EXPECT_EQ(bytes, (std::array<uint8_t, 2>{3, 4}));
  words.write("xy", 4);
  EXPECT_EQ(words.data<std::string>().substr(4), "xy");
  text.resize(2);
  EXPECT_EQ(text.data<std::string>(), "ab");
  EXPECT_EQ(riff.addGroup("LIST"_id, "grp"_group).addCopy(text).data<std::string>(), "ab");

  Object other = Object::openCache();
  EXPECT_EQ(other.root().addCache(cache).groupId().text(), "test");
  Chunk recycled = other.first().find("word"_id);
  recycled.recycle();
  EXPECT_EQ(recycled.id(), "JUNK"_id);
  other.first().remove();
  EXPECT_EQ(other.size(), 0u);
}

TEST(CppHeader, ChunksAreFoundByIdAndPathAndWalkedAsRange) {
  const Object cache = Object::openCache();
  const Chunk riff = cache.root().addGroup("RIFF"_id, "WAVE"_group);
  std::vector<Chunk> expected;
  for (const GroupId group : {"none"_group, "INFO"_group, "INFO"_group}) {
    expected.push_back(riff.addGroup("LIST"_id, group));
    riff.addData("fmt"_id, "");
  }
  const Chunk title = expected[2].addData("INAM"_id, "Title");
  const Matches lists = riff.findAll("LIST"_id);
  EXPECT_EQ(std::vector<Chunk>(lists.begin(), lists.end()), expected);
  EXPECT_EQ(riff.findAll("LIST"_id, "INFO"_group).begin()->next().next(), expected[2]);
  EXPECT_EQ(riff.find("LIST"_id, "INFO"_group), expected[1]);
  const Children children = riff.children();
  EXPECT_EQ(children.size(), 6u);
  EXPECT_EQ(std::count(children.begin(), children.end(), title), 0);
  EXPECT_EQ(std::unordered_set<Chunk>(children.begin(), children.end()).size(), 6u);
#if __cplusplus >= 202002L
  EXPECT_EQ(std::ranges::count(riff.children(), "fmt"_id, &Chunk::id), 3);
#endif

  EXPECT_EQ(cache.root().find("RIFF:WAVE/LIST:INFO/INAM"), title);  // in the second of two
  EXPECT_EQ(cache.root().find("RIFF/LIST/INAM"), title);
  EXPECT_EQ(riff.find("fmt"), riff.child(1));
  for (const char* path : {"", "/", "LIST:", "LIST:INFO/", "/LIST", "LIST//INAM", "LIST:none/INAM",
                           "LIST:INFO/ICMT", "fmt/x", "fmt:x", "LISTS", "INAM"}) {
    EXPECT_FALSE(riff.find(path)) << path;
  }
}

TEST(CppHeader, EmptyHandlesGiveNothing) {
  Object object = Object::openCache();
  object.root().addData("data"_id, "abc");
  Object moved;
  moved = std::move(object);
  EXPECT_EQ(moved.size(), 12u);
  const Chunk none;
  // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): that is what is tested
  EXPECT_FALSE(object || object.root() || object.first() || none.next() || none.parent());
  EXPECT_EQ(object.size() + object.capacity() + none.totalSize() + none.childCount(), 0u);
  EXPECT_EQ(none.id().value() + none.groupId().value() + none.dataSize(), 0u);
  EXPECT_TRUE(none.children().empty() && none.findAll("data"_id).empty() && !none.find("data"));
  object.clear();
  EXPECT_FALSE(none.addData("data"_id, "abc", std::nothrow) ||
               moved.root().addCache(object, std::nothrow) || none.remove(std::nothrow));
  // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  Object closed = Object::openCache();
  closed.close();
  EXPECT_FALSE(closed.root());
}

TEST(CppHeader, BuffersOfAnyKindAreOpened) {
  std::string bytes("data\3\0\0\0abc\0", 12);
  const Object object = Object::openBuffer(bytes);
  EXPECT_EQ(object.first().data<std::vector<char>>().size(), 3u);
  bytes.resize(40);
  const Object editable = Object::openBuffer(bytes, 12);
  EXPECT_EQ(editable.capacity(), 40u);
  editable.root().addData("more"_id, "x");
  EXPECT_EQ(bytes.substr(12, 4), "more");
  EXPECT_FALSE(Object::openBuffer(MutableBytes(bytes.data(), 11), 12, std::nothrow));
}

// Runs a call that has to fail; returns the status and text of its error.
template <typename Call>
std::string errorOf(Call call) {
  try {
    call();
    return "no error";
  } catch (const Error& error) {
    return std::to_string(error.status()) + " " + error.what();
  }
}

TEST(CppHeader, FailuresThrowStatusAndReasonUnlessNothrow) {
  EXPECT_EQ(errorOf([] { (void)Object::openFile("/nonexistent"); }),
            "-1 the file cannot be read as RIFF chunks");
  EXPECT_FALSE(Object::openFile(std::string("/dev/null\0x", 11), Mode::ReadOnly, std::nothrow));
  const string_view cut("data\xff\xff\xff\xffxyz", 11);
  const Object object = Object::openBuffer(cut);
  const Chunk data = object.first();
  char buffer[2];
  EXPECT_EQ(errorOf([&] { (void)data.data<std::string>(); }),
            "-1 the data of the chunk cannot be read");
  struct NeverResized : std::string {
    static void resize(std::size_t) { FAIL(); }
  };
  EXPECT_FALSE(data.data<NeverResized>(std::nothrow));
  EXPECT_EQ(errorOf([&] { (void)object.root().data<std::string>(); }),
            "-200 there is no chunk, or it is of another kind");
  EXPECT_EQ(errorOf([&] { data.read(buffer, 0xfffffffe); }),
            "-1 the range ends past the end of the chunk's data");
  EXPECT_EQ(errorOf([&] { data.write(cut); }), "-1 the data of the chunk cannot be written");
  EXPECT_EQ(errorOf([&] { object.root().addData("x"_id, cut); }), "-1 the chunk cannot be added");
  EXPECT_EQ(errorOf([&] { object.root().addCache(Object()); }), "-1 the cache holds no chunks");
  EXPECT_EQ(errorOf([&] { object.root().recycle(); }), "-1 the chunk cannot be recycled");
  EXPECT_EQ(errorOf([&] { object.root().remove(); }), "-1 the chunk cannot be removed");
  EXPECT_EQ(errorOf([] { Chunk().resize(1); }), "-200 there is no chunk, or it is of another kind");
}

// The large data is a hole in a sparse file. Data that fits exactly is accepted, and an edit that
// is refused changes nothing.
TEST(CppHeader, GroupsDoNotGrowPast4GiB) {
  const std::string path = testing::TempDir() + "cpp_header_" + std::to_string(getpid());
  const Object file = Object::openFile(path, Mode::Create);
  const Chunk riff = file.root().addGroup("RIFF"_id, "test"_group);
  const Chunk list = riff.addGroup("LIST"_id, "grp"_group);
  const Chunk large = riff.addData("data"_id, "");
  large.resize(0xffffffd4);  // leaves 19 bytes
  EXPECT_EQ(std::remove(path.c_str()), 0);
  const Object cache = Object::openCache();
  cache.root().addData("more"_id, "12345678901");
  const std::string refused = "-1 a group would become larger than 4 GiB";
  EXPECT_EQ(errorOf([&] { list.addData("more"_id, "12345678901"); }), refused);
  EXPECT_EQ(errorOf([&] { riff.addCopy(cache.first()); }), refused);
  EXPECT_EQ(errorOf([&] { riff.addCache(cache); }), refused);
  EXPECT_EQ(errorOf([&] { large.resize(0xffffffe9); }), refused);
  EXPECT_FALSE(riff.addData("more"_id, "12345678901", std::nothrow) ||
               riff.addCopy(cache.first(), std::nothrow) || riff.addCache(cache, std::nothrow) ||
               large.resize(0xffffffe9, std::nothrow));
  EXPECT_EQ(riff.dataSize(), 0xffffffecu);
  riff.addData("more"_id, "1234567890");
  EXPECT_EQ(riff.dataSize(), 0xfffffffeu);
  EXPECT_EQ(errorOf([&] { riff.addGroup("LIST"_id, "grp"_group); }), refused);
  EXPECT_FALSE(riff.addGroup("LIST"_id, "grp"_group, std::nothrow));
}

TEST(CppHeader, ValuesOfTheOtherFamilies) {
  const string_view text("4k7+1");
  const std::string large = std::string(99, ' ') + "4k7+1";
  EXPECT_EQ(toNumber<int64_t>("4k7"), 4700);
  EXPECT_EQ(toNumber<uint64_t>(std::string("-1")), UINT64_MAX);
  for (const string_view& accepted : {text.substr(0, 3), string_view(large).substr(0, 102)}) {
    EXPECT_EQ(toNumber<double>(accepted, std::nothrow), 4700);
  }
  EXPECT_EQ(toNumber<double>(string_view("1\0", 2), std::nothrow), std::nullopt);
  EXPECT_EQ(toNumber<double>(std::string("1\0", 2), std::nothrow), std::nullopt);
  EXPECT_EQ(toNumber<double>(string_view(), std::nothrow), std::nullopt);
  EXPECT_THROW((void)toNumber<int64_t>("x"), Error);
  const Uuid uuid = Uuid::random();
  EXPECT_EQ(Uuid::parse(uuid.text()), uuid);
  EXPECT_TRUE(Uuid() < uuid && uuid > Uuid() && uuid <= uuid && uuid >= uuid && uuid != Uuid());
  EXPECT_EQ((std::unordered_set<Uuid>{uuid, Uuid(), uuid}.size()), 2u);
  EXPECT_THROW((void)Uuid::parse("x"), Error);
  EXPECT_EQ(sha256("abc"), sha256(std::vector<char>{'a', 'b', 'c'}));
  EXPECT_EQ(sha256("abc")[0], 0xba);
  EXPECT_NE(sha256(std::vector<uint32_t>(2)), sha256(""));
}

}  // namespace
