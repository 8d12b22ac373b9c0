// Keeping a group's free chunks in the order in which they are used up.

#include "riff/free_list.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <tuple>
#include <utility>

namespace RIFF {

bool FreeList::usedUpBefore(const DataChunk& a, const DataChunk& b) const {
  if (isTrailing(a)) return false;
  if (isTrailing(b)) return true;
  if (a.getDataSize() != b.getDataSize()) return a.getDataSize() < b.getDataSize();
  return a.getOffset() < b.getOffset();
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
void FreeList::settle(std::list<DataChunk*>::iterator entry) {
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
  std::list<DataChunk*> last;
  if (topLevel) last.splice(last.end(), chunks, std::prev(chunks.end()));
  sort();
  ordered = last.empty() || isTrailing(*last.front());
  chunks.splice(chunks.end(), last);
}

// Gives the same order as chunks.sort(), but faster for long lists: it sorts the keys in an array,
// because following a link costs a cache miss. Without memory for the array, it calls
// chunks.sort(). Offsets differ, so no two keys are equal, and the sort need not be stable.
void FreeList::sort() {
  const auto before = [this](const DataChunk* a, const DataChunk* b) {
    return usedUpBefore(*a, *b);
  };
  if (std::ranges::is_sorted(chunks, before)) return;
  using Key = std::tuple<bool, uint32_t, int64_t, DataChunk*>;  // trailing, size, offset
  const std::unique_ptr<Key[]> keys(new (std::nothrow) Key[chunks.size()]);
  if (!keys) return chunks.sort(before);
  Key* end = keys.get();
  for (DataChunk* chunk : chunks) {
    *end++ = {isTrailing(*chunk), chunk->getDataSize(), chunk->getOffset(), chunk};
  }
  std::sort(keys.get(), end);
  const Key* next = keys.get();
  for (DataChunk*& chunk : chunks) chunk = std::get<DataChunk*>(*next++);
}

}  // namespace RIFF
