// Random edits of the library's store and of the plain model of it, side by side: after each step
// results, trees, handles, stored bytes, sizes and the system calls on files have to agree.

#include <cstdlib>
#include <random>
#include <sstream>

#include "riff_model_pair.h"

namespace riff_model {
namespace {

class Random {
 public:
  explicit Random(uint32_t seed) : engine(seed) {}
  uint32_t below(size_t limit) { return static_cast<uint32_t>(engine() % limit); }
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
    chunks(out, 0);
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
};

std::string idText(uint32_t id) {
  std::string text;
  for (int i = 0; i < 32; i += 8) text += static_cast<char>(std::max(id >> i & 0xFF, 0x2EU));
  return text;
}

// "LIST:24{ data:12 }"; a group that is not one by its id shows its braces all the same.
std::string tree(const Node& node) {
  std::string text = idText(node.id) + ":" + std::to_string(node.size);
  if (!node.isGroup) return text;
  text += "{ ";
  for (const auto& child : node.children) text += tree(*child) + " ";
  return text + "}";
}

std::string path(const Node& node) {
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
  explicit Lockstep(uint32_t seed) : random(seed) {
    for (const Kind kind : {Kind::BUFFER, Kind::CACHE, Kind::FILE, Kind::READ_ONLY, Kind::BUFFER}) {
      pairs.push_back(std::make_unique<Pair>(kind));
      reopen(*pairs.back(), random.content());
    }
  }

  void step() {
    Pair& pair = *random.of(pairs);
    using Step = void (Lockstep::*)(Pair&);
    std::vector<Step> kinds = {&Lockstep::addData,     &Lockstep::addData, &Lockstep::addData,
                               &Lockstep::addGroup,    &Lockstep::addCopy, &Lockstep::addCache,
                               &Lockstep::setDataSize, &Lockstep::setData, &Lockstep::getData,
                               &Lockstep::recycle,     &Lockstep::recycle, &Lockstep::remove};
    if (pair.model->size > 1500) kinds.insert(kinds.end(), 3, &Lockstep::remove);
    if (random.oneIn(60)) kinds = {&Lockstep::clear, &Lockstep::reopenWithAny};
    fileCalls.clear();
    Pair::expectedCalls.clear();
    (this->*random.of(kinds))(pair);
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
        << tree(pair.model->root);
    steps.push_back(out.str());
  }
  // The library's half of a step.
  template <typename Body>
  static auto run(Body body) {
    recordFileCalls = true;
    const auto result = body();
    recordFileCalls = false;
    return result;
  }

  static void gather(Node& node, std::vector<Node*>& all) {
    all.push_back(&node);
    for (auto& child : node.children) gather(*child, all);
  }
  Node& anyChunk(const Pair& pair) {
    std::vector<Node*> all;
    gather(pair.model->root, all);
    return *random.of(all);
  }
  Node& anyGroup(const Pair& pair) {
    Node& chunk = anyChunk(pair);
    return chunk.isGroup ? chunk : *chunk.parent;
  }
  // An addition returned the chunk that stands where the model has its new one.
  static void compareAdded(const Chunk* added, const Node* node) {
    EXPECT_EQ(text(fileCalls), text(Pair::expectedCalls));
    ASSERT_EQ(added != nullptr, node != nullptr);
    if (!node) return;
    const auto index = static_cast<uint32_t>(node->parent->indexOf(node));
    EXPECT_EQ(velmor_core_riff_chunk_get_child(handle(*node->parent), index), added);
  }
  // For edits that give a status; `applies` is false if the model has none to make.
  template <typename Body>
  static void compareStatus(int32_t status, int32_t otherwise, bool applies, Body body) {
    const auto done = [&] {
      body();
      return true;
    };
    if (applies) otherwise = modelled(done) ? VELMOR_CORE_SUCCESS : VELMOR_CORE_FAILURE;
    EXPECT_EQ(text(fileCalls), text(Pair::expectedCalls));
    ASSERT_EQ(status, otherwise);
  }

  void addData(Pair& pair) {
    Node& group = anyGroup(pair);
    const uint32_t id = random.id();
    const bool huge = pair.kind == Kind::BUFFER && random.oneIn(60);
    const uint32_t size = huge ? random.hugeSize() : random.size();
    const bool null = huge || random.oneIn(4);
    const std::vector<uint8_t> data = random.bytes(null ? 0 : size);
    const Bytes bytes(data.begin(), data.end());
    log("add data to", pair, group,
        idText(id) + ":" + std::to_string(size) + (null ? ", null" : ""));
    const auto* added = run([&] {
      return velmor_core_riff_chunk_add_data_chunk(handle(group), id, null ? nullptr : data.data(),
                                                   size);
    });
    compareAdded(added, modelled([&] {
                   return pair.model->addData(group, id, null ? nullptr : &bytes, size);
                 }));
  }
  void addGroup(Pair& pair) {
    Node& group = anyGroup(pair);
    const uint32_t id = random.idOf({RIFF, LIST, LIST, JUNK, 0x42424242});
    log("add group to", pair, group, idText(id));
    const auto* added =
        run([&] { return velmor_core_riff_chunk_add_group_chunk(handle(group), id, 77); });
    compareAdded(added, modelled([&] { return pair.model->addGroup(group, id, 77); }));
  }
  void addCopy(Pair& pair) {
    const Pair& from = random.oneIn(2) ? pair : *random.of(pairs);
    Node &source = anyChunk(from), &group = anyGroup(pair);
    log("copy", from, source);
    log("  to", pair, group);
    const auto* added =
        run([&] { return velmor_core_riff_chunk_add_chunk(handle(group), handle(source)); });
    compareAdded(added, modelled([&] { return pair.model->addCopy(group, *from.model, source); }));
  }
  void addCache(Pair& pair) {
    const Pair& from = *random.of(pairs);
    Node& group = anyGroup(pair);
    log("pour", from, from.model->root);
    log("  to", pair, group);
    const auto* added =
        run([&] { return velmor_core_riff_chunk_add_cache(handle(group), from.object); });
    compareAdded(added, modelled([&] { return pair.model->addCache(group, *from.model); }));
  }
  void setDataSize(Pair& pair) {
    // Often a free chunk, which stays where it is in the free list until the next sort.
    Node& likely = anyChunk(pair);
    Node& chunk = likely.isFree() ? likely : anyChunk(pair);
    uint32_t size = random.size();
    if (random.oneIn(2)) size = chunk.size + random.below(5) - std::min(chunk.size, 2U);
    if (pair.kind == Kind::BUFFER && random.oneIn(60)) size = random.hugeSize();
    log("set data size of", pair, chunk, std::to_string(size));
    const int32_t status =
        run([&] { return velmor_core_riff_chunk_set_data_size(handle(chunk), size); });
    compareStatus(status, VELMOR_CORE_BAD_HANDLE, !chunk.isGroup,
                  [&] { pair.model->setDataSize(chunk, size); });
  }
  void setData(Pair& pair) {
    Node& chunk = anyChunk(pair);
    const auto [length, at] = anyRange(chunk);
    const std::vector<uint8_t> data = random.bytes(length);
    log("set data of", pair, chunk, std::to_string(length) + "@" + std::to_string(at));
    const int32_t status = run([&, n = length, offset = at] {
      return velmor_core_riff_chunk_set_data(handle(chunk), data.data(), n, offset);
    });
    compareStatus(status, VELMOR_CORE_BAD_HANDLE, !chunk.isGroup, [&, offset = at] {
      pair.model->setData(chunk, Bytes(data.begin(), data.end()), offset);
    });
  }
  void getData(Pair& pair) {
    Node& chunk = anyChunk(pair);
    const auto [length, at] = anyRange(chunk);
    std::vector<uint8_t> data(length);
    log("get data of", pair, chunk, std::to_string(length) + "@" + std::to_string(at));
    const int32_t status = run([&, n = length, offset = at] {
      return velmor_core_riff_chunk_get_data(handle(chunk), data.data(), n, offset);
    });
    compareStatus(status, VELMOR_CORE_BAD_HANDLE, !chunk.isGroup, [&, n = length, offset = at] {
      compareKnown(data, pair.model->getData(chunk, n, offset));
    });
  }
  // A range that may end one byte behind the data.
  std::pair<uint32_t, uint32_t> anyRange(const Node& chunk) {
    const uint32_t at = random.below(std::min(chunk.size, 300U) + 1);
    return {random.below(std::min(chunk.size - at, 300U) + 2), at};
  }
  void recycle(Pair& pair) {
    Node& chunk = anyChunk(pair);
    log("recycle", pair, chunk);
    Chunk* const before = handle(chunk);
    Chunk* free = before;
    const int32_t status = run([&] { return velmor_core_riff_chunk_recycle(&free); });
    const bool applies = chunk.parent != nullptr;
    const Node* result = nullptr;
    compareStatus(status, VELMOR_CORE_FAILURE, applies,
                  [&] { result = pair.model->recycle(chunk); });
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
    const int32_t status = run([&] { return velmor_core_riff_chunk_remove(handle(chunk)); });
    compareStatus(status, VELMOR_CORE_FAILURE, chunk.parent != nullptr,
                  [&] { pair.model->remove(chunk); });
  }
  void clear(Pair& pair) {
    log("clear", pair, pair.model->root);
    velmor_core_riff_cache_clear(pair.object);
    pair.model->clear();
  }
  void reopenWithAny(Pair& pair) {
    log("reopen", pair, pair.model->root);
    reopen(pair, random.oneIn(2) ? pair.content() : random.content());
  }
  void reopen(Pair& pair, const std::vector<uint8_t>& content) {
    const size_t room = random.oneIn(2) ? random.below(40) : 4000;
    if (!pair.open(content, room) && !pair.open({}, room)) FAIL() << "nothing does not open";
    pair.compare();
  }

  Random random;
  std::vector<std::unique_ptr<Pair>> pairs;
  std::vector<std::string> steps;
};

// To look closer at one seed, or to let many more run.
uint32_t fromEnvironment(const char* name, uint32_t otherwise) {
  const char* const value = std::getenv(name);
  return value ? static_cast<uint32_t>(std::strtoul(value, nullptr, 10)) : otherwise;
}

TEST(RiffModelTest, RandomEditsLeaveTheSameResultsTreesBytesAndSystemCalls) {
  const uint32_t first = fromEnvironment("RIFF_MODEL_SEED", 1);
  const uint32_t runs = fromEnvironment("RIFF_MODEL_RUNS", 200);
  for (uint32_t seed = first; seed < first + runs; seed++) {
    Lockstep lockstep(seed);
    for (int i = 0; i < 200; i++) {
      lockstep.step();
      if (HasFailure()) FAIL() << "seed " << seed << ", step " << i << "\n" << lockstep.lastSteps();
    }
  }
}

}  // namespace
}  // namespace riff_model
