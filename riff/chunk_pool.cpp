// Blocks of memory from the system.

#include "riff/chunk_pool.h"

#include <algorithm>

namespace RIFF {

ChunkPool::~ChunkPool() {
  for (Block* block = blocks.next; block != &blocks;) {
    ::operator delete(std::exchange(block, block->next));
  }
}

void* ChunkPool::addBlock(std::size_t size) {
  // cppcheck-suppress legacyUninitvar  ; it misreads the placement new
  auto* block = ::new (::operator new(sizeof(Block) + size)) Block{&blocks, blocks.next};
  block->next->previous = block;
  blocks.next = block;
  return block + 1;
}

void ChunkPool::removeBlock(void* memory) {
  Block* block = static_cast<Block*>(memory) - 1;
  block->previous->next = block->next;
  block->next->previous = block->previous;
  ::operator delete(block);
}

// Each block is four times as large as the one before, up to MAX_REST. So a small tree takes little
// memory. A larger tree has most of its memory in one block, or in several blocks of MAX_REST.
//
// Large blocks also make the next tree cheaper. malloc() adapts to the largest block that was ever
// freed: it takes later blocks of up to that size from the heap, and it returns the free end of the
// heap to the system only if that end is more than twice as large. So the memory of a freed tree
// usually stays in the heap, and the next tree uses it. Getting the memory from the system again
// would take longer than building the nodes in it.
//
// The unused end of the previous block is wasted. It is shorter than the largest small piece.
void ChunkPool::renewRest() {
  rest = static_cast<std::byte*>(addBlock(nextRest));
  restSize = nextRest;
  nextRest = std::min(4 * nextRest, MAX_REST);
}

}  // namespace RIFF
