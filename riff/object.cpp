// Loading the tree from the bytes, and the resizing that keeps both in step. A chunk in storage,
// with little-endian sizes:
//
//   data chunk   | id 4 | size 4 | data, size bytes             | pad byte if size is odd |
//   group        | id 4 | size 4 | group id 4 | child | child … | pad byte if size is odd |
//
// Top-level chunks lie back to back from offset 0 until the object's size is reached. "RIFF" and
// "LIST" are groups, every other id is data. The format is RIFF, the Resource Interchange File
// Format of Microsoft and IBM (1991).

#include "riff/object.h"

#include <array>
#include <limits>
#include <stdexcept>
#include <utility>

namespace RIFF {

namespace {

constexpr uint64_t MAX_SIZE = std::numeric_limits<int64_t>::max();

// The next chunk in the order of the offsets, among all chunks inside group. Each group comes
// before its children. Null after the last chunk. The parent links lead back up, so deep nesting
// costs no memory.
Chunk* nextInside(const GroupChunk& group, Chunk& chunk) {
  const GroupChunk* opened = asGroup(&chunk);
  if (opened && opened->getChild(0)) return opened->getChild(0);
  const Chunk* c = &chunk;
  while (c != &group && !c->getNext()) c = c->getParent();
  return c != &group ? c->getNext() : nullptr;
}

// The chunk that ends where `chunk` ends: the last child of the last child, and so on.
const Chunk& lastInside(const Chunk& chunk) {
  const Chunk* last = &chunk;
  while (!isDataChunk(*last)) {
    const Chunk* child = static_cast<const GroupChunk*>(last)->getLastChild();
    if (!child) break;
    last = child;
  }
  return *last;
}

}  // namespace

// Leaves the nodes to the pool, which owns their memory. The destructor of virtualRoot would be too
// late: pool is declared after it, so pool is destroyed first.
Object::~Object() { virtualRoot.abandon(); }

void ReturnChunk::operator()(Chunk* chunk) const {
  ChunkPool& pool = chunk->getObject().getPool();
  if (isDataChunk(*chunk)) {
    static_cast<DataChunk*>(chunk)->~DataChunk();
    pool.release(chunk, sizeof(DataChunk));
  } else {
    static_cast<GroupChunk*>(chunk)->~GroupChunk();
    pool.release(chunk, sizeof(GroupChunk));
  }
}

void Object::loadChunks(const std::byte* bytes) {
  // Signed: a file that cannot seek has the size -1 and no chunks.
  const auto end = static_cast<int64_t>(size);
  loading = bytes;
  uint64_t offset = 0;
  while (static_cast<int64_t>(offset) < end) {
    virtualRoot.attachUnsorted(loadChunk(offset, virtualRoot));
  }
  virtualRoot.sortAttached();
  loading = nullptr;
}

// A group is complete when a child ends exactly where the group ends. An empty group is complete
// after its header. If no child ends there, the chunks after the group are read as its children
// too, until a header lies outside the object and loading fails. The file decides how deep groups
// nest, so this does not recurse: the parent links lead back up.
ChunkPointer Object::loadChunk(uint64_t& offset, GroupChunk& parent) {
  ChunkPointer top;
  GroupChunk* open = &parent;
  do {
    const auto at = static_cast<int64_t>(offset);
    FourCC id;
    readField(offset, id);
    const bool isGroup = id == RIFF_ID || id == LIST_ID;
    ChunkPointer chunk =
        isGroup ? makeChunk<GroupChunk>(at, *open) : makeChunk<DataChunk>(at, *open);
    offset += isGroup ? GROUP_HEADER_SIZE : chunk->totalSize();
    GroupChunk* group = isGroup ? static_cast<GroupChunk*>(chunk.get()) : nullptr;
    if (top) {
      open->attachUnsorted(std::move(chunk));
    } else {
      top = std::move(chunk);
    }
    if (group) open = group;
    for (; open != &parent && offset == open->end(); open = open->getParent()) {
      open->sortAttached();
    }
  } while (open != &parent);
  return top;
}

void Object::writeChunkHeader(uint64_t offset, FourCC id, uint32_t dataSize) {
  const std::array<uint32_t, 2> header = {id.value, dataSize};
  write(offset, bytesOf(header), sizeof header);
}

void Object::writeGroupHeader(uint64_t offset, FourCC id, FourCC groupId) {
  const std::array<uint32_t, 3> header = {id.value, ID_SIZE, groupId.value};
  write(offset, bytesOf(header), sizeof header);
}

uint64_t Object::resizeChunk(Chunk& chunk, int64_t delta, const Chunk* removed) {
  if (&chunk == &virtualRoot && delta >= 0) {
    requireStored(virtualRoot.endOfChildren());
    const uint64_t oldSize = size;
    grow(static_cast<uint64_t>(delta));
    return oldSize;
  }
  if (delta == 0) return chunk.end();

  const uint64_t from = removed ? removed->end() : chunk.end();
  requireStored(from);
  const uint64_t tail = size - from;
  if (delta > 0) grow(static_cast<uint64_t>(delta));
  move(from, from + static_cast<uint64_t>(delta), tail);
  if (delta < 0) resize(size + static_cast<uint64_t>(delta));
  for (Chunk* c = &chunk; c->parent; c = c->parent) {
    c->setSizeField(c->size + static_cast<uint32_t>(delta));
  }
  if (removed) {
    shiftOffsets(static_cast<GroupChunk*>(&chunk), delta, removed);
  } else {
    shiftOffsets(chunk.parent, delta, &chunk);
  }
  return from;
}

void Object::grow(uint64_t delta) {
  if (size > MAX_SIZE || delta > MAX_SIZE - size) throw std::runtime_error("out of space");
  resize(size + delta);
}

// Adds delta to the offsets of chunks. If `after` is given, it is a child of group, and all later
// chunks of the object move: those after it in group, then those after group, and so on upwards.
// If it is null, all chunks inside group move. This case does not recurse, since the file decides
// how deep groups nest.
//
// The second loop takes the children of each group from its array and not along the next links. So
// the processor fetches many nodes at once, because it finds each without reading the one before.
void Object::shiftOffsets(GroupChunk* group, int64_t delta, const Chunk* after) {
  if (!after) {
    for (Chunk* c = group->getChild(0); c; c = nextInside(*group, *c)) c->offset += delta;
    return;
  }
  for (; group; group = group->parent) {
    const bool checkTypes = group->mayHoldGroups();
    for (Chunk* c : group->childrenAfter(*after)) {
      c->offset += delta;
      GroupChunk* inner = checkTypes ? asGroup(c) : nullptr;
      if (inner) shiftOffsets(inner, delta, nullptr);
    }
    after = group;
  }
}

void Object::requireStored(uint64_t upTo) {
  if (upTo <= size) return;
  if (upTo - size != 1 || !onlyPadIsMissing()) throw std::runtime_error("invalid read");
  grow(1);
}

void Object::requireComplete() const {
  if (virtualRoot.endOfChildren() > size && !onlyPadIsMissing()) {
    throw std::runtime_error("invalid read");
  }
}

void Object::requirePad(const Chunk& chunk) {
  if (chunk.end() > size && lastInside(chunk).getDataSize() % 2 != 0) requireStored(chunk.end());
}

bool Object::onlyPadIsMissing() const {
  const Chunk& last = lastInside(virtualRoot);
  return last.end() == size + 1 && last.getDataSize() % 2 != 0;
}

void Object::clear() {
  virtualRoot.clear();
  size = 0;
}

}  // namespace RIFF
