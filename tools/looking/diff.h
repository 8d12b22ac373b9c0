// What differs between the chunks of two files.
#ifndef VELMOR_CORE_TOOLS_LOOKING_DIFF_H
#define VELMOR_CORE_TOOLS_LOOKING_DIFF_H

#include <functional>
#include <optional>
#include <string>

#include "looking/item_name.h"

namespace tool {

struct Difference {
  enum Kind { REMOVED, ADDED, CHANGED, MOVED };
  Kind kind;
  std::string path;                // the names of the groups and the item
  std::optional<TreeItem> first;   // the item in the first file; none if it was added
  std::optional<TreeItem> second;  // the item in the second file; none if it was removed
  // If the data of an item changed, but not its size: where the first differing byte is, from the
  // first data byte.
  std::optional<uint64_t> differsAt;
};

// Receives each difference. Returns whether to go on.
using OnDifference = std::function<bool(const Difference& difference)>;

// Compares groups with the same path by their items. Offsets and pad bytes may differ. Items with
// equal names in a group are paired if their contents are equal, otherwise in their order. Returns
// whether the files are the same.
//
// Groups whose items line up take no memory. Of other groups, a few words are held for each item
// from the first difference on.
bool compareFiles(RawBytes& first, RawBytes& second, const OnDifference& report);

}  // namespace tool

#endif
