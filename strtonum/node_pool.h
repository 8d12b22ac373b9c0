// Memory for the nodes of one parse. The nodes are carved from blocks, since a separate allocation
// for each node would take longer than parsing it.
//
// A node is deleted like any other object and may outlive the pool. Each slot points to its block.
// A block is freed when its last node is deleted and the pool has no free slots left in it.

#ifndef STRTONUM_NODE_POOL_H
#define STRTONUM_NODE_POOL_H

#include <array>
#include <cstddef>

namespace StrToNum {

class NodePool {
 public:
  static constexpr size_t NODE_SIZE = 24;

  NodePool() = default;
  NodePool(const NodePool&) = delete;
  NodePool& operator=(const NodePool&) = delete;
  ~NodePool() {
    // A block without free slots belongs only to its nodes and may have been freed.
    if (taken < SLOTS) release(block, SLOTS - taken);
  }

  // Returns memory for one node. Throws std::bad_alloc.
  void* allocate() {
    if (taken == SLOTS) addBlock();
    Slot& slot = block->slots[taken++];
    slot.block = block;
    return slot.node.data();
  }

  // Frees a node's memory, whichever pool it came from.
  static void free(void* node) noexcept { release(static_cast<Block**>(node)[-1], 1); }

 private:
  // Keeps a block below 1,032 bytes: glibc serves smaller blocks from a list for each thread.
  static constexpr size_t SLOTS = 31;

  struct Block;
  struct Slot {
    Block* block;
    alignas(double) std::array<std::byte, NODE_SIZE> node;
  };
  struct Block {
    size_t users = SLOTS;  // living nodes, and slots that the pool has not used yet
    std::array<Slot, SLOTS> slots;
  };

  void addBlock() {
    block = new Block;
    taken = 0;
  }

  static void release(Block* block, size_t count) noexcept {
    block->users -= count;
    if (block->users == 0) delete block;
  }

  Block* block = nullptr;
  size_t taken = SLOTS;
};

}  // namespace StrToNum

#endif
