// Opening and walking: what the bytes say, what is refused, and what hostile bytes cost.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <thread>

#include "support/riff_support.h"

namespace {

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes raw(std::string_view text) { return Bytes(text.begin(), text.end()); }

// A size field and what precedes it, for bytes that no picture can give.
Bytes header(std::string_view id, uint32_t size) {
  Bytes bytes(8);
  const uint32_t value = idOf(id);
  std::memcpy(bytes.data(), &value, 4);
  std::memcpy(bytes.data() + 4, &size, 4);
  return bytes;
}

Bytes cut(Bytes bytes, size_t missing) {
  bytes.resize(bytes.size() - missing);
  return bytes;
}

class PictureTest : public testing::TestWithParam<const char*> {};

// The picture is made by the tests' own writer, so this is a reading by two.
TEST_P(PictureTest, IsReadAsItWasWritten) {
  const Opened object = openBytes(bytesOf(GetParam()));
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(pictureOf(object.get()), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    WellFormed, PictureTest,
    testing::Values("", "data:0", "data:5", "a:1 b:2 c:3", "RIFF:wave{ }",
                    "RIFF:wave{ } RIFF:wave{ data:3 } JUNK:4",
                    "RIFF:wave{ fmt:16 LIST:info{ LIST:more{ x:1 } INAM:7 } data:9 }",
                    "LIST:a{ RIFF:b{ LIST:c{ } } JUNK:0 JUNK:1 }", "RIFX:8 riff:4 list:4 Junk:1"));

TEST(LoadTest, WalksByIndexAndByLink) {
  const Bytes bytes = bytesOf("RIFF:wave{ fmt:4 LIST:info{ INAM:3 } data:2 } last:1");
  const Opened object = openBytes(bytes);
  Chunk* root = velmor_core_riff_object_get_virtual_root_chunk(object.get());
  EXPECT_EQ(velmor_core_riff_chunk_get_id(root), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_group_id(root), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_data_size(root), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_parent(root), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_get_next(root), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(root), 2U);

  Chunk* riff = velmor_core_riff_object_get_root_chunk(object.get());
  EXPECT_EQ(riff, velmor_core_riff_chunk_get_child(root, 0));
  EXPECT_EQ(velmor_core_riff_chunk_get_parent(riff), root);
  EXPECT_EQ(velmor_core_riff_chunk_get_id(riff), idOf("RIFF"));
  EXPECT_EQ(velmor_core_riff_chunk_get_group_id(riff), idOf("wave"));
  EXPECT_EQ(velmor_core_riff_chunk_get_data_size(riff), bytes.size() - 10 - 8);
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(riff), 3U);
  EXPECT_EQ(velmor_core_riff_chunk_get_child(riff, 3), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_get_child(riff, 0xFFFFFFFF), nullptr);
  for (uint32_t i = 0; i < 3; ++i) {
    Chunk* child = velmor_core_riff_chunk_get_child(riff, i);
    EXPECT_EQ(velmor_core_riff_chunk_get_parent(child), riff);
    EXPECT_EQ(velmor_core_riff_chunk_get_next(child),
              velmor_core_riff_chunk_get_child(riff, i + 1));
  }
  Chunk* data = velmor_core_riff_chunk_get_child(riff, 2);
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(data), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_child(data, 0), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_get_group_id(data), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_group_id(nullptr), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(nullptr), 0U);
  EXPECT_EQ(velmor_core_riff_chunk_get_child(nullptr, 0), nullptr);
}

struct Odd {
  const char* name;
  Bytes bytes;
  const char* picture;  // null: refused
};

class OddBytesTest : public testing::TestWithParam<Odd> {};

