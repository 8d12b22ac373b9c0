// The free space of one group: its "JUNK" data chunks, in the order in which they are used up.

#ifndef RIFF_FREE_LIST_H
#define RIFF_FREE_LIST_H

#include <cstddef>
#include <cstdint>
#include <list>

#include "riff/chunk_pool.h"
#include "riff/data_chunk.h"

namespace RIFF {

// The order: the smallest free chunk first, equal sizes in byte order, the trailing chunk last. So
// the first one that fits is the best, and the one that can grow without moving anything is taken
// when nothing else fits.
//
// The list borrows its chunks; none is in it twice. It is sorted at certain points of an edit and
// keeps that order in between, even when another chunk becomes the trailing one or an entry gets
// another size. What is found depends on that. `ordered` says whether sorting now would change
// nothing. Then one changed entry is moved to its place without comparing the others.
class FreeList {
  using List = std::list<DataChunk*, PoolAllocator<DataChunk*>>;

 public:
  // A list entry without its chunk. An edit allocates it before its first change, so that it cannot
  // run out of memory at its end.
  class Entry {
   public:
    explicit Entry(const FreeList& list, bool needed = true)
        : node(needed ? 1 : 0, nullptr, list.chunks.get_allocator()) {}

   private:
    friend class FreeList;
    List node;
  };

  // For the children of the virtual root (topLevel), or of another group.
  FreeList(ChunkPool& pool, bool topLevel)
      : chunks(PoolAllocator<DataChunk*>(pool)), topLevel(topLevel) {}

  // Whether a child of the group is the last top-level chunk, which ends where the tree ends.
  bool isTrailing(const Chunk& child) const { return topLevel && !child.getNext(); }

  // Null if the list is empty.
  DataChunk* last() const { return chunks.empty() ? nullptr : chunks.back(); }
  // The first entry that can take n bytes, header included: either they fill it exactly, or its
  // data has room for them all, so that a whole header fits after them. Null if there is none.
  DataChunk* findFitting(uint64_t n) const;

  // Enters a chunk in its place.
  void insert(Entry entry, DataChunk& chunk);
  // Enters a chunk at the end. After a run of these, call sortAppended().
  void append(Entry entry, DataChunk& chunk);
  void remove(const Chunk& chunk);
  void clear();

  // Sorts the list after `changed` has got another size or offset. `changed` need not be in it.
  void restoreOrder(const Chunk& changed);
  // Sorts the list after a run of append(), with the result of sorting after each of them. Every
  // top-level chunk was the trailing one when it was attached, so the last one appended stays last.
  void sortAppended();
  // To be called when an entry gets another size, or another chunk becomes the trailing one, and
  // the list is not sorted at once.
  void noteDisorder() { ordered = false; }

 private:
  uint64_t rankOf(const Chunk& chunk) const;
  bool usedUpBefore(const DataChunk& a, const DataChunk& b) const;
  void sort();
  void settle(List::iterator entry);

  List chunks;
  bool ordered = true;
  bool topLevel;
};

}  // namespace RIFF

#endif
