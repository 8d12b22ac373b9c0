// A second implementation of objects and their chunk trees, with which the library is compared.
// Every step is simple and slow: free lists are sorted in full each time, and loading recurses.
#ifndef TESTS_RIFF_MODEL_H
#define TESTS_RIFF_MODEL_H

#include <algorithm>
#include <memory>
#include <utility>

#include "support/faults.h"
#include "support/riff_support.h"

namespace riff_model {

struct Failed {};  // thrown by an operation that fails; what it did before stays done

constexpr uint32_t JUNK = 0x4B4E554A, RIFF = 0x46464952, LIST = 0x5453494C;
constexpr uint64_t LARGEST = 0xFFFFFFFF;

struct Node {
  uint64_t offset = 0;
  uint32_t id = 0, size = 0, groupId = 0;
  bool isGroup = false;
  Node* parent = nullptr;
  std::vector<std::unique_ptr<Node>> children;
  std::vector<Node*> freeList;
  Chunk* handle = nullptr;  // the library's handle of this chunk

  uint64_t total() const { return uint64_t{8} + size + size % 2; }
  uint64_t end() const { return offset + total(); }
  bool isFree() const { return id == JUNK && !isGroup; }
  bool isTrailing() const { return !parent->parent && parent->children.back().get() == this; }
  Node* child(size_t i) const { return i < children.size() ? children[i].get() : nullptr; }
  size_t indexOf(const Node* one) const {
    size_t i = 0;
    while (child(i) != one) i++;
    return i;
  }
  Node& nearestGroup() { return isGroup ? *this : *parent; }
  // The chunk whose bytes come last.
  const Node* lastInside() const { return children.empty() ? this : children.back()->lastInside(); }

  void sortFree() {
    std::stable_sort(freeList.begin(), freeList.end(), [](const Node* a, const Node* b) {
      if (a->isTrailing()) return false;
      if (b->isTrailing()) return true;
      return a->size != b->size ? a->size < b->size : a->offset < b->offset;
    });
  }
  Node* insert(size_t i, std::unique_ptr<Node> node) {
    children.insert(children.begin() + static_cast<ptrdiff_t>(i), std::move(node));
    return child(i);
  }
  Node* attach(std::unique_ptr<Node> node) {
    Node* added = insert(children.size(), std::move(node));
    if (added->isFree()) {
      freeList.push_back(added);
      sortFree();
    }
    return added;
  }
  void erase(Node* one) {
    std::erase(freeList, one);
    std::erase_if(children, [&](const auto& node) { return node.get() == one; });
  }
};

inline std::string expectedCalls;  // on files, by all models

struct Model {
  Kind kind;
  Bytes bytes;  // all memory of a buffer or cache; the bytes of a file on disk
  uint64_t size;
  int file;
  Node root;

  Model(Kind ofKind, Bytes content, uint64_t length, int descriptor)
      : kind(ofKind), bytes(std::move(content)), size(length), file(descriptor) {
    note('e', 0);
    root.isGroup = true;
    try {
      for (uint64_t offset = 0; offset < size;) root.attach(load(offset, root));
    } catch (const Failed&) {
      note('c', 0);
      throw;
    }
  }
  void clear() {
    root.children.clear();
    root.freeList.clear();
    size = 0;
  }

  void note(char what, uint64_t value) const {
    if (kind == Kind::FILE) faults::note(expectedCalls, what, file, value);
  }
  uint64_t capacity() const {
    return kind == Kind::BUFFER || kind == Kind::CACHE ? bytes.size() : 0;
  }
  void resize(uint64_t n) {
    note('t', n);
    if (kind == Kind::FILE) {
      bytes.resize(n);
    } else if (n > capacity()) {
      if (kind != Kind::CACHE) throw Failed{};
      bytes.resize(bytes.empty() ? n : (n / bytes.size() + 1) * bytes.size());
    }
    size = n;
  }
  Bytes read(uint64_t offset, uint64_t length) {
    const uint64_t last = kind == Kind::FILE ? bytes.size() : size;
    note('s', offset);
    if (length > 0) note('r', length);
    if (offset < last && offset + length > last) note('r', offset + length - last);
    if (kind == Kind::FILE && length == 0) return {};
    if (offset + length > last) throw Failed{};
    return {bytes.data() + offset, bytes.data() + offset + length};
  }
  void write(uint64_t offset, const Bytes& data) {
    const uint64_t end = offset + data.size();
    note('s', offset);
    if (!data.empty()) note('w', data.size());
    if (kind == Kind::FILE) {
      bytes.resize(std::max<uint64_t>(bytes.size(), end));
    } else {
      if (end > capacity()) throw Failed{};
      size = std::max(size, end);
    }
    std::copy(data.begin(), data.end(), bytes.data() + offset);
  }
  // Bytes of a file are moved in pieces, in the order in which none is overwritten before it is
  // read.
  void move(uint64_t from, uint64_t to, uint64_t length) {
    const uint64_t limit = kind == Kind::FILE ? 65536 : length;
    for (uint64_t done = 0; from != to && done < length;) {
      const uint64_t piece = std::min(length - done, limit);
      const uint64_t at = from > to ? done : length - done - piece;
      write(to + at, read(from + at, piece));
      done += piece;
    }
  }
  uint32_t read32(uint64_t offset) {
    const Bytes four = read(offset, 4);
    uint32_t value = 0;
    for (size_t i = 0; i < 4; i++) value |= uint32_t{four[i]} << (8 * i);
    return value;
  }
  void write32(uint64_t offset, const std::vector<uint32_t>& values) {
    Bytes data;
    for (const uint32_t value : values) append32(data, value);
    write(offset, data);
  }

