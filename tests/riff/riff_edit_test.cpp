// Examples of edits in place. Each also runs with every call failing in turn. And cases that random
// edits do not reach: huge sizes, many free chunks, handles of the wrong kind.

#include <algorithm>
#include <set>

#include "support/faults.h"
#include "support/riff_support.h"

namespace {

struct Example {
  const char* before;
  const char* edit;
  const char* after;  // null: refused
};
const Example EXAMPLES[] = {
    {"RIFF:g{ a:5 } b:1", "get a 5", "RIFF:g{ a:5 } b:1"},
    {"RIFF:g{ a:5 } b:1", "set a 5", "RIFF:g{ a:5 } b:1"},
    {"RIFF:g{ a:5 } b:1", "get a 6", nullptr},
    {"RIFF:g{ a:5 } b:1", "group g", "RIFF:g{ a:5 LIST:new{ } } b:1"},
    {"RIFF:g{ a:1 LIST:l{ b:6 c:3 } d:8 } e:2", "size b 5",
     "RIFF:g{ a:1 LIST:l{ b:5 c:3 } d:8 } e:2"},
    {"RIFF:g{ a:1 LIST:l{ b:6 c:3 } d:8 } e:2", "size b 101",
     "RIFF:g{ a:1 LIST:l{ b:101 c:3 } d:8 } e:2"},
    {"RIFF:g{ a:1 LIST:l{ b:6 } } e:2", "copy l /",
     "RIFF:g{ a:1 LIST:l{ b:6 } } e:2 LIST:l{ b:6 }"},
    {"RIFF:g{ LIST:l{ b:6 } }", "copy g l", nullptr},
    {"RIFF:g{ LIST:l{ b:6 } }", "copy / l", nullptr},
    // A new chunk of total size n goes to the smallest free chunk with a data size of at least n,
    // or with a total size of n. The last top-level chunk is tried last, and may grow.
    {"RIFF:g{ JUNK:100 JUNK:20 z:0 }", "add g 10", "RIFF:g{ JUNK:100 new:10 JUNK:2 z:0 }"},
    {"RIFF:g{ JUNK:9 }", "add g 9", "RIFF:g{ new:9 }"},
    {"RIFF:g{ JUNK:17 a:4 }", "add g 10", "RIFF:g{ JUNK:17 a:4 new:10 }"},
    {"RIFF:g{ JUNK:40 }", "add g 0", "RIFF:g{ JUNK:40 new:0 }"},
    {"JUNK:50 a:1 JUNK:20", "add / 4", "new:4 JUNK:38 a:1 JUNK:20"},
    {"a:1 JUNK:3", "add / 100", "a:1 new:100 JUNK:0"},
    {"RIFF:g{ a:1 JUNK:3 }", "add g 100", "RIFF:g{ a:1 JUNK:3 new:100 }"},
    {"RIFF:g{ x:1 JUNK:90 y:1 }", "cache g", "RIFF:g{ x:1 JUNK:3 p:1 JUNK:68 y:1 }"},
    {"RIFF:g{ x:1 JUNK:3 y:1 }", "cache g", "RIFF:g{ x:1 JUNK:3 y:1 JUNK:3 p:1 }"},
    {"RIFF:g{ JUNK:4 x:7 JUNK:2 }", "recycle x", "RIFF:g{ JUNK:30 }"},
    {"RIFF:g{ a:2 x:7 b:2 }", "recycle x", "RIFF:g{ a:2 JUNK:8 b:2 }"},
    {"RIFF:g{ LIST:x{ y:1 LIST:z{ } } b:1 }", "recycle x", "RIFF:g{ JUNK:26 b:1 }"},
    {"RIFF:g{ a:1 }", "recycle /", nullptr},
    // Free chunks are merged up to a total size of 2^32 - 1 bytes.
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

struct Outcome {
  bool done, fired;
  std::string picture;
  Bytes content;
};
Outcome tryEdit(const std::string& before, const char* edit, Kind kind,
                const std::function<void()>& armFault) {
  const Bytes cached = bytesOf("JUNK:3 p:1");
  const Opened cache = openBytes(cached);
  const Store store(kind, before);
  const auto run = editOf(store.object(), edit, cache.get());
  armFault();
  const bool done = run();
  Outcome outcome = {done, faults::disarm(), pictureOf(store.object()), store.content()};
  // Removes all chunks one by one. The tree has to stay usable after a failed edit, too.
  for (bool removed = true; removed;) {
    Chunk* first = velmor_core_riff_object_get_root_chunk(store.object());
    removed = first && velmor_core_riff_chunk_remove(first) == VELMOR_CORE_SUCCESS;
  }
  return outcome;
}

void expectExample(const Example& example, const std::string& more, Kind kind) {
  const std::string before = more + example.before;
  const Outcome plain = tryEdit(before, example.edit, kind, [] {});
  EXPECT_EQ(plain.done, example.after != nullptr);
  EXPECT_EQ(plain.picture, plain.done ? more + example.after : before.substr(0, before.find('~')));
  EXPECT_EQ(plain.picture, pictureOf(openBytes(plain.content).get()));
  if (before.ends_with('~')) return;  // no memory for so many bytes
  faults::forAllFaults([&](auto call, auto /*how*/, const auto& arm) {
    const Outcome outcome = tryEdit(before, example.edit, kind, arm);
    if (outcome.done || !outcome.fired) {
      EXPECT_EQ(outcome.content, plain.content);
    } else if (call <= faults::Call::REALLOC) {
#ifndef __SANITIZE_ADDRESS__  // with it, each node is allocated by itself
      EXPECT_EQ(outcome.picture, before) << "memory is taken first";
#endif
    } else if (call == faults::Call::FALLOCATE) {
      EXPECT_EQ(outcome.picture, before);
      EXPECT_EQ(outcome.content, bytesOf(before)) << "a full disk changes nothing";
    }
    return outcome.fired;
  });
}

TEST(EditTest, ExamplesDoAsTheySayWhateverFails) {
  for (const Kind kind : WRITABLE_KINDS) {
    for (const Example& example : EXAMPLES) {
      SCOPED_TRACE(testing::Message() << example.edit << " in " << example.before);
      const bool cut = std::string_view(example.before).ends_with('~');
      if (cut && kind == Kind::CACHE) continue;  // it holds whole chunks only
      expectExample(example, "", kind);
      // Each further chunk takes memory from the pool. So the edit needs a new block at another
      // point.
      std::string more = "p:0 ";
      for (int i = 0; i < 9 && kind == Kind::BUFFER; ++i, more += "p:0 ") {
        expectExample(example, more, kind);
      }
    }
  }
}

// So many free chunks that a walk along all of them takes too long.
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
  Chunk *const root = rootOf(store.object()), *none = nullptr;
  for (Chunk* group : {none, find(store.object(), "a")}) {
    EXPECT_EQ(velmor_core_riff_chunk_get_group_id(group), 0U);
    EXPECT_EQ(velmor_core_riff_chunk_get_child_count(group), 0U);
    EXPECT_EQ(velmor_core_riff_chunk_get_child(group, 0), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_chunk(group, root), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_cache(group, store.object()), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_data_chunk(group, 1, "y", 1), nullptr);
    EXPECT_EQ(velmor_core_riff_chunk_add_group_chunk(group, 1, 2), nullptr);
  }
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(root, file.object()), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(root, nullptr), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(root, nullptr), nullptr);
  for (const int32_t status :
       {velmor_core_riff_chunk_get_data(none, &none, 0, 0),
        velmor_core_riff_chunk_set_data(none, &none, 0, 0),
        velmor_core_riff_chunk_set_data_size(none, 4), velmor_core_riff_chunk_recycle(&none),
        velmor_core_riff_chunk_recycle(nullptr), velmor_core_riff_chunk_remove(none)}) {
    EXPECT_EQ(status, VELMOR_CORE_BAD_HANDLE);
  }
  velmor_core_riff_close(nullptr);
  EXPECT_EQ(store.content(), bytesOf("RIFF:g{ a:3 }"));
}

