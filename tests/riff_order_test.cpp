// The order in which edits reach the storage, and what a storage that fails at any of these steps
// leaves behind.

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "riff/cache_object.h"
#include "support/riff_support.h"

namespace RIFF {
namespace {

// Writes down each operation, and fails at the one whose turn it is.
class RecordingObject : public MemoryObject {
 public:
  explicit RecordingObject(Bytes& buffer, uint64_t content)
      : MemoryObject(buffer.data(), content, buffer.size()) {}

  void resize(uint64_t newSize) override {
    record("resize " + std::to_string(newSize));
    MemoryObject::resize(newSize);
  }
  void read(uint64_t offset, void* destination, uint64_t length) override {
    record("read " + std::to_string(offset) + "+" + std::to_string(length));
    MemoryObject::read(offset, destination, length);
  }
  void write(uint64_t offset, const void* source, uint64_t length) override {
    record("write " + std::to_string(offset) + "+" + std::to_string(length));
    MemoryObject::write(offset, source, length);
  }
  void move(uint64_t source, uint64_t destination, uint64_t length) override {
    record("move " + std::to_string(source) + ">" + std::to_string(destination) + " " +
           std::to_string(length));
    MemoryObject::move(source, destination, length);
  }

  std::vector<std::string> log;
  size_t failAt = ~size_t{0};

