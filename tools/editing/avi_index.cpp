// Keeps the indexes of an AVI right when an edit moves, changes or removes chunks.
//
// All chunks are noted with their handles and offsets before the edit and after it. Handles stay
// the same as long as a chunk exists, so they tell where the chunk behind an old offset is now. The
// time is linear in the chunks and entries if the entries follow the order of the file.
#include "editing/avi_index.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>

#include "app/command.h"
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

// Passes the data of a chunk to take(bytes, offset) in blocks; false if it cannot be read.
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

// A sum that tells different data from equal data; nothing if the data cannot be read.
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

  // Calls visit(entry), which returns whether it has changed the entry.
  template <typename Visit>
  void forEach(Visit visit) const {
    const uint64_t atOnce = BLOCK / size;
    std::vector<uint8_t> block(std::min(atOnce, count) * size);
    for (uint64_t done = 0; done < count; done += atOnce) {
      block.resize(std::min(atOnce, count - done) * size);
      const auto offset = static_cast<uint32_t>(begin + done * size);
      required("read " + index.name(), [&] { return index.read(block, offset, std::nothrow); });
      bool isChanged = false;
      for (uint64_t at = 0; at < block.size(); at += size) isChanged |= visit(&block[at]);
      if (!isChanged) continue;
      required("correct " + index.name(), [&] { return index.write(block, offset, std::nothrow); });
    }
  }

 private:
  Chunk index;
  uint64_t begin;  // in bytes from the start of the data
  uint64_t count;
  uint64_t size;
};

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

AviIndexes::AviIndexes(const Chunk& root, std::string name)
    : root(root), name(std::move(name)), isAvi(root.firstChild().groupId() == FORM_AVI) {
  if (isAvi) before.emplace(root);
  if (isAvi && before->indexes.empty()) isAvi = false;
}

