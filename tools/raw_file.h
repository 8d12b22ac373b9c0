// The headers of a file as they stand there, whether or not they agree with each other.
#ifndef VELMOR_CORE_TOOLS_RAW_FILE_H
#define VELMOR_CORE_TOOLS_RAW_FILE_H

#include <array>
#include <cstdint>
#include <string>

#include "chunk_id.h"
#include "file.h"

namespace tool {

constexpr uint64_t HEADER_SIZE = 8;
constexpr uint64_t GROUP_HEADER_SIZE = 12;
constexpr uint64_t GROUP_ID_SIZE = 4;

// What a header says of its chunk. The chunk may end anywhere, also behind the file.
struct RawChunk {
  uint32_t id = 0;
  uint32_t groupId = 0;  // the four bytes behind the header; of groups, the group id
  uint32_t dataSize = 0;
  uint64_t offset = 0;  // of the header, from the file's first byte

  uint64_t dataOffset() const { return offset + HEADER_SIZE; }
  uint64_t dataEnd() const { return dataOffset() + dataSize; }
  uint64_t end() const { return dataEnd() + dataSize % 2; }
  bool isGroup() const { return isGroupId(id); }
};

// A file that is read forwards, in small steps that a window of a few KiB covers.
class RawFile {
 public:
  explicit RawFile(const std::string& name);

  uint64_t size() const { return length; }
  // The chunk whose header stands at an offset; what lies behind the end of the file reads as 0.
  RawChunk chunkAt(uint64_t offset);
  uint8_t byteAt(uint64_t offset);

 private:
  static constexpr std::size_t WINDOW = 4096;

  // The bytes at an offset, `count` of them at most GROUP_HEADER_SIZE.
  const uint8_t* bytesAt(uint64_t offset, uint64_t count);

  File file;
  uint64_t length;
  uint64_t windowOffset = 0;
  uint64_t windowSize = 0;
  std::array<uint8_t, WINDOW + GROUP_HEADER_SIZE> window{};  // the rest stays 0
};

}  // namespace tool

#endif
