// Opening: what the bytes say, what is refused, and what hostile bytes cost.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/riff_support.h"
#include "support/small_stack.h"

namespace {

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes raw(std::string_view text) { return Bytes(text.begin(), text.end()); }

// A size field and what precedes it, for bytes that no picture can give.
Bytes header(std::string_view id, uint32_t size) {
  Bytes bytes = raw(id);
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(size >> shift));
  return bytes;
}

Bytes cut(Bytes bytes, size_t missing) {
  bytes.resize(bytes.size() - missing);
  return bytes;
}

const auto UNTOUCHED = reinterpret_cast<Object*>(0x1234);

struct Content {
  Bytes bytes;
  const char* picture;  // null: refused
};

TEST(LoadTest, BytesAreReadOrRefusedFromBufferAndFile) {
  std::vector<Content> contents = {
      {raw("data\4"), nullptr},
      {cut(bytesOf("RIFF:wave{ data:5 }"), 1), "RIFF:wave{ data:5 }"},
      {cut(bytesOf("RIFF:wave{ data:50 }"), 44), "RIFF:wave{ data:50 }"},
      {header("data", 0xFFFFFFFF), "data:4294967295"},
      {bytesOf("RIFF:wave{ }") + raw("tag"), nullptr},
      {header("RIFF", 4), nullptr},  // the group id is missing
      // Sizes of groups that do not end where their last child does.
      {header("LIST", 3) + raw("info") + bytesOf("a:2"), "LIST:info{ } a:2"},
      {header("LIST", 2) + raw("info") + bytesOf("a:2"), nullptr},
      {header("LIST", 0) + raw("info") + bytesOf("a:2"), nullptr},
      {header("LIST", 13) + raw("info") + bytesOf("a:1 b:2"), "LIST:info{ a:1 } b:2"},
      {header("LIST", 14) + raw("info") + bytesOf("a:4 b:4"), nullptr},
      {header("RIFF", 0xFFFFFFFF) + raw("WAVE") + bytesOf("data:4"), nullptr}};
  // What the tests' own writer wrote.
  for (const char* picture :
       {"", "data:0", "a:1 b:2 c:3", "RIFF:wave{ } RIFF:wave{ data:3 } JUNK:4",
        "RIFF:wave{ fmt:16 LIST:info{ LIST:more{ x:1 } INAM:7 } data:9 }",
        "LIST:a{ RIFF:b{ LIST:c{ } } JUNK:0 JUNK:1 }", "RIFX:8 riff:4 list:4 Junk:1"})
    contents.push_back({bytesOf(picture), picture});

  for (const auto& [bytes, picture] : contents) {
    SCOPED_TRACE(std::string(bytes.begin(), bytes.end()));
    const TemporaryFile file(bytes);
    for (const bool fromFile : {false, true}) {
      Object* object = UNTOUCHED;
      const int32_t status =
          fromFile ? velmor_core_riff_open_file(file.path(), VELMOR_CORE_RIFF_READ_ONLY, &object)
                   : velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
      ASSERT_EQ(status, picture ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
      ASSERT_EQ(object == UNTOUCHED, !picture);
      if (!picture) continue;
      EXPECT_EQ(pictureOf(object), picture);
      velmor_core_riff_close(object);
    }
  }
}

TEST(HostileBytesTest, DepthCostsNoStack) {
  constexpr uint32_t DEPTH = 1'000'000;
  Bytes bytes;
  for (uint32_t level = 0; level < DEPTH; ++level) {
    bytes = std::move(bytes) + header("LIST", 4 + (DEPTH - 1 - level) * 12) + raw("deep");
  }
  onSmallStack([&] {
    // One level less than the headers say: refused, and taken down again.
    EXPECT_EQ(openBytes(cut(bytes, 12)), nullptr);
    EXPECT_NE(openBytes(bytes), nullptr);
    Object* object = nullptr;
    velmor_core_riff_open_buffer_rw(bytes.data(), bytes.size(), bytes.size(), &object);
    const Opened closer(object);
    ASSERT_NE(object, nullptr);
    Chunk* innermost = rootOf(object);
    uint32_t depth = 0;
    while (Chunk* c = velmor_core_riff_chunk_get_child(innermost, 0)) {
      innermost = c;
      ++depth;
    }
    EXPECT_EQ(depth, DEPTH);
    Chunk* second = velmor_core_riff_chunk_get_parent(innermost);
    EXPECT_EQ(velmor_core_riff_chunk_remove(innermost), VELMOR_CORE_SUCCESS);
    Chunk* added = velmor_core_riff_chunk_add_data_chunk(second, 7, "1234", 4);
    EXPECT_EQ(velmor_core_riff_chunk_recycle(&added), VELMOR_CORE_SUCCESS);
    Chunk* top = velmor_core_riff_object_get_root_chunk(object);
    EXPECT_EQ(velmor_core_riff_chunk_get_data_size(top), bytes.size() - 8);
    EXPECT_EQ(velmor_core_riff_chunk_remove(velmor_core_riff_chunk_get_child(top, 0)),
              VELMOR_CORE_SUCCESS);
    EXPECT_EQ(velmor_core_riff_cache_get_size(object), 12U);
    EXPECT_EQ(pictureOf(object), "LIST:deep{ }");
  });
}

TEST(HostileBytesTest, ManyFreeChunksOpenQuickly) {
  constexpr uint32_t COUNT = 160'000;
  Bytes bytes;
  for (uint32_t i = 0; i < COUNT; ++i) {
    const uint32_t size = i % 3 == 0 ? 0 : i * 7919 % 50 * 2;
    const Bytes chunk = header("JUNK", size);
    bytes.insert(bytes.end(), chunk.begin(), chunk.end());
    bytes.resize(bytes.size() + size);
  }
  const Opened object = openBytes(bytes);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(rootOf(object.get())), COUNT);
}

