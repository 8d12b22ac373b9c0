// Cutting nodes from blocks of memory.

#include "riff/chunk_pool.h"

#include <algorithm>

namespace RIFF {

void* ChunkPool::allocate(std::size_t size) {
  if (!POOLED) return ::operator new(size);
  const std::size_t units = toUnits(size);
  if (FreeNode* node = freeNodes[units]) {
    freeNodes[units] = node->next;
    return node;
  }
  if (restSize < units * UNIT) addBlock();
  restSize -= units * UNIT;
  return std::exchange(rest, rest + units * UNIT);
}

// Block sizes double, so that a small tree takes little memory and a large one few allocations. The
// rest of the last block, less than one node, is wasted.
void ChunkPool::addBlock() {
  blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(nextBlock));
  rest = blocks.back().get();
  restSize = nextBlock;
  nextBlock = std::min(2 * nextBlock, MAX_BLOCK);
}

}  // namespace RIFF
