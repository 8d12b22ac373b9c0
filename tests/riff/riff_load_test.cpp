// Opening: how bytes are read, which bytes are refused, and how long hostile bytes take.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/faults.h"
#include "support/riff_support.h"

namespace {

const auto UNTOUCHED = reinterpret_cast<Object*>(0x1234);

// Bytes as they are, with the chunks of a picture after them.
Bytes raw(std::string_view header, const char* picture = "") {
  Bytes bytes(header.begin(), header.end());
  const Bytes chunks = bytesOf(picture);
  bytes.insert(bytes.end(), chunks.begin(), chunks.end());
  return bytes;
}

Bytes cut(Bytes bytes, size_t missing) {
  bytes.resize(bytes.size() - missing);
  return bytes;
}

TEST(LoadTest, BytesAreReadOrRefusedFromBufferAndFile) {
  using namespace std::string_view_literals;
  const std::pair<Bytes, const char*> contents[] = {
      {{}, ""},
      {bytesOf("RIFX:8 riff:4 list:4 Junk:1"), "RIFX:8 riff:4 list:4 Junk:1"},
      {cut(bytesOf("RIFF:wave{ data:5 }"), 1), "RIFF:wave{ data:5 }"},
      {cut(bytesOf("RIFF:wave{ data:50 }"), 44), "RIFF:wave{ data:50 }"},
      {raw("data\xFF\xFF\xFF\xFF"), "data:4294967295"},
      // Null: refused.
      {raw("data\4\0\0"sv), nullptr},
      {raw("RIFF\4\0\0\0"sv), nullptr},
      // Groups that do not end where their last child does.
      {raw("LIST\3\0\0\0info"sv, "a:2"), "LIST:info{ } a:2"},
      {raw("LIST\2\0\0\0info"sv, "a:2"), nullptr},
      {raw("LIST\0\0\0\0info"sv, "a:2"), nullptr},
      {raw("LIST\15\0\0\0info"sv, "a:1 b:2"), "LIST:info{ a:1 } b:2"},
      {raw("LIST\16\0\0\0info"sv, "a:4 b:4"), nullptr},
      {raw("RIFF\xFF\xFF\xFF\xFFWAVE"sv, "data:4"), nullptr}};
  for (const auto& [bytes, picture] : contents) {
    SCOPED_TRACE(picture ? picture : std::string(bytes.begin(), bytes.end()));
    for (const Kind kind : {Kind::READ_ONLY, Kind::FILE}) {
      Store store(kind, bytes);
      ASSERT_EQ(store.open(), picture ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
      if (picture) {
        EXPECT_EQ(pictureOf(store.object()), picture);
      }
    }
  }
}

TEST(HostileBytesTest, DepthCostsNoStack) {
  constexpr uint32_t DEPTH = 1'000'000;
  Bytes bytes;
  for (uint32_t level = DEPTH; level-- > 0;) {
    for (const uint32_t field : {idOf("LIST"), 4 + level * 12, idOf("deep")}) {
      append32(bytes, field);
    }
  }
  EXPECT_EQ(openBytes(cut(bytes, 12)), nullptr);  // the innermost level is missing
  Object* object = nullptr;
  velmor_core_riff_open_buffer_rw(bytes.data(), bytes.size(), bytes.size(), &object);
  const Opened closer(object);
  ASSERT_NE(object, nullptr);
  Chunk *parent = nullptr, *innermost = rootOf(object);
  uint32_t depth = 0;
  for (; Chunk* c = velmor_core_riff_chunk_get_child(innermost, 0); ++depth) {
    parent = std::exchange(innermost, c);
  }
  EXPECT_EQ(depth, DEPTH);
  EXPECT_EQ(velmor_core_riff_chunk_remove(innermost), VELMOR_CORE_SUCCESS);
  Chunk* added = velmor_core_riff_chunk_add_data_chunk(parent, 7, "1234", 4);
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&added), VELMOR_CORE_SUCCESS);
  Chunk* top = velmor_core_riff_object_get_root_chunk(object);
  EXPECT_EQ(velmor_core_riff_chunk_get_data_size(top), bytes.size() - 8);
  EXPECT_EQ(velmor_core_riff_chunk_remove(velmor_core_riff_chunk_get_child(top, 0)),
            VELMOR_CORE_SUCCESS);
  EXPECT_EQ(pictureOf(object), "LIST:deep{ }");
}