  std::unique_ptr<Node> construct(bool isGroup, uint64_t offset, Node& parent) {
    auto node = std::make_unique<Node>();
    node->isGroup = isGroup;
    node->offset = offset;
    node->parent = &parent;
    node->id = read32(offset);
    node->size = read32(offset + 4);
    if (isGroup) node->groupId = read32(offset + 8);
    return node;
  }
  std::unique_ptr<Node> load(uint64_t& offset, Node& parent) {
    const uint32_t id = read32(offset);
    auto node = construct(id == RIFF || id == LIST, offset, parent);
    offset += node->isGroup ? 12 : node->total();
    while (node->isGroup && offset != node->end()) node->attach(load(offset, *node));
    return node;
  }

  // A tree may end past the object's end. need() adds the last chunk's pad byte if only that is
  // missing.
  bool lacksPadOnly(const Node& chunk) const {
    return chunk.end() == size + 1 && chunk.lastInside()->size % 2 == 1;
  }
  void need(const Node& chunk) {
    if (chunk.end() <= size) return;
    if (!lacksPadOnly(chunk)) throw Failed{};
    resize(size + 1);
  }
  void needPad(const Node& chunk) {
    if (chunk.lastInside()->size % 2 == 1) need(chunk);
  }
  void needToAdd(const Node& group) const {
    if (&group != &root || root.children.empty() || root.children.back()->end() <= size) return;
    if (!lacksPadOnly(*root.children.back())) throw Failed{};
  }
  // An edit of a free chunk writes new bytes and the header of the rest. All of these bytes have to
  // be in the object, except a pad byte at the end of the new bytes.
  void needToTake(const Node& free, uint64_t n, uint64_t written) {
    if (free.offset + (free.total() == n ? written : n + 8) > size) need(free);
  }

  void setSizeField(Node& chunk, uint64_t newSize) {
    chunk.size = static_cast<uint32_t>(newSize);
    write32(chunk.offset + 4, {chunk.size});
  }
  uint64_t resizeChunk(Node& chunk, uint64_t delta, const Node* removed = nullptr) {
    if (&chunk == &root && !removed) {
      if (!root.children.empty()) need(*root.children.back());
      const uint64_t old = size;
      resize(old + delta);
      return old;
    }
    if (delta == 0) return chunk.end();
    const Node& changed = removed ? *removed : chunk;
    need(changed);
    const uint64_t from = changed.end(), tail = size - from;
    const bool grows = static_cast<int64_t>(delta) > 0;
    if (grows) resize(size + delta);
    move(from, from + delta, tail);
    if (!grows) resize(size + delta);
    for (Node* x = &chunk; x != &root; x = x->parent) setSizeField(*x, x->size + delta);
    const Node* after = &changed;
    for (Node* group = changed.parent; group; after = group, group = group->parent)
      for (size_t i = group->indexOf(after) + 1; i < group->children.size(); i++)
        shift(*group->child(i), delta);
    return from;
  }
  static void shift(Node& chunk, uint64_t delta) {
    chunk.offset += delta;
    for (auto& child : chunk.children) shift(*child, delta);
  }

  Bytes getData(const Node& chunk, uint32_t length, uint32_t at) {
    if (uint64_t{at} + length > chunk.size) throw Failed{};
    return read(chunk.offset + 8 + at, length);
  }
  void setData(const Node& chunk, const Bytes& data, uint32_t at) {
    if (at + data.size() > chunk.size) throw Failed{};
    if (chunk.offset + 8 + at + data.size() > size) throw Failed{};
    write(chunk.offset + 8 + at, data);
  }
  void setDataSize(Node& chunk, uint32_t n) {
    if (n == chunk.size) return;
    if (n > chunk.size) need(chunk);  // its pad byte may become data
    resizeChunk(chunk, uint64_t{n} + n % 2 + 8 - chunk.total());
    if (chunk.size != n) setSizeField(chunk, n);
  }

