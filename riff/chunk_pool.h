// The memory of a tree's nodes.

#ifndef RIFF_CHUNK_POOL_H
#define RIFF_CHUNK_POOL_H

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace RIFF {

class Chunk;

// Destroys a node and returns its memory to the pool of its object. Defined in object.cpp, where
// the kinds of chunks and their object are known.
struct ReturnChunk {
  void operator()(Chunk* chunk) const;
};
// Owns a chunk that is in no tree: it is to be attached or destroyed. If the chunk is a group, owns
// everything in it too.
using ChunkPointer = std::unique_ptr<Chunk, ReturnChunk>;

// A tree has many small nodes of two sizes. Most come and go together. With one malloc() for each,
// opening a file would spend more time in malloc() than on reading headers. So nodes are cut from
// blocks. A returned node is the next one of its size to be handed out. The blocks live as long as
// the pool.
class ChunkPool {
 public:
  ChunkPool() = default;
  ChunkPool(const ChunkPool&) = delete;
  ChunkPool& operator=(const ChunkPool&) = delete;

  // Builds a node. If its constructor throws, its memory returns to the pool.
  template <typename Kind, typename... Arguments>
  ChunkPointer make(Arguments&&... arguments) {
    static_assert(sizeof(Kind) <= MAX_NODE);
    Guard memory{*this, allocate(sizeof(Kind)), sizeof(Kind)};
    ChunkPointer chunk(::new (memory.node) Kind(std::forward<Arguments>(arguments)...));
    memory.node = nullptr;
    return chunk;
  }
  // Takes back the memory of a destroyed node.
  void release(void* node, std::size_t size) {
    if (!POOLED) return ::operator delete(node);
    FreeNode*& first = freeNodes[toUnits(size)];
    first = ::new (node) FreeNode{first};
  }
  // Allocates now, so that the next node needs no memory from the system.
  void reserveNode() {
    if (restSize < MAX_NODE) addBlock();
  }

 private:
  struct FreeNode {
    FreeNode* next;
  };
  struct Guard {
    ChunkPool& pool;
    void* node;
    std::size_t size;
    ~Guard() {
      if (node) pool.release(node, size);
    }
  };
// The address sanitizer notices the use of a stale handle only if each node has memory of its own.
#if defined(__SANITIZE_ADDRESS__)
  static constexpr bool POOLED = false;
#elif defined(__has_feature)
  static constexpr bool POOLED = !__has_feature(address_sanitizer);
#else
  static constexpr bool POOLED = true;
#endif
  static constexpr std::size_t UNIT = 16;
  static constexpr std::size_t MAX_NODE = 128;
  static constexpr std::size_t FIRST_BLOCK = 1024;
  static constexpr std::size_t MAX_BLOCK = 65536;

  static constexpr std::size_t toUnits(std::size_t size) { return (size + UNIT - 1) / UNIT; }
  void* allocate(std::size_t size);
  void addBlock();

  std::array<FreeNode*, MAX_NODE / UNIT + 1> freeNodes = {};  // lists of returned nodes, by units
  std::vector<std::unique_ptr<std::byte[]>> blocks;
  std::byte* rest = nullptr;  // the unused end of the last block
  std::size_t restSize = 0;
  std::size_t nextBlock = FIRST_BLOCK;
};

}  // namespace RIFF

#endif
