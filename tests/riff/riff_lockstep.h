// Makes the same edits of the library's objects and of the model's, chosen at random or by a
// fuzzer. After each step, results, trees, handles, stored bytes, sizes and the system calls on
// files have to agree.
#ifndef TESTS_RIFF_LOCKSTEP_H
#define TESTS_RIFF_LOCKSTEP_H

#include <random>
#include <span>

#include "riff_model.h"

namespace riff_model {

class Choices {
 public:
  explicit Choices(uint32_t seed) : engine(seed) {}
  // Contents of files come from the start of the input, all other choices from its end.
  explicit Choices(std::span<const uint8_t> bytes) : input(bytes), fuzzed(true) {}

  bool exhausted() const { return fuzzed && input.empty(); }
  uint32_t below(size_t limit) {
    if (!fuzzed) return static_cast<uint32_t>(engine() % limit);
    uint32_t value = 0;
    for (size_t rest = limit - 1; rest > 0 && !input.empty(); rest >>= 8) {
      value = value << 8 | input.back();
      input = input.first(input.size() - 1);
    }
    return static_cast<uint32_t>(value % limit);
  }
  bool oneIn(uint32_t n) { return below(n) == 0; }
  template <typename T>
  T& of(std::vector<T>& all) {
    return all[below(all.size())];
  }
  uint32_t idOf(std::vector<uint32_t> ids) { return of(ids); }
  uint32_t id() { return idOf({0x61746164, 0x41414141, 0, JUNK, JUNK}); }
  // Small, so that free chunks sometimes fit.
  uint32_t size() { return oneIn(30) ? below(300) : below(45); }
  uint32_t hugeSize() { return 0xFFFFFFFF - (oneIn(2) ? 0 : below(20)); }
  Bytes bytes(size_t length) {
    Bytes result(length);
    for (auto& byte : result) byte = static_cast<uint8_t>(engine());
    return result;
  }

  // Chunks as in a file, sometimes cut short at the end.
  Bytes content() {
    if (fuzzed && !oneIn(4)) {
      const auto taken = input.first(std::min<size_t>(below(2000), input.size()));
      input = input.subspan(taken.size());
      return {taken.begin(), taken.end()};
    }
    Bytes out = chunks(0);
    // So many free chunks that a walk along them is long.
    for (uint32_t n = oneIn(30) ? 300 : 0; n > 0; n--) {
      const uint32_t size = below(20) * 2;
      appendChunk(out, n % 2 == 0 ? JUNK : 0x61746164, size, bytes(size));
    }
    const uint32_t end = below(6);
    if (end == 0) {
      appendChunk(out, id(), oneIn(4) ? hugeSize() : 100, bytes(4));
    } else if (end < 3) {
      out.resize(out.size() - std::min<size_t>(out.size(), oneIn(2) ? 1 : below(12)));
    }
    return out;
  }

 private:
  Bytes chunks(int depth) {
    Bytes out;
    for (uint32_t n = below(5); n > 0; n--) {
      const bool group = depth < 4 && oneIn(3);
      // Sometimes more than the library moves or copies in one piece.
      Bytes data = group ? chunks(depth + 1) : bytes(oneIn(100) ? below(150000) : size());
      if (group) data.insert(data.begin(), 4, 'g');
      auto length = static_cast<uint32_t>(data.size());
      data.resize(length + length % 2, 0xAA);
      if (group && oneIn(6)) length--;  // odd: the last byte inside is the group's pad byte
      appendChunk(out, group ? idOf({RIFF, LIST}) : id(), length, data);
    }
    return out;
  }
  static void appendChunk(Bytes& out, uint32_t id, uint32_t size, const Bytes& data) {
    append32(out, id);
    append32(out, size);
    out.insert(out.end(), data.begin(), data.end());
  }

