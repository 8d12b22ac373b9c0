#include "riff/chunk_pool.h"

#include <algorithm>

#include "riff/group_chunk.h"
#include "riff/object.h"

namespace RIFF {

namespace {

// The address sanitizer sees a stale handle only if each node has memory of its own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool POOLED = false;
#elif defined(__has_feature)
constexpr bool POOLED = !__has_feature(address_sanitizer);
#else
constexpr bool POOLED = true;
#endif

}  // namespace

void ReturnChunk::operator()(Chunk* chunk) const {
  ChunkPool& pool = chunk->getObject().getPool();
  if (isDataChunk(*chunk)) {
    static_cast<DataChunk*>(chunk)->~DataChunk();
    pool.release(chunk, sizeof(DataChunk));
  } else {
    static_cast<GroupChunk*>(chunk)->~GroupChunk();
    pool.release(chunk, sizeof(GroupChunk));
  }
}

void* ChunkPool::allocate(std::size_t size) {
  if (!POOLED) return ::operator new(size);
  const std::size_t units = (size + UNIT - 1) / UNIT;
  if (FreeNode* node = freeNodes[units]) {
    freeNodes[units] = node->next;
    return node;
  }
  if (restSize < units * UNIT) addBlock();
  restSize -= units * UNIT;
  return std::exchange(rest, rest + units * UNIT);
}

void ChunkPool::release(void* node, std::size_t size) {
  if (!POOLED) return ::operator delete(node);
  FreeNode*& first = freeNodes[(size + UNIT - 1) / UNIT];
  first = ::new (node) FreeNode{first};
}

// Blocks double, so that a small tree takes little and a large one few. What is left of the last
// block is given up: less than one node.
void ChunkPool::addBlock() {
  blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(nextBlock));
  rest = blocks.back().get();
  restSize = nextBlock;
  nextBlock = std::min(2 * nextBlock, MAX_BLOCK);
}

}  // namespace RIFF
