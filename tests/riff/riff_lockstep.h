// Edits of the library's store and of the plain model of it, side by side, chosen at random or by a
// fuzzer: after each step results, trees, handles, stored bytes, sizes and the system calls on
// files have to agree.
#ifndef TESTS_RIFF_LOCKSTEP_H
#define TESTS_RIFF_LOCKSTEP_H

#include <random>
#include <span>
#include <sstream>

#include "riff_model_pair.h"

namespace riff_model {

class Choices {
 public:
  explicit Choices(uint32_t seed) : engine(seed) {}
  // Chunks come from the front of the input, all other choices from its end.
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
  // Small, so that free chunks fit now and then.
  uint32_t size() { return oneIn(30) ? below(300) : below(45); }
  uint32_t hugeSize() { return 0xFFFFFFFF - (oneIn(2) ? 0 : below(20)); }
  std::vector<uint8_t> bytes(size_t length) {
    std::vector<uint8_t> result(length);
    for (auto& byte : result) byte = static_cast<uint8_t>(engine());
    return result;
  }

  // Chunks as a file may hold them, the end missing now and then.
  std::vector<uint8_t> content() {
    std::vector<uint8_t> out;
    if (fuzzed && !oneIn(4)) {
      const auto taken = input.first(std::min<size_t>(below(2000), input.size()));
      input = input.subspan(taken.size());
      return {taken.begin(), taken.end()};
    }
    chunks(out, 0);
    // So many free chunks that a walk along them is long.
    for (uint32_t n = oneIn(30) ? 300 : 0; n > 0; n--) {
      const uint32_t size = below(40);
      put(out, {n % 2 == 0 ? JUNK : 0x61746164, size});
      out.resize(out.size() + size + size % 2);
    }
    const uint32_t end = below(6);
    if (end == 0) {  // more is claimed than there is
      put(out, {id(), oneIn(4) ? hugeSize() : 100, 7});
    } else if (end < 3) {
      out.resize(out.size() - std::min<size_t>(out.size(), oneIn(2) ? 1 : below(12)));
    }
    return out;
  }

 private:
  void chunks(std::vector<uint8_t>& out, int depth) {
    for (uint32_t n = below(5); n > 0; n--) {
      const bool group = depth < 4 && oneIn(3);
      std::vector<uint8_t> data;
      if (group) {
        put(data, {0x46464947});
        chunks(data, depth + 1);
      } else {  // now and then more than is moved or copied in one piece
        data = bytes(oneIn(100) ? below(150000) : size());
      }
      auto length = static_cast<uint32_t>(data.size());
      data.resize(length + length % 2, 0xAA);
      if (group && oneIn(6)) length--;  // the pad byte of its last child is its own, too
      put(out, {group ? idOf({RIFF, LIST}) : id(), length});
      out.insert(out.end(), data.begin(), data.end());
    }
  }
  static void put(std::vector<uint8_t>& out, const std::vector<uint32_t>& values) {
    for (const uint32_t value : values)
      for (int i = 0; i < 32; i += 8) out.push_back(static_cast<uint8_t>(value >> i));
  }

  std::mt19937 engine;
  std::span<const uint8_t> input;
  bool fuzzed = false;
};

inline std::string path(const Node& node) {
  if (!node.parent) return "";
  return path(*node.parent) + "/" + std::to_string(node.parent->indexOf(&node));
}

// The model's half of a step: null, or false, if it fails.
template <typename Body>
auto modelled(Body body) -> decltype(body()) {
  try {
    return body();
  } catch (const Failed&) {
    return {};
  }
}

class Lockstep {
 public:
  explicit Lockstep(Choices from) : choices(from) {
    for (const Kind kind : {Kind::BUFFER, Kind::CACHE, Kind::FILE, Kind::READ_ONLY, Kind::BUFFER}) {
      pairs.push_back(std::make_unique<Pair>(kind));
      reopen(*pairs.back(), choices.content());
    }
    last = pairs.front().get();
  }

  bool exhausted() const { return choices.exhausted(); }

