// One object of the library beside the model of it, and the memory or file below it.
#ifndef TESTS_RIFF_MODEL_PAIR_H
#define TESTS_RIFF_MODEL_PAIR_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <velmor_core/velmor_core.h>

#include <set>
#include <string>

#include "riff_model.h"

namespace riff_model {

using Chunk = velmor_core_riff_chunk_t;

inline Chunk* handle(const Node& node) { return static_cast<Chunk*>(node.handle); }

inline void compareKnown(const std::vector<uint8_t>& actual, const Bytes& known) {
  ASSERT_EQ(actual.size(), known.size());
  for (size_t i = 0; i < known.size(); i++)
    if (actual[i] != known[i] && known[i] != UNWRITTEN)
      FAIL() << "byte " << i << " is " << int{actual[i]} << ", not " << known[i];
}

class Pair {
 public:
  explicit Pair(Kind ofKind) : kind(ofKind) {}
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;
  ~Pair() {
    velmor_core_riff_close(object);
    if (!path.empty()) unlink(path.c_str());
  }

  // Both read `content`; false if they refuse it. A buffer has `room` more bytes; a cache starts
  // empty, with that capacity.
  bool open(const std::vector<uint8_t>& content, size_t room) {
    close();
    fileCalls.clear();
    expectedCalls.clear();
    if (kind == Kind::FILE) store(content);
    memory = content;
    if (kind == Kind::BUFFER) memory.resize(content.size() + room, 0xEE);
    memory.shrink_to_fit();  // so that the address sanitizer guards its end
    recordFileCalls = true;
    const int32_t status = openObject(content.size(), room);
    recordFileCalls = false;

    const int file = kind == Kind::FILE ? lastOpenedFile : -1;
    if (kind == Kind::FILE) expectedCalls.push_back({'e', file, 0});
    Bytes bytes(memory.begin(), memory.end());
    if (kind == Kind::CACHE) bytes.assign(room, UNWRITTEN);
    try {
      model = std::make_unique<Object>(
          kind, std::move(bytes), kind == Kind::CACHE ? 0 : content.size(), file, expectedCalls);
    } catch (const Failed&) {
      if (kind == Kind::FILE) expectedCalls.push_back({'c', file, 0});
    }
    EXPECT_EQ(status, model ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
    EXPECT_EQ(text(fileCalls), text(expectedCalls));
    if (!model || !object) return false;
    model->root.handle = velmor_core_riff_object_get_virtual_root_chunk(object);
    return true;
  }

  // What the object holds; bytes that nobody has written as 0.
  std::vector<uint8_t> content() const {
    std::vector<uint8_t> result;
    for (size_t i = 0; i < model->size; i++)
      result.push_back(static_cast<uint8_t>(model->bytes[i] == UNWRITTEN ? 0 : model->bytes[i]));
    return result;
  }

  void compare() {
    EXPECT_EQ(velmor_core_riff_cache_get_size(object), model->size);
    EXPECT_EQ(velmor_core_riff_cache_get_capacity(object), model->capacity());
    EXPECT_EQ(velmor_core_riff_object_get_virtual_root_chunk(object), model->root.handle);
    std::set<void*> old;
    collect(model->root, old);
    compareChunk(model->root, old);
    if (kind == Kind::FILE) readBack();
    if (kind != Kind::CACHE) compareKnown(memory, model->bytes);
  }

  const Kind kind;
  velmor_core_riff_object_t* object = nullptr;
  std::unique_ptr<Object> model;
  inline static std::vector<FileCall> expectedCalls;  // by the models of all pairs

 private:
  int32_t openObject(size_t size, size_t room) {
    switch (kind) {
      case Kind::READ_ONLY:
        return velmor_core_riff_open_buffer_ro(memory.data(), size, &object);
      case Kind::BUFFER:
        return velmor_core_riff_open_buffer_rw(memory.data(), size, memory.size(), &object);
      case Kind::CACHE:
        return velmor_core_riff_open_cache(room, &object);
      case Kind::FILE:
        return velmor_core_riff_open_file(path.c_str(), VELMOR_CORE_RIFF_READ_WRITE, &object);
    }
    return VELMOR_CORE_FAILURE;
  }

  void close() {
    if (!object) return;
    fileCalls.clear();
    recordFileCalls = true;
    velmor_core_riff_close(object);
    recordFileCalls = false;
    if (kind == Kind::FILE) {
      EXPECT_EQ(text(fileCalls), text({{'c', model->file, 0}}));
    }
    object = nullptr;
    model.reset();
  }

  void store(const std::vector<uint8_t>& content) {
    if (path.empty()) {
      path = testing::TempDir() + "riff_model_XXXXXX";
      ::close(mkstemp(path.data()));
    }
    const int file = ::open(path.c_str(), O_WRONLY | O_TRUNC);
    ASSERT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    ::close(file);
  }
  void readBack() {
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    memory.resize(static_cast<size_t>(status.st_size));
    ASSERT_EQ(pread(model->file, memory.data(), memory.size(), 0), status.st_size);
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

  std::vector<uint8_t> memory;  // the caller's buffer; of a file what was read back last
  std::string path;
};

}  // namespace riff_model

#endif
