// Offsets and sizes in the chunks of AVI.
#ifndef VELMOR_CORE_TOOLS_KNOWN_AVI_H
#define VELMOR_CORE_TOOLS_KNOWN_AVI_H

#include <cstdint>

#include "known/ids.h"

namespace tool {

constexpr uint64_t AVIH_FLAGS = 12;
constexpr uint32_t AVIH_HAS_INDEX = 0x10;

// An entry of "idx1": an id, flags, the offset of the chunk's header, and its data size. Offsets
// count from the "movi" id. Some programs count them from the start of the file.
constexpr uint64_t IDX1_ENTRY = 16;
constexpr uint64_t IDX1_OFFSET = 8;
constexpr uint64_t IDX1_SIZE = 12;

// The header of an OpenDML index ("indx", "ix##"):
//   2 bytes    the size of an entry, in 32-bit words
//   2 bytes    the kind of index, in the second byte
//   4 bytes    the number of entries
//   4 bytes    the id of the chunks
//   12 bytes   the base of the offsets (8 bytes) and 4 reserved bytes; reserved as a whole in an
//              index of indexes
constexpr uint64_t OPEN_DML_HEADER = 24;
constexpr uint64_t OPEN_DML_KIND = 3;
constexpr uint64_t OPEN_DML_COUNT = 4;
constexpr uint64_t OPEN_DML_ID = 8;
constexpr uint64_t OPEN_DML_BASE = 12;
constexpr uint8_t INDEX_OF_INDEXES = 0;
constexpr uint8_t INDEX_OF_CHUNKS = 1;

// The entries of an OpenDML index:
//   index of chunks    the offset of the data from the base, and the data size (32 bits each). The
//                      highest bit of the size is set unless the chunk is a key frame. Only an
//                      entry of 12 bytes also has the offset of the second field of interlaced
//                      video (32 bits)
//   index of indexes   the offset of an index in the file (64 bits), its size and its duration
//                      (32 bits each)
constexpr uint64_t FRAME_ENTRY = 8;
constexpr uint64_t FRAME_SIZE = 4;
constexpr uint64_t FRAME_FIELD = 8;
constexpr uint64_t FIELD_ENTRY = 12;
constexpr uint64_t INDEX_ENTRY = 16;
constexpr uint32_t NO_KEY_FRAME = 0x8000'0000;

// Frames are named by the number of their stream and the kind of their data: pictures (dc, db),
// sound (wb), palettes (pc) or texts (tx).
constexpr bool isFrameId(uint32_t id) {
  const uint32_t kind = id & ~FIRST_HALF;
  const auto is = [kind](const char(&name)[5]) { return kind == (idOf(name) & ~FIRST_HALF); };
  return hasStreamNumber(id) &&
         (is("##dc") || is("##db") || is("##wb") || is("##pc") || is("##tx"));
}

// Whether a chunk is such an index; `parent` is the group id of its group.
constexpr bool isOpenDmlIndex(uint32_t id, uint32_t parent) {
  if (parent == ID_STRL) return id == ID_INDX;
  return (parent == ID_MOVI || parent == ID_REC) && (id & FIRST_HALF) == ID_IX;
}

}  // namespace tool

#endif