  Node* addGroup(Node& group, uint32_t id, uint32_t groupId) {
    const uint64_t at = resizeChunk(group, 12);
    write32(at, {id, 4, groupId});
    return group.attach(construct(true, at, group));
  }
  Node* addCopy(Node& group, Model& from, const Node& source) {
    for (const Node* x = &group; x; x = x->parent)
      if (x == &source) throw Failed{};
    if (!source.parent || (&from != this && source.end() > from.size)) throw Failed{};
    if (&from == this) need(source);
    const uint64_t total = source.total();
    uint64_t at = resizeChunk(group, total);
    for (uint64_t done = 0; done < total; done += 32768)
      write(at + done, from.read(source.offset + done, std::min<uint64_t>(total - done, 32768)));
    return group.attach(load(at, group));
  }
  Node* findFree(const Node& group, uint64_t n) {
    for (Node* free : group.freeList)
      if (free->size >= n || free->total() == n) return free;
    Node* last = group.freeList.empty() ? nullptr : group.freeList.back();
    if (!last || !last->isTrailing() || n > LARGEST) return nullptr;
    setDataSize(*last, static_cast<uint32_t>(n));
    return last;
  }
  // Removes the first n bytes from a free chunk. Returns the index of the new child for them.
  size_t take(Node& group, Node* free, uint64_t n) {
    const size_t position = group.indexOf(free);
    if (free->total() == n) {
      group.erase(free);
      return position;
    }
    free->offset += n;
    free->size -= static_cast<uint32_t>(n);
    write32(free->offset, {free->id, free->size});
    if (free->size > 0)
      group.sortFree();
    else
      std::erase(group.freeList, free);
    return position;
  }
  Node* addData(Node& group, uint32_t id, const Bytes* data, uint32_t length) {
    needToAdd(group);
    const uint64_t n = uint64_t{8} + length + length % 2;
    Node* free = length > 0 ? findFree(group, n) : nullptr;
    if (free) needToTake(*free, n, uint64_t{8} + length);
    const uint64_t at = free ? free->offset : resizeChunk(group, n);
    write32(at, {id, length});
    auto node = construct(false, at, group);
    if (data && length > 0) setData(*node, *data, 0);
    if (!free) return group.attach(std::move(node));
    const size_t position = take(group, free, n);
    return group.insert(position, std::move(node));
  }
  Node* addCache(Node& group, Model& cache) {
    if (cache.kind == Kind::FILE || &cache == this || cache.size == 0) throw Failed{};
    if (cache.root.children.back()->end() != cache.size) throw Failed{};
    needToAdd(group);
    Node* free = findFree(group, cache.size);
    if (free) needToTake(*free, cache.size, cache.size);
    const uint64_t start = free ? free->offset : resizeChunk(group, cache.size);
    write(start, cache.read(0, cache.size));
    const size_t position = free ? take(group, free, cache.size) : group.children.size();
    size_t next = position;
    for (uint64_t at = start; at < start + cache.size; next++) {
      auto node = load(at, group);
      if (free)
        group.insert(next, std::move(node));
      else
        group.attach(std::move(node));
    }
    return group.child(position);
  }

  void remove(Node& chunk) {
    Node& group = *chunk.parent;
    resizeChunk(group, 0 - chunk.total(), &chunk);
    group.erase(&chunk);
  }
  Node* recycle(Node& chunk) {
    Node& group = *chunk.parent;
    const size_t i = group.indexOf(&chunk);
    Node *before = group.child(i - 1), *after = group.child(i + 1), *result = &chunk;
    const auto joins = [](const Node* free, uint64_t total) {
      return free && free->isFree() && free->total() + total <= LARGEST;
    };
    if (joins(before, chunk.total())) {
      result = before;
      const bool all = joins(after, before->total() + chunk.total());
      if (before->size % 2 == 0) needPad(all ? *after : chunk);
      setSizeField(*before, before->size + chunk.total() + (all ? after->total() : 0));
      if (all) group.erase(after);
      group.erase(&chunk);
    } else if (joins(after, chunk.total())) {
      result = after;
      const auto merged = static_cast<uint32_t>(after->size + chunk.total());
      write32(chunk.offset, {JUNK, merged});
      after->offset = chunk.offset;
      after->size = merged;
      group.erase(&chunk);
    } else if (!chunk.isFree()) {
      if (!chunk.isGroup && chunk.size == LARGEST) throw Failed{};
      if (chunk.isGroup == (chunk.size % 2 == 0)) needPad(chunk);
      chunk.id = JUNK;
      write32(chunk.offset, {JUNK});
      if (chunk.isGroup)
        result = (group.children[i] = construct(false, chunk.offset, group)).get();
      else if (chunk.size % 2 == 1)
        setSizeField(chunk, chunk.size + 1);
      group.freeList.push_back(result);
    }
    group.sortFree();
    return result;
  }
};

}  // namespace riff_model

#endif
