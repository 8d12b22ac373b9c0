// Edits in place on all kinds of object: trees, bytes, handles and refusals.

#include <thread>
#include <vector>

#include "support/riff_support.h"

namespace {

INSTANTIATE_TEST_SUITE_P(Kinds, EditTest, ALL_KINDS, testing::PrintToStringParamName());

TEST_P(EditTest, DataIsReadAndWrittenWithinItsSize) {
  open("RIFF:wave{ a:10 b:5 }");
  Chunk* a = chunk("a");
  const Bytes before = data(a);
  Bytes out(10, 0xAA);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(a, out.data(), 4, 6), VELMOR_CORE_SUCCESS);
  EXPECT_TRUE(std::equal(out.begin(), out.begin() + 4, before.begin() + 6));
  out.assign(10, 0xAA);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(a, out.data(), 5, 6), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(a, out.data(), 2, 0xFFFFFFFF), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_chunk_get_data(a, out.data(), 0xFFFFFFFF, 1), VELMOR_CORE_FAILURE);
  EXPECT_EQ(out, Bytes(10, 0xAA));
  EXPECT_EQ(velmor_core_riff_chunk_get_data(a, nullptr, 0, 10), VELMOR_CORE_SUCCESS);

  EXPECT_EQ(velmor_core_riff_chunk_set_data(a, "xy", 2, 8), VELMOR_CORE_SUCCESS);
  Bytes expected = before;
  expected[8] = 'x';
  expected[9] = 'y';
  EXPECT_EQ(velmor_core_riff_chunk_set_data(a, "xy", 2, 9), VELMOR_CORE_FAILURE);
  // The pad byte is out of reach.
  EXPECT_EQ(velmor_core_riff_chunk_set_data(chunk("b"), "x", 1, 5), VELMOR_CORE_FAILURE);
  EXPECT_EQ(data(a), expected);
  for (Chunk* group : {root(), chunk("RIFF"), static_cast<Chunk*>(nullptr)}) {
    EXPECT_EQ(velmor_core_riff_chunk_get_data(group, out.data(), 0, 0), VELMOR_CORE_BAD_HANDLE);
    EXPECT_EQ(velmor_core_riff_chunk_set_data(group, "x", 0, 0), VELMOR_CORE_BAD_HANDLE);
    EXPECT_EQ(velmor_core_riff_chunk_set_data_size(group, 4), VELMOR_CORE_BAD_HANDLE);
  }
  EXPECT_EQ(tree(), "RIFF:wave{ a:10 b:5 }");
}

TEST_P(EditTest, AChunkIsResizedAndEverythingBehindItMoves) {
  open("RIFF:wave{ a:1 LIST:info{ b:6 c:3 } d:8 } LIST:x{ e:2 }");
  const Bytes b = data(chunk("b"));
  const Bytes c = data(chunk("c"));
  const Bytes e = data(chunk("e"));
  Chunk* resized = chunk("b");
  for (const uint32_t size : {5U, 3U, 4U, 6U, 100U, 101U, 0U, 1U, 7U}) {
    SCOPED_TRACE(size);
    const Bytes kept = data(resized);
    ASSERT_EQ(velmor_core_riff_chunk_set_data_size(resized, size), VELMOR_CORE_SUCCESS);
    EXPECT_EQ(tree(),
              "RIFF:wave{ a:1 LIST:info{ b:" + std::to_string(size) + " c:3 } d:8 } LIST:x{ e:2 }");
    EXPECT_EQ(chunk("b"), resized);
    const Bytes now = data(resized);
    EXPECT_TRUE(std::equal(now.begin(),
                           now.begin() + static_cast<long>(std::min(now.size(), kept.size())),
                           kept.begin()));
    EXPECT_EQ(data(chunk("c")), c);
    EXPECT_EQ(data(chunk("e")), e);
  }
}