  void step() {
    // Edits meet more often where the last one was.
    if (choices.oneIn(2)) last = choices.of(pairs).get();
    Pair& pair = *last;
    using Step = void (Lockstep::*)(Pair&);
    std::vector<Step> kinds = {&Lockstep::addData,     &Lockstep::addData,  &Lockstep::addData,
                               &Lockstep::addGroup,    &Lockstep::addCopy,  &Lockstep::addCache,
                               &Lockstep::setDataSize, &Lockstep::transfer, &Lockstep::transfer,
                               &Lockstep::recycle,     &Lockstep::recycle,  &Lockstep::remove};
    if (pair.model->size > 1500) kinds.insert(kinds.end(), 3, &Lockstep::remove);
    if (choices.oneIn(60)) kinds = {&Lockstep::clear, &Lockstep::reopenWithAny};
    Pair::expectedCalls.clear();
    (this->*choices.of(kinds))(pair);
    for (auto& each : pairs) each->compare();
  }

  std::string lastSteps() const {
    std::string text;
    for (size_t i = steps.size() > 12 ? steps.size() - 12 : 0; i < steps.size(); i++)
      text += steps[i] + "\n";
    return text;
  }

 private:
  void log(const char* what, const Pair& pair, const Node& node, const std::string& more = "") {
    static const char* const NAMES[] = {"read-only", "buffer", "cache", "file"};
    std::ostringstream out;
    out << what << ' ' << NAMES[static_cast<int>(pair.kind)] << path(node) << ' ' << more
        << "\n    in " << pair.model->size << '/' << pair.model->capacity() << ' '
        << pictureOf(pair.object());
    steps.push_back(out.str());
  }

  static void gather(Node& node, std::vector<Node*>& all) {
    all.push_back(&node);
    for (auto& child : node.children) gather(*child, all);
  }
  Node& anyChunk(const Pair& pair) {
    std::vector<Node*> all;
    gather(pair.model->root, all);
    return *choices.of(all);
  }
  Node& anyGroup(const Pair& pair) {
    Node* group = &anyChunk(pair);
    if (!group->isGroup) group = group->parent;
    std::vector<Node*> all;
    gather(pair.model->root, all);
    const auto again = std::find_if(all.begin(), all.end(),
                                    [this](const Node* node) { return node->handle == lastGroup; });
    if (again != all.end() && (*again)->isGroup && choices.oneIn(2)) group = *again;
    lastGroup = group->handle;
    return *group;
  }

  // Both halves of an addition: the chunk that the library returns stands where the model has its
  // new one.
  template <typename Library, typename Plain>
  static void add(Library library, Plain plain) {
    const Chunk* added = noted(library);
    compareAdded(added, modelled(plain));
  }
  static void compareAdded(const Chunk* added, const Node* node) {
    Pair::compareCalls();
    ASSERT_EQ(added != nullptr, node != nullptr);
    if (!node) return;
    const auto index = static_cast<uint32_t>(node->parent->indexOf(node));
    EXPECT_EQ(velmor_core_riff_chunk_get_child(handle(*node->parent), index), added);
  }
  // Both halves of an edit that gives a status; `applies` is false if the model has none to make.
  template <typename Library, typename Plain>
  static void edit(Library library, int32_t otherwise, bool applies, Plain plain) {
    const int32_t status = noted(library);
    const auto done = [&] {
      plain();
      return true;
    };
    if (applies) otherwise = modelled(done) ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE;
    Pair::compareCalls();
    ASSERT_EQ(status, otherwise);
  }

