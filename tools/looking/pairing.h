// Pairs the items of two groups that do not line up.
#ifndef VELMOR_CORE_TOOLS_LOOKING_PAIRING_H
#define VELMOR_CORE_TOOLS_LOOKING_PAIRING_H

#include <limits>
#include <vector>

#include "looking/item_name.h"

namespace tool {

// A range of siblings in a file: [offset, limit).
struct Siblings {
  uint64_t offset = 0;
  uint64_t limit = 0;

  bool isEmpty() const { return offset >= limit; }
  TreeItem first(RawBytes& bytes, uint64_t level) const {
    return itemAt(bytes, offset, limit, level, offset == 0);
  }
};

// An item, and its partner in the other file. Kept small: a group may have millions.
struct Paired {
  static constexpr uint32_t NOBODY = std::numeric_limits<uint32_t>::max();

  uint64_t offset = 0;
  uint32_t partner = NOBODY;  // its index in the vector of the other file
  bool isMoved = false;       // set in the first file only
};

struct Pairing {
  std::vector<Paired> first;
  std::vector<Paired> second;
};

// Pairs items of equal names: first those with equal contents, then the others in their order. Then
// marks as few pairs as possible as moved, so that all other pairs have the same order in both
// files. Reading the content of a group subtracts its size from `budget`. Groups that are larger
// than what is left are not read, and are paired in their order. Without a budget, nested groups
// would be read again for each level.
Pairing pairItems(RawBytes& firstBytes, const Siblings& first, RawBytes& secondBytes,
                  const Siblings& second, uint64_t level, uint64_t& budget);

}  // namespace tool

#endif
