// The contents of items, for comparisons.
#ifndef VELMOR_CORE_TOOLS_LOOKING_CONTENT_H
#define VELMOR_CORE_TOOLS_LOOKING_CONTENT_H

#include <optional>

#include "looking/item_name.h"

namespace tool {

// A range of a file's bytes.
struct Content {
  uint64_t offset = 0;
  uint64_t size = 0;
};

// For a data chunk: its data, but no byte past the end of its group or of the file. For a group:
// everything in it after its header. For bytes that are no chunk: these bytes.
Content contentOf(const TreeItem& item);

// Compares two ranges of the same size. Returns the offset of the first differing byte within them,
// or nothing if they are equal. If a range is a hole in both files, reads less than 64 KiB of it.
std::optional<uint64_t> firstDifference(RawBytes& a, uint64_t aOffset, RawBytes& b,
                                        uint64_t bOffset, uint64_t size);

// A digest. Equal contents have equal digests, and different contents rarely do. Reads less than
// 128 KiB of each hole.
uint64_t digestOf(RawBytes& bytes, const Content& content);

// Mixes a number into a digest.
constexpr uint64_t mixed(uint64_t digest, uint64_t number) {
  constexpr uint64_t FACTOR = 0x9E37'79B9'7F4A'7C15;  // 2^64 divided by the golden ratio
  const uint64_t product = (digest ^ number) * FACTOR;
  return product ^ product >> 32;
}

}  // namespace tool

#endif