// Chunks of nearly 2^32 bytes, in a sparse file that takes almost no disk space.
TEST(LargeFileTest, SizesAndOffsetsPastFourGibibytesAreKept) {
  Store store(Kind::FILE, "JUNK:2 huge:0 RIFF:g{ big:0 }");
  Chunk *const huge = find(store.object(), "huge"), *const big = find(store.object(), "big");
  const auto edit = [&](const char* command) { return editOf(store.object(), command)(); };
  const bool done = edit("size huge 4294967295") && edit("size big 4294967040");
  if (!done) GTEST_SKIP() << "no files of 8 GiB here";
  EXPECT_TRUE(edit("add g 3"));
  EXPECT_FALSE(edit("recycle huge"));  // with its pad byte the size would be too large
  EXPECT_EQ(velmor_core_riff_chunk_set_data(huge, "end", 3, 0xFFFFFFFC), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_chunk_set_data(big, "end", 3, 0xFFFFFEFD), VELMOR_CORE_SUCCESS);
  EXPECT_TRUE(edit("recycle big") && edit("copy new g") && edit("add g 300"));
  EXPECT_EQ(velmor_core_riff_cache_get_size(store.object()), 0x2'0000'0008 - 0x100 + 54);

  const std::string picture =
      "JUNK:2 huge:4294967295 RIFF:g{ new:300 JUNK:4294966732 new:3 new:3 }";
  EXPECT_EQ(pictureOf(store.object()), picture);
  ASSERT_EQ(store.open(), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(pictureOf(store.object()), picture);
  char end[4] = {};
  Chunk* rest = velmor_core_riff_chunk_get_next(find(store.object(), "new"));
  EXPECT_EQ(velmor_core_riff_chunk_get_data(rest, end, 3, 4294966729), VELMOR_CORE_SUCCESS);
  EXPECT_STREQ(end, "end");
  EXPECT_EQ(velmor_core_riff_chunk_remove(rest), VELMOR_CORE_SUCCESS);
  EXPECT_TRUE(edit("size new 2") && edit("remove huge"));
  EXPECT_EQ(pictureOf(openBytes(store.memory()).get()), "JUNK:2 RIFF:g{ new:2 new:3 new:3 }");
}

}  // namespace
