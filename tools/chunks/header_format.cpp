// Tells the kinds of RIFF files apart, and reads sizes of 64 bits.
#include "chunks/header_format.h"

#include <algorithm>
#include <array>

namespace tool {

namespace {

// In a file with sizes of 64 bits, a size field with this value refers to ds64.
constexpr uint32_t SEE_DS64 = 0xFFFF'FFFF;

}  // namespace

HeaderFormat::HeaderFormat(const Read& read) {
  std::array<uint8_t, 4> first{};
  read(first.data(), first.size(), 0);
  const uint32_t id = littleEndian32(first.data());
  if (id == ID_RIFX || id == ID_RF64 || id == ID_BW64) riff = id;
  if (isWide()) readWideSizes(read);
}

void HeaderFormat::readWideSizes(const Read& read) {
  constexpr std::size_t START_SIZE = HEADER_SIZE + WideSizes::FIXED_SIZE;
  std::array<uint8_t, START_SIZE> start{};
  read(start.data(), start.size(), GROUP_HEADER_SIZE);
  const uint64_t size = littleEndian32(&start[4]);
  if (littleEndian32(start.data()) != ID_DS64 || size < WideSizes::SMALLEST) return;
  hasWideSizes = true;
  wide.riffSize = littleEndian64(&start[8]);
  wide.dataSize = littleEndian64(&start[16]);
  wide.sampleCount = littleEndian64(&start[24]);
  if (size < WideSizes::FIXED_SIZE) return;
  wide.entryCount = littleEndian32(&start[32]);
  const uint64_t room = (size - WideSizes::FIXED_SIZE) / WideSizes::ENTRY_SIZE;
  const uint64_t count = std::min({uint64_t{wide.entryCount}, room, WideSizes::MAX_ENTRIES});
  std::vector<uint8_t> bytes(count * WideSizes::ENTRY_SIZE);
  read(bytes.data(), bytes.size(), GROUP_HEADER_SIZE + start.size());
  for (uint64_t at = 0; at < bytes.size(); at += WideSizes::ENTRY_SIZE) {
    wide.table.push_back({littleEndian32(&bytes[at]), littleEndian64(&bytes[at + 4])});
  }
  std::ranges::stable_sort(wide.table, {}, &WideSizes::Entry::id);
}

RawChunk HeaderFormat::chunk(const uint8_t* header, uint64_t offset) const {
  RawChunk chunk;
  chunk.id = littleEndian32(header);
  const uint8_t* const size = header + 4;
  chunk.dataSize = order() == ByteOrder::BIG ? bigEndian32(size) : littleEndian32(size);
  chunk.groupId = littleEndian32(header + HEADER_SIZE);
  chunk.offset = offset;
  chunk.isRiff = chunk.id == riff;
  if (hasWideSizes && chunk.dataSize == SEE_DS64) {
    chunk.dataSize = std::min(wideSize(chunk), MAX_WIDE_SIZE);
  }
  return chunk;
}

uint64_t HeaderFormat::wideSize(const RawChunk& chunk) const {
  if (chunk.offset == 0) return wide.riffSize;
  if (chunk.id == ID_DATA) return wide.dataSize;
  const auto entry = std::ranges::lower_bound(wide.table, chunk.id, {}, &WideSizes::Entry::id);
  return entry != wide.table.end() && entry->id == chunk.id ? entry->size : SEE_DS64;
}

}  // namespace tool
