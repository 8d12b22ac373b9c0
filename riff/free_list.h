// The free space of one group: its "JUNK" data chunks, in the order in which they are used up.

#ifndef RIFF_FREE_LIST_H
#define RIFF_FREE_LIST_H

#include <cstddef>
#include <cstdint>
#include <list>

#include "riff/data_chunk.h"

namespace RIFF {

// Whether the chunk ends where its object's tree ends: the last top-level chunk.
bool isTrailing(const Chunk& chunk);

// The order of the list: the smallest free chunk first, equal ones in byte order, and the trailing
// one behind all others, since it alone can grow without moving anything.
bool usedUpBefore(const DataChunk& a, const DataChunk& b);

// Borrows the chunks that it names; none is in it twice.
//
// The list is sorted at certain points of an edit and keeps that order in between, even where
// another chunk has become the trailing one or an entry has got another size meanwhile; what is
// found depends on it. `ordered` tells whether sorting now would change nothing, which lets a
// single changed entry be put into its place without comparing the others.
class FreeList {
 public:
  // A list entry without its chunk, taken before an edit begins so that nothing fails at its end.
  class Entry {
   public:
    explicit Entry(bool needed = true) : node(needed ? 1 : 0) {}

   private:
    friend class FreeList;
    std::list<DataChunk*> node;
  };

  bool empty() const { return chunks.empty(); }
  DataChunk* last() const { return chunks.empty() ? nullptr : chunks.back(); }

  // The first entry that can take n bytes, header included: it is filled exactly, or a whole header
  // fits behind them. Null if there is none.
  DataChunk* findFitting(uint64_t n) const;

  // Enters a chunk in its place.
  void insert(Entry entry, DataChunk& chunk);
  // Enters a chunk behind the others; sortAppended() follows once all have come.
  void append(Entry entry, DataChunk& chunk);
  void remove(const Chunk& chunk);
  void clear();

  // Sorts the list, of which at most `changed` is out of place if it was in order before. `changed`
  // need not be in the list.
  void restoreOrder(const Chunk& changed);
  // Sorts after a run of attached chunks as if it had been done at each: at that moment a top-level
  // chunk was the trailing one, and the last one appended stays behind the others.
  void sortAppended();
  // An entry has got another size, or another chunk has become the trailing one.
  void noteDisorder() { ordered = false; }

 private:
  void sort();
  void settle(std::list<DataChunk*>::iterator entry);

  std::list<DataChunk*> chunks;
  bool ordered = true;
};

}  // namespace RIFF

#endif
