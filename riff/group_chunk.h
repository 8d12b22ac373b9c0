// A chunk that holds other chunks, and the edits of what it holds.

#ifndef RIFF_GROUP_CHUNK_H
#define RIFF_GROUP_CHUNK_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "riff/chunk.h"
#include "riff/chunk_pool.h"
#include "riff/data_chunk.h"
#include "riff/free_list.h"

namespace RIFF {

class MemoryObject;

// A "RIFF" or "LIST" with its group id and, back to back behind it, its children. It owns them.
// Whatever else points at a chunk (the next links, the free list, the handles of C callers) borrows
// it, and dangles once the chunk is removed.
//
// Between two calls, for every group:
//   1. children is in byte order; the next links repeat that order and end in null; each child's
//      parent is this group.
//   2. Children leave no gaps: the first begins 12 bytes into the group (at byte 0 of the object
//      for the virtual root), each later one where its predecessor ends, pad byte included.
//   3. The size, in memory and in the header, rounded up to even, is 4 plus the children's total
//      sizes. The virtual root has no header; its size stays 0.
//   4. freeList names free children only, none twice. Not every free child is in it: one that was
//      added or poured in under the id "JUNK" where a free chunk lay, and one that a split has left
//      with no data, stay out until the object is opened anew.
//
// An edit that throws leaves bytes and tree as far as it got; nothing is rolled back. So edits ask
// for room first, which is where they usually fail, and change the tree last. What an edit refuses
// (missing bytes, a group into itself) it refuses before the first change.
class GroupChunk : public Chunk {
 public:
  GroupChunk(Object& object, int64_t offset, FourCC id, uint32_t size, GroupChunk* parent,
             FourCC groupId);
  // Reads the header at offset; the children are attached later.
  GroupChunk(Object& object, int64_t offset, GroupChunk* parent);
  ~GroupChunk() override;

  FourCC getGroupId() const { return groupId; }
  uint32_t getChildCount() const { return static_cast<uint32_t>(children.size()); }
  Chunk* getChild(uint32_t index) const {
    return index < children.size() ? children[index] : nullptr;
  }
  Chunk* getLastChild() const { return children.empty() ? nullptr : children.back(); }

  // Hangs a child, whose bytes lie behind the others and whose parent is this group, behind the
  // others; takes ownership. A free chunk enters the free list.
  Chunk& attach(ChunkPointer child);
  // The same in two steps, for many children: attachUnsorted() for each, then sortAttached().
  Chunk& attachUnsorted(ChunkPointer child);
  void sortAttached() { freeList.sortAppended(); }

  // Appends an empty group. Free space is not used for groups.
  GroupChunk& addGroupChunk(FourCC newId, FourCC newGroupId);
  // Appends a copy of source and everything in it, from this object or another. Source must have a
  // header (no virtual root), hold all its bytes, and must not contain this group.
  Chunk& addChunk(Chunk& source);
  // Takes a child and its bytes out of the object; destroys the child.
  void remove(Chunk& child);

  // Adds a data chunk where a free chunk fits best, else behind the last child. The data bytes stay
  // as the storage holds them if data is null.
  DataChunk& addDataChunk(FourCC newId, const void* data, uint32_t dataSize);
  // Adds all bytes of cache, which are whole chunks, in the same way. Returns the first chunk, null
  // if the cache is empty. The cache must not be this group's own object.
  Chunk* addCache(MemoryObject& cache);
  // Makes a child free space, joined with free neighbours. Moves no byte and changes no other size.
  // Returns the free chunk that covers the child's bytes now.
  DataChunk& recycle(Chunk& child);

  // A free child that can take n bytes, header included; null if there is none. The trailing chunk
  // grows if nothing else fits.
  DataChunk* findFreeChunk(uint64_t n);
  // To be called before a free child gets another size.
  void noteFreeSizeChange() { freeList.noteDisorder(); }

  // Destroys all children, bytes untouched.
  void clear();

 private:
  using EnterFreeList = void (FreeList::*)(FreeList::Entry, DataChunk&);

  // New bytes in the place of a free chunk: all of it, or its first n bytes; what remains keeps a
  // header of its own behind them.
  struct Reuse {
    DataChunk& free;
    std::size_t index;
    uint64_t n;
    bool exact;
  };

  std::size_t indexOf(const Chunk& child) const;
  void makeRoom(std::size_t count);
  void growChildren(std::size_t count);
  Chunk& attachFree(ChunkPointer&& child, EnterFreeList enter);
  Chunk& link(ChunkPointer&& child);
  void dropChildren(std::size_t index, std::size_t count);

  Reuse planReuse(DataChunk& free, uint64_t n, uint64_t written);
  void writeRest(const Reuse& reuse);
  void placeAdded(const Reuse& reuse, std::span<ChunkPointer> added);

  DataChunk* freeChildAt(std::size_t index) const;
  DataChunk& mergeIntoPrevious(std::size_t index, bool withNext);
  DataChunk& mergeIntoNext(std::size_t index);
  DataChunk& makeFree(std::size_t index);

  // Owned: link() and placeAdded() take them from their ChunkPointers, dropChildren() and clear()
  // hand them back. Plain pointers, since an edit in a wide group moves those behind it as bytes,
  // where owning ones would be moved one by one, at several times the cost.
  std::vector<Chunk*> children;
  FreeList freeList;
  FourCC groupId;
};

// The group that a chunk is, null if it is a data chunk.
inline GroupChunk* asGroup(Chunk* chunk) {
  return chunk && !isDataChunk(*chunk) ? static_cast<GroupChunk*>(chunk) : nullptr;
}

}  // namespace RIFF

#endif
