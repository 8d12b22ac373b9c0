// How chunks lie in a file: sizes of headers, padding, numbers in both byte orders.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_LAYOUT_H
#define VELMOR_CORE_TOOLS_CHUNKS_LAYOUT_H

#include <velmor_core/riff.h>

#include <array>
#include <cstdint>
#include <span>

namespace tool {

constexpr uint64_t HEADER_SIZE = 8;
constexpr uint64_t SIZE_FIELD = 4;  // from the start of a header
constexpr uint64_t GROUP_HEADER_SIZE = 12;
constexpr uint64_t GROUP_ID_SIZE = 4;

// The largest size that the program stores: 2^32 - 1 marks an unfinished stream.
constexpr uint64_t MAX_SIZE = 0xFFFF'FFFE;

constexpr uint64_t padded(uint64_t size) { return size + size % 2; }

constexpr uint16_t littleEndian16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

constexpr uint32_t littleEndian32(const uint8_t* bytes) {
  return VELMOR_CORE_RIFF_ID(bytes[0], bytes[1], bytes[2], bytes[3]);
}

constexpr uint64_t littleEndian64(const uint8_t* bytes) {
  return littleEndian32(bytes) | static_cast<uint64_t>(littleEndian32(bytes + 4)) << 32;
}

constexpr uint32_t bigEndian32(const uint8_t* bytes) {
  return VELMOR_CORE_RIFF_ID(bytes[3], bytes[2], bytes[1], bytes[0]);
}

enum class ByteOrder { LITTLE, BIG };

// An unsigned number of up to 8 bytes.
constexpr uint64_t numberIn(std::span<const uint8_t> bytes, ByteOrder order) {
  uint64_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    number = number << 8 | bytes[order == ByteOrder::BIG ? i : bytes.size() - 1 - i];
  }
  return number;
}

constexpr std::array<uint8_t, 4> littleEndianBytes(uint32_t number) {
  return {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8),
          static_cast<uint8_t>(number >> 16), static_cast<uint8_t>(number >> 24)};
}

}  // namespace tool

#endif
