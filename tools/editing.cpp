#include "editing.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "errors.h"
#include "file.h"
#include "progress.h"
#include "survey.h"
#include "tree.h"

namespace tool {

namespace {

// 2^32 - 1 has no room for a pad byte within 32 bits, and marks an unfinished stream elsewhere.
constexpr uint64_t MAX_SIZE = 0xFFFF'FFFE;
constexpr uint64_t HEADER_SIZE = 8;
constexpr uint64_t GROUP_HEADER_SIZE = 12;

uint64_t padded(uint64_t size) { return size + size % 2; }

void requireSize(uint64_t size) {
  if (size > MAX_SIZE) throw Failure("a value of more than 4294967294 bytes fits no chunk");
}

std::string readStandardInput() {
  std::string bytes;
  std::string block(65536, '\0');
  for (std::size_t count = 1; count > 0;) {
    count = std::fread(block.data(), 1, block.size(), stdin);
    bytes.append(block, 0, count);
    requireSize(bytes.size());
  }
  if (std::ferror(stdin) != 0) throw Failure("standard input", systemError());
  return bytes;
}

std::string readFile(const std::string& name) {
  const File file(name, File::READ);
  requireSize(file.size());
  std::string bytes(file.size(), '\0');
  file.readAll(bytes.data(), bytes.size(), 0);
  return bytes;
}

// The sizes of the groups around an edit are 32 bits wide, and the store lets them wrap.
void requireRoom(Chunk group, uint64_t growth) {
  for (; !group.isVirtualRoot(); group = group.parent()) {
    if (growth > MAX_SIZE - std::min<uint64_t>(group.dataSize(), MAX_SIZE)) {
      throw Failure(group.name() + " would grow past 4 GiB, the limit of its size field");
    }
  }
}

void requireGrowingGroup(const Chunk& group, uint64_t growth) {
  if (!group.isGroup()) throw Failure(group.name() + " is no group: nothing can be added to it");
  requireRoom(group, growth);
}

// The store has no room for reasons; a damaged file is the usual one.
class Refused : public Failure {
  using Failure::Failure;
};

void require(bool done, const std::string& what) {
  if (!done) throw Refused("cannot " + what);
}

// The store leaves pad bytes as they are. So data of odd size is laid down with a 0 behind it, in
// a size that counts it, and the size is put right afterwards, which moves nothing.
std::string withPadByte(std::string bytes) {
  bytes.resize(padded(bytes.size()), '\0');
  return bytes;
}

bool takeBackPadByte(const Chunk& chunk, std::size_t size) {
  return size % 2 == 0 || chunk.resize(static_cast<uint32_t>(size), std::nothrow);
}

}  // namespace

Value::Value(const std::string& word) {
  if (word == "@-") {
    bytes = readStandardInput();
  } else if (word.starts_with("@@") || !word.starts_with("@")) {
    bytes = word.substr(word.starts_with("@") ? 1 : 0);
    isText = true;
  } else {
    bytes = readFile(word.substr(1));
  }
}

std::string Value::in(const Chunk& group) const {
  const bool endsInNul = isText && group.groupId() == ID_INFO;
  return endsInNul ? bytes + '\0' : bytes;
}

uint64_t roomFor(const Value& value) { return value.bytes.size() + 2 * HEADER_SIZE; }

void applyTo(const std::string& file, const Object& object, const Change& change) {
  try {
    change(virtualRoot(object));
  } catch (const Refused& refused) {
    const std::optional<Finding> damage = firstDamage(file);
    const std::string reason = damage ? findingText(*damage) : "the file cannot be changed";
    throw Failure(file, refused.what() + (": " + reason));
  } catch (const Failure& failure) {
    throw Failure(file, failure.what());
  }
}

int editFile(const Arguments& arguments, uint64_t room, const Change& change) {
  const std::string& file = arguments[0];
  if (arguments.has(DRY_RUN.name)) {
    const Copy copy = openCopy(file, room);
    applyTo(file, copy.object, change);
    printTree(file + ", as it would be", copy.object);
  } else {
    const Waiting waiting("editing " + file);
    const Object object = openFile(file, VELMOR_CORE_RIFF_READ_WRITE);
    applyTo(file, object, change);
  }
  return 0;
}

void setBytes(const Chunk& chunk, const std::string& bytes) {
  if (chunk.isGroup()) throw Failure(chunk.name() + " is a group: set the chunks in it");
  requireSize(bytes.size());
  requireAllBytes(chunk);
  const std::string stored = withPadByte(bytes);
  const uint64_t before = padded(chunk.dataSize());
  if (stored.size() > before) requireRoom(chunk.parent(), stored.size() - before);
  const auto size = static_cast<uint32_t>(stored.size());
  require(chunk.resize(size, std::nothrow) && chunk.write(stored, 0, std::nothrow) &&
              takeBackPadByte(chunk, bytes.size()),
          "set " + chunk.name());
}

void addBytes(const Chunk& group, uint32_t id, const std::string& bytes) {
  requireSize(bytes.size());
  const std::string stored = withPadByte(bytes);
  requireGrowingGroup(group, HEADER_SIZE + stored.size());
  const Chunk added(group.addData(velmor_core::Id(id), stored, std::nothrow));
  require(added && takeBackPadByte(added, bytes.size()), "add " + idText(id));
}

void addGroup(const Chunk& group, uint32_t id, uint32_t groupId) {
  requireGrowingGroup(group, GROUP_HEADER_SIZE);
  require(static_cast<bool>(
              group.addGroup(velmor_core::Id(id), velmor_core::GroupId(groupId), std::nothrow)),
          "add " + nameText(id, groupId));
}

void removeChunk(const Chunk& chunk) {
  const std::string name = chunk.name();
  require(chunk.remove(std::nothrow), "remove " + name);
}

void recycleChunk(const Chunk& chunk) {
  const std::string name = chunk.name();
  Chunk recycled = chunk;
  require(recycled.recycle(std::nothrow), "recycle " + name);
}

void requireAllBytes(const Chunk& chunk) {
  std::array<char, 1> last{};
  if (chunk.dataSize() > 0 && !chunk.read(last, chunk.dataSize() - 1, std::nothrow)) {
    throw Refused(chunk.name() + " cannot be read to its end");
  }
}

}  // namespace tool
