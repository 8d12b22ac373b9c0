// Edits of trees that reach past the stored bytes: a missing last pad byte, data cut short.

#include <functional>

#include "support/riff_support.h"

namespace {

class CutShortTest : public EditTest {
 protected:
  // Opens the bytes of a picture without the last `missing` ones. A cache cannot hold such bytes.
  void openCut(std::string_view picture, size_t missing, uint64_t room = Store::ROOM) {
    Bytes bytes = bytesOf(picture);
    bytes.resize(bytes.size() - missing);
    open(bytes, room);
  }
};
INSTANTIATE_TEST_SUITE_P(Kinds, CutShortTest, testing::Values(Kind::BUFFER, Kind::FILE),
                         testing::PrintToStringParamName());

const char* const TREE = "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:5 } }";

struct Edit {
  const char* name;
  std::function<bool(Chunk* (*find)(Chunk*, const char*), Chunk* root)> run;
  const char* after;  // with the pad byte missing at first
  bool needsPad;
};

Chunk* at(Chunk* root, const char* name) {
  for (Chunk* c = velmor_core_riff_chunk_get_child(root, 0); c;
       c = velmor_core_riff_chunk_get_next(c)) {
    if (velmor_core_riff_chunk_get_id(c) == idOf(name) ||
        velmor_core_riff_chunk_get_group_id(c) == idOf(name)) {
      return c;
    }
    if (Chunk* inside = at(c, name)) return inside;
  }
  return nullptr;
}

bool recycle(Chunk* chunk) {
  Chunk* handle = chunk;
  return velmor_core_riff_chunk_recycle(&handle) == VELMOR_CORE_SUCCESS;
}

using Find = Chunk* (*)(Chunk*, const char*);
const std::vector<Edit> EDITS = {
    {"grow the last",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_set_data_size(find(r, "y"), 8) == 0; },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:8 } }", true},
    {"grow the last into its pad byte",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_set_data_size(find(r, "y"), 6) == 0; },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:6 } }", true},
    {"cut the last",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_set_data_size(find(r, "y"), 1) == 0; },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:1 } }", true},
    {"remove the last",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_remove(find(r, "y")) == 0; },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 } }", true},
    {"remove the group",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_remove(find(r, "l")) == 0; },
     "RIFF:g{ a:2 }", true},
    {"append to the group",
     [](Find find, Chunk* r) {
       return velmor_core_riff_chunk_add_data_chunk(find(r, "l"), idOf("n"), "z", 0) != nullptr;
     },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:5 n:0 } }", true},
    {"append at the top",
     [](Find, Chunk* r) {
       return velmor_core_riff_chunk_add_group_chunk(r, idOf("LIST"), idOf("n")) != nullptr;
     },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:5 } } LIST:n{ }", true},
    {"copy the last",
     [](Find find, Chunk* r) {
       return velmor_core_riff_chunk_add_chunk(find(r, "g"), find(r, "y")) != nullptr;
     },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:20 y:5 } y:5 }", true},
    {"recycle the last", [](Find find, Chunk* r) { return recycle(find(r, "y")); },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 JUNK:34 } }", true},
    {"recycle the group", [](Find find, Chunk* r) { return recycle(find(r, "l")); },
     "RIFF:g{ a:2 JUNK:106 }", true},
    {"grow in front",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_set_data_size(find(r, "x"), 9) == 0; },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:9 JUNK:20 y:5 } }", false},
    {"remove in front",
     [](Find find, Chunk* r) { return velmor_core_riff_chunk_remove(find(r, "x")) == 0; },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 JUNK:20 y:5 } }", false},
    {"recycle in front", [](Find find, Chunk* r) { return recycle(find(r, "x")); },
     "RIFF:g{ a:2 LIST:l{ JUNK:80 y:5 } }", false},
    {"use free space",
     [](Find find, Chunk* r) {
       return velmor_core_riff_chunk_add_data_chunk(find(r, "l"), idOf("n"), "1234", 4) != nullptr;
     },
     "RIFF:g{ a:2 LIST:l{ JUNK:40 x:3 n:4 JUNK:8 y:5 } }", false},
};

