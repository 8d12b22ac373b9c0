// A group and its children: attaching and destroying them, and the edits at the end of a group. The
// edits that use or make free space are in free_space.cpp.

#include "riff/group_chunk.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "riff/object.h"

namespace RIFF {

namespace {

constexpr uint64_t COPY_BLOCK = 32768;

void copyBytes(Object& from, uint64_t source, Object& to, uint64_t destination, uint64_t length) {
  std::array<std::byte, COPY_BLOCK> block;
  for (uint64_t done = 0; done < length;) {
    const uint64_t piece = std::min(length - done, COPY_BLOCK);
    from.read(source + done, block.data(), piece);
    to.write(destination + done, block.data(), piece);
    done += piece;
  }
}

}  // namespace

GroupChunk::GroupChunk(Object& object, int64_t offset, FourCC id, uint32_t size, GroupChunk* parent,
                       FourCC groupId)
    : Chunk(object, offset, id, size, parent),
      children(PoolAllocator<Chunk*>(object.getPool())),
      freeList(object.getPool(), !parent),
      groupId(groupId) {
  if (parent) parent->hasHadGroups = true;
}

GroupChunk::GroupChunk(Object& object, int64_t offset, GroupChunk* parent)
    : Chunk(object, offset, parent),
      children(PoolAllocator<Chunk*>(object.getPool())),
      freeList(object.getPool(), !parent) {
  parent->hasHadGroups = true;
  object.readField(dataStart(), groupId);
}

GroupChunk::~GroupChunk() { clear(); }

// Destroys the subtree from its leaves. The file decides how deep it goes, so this neither recurses
// nor allocates: the parent links lead back up.
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

// The destructors of nodes only return memory to the pool, so they need not run. Under the address
// sanitizer, each node has memory of its own. There the nodes are destroyed one by one.
void GroupChunk::abandon() {
  if (!ChunkPool::POOLED) clear();
  freeList.clear();
  decltype(children)(children.get_allocator()).swap(children);
}

Chunk& GroupChunk::addChunk(ChunkPointer child) {
  return isFree(*child) ? attachFree(std::move(child), &FreeList::insert) : link(std::move(child));
}

Chunk& GroupChunk::attachUnsorted(ChunkPointer&& child) {
  return isFree(*child) ? attachFree(std::move(child), &FreeList::append) : link(std::move(child));
}

Chunk& GroupChunk::attachFree(ChunkPointer&& child, EnterFreeList enter) {
  FreeList::Entry entry(freeList);
  auto& attached = static_cast<DataChunk&>(link(std::move(child)));
  (freeList.*enter)(std::move(entry), attached);
  return attached;
}

// Allocates before the first link changes.
Chunk& GroupChunk::link(ChunkPointer&& child) {
  Chunk* last = getLastChild();
  children.push_back(child.get());
  Chunk& linked = *child.release();
  if (last) {
    // A free chunk that is no longer the trailing one will move when the list is next sorted.
    if (isFree(*last) && freeList.isTrailing(*last)) freeList.noteDisorder();
    last->next = &linked;
  }
  return linked;
}

GroupChunk& GroupChunk::addGroupChunk(FourCC newId, FourCC newGroupId) {
  makeRoom(1);
  const uint64_t at = object->resizeChunk(*this, GROUP_HEADER_SIZE, nullptr);
  object->writeGroupHeader(at, newId, newGroupId);
  auto group = object->makeChunk<GroupChunk>(static_cast<int64_t>(at), *this);
  return static_cast<GroupChunk&>(addChunk(std::move(group)));
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
  // An edit that failed half-way can have left an offset below 0.
  if (source.offset < 0) throw std::runtime_error("invalid read");

  const uint64_t total = source.totalSize();
  uint64_t at = object->resizeChunk(*this, static_cast<int64_t>(total), nullptr);
  // Read the offset only now: if source lies after the gap, it has moved.
  copyBytes(from, static_cast<uint64_t>(source.offset), *object, at, total);
  return addChunk(object->loadChunk(at, *this));
}

void GroupChunk::remove(Chunk& child) {
  const std::size_t index = indexOf(child);
  object->resizeChunk(*this, -static_cast<int64_t>(child.totalSize()), &child);
  if (index > 0) children[index - 1]->next = child.next;
  dropChildren(index, 1);
  // If the last top-level chunk has gone, the one before it is the trailing chunk now.
  const Chunk* last = getLastChild();
  if (index == children.size() && last && freeList.isTrailing(*last)) freeList.noteDisorder();
}

// The most frequent edit is an append at the end of a group. It needs no search.
std::span<Chunk* const> GroupChunk::childrenAfter(const Chunk& child) const {
  if (!child.next) return {};
  return std::span(children).subspan(indexOf(child) + 1);
}

// Children lie in byte order, so this bisects. After an edit that failed half-way they may be in
// another order. If the bisection then misses the child, this looks at all children.
std::size_t GroupChunk::indexOf(const Chunk& child) const {
  auto found = std::ranges::lower_bound(children, child.offset, {}, &Chunk::offset);
  if (found == children.end() || *found != &child) found = std::ranges::find(children, &child);
  return static_cast<std::size_t>(found - children.begin());
}

// Allocates for `count` more children, for one more node and for a change of the free list, so that
// an edit does not run out of memory half-way.
void GroupChunk::makeRoom(std::size_t count) {
  freeList.makeRoom();
  if (children.capacity() - children.size() < count) growChildren(count);
  object->getPool().reserveSmall();
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
