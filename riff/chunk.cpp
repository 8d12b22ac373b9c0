#include "riff/chunk.h"

#include "riff/object.h"

namespace RIFF {

Chunk::Chunk(Object& object, int64_t offset, FourCC id, uint32_t size, GroupChunk* parent)
    : object(&object), offset(offset), id(id), size(size), parent(parent) {}

Chunk::Chunk(Object& object, int64_t offset, GroupChunk* parent)
    : object(&object), offset(offset), parent(parent) {
  const auto header = static_cast<uint64_t>(offset);
  object.read(header, &id, ID_SIZE);
  object.read(header + ID_SIZE, &size, sizeof size);
}

void Chunk::setId(FourCC newId) {
  id = newId;
  object->write(static_cast<uint64_t>(offset), &id, ID_SIZE);
}

void Chunk::setSizeField(uint32_t newSize) {
  size = newSize;
  object->write(static_cast<uint64_t>(offset) + ID_SIZE, &size, sizeof size);
}

}  // namespace RIFF
