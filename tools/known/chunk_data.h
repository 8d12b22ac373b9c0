// Reads numbers and texts from the data of one chunk.
#ifndef VELMOR_CORE_TOOLS_KNOWN_CHUNK_DATA_H
#define VELMOR_CORE_TOOLS_KNOWN_CHUNK_DATA_H

#include <cstdint>
#include <string>

#include "chunks/raw_bytes.h"
#include "chunks/tree_items.h"

namespace tool {

// Offsets count from the first byte of the data. A number that does not lie within the data and the
// file reads as 0; of a text, the bytes that are there are read. Reads in ascending order cost
// least.
class ChunkData {
 public:
  ChunkData(RawBytes& bytes, const RawChunk& chunk, const ParentGroup& parent = {})
      : bytes(bytes), header(chunk), group(parent) {}

  const RawChunk& chunk() const { return header; }
  const ParentGroup& parent() const { return group; }
  // How many bytes of the data the file has.
  uint64_t size() const;

  uint8_t byte(uint64_t offset) const { return static_cast<uint8_t>(number(offset, 1)); }
  uint16_t number16(uint64_t offset) const { return static_cast<uint16_t>(number(offset, 2)); }
  uint32_t number32(uint64_t offset) const { return static_cast<uint32_t>(number(offset, 4)); }
  // An unsigned number of 1 to 8 bytes, in the byte order of the file.
  uint64_t number(uint64_t offset, uint64_t count) const;
  // Four characters.
  uint32_t id(uint64_t offset) const;
  // A text of at most `count` bytes, which ends before its first NUL.
  std::string text(uint64_t offset, uint64_t count) const;
  // The chunk at an offset of the file.
  RawChunk otherChunk(uint64_t fileOffset) const { return bytes.chunkAt(fileOffset); }
  ChunkData dataOf(const RawChunk& other) const { return {bytes, other, group}; }

 private:
  RawBytes& bytes;
  RawChunk header;
  ParentGroup group;
};

}  // namespace tool

#endif
