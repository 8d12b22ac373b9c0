// An index of a free list, which finds places in it by bisection.

#ifndef RIFF_FREE_INDEX_H
#define RIFF_FREE_INDEX_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

#include "riff/chunk_pool.h"
#include "riff/data_chunk.h"

namespace RIFF {

using FreeChunks = std::list<DataChunk*, PoolAllocator<DataChunk*>>;

// One key for each entry of the list, in the same order: by rank (see FreeList), and by offset
// where ranks are equal. A key does not hold the offset, because every edit that moves the chunk
// would have to change the key.
//
// The keys lie in short blocks, none of which is empty. So inserting or erasing a key moves few
// others, however long the list is. In one array, using up the free chunks one by one would take
// time in proportion to the square of their number.
class FreeIndex {
 public:
  struct Key {
    uint64_t rank;
    FreeChunks::iterator entry;
  };
  struct Place {
    std::size_t block;
    std::size_t index;
  };

  explicit FreeIndex(ChunkPool& pool) : blocks(PoolAllocator<Block*>(pool)) {}
  FreeIndex(const FreeIndex&) = delete;
  FreeIndex& operator=(const FreeIndex&) = delete;
  ~FreeIndex() { clear(); }

  // The place of the first key that is not before this rank and offset. If there is none, the place
  // after the last key.
  Place find(uint64_t rank, int64_t offset) const;
  // The key at a place that find() returned. Null for the place after the last key.
  const Key* at(Place place) const;
  // The place of a chunk's key. If there is none, the place after the last key.
  Place find(uint64_t rank, const Chunk& chunk) const;

  // Allocates what the next insert() needs.
  void makeRoom();
  void insert(Place place, Key key);
  void erase(Place place);
  // Inserts a key after all others, and allocates for that.
  void append(Key key);
  // Returns all memory.
  void clear();

 private:
  struct Block;

  Place end() const { return {blocks.size(), 0}; }
  ChunkPool& pool() const { return *blocks.get_allocator().pool; }

  std::vector<Block*, PoolAllocator<Block*>> blocks;  // owned, as is the spare one
  Block* spare = nullptr;                             // for insert()
};

}  // namespace RIFF

#endif
