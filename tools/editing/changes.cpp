// The edits of chunks. Each checks before it changes anything.

#include "editing/changes.h"

#include <algorithm>
#include <array>
#include <memory>

#include "app/errors.h"
#include "chunks/layout.h"

namespace tool {

namespace {

// The sizes of all ancestors have 32 bits. The library lets them wrap around, so check them here.
void requireRoom(Chunk group, uint64_t growth) {
  for (; !group.isVirtualRoot(); group = group.parent()) {
    if (growth > MAX_SIZE - std::min<uint64_t>(group.dataSize(), MAX_SIZE)) {
      throw Failure(group.name() + " would grow past 4 GiB, the limit of its size field");
    }
  }
}

void requireSize(uint64_t size) {
  if (size > MAX_SIZE) throw Failure("a chunk cannot hold a value of more than 4294967294 bytes");
}

// The library does not change pad bytes. So data of odd size is first stored with a 0 after it, and
// the size counts the 0. Setting the odd size afterwards moves no bytes.
bool takeBackPadByte(const Chunk& chunk, uint64_t size) {
  return size % 2 == 0 || chunk.resize(static_cast<uint32_t>(size), std::nothrow);
}

// Whether all bytes of a data chunk or of an empty group are stored. Only a pad byte may be
// missing.
bool isStored(const Chunk& chunk) {
  std::array<char, 1> last{};
  return chunk.isGroup() || chunk.dataSize() == 0 ||
         chunk.read(last, chunk.dataSize() - 1, std::nothrow);
}

// The last data chunk or empty group inside a chunk, at any depth. If nothing is inside, the chunk
// itself.
Chunk lastInside(Chunk chunk) {
  while (chunk.childCount() > 0) chunk = Chunk(chunk.child(chunk.childCount() - 1));
  return chunk;
}

}  // namespace

void requireGrowingGroup(const Chunk& group, uint64_t growth) {
  if (!group.isGroup()) throw Failure(group.name() + " is no group: nothing can be added to it");
  requireRoom(group, growth);
}

Change setValue(const Chunk& chunk, const Value& value) {
  if (chunk.isGroup()) throw Failure(chunk.name() + " is a group: set the chunks in it");
  requireAllBytes(chunk);
  const uint64_t size = value.sizeIn(chunk.parent());
  requireSize(size);
  if (size > chunk.dataSize()) {
    requireRoom(chunk.parent(), padded(size) - padded(chunk.dataSize()));
  }
  return [chunk, size, stored = value.storedIn(chunk.parent())] {
    required("set " + chunk.name(), [&] {
      return chunk.resize(static_cast<uint32_t>(stored.size()), std::nothrow) &&
             chunk.write(stored, 0, std::nothrow) && takeBackPadByte(chunk, size);
    });
  };
}

Change addValue(const Chunk& group, uint32_t id, const Value& value) {
  const uint64_t size = value.sizeIn(group);
  requireSize(size);
  requireGrowingGroup(group, HEADER_SIZE + padded(size));
  return [group, id, size, stored = value.storedIn(group)] {
    required("add " + idText(id), [&] {
      const Chunk added(group.addData(velmor_core::Id(id), stored, std::nothrow));
      return added && takeBackPadByte(added, size);
    });
  };
}

Change addGroup(const Chunk& group, uint32_t id, uint32_t groupId) {
  requireGrowingGroup(group, GROUP_HEADER_SIZE);
  return [group, id, groupId] {
    required("add " + nameText(id, groupId), [&] {
      return group.addGroup(velmor_core::Id(id), velmor_core::GroupId(groupId), std::nothrow);
    });
  };
}

// Builds the groups and the chunk in a cache and adds the cache. The library puts the cache into
// free space if it fits there, as it does with a single chunk. Otherwise it moves the bytes after
// the group only once.
Change addNested(const Chunk& group, std::span<const PathStep> steps, const Value& value) {
  const std::size_t groups = steps.size() - 1;
  if (groups == 0) return addValue(group, steps[0].id, value);
  const auto cache = std::make_shared<Object>(
      Object::openCache(groups * GROUP_HEADER_SIZE + roomFor(value), std::nothrow));
  Chunk innermost = virtualRoot(*cache);
  for (const PathStep& step : steps.first(groups)) {
    addGroup(innermost, step.id, *step.groupId)();
    innermost = innermost.firstChild();
  }
  addValue(innermost, steps.back().id, value)();
  requireGrowingGroup(group, cache->size());
  return [group, cache, name = idText(steps.back().id)] {
    required("add " + name, [&] { return group.addCache(*cache, std::nothrow); });
  };
}

Change removeChunk(const Chunk& chunk) {
  return
      [chunk] { required("remove " + chunk.name(), [&] { return chunk.remove(std::nothrow); }); };
}

Change recycleChunk(const Chunk& chunk) {
  return [chunk] {
    Chunk recycled = chunk;
    required("recycle " + chunk.name(), [&] { return recycled.recycle(std::nothrow); });
  };
}

Change removeChunks(const Chunk& virtualRoot, std::span<const PlacedChunk> chunks) {
  if (chunks.empty()) return {};
  if (chunks.size() == 1) return removeChunk(chunks.front());  // the chunks stay loaded
  // Only the last one may reach past the end of the file.
  const Chunk last = lastInside(chunks.back());
  if (!isStored(last)) {
    errno = 0;
    throw Refused("cannot remove " + chunks.back().name());
  }
  return Cut(virtualRoot, chunks);
}

// From the last to the first: a chunk that becomes free can take in the free chunk after it, whose
// handle then ends.
Change recycleChunks(std::vector<PlacedChunk> chunks) {
  return [chunks = std::move(chunks)] {
    for (auto chunk = chunks.rbegin(); chunk != chunks.rend(); ++chunk) recycleChunk (*chunk)();
  };
}

uint64_t roomFor(const Value& value) { return value.size() + 2 * HEADER_SIZE; }

void requireAllBytes(const Chunk& chunk) {
  if (isStored(chunk)) return;
  errno = 0;  // the file ends too early, which is no system error
  throw Refused(chunk.name() + " cannot be read to its end");
}

}  // namespace tool
