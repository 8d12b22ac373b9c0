// Blocks of memory from the system.

#include "riff/chunk_pool.h"

#include <algorithm>

namespace RIFF {

ChunkPool::~ChunkPool() {
  while (blocks.next != &blocks) removeBlock(blocks.next + 1);
}

void* ChunkPool::addBlock(std::size_t size) {
  // cppcheck-suppress legacyUninitvar  ; it takes the placement for an uninitialised variable
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

// Sizes grow fourfold, so that a small tree takes little memory, and most memory of a large one is
// in one block. Then malloc() keeps that memory for the next tree: it returns to the system what is
// free at the end of the heap only if that is more than twice the largest block that was ever
// freed, and getting it anew costs more than building the nodes in it. Of the last block, less than
// one small piece is wasted.
void ChunkPool::renewRest() {
  rest = static_cast<std::byte*>(addBlock(nextRest));
  restSize = nextRest;
  nextRest = std::min(4 * nextRest, MAX_REST);
}

}  // namespace RIFF
