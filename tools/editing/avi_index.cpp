// Keeps the indexes of an AVI right when an edit moves, changes or removes chunks.
//
// All chunks are noted with their handles and offsets before the edit and after it. Handles stay
// the same as long as a chunk exists. So for each old offset, they show where its chunk is now.
// Sorting n chunks takes O(n log n) steps. Finding the chunk of an entry takes O(log n) steps at
// most, and usually fewer, because most entries follow the order of the file.
#include "editing/avi_index.h"

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <string_view>

#include "app/text.h"
#include "chunks/layout.h"
#include "known/avi.h"
#include "known/ids.h"

namespace tool {

namespace {

constexpr uint64_t BLOCK = 1 << 16;  // bytes of an index at once

// Calls take(chunk, offset) for each chunk below the root, in the order of the bytes.
template <typename Take>
void forEachChunk(const Chunk& root, Take take) {
  std::vector<uint64_t> ends;  // of the open groups
  uint64_t offset = 0;
  Chunk chunk = root.firstChild();
  while (chunk) {
    take(chunk, offset);
    if (const Chunk child = chunk.firstChild()) {
      ends.push_back(offset + chunk.totalSize());
      offset += GROUP_HEADER_SIZE;
      chunk = child;
      continue;
    }
    offset += chunk.totalSize();
    for (; !chunk.next() && !ends.empty(); ends.pop_back()) {
      chunk = chunk.parent();
      offset = ends.back();
    }
    chunk = chunk.next();
  }
}

// Passes the data of a chunk to take(block) in blocks. Returns false if it cannot be read.
template <typename Take>
bool forEachBlock(const Chunk& chunk, Take take) {
  std::vector<char> block(std::min<uint64_t>(BLOCK, chunk.dataSize()));
  for (uint64_t at = 0; at < chunk.dataSize(); at += block.size()) {
    block.resize(std::min<uint64_t>(BLOCK, chunk.dataSize() - at));
    if (!chunk.read(block, static_cast<uint32_t>(at), std::nothrow)) return false;
    take(std::string_view(block.data(), block.size()));
  }
  return true;
}

// A checksum of the data; nothing if the data cannot be read.
std::optional<std::size_t> sumOf(const Chunk& chunk) {
  constexpr std::size_t SPREAD = 0x9E37'79B9'7F4A'7C15;  // so that the order of the blocks counts
  std::size_t sum = chunk.dataSize();
  const bool isRead = forEachBlock(chunk, [&](std::string_view block) {
    sum = sum * SPREAD + std::hash<std::string_view>()(block);
  });
  return isRead ? std::optional(sum) : std::nullopt;
}

void store32(uint8_t* to, uint32_t value) { std::ranges::copy(littleEndianBytes(value), to); }

void store64(uint8_t* to, uint64_t value) {
  store32(to, static_cast<uint32_t>(value));
  store32(to + 4, static_cast<uint32_t>(value >> 32));
}

bool fits32(uint64_t value) { return value >> 32 == 0; }

// The entries of an index, read and written in blocks.
class Entries {
 public:
  Entries(const Chunk& index, uint64_t begin, uint64_t count, uint64_t size)
      : index(index), begin(begin), count(count), size(size) {}

  // Calls visit(entry) for each entry, which may change it. Entries that are gone are removed, and
  // those after them move up. Zeros follow the last one. Returns how many are left.
  template <typename Visit>
  uint64_t correct(Visit visit) const {
    const uint64_t atOnce = BLOCK / size;
    std::vector<uint8_t> block(std::min(atOnce, count) * size);
    uint64_t kept = 0;
    for (uint64_t done = 0; done < count; done += atOnce) {
      block.resize(std::min(atOnce, count - done) * size);
      required("read " + index.name(),
               [&] { return index.read(block, offsetOf(done), std::nothrow); });
      bool isChanged = kept != done;
      uint8_t* end = block.data();
      for (uint64_t at = 0; at < block.size(); at += size) {
        uint8_t* entry = &block[at];
        const EntryChange change = visit(entry);
        isChanged |= change != EntryChange::NONE;
        if (change == EntryChange::GONE) continue;
        if (end != entry) std::copy_n(entry, size, end);
        end += size;
      }
      const auto bytes = std::span(block.data(), end);
      if (isChanged) write(bytes, kept);
      kept += bytes.size() / size;
    }
    for (uint64_t at = kept; at < count; at += atOnce) {
      write(std::vector<uint8_t>(std::min(atOnce, count - at) * size), at);
    }
    return kept;
  }

