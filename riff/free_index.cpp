// Keys in blocks, in order.

#include "riff/free_index.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>

namespace RIFF {

struct FreeIndex::Block {
  static constexpr std::size_t MAX = 64;

  std::span<const Key> used() const { return std::span(keys).first(count); }
  void insert(std::size_t index, Key key) {
    std::copy_backward(keys.begin() + index, keys.begin() + count, keys.begin() + count + 1);
    keys[index] = key;
    ++count;
  }
  void erase(std::size_t index) {
    std::copy(keys.begin() + index + 1, keys.begin() + count, keys.begin() + index);
    --count;
  }

  std::size_t count = 0;
  std::array<Key, MAX> keys;
};

FreeIndex::Place FreeIndex::find(uint64_t rank, int64_t offset) const {
  const auto isBefore = [=](const Key& key) {
    return key.rank != rank ? key.rank < rank : (*key.entry)->getOffset() < offset;
  };
  const auto endsBefore = [=](const Block* block) { return isBefore(block->used().back()); };
  const auto block = std::ranges::partition_point(blocks, endsBefore);
  if (block == blocks.end()) return end();
  const std::span keys = (*block)->used();
  const auto key = std::ranges::partition_point(keys, isBefore);
  return {static_cast<std::size_t>(block - blocks.begin()),
          static_cast<std::size_t>(key - keys.begin())};
}

const FreeIndex::Key* FreeIndex::at(Place place) const {
  return place.block < blocks.size() ? &blocks[place.block]->keys[place.index] : nullptr;
}

// After an edit that failed half-way, chunks of equal rank may not be in the order of their
// offsets. If the bisection then misses the chunk, this looks at all keys of its rank.
FreeIndex::Place FreeIndex::find(uint64_t rank, const Chunk& chunk) const {
  Place place = find(rank, chunk.getOffset());
  const Key* key = at(place);
  if (key && *key->entry == &chunk) return place;
  place = find(rank, std::numeric_limits<int64_t>::min());
  while ((key = at(place)) && key->rank == rank) {
    if (*key->entry == &chunk) return place;
    if (++place.index == blocks[place.block]->count) place = {place.block + 1, 0};
  }
  return end();
}

void FreeIndex::makeRoom() {
  if (blocks.size() == blocks.capacity()) blocks.reserve(2 * blocks.size() + 1);
  if (!spare) spare = ::new (pool().allocate(sizeof(Block))) Block;
}

void FreeIndex::insert(Place place, Key key) {
  if (blocks.empty()) blocks.push_back(std::exchange(spare, nullptr));
  if (place.block == blocks.size()) place = {blocks.size() - 1, blocks.back()->count};
  Block* block = blocks[place.block];
  if (block->count == Block::MAX) {
    // The upper half of a full block moves to a new one.
    Block* upper = std::exchange(spare, nullptr);
    upper->count = block->count = Block::MAX / 2;
    std::copy_n(block->keys.begin() + block->count, upper->count, upper->keys.begin());
    blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(place.block + 1), upper);
    if (place.index > block->count) {
      place.index -= block->count;
      block = upper;
    }
  }
  block->insert(place.index, key);
}

void FreeIndex::erase(Place place) {
  Block* block = blocks[place.block];
  block->erase(place.index);
  if (block->count > 0) return;
  blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(place.block));
  pool().release(block, sizeof(Block));
}

void FreeIndex::append(Key key) {
  makeRoom();
  if (blocks.empty() || blocks.back()->count == Block::MAX / 2) {
    blocks.push_back(std::exchange(spare, nullptr));
  }
  blocks.back()->insert(blocks.back()->count, key);
}

void FreeIndex::clear() {
  for (Block* block : blocks) pool().release(block, sizeof(Block));
  decltype(blocks)(blocks.get_allocator()).swap(blocks);
  if (spare) pool().release(std::exchange(spare, nullptr), sizeof(Block));
}

}  // namespace RIFF