TEST_P(OddBytesTest, AreReadOrRefusedFromBufferAndFile) {
  const auto& [name, bytes, picture] = GetParam();
  const auto untouched = reinterpret_cast<Object*>(0x1234);
  const TemporaryFile file(bytes);
  for (const bool fromFile : {false, true}) {
    Object* object = untouched;
    const int32_t status =
        fromFile ? velmor_core_riff_open_file(file.path(), VELMOR_CORE_RIFF_READ_ONLY, &object)
                 : velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
    if (picture) {
      ASSERT_EQ(status, VELMOR_CORE_SUCCESS);
      EXPECT_EQ(pictureOf(object), picture);
      velmor_core_riff_close(object);
    } else {
      EXPECT_EQ(status, VELMOR_CORE_FAILURE);
      EXPECT_EQ(object, untouched);
    }
  }
}
INSTANTIATE_TEST_SUITE_P(
    Files, OddBytesTest,
    testing::Values(
        Odd{"ShortHeader", raw("data\4\0"), nullptr},
        Odd{"LastPadByteMissing", cut(bytesOf("RIFF:wave{ data:5 }"), 1), "RIFF:wave{ data:5 }"},
        Odd{"DataCutShort", cut(bytesOf("RIFF:wave{ data:50 }"), 44), "RIFF:wave{ data:50 }"},
        Odd{"LargestSize", header("data", 0xFFFFFFFF), "data:4294967295"},
        Odd{"BytesBehindTheLastGroup", bytesOf("RIFF:wave{ }") + raw("tag"), nullptr},
        Odd{"GroupIdMissing", header("RIFF", 4), nullptr},
        Odd{"GroupOfSize3IsEmpty", header("LIST", 3) + raw("info") + bytesOf("a:2"),
            "LIST:info{ } a:2"},
        Odd{"GroupOfSize2", header("LIST", 2) + raw("info") + bytesOf("a:2"), nullptr},
        Odd{"GroupOfSize1", header("LIST", 1) + raw("info") + bytesOf("a:2"), nullptr},
        Odd{"GroupOfSize0", header("LIST", 0) + raw("info") + bytesOf("a:2"), nullptr},
        Odd{"GroupOfOddSize", header("LIST", 13) + raw("info") + bytesOf("a:1 b:2"),
            "LIST:info{ a:1 } b:2"},
        Odd{"ChildRunsPastItsGroup", header("LIST", 14) + raw("info") + bytesOf("a:4 b:4"),
            nullptr},
        Odd{"GroupOfUnknownSize", header("RIFF", 0xFFFFFFFF) + raw("WAVE") + bytesOf("data:4"),
            nullptr}),
    [](const auto& test) { return test.param.name; });

// Whatever is cut off, the bytes are refused or show a tree whose headers are all there.
TEST(LoadTest, TakesEveryTruncationOfAFile) {
  const Bytes whole = bytesOf("RIFF:wave{ fmt:3 LIST:info{ INAM:5 JUNK:2 } data:7 } RIFF:x{ y:9 }");
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes bytes(whole.begin(), whole.begin() + static_cast<long>(size));
    const Opened object = openBytes(bytes);
    // The data of the last leaf of each top-level group may be missing; its header may not.
    const bool loads = size == 0 || (size >= 68 && size <= 76) || size >= whole.size() - 10;
    EXPECT_EQ(object != nullptr, loads) << size;
  }
}

TEST(LoadTest, MissingBytesCannotBeRead) {
  const Bytes bytes = cut(bytesOf("RIFF:wave{ data:50 }"), 40);
  const Opened object = openBytes(bytes);
  Chunk* data =
      velmor_core_riff_chunk_get_child(velmor_core_riff_object_get_root_chunk(object.get()), 0);
  Bytes out(50, 0xAA);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(data, out.data(), 10, 0), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(data, out.data(), 11, 0), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(data, out.data(), 1, 10), VELMOR_CORE_FAILURE);
}