 private:
  uint32_t offsetOf(uint64_t entry) const { return static_cast<uint32_t>(begin + entry * size); }
  void write(std::span<const uint8_t> bytes, uint64_t entry) const {
    required("correct " + index.name(),
             [&] { return index.write(bytes, offsetOf(entry), std::nothrow); });
  }

  Chunk index;
  uint64_t begin;  // in bytes from the start of the data
  uint64_t count;
  uint64_t size;
};

// Whether a chunk of a top-level group is the last one of the file.
bool isLastInFile(const Chunk& chunk) { return !chunk.next() && !chunk.parent().next(); }

}  // namespace

AviIndexes::Layout::Layout(const Chunk& root) {
  uint64_t movi = 0;
  forEachChunk(root, [&](const Chunk& chunk, uint64_t offset) {
    const bool isGroup = chunk.isGroup();
    places.push_back(
        {chunk.handle(), offset, isGroup ? chunk.groupId() : chunk.id(), chunk.dataSize()});
    const Chunk parent = chunk.parent();
    if (parent.isVirtualRoot()) movi = 0;
    const bool isInRiff = !parent.isVirtualRoot() && parent.parent().isVirtualRoot();
    if (isInRiff && isGroup && chunk.groupId() == ID_MOVI && movi == 0) movi = offset;
    if ((isInRiff && chunk.id() == ID_IDX1 && movi != 0) ||
        isOpenDmlIndex(chunk.id(), parent.groupId())) {
      if (const auto sum = sumOf(chunk)) indexes.push_back({chunk, movi, *sum});
    }
  });
}

AviIndexes::AviIndexes(const Chunk& root) {
  if (root.firstChild().groupId() != FORM_AVI) return;
  before.emplace(root);
  if (before->indexes.empty()) before.reset();
}

void AviIndexes::correct(const Chunk& root, const Cut* cut, std::vector<std::string>& warnings) {
  if (!before) return;
  Layout after(root);
  if (cut) followCut(*cut, after);
  if (after.places == before->places) return;
  now = std::move(after.places);
  std::ranges::sort(now, std::less(), &Place::chunk);
  auto old = before->indexes.begin();
  for (const Index& index : after.indexes) {
    const auto same = std::find_if(old, before->indexes.end(), [&](const Index& other) {
      return other.sum == index.sum;  // not by handles: an edit may have copied the index
    });
    if (same == before->indexes.end()) continue;
    old = same + 1;
    if (index.chunk.id() == ID_IDX1) {
      correctIdx1(index.chunk, same->movi, index.movi);
    } else {
      correctOpenDml(index.chunk);
    }
  }
  warn(warnings);
}

// After a cut, the chunks have new handles. Those that are left are in the same order as before.
void AviIndexes::followCut(const Cut& cut, const Layout& after) {
  auto left = after.places.begin();
  for (Place& place : before->places) {
    const bool isGone = cut.contains(place.offset) || left == after.places.end();
    place.chunk = isGone ? nullptr : (left++)->chunk;
  }
}

const AviIndexes::Place* AviIndexes::placeBefore(uint64_t offset) {
  constexpr std::size_t NEAR = 8;
  const std::vector<Place>& places = before->places;
  const std::size_t end = std::min(lastBefore + NEAR, places.size());
  std::size_t found = lastBefore;
  while (found < end && places[found].offset != offset) ++found;
  if (found == end) {
    found = static_cast<std::size_t>(std::ranges::lower_bound(places, offset, {}, &Place::offset) -
                                     places.begin());
  }
  if (found == places.size() || places[found].offset != offset) return nullptr;
  lastBefore = found;
  return &places[found];
}

std::optional<AviIndexes::Moved> AviIndexes::follow(const Place* place) {
  if (!place) return std::nullopt;
  constexpr std::size_t NEAR = 8;
  const std::size_t end = std::min(lastNow + NEAR, now.size());
  std::size_t found = lastNow;
  while (found < end && now[found].chunk != place->chunk) ++found;
  if (found == end) {
    found = static_cast<std::size_t>(
        std::ranges::lower_bound(now, place->chunk, std::less(), &Place::chunk) - now.begin());
  }
  if (found == now.size() || now[found].chunk != place->chunk || now[found].id != place->id) {
    return Moved{true, 0, place->dataSize, 0};
  }
  lastNow = found;
  return Moved{false, now[found].offset, place->dataSize, now[found].dataSize};
}

std::optional<AviIndexes::Moved> AviIndexes::follow(uint64_t offset, uint32_t id) {
  const Place* place = placeBefore(offset);
  return follow(place && place->id == id ? place : nullptr);
}

void AviIndexes::correctIdx1(const Chunk& index, uint64_t oldMovi, uint64_t newMovi) {
  const uint64_t count = index.dataSize() / IDX1_ENTRY;
  const Entries entries(index, 0, count, IDX1_ENTRY);
  // An entry of size 0 stands for a dropped frame. The first other entry shows whether the offsets
  // count from the movi id or from the start of the file.
  bool isFirst = true;
  bool isAbsolute = false;
  const uint64_t kept = entries.correct([&](uint8_t* entry) {
    const uint32_t id = littleEndian32(entry);
    const uint32_t offset = littleEndian32(entry + IDX1_OFFSET);
    const uint32_t size = littleEndian32(entry + IDX1_SIZE);
    const uint64_t fromMovi = oldMovi + HEADER_SIZE;
    if (isFirst && size != 0) {
      isFirst = false;
      isAbsolute = !follow(fromMovi + offset, id) && follow(offset, id);
    }
    const auto moved = follow(offset + (isAbsolute ? 0 : fromMovi), id);
    if (!moved) return EntryChange::NONE;
    if (moved->isGone) {
      ++removed;
      return EntryChange::GONE;
    }
    const uint64_t newOffset = moved->offset - (isAbsolute ? 0 : newMovi + HEADER_SIZE);
    const uint32_t newSize = size == moved->oldSize ? moved->newSize : size;
    if (!fits32(newOffset)) {
      ++outOfReach;
      return EntryChange::NONE;
    }
    if (newOffset == offset && newSize == size) return EntryChange::NONE;
    store32(entry + IDX1_OFFSET, static_cast<uint32_t>(newOffset));
    store32(entry + IDX1_SIZE, newSize);
    return EntryChange::CHANGED;
  });
  if (kept < count && isLastInFile(index)) {
    required("shorten " + index.name(),
             [&] { return index.resize(static_cast<uint32_t>(kept * IDX1_ENTRY), std::nothrow); });
  }
}

void AviIndexes::correctOpenDml(const Chunk& index) {
  std::array<uint8_t, OPEN_DML_HEADER> bytes{};
  if (!index.read(bytes, 0, std::nothrow)) return;
  const uint64_t entrySize = littleEndian16(bytes.data()) * uint64_t{4};
  const uint8_t kind = bytes[OPEN_DML_KIND];
  if (entrySize == 0) return;
  const uint64_t room = (index.dataSize() - OPEN_DML_HEADER) / entrySize;
  const OpenDml header = {
      entrySize, std::min<uint64_t>(littleEndian32(&bytes[OPEN_DML_COUNT]), room),
      littleEndian32(&bytes[OPEN_DML_ID]), littleEndian64(&bytes[OPEN_DML_BASE])};
  const bool isOfIndexes = kind == INDEX_OF_INDEXES && entrySize == INDEX_ENTRY;
  const bool isOfChunks =
      kind == INDEX_OF_CHUNKS && (entrySize == FRAME_ENTRY || entrySize == FIELD_ENTRY);
  if (!isOfIndexes && !isOfChunks) return;
  std::optional<uint64_t> newBase;
  const Entries entries(index, OPEN_DML_HEADER, header.count, entrySize);
  const uint64_t kept = entries.correct([&](uint8_t* entry) {
    return isOfIndexes ? correctIndexEntry(entry) : correctFrame(entry, header, newBase);
  });
  std::array<uint8_t, 8> field{};
  if (kept != header.count) {
    store32(field.data(), static_cast<uint32_t>(kept));
    required("correct " + index.name(),
             [&] { return index.write(std::span(field).first(4), OPEN_DML_COUNT, std::nothrow); });
  }
  if (newBase && *newBase != header.base) {
    store64(field.data(), *newBase);
    required("correct " + index.name(),
             [&] { return index.write(field, OPEN_DML_BASE, std::nothrow); });
  }
}

EntryChange AviIndexes::correctIndexEntry(uint8_t* entry) {
  const uint64_t offset = littleEndian64(entry);
  const Place* place = placeBefore(offset);
  const auto moved = follow(place && (place->id & FIRST_HALF) == ID_IX ? place : nullptr);
  if (!moved) return EntryChange::NONE;
  if (moved->isGone) return EntryChange::GONE;
  store64(entry, moved->offset);
  return moved->offset == offset ? EntryChange::NONE : EntryChange::CHANGED;
}

EntryChange AviIndexes::correctFrame(uint8_t* entry, const OpenDml& header,
                                     std::optional<uint64_t>& newBase) {
  const uint32_t offset = littleEndian32(entry);
  const uint32_t size = littleEndian32(entry + FRAME_SIZE);
  const uint32_t flag = size & NO_KEY_FRAME;
  const uint64_t target = header.base + offset - HEADER_SIZE;
  const auto moved = follow(target, header.id);
  if (!moved) return EntryChange::NONE;
  if (moved->isGone) {
    ++removed;
    return EntryChange::GONE;
  }
  if (!newBase) newBase = header.base == 0 ? 0 : header.base + moved->offset - target;
  const uint64_t newOffset = moved->offset + HEADER_SIZE - *newBase;
  if (!fits32(newOffset)) {
    ++outOfReach;
    return EntryChange::NONE;
  }
  const bool hasOldSize = (size & ~NO_KEY_FRAME) == moved->oldSize;
  const uint32_t newSize = hasOldSize ? moved->newSize | flag : size;
  if (newOffset == offset && newSize == size) return EntryChange::NONE;
  const auto shift = static_cast<uint32_t>(newOffset) - offset;
  store32(entry, offset + shift);
  store32(entry + FRAME_SIZE, newSize);
  if (header.entrySize == FIELD_ENTRY) {
    store32(entry + FRAME_FIELD, littleEndian32(entry + FRAME_FIELD) + shift);
  }
  return EntryChange::CHANGED;
}

void AviIndexes::warn(std::vector<std::string>& warnings) const {
  if (removed > 0) {
    warnings.push_back("this edit removes frames that the index lists, and with them " +
                       counted(removed, "entry", "entries") + " of the index");
  }
  if (outOfReach > 0) {
    warnings.push_back("this edit makes " + counted(outOfReach, "entry", "entries") +
                       " of the index wrong, because the new offset does not fit");
  }
}

}  // namespace tool
