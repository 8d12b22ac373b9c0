#include "riff/group_chunk.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "riff/memory_object.h"
#include "riff/object.h"

namespace RIFF {

namespace {

constexpr uint64_t COPY_BLOCK = 32768;
// A free chunk takes at most this many bytes in all, so that its size always fits.
constexpr uint64_t MAX_FREE_TOTAL = 0xFFFF'FFFF;

void copyBytes(Object& from, uint64_t source, Object& to, uint64_t destination, uint64_t length) {
  std::array<std::byte, COPY_BLOCK> block;
  for (uint64_t done = 0; done < length;) {
    const uint64_t piece = std::min(length - done, COPY_BLOCK);
    from.read(source + done, block.data(), piece);
    to.write(destination + done, block.data(), piece);
    done += piece;
  }
}

// Adds to chunks those that lie back to back in the `length` bytes at `offset`, to be hung under
// group.
void loadChunks(GroupChunk& group, uint64_t offset, uint64_t length,
                std::vector<ChunkPointer>& chunks) {
  for (const uint64_t end = offset + length; offset < end;) {
    chunks.push_back(group.getObject().loadChunk(offset, group));
  }
}

}  // namespace

GroupChunk::GroupChunk(Object& object, int64_t offset, FourCC id, uint32_t size, GroupChunk* parent,
                       FourCC groupId)
    : Chunk(object, offset, id, size, parent), groupId(groupId) {}

GroupChunk::GroupChunk(Object& object, int64_t offset, GroupChunk* parent)
    : Chunk(object, offset, parent) {
  object.read(dataStart(), &groupId, ID_SIZE);
}

GroupChunk::~GroupChunk() { clear(); }

// Takes the subtree down from its leaves. How deep it goes is up to the file, so this neither
// recurses nor allocates: the parent links lead back up.
void GroupChunk::clear() {
  GroupChunk* group = this;
  while (group != this || !children.empty()) {
    GroupChunk* inner = group->children.empty() ? nullptr : asGroup(group->getLastChild());
    if (inner && !inner->children.empty()) {
      group = inner;
    } else if (!group->children.empty()) {
      const ChunkPointer gone(group->children.back());
      group->children.pop_back();
    } else {
      group = group->parent;
    }
  }
  freeList.clear();
}

Chunk& GroupChunk::attach(ChunkPointer child) {
  return isFree(*child) ? attachFree(std::move(child), &FreeList::insert) : link(std::move(child));
}

Chunk& GroupChunk::attachUnsorted(ChunkPointer child) {
  return isFree(*child) ? attachFree(std::move(child), &FreeList::append) : link(std::move(child));
}

Chunk& GroupChunk::attachFree(ChunkPointer&& child, EnterFreeList enter) {
  FreeList::Entry entry;
  auto& attached = static_cast<DataChunk&>(link(std::move(child)));
  (freeList.*enter)(std::move(entry), attached);
  return attached;
}

// All memory is taken before the first link changes.
Chunk& GroupChunk::link(ChunkPointer&& child) {
  if (children.size() == children.capacity()) growChildren(1);
  if (Chunk* last = getLastChild()) {
    // A trailing free chunk is one no longer, and belongs among the others when next sorted.
    if (isFree(*last) && isTrailing(*last)) freeList.noteDisorder();
    last->next = child.get();
  }
  children.push_back(child.release());
  return *children.back();
}

GroupChunk& GroupChunk::addGroupChunk(FourCC newId, FourCC newGroupId) {
  makeRoom(1);
  const uint64_t at = object->resizeChunk(*this, GROUP_HEADER_SIZE, nullptr);
  object->writeGroupHeader(at, newId, newGroupId);
  auto group = object->makeChunk<GroupChunk>(static_cast<int64_t>(at), *this);
  return static_cast<GroupChunk&>(attach(std::move(group)));
}

Chunk& GroupChunk::addChunk(Chunk& source) {
  if (!source.parent) throw std::invalid_argument("virtual root");
  for (const GroupChunk* group = this; group; group = group->parent) {
    if (group == &source) throw std::invalid_argument("group into itself");
  }
  makeRoom(1);
  Object& from = *source.object;
  if (&from == object) {
    object->requireStored(source.end());
  } else if (source.end() > from.getSize()) {
    throw std::runtime_error("invalid read");
  }
  if (source.offset < 0) throw std::runtime_error("invalid read");  // after a failed edit

  const uint64_t total = source.totalSize();
  uint64_t at = object->resizeChunk(*this, static_cast<int64_t>(total), nullptr);
  // Read only now: source may lie behind the gap that has been opened.
  copyBytes(from, static_cast<uint64_t>(source.offset), *object, at, total);
  return attach(object->loadChunk(at, *this));
}

void GroupChunk::remove(Chunk& child) {
  const std::size_t index = indexOf(child);
  object->resizeChunk(*this, -static_cast<int64_t>(child.totalSize()), &child);
  if (index > 0) children[index - 1]->next = child.next;
  dropChildren(index, 1);
  // Where the last top-level chunk has gone, the one before it may be a free chunk that trails now.
  if (Chunk* last = getLastChild(); index == children.size() && last && isTrailing(*last)) {
    freeList.noteDisorder();
  }
}

DataChunk& GroupChunk::addDataChunk(FourCC newId, const void* data, uint32_t dataSize) {
  if (!parent) object->requireComplete();
  makeRoom(1);
  FreeList::Entry entry(newId == JUNK_ID);
  const uint64_t n = CHUNK_HEADER_SIZE + padded(dataSize);
  DataChunk* free = dataSize > 0 ? findFreeChunk(n) : nullptr;
  if (free) {
    const Reuse reuse = planReuse(*free, n, CHUNK_HEADER_SIZE + uint64_t{dataSize});
    const int64_t at = free->offset;
    object->writeChunkHeader(static_cast<uint64_t>(at), newId, dataSize);
    ChunkPointer chunk = object->makeChunk<DataChunk>(at, *this);
    auto& added = static_cast<DataChunk&>(*chunk);
    if (data) added.setData(data, dataSize, 0);
    writeRest(reuse);
    placeAdded(reuse, {&chunk, 1});
    return added;
  }
  const uint64_t at = object->resizeChunk(*this, static_cast<int64_t>(n), nullptr);
  object->writeChunkHeader(at, newId, dataSize);
  ChunkPointer chunk = object->makeChunk<DataChunk>(static_cast<int64_t>(at), *this);
  if (data && dataSize > 0) static_cast<DataChunk&>(*chunk).setData(data, dataSize, 0);
  auto& added = static_cast<DataChunk&>(link(std::move(chunk)));
  if (isFree(added)) freeList.insert(std::move(entry), added);
  return added;
}

Chunk* GroupChunk::addCache(MemoryObject& cache) {
  if (&cache == object) throw std::invalid_argument("object into itself");
  const uint64_t n = cache.getSize();
  if (n == 0) return nullptr;
  // All that is poured in has to be whole chunks.
  if (cache.getVirtualRootChunk()->endOfChildren() != n) throw std::runtime_error("invalid read");
  if (!parent) object->requireComplete();
  std::vector<ChunkPointer> added;
  added.reserve(cache.getVirtualRootChunk()->getChildCount());
  makeRoom(added.capacity());

  if (DataChunk* free = findFreeChunk(n)) {
    const Reuse reuse = planReuse(*free, n, n);
    const auto start = static_cast<uint64_t>(free->offset);
    object->write(start, cache.getBuffer(), n);
    writeRest(reuse);
    loadChunks(*this, start, n, added);
    makeRoom(added.size());
    placeAdded(reuse, added);
    return children[reuse.index];
  }
  const uint64_t at = object->resizeChunk(*this, static_cast<int64_t>(n), nullptr);
  object->write(at, cache.getBuffer(), n);
  loadChunks(*this, at, n, added);
  makeRoom(added.size());
  const std::size_t first = children.size();
  bool anyFree = false;
  for (ChunkPointer& chunk : added) {
    anyFree |= isFree(*chunk);
    attachUnsorted(std::move(chunk));
  }
  if (anyFree) sortAttached();
  return children[first];
}

DataChunk* GroupChunk::findFreeChunk(uint64_t n) {
  if (DataChunk* found = freeList.findFitting(n)) return found;
  DataChunk* last = freeList.last();
  if (!last || !isTrailing(*last) || n > MAX_FREE_TOTAL) return nullptr;
  last->setDataSize(static_cast<uint32_t>(n));
  return last;
}

// `written` is how many of the n bytes will be written. All that is, has to lie in the object: the
// free chunk itself may have been cut short.
GroupChunk::Reuse GroupChunk::planReuse(DataChunk& free, uint64_t n, uint64_t written) {
  const Reuse reuse = {free, indexOf(free), n, free.totalSize() == n};
  const uint64_t needed = reuse.exact ? written : n + CHUNK_HEADER_SIZE;
  object->requireStored(static_cast<uint64_t>(free.offset) + needed);
  return reuse;
}

void GroupChunk::writeRest(const Reuse& reuse) {
  if (reuse.exact) return;
  object->writeChunkHeader(static_cast<uint64_t>(reuse.free.offset) + reuse.n, JUNK_ID,
                           static_cast<uint32_t>(reuse.free.size - reuse.n));
}

// Last step of a reuse, which cannot fail: room has been made.
void GroupChunk::placeAdded(const Reuse& reuse, std::span<ChunkPointer> added) {
  DataChunk& free = reuse.free;
  Chunk* behind = reuse.exact ? free.next : &free;
  for (std::size_t i = 0; i < added.size(); ++i) {
    added[i]->next = i + 1 < added.size() ? added[i + 1].get() : behind;
  }
  if (reuse.index > 0) children[reuse.index - 1]->next = added.front().get();

  auto place = children.begin() + static_cast<std::ptrdiff_t>(reuse.index);
  if (reuse.exact) {
    freeList.remove(free);
    const ChunkPointer filled(std::exchange(*place++, added.front().release()));
    added = added.subspan(1);
  } else {
    free.offset += static_cast<int64_t>(reuse.n);
    free.size -= static_cast<uint32_t>(reuse.n);
    if (free.size > 0) {
      freeList.restoreOrder(free);
    } else {
      freeList.remove(free);
    }
  }
  place = children.insert(place, added.size(), nullptr);
  for (ChunkPointer& chunk : added) *place++ = chunk.release();
}

DataChunk& GroupChunk::recycle(Chunk& child) {
  const std::size_t index = indexOf(child);
  const DataChunk* previous = index > 0 ? freeChildAt(index - 1) : nullptr;
  const DataChunk* following = freeChildAt(index + 1);
  const uint64_t total = child.totalSize();
  const uint64_t before = previous ? previous->totalSize() + total : 0;
  const uint64_t behind = following ? following->totalSize() + total : 0;

  DataChunk* result = nullptr;
  if (previous && before <= MAX_FREE_TOTAL) {
    const bool both = following && before + following->totalSize() <= MAX_FREE_TOTAL;
    result = &mergeIntoPrevious(index, both);
  } else if (following && behind <= MAX_FREE_TOTAL) {
    result = &mergeIntoNext(index);
  } else if (isFree(child)) {
    result = static_cast<DataChunk*>(&child);
  } else {
    return makeFree(index);
  }
  freeList.restoreOrder(*result);
  return *result;
}

DataChunk& GroupChunk::mergeIntoPrevious(std::size_t index, bool withNext) {
  auto& previous = static_cast<DataChunk&>(*children[index - 1]);
  const std::size_t count = withNext ? 2 : 1;
  const Chunk& last = *children[index + count - 1];
  uint32_t merged = previous.size;
  for (std::size_t i = 0; i < count; ++i) {
    merged += static_cast<uint32_t>(children[index + i]->totalSize());
  }
  if (merged % 2 == 0) object->requirePad(last);
  previous.setSizeField(merged);
  previous.next = last.next;
  dropChildren(index, count);
  return previous;
}

DataChunk& GroupChunk::mergeIntoNext(std::size_t index) {
  const Chunk& child = *children[index];
  auto& next = static_cast<DataChunk&>(*children[index + 1]);
  const uint32_t merged = next.size + static_cast<uint32_t>(child.totalSize());
  object->writeChunkHeader(static_cast<uint64_t>(child.offset), JUNK_ID, merged);
  next.offset = child.offset;
  next.size = merged;
  if (index > 0) children[index - 1]->next = &next;
  dropChildren(index, 1);
  return next;
}

// The pad byte of an odd size becomes free data. A group becomes a data chunk, with all that it
// holds as the data; its size, odd only if the file had it so, stays.
DataChunk& GroupChunk::makeFree(std::size_t index) {
  Chunk& child = *children[index];
  const bool isGroup = !isDataChunk(child);
  if (!isGroup && child.size == MAX_FREE_TOTAL) throw std::length_error("chunk to large");
  if (isGroup == (child.size % 2 == 0)) object->requirePad(child);

  FreeList::Entry entry;
  if (isGroup) makeRoom(0);
  child.setId(JUNK_ID);
  if (isGroup) {
    ChunkPointer free = object->makeChunk<DataChunk>(child.offset, *this);
    free->next = child.next;
    if (index > 0) children[index - 1]->next = free.get();
    const ChunkPointer gone(std::exchange(children[index], free.release()));
  } else if (child.size % 2 != 0) {
    child.setSizeField(child.size + 1);
  }
  auto& result = static_cast<DataChunk&>(*children[index]);
  freeList.insert(std::move(entry), result);
  return result;
}

DataChunk* GroupChunk::freeChildAt(std::size_t index) const {
  if (index >= children.size() || !isFree(*children[index])) return nullptr;
  return static_cast<DataChunk*>(children[index]);
}

// Children lie in byte order. Only an edit that failed half-way can have left it otherwise.
std::size_t GroupChunk::indexOf(const Chunk& child) const {
  auto found = std::ranges::lower_bound(children, child.offset, {}, &Chunk::offset);
  if (found == children.end() || *found != &child) found = std::ranges::find(children, &child);
  return static_cast<std::size_t>(found - children.begin());
}

// Takes the memory for so many more children, and for the node of one of them, so that an edit does
// not run out of it half-way.
void GroupChunk::makeRoom(std::size_t count) {
  object->getPool().reserveNode();
  if (children.capacity() - children.size() < count) growChildren(count);
}

void GroupChunk::growChildren(std::size_t count) {
  children.reserve(std::max(children.size() + count, 2 * children.capacity()));
}

void GroupChunk::dropChildren(std::size_t index, std::size_t count) {
  const auto first = children.begin() + static_cast<std::ptrdiff_t>(index);
  const auto last = first + static_cast<std::ptrdiff_t>(count);
  std::for_each(first, last, [this](Chunk* child) {
    if (isFree(*child)) freeList.remove(*child);
    const ChunkPointer gone(child);
  });
  children.erase(first, last);
}

}  // namespace RIFF