  std::mt19937 engine;
  std::span<const uint8_t> input;
  bool fuzzed = false;
};

// One object of the library and its model.
class Pair {
 public:
  explicit Pair(Kind ofKind) : kind(ofKind) {}
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;
  ~Pair() { close(); }

  // Returns whether both accept `content`. A buffer has `room` more bytes. A cache starts empty,
  // with that capacity.
  bool open(Bytes content, size_t room) {
    close();
    if (kind == Kind::CACHE) content.clear();
    store = std::make_unique<Store>(kind, content, room);
    const auto plain = [&] {
      const Bytes memory = kind == Kind::CACHE ? Bytes(room) : store->memory();
      model = std::make_unique<Model>(kind, memory, content.size(), faults::lastOpenedFile);
    };
    if (!both([&] { return store->open(); }, plain)) return false;
    model->root.handle = rootOf(object());
    return true;
  }

  // Runs a step of the library and of the model: both succeed or both fail, with the same calls on
  // files. If `expected` is not VELMOR_CORE_SUCCESS, the library has to return it, and the model
  // does not run the step. Returns whether the step succeeded.
  template <typename Library, typename Plain>
  static bool both(Library library, Plain plain, int32_t expected = VELMOR_CORE_SUCCESS) {
    faults::fileCalls.clear();
    expectedCalls.clear();
    faults::recording = true;
    const int32_t status = library();
    faults::recording = false;
    try {
      if (expected == VELMOR_CORE_SUCCESS) plain();
    } catch (const Failed&) {
      expected = VELMOR_CORE_FAILURE;
    }
    EXPECT_EQ(faults::fileCalls, expectedCalls);
    EXPECT_EQ(status, expected);
    return expected == VELMOR_CORE_SUCCESS && status == expected;
  }

  Object* object() const { return store->object(); }
  Bytes content() const { return {model->bytes.data(), model->bytes.data() + model->size}; }

  void compare() {
    EXPECT_EQ(velmor_core_riff_cache_get_size(object()), model->size);
    EXPECT_EQ(velmor_core_riff_cache_get_capacity(object()), model->capacity());
    EXPECT_EQ(velmor_core_riff_object_get_root_chunk(object()),
              velmor_core_riff_chunk_get_child(rootOf(object()), 0));
    compareChunk(model->root);
    EXPECT_TRUE(kind == Kind::CACHE || store->memory() == model->bytes);
  }

  const Kind kind;
  std::unique_ptr<Model> model;

 private:
  void close() {
    if (!model) return;
    const auto library = [&] {
      store->close();
      return VELMOR_CORE_SUCCESS;
    };
    both(library, [&] { model->note('c', 0); });
    model.reset();
  }

  // A chunk keeps its handle until it ends.
  void compareChunk(Node& node) {
    EXPECT_EQ(velmor_core_riff_chunk_get_id(node.handle), node.id);
    EXPECT_EQ(velmor_core_riff_chunk_get_data_size(node.handle), node.size);
    EXPECT_EQ(velmor_core_riff_chunk_get_group_id(node.handle), node.groupId);
    EXPECT_EQ(velmor_core_riff_chunk_get_parent(node.handle),
              node.parent ? node.parent->handle : nullptr);
    ASSERT_EQ(velmor_core_riff_chunk_get_child_count(node.handle), node.children.size());
    Chunk* sibling = velmor_core_riff_chunk_get_child(node.handle, 0);
    for (uint32_t i = 0; i < node.children.size(); i++) {
      Node& child = *node.children[i];
      EXPECT_EQ(velmor_core_riff_chunk_get_child(node.handle, i), sibling);
      if (!child.handle) child.handle = sibling;
      ASSERT_EQ(sibling, child.handle);
      compareChunk(child);
      sibling = velmor_core_riff_chunk_get_next(sibling);
    }
    EXPECT_EQ(sibling, nullptr);
    if (kind != Kind::CACHE || node.isGroup) return;
    Bytes data(node.size);  // the bytes of a cache can be read only through its chunks
    velmor_core_riff_chunk_get_data(node.handle, data.data(), node.size, 0);
    EXPECT_EQ(data, model->getData(node, node.size, 0));
  }

