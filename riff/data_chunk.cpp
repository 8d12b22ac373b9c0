// Access to the bytes of a data chunk, and its change of size.

#include "riff/data_chunk.h"

#include <cstddef>
#include <stdexcept>

#include "riff/object.h"

namespace RIFF {

void DataChunk::getData(void* destination, uint32_t length, uint32_t offset) const {
  checkRange(length, offset);
  getObject().read(dataStart() + offset, static_cast<std::byte*>(destination), length);
}

void DataChunk::setData(const void* source, uint32_t length, uint32_t offset) {
  checkRange(length, offset);
  // The stored bytes may end inside the chunk. A write past their end would lengthen a
  // memory object by part of a chunk. It would also lengthen a file, but not the size that the
  // file's object keeps.
  const uint64_t end = dataStart() + offset + length;
  if (end > getObject().getSize()) throw std::runtime_error("invalid write");
  getObject().write(dataStart() + offset, static_cast<const std::byte*>(source), length);
}

void DataChunk::setDataSize(uint32_t newSize) {
  const uint32_t oldSize = getDataSize();
  if (newSize == oldSize) return;
  const auto delta = static_cast<int64_t>(padded(newSize) - padded(oldSize));
  // An odd size grows by one: the pad byte becomes data, so it has to be stored.
  if (delta == 0 && newSize > oldSize) getObject().requireStored(end());

  if (isFree(*this)) getParent()->noteFreeSizeChange();
  getObject().resizeChunk(*this, delta, nullptr);
  if (getDataSize() != newSize) setSizeField(newSize);
}

void DataChunk::checkRange(uint32_t length, uint32_t offset) const {
  if (uint64_t{offset} + length > getDataSize()) throw std::runtime_error("chunk to small");
}

}  // namespace RIFF