TEST(OpenFileTest, ModesOpenCreateAndEmpty) {
  const TemporaryFile file(bytesOf("data:4"));
  const std::string missing = testing::TempDir() + "velmor-core-" + std::to_string(getpid());
  Object* object = UNTOUCHED;
  EXPECT_EQ(velmor_core_riff_open_file(nullptr, 0, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_file(missing.c_str(), 0, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_file(missing.c_str(), 1, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_file(testing::TempDir().c_str(), 0, &object),
            VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_asset(file.path(), &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_open_cache(~uint64_t{0}, &object), VELMOR_CORE_FAILURE);
  EXPECT_EQ(object, UNTOUCHED);

  const mode_t mask = umask(0);
  ASSERT_EQ(velmor_core_riff_open_file(missing.c_str(), 2, &object), VELMOR_CORE_SUCCESS);
  umask(mask);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), 0U);
  velmor_core_riff_close(object);
  struct stat status = {};
  ASSERT_EQ(stat(missing.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644U);
  std::filesystem::remove(missing);

  for (const int32_t mode : {1, 0, 3, -1, 7}) {
    ASSERT_EQ(velmor_core_riff_open_file(file.path(), mode, &object), VELMOR_CORE_SUCCESS);
    EXPECT_EQ(pictureOf(object), "data:4");
    EXPECT_EQ(editOf(object, "set data 4")(), mode == 1);
    velmor_core_riff_close(object);
  }
  ASSERT_EQ(velmor_core_riff_open_file(file.path(), 2, &object), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(pictureOf(object), "");
  velmor_core_riff_close(object);
  EXPECT_TRUE(file.content().empty());
}

TEST(OpenFileTest, APipeIsAnEmptyTree) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string path = "/proc/self/fd/" + std::to_string(ends[0]);
  Object* object = nullptr;
  ASSERT_EQ(velmor_core_riff_open_file(path.c_str(), 1, &object), VELMOR_CORE_SUCCESS);
  const Opened closer(object);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), ~uint64_t{0});
  EXPECT_EQ(velmor_core_riff_object_get_root_chunk(object), nullptr);
  EXPECT_FALSE(editOf(object, "add / 2")());
  for (const int end : ends) close(end);
}

}  // namespace
