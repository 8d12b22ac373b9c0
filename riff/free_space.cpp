// Free space of a group: finding it, adding chunks into it, and turning chunks into it. A chunk
// that fits no free space is appended to the group.

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "riff/group_chunk.h"
#include "riff/memory_object.h"
#include "riff/object.h"

namespace RIFF {

namespace {

// The largest data size. Free chunks are merged only up to this total size.
constexpr uint64_t MAX_FREE_TOTAL = 0xFFFF'FFFF;

// Builds the chunks that lie back to back in the `length` bytes at `offset`, to be attached to
// group later, and appends them to chunks.
void loadChunks(GroupChunk& group, uint64_t offset, uint64_t length,
                std::vector<ChunkPointer>& chunks) {
  for (const uint64_t end = offset + length; offset < end;) {
    chunks.push_back(group.getObject().loadChunk(offset, group));
  }
}

}  // namespace

DataChunk* GroupChunk::findFreeChunk(uint64_t n) {
  if (!freeList.last()) return nullptr;
  DataChunk* found = freeList.findFitting(n);
  return found ? found : growTrailing(n);
}

// Grows the last chunk of the free list to n data bytes, if that chunk is the trailing chunk. The
// object grows at its end and nothing moves. Null if the last chunk of the list is not the trailing
// chunk, or if n does not fit the size field.
DataChunk* GroupChunk::growTrailing(uint64_t n) {
  DataChunk* last = freeList.last();
  if (!last || !freeList.isTrailing(*last) || n > MAX_FREE_TOTAL) return nullptr;
  last->setDataSize(static_cast<uint32_t>(n));
  return last;
}

DataChunk& GroupChunk::addDataChunk(FourCC newId, const void* data, uint32_t dataSize) {
  if (!parent) object->requireComplete();
  FreeList::Entry entry(freeList, newId == JUNK_ID);
  makeRoom(1);
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
  // The bytes have to be whole chunks.
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

// The edit will write the first `written` of the n bytes, and the header of the rest if there is
// one. Makes sure that these bytes are stored, since the object may end inside the free chunk.
GroupChunk::Reuse GroupChunk::planReuse(DataChunk& free, uint64_t n, uint64_t written) {
  const Reuse reuse = {free, indexOf(free), n, free.totalSize() == n};
  const uint64_t needed = reuse.exact ? written : n + CHUNK_HEADER_SIZE;
  object->requireStored(static_cast<uint64_t>(free.offset) + needed);
  return reuse;
}

// Writes the header of what remains of the free chunk after its first n bytes.
void GroupChunk::writeRest(const Reuse& reuse) {
  if (reuse.exact) return;
  reuse.free.writeHeader(reuse.free.offset + static_cast<int64_t>(reuse.n),
                         static_cast<uint32_t>(reuse.free.size - reuse.n));
}

// The last step of a reuse, which changes the tree. It cannot fail, since makeRoom() has run.
void GroupChunk::placeAdded(const Reuse& reuse, std::span<ChunkPointer> added) {
  DataChunk& free = reuse.free;
  Chunk* after = reuse.exact ? free.next : &free;
  for (std::size_t i = 0; i < added.size(); ++i) {
    added[i]->next = i + 1 < added.size() ? added[i + 1].get() : after;
  }
  if (reuse.index > 0) children[reuse.index - 1]->next = added.front().get();

  auto place = children.begin() + static_cast<std::ptrdiff_t>(reuse.index);
  if (reuse.exact) {
    freeList.remove(free);
    const ChunkPointer filled(std::exchange(*place++, added.front().release()));
    added = added.subspan(1);
  } else {
    const auto shrink = [&] {
      free.offset += static_cast<int64_t>(reuse.n);
      free.size -= static_cast<uint32_t>(reuse.n);
    };
    if (free.size > reuse.n) {
      freeList.change(free, shrink);
    } else {
      freeList.remove(free);
      shrink();
    }
  }
  place = children.insert(place, added.size(), nullptr);
  for (ChunkPointer& chunk : added) *place++ = chunk.release();
}

DataChunk& GroupChunk::recycle(Chunk& child) {
  freeList.makeRoom();
  const std::size_t index = indexOf(child);
  const DataChunk* previous = index > 0 ? freeChildAt(index - 1) : nullptr;
  const DataChunk* following = freeChildAt(index + 1);
  const uint64_t total = child.totalSize();
  const uint64_t before = previous ? previous->totalSize() + total : 0;
  const uint64_t after = following ? following->totalSize() + total : 0;

  if (previous && before <= MAX_FREE_TOTAL) {
    const bool both = following && before + following->totalSize() <= MAX_FREE_TOTAL;
    return mergeIntoPrevious(index, both);
  }
  if (following && after <= MAX_FREE_TOTAL) return mergeIntoNext(index);
  if (!isFree(child)) return makeFree(index);
  freeList.change(child, [] {});  // nothing changes, but the list is sorted
  return static_cast<DataChunk&>(child);
}

DataChunk& GroupChunk::mergeIntoPrevious(std::size_t index, bool withNext) {
  auto& previous = static_cast<DataChunk&>(*children[index - 1]);
  const std::size_t count = withNext ? 2 : 1;
  const Chunk& last = *children[index + count - 1];
  uint32_t merged = previous.size;
  for (std::size_t i = 0; i < count; ++i) {
    merged += static_cast<uint32_t>(children[index + i]->totalSize());
  }
  // If the merged size is even, the last chunk's pad byte becomes free data.
  if (merged % 2 == 0) object->requirePad(last);
  freeList.change(previous, [&] {
    previous.setSizeField(merged);
    previous.next = last.next;
  });
  dropChildren(index, count);
  return previous;
}

DataChunk& GroupChunk::mergeIntoNext(std::size_t index) {
  const Chunk& child = *children[index];
  auto& next = static_cast<DataChunk&>(*children[index + 1]);
  const uint32_t merged = next.size + static_cast<uint32_t>(child.totalSize());
  next.writeHeader(child.offset, merged);
  freeList.change(next, [&] {
    next.offset = child.offset;
    next.size = merged;
  });
  if (index > 0) children[index - 1]->next = &next;
  dropChildren(index, 1);
  return next;
}

// Makes a child a free chunk, without merging it with its neighbours. A data chunk of odd size gets
// one byte longer: its pad byte becomes data. A group becomes a data chunk of the same size, with
// everything in it as the data. That size is even, unless the file stated an odd one.
DataChunk& GroupChunk::makeFree(std::size_t index) {
  Chunk& child = *children[index];
  const bool isGroup = !isDataChunk(child);
  if (!isGroup && child.size == MAX_FREE_TOTAL) throw std::length_error("chunk to large");
  // Whether a pad byte becomes data: the child's own, or that of the last chunk in a group.
  const bool takesPad = isGroup ? child.size % 2 == 0 : child.size % 2 != 0;
  if (takesPad) object->requirePad(child);

  FreeList::Entry entry(freeList);
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

}  // namespace RIFF