TEST_P(EditTest, ChunksAreCopiedWithinTheObjectAndFromAnother) {
  open("RIFF:wave{ LIST:info{ a:3 JUNK:9 } b:4 } c:2");
  const Bytes source = bytesOf("RIFF:other{ LIST:deep{ x:5 LIST:y{ z:1 } } }");
  const Opened other = openBytes(source);
  Chunk* deep =
      velmor_core_riff_chunk_get_child(velmor_core_riff_object_get_root_chunk(other.get()), 0);
  Chunk* copy = velmor_core_riff_chunk_add_chunk(chunk("info"), deep);
  EXPECT_EQ(copy, chunk("deep"));
  EXPECT_EQ(tree(), "RIFF:wave{ LIST:info{ a:3 JUNK:9 LIST:deep{ x:5 LIST:y{ z:1 } } } b:4 } c:2");
  // Sources in front of the gap and behind it, and a child of the same group.
  const Bytes a = data(chunk("a"));
  const Bytes c = data(chunk("c"));
  EXPECT_NE(velmor_core_riff_chunk_add_chunk(chunk("y"), chunk("c")), nullptr);
  EXPECT_NE(velmor_core_riff_chunk_add_chunk(root(), chunk("a")), nullptr);
  Chunk* twin = velmor_core_riff_chunk_add_chunk(root(), chunk("c", 1));
  EXPECT_NE(twin, chunk("c", 1));
  EXPECT_EQ(tree(),
            "RIFF:wave{ LIST:info{ a:3 JUNK:9 LIST:deep{ x:5 LIST:y{ z:1 c:2 } } } b:4 } "
            "c:2 a:3 c:2");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(data(chunk("c", i)), c);
  EXPECT_EQ(data(chunk("a", 1)), a);
}

TEST_P(EditTest, WhatCannotBeIsRefusedAndChangesNothing) {
  open("RIFF:wave{ LIST:info{ LIST:in{ } a:3 } JUNK:40 } JUNK:6");
  const Bytes before = store->content();
  const Bytes cutSource = [] {
    Bytes bytes = bytesOf("a:2 b:5");
    bytes.pop_back();
    return bytes;
  }();
  const Opened other = openBytes(cutSource);
  Chunk* cutChunk = velmor_core_riff_chunk_get_child(
      velmor_core_riff_object_get_virtual_root_chunk(other.get()), 1);
  Object* self = store->object();

  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(chunk("info"), chunk("info")), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(chunk("in"), chunk("RIFF")), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(chunk("in"), root()), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(
                chunk("in"), velmor_core_riff_object_get_virtual_root_chunk(other.get())),
            nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(chunk("in"), cutChunk), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(chunk("in"), nullptr), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(nullptr, chunk("a")), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_chunk(chunk("a"), chunk("a")), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(chunk("in"), other.get()), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(chunk("in"), self), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(root(), self), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(chunk("in"), nullptr), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_cache(chunk("a"), other.get()), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_data_chunk(chunk("a"), idOf("x"), "y", 1), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_data_chunk(nullptr, idOf("x"), "y", 1), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_group_chunk(chunk("a"), idOf("LIST"), 0), nullptr);
  EXPECT_EQ(velmor_core_riff_chunk_add_group_chunk(nullptr, idOf("LIST"), 0), nullptr);
  Chunk* handle = root();
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&handle), VELMOR_CORE_FAILURE);
  EXPECT_EQ(handle, root());
  handle = nullptr;
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&handle), VELMOR_CORE_BAD_HANDLE);
  EXPECT_EQ(velmor_core_riff_chunk_recycle(nullptr), VELMOR_CORE_BAD_HANDLE);

  EXPECT_EQ(store->content(), before);
  EXPECT_EQ(tree(), "RIFF:wave{ LIST:info{ LIST:in{ } a:3 } JUNK:40 } JUNK:6");
}

