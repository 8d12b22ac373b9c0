// Reading and writing the header that all chunks have: id and data size.

#include "riff/chunk.h"

#include "riff/object.h"

namespace RIFF {

Chunk::Chunk(Object& object, int64_t offset, FourCC id, uint32_t size, GroupChunk* parent)
    : object(&object), offset(offset), id(id), size(size), parent(parent) {}

void Chunk::writeHeader(int64_t newOffset, uint32_t newSize) const {
  object->writeChunkHeader(static_cast<uint64_t>(newOffset), id, newSize);
}

void Chunk::setId(FourCC newId) {
  id = newId;
  object->write(static_cast<uint64_t>(offset), bytesOf(id), ID_SIZE);
}

void Chunk::setSizeField(uint32_t newSize) {
  size = newSize;
  object->write(static_cast<uint64_t>(offset) + ID_SIZE, bytesOf(size), sizeof size);
}

}  // namespace RIFF
