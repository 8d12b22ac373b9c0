#include "riff/data_chunk.h"

#include <stdexcept>

#include "riff/group_chunk.h"
#include "riff/object.h"

namespace RIFF {

void DataChunk::getData(void* destination, uint32_t length, uint32_t offset) const {
  checkRange(length, offset);
  getObject().read(dataStart() + offset, destination, length);
}

void DataChunk::setData(const void* source, uint32_t length, uint32_t offset) {
  checkRange(length, offset);
  // The chunk may have been cut short. Writing what is missing would lengthen the object, or the
  // file alone, by part of a chunk.
  const uint64_t end = dataStart() + offset + length;
  if (end > getObject().getSize()) throw std::runtime_error("invalid write");
  getObject().write(dataStart() + offset, source, length);
}

void DataChunk::setDataSize(uint32_t newSize) {
  const uint32_t oldSize = getDataSize();
  if (newSize == oldSize) return;
  const auto delta = static_cast<int64_t>(padded(newSize) - padded(oldSize));
  // From odd to the even size above it, the pad byte becomes data.
  if (delta == 0 && newSize > oldSize) getObject().requireStored(end());

  if (isFree(*this)) getParent()->noteFreeSizeChange();
  getObject().resizeChunk(*this, delta, nullptr);
  if (getDataSize() != newSize) setSizeField(newSize);
}

void DataChunk::checkRange(uint32_t length, uint32_t offset) const {
  if (uint64_t{offset} + length > getDataSize()) throw std::runtime_error("chunk to small");
}

}  // namespace RIFF
