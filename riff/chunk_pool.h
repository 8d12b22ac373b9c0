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

// Destroys a node and gives its memory back to the pool of its object.
struct ReturnChunk {
  void operator()(Chunk* chunk) const;
};
// Owns a chunk, and with a group everything in it.
using ChunkPointer = std::unique_ptr<Chunk, ReturnChunk>;

// Trees have many small nodes of two sizes that mostly come and go together: opening a file spends
// more time in malloc than in reading headers. So nodes are cut from blocks, one behind the other;
// a node that goes is the next one to be handed out. The blocks go with the pool, after the tree.
class ChunkPool {
 public:
  ChunkPool() = default;
  ChunkPool(const ChunkPool&) = delete;
  ChunkPool& operator=(const ChunkPool&) = delete;

  // Builds a node; if its constructor throws, the memory is taken back.
  template <typename Kind, typename... Arguments>
  ChunkPointer make(Arguments&&... arguments) {
    static_assert(sizeof(Kind) <= MAX_NODE);
    Guard memory{*this, allocate(sizeof(Kind)), sizeof(Kind)};
    ChunkPointer chunk(::new (memory.node) Kind(std::forward<Arguments>(arguments)...));
    memory.node = nullptr;
    return chunk;
  }
  void release(void* node, std::size_t size);
  // Makes sure that there is memory for one more node.
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
  static constexpr std::size_t UNIT = 16;
  static constexpr std::size_t MAX_NODE = 128;
  static constexpr std::size_t FIRST_BLOCK = 1024;
  static constexpr std::size_t MAX_BLOCK = 65536;

  void* allocate(std::size_t size);
  void addBlock();

  std::array<FreeNode*, MAX_NODE / UNIT + 1> freeNodes = {};  // by size in units
  std::vector<std::unique_ptr<std::byte[]>> blocks;
  std::byte* rest = nullptr;  // of the last block
  std::size_t restSize = 0;
  std::size_t nextBlock = FIRST_BLOCK;
};

}  // namespace RIFF

#endif