// Runs body on a thread with the given stack, as a caller might.
template <typename Body>
void onSmallStack(size_t stack, Body body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack), 0);
  pthread_t thread = {};
  const auto start = [](void* run) -> void* {
    (*static_cast<Body*>(run))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(HostileBytesTest, DepthCostsNoStack) {
  constexpr uint32_t DEPTH = 1'000'000;
  Bytes bytes;
  for (uint32_t level = 0; level < DEPTH; ++level) {
    bytes = std::move(bytes) + header("LIST", 4 + (DEPTH - 1 - level) * 12) + raw("deep");
  }
  onSmallStack(1 << 20, [&] {
    const Opened object = openBytes(bytes);
    ASSERT_NE(object, nullptr);
    uint32_t depth = 0;
    for (Chunk* c = velmor_core_riff_object_get_root_chunk(object.get()); c;
         c = velmor_core_riff_chunk_get_child(c, 0)) {
      ++depth;
    }
    EXPECT_EQ(depth, DEPTH);
    // One level less than the headers say: refused, and taken down again.
    EXPECT_EQ(openBytes(cut(bytes, 12)), nullptr);
  });
}

TEST(HostileBytesTest, ManyFreeChunksOpenQuickly) {
  constexpr int COUNT = 160'000;
  Bytes bytes;
  for (int i = 0; i < COUNT; ++i) {
    const uint32_t size = i % 3 == 0 ? 0 : static_cast<uint32_t>(i * 7919 % 100);
    const Bytes chunk = header("JUNK", size);
    bytes.insert(bytes.end(), chunk.begin(), chunk.end());
    bytes.resize(bytes.size() + size + size % 2);
  }
  const Opened object = openBytes(bytes);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(
                velmor_core_riff_object_get_virtual_root_chunk(object.get())),
            COUNT);
}

TEST(OpenFileTest, ModesOpenCreateAndEmpty) {
  const TemporaryFile file(bytesOf("data:4"));
  const std::string missing = std::string(file.path()) + "-missing";
  const auto untouched = reinterpret_cast<Object*>(0x1234);
  Object* object = untouched;
  EXPECT_EQ(velmor_core_riff_open_file(nullptr, 0, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_file(missing.c_str(), 0, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_file(missing.c_str(), 1, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_file(testing::TempDir().c_str(), 0, &object),
            VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_asset(file.path(), &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(object, untouched);

  const mode_t mask = umask(0027);
  ASSERT_EQ(velmor_core_riff_open_file(missing.c_str(), 2, &object), VELMOR_CORE_SUCCESS);
  umask(mask);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), 0U);
  EXPECT_EQ(velmor_core_riff_object_get_root_chunk(object), nullptr);
  velmor_core_riff_close(object);
  struct stat status = {};
  ASSERT_EQ(stat(missing.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  std::filesystem::remove(missing);

  for (const int32_t mode : {1, 0, 3, -1, 7}) {
    ASSERT_EQ(velmor_core_riff_open_file(file.path(), mode, &object), VELMOR_CORE_SUCCESS);
    EXPECT_EQ(pictureOf(object), "data:4");
    EXPECT_EQ(velmor_core_riff_cache_get_capacity(object), 0U);
    Chunk* data = velmor_core_riff_object_get_root_chunk(object);
    EXPECT_EQ(velmor_core_riff_chunk_set_data(data, "abcd", 4, 0),
              mode == 1 ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
    velmor_core_riff_close(object);
  }
  ASSERT_EQ(velmor_core_riff_open_file(file.path(), 2, &object), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(pictureOf(object), "");
  velmor_core_riff_close(object);
  EXPECT_TRUE(file.content().empty());
}

TEST(OpenFileTest, APipeIsAnEmptyTree) {
  const TemporaryFile name;
  unlink(name.path());
  ASSERT_EQ(mkfifo(name.path(), 0600), 0);
  const int keepOpen = open(name.path(), O_RDWR);
  Object* object = nullptr;
  ASSERT_EQ(velmor_core_riff_open_file(name.path(), 1, &object), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), ~uint64_t{0});
  EXPECT_EQ(velmor_core_riff_object_get_root_chunk(object), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_data_chunk(
                velmor_core_riff_object_get_virtual_root_chunk(object), idOf("data"), "ab", 2),
            nullptr);
  velmor_core_riff_close(object);
  close(keepOpen);
}

TEST(OpenCacheTest, StartsEmptyAndRefusesTheImpossible) {
  Object* object = nullptr;
  ASSERT_EQ(velmor_core_riff_open_cache(4096, &object), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_cache_get_capacity(object), 4096U);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), 0U);
  EXPECT_EQ(velmor_core_riff_object_get_root_chunk(object), nullptr);
  Object* other = object;
  EXPECT_EQ(velmor_core_riff_open_cache(~uint64_t{0}, &other), VELMOR_CORE_FAILURE);
  EXPECT_EQ(other, object);
  velmor_core_riff_close(object);
  velmor_core_riff_close(nullptr);
}

}  // namespace
