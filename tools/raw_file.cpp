#include "raw_file.h"

#include <algorithm>

namespace tool {

namespace {

uint32_t littleEndian(const uint8_t* bytes) {
  return VELMOR_CORE_RIFF_ID(bytes[0], bytes[1], bytes[2], bytes[3]);
}

}  // namespace

RawFile::RawFile(const std::string& name) : file(name, File::READ), length(file.size()) {}

RawChunk RawFile::chunkAt(uint64_t offset) {
  const uint8_t* header = bytesAt(offset, GROUP_HEADER_SIZE);
  RawChunk chunk;
  chunk.id = littleEndian(header);
  chunk.dataSize = littleEndian(header + 4);
  chunk.groupId = littleEndian(header + HEADER_SIZE);
  chunk.offset = offset;
  return chunk;
}

uint8_t RawFile::byteAt(uint64_t offset) { return *bytesAt(offset, 1); }

const uint8_t* RawFile::bytesAt(uint64_t offset, uint64_t count) {
  if (offset < windowOffset || offset + count > windowOffset + windowSize) {
    windowSize = file.read(window.data(), WINDOW, offset);
    windowOffset = offset;
    std::fill(window.begin() + static_cast<std::ptrdiff_t>(windowSize), window.end(), uint8_t{0});
  }
  return &window[offset - windowOffset];
}

}  // namespace tool
