// Indexes of AVI files that break if the file's bytes move.
//
// The indexes of OpenDML ("indx" in the headers of a stream, "ix##" in "movi") count from the start
// of the file. "idx1" counts from the "movi" id, but some programs let it count from the start of
// the file as well.

#include "editing/avi_offsets.h"

#include <array>

#include "app/errors.h"
#include "verdict/form.h"

namespace tool {

namespace {

constexpr uint32_t ID_INDX = VELMOR_CORE_RIFF_ID('i', 'n', 'd', 'x');
constexpr uint32_t ID_HDRL = VELMOR_CORE_RIFF_ID('h', 'd', 'r', 'l');
constexpr uint32_t ID_IX = VELMOR_CORE_RIFF_ID('i', 'x', '\0', '\0');

bool isOpenDmlIndex(uint32_t id) { return id == ID_INDX || (id & 0xFFFF) == ID_IX; }

// Looks at the chunks in a group, and at those in its groups.
template <typename Fits>
bool anyInside(const PlacedChunk& group, Fits fits) {
  for (PlacedChunk child = group.firstChild(); child; child = child.next()) {
    if (fits(child)) return true;
    for (PlacedChunk inner = child.firstChild(); inner; inner = inner.next()) {
      if (fits(inner)) return true;
    }
  }
  return false;
}

// Whether the first entry with data (an id, flags, an offset and a size of 32 bits each) points at
// its chunk when the offset is counted from the "movi" id.
bool countsFromMovi(const Chunk& idx1, const PlacedChunk& movi) {
  constexpr uint32_t ENTRY = 16;
  std::array<uint8_t, ENTRY> entry{};
  for (uint32_t at = 0; idx1.dataSize() >= ENTRY && at <= idx1.dataSize() - ENTRY; at += ENTRY) {
    if (!idx1.read(entry, at, std::nothrow)) return false;
    if (littleEndian32(&entry[12]) == 0) continue;
    const uint64_t target = movi.offset + HEADER_SIZE + littleEndian32(&entry[8]);
    const uint32_t id = littleEndian32(entry.data());
    return anyInside(movi, [&](const PlacedChunk& chunk) {
      return chunk.offset == target && (chunk.id() == id || chunk.groupId() == id);
    });
  }
  return true;
}

bool countsFromFile(const PlacedChunk& riff) {
  PlacedChunk movi;
  for (PlacedChunk child = riff.firstChild(); child; child = child.next()) {
    const bool isList = child.id() == ID_LIST;
    if (isList && child.groupId() == ID_MOVI && !movi) movi = child;
    if (isList && (child.groupId() == ID_MOVI || child.groupId() == ID_HDRL) &&
        anyInside(child, [](const Chunk& chunk) { return isOpenDmlIndex(chunk.id()); })) {
      return true;
    }
    if (child.id() == ID_IDX1 && movi && !countsFromMovi(child, movi)) return true;
  }
  return false;
}

// The offset of the last "movi" of the file, 0 if there is none.
uint64_t lastMovi(const PlacedChunk& riff, uint64_t before) {
  uint64_t found = before;
  for (PlacedChunk child = riff.firstChild(); child; child = child.next()) {
    if (child.id() == ID_LIST && child.groupId() == ID_MOVI) found = child.offset;
  }
  return found;
}

}  // namespace

void requireFixedIndexes(const Chunk& virtualRoot, std::span<const PlacedChunk> removed) {
  uint64_t movi = 0;
  bool isFixed = true;
  const PlacedChunk top(virtualRoot, 0);
  for (PlacedChunk riff = top.firstChild(); riff; riff = riff.next()) {
    movi = lastMovi(riff, movi);
    isFixed &= !countsFromFile(riff);
  }
  if (isFixed || removed.empty() || removed.front().offset > movi) return;
  throw Failure(
      "an index counts offsets from the start of the file, and the chunks in LIST:movi would move; "
      "\"recycle\" frees chunks without moving others");
}

}  // namespace tool
