// Keeping a group's free chunks in the order in which they are used up.

#include "riff/free_list.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace RIFF {

namespace {

// An index costs more time than it saves while walks are shorter than this.
constexpr std::size_t FAR = 24;

constexpr int64_t LEAST_OFFSET = std::numeric_limits<int64_t>::min();

}  // namespace

uint64_t FreeList::rankOf(const Chunk& chunk) const {
  return isTrailing(chunk) ? uint64_t{1} << 32 : chunk.getDataSize();
}

bool FreeList::usedUpBefore(const DataChunk& a, const DataChunk& b) const {
  const uint64_t rankA = rankOf(a);
  const uint64_t rankB = rankOf(b);
  return rankA != rankB ? rankA < rankB : a.getOffset() < b.getOffset();
}

void FreeList::noteWalk(std::size_t steps) { walkedFar |= steps > FAR; }

FreeChunks::iterator FreeList::walkTo(const Chunk& chunk) {
  std::size_t steps = 0;
  auto entry = chunks.begin();
  for (; entry != chunks.end() && *entry != &chunk; ++steps) ++entry;
  noteWalk(steps);
  return entry;
}

DataChunk* FreeList::findFitting(uint64_t n) {
  const auto fits = [n](const DataChunk* chunk) {
    return chunk->getDataSize() >= n || chunk->totalSize() == n;
  };
  if (!canBisect()) {
    const auto found = std::ranges::find_if(chunks, fits);
    if (found != chunks.end()) return *found;
    noteWalk(chunks.size());
    return nullptr;
  }
  // An exact fit has n - 8 data bytes, or n - 9 and a pad byte.
  for (const uint64_t rank : {std::max<uint64_t>(n, 9) - 9, n}) {
    const FreeIndex::Key* key = index.at(index.find(rank, LEAST_OFFSET));
    if (key && fits(*key->entry)) return *key->entry;
  }
  // n counts the header, so it can be above the rank of the trailing chunk. Then the bisection has
  // missed that chunk, which may still fit.
  return last() && fits(last()) ? last() : nullptr;
}

// An edit does not fail for want of an index. Without memory for one, the list is walked.
void FreeList::makeRoomInIndex() {
  try {
    if (!indexed) fillIndex();
    index.makeRoom();
  } catch (const std::bad_alloc&) {
    index.clear();
    indexed = false;
    walkedFar = false;
  }
}

void FreeList::fillIndex() {
  index.clear();
  for (auto entry = chunks.begin(); entry != chunks.end(); ++entry) {
    index.append({rankOf(**entry), entry});
  }
  indexed = true;
}

void FreeList::insert(Entry entry, DataChunk& chunk) {
  entry.node.front() = &chunk;
  chunks.splice(chunks.end(), entry.node);
  place(std::prev(chunks.end()));
}

void FreeList::append(Entry entry, DataChunk& chunk) {
  entry.node.front() = &chunk;
  chunks.splice(chunks.end(), entry.node);
  ordered = false;
}

void FreeList::remove(const Chunk& chunk) {
  if (canBisect()) {
    const FreeIndex::Place found = index.find(rankOf(chunk), chunk);
    if (const FreeIndex::Key* key = index.at(found)) {
      chunks.erase(key->entry);
      index.erase(found);
    }
    return;
  }
  const auto found = walkTo(chunk);
  if (found != chunks.end()) chunks.erase(found);
}

void FreeList::clear() {
  chunks.clear();
  index.clear();
  ordered = true;
  indexed = false;
}

void FreeList::restoreOrder(const Chunk& changed, uint64_t oldRank) {
  if (!ordered) return sort();
  if (!indexed) {
    // A free chunk that grows by merging is often the last entry.
    if (last() == &changed) return placeByWalk(std::prev(chunks.end()));
    const auto found = walkTo(changed);
    if (found != chunks.end()) placeByWalk(found);
    return;
  }
  const FreeIndex::Place found = index.find(oldRank, changed);
  if (const FreeIndex::Key* key = index.at(found)) {
    const auto entry = key->entry;
    index.erase(found);
    place(entry);
  }
}

void FreeList::place(FreeChunks::iterator entry) {
  if (!ordered) return sort();
  if (!indexed) return placeByWalk(entry);
  const uint64_t rank = rankOf(**entry);
  const FreeIndex::Place found = index.find(rank, (*entry)->getOffset());
  const FreeIndex::Key* next = index.at(found);
  chunks.splice(next ? next->entry : chunks.end(), chunks, entry);
  index.insert(found, {rank, entry});
}

void FreeList::placeByWalk(FreeChunks::iterator entry) {
  auto place = entry;
  std::size_t steps = 0;
  for (; place != chunks.begin() && usedUpBefore(**entry, **std::prev(place)); ++steps) --place;
  if (place == entry) {
    ++place;
    for (; place != chunks.end() && usedUpBefore(**place, **entry); ++steps) ++place;
  }
  noteWalk(steps);
  chunks.splice(place, chunks, entry);
}

void FreeList::sortAppended() {
  if (chunks.empty()) return;
  FreeChunks last(chunks.get_allocator());
  if (topLevel) last.splice(last.end(), chunks, std::prev(chunks.end()));
  sort();
  ordered = last.empty() || isTrailing(*last.front());
  chunks.splice(chunks.end(), last);
}

// Gives the same order as chunks.sort(), but faster for long lists: it sorts the keys in an array,
// because following a link costs a cache miss. Without memory for the array, it calls
// chunks.sort(). There are two stable sorts, by offset and then by rank. Together they take half
// the time of one sort that compares both. The sort by offset is left out if the chunks are in that
// order already, as after loading.
void FreeList::sort() {
  const auto before = [this](const DataChunk* a, const DataChunk* b) {
    return usedUpBefore(*a, *b);
  };
  ordered = true;
  indexed = false;
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
