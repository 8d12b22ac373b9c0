// Edits in place that show what random ones seldom meet, and examples of those that they do.

#include <algorithm>
#include <set>
#include <thread>

#include "support/riff_support.h"

namespace {

struct Example {
  const char* before;
  const char* edit;
  const char* after;  // null: refused
};
const Example EXAMPLES[] = {
    {"RIFF:g{ a:1 LIST:l{ b:6 c:3 } d:8 } e:2", "size b 5",
     "RIFF:g{ a:1 LIST:l{ b:5 c:3 } d:8 } e:2"},
    {"RIFF:g{ a:1 LIST:l{ b:6 c:3 } d:8 } e:2", "size b 101",
     "RIFF:g{ a:1 LIST:l{ b:101 c:3 } d:8 } e:2"},
    {"RIFF:g{ a:1 LIST:l{ b:6 } } e:2", "copy l /",
     "RIFF:g{ a:1 LIST:l{ b:6 } } e:2 LIST:l{ b:6 }"},
    {"RIFF:g{ a:1 LIST:l{ b:6 } } e:2", "copy e l", "RIFF:g{ a:1 LIST:l{ b:6 e:2 } } e:2"},
    {"RIFF:g{ LIST:l{ b:6 } }", "copy g l", nullptr},
    {"RIFF:g{ LIST:l{ b:6 } }", "copy l l", nullptr},
    {"RIFF:g{ LIST:l{ b:6 } }", "copy / l", nullptr},
    // A new chunk of n bytes, header and pad byte included, takes the smallest free chunk of n data
    // bytes or of n bytes in all, the trailing one last.
    {"RIFF:g{ JUNK:100 JUNK:20 z:0 }", "add g 10", "RIFF:g{ JUNK:100 new:10 JUNK:2 z:0 }"},
    {"RIFF:g{ JUNK:9 }", "add g 9", "RIFF:g{ new:9 }"},
    {"RIFF:g{ JUNK:17 a:4 }", "add g 10", "RIFF:g{ JUNK:17 a:4 new:10 }"},
    {"RIFF:g{ JUNK:40 }", "add g 0", "RIFF:g{ JUNK:40 new:0 }"},
    {"JUNK:50 a:1 JUNK:20", "add / 4", "new:4 JUNK:38 a:1 JUNK:20"},
    {"a:1 JUNK:3", "add / 100", "a:1 new:100 JUNK:0"},
    {"RIFF:g{ a:1 JUNK:3 }", "add g 100", "RIFF:g{ a:1 JUNK:3 new:100 }"},
    {"RIFF:g{ x:1 JUNK:90 y:1 }", "pour g", "RIFF:g{ x:1 p:1 JUNK:3 JUNK:68 y:1 }"},
    {"RIFF:g{ x:1 JUNK:3 y:1 }", "pour g", "RIFF:g{ x:1 JUNK:3 y:1 p:1 JUNK:3 }"},
    {"RIFF:g{ JUNK:4 x:7 JUNK:2 }", "recycle x", "RIFF:g{ JUNK:30 }"},
    {"RIFF:g{ a:2 x:7 b:2 }", "recycle x", "RIFF:g{ a:2 JUNK:8 b:2 }"},
    {"RIFF:g{ LIST:x{ y:1 LIST:z{ } } b:1 }", "recycle x", "RIFF:g{ JUNK:26 b:1 }"},
    {"RIFF:g{ a:1 }", "recycle /", nullptr},
    // Free chunks are joined up to 2^32 - 1 bytes in all.
    {"JUNK:0 x:4294967278~", "recycle x", "JUNK:4294967286"},
    {"JUNK:0 x:4294967280~", "recycle x", "JUNK:0 JUNK:4294967280"},
    {"x:0 JUNK:4294967278~", "recycle x", "JUNK:4294967286"},
    {"x:0 JUNK:4294967280~", "recycle x", "JUNK:0 JUNK:4294967280"},
    {"JUNK:0 x:0 JUNK:4294967270~", "recycle x", "JUNK:4294967286"},
    {"JUNK:0 x:0 JUNK:4294967272~", "recycle x", "JUNK:8 JUNK:4294967272"},
    {"JUNK:0 x:4294967295~", "recycle x", nullptr},
    {"RIFF:g{ a:1 } b:2", "remove g", "b:2"},
    {"RIFF:g{ a:1 } b:2", "remove /", nullptr},
};

TEST(EditTest, ExamplesOnAllKindsOfObject) {
  const Bytes poured = bytesOf("p:1 JUNK:3");
  const Opened other = openBytes(poured);
  for (const Kind kind : WRITABLE_KINDS) {
    for (const auto& [before, edit, after] : EXAMPLES) {
      SCOPED_TRACE(testing::Message() << edit << " in " << before);
      const bool cut = std::string_view(before).ends_with('~');
      if (cut && kind == Kind::CACHE) continue;  // it holds whole chunks only
      const Store store(kind, before);
      const std::string picture = after ? after : pictureOf(store.object());
      EXPECT_EQ(editOf(store.object(), edit, other.get())(), after != nullptr);
      EXPECT_EQ(pictureOf(store.object()), picture);
      EXPECT_EQ(pictureOf(openBytes(store.content()).get()), picture);
    }
  }
}

// A free chunk that got another size keeps its place among those to be used until a free one comes.
TEST(EditTest, FreeSpaceIsSortedWhenAFreeChunkIsPouredIn) {
  const std::pair<const char*, const char*> pours[] = {
      {"p:90", "RIFF:g{ new:4 JUNK:28 JUNK:24 z:0 p:90 }"},
      {"p:90 JUNK:2", "RIFF:g{ JUNK:40 new:4 JUNK:12 z:0 p:90 JUNK:2 }"}};
  for (const auto& [poured, after] : pours) {
    const Store store(Kind::BUFFER, "RIFF:g{ JUNK:20 JUNK:24 z:0 }"), other(Kind::CACHE, poured);
    for (const char* edit : {"size JUNK 40", "pour g", "add g 4"}) {
      EXPECT_TRUE(editOf(store.object(), edit, other.object())());
    }
    EXPECT_EQ(pictureOf(store.object()), after);
  }
}

// Far more free chunks than a walk along them would be worth.
TEST(EditTest, TheBestOfManyFreeChunksIsUsed) {
  constexpr size_t N = 1500;
  uint32_t state = 1;
  const auto random = [&state] { return (state = state * 1664525 + 1013904223) >> 8; };
  std::string picture;
  for (size_t i = 0; i < N; ++i) picture += "a:" + std::to_string(random() % 100) + " b:0 ";
  const Store store(Kind::CACHE, "RIFF:g{ " + picture + "}");
  Chunk* group = velmor_core_riff_object_get_root_chunk(store.object());
  std::vector<Chunk*> chunks;
  for (uint32_t i = 0; i < 2 * N; ++i) chunks.push_back(velmor_core_riff_chunk_get_child(group, i));

  std::set<std::pair<uint32_t, size_t>> free;  // data size, place
  for (size_t n = 0; n < N; ++n) {
    const size_t i = n * 7919 % N;  // all of them, out of order
    ASSERT_EQ(velmor_core_riff_chunk_recycle(&chunks[2 * i]), VELMOR_CORE_SUCCESS);
    free.emplace(velmor_core_riff_chunk_get_data_size(chunks[2 * i]), i);
  }
  for (uint32_t step = 0; step < 3 * N; ++step) {
    const auto size = static_cast<uint32_t>(1 + random() % 50);
    const uint32_t total = 8 + size + size % 2;
    const auto best = std::find_if(free.begin(), free.end(), [&](const auto& each) {
      return each.first >= total || 8 + each.first == total;
    });
    Chunk* added = velmor_core_riff_chunk_add_data_chunk(group, idOf("new"), nullptr, size);
    const Chunk* next = velmor_core_riff_chunk_get_next(added);
    if (best == free.end()) {
      ASSERT_EQ(next, nullptr);
      continue;
    }
    const auto [had, i] = *best;
    free.erase(best);
    const bool exact = 8 + had == total;
    ASSERT_EQ(next, chunks[2 * i + (exact ? 1 : 0)]) << "step " << step;
    if (!exact && had > total) free.emplace(had - total, i);
  }
}

TEST(EditTest, HandlesOfTheWrongKindAreRefused) {
  const Store store(Kind::BUFFER, "RIFF:g{ a:3 }"), file(Kind::FILE, "b:1");
  const Bytes before = store.content();
  Chunk *const root = rootOf(store.object()), *const a = find(store.object(), "a");
  for (Chunk* group : {static_cast<Chunk*>(nullptr), a}) {
    EXPECT_EQ(velmor_core_riff_chunk_get_group_id(group), 0U);
    EXPECT_EQ(velmor_core_riff_chunk_get_child_count(group), 0U);
    EXPECT_EQ(velmor_core_riff_chunk_get_child(group, 0), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_chunk(group, a), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_cache(group, store.object()), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_data_chunk(group, 1, "y", 1), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_group_chunk(group, 1, 2), nullptr);
  }
  for (Chunk* data : {static_cast<Chunk*>(nullptr), root}) {
    char byte = 'x';
    EXPECT_EQ(velmor_core_riff_chunk_get_data(data, &byte, 0, 0), VELMOR_CORE_BAD_HANDLE);
    EXPECT_EQ(velmor_core_riff_chunk_set_data(data, &byte, 0, 0), VELMOR_CORE_BAD_HANDLE);
    EXPECT_EQ(velmor_core_riff_chunk_set_data_size(data, 4), VELMOR_CORE_BAD_HANDLE);
  }
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(root, nullptr), nullptr);
  for (Object* cache : {static_cast<Object*>(nullptr), store.object(), file.object()}) {
    EXPECT_EQ(velmor_core_riff_chunk_add_cache(root, cache), nullptr);
  }
  Chunk* none = nullptr;
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&none), VELMOR_CORE_BAD_HANDLE);
  EXPECT_EQ(velmor_core_riff_chunk_recycle(nullptr), VELMOR_CORE_BAD_HANDLE);
  EXPECT_EQ(velmor_core_riff_chunk_remove(nullptr), VELMOR_CORE_BAD_HANDLE);
  EXPECT_EQ(velmor_core_riff_chunk_get_child(root, 0xFFFFFFFF), nullptr);
  velmor_core_riff_close(nullptr);
  EXPECT_EQ(store.content(), before);
}

