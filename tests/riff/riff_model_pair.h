// One object of the library beside the model of it.
#ifndef TESTS_RIFF_MODEL_PAIR_H
#define TESTS_RIFF_MODEL_PAIR_H

#include <set>

#include "riff_model.h"

namespace riff_model {

inline Chunk* handle(const Node& node) { return static_cast<Chunk*>(node.handle); }

inline void compareKnown(const std::vector<uint8_t>& actual, const Bytes& known) {
  ASSERT_EQ(actual.size(), known.size());
  for (size_t i = 0; i < known.size(); i++)
    if (actual[i] != known[i] && known[i] != UNWRITTEN)
      FAIL() << "byte " << i << " is " << int{actual[i]} << ", not " << known[i];
}

// The library's half of a step, with its calls on files noted.
template <typename Body>
auto noted(Body body) {
  faults::fileCalls.clear();
  faults::recording = true;
  const auto result = body();
  faults::recording = false;
  return result;
}

class Pair {
 public:
  explicit Pair(Kind ofKind) : kind(ofKind) {}
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;
  ~Pair() { close(); }

  // Both read `content`; false if they refuse it. A buffer has `room` more bytes; a cache starts
  // empty, with that capacity.
  bool open(std::vector<uint8_t> content, size_t room) {
    close();
    if (kind == Kind::CACHE) content.clear();
    store = std::make_unique<Store>(kind, content, room);
    expectedCalls.clear();
    const int32_t status = noted([&] { return store->open(); });
    const int file = faults::lastOpenedFile;
    if (kind == Kind::FILE) note(expectedCalls, 'e', file, 0);
    const std::vector<uint8_t> memory = store->memory();
    Bytes bytes(memory.begin(), memory.end());
    if (kind == Kind::CACHE) bytes.assign(room, UNWRITTEN);
    try {
      model = std::make_unique<Object>(kind, std::move(bytes), content.size(), file, expectedCalls);
    } catch (const Failed&) {
      if (kind == Kind::FILE) note(expectedCalls, 'c', file, 0);
    }
    EXPECT_EQ(status, model ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
    compareCalls();
    if (!model || !object()) return false;
    model->root.handle = rootOf(object());
    return true;
  }

  velmor_core_riff_object_t* object() const { return store->object(); }

  // What the object holds; bytes that nobody has written as 0.
  std::vector<uint8_t> content() const {
    std::vector<uint8_t> result;
    for (size_t i = 0; i < model->size; i++)
      result.push_back(static_cast<uint8_t>(model->bytes[i] == UNWRITTEN ? 0 : model->bytes[i]));
    return result;
  }

  void compare() {
    EXPECT_EQ(velmor_core_riff_cache_get_size(object()), model->size);
    EXPECT_EQ(velmor_core_riff_cache_get_capacity(object()), model->capacity());
    EXPECT_EQ(rootOf(object()), model->root.handle);
    std::set<void*> old;
    collect(model->root, old);
    compareChunk(model->root, old);
    EXPECT_EQ(velmor_core_riff_object_get_root_chunk(object()),
              velmor_core_riff_chunk_get_child(rootOf(object()), 0));
    if (kind != Kind::CACHE) compareKnown(store->memory(), model->bytes);
  }
  static void compareCalls() { EXPECT_EQ(faults::fileCalls, expectedCalls); }

  const Kind kind;
  std::unique_ptr<Object> model;
  inline static std::string expectedCalls;  // by the models of all pairs

 private:
  void close() {
    if (!model) return;
    expectedCalls.clear();
    if (kind == Kind::FILE) note(expectedCalls, 'c', model->file, 0);
    noted([&] {
      store->close();
      return true;
    });
    compareCalls();
    model.reset();
  }

  static void collect(const Node& node, std::set<void*>& handles) {
    handles.insert(node.handle);
    for (const auto& child : node.children) collect(*child, handles);
  }
  // Chunks that the model had before have their handles still; a new one has one of its own.
  void compareChunk(Node& node, const std::set<void*>& old) {
    Chunk* const chunk = handle(node);
    EXPECT_EQ(velmor_core_riff_chunk_get_id(chunk), node.id);
    EXPECT_EQ(velmor_core_riff_chunk_get_data_size(chunk), node.size);
    EXPECT_EQ(velmor_core_riff_chunk_get_group_id(chunk), node.groupId);
    EXPECT_EQ(velmor_core_riff_chunk_get_parent(chunk),
              node.parent ? handle(*node.parent) : nullptr);
    ASSERT_EQ(velmor_core_riff_chunk_get_child_count(chunk), node.children.size());
    Chunk* sibling = velmor_core_riff_chunk_get_child(chunk, 0);
    for (uint32_t i = 0; i < node.children.size(); i++) {
      Node& child = *node.children[i];
      EXPECT_EQ(velmor_core_riff_chunk_get_child(chunk, i), sibling);
      if (!child.handle) {
        EXPECT_EQ(old.count(sibling), 0U) << "a new chunk has the handle of another";
        child.handle = sibling;
      }
      ASSERT_EQ(sibling, child.handle);
      compareChunk(child, old);
      sibling = velmor_core_riff_chunk_get_next(sibling);
    }
    EXPECT_EQ(sibling, nullptr);
    if (kind == Kind::CACHE && !node.isGroup) compareData(node);
  }
  // A cache's bytes show through its chunks, and where they are poured out.
  void compareData(const Node& node) {
    std::vector<uint8_t> data(node.size);
    EXPECT_EQ(velmor_core_riff_chunk_get_data(handle(node), data.data(), node.size, 0),
              VELMOR_CORE_SUCCESS);
    compareKnown(data, model->getData(node, node.size, 0));
  }

  std::unique_ptr<Store> store;
};

}  // namespace riff_model

#endif
