// Pairs the items of two groups that do not line up.

#include "looking/pairing.h"

#include <algorithm>
#include <span>

#include "app/errors.h"
#include "looking/content.h"

namespace tool {

namespace {

using Index = uint32_t;
using Indexes = std::vector<Index>;

// The keys are sorted together with the indexes. Looking up each key by its index would cause cache
// misses.
struct Entry {
  uint64_t key;  // at first made from the name; digest() replaces it by a digest of the content
  Index index;

  bool operator<(const Entry& other) const {
    return key != other.key ? key < other.key : index < other.index;
  }
};
using Run = std::span<Entry>;

// Different names in one file have different keys. Across two files of different kinds, a group and
// a data chunk may have the same key.
uint64_t keyOf(const ItemName& name) {
  constexpr int ID_BITS = 32;
  const bool isGroup = name.kind == ItemKind::GROUP;
  return static_cast<uint64_t>(name.id) << ID_BITS |
         (isGroup ? name.groupId : static_cast<uint32_t>(name.kind));
}

// One of the two groups.
class Side {
 public:
  Side(RawBytes& bytes, const Siblings& siblings, uint64_t level, std::vector<Paired>& items)
      : bytes(bytes), siblings(siblings), level(level), items(items) {
    for (Siblings rest = siblings; !rest.isEmpty();) {
      const TreeItem item = rest.first(bytes, level);
      if (items.size() >= Paired::NOBODY) throw Failure("too many chunks in a group to compare");
      order.push_back({keyOf(nameOf(item)), static_cast<Index>(items.size())});
      items.push_back({item.chunk.offset});
      rest.offset = item.end();
    }
    std::sort(order.begin(), order.end());
  }

  Paired& operator[](Index index) { return items[index]; }
  Run all() { return order; }

  // Replaces the keys of a run by digests of the contents. A group that is larger than the budget
  // gets the key 0.
  void digest(Run run, uint64_t& budget) {
    for (Entry& entry : run) {
      const Siblings rest{items[entry.index].offset, siblings.limit};
      const TreeItem item = rest.first(bytes, level);
      const Content content = contentOf(item);
      entry.key = 0;
      if (item.isGroup()) {
        if (content.size > budget) continue;
        budget -= content.size;
      }
      entry.key = digestOf(bytes, content);
    }
    std::sort(run.begin(), run.end());
  }

 private:
  RawBytes& bytes;
  Siblings siblings;
  uint64_t level;
  std::vector<Paired>& items;
  std::vector<Entry> order;
};

// The entries at the start of a sorted run that have the same key.
Run takeEqual(Run& run) {
  const auto end = std::ranges::upper_bound(run, run[0].key, {}, &Entry::key);
  const Run equal = run.first(static_cast<std::size_t>(end - run.begin()));
  run = run.subspan(equal.size());
  return equal;
}

// Calls work() with the entries of both runs that have the same key.
template <typename Work>
void forEqualKeys(Run a, Run b, Work work) {
  while (!a.empty() && !b.empty()) {
    if (a[0].key < b[0].key) {
      takeEqual(a);
    } else if (b[0].key < a[0].key) {
      takeEqual(b);
    } else {
      const Run equal = takeEqual(a);
      work(equal, takeEqual(b));
    }
  }
}

void pairInOrder(Side& first, Run a, Side& second, Run b) {
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    first[a[i].index].partner = b[i].index;
    second[b[i].index].partner = a[i].index;
  }
}

// The items of a run without a partner, in their order.
Run unpaired(Side& side, Run run) {
  const auto end = std::partition(run.begin(), run.end(), [&](const Entry& entry) {
    return side[entry.index].partner == Paired::NOBODY;
  });
  const Run rest = run.first(static_cast<std::size_t>(end - run.begin()));
  std::ranges::sort(rest, {}, &Entry::index);
  return rest;
}

// Marks pairs as moved. The pairs that are not marked have the same order in both files, and there
// are as many of them as possible: they are a longest increasing subsequence of the partners.
void markMoved(std::vector<Paired>& items) {
  Indexes ends;  // the item that ends the best sequence of each length
  Indexes before(items.size(), Paired::NOBODY);
  for (Index i = 0; i < items.size(); ++i) {
    if (items[i].partner == Paired::NOBODY) continue;
    items[i].isMoved = true;
    if (ends.empty() || items[ends.back()].partner < items[i].partner) {  // nearly always
      if (!ends.empty()) before[i] = ends.back();
      ends.push_back(i);
      continue;
    }
    const auto place = std::ranges::lower_bound(ends, items[i].partner, {},
                                                [&](Index index) { return items[index].partner; });
    if (place != ends.begin()) before[i] = *(place - 1);
    *place = i;
  }
  if (ends.empty()) return;
  for (Index i = ends.back(); i != Paired::NOBODY; i = before[i]) items[i].isMoved = false;
}

}  // namespace

Pairing pairItems(RawBytes& firstBytes, const Siblings& first, RawBytes& secondBytes,
                  const Siblings& second, uint64_t level, uint64_t& budget) {
  Pairing pairing;
  {
    Side a(firstBytes, first, level, pairing.first);
    Side b(secondBytes, second, level, pairing.second);
    forEqualKeys(a.all(), b.all(), [&](Run ofFirst, Run ofSecond) {
      if (ofFirst.size() > 1 || ofSecond.size() > 1) {
        a.digest(ofFirst, budget);
        b.digest(ofSecond, budget);
        forEqualKeys(ofFirst, ofSecond, [&](Run x, Run y) { pairInOrder(a, x, b, y); });
        ofFirst = unpaired(a, ofFirst);
        ofSecond = unpaired(b, ofSecond);
      }
      pairInOrder(a, ofFirst, b, ofSecond);
    });
  }
  markMoved(pairing.first);
  return pairing;
}

}  // namespace tool
