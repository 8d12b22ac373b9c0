// The memory of a tree: its nodes, the arrays of children, and the free lists with their indexes.

#ifndef RIFF_CHUNK_POOL_H
#define RIFF_CHUNK_POOL_H

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

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

// A tree has many small pieces of memory of a few sizes. Most come and go together. With one
// malloc() for each, opening a file would spend more time in malloc() than on reading headers. So
// small pieces are cut from blocks, which live as long as the pool. A returned piece is the next
// one of its size to be handed out. A large piece is a block of its own, and is freed when it is
// returned.
//
// All memory of a tree comes from its pool. So an object that ends destroys the pool and need not
// destroy the nodes one by one.
class ChunkPool {
 public:
// The address sanitizer notices the use of a stale handle only if each node has memory of its own.
#if defined(__SANITIZE_ADDRESS__)
  static constexpr bool POOLED = false;
#elif defined(__has_feature)
  static constexpr bool POOLED = !__has_feature(address_sanitizer);
#else
  static constexpr bool POOLED = true;
#endif

  ChunkPool() = default;
  ChunkPool(const ChunkPool&) = delete;
  ChunkPool& operator=(const ChunkPool&) = delete;
  ~ChunkPool();

  // Builds a node. If its constructor throws, its memory returns to the pool.
  template <typename Kind, typename... Arguments>
  ChunkPointer make(Arguments&&... arguments) {
    static_assert(sizeof(Kind) <= MAX_SMALL);
    Guard memory{*this, allocate(sizeof(Kind)), sizeof(Kind)};
    ChunkPointer chunk(::new (memory.node) Kind(std::forward<Arguments>(arguments)...));
    memory.node = nullptr;
    return chunk;
  }

  void* allocate(std::size_t size) {
    if (!POOLED) return ::operator new(size);
    if (size > MAX_SMALL) return addBlock(size);
    const std::size_t units = toUnits(size);
    if (FreePiece* piece = freePieces[units]) {
      freePieces[units] = piece->next;
      return piece;
    }
    if (restSize < units * UNIT) renewRest();
    restSize -= units * UNIT;
    return std::exchange(rest, rest + units * UNIT);
  }
  // Takes memory back. `size` is the size that allocate() was called with.
  void release(void* memory, std::size_t size) {
    if (!POOLED) return ::operator delete(memory);
    if (size > MAX_SMALL) return removeBlock(memory);
    FreePiece*& first = freePieces[toUnits(size)];
    first = ::new (memory) FreePiece{first};
  }
  // Allocates now, so that the next small piece needs no memory from the system.
  void reserveSmall() {
    if (restSize < MAX_SMALL) renewRest();
  }

 private:
  struct FreePiece {
    FreePiece* next;
  };
  // Precedes the memory of a block. The blocks are linked in a ring.
  struct Block {
    Block* previous;
    Block* next;
  };
  struct Guard {
    ChunkPool& pool;
    void* node;
    std::size_t size;
    ~Guard() {
      if (node) pool.release(node, size);
    }
  };
  static constexpr std::size_t UNIT = 8;
  static constexpr std::size_t MAX_SMALL = 256;
  static constexpr std::size_t FIRST_REST = 1024;
  static constexpr std::size_t MAX_REST = std::size_t{16} << 20;

  static constexpr std::size_t toUnits(std::size_t size) { return (size + UNIT - 1) / UNIT; }
  void* addBlock(std::size_t size);
  static void removeBlock(void* memory);
  void renewRest();

  // Lists of the returned small pieces. The index is their size in units.
  std::array<FreePiece*, MAX_SMALL / UNIT + 1> freePieces = {};
  Block blocks = {&blocks, &blocks};
  std::byte* rest = nullptr;  // the unused end of the last block for small pieces
  std::size_t restSize = 0;
  std::size_t nextRest = FIRST_REST;
};

// Gives containers their memory from a pool.
template <typename T>
struct PoolAllocator {
  using value_type = T;

  explicit PoolAllocator(ChunkPool& pool) : pool(&pool) {}
  template <typename Other>
  explicit PoolAllocator(const PoolAllocator<Other>& other) : pool(other.pool) {}
  T* allocate(std::size_t count) { return static_cast<T*>(pool->allocate(count * SIZE)); }
  void deallocate(T* memory, std::size_t count) { pool->release(memory, count * SIZE); }
  bool operator==(const PoolAllocator&) const = default;

  ChunkPool* pool;

 private:
  static constexpr std::size_t SIZE = sizeof(T);  // NOLINT(bugprone-sizeof*): T may be a pointer
};

}  // namespace RIFF

#endif