TEST_P(CutShortTest, AMissingPadByteIsAddedWhereItIsNeeded) {
  for (const Edit& edit : EDITS) {
    SCOPED_TRACE(edit.name);
    openCut(TREE, 1);
    EXPECT_TRUE(edit.run(at, root()));
    EXPECT_EQ(tree(), edit.after);
    EXPECT_EQ(store->content().size() % 2, edit.needsPad ? 0U : 1U);
  }
}

TEST(FullBufferTest, WithoutRoomForThePadByteTheEditIsRefused) {
  for (const Edit& edit : EDITS) {
    if (!edit.needsPad) continue;
    SCOPED_TRACE(edit.name);
    Bytes bytes = bytesOf(TREE);
    bytes.pop_back();
    const Bytes before = bytes;
    Object* object = nullptr;
    velmor_core_riff_open_buffer_rw(bytes.data(), bytes.size(), bytes.size(), &object);
    const Opened closer(object);
    EXPECT_FALSE(edit.run(at, velmor_core_riff_object_get_virtual_root_chunk(object)));
    EXPECT_EQ(bytes, before);
    EXPECT_EQ(pictureOf(object), TREE);
  }
}

TEST_P(CutShortTest, MoreThanThePadByteMissingIsRefusedBeforeAnyChange) {
  for (const size_t missing : {2U, 6U}) {
    for (const Edit& edit : EDITS) {
      SCOPED_TRACE(testing::Message() << edit.name << ", " << missing << " missing");
      openCut(TREE, missing);
      const Bytes before = store->content();
      EXPECT_EQ(edit.run(at, root()), !edit.needsPad);
      if (edit.needsPad) {
        EXPECT_EQ(store->content(), before);
        EXPECT_EQ(pictureOf(store->object()), TREE);
      } else {
        EXPECT_EQ(tree(), edit.after);
      }
    }
  }
  // A missing data byte is no missing pad byte.
  openCut("RIFF:g{ a:2 y:4 }", 1);
  EXPECT_EQ(velmor_core_riff_chunk_remove(chunk("y")), VELMOR_CORE_FAILURE);
  EXPECT_EQ(velmor_core_riff_chunk_set_data_size(chunk("y"), 3), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(velmor_core_riff_chunk_remove(chunk("y")), VELMOR_CORE_SUCCESS);
  EXPECT_EQ(tree(), "RIFF:g{ a:2 }");
}

// A free chunk that was cut short takes what fits into the bytes that are there.
TEST_P(CutShortTest, FreeSpaceEndsWithTheBytes) {
  openCut("RIFF:g{ JUNK:100 }", 60);
  EXPECT_NE(addData(chunk("g"), "n", 20), nullptr);
  EXPECT_EQ(tree(), "RIFF:g{ n:20 JUNK:72 }");
  const Bytes before = store->content();
  EXPECT_EQ(addData(chunk("g"), "m", 10), nullptr);
  EXPECT_EQ(addData(chunk("g"), "m", 72), nullptr);
  EXPECT_EQ(store->content(), before);
  EXPECT_EQ(tree(), "RIFF:g{ n:20 JUNK:72 }");
  // Filled exactly up to its missing pad byte: nothing that is missing is needed.
  openCut("RIFF:g{ JUNK:5 }", 1);
  EXPECT_NE(addData(chunk("g"), "n", 5), nullptr);
  EXPECT_EQ(store->content().size(), 25U);
  openCut("RIFF:g{ JUNK:5 }", 1);
  EXPECT_NE(addData(chunk("g"), "n", 6), nullptr);
  EXPECT_EQ(tree(), "RIFF:g{ n:6 }");
}

}  // namespace