TEST(EditTest, RangesOfDataDoNotWrapAround) {
  for (const Kind kind : WRITABLE_KINDS) {
    const Store store(kind, "RIFF:g{ a:10 b:5 }");
    Chunk* const a = find(store.object(), "a");
    for (const auto& [size, offset] : std::vector<std::pair<uint32_t, uint32_t>>{
             {5, 6}, {2, 0xFFFFFFFF}, {0xFFFFFFFF, 1}, {0xFFFFFFFF, 0xFFFFFFFF}}) {
      Bytes out(10, 0xAA);
      EXPECT_EQ(velmor_core_riff_chunk_get_data(a, out.data(), size, offset), VELMOR_CORE_FAILURE);
      EXPECT_EQ(out, Bytes(10, 0xAA));
      EXPECT_EQ(velmor_core_riff_chunk_set_data(a, out.data(), size, offset), VELMOR_CORE_FAILURE);
    }
    EXPECT_EQ(store.content(), bytesOf("RIFF:g{ a:10 b:5 }"));
  }
}

// Chunks of nearly 2^32 bytes and offsets behind them, in a file that holds next to nothing.
TEST(LargeFileTest, SizesAndOffsetsPastFourGigabytesAreKept) {
  const TemporaryFile file(bytesOf("JUNK:2"));
  Object* object = nullptr;
  ASSERT_EQ(velmor_core_riff_open_file(file.path(), 1, &object), VELMOR_CORE_SUCCESS);
  Opened opened(object);
  const auto addHole = [&](Chunk* group, const char* id, uint32_t size) {
    return velmor_core_riff_chunk_add_data_chunk(group, idOf(id), nullptr, size);
  };
  Chunk* huge = addHole(rootOf(object), "huge", 0xFFFFFFFE);
  Chunk* g = velmor_core_riff_chunk_add_group_chunk(rootOf(object), idOf("RIFF"), idOf("g"));
  EXPECT_TRUE(editOf(object, "size huge 4294967295")());
  Chunk* big = addHole(g, "big", 0xFFFFFF00);
  if (!big) GTEST_SKIP() << "the file system has no files of 8 GiB";
  EXPECT_TRUE(editOf(object, "add g 3")());
  EXPECT_EQ(velmor_core_riff_chunk_set_data(huge, "end", 3, 0xFFFFFFFC), VELMOR_CORE_SUCCESS);
  EXPECT_FALSE(editOf(object, "recycle huge")());  // its pad byte would be one too many
  EXPECT_EQ(velmor_core_riff_chunk_set_data(big, "end", 3, 0xFFFFFEFD), VELMOR_CORE_SUCCESS);
  EXPECT_TRUE(editOf(object, "recycle big")());
  EXPECT_TRUE(editOf(object, "copy new g")());
  EXPECT_TRUE(editOf(object, "add g 300")());  // into the free space
  const std::string picture =
      "JUNK:2 huge:4294967295 RIFF:g{ new:300 JUNK:4294966732 new:3 new:3 }";
  EXPECT_EQ(pictureOf(object), picture);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), 0x2'0000'0008 - 0x100 + 8 + 12 + 24 + 10);

  velmor_core_riff_open_file(file.path(), 1, &object);
  opened.reset(object);
  EXPECT_EQ(pictureOf(object), picture);
  char end[4] = {};
  EXPECT_EQ(velmor_core_riff_chunk_get_data(find(object, "JUNK", 1), end, 3, 4294966729),
            VELMOR_CORE_SUCCESS);
  EXPECT_STREQ(end, "end");
  EXPECT_EQ(velmor_core_riff_chunk_remove(find(object, "JUNK", 1)), VELMOR_CORE_SUCCESS);
  EXPECT_TRUE(editOf(object, "size new 2")());
  EXPECT_TRUE(editOf(object, "remove huge")());
  EXPECT_EQ(pictureOf(openBytes(file.content()).get()), "JUNK:2 RIFF:g{ new:2 new:3 new:3 }");
}

TEST(ThreadsTest, ObjectsOnDistinctThreadsDoNotMeet) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (const Kind kind : WRITABLE_KINDS) {
        const Store store(kind, "RIFF:g{ a:2 JUNK:40 }");
        for (int n = 0; n < 50; ++n) {
          EXPECT_TRUE(editOf(store.object(), "add g 3")());
          EXPECT_TRUE(editOf(store.object(), "recycle new")());
        }
        EXPECT_EQ(pictureOf(store.object()), "RIFF:g{ a:2 JUNK:40 }");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
