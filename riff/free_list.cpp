// Keeping a group's free chunks in the order in which they are used up.

#include "riff/free_list.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace RIFF {

// The data size, but for the trailing chunk a number above all data sizes.
uint64_t FreeList::rankOf(const Chunk& chunk) const {
  return isTrailing(chunk) ? uint64_t{1} << 32 : chunk.getDataSize();
}

bool FreeList::usedUpBefore(const DataChunk& a, const DataChunk& b) const {
  const uint64_t rankA = rankOf(a);
  const uint64_t rankB = rankOf(b);
  return rankA != rankB ? rankA < rankB : a.getOffset() < b.getOffset();
}

DataChunk* FreeList::findFitting(uint64_t n) const {
  const auto found = std::ranges::find_if(chunks, [n](const DataChunk* chunk) {
    return chunk->getDataSize() >= n || chunk->totalSize() == n;
  });
  return found == chunks.end() ? nullptr : *found;
}

void FreeList::insert(Entry entry, DataChunk& chunk) {
  entry.node.front() = &chunk;
  chunks.splice(chunks.end(), entry.node);
  restoreOrder(chunk);
}

void FreeList::append(Entry entry, DataChunk& chunk) {
  entry.node.front() = &chunk;
  chunks.splice(chunks.end(), entry.node);
  ordered = false;
}

void FreeList::remove(const Chunk& chunk) {
  const auto found = std::ranges::find(chunks, &chunk);
  if (found != chunks.end()) chunks.erase(found);
}

void FreeList::clear() {
  chunks.clear();
  ordered = true;
}

void FreeList::restoreOrder(const Chunk& changed) {
  if (!ordered) {
    sort();
    ordered = true;
    return;
  }
  // insert() has just put the chunk at the end, so look there first.
  if (!chunks.empty() && chunks.back() == &changed) return settle(std::prev(chunks.end()));
  const auto found = std::ranges::find(chunks, &changed);
  if (found != chunks.end()) settle(found);
}

// Moves an entry to its place among the others, which are in order.
void FreeList::settle(List::iterator entry) {
  auto place = entry;
  while (place != chunks.begin() && usedUpBefore(**entry, **std::prev(place))) --place;
  if (place == entry) {
    ++place;
    while (place != chunks.end() && usedUpBefore(**place, **entry)) ++place;
  }
  chunks.splice(place, chunks, entry);
}

void FreeList::sortAppended() {
  if (chunks.empty()) return;
  List last(chunks.get_allocator());
  if (topLevel) last.splice(last.end(), chunks, std::prev(chunks.end()));
  sort();
  ordered = last.empty() || isTrailing(*last.front());
  chunks.splice(chunks.end(), last);
}

// Gives the same order as chunks.sort(), and is quick for long lists too: the keys are sorted in an
// array, since following links costs a cache miss each. Without memory for the array, the list
// sorts itself. Two stable sorts by one number take half the time of one sort by both, and chunks
// that were loaded are in byte order already.
void FreeList::sort() {
  const auto before = [this](const DataChunk* a, const DataChunk* b) {
    return usedUpBefore(*a, *b);
  };
  if (std::ranges::is_sorted(chunks, before)) return;
  struct Key {
    uint64_t rank;
    int64_t offset;
    DataChunk* chunk;
  };
  const std::unique_ptr<Key[]> memory(new (std::nothrow) Key[chunks.size()]);
  if (!memory) return chunks.sort(before);
  const std::span keys(memory.get(), chunks.size());
  auto key = keys.begin();
  for (DataChunk* chunk : chunks) *key++ = {rankOf(*chunk), chunk->getOffset(), chunk};
  if (!std::ranges::is_sorted(keys, {}, &Key::offset)) {
    std::ranges::stable_sort(keys, {}, &Key::offset);
  }
  std::ranges::stable_sort(keys, {}, &Key::rank);
  key = keys.begin();
  for (DataChunk*& chunk : chunks) chunk = key++->chunk;
}

}  // namespace RIFF
