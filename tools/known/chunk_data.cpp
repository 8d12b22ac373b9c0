#include "known/chunk_data.h"

#include <algorithm>
#include <array>
#include <span>

namespace tool {

uint64_t ChunkData::size() const {
  const uint64_t begin = std::min(header.dataOffset(), bytes.size());
  return std::min(header.dataEnd(), bytes.size()) - begin;
}

uint64_t ChunkData::number(uint64_t offset, uint64_t count) const {
  if (size() < count || offset > size() - count) return 0;
  std::array<uint8_t, sizeof(uint64_t)> stored{};
  for (uint64_t i = 0; i < count; ++i) stored[i] = bytes.byteAt(header.dataOffset() + offset + i);
  return numberIn(std::span(stored).first(count), bytes.order());
}

uint32_t ChunkData::id(uint64_t offset) const {
  return VELMOR_CORE_RIFF_ID(byte(offset), byte(offset + 1), byte(offset + 2), byte(offset + 3));
}

std::string ChunkData::text(uint64_t offset, uint64_t count) const {
  const uint64_t there = offset < size() ? std::min(count, size() - offset) : 0;
  std::string text;
  while (text.size() < there) {
    const auto character = static_cast<char>(byte(offset + text.size()));
    if (character == '\0') break;
    text += character;
  }
  return text;
}

}  // namespace tool
