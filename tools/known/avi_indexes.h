// The layout of AVI's indexes.
//
// "idx1" follows "movi". It counts offsets from the "movi" id or, from some programs, from the
// start of the file. OpenDML adds "ix##" chunks within "movi", with offsets from a base in the
// file, and an "indx" in the headers of a stream, which points at them.
#ifndef VELMOR_CORE_TOOLS_KNOWN_AVI_INDEXES_H
#define VELMOR_CORE_TOOLS_KNOWN_AVI_INDEXES_H

#include <cstdint>
#include <optional>

#include "chunks/layout.h"
#include "known/ids.h"

namespace tool {

// An entry of "idx1": an id, flags, the offset of the chunk's header, and its data size. Entries of
// size 0 stand for dropped frames and may point anywhere.
constexpr uint64_t IDX1_ENTRY = 16;
constexpr uint64_t IDX1_OFFSET = 8;
constexpr uint64_t IDX1_SIZE = 12;

constexpr bool isOpenDmlIndex(uint32_t id, uint32_t parentGroupId) {
  if (parentGroupId == ID_STRL) return id == ID_INDX;
  return (parentGroupId == ID_MOVI || parentGroupId == ID_REC) && (id & FIRST_HALF) == ID_IX;
}

// What an OpenDML index begins with. The entries follow.
//   of chunks   offset of the data from the base (32 bits); data size (32 bits, the highest says
//               "no key frame"); of interlaced video, the offset of the second field (32 bits)
//   of indexes  offset in the file (64 bits); size of that index; duration (32 bits each)
struct OpenDmlHeader {
  static constexpr uint64_t SIZE = 24;
  static constexpr uint64_t COUNT = 4;  // where the number of entries is stored
  static constexpr uint64_t BASE = 12;  // where the base is stored
  static constexpr uint64_t ENTRY_OF_INDEXES = 16;
  static constexpr uint64_t ENTRY_OF_FIELDS = 12;
  static constexpr uint64_t ENTRY_OF_FRAMES = 8;

  uint64_t entrySize = 0;  // in bytes
  uint64_t claimed = 0;    // the number of entries as it is stated
  uint32_t id = 0;         // of the chunks that an index of chunks points at
  uint64_t base = 0;       // of the offsets in an index of chunks
  bool isOfIndexes = false;

  // Reads SIZE bytes. Nothing for an index of another kind.
  static constexpr std::optional<OpenDmlHeader> parse(const uint8_t* bytes) {
    constexpr uint8_t OF_INDEXES = 0;
    constexpr uint8_t OF_CHUNKS = 1;
    const OpenDmlHeader header = {littleEndian16(bytes) * uint64_t{4},
                                  littleEndian32(bytes + COUNT), littleEndian32(bytes + 8),
                                  littleEndian64(bytes + BASE), bytes[3] == OF_INDEXES};
    const uint64_t size = header.entrySize;
    if (header.isOfIndexes && size == ENTRY_OF_INDEXES) return header;
    if (bytes[3] == OF_CHUNKS && (size == ENTRY_OF_FRAMES || size == ENTRY_OF_FIELDS)) {
      return header;
    }
    return std::nullopt;
  }
};

// The data size in an entry of an index of chunks is the rest of the bits.
constexpr uint32_t NO_KEY_FRAME = 0x8000'0000;

}  // namespace tool

#endif
