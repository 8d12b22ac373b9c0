// Reads headers through a window, and finds the end of a run of zeros.
#include "chunks/raw_bytes.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "app/errors.h"

namespace tool {

namespace {

constexpr uint64_t SCAN_BLOCK = 1 << 18;

// The index of the first byte that is not 0, or the size.
std::size_t leadingZeros(std::span<const std::byte> bytes) {
  std::size_t index = 0;
  for (uint64_t word = 0; index + sizeof word <= bytes.size(); index += sizeof word) {
    std::memcpy(&word, bytes.data() + index, sizeof word);
    if (word != 0) break;
  }
  while (index < bytes.size() && bytes[index] == std::byte{0}) ++index;
  return index;
}

[[noreturn]] void throwNotKept(uint64_t offset) {
  throw Failure("a part of standard input is needed that was not kept (at offset " +
                std::to_string(offset) + "): save it as a file first");
}

}  // namespace

RawBytes::RawBytes(const File& file)
    : file(&file), stored(file.size()), length(stored), headers(readFormat()) {}

RawBytes::RawBytes(std::span<const char> memory)
    : memory(memory), stored(memory.size()), length(stored), headers(readFormat()) {}

RawBytes::RawBytes(const KeptBytes& kept)
    : kept(&kept), stored(kept.size()), length(stored), headers(readFormat()) {}

HeaderFormat RawBytes::readFormat() const {
  return HeaderFormat(
      [this](void* to, uint64_t count, uint64_t offset) { copy(to, count, offset); });
}

RawChunk RawBytes::chunkAt(uint64_t offset) {
  RawChunk chunk = headers.chunk(bytesAt(offset, GROUP_HEADER_SIZE), offset);
  const auto patch = std::ranges::lower_bound(patches, offset, {}, &Patch::offset);
  if (patch != patches.end() && patch->offset == offset) chunk.dataSize = patch->dataSize;
  return chunk;
}

uint8_t RawBytes::byteAt(uint64_t offset) { return *bytesAt(offset, 1); }

uint64_t RawBytes::number(uint64_t offset, uint64_t size) const {
  std::array<uint8_t, sizeof(uint64_t)> bytes{};
  copy(bytes.data(), size, offset);
  return numberIn(std::span(bytes).first(size), order());
}

void RawBytes::copy(void* to, uint64_t count, uint64_t offset) const {
  if (!fetch(to, count, offset)) throwNotKept(offset);
}

void RawBytes::require(uint64_t offset, uint64_t count) const {
  if (!has(offset, count)) throwNotKept(offset);
}

bool RawBytes::fetch(void* to, uint64_t count, uint64_t offset) const {
  const uint64_t there = offset < stored ? std::min(count, stored - offset) : 0;
  if (there < count) std::memset(static_cast<char*>(to) + there, 0, count - there);
  if (there == 0) return true;
  if (kept) return kept->copy(to, there, offset);
  if (file) {
    file->readAll(to, there, offset);
  } else {
    std::memcpy(to, memory.data() + offset, there);
  }
  return true;
}

uint64_t RawBytes::endOfZeros(uint64_t offset, uint64_t end) {
  if (kept) return kept->endOfZeros(offset, end);
  // Usually no run begins at the offset that the caller passes. If a run begins there, it is
  // usually short and ends in the window. So the window is searched first.
  if (offset < end) {
    bytesAt(offset, 1);
    const uint64_t windowEnd = std::min(windowOffset + windowSize, end);
    offset += leadingZeros(
        std::as_bytes(std::span(window)).subspan(offset - windowOffset, windowEnd - offset));
    if (offset < windowEnd) return offset;
  }
  std::vector<std::byte> block;
  while (offset < end) {
    if (file) offset = std::min(file->nextData(offset), end);
    block.resize(std::min(block.empty() ? WINDOW : SCAN_BLOCK, end - offset));
    copy(block.data(), block.size(), offset);
    const std::size_t zeros = leadingZeros(block);
    offset += zeros;
    if (zeros < block.size()) break;
  }
  return offset;
}

const uint8_t* RawBytes::bytesAt(uint64_t offset, uint64_t count) {
  if (offset < windowOffset || offset + count > windowOffset + windowSize) {
    windowSize = offset < length ? std::min<uint64_t>(WINDOW, length - offset) : 0;
    windowOffset = offset;
    fetch(window.data(), windowSize, offset);
    std::fill(window.begin() + static_cast<std::ptrdiff_t>(windowSize), window.end(), uint8_t{0});
  }
  return &window[offset - windowOffset];
}

}  // namespace tool
