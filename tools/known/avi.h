// Offsets and sizes in the chunks of AVI.
#ifndef VELMOR_CORE_TOOLS_KNOWN_AVI_H
#define VELMOR_CORE_TOOLS_KNOWN_AVI_H

#include <cstdint>

namespace tool {

constexpr uint64_t AVIH_FLAGS = 12;
constexpr uint32_t AVIH_HAS_INDEX = 0x10;

// An entry of "idx1": an id, flags, an offset and a size.
constexpr uint64_t IDX1_ENTRY = 16;

// The indexes of OpenDML ("indx", "ix##"): the size of an entry in 32-bit words, two bytes for the
// kind of index, the number of entries, the id of the chunks, and 12 bytes: the base of the offsets
// (8 bytes) and 4 reserved bytes, or 12 reserved bytes in an index of indexes.
constexpr uint64_t OPEN_DML_HEADER = 24;
constexpr uint64_t OPEN_DML_KIND = 3;
constexpr uint64_t OPEN_DML_COUNT = 4;
constexpr uint64_t OPEN_DML_ID = 8;
constexpr uint64_t OPEN_DML_BASE = 12;
constexpr uint8_t INDEX_OF_INDEXES = 0;
constexpr uint8_t INDEX_OF_CHUNKS = 1;

}  // namespace tool

#endif
