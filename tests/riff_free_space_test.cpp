// Which free chunk is taken, how it is split, filled and joined.

#include "support/riff_support.h"

namespace {

class FreeSpaceTest : public EditTest {};
INSTANTIATE_TEST_SUITE_P(Kinds, FreeSpaceTest, ALL_KINDS, testing::PrintToStringParamName());

// "group id size" on a tree gives another tree. n is the size of the new chunk, header and pad byte
// included: a free chunk takes it if it has n data bytes, or n bytes in all.
struct Placed {
  const char* before;
  const char* group;  // null: the top level
  uint32_t size;
  const char* after;
};
const std::vector<Placed> PLACED = {
    // The smallest that fits, the first of equal ones.
    {"RIFF:g{ JUNK:100 JUNK:20 z:0 }", "g", 10, "RIFF:g{ JUNK:100 new:10 JUNK:2 z:0 }"},
    {"RIFF:g{ JUNK:30 JUNK:30 }", "g", 4, "RIFF:g{ new:4 JUNK:18 JUNK:30 }"},
    {"RIFF:g{ JUNK:18 JUNK:30 z:0 JUNK:17 }", "g", 9, "RIFF:g{ new:9 JUNK:0 JUNK:30 z:0 JUNK:17 }"},
    // Filled exactly: 10 + 8 = 18 in all.
    {"RIFF:g{ a:1 JUNK:10 b:1 }", "g", 9, "RIFF:g{ a:1 new:9 b:1 }"},
    {"RIFF:g{ JUNK:9 }", "g", 10, "RIFF:g{ new:10 }"},
    {"RIFF:g{ JUNK:9 }", "g", 9, "RIFF:g{ new:9 }"},
    // n = 18: 14 data bytes cannot be split, and 22 in all are no exact fit.
    {"RIFF:g{ JUNK:14 a:4 }", "g", 10, "RIFF:g{ JUNK:14 a:4 new:10 }"},
    {"RIFF:g{ JUNK:17 a:4 }", "g", 10, "RIFF:g{ JUNK:17 a:4 new:10 }"},
    {"RIFF:g{ JUNK:19 a:4 }", "g", 10, "RIFF:g{ new:10 JUNK:1 a:4 }"},
    // Nothing is reused for an empty chunk, nor from another group.
    {"RIFF:g{ JUNK:40 }", "g", 0, "RIFF:g{ JUNK:40 new:0 }"},
    {"RIFF:g{ LIST:h{ JUNK:40 } }", "g", 4, "RIFF:g{ LIST:h{ JUNK:40 } new:4 }"},
    // The trailing free chunk is the last choice, and grows if nothing else fits.
    {"JUNK:9 a:1 JUNK:12", nullptr, 4, "JUNK:9 a:1 new:4 JUNK:0"},
    {"JUNK:50 a:1 JUNK:20", nullptr, 4, "new:4 JUNK:38 a:1 JUNK:20"},
    {"a:1 JUNK:3", nullptr, 100, "a:1 new:100 JUNK:0"},
    {"JUNK:9 a:1 JUNK:5", nullptr, 7, "JUNK:9 a:1 new:7 JUNK:0"},
    // The list keeps the order of its last sorting: the 10 was attached last, as the trailing one.
    {"JUNK:40 JUNK:20 a:1", nullptr, 4, "new:4 JUNK:28 JUNK:20 a:1"},
    // In a group no free chunk trails.
    {"RIFF:g{ a:1 JUNK:3 }", "g", 100, "RIFF:g{ a:1 JUNK:3 new:100 }"},
};

TEST_P(FreeSpaceTest, ANewChunkTakesTheBestFit) {
  for (const Placed& placed : PLACED) {
    SCOPED_TRACE(placed.before);
    open(placed.before);
    Chunk* group = placed.group ? chunk(placed.group) : root();
    Chunk* added = addData(group, "new", placed.size);
    EXPECT_EQ(added, chunk("new"));
    EXPECT_EQ(tree(), placed.after);
    EXPECT_EQ(data(added), dataOf(placed.size));

    // A cache of the same bytes goes the same way, but for an empty chunk: it has 8 bytes.
    if (placed.size == 0) continue;
    open(placed.before);
    Object* cache = nullptr;
    velmor_core_riff_open_cache(8, &cache);
    const Opened closer(cache);
    addData(velmor_core_riff_object_get_virtual_root_chunk(cache), "new", placed.size);
    group = placed.group ? chunk(placed.group) : root();
    const Chunk* poured = velmor_core_riff_chunk_add_cache(group, cache);
    EXPECT_EQ(poured, chunk("new"));
    EXPECT_EQ(tree(), placed.after);
    EXPECT_EQ(pictureOf(cache), "new:" + std::to_string(placed.size));
  }
}

TEST_P(FreeSpaceTest, ACacheGoesInWholeAndInOrder) {
  const Bytes content = bytesOf("a:1 LIST:l{ JUNK:30 b:2 } JUNK:8 c:3");  // 10 + 60 + 16 + 12
  const Opened cache = openBytes(content);
  const auto pourInto = [&](const char* group) {
    const Chunk* first = velmor_core_riff_chunk_add_cache(chunk(group), cache.get());
    EXPECT_EQ(first, chunk("a"));
  };
  open("RIFF:g{ x:1 JUNK:200 y:1 }");
  pourInto("g");
  EXPECT_EQ(tree(), "RIFF:g{ x:1 a:1 LIST:l{ JUNK:30 b:2 } JUNK:8 c:3 JUNK:102 y:1 }");
  // The poured-in free chunk is not in the list of g, the one inside l is in that of l.
  addData(chunk("g"), "d", 8);
  addData(chunk("l"), "e", 4);
  EXPECT_EQ(tree(), "RIFF:g{ x:1 a:1 LIST:l{ e:4 JUNK:18 b:2 } JUNK:8 c:3 d:8 JUNK:86 y:1 }");

  open("RIFF:g{ x:1 JUNK:90 y:1 }");  // 98 in all: filled exactly
  pourInto("g");
  EXPECT_EQ(tree(), "RIFF:g{ x:1 a:1 LIST:l{ JUNK:30 b:2 } JUNK:8 c:3 y:1 }");

  open("RIFF:g{ x:1 } y:1");
  pourInto("g");
  EXPECT_EQ(tree(), "RIFF:g{ x:1 a:1 LIST:l{ JUNK:30 b:2 } JUNK:8 c:3 } y:1");
  addData(chunk("g"), "d", 8);  // appended free chunks are in the list
  EXPECT_EQ(tree(), "RIFF:g{ x:1 a:1 LIST:l{ JUNK:30 b:2 } d:8 c:3 } y:1");

  open("a:1");
  Object* empty = nullptr;
  velmor_core_riff_open_cache(8, &empty);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(root(), empty), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(root(), nullptr), nullptr);
  velmor_core_riff_close(empty);
  EXPECT_EQ(tree(), "a:1");
}

