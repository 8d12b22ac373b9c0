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
  // The offset of the first differing byte, from the first data byte. Set only if the data of an
  // item changed and its size did not.
  std::optional<uint64_t> differsAt;
};

// Receives each difference. Returns whether to go on.
using OnDifference = std::function<bool(const Difference& difference)>;

// Compares the items of groups with the same path. Offsets and pad bytes may differ. In a group,
// items with the same name and the same content are paired first. The rest of the items with this
// name are paired in their order. Returns whether the files are the same.
//
// A few words are held for each group that contains the current items. While the items of two
// groups agree in their order, they take no memory. From the first difference on, a few words are
// held for each item that is left in the two groups.
bool compareFiles(RawBytes& first, RawBytes& second, const OnDifference& report);

}  // namespace tool

#endif