void AviIndexes::correct() {
  if (!isAvi) return;
  Layout after(root);
  if (after.places == before->places) return;
  now = std::move(after.places);
  std::ranges::sort(now, std::less(), &Place::chunk);
  auto old = before->indexes.begin();
  for (const Index& index : after.indexes) {
    const auto same = std::find_if(old, before->indexes.end(), [&](const Index& other) {
      return other.sum == index.sum;  // an edit may have copied the chunk, so handles say nothing
    });
    if (same == before->indexes.end()) continue;
    old = same + 1;
    if (index.chunk.id() == ID_IDX1) {
      correctIdx1(index.chunk, same->movi, index.movi);
    } else {
      correctOpenDml(index.chunk);
    }
  }
  warn();
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

std::optional<AviIndexes::Moved> AviIndexes::followIndex(uint64_t offset) {
  const Place* place = placeBefore(offset);
  return follow(place && (place->id & FIRST_HALF) == ID_IX ? place : nullptr);
}

void AviIndexes::correctIdx1(const Chunk& index, uint64_t oldMovi, uint64_t newMovi) {
  const Entries entries(index, 0, index.dataSize() / IDX1_ENTRY, IDX1_ENTRY);
  // The first entry of a frame that was not dropped shows where the offsets start.
  bool isFirst = true;
  bool isAbsolute = false;
  entries.forEach([&](uint8_t* entry) {
    const uint32_t id = littleEndian32(entry);
    const uint32_t offset = littleEndian32(entry + IDX1_OFFSET);
    const uint32_t size = littleEndian32(entry + IDX1_SIZE);
    const uint64_t fromMovi = oldMovi + HEADER_SIZE;
    if (isFirst && size != 0) {
      isFirst = false;
      isAbsolute = !follow(fromMovi + offset, id) && follow(offset, id);
    }
    const auto moved = follow(offset + (isAbsolute ? 0 : fromMovi), id);
    if (!moved) return false;
    if (moved->isGone) return setDropped(entry + IDX1_SIZE);
    const uint64_t newOffset = moved->offset - (isAbsolute ? 0 : newMovi + HEADER_SIZE);
    const uint32_t newSize = size == moved->oldSize ? moved->newSize : size;
    if (!fits32(newOffset)) {
      ++outOfReach;
      return false;
    }
    if (newOffset == offset && newSize == size) return false;
    store32(entry + IDX1_OFFSET, static_cast<uint32_t>(newOffset));
    store32(entry + IDX1_SIZE, newSize);
    return true;
  });
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
  if (kind == INDEX_OF_INDEXES && entrySize == INDEX_ENTRY) {
    correctIndexOfIndexes(index, header.count);
  } else if (kind == INDEX_OF_CHUNKS && (entrySize == FRAME_ENTRY || entrySize == FIELD_ENTRY)) {
    correctIndexOfChunks(index, header);
  }
}

void AviIndexes::correctIndexOfChunks(const Chunk& index, const OpenDml& header) {
  const Entries entries(index, OPEN_DML_HEADER, header.count, header.entrySize);
  std::optional<uint64_t> newBase;
  entries.forEach([&](uint8_t* entry) { return correctFrame(entry, header, newBase); });
  if (!newBase || *newBase == header.base) return;
  std::array<uint8_t, 8> field{};
  store64(field.data(), *newBase);
  required("correct " + index.name(),
           [&] { return index.write(field, OPEN_DML_BASE, std::nothrow); });
}

bool AviIndexes::correctFrame(uint8_t* entry, const OpenDml& header,
                              std::optional<uint64_t>& newBase) {
  const uint32_t offset = littleEndian32(entry);
  const uint32_t size = littleEndian32(entry + FRAME_SIZE);
  const uint32_t flag = size & NO_KEY_FRAME;
  const uint64_t target = header.base + offset - HEADER_SIZE;
  const auto moved = follow(target, header.id);
  if (!moved) return false;
  if (moved->isGone) return setDropped(entry + FRAME_SIZE, flag);
  if (!newBase) newBase = header.base == 0 ? 0 : header.base + moved->offset - target;
  const uint64_t newOffset = moved->offset + HEADER_SIZE - *newBase;
  if (!fits32(newOffset)) {
    ++outOfReach;
    return false;
  }
  const bool hasNewSize = (size & ~NO_KEY_FRAME) == moved->oldSize;
  const uint32_t newSize = hasNewSize ? moved->newSize | flag : size;
  if (newOffset == offset && newSize == size) return false;
  const auto shift = static_cast<uint32_t>(newOffset) - offset;
  store32(entry, offset + shift);
  store32(entry + FRAME_SIZE, newSize);
  if (header.entrySize == FIELD_ENTRY) {
    store32(entry + FRAME_FIELD, littleEndian32(entry + FRAME_FIELD) + shift);
  }
  return true;
}

void AviIndexes::correctIndexOfIndexes(const Chunk& index, uint64_t count) {
  constexpr uint64_t MAX_COUNT = 1 << 20;  // far more than a file can need
  if (count > MAX_COUNT) return;
  std::vector<uint8_t> entries(count * INDEX_ENTRY);
  required("read " + index.name(),
           [&] { return index.read(entries, OPEN_DML_HEADER, std::nothrow); });
  const std::vector<uint8_t> old = entries;
  auto end = entries.begin();
  for (auto entry = entries.begin(); entry != entries.end(); entry += INDEX_ENTRY) {
    const auto moved = followIndex(littleEndian64(&*entry));
    if (moved && moved->isGone) continue;
    if (moved) store64(&*entry, moved->offset);
    end = std::copy_n(entry, INDEX_ENTRY, end);
  }
  std::fill(end, entries.end(), uint8_t{0});
  if (entries == old) return;
  const auto kept = littleEndianBytes(static_cast<uint32_t>((end - entries.begin()) / INDEX_ENTRY));
  required("correct " + index.name(), [&] {
    return index.write(entries, OPEN_DML_HEADER, std::nothrow) &&
           index.write(kept, OPEN_DML_COUNT, std::nothrow);
  });
}

bool AviIndexes::setDropped(uint8_t* size, uint32_t keptBits) {
  if (littleEndian32(size) == keptBits) return false;
  store32(size, keptBits);
  ++dropped;
  return true;
}

void AviIndexes::warn() const {
  if (dropped > 0) {
    complain(name + ": warning: this edit removes frames that the index lists; " +
             counted(dropped, "entry has", "entries have") +
             " the size 0 now, as for dropped frames");
  }
  if (outOfReach > 0) {
    complain(name + ": warning: " + counted(outOfReach, "entry", "entries") +
             " of the index cannot hold the new offset and are wrong now");
  }
}

}  // namespace tool
