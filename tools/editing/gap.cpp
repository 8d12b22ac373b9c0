// Room that a copy of a file gets while it is made.
#include "editing/gap.h"

#include "chunks/layout.h"
#include "known/ids.h"

namespace tool {

namespace {

// The offset of a chunk from the first byte of the group that it is in.
uint64_t offsetInGroup(const Chunk& chunk) {
  const Chunk group = chunk.parent();
  uint64_t offset = group.isVirtualRoot() ? 0 : GROUP_HEADER_SIZE;
  for (Chunk at = group.firstChild(); at != chunk; at = at.next()) offset += at.totalSize();
  return offset;
}

void writeField(const File& file, uint32_t value, uint64_t offset) {
  const auto bytes = littleEndianBytes(value);
  file.writeAt(bytes.data(), bytes.size(), offset);
}

}  // namespace

Gap::Gap(const Chunk& chunk, uint32_t size) : size(size) {
  std::vector<Chunk> way;  // the chunk and its ancestors, without the virtual root
  for (Chunk at = chunk; !at.isVirtualRoot(); at = at.parent()) way.push_back(at);
  for (; !way.empty(); way.pop_back()) {
    offset += offsetInGroup(way.back());
    if (way.size() > 1) sizes.push_back({offset, way.back().dataSize() + size});
  }
  offset += chunk.totalSize();
}

void Gap::applyTo(const File& copy) const {
  writeField(copy, ID_JUNK, offset);
  writeField(copy, size - static_cast<uint32_t>(HEADER_SIZE), offset + SIZE_FIELD);
  for (const RawBytes::Patch& group : sizes) {
    writeField(copy, group.dataSize, group.offset + SIZE_FIELD);
  }
}

}  // namespace tool
