// The free space of one group: its "JUNK" data chunks, in the order in which they are used up.

#ifndef RIFF_FREE_LIST_H
#define RIFF_FREE_LIST_H

#include <cstddef>
#include <cstdint>
#include <list>

#include "riff/data_chunk.h"

namespace RIFF {

// The order: the smallest free chunk first, equal sizes in byte order, the trailing chunk last. So
// the first one that fits is the best. The trailing chunk, which can grow without moving anything,
// is taken only if no other fits.
//
// The list borrows its chunks. None is in it twice. It is sorted only at certain points of an edit.
// In between it keeps its order, even if another chunk becomes the trailing one or an entry gets
// another size. Callers see this order, so it must not be sorted at other points. `ordered` is true
// if the list is sorted now. Then a changed entry is moved to its place without a full sort.
class FreeList {
 public:
  // A list entry without its chunk. An edit allocates it before its first change, so that it cannot
  // run out of memory at its end.
  class Entry {
   public:
    explicit Entry(bool needed = true) : node(needed ? 1 : 0) {}

   private:
    friend class FreeList;
    std::list<DataChunk*> node;
  };

  // For the children of the virtual root (topLevel), or of another group.
  explicit FreeList(bool topLevel) : topLevel(topLevel) {}

  // Whether a child of the group is the last top-level chunk, which ends where the tree ends.
  bool isTrailing(const Chunk& child) const { return topLevel && !child.getNext(); }

  // Null if the list is empty.
  DataChunk* last() const { return chunks.empty() ? nullptr : chunks.back(); }
  // The first entry that can take n bytes, header included. Either its total size is n, or its data
  // size is n or more, which leaves room for a whole header after them. Null if there is none.
  DataChunk* findFitting(uint64_t n) const;

  // Enters a chunk in its place.
  void insert(Entry entry, DataChunk& chunk);
  // Enters a chunk at the end. After a run of these, call sortAppended().
  void append(Entry entry, DataChunk& chunk);
  void remove(const Chunk& chunk);
  void clear();

  // Sorts the list after `changed` has got another size or offset. `changed` need not be in it.
  void restoreOrder(const Chunk& changed);
  // Sorts the list after a run of append(). The result is as if each append() had sorted. Every
  // top-level chunk was the trailing one when it was attached, so the last one appended stays last.
  void sortAppended();
  // To be called when an entry gets another size, or another chunk becomes the trailing one, and
  // the list is not sorted at once.
  void noteDisorder() { ordered = false; }

 private:
  bool usedUpBefore(const DataChunk& a, const DataChunk& b) const;
  void sort();
  void settle(std::list<DataChunk*>::iterator entry);

  std::list<DataChunk*> chunks;
  bool ordered = true;
  bool topLevel;
};

}  // namespace RIFF

#endif
