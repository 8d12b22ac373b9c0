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

// The data of a chunk as far as it is stored, without header and pad byte. Of a group, everything
// after its header. Of bytes that are no chunk, the bytes.
Content contentOf(const TreeItem& item);

// Where two contents of the same size differ first, from their starts. Ranges that are holes in
// both files are not read.
std::optional<uint64_t> firstDifference(RawBytes& a, uint64_t aOffset, RawBytes& b,
                                        uint64_t bOffset, uint64_t size);

// A digest. Equal contents have equal digests, and different contents rarely do. Holes are not
// read.
uint64_t digestOf(RawBytes& bytes, const Content& content);

// Mixes a number into a digest.
constexpr uint64_t mixed(uint64_t digest, uint64_t number) {
  constexpr uint64_t FACTOR = 0x9E37'79B9'7F4A'7C15;  // 2^64 divided by the golden ratio
  const uint64_t product = (digest ^ number) * FACTOR;
  return product ^ product >> 32;
}

}  // namespace tool

#endif