 private:
  void record(std::string operation) {
    if (log.size() == failAt) throw std::runtime_error("failed on demand");
    log.push_back(std::move(operation));
  }
};

struct Step {
  const char* name;
  const char* before;
  std::function<void(GroupChunk& root)> edit;
  std::vector<std::string> log;
};

GroupChunk& groupAt(GroupChunk& group, uint32_t index) {
  return static_cast<GroupChunk&>(*group.getChild(index));
}

DataChunk& dataAt(GroupChunk& group, uint32_t index) {
  return static_cast<DataChunk&>(*group.getChild(index));
}

const FourCC NEW('n', 'e', 'w', ' ');

const std::vector<Step> STEPS = {
    {"grow",
     "LIST:a{ LIST:b{ x:4 } y:2 }",
     [](GroupChunk& root) { dataAt(groupAt(groupAt(root, 0), 0), 0).setDataSize(7); },
     {"resize 50", "move 36>40 10", "write 28+4", "write 16+4", "write 4+4", "write 28+4"}},
    {"grow by an even size",
     "x:4 y:2",
     [](GroupChunk& root) { dataAt(root, 0).setDataSize(6); },
     {"resize 24", "move 12>14 10", "write 4+4"}},
    {"grow into the pad byte",
     "x:3 y:2",
     [](GroupChunk& root) { dataAt(root, 0).setDataSize(4); },
     {"write 4+4"}},
    {"cut",
     "LIST:a{ x:9 y:2 }",
     [](GroupChunk& root) { dataAt(groupAt(root, 0), 0).setDataSize(3); },
     {"move 30>24 10", "resize 34", "write 16+4", "write 4+4"}},
    {"same size", "x:4", [](GroupChunk& root) { dataAt(root, 0).setDataSize(4); }, {}},
    {"remove",
     "LIST:a{ x:9 y:2 } z:0",
     [](GroupChunk& root) { groupAt(root, 0).remove(dataAt(groupAt(root, 0), 0)); },
     {"move 30>12 18", "resize 30", "write 4+4"}},
    {"remove at the top",
     "x:4 y:2",
     [](GroupChunk& root) { root.remove(dataAt(root, 0)); },
     {"move 12>0 10", "resize 10"}},
    {"add a group",
     "LIST:a{ } z:0",
     [](GroupChunk& root) { groupAt(root, 0).addGroupChunk(NEW, NEW); },
     {"resize 32", "move 12>24 8", "write 4+4", "write 12+12", "read 12+4", "read 16+4",
      "read 20+4"}},
    {"append data",
     "LIST:a{ } z:0",
     [](GroupChunk& root) { groupAt(root, 0).addDataChunk(NEW, "abc", 3); },
     {"resize 32", "move 12>24 8", "write 4+4", "write 12+8", "read 12+4", "read 16+4",
      "write 20+3"}},
    {"append at the top",
     "z:0",
     [](GroupChunk& root) { root.addDataChunk(NEW, nullptr, 3); },
     {"resize 20", "write 8+8", "read 8+4", "read 12+4"}},
    {"fill exactly",
     "LIST:a{ JUNK:4 }",
     [](GroupChunk& root) { groupAt(root, 0).addDataChunk(NEW, "abc", 3); },
     {"write 12+8", "read 12+4", "read 16+4", "write 20+3"}},
    {"split",
     "LIST:a{ JUNK:14 }",
     [](GroupChunk& root) { groupAt(root, 0).addDataChunk(NEW, "abc", 3); },
     {"write 12+8", "read 12+4", "read 16+4", "write 20+3", "write 24+8"}},
    {"grow the trailing free chunk",
     "JUNK:4",
     [](GroupChunk& root) { root.addDataChunk(NEW, "abcdef", 6); },
     {"resize 22", "move 12>22 0", "write 4+4", "write 0+8", "read 0+4", "read 4+4", "write 8+6",
      "write 14+8"}},
    {"copy",
     "LIST:a{ x:2 } y:40000",
     [](GroupChunk& root) { groupAt(root, 0).addChunk(dataAt(root, 1)); },
     {"resize 80038", "move 22>40030 40008", "write 4+4", "read 40030+32768", "write 22+32768",
      "read 72798+7240", "write 32790+7240", "read 22+4", "read 22+4", "read 26+4"}},
    {"recycle into the previous",
     "JUNK:2 x:3 JUNK:4 y:1",
     [](GroupChunk& root) { root.recycle(dataAt(root, 1)); },
     {"write 4+4"}},
    {"recycle into the next",
     "x:3 JUNK:4",
     [](GroupChunk& root) { root.recycle(dataAt(root, 0)); },
     {"write 0+8"}},
    {"recycle data",
     "x:3 y:1",
     [](GroupChunk& root) { root.recycle(dataAt(root, 0)); },
     {"write 0+4", "write 4+4"}},
    {"recycle a group",
     "LIST:a{ x:3 }",
     [](GroupChunk& root) { root.recycle(groupAt(root, 0)); },
     {"write 0+4", "read 0+4", "read 4+4"}},
    {"recycle free space", "JUNK:3", [](GroupChunk& root) { root.recycle(dataAt(root, 0)); }, {}},
};

const std::vector<Step> POURS = {
    {"pour behind",
     "LIST:a{ } z:0",
     nullptr,
     {"resize 50", "move 12>42 8", "write 4+4", "write 12+30", "read 12+4", "read 12+4",
      "read 16+4", "read 20+4", "read 24+4", "read 24+4", "read 28+4", "read 34+4", "read 34+4",
      "read 38+4"}},
    {"pour and split",
     "LIST:a{ JUNK:30 }",
     nullptr,
     {"write 12+30", "write 42+8", "read 12+4", "read 12+4", "read 16+4", "read 20+4", "read 24+4",
      "read 24+4", "read 28+4", "read 34+4", "read 34+4", "read 38+4"}},
};

void run(const Step& step, GroupChunk& root) {
  if (step.edit) return step.edit(root);
  Bytes content = bytesOf("LIST:b{ x:1 } y:0");
  MemoryObject cache(content.data(), content.size());
  groupAt(root, 0).addCache(cache);
}

// Whatever fails: the tree can be walked, edited further and taken down, and if nothing had been
// done before, nothing has changed.
void checkFailures(const Step& step) {
  for (size_t failAt = 0; failAt < step.log.size(); ++failAt) {
    SCOPED_TRACE(testing::Message() << "failing at " << failAt);
    Bytes buffer = bytesOf(step.before);
    const size_t content = buffer.size();
    buffer.resize(100'000);
    const Bytes before = buffer;
    RecordingObject object(buffer, content);
    object.failAt = failAt;
    EXPECT_THROW(run(step, *object.getVirtualRootChunk()), std::runtime_error);
    if (failAt == 0) {
      EXPECT_EQ(buffer, before);
    }
    object.failAt = ~size_t{0};
    auto* handle = reinterpret_cast<::Object*>(static_cast<Object*>(&object));
    EXPECT_FALSE(pictureOf(handle).empty());
    // Size fields and ids change in the node before they do in the bytes.
    const bool inNodeFirst = step.log[0].starts_with("write") && step.log[0].ends_with("+4");
    if (failAt == 0 && !inNodeFirst) {
      EXPECT_EQ(pictureOf(handle), step.before);
    }
    GroupChunk& root = *object.getVirtualRootChunk();
    while (root.getChildCount() > 0) {
      try {
        root.remove(*root.getChild(0));
      } catch (const std::exception&) {
        break;
      }
    }
  }
}

TEST(StorageOrderTest, EachEditReachesTheStorageStepByStep) {
  std::vector<Step> steps = STEPS;
  steps.insert(steps.end(), POURS.begin(), POURS.end());
  for (const Step& step : steps) {
    SCOPED_TRACE(step.name);
    Bytes buffer = bytesOf(step.before);
    const size_t content = buffer.size();
    buffer.resize(100'000);
    RecordingObject object(buffer, content);
    run(step, *object.getVirtualRootChunk());
    EXPECT_EQ(object.log, step.log);
    checkFailures(step);
  }
}

}  // namespace
}  // namespace RIFF
