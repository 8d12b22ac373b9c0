// How a file stores the sizes in its headers. Its first bytes say so:
//
//   RIFF        32 bits, little-endian
//   RIFX        32 bits, big-endian, as all other numbers in the file
//   RF64, BW64  32 bits, little-endian. A size of 0xFFFFFFFF refers to the chunk ds64, the first in
//               the group, which has sizes of 64 bits (EBU Tech 3306, ITU-R BS.2088).
#ifndef VELMOR_CORE_TOOLS_CHUNKS_HEADER_FORMAT_H
#define VELMOR_CORE_TOOLS_CHUNKS_HEADER_FORMAT_H

#include <cstdint>
#include <functional>
#include <vector>

#include "chunks/raw_chunk.h"

namespace tool {

constexpr uint32_t ID_RIFX = idOf("RIFX");
constexpr uint32_t ID_RF64 = idOf("RF64");
constexpr uint32_t ID_BW64 = idOf("BW64");
constexpr uint32_t ID_DS64 = idOf("ds64");
constexpr uint32_t ID_DATA = idOf("data");

// Sizes in ds64 that are larger count as this one. No file reaches it.
constexpr uint64_t MAX_WIDE_SIZE = uint64_t{1} << 62;

// The data of ds64: the data sizes of the group and of "data", the number of samples, and a table
// with the sizes of other chunks.
struct WideSizes {
  // Three numbers of 64 bits; the number of entries in the table (32 bits).
  static constexpr uint64_t FIXED_SIZE = 28;
  // Some programs leave out the number of entries.
  static constexpr uint64_t SMALLEST = 24;
  // An id and a size of 64 bits.
  static constexpr uint64_t ENTRY_SIZE = 12;
  // Of longer tables only the start is read.
  static constexpr uint64_t MAX_ENTRIES = 4096;

  struct Entry {
    uint32_t id;
    uint64_t size;
  };
  uint64_t riffSize = 0;
  uint64_t dataSize = 0;
  uint64_t sampleCount = 0;
  uint32_t entryCount = 0;   // as ds64 states it
  std::vector<Entry> table;  // sorted by id; of entries with equal ids the first one is used
};

class HeaderFormat {
 public:
  // Copies `count` bytes at an offset. Bytes past the end of the file are 0.
  using Read = std::function<void(void* to, uint64_t count, uint64_t offset)>;

  HeaderFormat() = default;
  explicit HeaderFormat(const Read& read);

  // "RIFF", or the id that this file has in its place, such as "RF64".
  uint32_t riffId() const { return riff; }
  ByteOrder order() const { return riff == ID_RIFX ? ByteOrder::BIG : ByteOrder::LITTLE; }
  bool isWide() const { return riff == ID_RF64 || riff == ID_BW64; }
  // All 0 if the file has no sizes of 64 bits.
  const WideSizes& wideSizes() const { return wide; }

  // The chunk at an offset, from its first GROUP_HEADER_SIZE bytes.
  RawChunk chunk(const uint8_t* header, uint64_t offset) const;

 private:
  void readWideSizes(const Read& read);
  uint64_t wideSize(const RawChunk& chunk) const;

  uint32_t riff = ID_RIFF;
  bool hasWideSizes = false;
  WideSizes wide;
};

}  // namespace tool

#endif
