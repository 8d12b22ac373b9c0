// Blocks of memory from the system.

#include "riff/chunk_pool.h"

#include <algorithm>

namespace RIFF {

ChunkPool::~ChunkPool() {
  while (blocks.next != &blocks) removeBlock(blocks.next + 1);
}

void* ChunkPool::addBlock(std::size_t size) {
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

// Sizes double, so that a small tree takes little memory and a large one few allocations. What
// remains of the last block, less than one small piece, is wasted.
void ChunkPool::renewRest() {
  rest = static_cast<std::byte*>(addBlock(nextRest));
  restSize = nextRest;
  nextRest = std::min(2 * nextRest, MAX_REST);
}

}  // namespace RIFF
