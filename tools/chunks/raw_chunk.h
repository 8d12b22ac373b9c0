// A chunk header as it is in a file.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_RAW_CHUNK_H
#define VELMOR_CORE_TOOLS_CHUNKS_RAW_CHUNK_H

#include <cstdint>
#include <string>

#include "chunks/chunk_id.h"
#include "chunks/layout.h"

namespace tool {

// A chunk as its header states it. It may end anywhere, also past the end of the file.
struct RawChunk {
  uint32_t id = 0;
  uint32_t groupId = 0;   // the four bytes after the header; of groups, the group id
  uint64_t dataSize = 0;  // at most MAX_WIDE_SIZE, so that sums with an offset do not overflow
  uint64_t offset = 0;    // of the header, from the file's first byte
  bool isRiff = false;    // RIFF, or the id that the file has in place of it, such as RF64

  uint64_t dataOffset() const { return offset + HEADER_SIZE; }
  uint64_t dataEnd() const { return dataOffset() + dataSize; }
  uint64_t end() const { return dataOffset() + padded(dataSize); }
  bool isGroup() const { return isRiff || id == ID_LIST; }
  // "LIST:INFO" for a group, "data" for any other chunk.
  std::string name() const { return isGroup() ? groupName(id, groupId) : idText(id); }
};

}  // namespace tool

#endif
