// Walks through the chunks of two files side by side.

#include "looking/diff.h"

#include <deque>
#include <vector>

#include "looking/content.h"
#include "looking/pairing.h"

namespace tool {

namespace {

// Two groups with the same path, and the items in them that are still to be compared.
struct GroupPair {
  Siblings first;
  Siblings second;
  uint64_t level = 0;  // of the items
  ItemName name;       // of the groups; unused for the virtual roots
};

class Comparison {
 public:
  Comparison(RawBytes& first, RawBytes& second, const OnDifference& report)
      : first(first), second(second), onDifference(report), budget(first.size() + second.size()) {
    groups.push_back({{0, first.size()}, {0, second.size()}, 0, {}});
  }

  bool run() {
    while (!groups.empty() && !isStopped) {
      GroupPair& pair = groups.back();
      names.resize(pair.level);
      if (pair.level > 0) names.back() = pair.name;
      if (pair.first.isEmpty() && pair.second.isEmpty()) {
        groups.pop_back();
      } else if (pair.first.isEmpty() || pair.second.isEmpty() || !passFirst(pair)) {
        const GroupPair rest = pair;
        groups.pop_back();
        compareRest(rest);
      }
    }
    return !hasDifference;
  }

 private:
  // Compares the first item of both groups, and passes it. False if the items have to be paired.
  bool passFirst(GroupPair& pair) {
    const TreeItem a = pair.first.first(first, pair.level);
    const TreeItem b = pair.second.first(second, pair.level);
    if (nameOf(a) != nameOf(b)) return false;
    const bool isRun = a.isGroup() && (isRepeated(a, pair.first, first, pair.level) ||
                                       isRepeated(b, pair.second, second, pair.level));
    const bool isEqual = (!a.isGroup() || (isRun && mayReadGroup(a, b))) && areEqual(a, b);
    if (!isEqual && (!a.isGroup() || (isRun && budget > 0))) return false;
    pair.first.offset = a.end();
    pair.second.offset = b.end();
    if (isEqual) return true;
    // If a and b are the last items of their groups, the pair of these groups is removed before the
    // pair of a and b is added. So in files where each group is the last item of the group around
    // it, `groups` stays small, and only `names` grows with the level.
    const bool isLast = pair.first.isEmpty() && pair.second.isEmpty();
    if (isLast) groups.pop_back();
    groups.push_back(insideOf(a, b));
    return true;
  }

  // Whether the next sibling has the same name. Such groups, for example the streams of an AVI, are
  // paired by their contents.
  static bool isRepeated(const TreeItem& item, const Siblings& siblings, RawBytes& bytes,
                         uint64_t level) {
    const Siblings rest{item.end(), siblings.limit};
    return !rest.isEmpty() && nameOf(rest.first(bytes, level)) == nameOf(item);
  }

  // Groups of equal size may be compared as a whole until the budget is used up. Without a budget,
  // nested groups would be read again for each level.
  bool mayReadGroup(const TreeItem& a, const TreeItem& b) {
    const uint64_t size = contentOf(a).size;
    if (size != contentOf(b).size) return false;
    const bool isAllowed = size <= budget;
    budget = isAllowed ? budget - size : 0;
    return isAllowed;
  }

  bool areEqual(const TreeItem& a, const TreeItem& b) {
    return haveEqualSizes(a, b) && !findDifference(a, b);
  }
  static bool haveEqualSizes(const TreeItem& a, const TreeItem& b) {
    return a.chunk.dataSize == b.chunk.dataSize && contentOf(a).size == contentOf(b).size;
  }
  std::optional<uint64_t> findDifference(const TreeItem& a, const TreeItem& b) {
    return firstDifference(first, contentOf(a).offset, second, contentOf(b).offset,
                           contentOf(a).size);
  }

  static GroupPair insideOf(const TreeItem& a, const TreeItem& b) {
    return {{contentOf(a).offset, a.end()}, {contentOf(b).offset, b.end()}, a.level + 1, nameOf(a)};
  }

  // Compares the items of two groups that do not line up.
  void compareRest(const GroupPair& rest) {
    const Pairing pairing = pairItems(first, rest.first, second, rest.second, rest.level, budget);
    const auto itemOf = [&](RawBytes& bytes, const Siblings& siblings, const Paired& paired) {
      return Siblings{paired.offset, siblings.limit}.first(bytes, rest.level);
    };
    std::vector<GroupPair> later;
    for (const Paired& paired : pairing.first) {
      const TreeItem a = itemOf(first, rest.first, paired);
      if (paired.partner == Paired::NOBODY) {
        report({Difference::REMOVED, pathTo(a), a, std::nullopt, std::nullopt});
      } else {
        const TreeItem b = itemOf(second, rest.second, pairing.second[paired.partner]);
        comparePair(a, b, paired.isMoved);
        if (a.isGroup() && b.isGroup()) later.push_back(insideOf(a, b));
      }
      if (isStopped) return;
    }
    for (const Paired& paired : pairing.second) {
      if (paired.partner != Paired::NOBODY) continue;
      const TreeItem b = itemOf(second, rest.second, paired);
      report({Difference::ADDED, pathTo(b), std::nullopt, b, std::nullopt});
      if (isStopped) return;
    }
    groups.insert(groups.end(), later.rbegin(), later.rend());  // the last is taken first
  }

  // Groups are only looked at here; the items in them are compared later.
  void comparePair(const TreeItem& a, const TreeItem& b, bool isMoved) {
    if (nameOf(a) != nameOf(b)) {
      report({Difference::REMOVED, pathTo(a), a, std::nullopt, std::nullopt});
      report({Difference::ADDED, pathTo(b), std::nullopt, b, std::nullopt});
      return;
    }
    if (isMoved) report({Difference::MOVED, pathTo(a), a, b, std::nullopt});
    if (a.isGroup()) return;
    const bool isSameSize = haveEqualSizes(a, b);
    const auto differsAt = isSameSize ? findDifference(a, b) : std::nullopt;
    if (isSameSize && !differsAt) return;
    report({Difference::CHANGED, pathTo(a), a, b, differsAt});
  }

  void report(const Difference& difference) {
    hasDifference = true;
    if (!isStopped) isStopped = !onDifference(difference);
  }

  // The middle is left out if there are many groups.
  std::string pathTo(const TreeItem& item) const {
    constexpr std::size_t SHOWN = 4;
    std::string path;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (i == SHOWN && names.size() > 2 * SHOWN) {
        path += ".../";
        i = names.size() - SHOWN;
      }
      path.append(textOf(names[i])).append("/");
    }
    return path + textOf(nameOf(item));
  }

  RawBytes& first;
  RawBytes& second;
  const OnDifference& onDifference;
  uint64_t budget;  // bytes of groups that may still be read as a whole
  std::deque<GroupPair> groups;
  std::deque<ItemName> names;  // of the groups that contain the items that are compared
  bool hasDifference = false;
  bool isStopped = false;
};

}  // namespace

bool compareFiles(RawBytes& first, RawBytes& second, const OnDifference& report) {
  return Comparison(first, second, report).run();
}

}  // namespace tool
