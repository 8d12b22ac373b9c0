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

// A "RIFF" or "LIST" with its group id, followed by its children back to back. It owns them.
// Whatever else points to a chunk (the next links, the free list, the handles of C callers) borrows
// it, and dangles once the chunk is removed.
//
// Between two calls, for every group:
//   1. children is in the order of the offsets; the next links repeat that order and end in null;
//      each child's parent is this group.
//   2. Children leave no gaps: the first begins 12 bytes into the group (at byte 0 of the object
//      for the virtual root), each later one where its predecessor ends, pad byte included.
//   3. The size in memory equals that in the header. Rounded up to even, it is 4 plus the total
//      sizes of the children. The virtual root has no header; its size stays 0.
//   4. freeList names free children only, none twice. Two kinds of free children stay out of it
//      until the object is opened again: a chunk with the id "JUNK" that was added into free space,
//      and a free chunk that a split has left without data.
//
// An edit that throws stops where it is: nothing is rolled back. So an edit first checks what it
// has to refuse (missing bytes, a group into itself). Then it gets the memory and file space that
// it needs, which is where most failures occur. It changes the tree last. Only addChunk(source) and
// addCache() need memory later: they build the new nodes after the bytes are written.
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
  // Whether a child may be a group. If not, loops over the children need not look at their types.
  bool mayHoldGroups() const { return hasHadGroups; }
  // The children after a child, in the order of the offsets.
  std::span<Chunk* const> childrenAfter(const Chunk& child) const;

  // Attaches a node that was read from this group's bytes: its parent is this group, and its bytes
  // follow the last child's. Takes ownership. A free chunk enters the free list.
  Chunk& addChunk(ChunkPointer child);
  // The same in two steps, so that many children are sorted once: attachUnsorted() for each, then
  // sortAttached().
  Chunk& attachUnsorted(ChunkPointer&& child);
  void sortAttached() { freeList.sortAppended(); }

  // Appends an empty group. Free space is not used for groups.
  GroupChunk& addGroupChunk(FourCC newId, FourCC newGroupId);
  // Appends a copy of source, with everything in it. Free space is not used. Source may be any
  // chunk of this object or another, and also a child of this group. It must not be a virtual root,
  // this group, or one of its ancestors. All bytes of source must be stored. There is one
  // exception: if source is in this object and only its pad byte is missing, the pad byte is added
  // first.
  Chunk& addChunk(Chunk& source);
  // Removes a child and its bytes from the object, and destroys the child.
  void remove(Chunk& child);

  // Adds a data chunk to the first chunk of the free list that fits, or else appends it. A chunk
  // without data is always appended. If data is null, the data bytes stay uninitialised.
  DataChunk& addDataChunk(FourCC newId, const void* data, uint32_t dataSize);
  // Adds all bytes of cache, which are whole chunks, to the first chunk of the free list that fits,
  // or else appends them. Uses free space even for a single chunk without data. Returns the first
  // new chunk, null if the cache is empty. The cache must not be this group's own object.
  Chunk* addCache(MemoryObject& cache);
  // Turns a child into free space and merges it with free neighbours. Moves no byte. Sizes
  // of ancestors stay. Returns the free chunk that covers the child's bytes now.
  DataChunk& recycle(Chunk& child);

  // To be called before a free child gets another size.
  void noteFreeSizeChange() { freeList.noteDisorder(); }

  // Destroys all children. Writes nothing.
  void clear();
  // The same for the virtual root of an object that ends. Leaves the nodes to the pool, which is
  // destroyed next and frees their memory.
  void abandon();

 private:
  using EnterFreeList = void (FreeList::*)(FreeList::Entry, DataChunk&);

  // How n new bytes, header included, take the place of a free chunk. Either they fill it exactly,
  // or they take its first n bytes. Then a new header after them makes the rest a free chunk.
  struct Reuse {
    DataChunk& free;
    std::size_t index;  // of free among the children
    uint64_t n;
    bool exact;
  };

  std::size_t indexOf(const Chunk& child) const;
  void makeRoom(std::size_t count);
  void growChildren(std::size_t count);
  Chunk& attachFree(ChunkPointer&& child, EnterFreeList enter);
  Chunk& link(ChunkPointer&& child);
  void dropChildren(std::size_t index, std::size_t count);

  // A free child that can take n bytes, header included. If there is none, but the last chunk of
  // the free list is the trailing chunk, grows that chunk and returns it. Null if neither is
  // possible.
  DataChunk* findFreeChunk(uint64_t n);
  DataChunk* growTrailing(uint64_t n);
  Reuse planReuse(DataChunk& free, uint64_t n, uint64_t written);
  void writeRest(const Reuse& reuse);
  void placeAdded(const Reuse& reuse, std::span<ChunkPointer> added);

  DataChunk* freeChildAt(std::size_t index) const;
  DataChunk& mergeIntoPrevious(std::size_t index, bool withNext);
  DataChunk& mergeIntoNext(std::size_t index);
  DataChunk& makeFree(std::size_t index);

  // Owned. Adding a child releases it from its ChunkPointer. Removing a child puts it into a new
  // ChunkPointer, which destroys it. These are plain pointers for speed: an edit in a wide group
  // moves the entries of later children. The vector moves plain pointers as one piece of memory,
  // but ChunkPointers one by one, at several times the cost.
  std::vector<Chunk*, PoolAllocator<Chunk*>> children;
  FreeList freeList;
  FourCC groupId;
  bool hasHadGroups = false;  // a group whose parent is this one has been built
};

// The group that a chunk is, null if it is a data chunk.
inline GroupChunk* asGroup(Chunk* chunk) {
  return chunk && !isDataChunk(*chunk) ? static_cast<GroupChunk*>(chunk) : nullptr;
}

}  // namespace RIFF

#endif
