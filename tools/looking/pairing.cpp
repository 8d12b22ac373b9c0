// Pairs the items of two groups that do not line up.

#include "looking/pairing.h"

#include <algorithm>
#include <numeric>
#include <span>

#include "app/errors.h"
#include "looking/content.h"

namespace tool {

namespace {

using Index = uint32_t;
using Indexes = std::vector<Index>;
using Run = std::span<Index>;

// Different for different names of one file. In two files, a group and a data chunk may share it.
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
      items.push_back({item.chunk.offset, keyOf(nameOf(item))});
      rest.offset = item.end();
    }
    order.resize(items.size());
    std::iota(order.begin(), order.end(), Index{0});
    sort(order);
  }

  Paired& operator[](Index index) { return items[index]; }
  uint64_t key(Index index) const { return items[index].key; }
  Run all() { return order; }

  // Stable: items with equal keys keep their order.
  void sort(Run run) const {
    std::ranges::sort(run, [this](Index a, Index b) {
      return items[a].key != items[b].key ? items[a].key < items[b].key : a < b;
    });
  }
  // The items at the start of a sorted run that have the same key.
  Run takeEqual(Run& run) const {
    const auto end = std::ranges::find_if(run, [&](Index i) { return key(i) != key(run[0]); });
    const Run equal = run.first(static_cast<std::size_t>(end - run.begin()));
    run = run.subspan(equal.size());
    return equal;
  }

  // Replaces the keys of a run by digests of the contents.
  void digest(Run run, uint64_t& budget) {
    for (const Index index : run) {
      Paired& paired = items[index];
      const TreeItem item = itemAt(bytes, paired.offset, siblings.limit, level, paired.offset == 0);
      const Content content = contentOf(item);
      paired.key = 0;
      if (item.isGroup()) {
        if (content.size > budget) continue;
        budget -= content.size;
      }
      paired.key = digestOf(bytes, content);
    }
    sort(run);
  }

 private:
  RawBytes& bytes;
  Siblings siblings;
  uint64_t level;
  std::vector<Paired>& items;
  Indexes order;
};

// Calls work() with the runs of both sides that have the same key.
template <typename Work>
void forEqualKeys(Side& first, Run a, Side& second, Run b, Work work) {
  while (!a.empty() && !b.empty()) {
    if (first.key(a[0]) < second.key(b[0])) {
      first.takeEqual(a);
    } else if (second.key(b[0]) < first.key(a[0])) {
      second.takeEqual(b);
    } else {
      const Run equal = first.takeEqual(a);
      work(equal, second.takeEqual(b));
    }
  }
}

void pairInOrder(Side& first, Run a, Side& second, Run b) {
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    first[a[i]].partner = b[i];
    second[b[i]].partner = a[i];
  }
}

// The items of a run without a partner, in their order.
Run unpaired(Side& side, Run run) {
  const auto paired = std::ranges::partition(
      run, [&](Index index) { return side[index].partner == Paired::NOBODY; });
  const Run rest = run.first(run.size() - paired.size());
  std::ranges::sort(rest);
  return rest;
}

// Marks pairs as moved so that the others are in the same order in both files and as many as
// possible: a longest increasing subsequence of the partners.
void markMoved(std::vector<Paired>& items) {
  Indexes ends;  // the item that ends the best sequence of each length
  Indexes before(items.size(), Paired::NOBODY);
  for (Index i = 0; i < items.size(); ++i) {
    if (items[i].partner == Paired::NOBODY) continue;
    items[i].isMoved = true;
    const auto place = std::ranges::lower_bound(ends, items[i].partner, {},
                                                [&](Index index) { return items[index].partner; });
    if (place != ends.begin()) before[i] = *(place - 1);
    if (place == ends.end()) {
      ends.push_back(i);
    } else {
      *place = i;
    }
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
    forEqualKeys(a, a.all(), b, b.all(), [&](Run ofFirst, Run ofSecond) {
      if (ofFirst.size() > 1 || ofSecond.size() > 1) {
        a.digest(ofFirst, budget);
        b.digest(ofSecond, budget);
        forEqualKeys(a, ofFirst, b, ofSecond, [&](Run x, Run y) { pairInOrder(a, x, b, y); });
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