TEST(HostileBytesTest, ManyFreeChunksOpenQuickly) {
  constexpr uint32_t COUNT = 160'000;
  Bytes bytes;
  for (uint32_t i = 0; i < COUNT; ++i) {
    const uint32_t size = i % 3 == 0 ? 0 : i * 7919 % 50 * 2;
    append32(bytes, idOf("JUNK"));
    append32(bytes, size);
    bytes.resize(bytes.size() + size);
  }
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(rootOf(openBytes(bytes).get())), COUNT);
}

TEST(OpenTest, ModesOpenCreateAndEmpty) {
  const Store file(Kind::FILE, bytesOf("data:4"));
  const std::string name = testing::TempDir() + "velmor-core-" + std::to_string(getpid());
  Object* object = UNTOUCHED;
  for (const char* path : {static_cast<const char*>(nullptr), name.c_str(), "/"}) {
    EXPECT_EQ(velmor_core_riff_open_file(path, 0, &object), VELMOR_CORE_FAILURE);
    EXPECT_EQ(velmor_core_riff_open_file(path, 1, &object), VELMOR_CORE_FAILURE);
  }
  EXPECT_EQ(velmor_core_riff_open_asset(file.path().c_str(), &object), VELMOR_CORE_FAILURE);
  for (const uint64_t capacity : {~uint64_t{0}, ~uint64_t{0} / 2 + 1}) {
    EXPECT_EQ(velmor_core_riff_open_cache(capacity, &object), VELMOR_CORE_FAILURE);
  }
  EXPECT_EQ(object, UNTOUCHED);

  const mode_t mask = umask(0);
  ASSERT_EQ(velmor_core_riff_open_file(name.c_str(), 2, &object), VELMOR_CORE_SUCCESS);
  umask(mask);
  velmor_core_riff_close(object);
  EXPECT_EQ(std::filesystem::status(name).permissions(), std::filesystem::perms{0644});
  EXPECT_TRUE(std::filesystem::remove(name));

  for (const int32_t mode : {1, 0, 3, -1, 2}) {
    ASSERT_EQ(velmor_core_riff_open_file(file.path().c_str(), mode, &object), VELMOR_CORE_SUCCESS);
    EXPECT_EQ(pictureOf(object), mode == 2 ? "" : "data:4");
    EXPECT_EQ(editOf(object, "group /")(), mode == 1 || mode == 2);
    EXPECT_TRUE(mode != 1 || editOf(object, "remove new")());
    velmor_core_riff_close(object);
  }
}

TEST(OpenTest, NothingLeaksWhateverFails) {
  for (const Kind kind : {Kind::READ_ONLY, Kind::CACHE, Kind::FILE}) {
    Store store(kind, bytesOf("RIFF:g{ a:2 LIST:l{ JUNK:12 x:3 } } JUNK:20"), 100);
    bool first = true;
    faults::forAllFaults([&](auto call, auto how, const auto& arm) {
      arm();
      const int32_t status = store.open();
      const bool fired = faults::disarm();
      // The first seek asks for the size. A file that cannot seek has an empty tree.
      const bool isFirst = call == faults::Call::LSEEK && std::exchange(first, !fired);
      const bool harmless = how == faults::How::SHORT_COUNTS || isFirst;
      EXPECT_EQ(status == VELMOR_CORE_SUCCESS, !fired || harmless);
      EXPECT_EQ(status == VELMOR_CORE_SUCCESS, store.object() != nullptr);
      store.close();
      return fired;
    });
  }
}

}  // namespace