struct Recycled {
  const char* before;
  const char* name;
  int nth;
  const char* after;
  int handle;  // which free chunk the handle names afterwards
};
const std::vector<Recycled> RECYCLED = {
    {"RIFF:g{ a:2 x:7 b:2 }", "x", 0, "RIFF:g{ a:2 JUNK:8 b:2 }", 0},
    {"RIFF:g{ a:2 x:6 b:2 }", "x", 0, "RIFF:g{ a:2 JUNK:6 b:2 }", 0},
    {"RIFF:g{ JUNK:4 x:7 JUNK:2 }", "x", 0, "RIFF:g{ JUNK:30 }", 0},
    {"RIFF:g{ JUNK:4 x:7 b:2 }", "x", 0, "RIFF:g{ JUNK:20 b:2 }", 0},
    {"RIFF:g{ JUNK:5 x:7 b:2 }", "x", 0, "RIFF:g{ JUNK:21 b:2 }", 0},
    {"RIFF:g{ a:2 x:7 JUNK:3 }", "x", 0, "RIFF:g{ a:2 JUNK:19 }", 0},
    {"JUNK:1 a:0 x:0 JUNK:0", "x", 0, "JUNK:1 a:0 JUNK:8", 1},
    {"RIFF:g{ LIST:x{ y:1 LIST:z{ } } b:1 }", "x", 0, "RIFF:g{ JUNK:26 b:1 }", 0},
    {"RIFF:g{ JUNK:2 LIST:x{ JUNK:4 } JUNK:2 b:1 }", "x", 0, "RIFF:g{ JUNK:36 b:1 }", 0},
    {"RIFF:x{ a:1 }", "x", 0, "JUNK:14", 0},
    {"RIFF:g{ JUNK:7 a:1 }", "JUNK", 0, "RIFF:g{ JUNK:7 a:1 }", 0},
    {"RIFF:g{ JUNK:7 JUNK:2 JUNK:2 }", "JUNK", 1, "RIFF:g{ JUNK:27 }", 0},
};

TEST_P(FreeSpaceTest, ARecycledChunkIsJoinedWithItsNeighbours) {
  for (const Recycled& recycled : RECYCLED) {
    SCOPED_TRACE(recycled.before);
    open(recycled.before);
    const Bytes before = store->content();
    Chunk* handle = chunk(recycled.name, recycled.nth);
    EXPECT_EQ(velmor_core_riff_chunk_recycle(&handle), VELMOR_CORE_SUCCESS);
    EXPECT_EQ(handle, chunk("JUNK", recycled.handle));
    EXPECT_EQ(tree(), recycled.after);
    // At most one header has been written.
    const Bytes after = store->content();
    ASSERT_EQ(after.size(), before.size());
    const auto [first, ignored] = std::mismatch(before.begin(), before.end(), after.begin());
    for (auto i = first - before.begin() + 8; i < static_cast<long>(before.size()); ++i) {
      ASSERT_EQ(before[static_cast<size_t>(i)], after[static_cast<size_t>(i)]);
    }
  }
}

// Which chunk trails changes with every edit at the end of the object; the list follows when it is
// next sorted, and not before.
TEST_P(FreeSpaceTest, TheTrailingChunkChanges) {
  open("x:1 JUNK:20 y:1 JUNK:10");
  addData(root(), "far", 0);  // the 10 trails no longer, but still stands last
  addData(root(), "a", 2);    // n = 10: found in list order, 20 first
  EXPECT_EQ(tree(), "x:1 a:2 JUNK:10 y:1 JUNK:10 far:0");
  addData(root(), "b", 1);  // sorted by the split: equal sizes in byte order
  EXPECT_EQ(tree(), "x:1 a:2 b:1 JUNK:0 y:1 JUNK:10 far:0");
  velmor_core_riff_chunk_remove(chunk("far"));
  addData(root(), "c", 50);  // the 10 trails again
  EXPECT_EQ(tree(), "x:1 a:2 b:1 JUNK:0 y:1 c:50 JUNK:0");
}

}  // namespace
