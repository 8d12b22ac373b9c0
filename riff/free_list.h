// The free space of one group: its "JUNK" data chunks, in the order in which they are used up.

#ifndef RIFF_FREE_LIST_H
#define RIFF_FREE_LIST_H

#include <cstddef>
#include <cstdint>
#include <utility>

#include "riff/free_index.h"

namespace RIFF {

// The order: the smallest free chunk first, equal sizes in byte order, the trailing chunk last. So
// the first one that fits is also the smallest that fits. The trailing chunk, which can grow
// without moving anything, is taken only if no other fits.
//
// The list borrows its chunks. None is in it twice. It is sorted only at certain points of an edit.
// In between it keeps its order, even if another chunk becomes the trailing one or an entry gets
// another size. The order decides which free chunk an edit uses. riff.h tells callers at which
// points the list is sorted. Do not sort the list at other points. `ordered` is true while the list
// is sorted. Then an entry that changes moves to its place, and the other entries stay where they
// are.
//
// After a long walk along the list, the next edit makes an index of it. While the list is in order,
// the index finds all places. A full sort ends the index, and the next edit makes a new one.
class FreeList {
 public:
  // A list entry without its chunk. An edit allocates it before its first change, so that it cannot
  // run out of memory at its end.
  class Entry {
   public:
    explicit Entry(const FreeList& list, bool needed = true)
        : node(needed ? 1 : 0, nullptr, list.chunks.get_allocator()) {}

   private:
    friend class FreeList;
    FreeChunks node;
  };

  // For the children of the virtual root (topLevel), or of another group.
  FreeList(ChunkPool& pool, bool topLevel)
      : chunks(PoolAllocator<DataChunk*>(pool)), index(pool), topLevel(topLevel) {}

  // Whether a child of the group is the last top-level chunk, which ends where the tree ends.
  bool isTrailing(const Chunk& child) const { return topLevel && !child.getNext(); }

  // Null if the list is empty.
  DataChunk* last() const { return chunks.empty() ? nullptr : chunks.back(); }
  // The first entry that can take n bytes, header included. Either its total size is n, or its data
  // size is n or more, which leaves room for a whole header after them. Null if there is none.
  DataChunk* findFitting(uint64_t n);

  // To be called before an edit: allocates what one insert() or change() needs besides the entry.
  // Does not fail.
  void makeRoom() {
    if (ordered && walkedFar) makeRoomInIndex();
  }
  // Enters a chunk in its place.
  void insert(Entry entry, DataChunk& chunk);
  // Enters a chunk at the end. After a run of these, call sortAppended().
  void append(Entry entry, DataChunk& chunk);
  void remove(const Chunk& chunk);
  void clear();

  // Runs an edit that gives a chunk another size or offset, and then sorts the list. The chunk need
  // not be in the list. If the edit throws, the list is not sorted and counts as out of order.
  template <typename Edit>
  void change(const Chunk& chunk, Edit edit) {
    const uint64_t oldRank = rankOf(chunk);
    const bool wasOrdered = std::exchange(ordered, false);
    edit();
    ordered = wasOrdered;
    restoreOrder(chunk, oldRank);
  }
  // Sorts the list after a run of append(). The result is the order that a sort after each append()
  // would give. A chunk appended to the list of the virtual root is the trailing chunk at that
  // time, and a sort puts the trailing chunk last. So the chunk appended last stays last, whatever
  // its size, even if other chunks that are not free have been attached after it.
  void sortAppended();
  // To be called when an entry gets another size, or another chunk becomes the trailing one, and
  // the list is not sorted at once.
  void noteDisorder() { ordered = false; }

 private:
  // The data size; for the trailing chunk, a number above all data sizes.
  uint64_t rankOf(const Chunk& chunk) const;
  bool usedUpBefore(const DataChunk& a, const DataChunk& b) const;
  void restoreOrder(const Chunk& changed, uint64_t oldRank);
  void makeRoomInIndex();
  void fillIndex();
  bool canBisect() const { return ordered && indexed; }
  void sort();
  // Move an entry to its place among the others.
  void place(FreeChunks::iterator entry);
  void placeByWalk(FreeChunks::iterator entry);
  FreeChunks::iterator walkTo(const Chunk& chunk);
  void noteWalk(std::size_t steps);

  FreeChunks chunks;
  FreeIndex index;
  bool ordered = true;
  bool indexed = false;    // index has the keys of the list, as long as the list is in order
  bool walkedFar = false;  // an index saves more time than it takes
  bool topLevel;
};

}  // namespace RIFF

#endif