  std::unique_ptr<Store> store;
};

class Lockstep {
 public:
  explicit Lockstep(Choices from) : choices(from) {
    for (const Kind kind : {Kind::BUFFER, Kind::CACHE, Kind::FILE, Kind::READ_ONLY, Kind::BUFFER}) {
      pairs.push_back(std::make_unique<Pair>(kind));
      open(*pairs.back(), choices.content());
    }
    last = pairs.front().get();
  }

  bool exhausted() const { return choices.exhausted(); }
  std::string history;

  void step() {
    static const std::vector<std::pair<const char*, void (Lockstep::*)(Pair&, Node&)>> STEPS = {
        {"add data", &Lockstep::addData},     {"add data", &Lockstep::addData},
        {"add data", &Lockstep::addData},     {"add group", &Lockstep::addGroup},
        {"copy", &Lockstep::addCopy},         {"add cache", &Lockstep::addCache},
        {"set size", &Lockstep::setDataSize}, {"transfer", &Lockstep::transfer},
        {"transfer", &Lockstep::transfer},    {"recycle", &Lockstep::recycle},
        {"recycle", &Lockstep::recycle},      {"remove", &Lockstep::remove}};
    // Often takes the pair of the last edit, so that edits affect each other.
    if (choices.oneIn(2)) last = choices.of(pairs).get();
    Pair& pair = *last;
    Node& chunk = anyChunk(pair);
    auto [name, run] = STEPS[choices.below(STEPS.size())];
    if (pair.model->size > 1500 && choices.oneIn(4)) run = &Lockstep::remove;
    if (choices.oneIn(60)) run = choices.oneIn(2) ? &Lockstep::clear : &Lockstep::reopen;
    history += std::string(name) + " at " + std::to_string(chunk.offset) + " in " +
               pictureOf(pair.object()) + "\n";
    (this->*run)(pair, chunk);
    for (auto& each : pairs) each->compare();
  }

 private:
  static void gather(Node& node, std::vector<Node*>& all) {
    all.push_back(&node);
    for (auto& child : node.children) gather(*child, all);
  }
  Node& anyChunk(const Pair& pair) {
    std::vector<Node*> all;
    gather(pair.model->root, all);
    return *choices.of(all);
  }

  // Checks that the library returns the same chunk as the model.
  template <typename Library, typename Plain>
  static void add(Library library, Plain plain) {
    Chunk* added = nullptr;
    Node* node = nullptr;
    const auto status = [&] {
      added = library();
      return added ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE;
    };
    if (Pair::both(status, [&] { node = plain(); })) node->handle = added;
  }

