// The items of a file down to a certain level.
#ifndef VELMOR_CORE_TOOLS_LOOKING_SHOWN_ITEMS_H
#define VELMOR_CORE_TOOLS_LOOKING_SHOWN_ITEMS_H

#include <limits>

#include "chunks/tree_items.h"

namespace tool {

constexpr uint64_t ALL_LEVELS = std::numeric_limits<uint64_t>::max();

// Goes through the first `depth` levels. The level of the first item is the first one. Deeper
// chunks are only counted. Reads ahead up to the next item to show, so that hidden() is known.
class ShownItems {
 public:
  ShownItems(RawBytes& bytes, const RawNode& start, uint64_t depth)
      : items(bytes, start), hasMore(items.next()), firstLevel(items.item().level), depth(depth) {}

  bool next() {
    if (!hasMore) return false;
    current = items.item();
    deeper = 0;
    while ((hasMore = items.next()) && items.item().level - firstLevel >= depth) {
      if (items.item().kind == TreeItem::CHUNK) ++deeper;
    }
    return true;
  }
  const TreeItem& item() const { return current; }
  // How many chunks in the item are too deep to be shown.
  uint64_t hidden() const { return deeper; }

 private:
  TreeItems items;
  bool hasMore;
  uint64_t firstLevel;
  uint64_t depth;
  uint64_t deeper = 0;
  TreeItem current;
};

}  // namespace tool

#endif