// A group under an id of its own is a group until it is opened again; one under "JUNK" is no free
// space while it is a group.
TEST_P(EditTest, AGroupUnderAnotherIdLivesUntilTheObjectCloses) {
  open("RIFF:wave{ JUNK:2 }");
  Chunk* group = velmor_core_riff_chunk_add_group_chunk(chunk("RIFF"), idOf("JUNK"), idOf("mine"));
  EXPECT_EQ(velmor_core_riff_chunk_get_child_count(group), 0U);
  addData(group, "a", 60);
  addData(chunk("RIFF"), "b", 40);
  addData(chunk("RIFF"), "c", 4);
  EXPECT_EQ(pictureOf(store->object()), "RIFF:wave{ JUNK:2 JUNK:mine{ a:60 } b:40 c:4 }");
  EXPECT_EQ(pictureOf(openBytes(store->content()).get()), "RIFF:wave{ JUNK:2 JUNK:72 b:40 c:4 }");
  Chunk* b = chunk("b");
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&b), VELMOR_CORE_SUCCESS);  // not across the group
  EXPECT_EQ(pictureOf(store->object()), "RIFF:wave{ JUNK:2 JUNK:mine{ a:60 } JUNK:40 c:4 }");
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&group), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(tree(), "RIFF:wave{ JUNK:130 c:4 }");
  EXPECT_EQ(group, chunk("JUNK"));
}

TEST(LargeFileTest, OffsetsPastFourGigabytesAreKept) {
  const TemporaryFile file;
  Object* object = nullptr;
  ASSERT_EQ(velmor_core_riff_open_file(file.path(), 2, &object), VELMOR_CORE_SUCCESS);
  Chunk* root = velmor_core_riff_object_get_virtual_root_chunk(object);
  Chunk* huge = velmor_core_riff_chunk_add_data_chunk(root, idOf("huge"), nullptr, 0xFFFFFFFE);
  ASSERT_NE(huge, nullptr);
  Chunk* group = velmor_core_riff_chunk_add_group_chunk(root, idOf("RIFF"), idOf("x"));
  Chunk* last = velmor_core_riff_chunk_add_data_chunk(group, idOf("last"), "abc", 3);
  EXPECT_EQ(velmor_core_riff_chunk_set_data_size(huge, 0xFFFFFFFF), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_chunk_set_data(huge, "end", 3, 0xFFFFFFFC), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_cache_get_size(object), 0x1'0000'0008 + 24);
  Chunk* handle = huge;
  EXPECT_EQ(velmor_core_riff_chunk_recycle(&handle), VELMOR_CORE_FAILURE);
  char text[3];
  EXPECT_EQ(velmor_core_riff_chunk_get_data(last, text, 3, 0), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(std::string(text, 3), "abc");
  velmor_core_riff_close(object);
  ASSERT_EQ(velmor_core_riff_open_file(file.path(), 1, &object), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(pictureOf(object), "huge:4294967295 RIFF:x{ last:3 }");
  EXPECT_EQ(velmor_core_riff_chunk_remove(velmor_core_riff_object_get_root_chunk(object)),
            VELMOR_CORE_SUCCESS);
  EXPECT_EQ(pictureOf(object), "RIFF:x{ last:3 }");
  velmor_core_riff_close(object);
  EXPECT_EQ(file.content().size(), 24U);
}

TEST(ThreadsTest, ObjectsOnDistinctThreadsDoNotMeet) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (const Kind kind : {Kind::BUFFER, Kind::CACHE, Kind::FILE}) {
        const Store store(kind, bytesOf("RIFF:g{ a:2 JUNK:40 }"));
        Chunk* g = velmor_core_riff_object_get_root_chunk(store.object());
        for (int n = 0; n < 50; ++n) {
          Chunk* added = velmor_core_riff_chunk_add_data_chunk(g, idOf("new"), "abc", 3);
          EXPECT_EQ(velmor_core_riff_chunk_recycle(&added), VELMOR_CORE_SUCCESS);
        }
        EXPECT_EQ(pictureOf(store.object()), "RIFF:g{ a:2 JUNK:40 }");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