  void addData(Pair& pair, Node& chunk) {
    Node& group = chunk.nearestGroup();
    const uint32_t id = choices.id();
    const bool huge = pair.kind == Kind::BUFFER && choices.oneIn(60);
    const uint32_t size = huge ? choices.hugeSize() : choices.size();
    const bool isSet = !huge && !choices.oneIn(4);
    const Bytes data = choices.bytes(isSet ? size : 0);
    const void* const bytes = isSet ? data.data() : nullptr;
    add([&] { return velmor_core_riff_chunk_add_data_chunk(group.handle, id, bytes, size); },
        [&] { return pair.model->addData(group, id, isSet ? &data : nullptr, size); });
  }
  void addGroup(Pair& pair, Node& chunk) {
    Node& group = chunk.nearestGroup();
    const uint32_t id = choices.idOf({RIFF, LIST, LIST, JUNK, 0x42424242});
    add([&] { return velmor_core_riff_chunk_add_group_chunk(group.handle, id, 77); },
        [&] { return pair.model->addGroup(group, id, 77); });
  }
  void addCopy(Pair& pair, Node& chunk) {
    Node& group = chunk.nearestGroup();
    const Pair& from = choices.oneIn(2) ? pair : *choices.of(pairs);
    const Node& source = anyChunk(from);
    add([&] { return velmor_core_riff_chunk_add_chunk(group.handle, source.handle); },
        [&] { return pair.model->addCopy(group, *from.model, source); });
  }
  void addCache(Pair& pair, Node& chunk) {
    Node& group = chunk.nearestGroup();
    const Pair& from = *choices.of(pairs);
    add([&] { return velmor_core_riff_chunk_add_cache(group.handle, from.object()); },
        [&] { return pair.model->addCache(group, *from.model); });
  }
  void setDataSize(Pair& pair, Node& likely) {
    // Often a free chunk, which stays where it is in the free list until the next sort.
    Node& chunk = likely.isFree() ? likely : anyChunk(pair);
    uint32_t size = choices.size();
    if (choices.oneIn(2)) size = chunk.size + choices.below(5) - std::min(chunk.size, 2U);
    if (pair.kind == Kind::BUFFER && choices.oneIn(60)) size = choices.hugeSize();
    Pair::both([&] { return velmor_core_riff_chunk_set_data_size(chunk.handle, size); },
               [&] { pair.model->setDataSize(chunk, size); },
               chunk.isGroup ? VELMOR_CORE_BAD_HANDLE : VELMOR_CORE_SUCCESS);
  }
  void transfer(Pair& pair, Node& chunk) {
    // A range that may end one byte past the data, or wrap around.
    const bool huge = choices.oneIn(20);
    const uint32_t at = huge ? choices.hugeSize() : choices.below(std::min(chunk.size, 300U) + 1);
    const uint32_t length = choices.below(huge ? 30 : std::min(chunk.size - at, 300U) + 2);
    const bool reads = choices.oneIn(2);
    Bytes data = choices.bytes(length);
    const auto library = [&] {
      return reads ? velmor_core_riff_chunk_get_data(chunk.handle, data.data(), length, at)
                   : velmor_core_riff_chunk_set_data(chunk.handle, data.data(), length, at);
    };
    const auto plain = [&] {
      if (!reads) return pair.model->setData(chunk, data, at);
      EXPECT_EQ(data, pair.model->getData(chunk, length, at));
    };
    Pair::both(library, plain, chunk.isGroup ? VELMOR_CORE_BAD_HANDLE : VELMOR_CORE_SUCCESS);
  }
  void recycle(Pair& pair, Node& chunk) {
    Chunk* free = chunk.handle;
    Node* result = &chunk;
    const bool done = Pair::both([&] { return velmor_core_riff_chunk_recycle(&free); },
                                 [&] { result = pair.model->recycle(chunk); },
                                 chunk.parent ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
    if (!result->handle) result->handle = free;
    EXPECT_EQ(free, result->handle);
    if (done) return;
    // The library may have changed its tree before the call failed, so open the bytes again.
    pair.compare();
    open(pair, pair.content());
  }
  void remove(Pair& pair, Node& chunk) {
    Pair::both([&] { return velmor_core_riff_chunk_remove(chunk.handle); },
               [&] { pair.model->remove(chunk); },
               chunk.parent ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE);
  }
  void clear(Pair& pair, Node& /*chunk*/) {
    velmor_core_riff_cache_clear(pair.object());
    pair.model->clear();
  }
  void reopen(Pair& pair, Node& /*chunk*/) {
    open(pair, choices.oneIn(2) ? pair.content() : choices.content());
  }
  void open(Pair& pair, const Bytes& content) {
    const size_t room = choices.oneIn(2) ? 4000 : choices.oneIn(3) ? 0 : choices.below(40);
    EXPECT_TRUE(pair.open(content, room) || pair.open({}, room));
    pair.compare();
  }

  Choices choices;
  std::vector<std::unique_ptr<Pair>> pairs;
  Pair* last = nullptr;  // the pair that was edited last
};

}  // namespace riff_model

#endif