  void addData(Pair& pair) {
    Node& group = anyGroup(pair);
    const uint32_t id = choices.id();
    const bool huge = pair.kind == Kind::BUFFER && choices.oneIn(60);
    const uint32_t size = huge ? choices.hugeSize() : choices.size();
    const bool null = huge || choices.oneIn(4);
    const std::vector<uint8_t> data = choices.bytes(null ? 0 : size);
    const Bytes bytes(data.begin(), data.end());
    log("add data to", pair, group,
        std::to_string(id) + ":" + std::to_string(size) + (null ? ", null" : ""));
    add(
        [&] {
          return velmor_core_riff_chunk_add_data_chunk(handle(group), id,
                                                       null ? nullptr : data.data(), size);
        },
        [&] { return pair.model->addData(group, id, null ? nullptr : &bytes, size); });
  }
  void addGroup(Pair& pair) {
    Node& group = anyGroup(pair);
    const uint32_t id = choices.idOf({RIFF, LIST, LIST, JUNK, 0x42424242});
    log("add group to", pair, group, std::to_string(id));
    add([&] { return velmor_core_riff_chunk_add_group_chunk(handle(group), id, 77); },
        [&] { return pair.model->addGroup(group, id, 77); });
  }
  void addCopy(Pair& pair) {
    const Pair& from = choices.oneIn(2) ? pair : *choices.of(pairs);
    Node &source = anyChunk(from), &group = anyGroup(pair);
    log("copy", from, source);
    log("  to", pair, group);
    add([&] { return velmor_core_riff_chunk_add_chunk(handle(group), handle(source)); },
        [&] { return pair.model->addCopy(group, *from.model, source); });
  }
  void addCache(Pair& pair) {
    const Pair& from = *choices.of(pairs);
    Node& group = anyGroup(pair);
    log("pour", from, from.model->root);
    log("  to", pair, group);
    add([&] { return velmor_core_riff_chunk_add_cache(handle(group), from.object()); },
        [&] { return pair.model->addCache(group, *from.model); });
  }
  void setDataSize(Pair& pair) {
    // Often a free chunk, which stays where it is in the free list until the next sort.
    Node& likely = anyChunk(pair);
    Node& chunk = likely.isFree() ? likely : anyChunk(pair);
    if (chunk.parent) lastGroup = chunk.parent->handle;
    uint32_t size = choices.size();
    if (choices.oneIn(2)) size = chunk.size + choices.below(5) - std::min(chunk.size, 2U);
    if (pair.kind == Kind::BUFFER && choices.oneIn(60)) size = choices.hugeSize();
    log("set data size of", pair, chunk, std::to_string(size));
    edit([&] { return velmor_core_riff_chunk_set_data_size(handle(chunk), size); },
         VELMOR_CORE_BAD_HANDLE, !chunk.isGroup, [&] { pair.model->setDataSize(chunk, size); });
  }
  void transfer(Pair& pair) {
    Node& chunk = anyChunk(pair);
    // A range that may end one byte behind the data.
    const uint32_t at = choices.below(std::min(chunk.size, 300U) + 1);
    const uint32_t length = choices.below(std::min(chunk.size - at, 300U) + 2);
    const bool reads = choices.oneIn(2);
    std::vector<uint8_t> data = choices.bytes(length);
    log(reads ? "get data of" : "set data of", pair, chunk,
        std::to_string(length) + "@" + std::to_string(at));
    const auto transferred = [&] {
      return reads ? velmor_core_riff_chunk_get_data(handle(chunk), data.data(), length, at)
                   : velmor_core_riff_chunk_set_data(handle(chunk), data.data(), length, at);
    };
    edit(transferred, VELMOR_CORE_BAD_HANDLE, !chunk.isGroup, [&] {
      if (reads) return compareKnown(data, pair.model->getData(chunk, length, at));
      pair.model->setData(chunk, Bytes(data.begin(), data.end()), at);
    });
  }
  void recycle(Pair& pair) {
    Node& chunk = anyChunk(pair);
    log("recycle", pair, chunk);
    Chunk* const before = handle(chunk);
    Chunk* free = before;
    const Node* result = nullptr;
    edit([&] { return velmor_core_riff_chunk_recycle(&free); }, VELMOR_CORE_FAILURE,
         chunk.parent != nullptr, [&] { result = pair.model->recycle(chunk); });
    if (result) {
      compareAdded(free, result);
    } else {
      EXPECT_EQ(free, before);
      // The tree may differ from the bytes now: no ground to go on from.
      pair.compare();
      reopen(pair, pair.content());
    }
  }
  void remove(Pair& pair) {
    Node& chunk = anyChunk(pair);
    log("remove", pair, chunk);
    edit([&] { return velmor_core_riff_chunk_remove(handle(chunk)); }, VELMOR_CORE_FAILURE,
         chunk.parent != nullptr, [&] { pair.model->remove(chunk); });
  }
  void clear(Pair& pair) {
    log("clear", pair, pair.model->root);
    velmor_core_riff_cache_clear(pair.object());
    pair.model->clear();
  }
  void reopenWithAny(Pair& pair) {
    log("reopen", pair, pair.model->root);
    reopen(pair, choices.oneIn(2) ? pair.content() : choices.content());
  }
  void reopen(Pair& pair, const std::vector<uint8_t>& content) {
    const size_t room = choices.oneIn(2) ? 4000 : choices.oneIn(3) ? 0 : choices.below(40);
    if (!pair.open(content, room) && !pair.open({}, room)) FAIL() << "nothing does not open";
    pair.compare();
  }

  Choices choices;
  std::vector<std::unique_ptr<Pair>> pairs;
  Pair* last = nullptr;             // the pair that was edited last
  const void* lastGroup = nullptr;  // the handle of a group that was
  std::vector<std::string> steps;
};

}  // namespace riff_model

#endif
