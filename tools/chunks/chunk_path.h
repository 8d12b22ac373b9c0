// The paths with which users name chunks: RIFF:WAVE/LIST[2]/INAM, and LIST[*] for all that fit.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_CHUNK_PATH_H
#define VELMOR_CORE_TOOLS_CHUNKS_CHUNK_PATH_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

// One step: an id, and the group id and the number if they were typed.
struct PathStep {
  uint32_t id = 0;
  std::optional<uint32_t> groupId;
  std::optional<uint64_t> number;  // among the siblings that fit, from 1
  bool all = false;                // "[*]": all siblings that fit
  std::string text;                // as it was typed

  template <typename Node>
  bool fits(const Node& node) const {
    if (node.id() != id) return false;
    return !groupId || (node.isGroup() && node.groupId() == *groupId);
  }
};

// Throw the Failure for a step that fits several chunks, and for one that fits none.
[[noreturn]] void throwAmbiguous(const PathStep& step, uint64_t fitting);
[[noreturn]] void throwMissing(const PathStep& step, const std::string& place);
// "there is no chunk INAM in LIST:INFO"
std::string missingText(const PathStep& step, const std::string& place);

class ChunkPath {
 public:
  enum Reach {
    ONE,  // names one chunk, so "[*]" is an error
    MANY  // may name several chunks with "[*]"
  };

  // Slashes at the start and the end have no meaning. Throws UsageError for a text that is no path.
  explicit ChunkPath(std::string_view text, Reach reach = ONE);

  // As it was typed, without such slashes.
  const std::string& text() const { return typed; }
  const PathStep& first() const { return steps.front(); }
  const PathStep& last() const { return steps.back(); }

  // How far a path leads: the last chunk on it that exists, and the steps after that one.
  template <typename Node>
  struct Reached {
    Node node;
    std::span<const PathStep> missing;
  };

  // The chunk that the path names. Throws Failure when there is none, or when several chunks fit a
  // step without a number. A Node is a chunk of an object or a header in a file. It has id(),
  // groupId(), name(), isGroup(), isVirtualRoot(), firstChild() and next(). The last two return a
  // node that converts to false if there is none.
  template <typename Node>
  Node find(const Node& virtualRoot) const {
    return follow(virtualRoot, steps);
  }
  // Follows the path up to its end or to the first step that no chunk fits. Throws Failure when
  // several chunks fit a step without a number.
  template <typename Node>
  Reached<Node> reach(Node from) const {
    std::span<const PathStep> way(steps);
    for (; !way.empty(); way = way.subspan(1)) {
      const Node found = takeStep(from, way.front());
      if (!found) break;
      from = found;
    }
    return {from, way};
  }
  // All chunks that the path names, in the order of the bytes. After "[*]", groups that lack the
  // next step are passed over. Throws Failure when there is no such chunk at all, or when several
  // chunks of a group fit a step without a number.
  template <typename Node>
  std::vector<Node> findAll(const Node& virtualRoot) const {
    std::vector<Node> found{virtualRoot};
    for (const PathStep& step : steps) {
      const std::vector<Node> groups = std::exchange(found, {});
      for (const Node& group : groups) takeSteps(group, step, found);
      if (found.empty()) throwMissing(step, placeOf(groups.front(), groups.size()));
    }
    return found;
  }
  // The chunk that the path names without its last step; the virtual root for a path of one step.
  template <typename Node>
  Node findParent(const Node& virtualRoot) const {
    return follow(virtualRoot, std::span(steps).first(steps.size() - 1));
  }

  // Where a step was looked for, for messages: "at the top, beside RIFF:WAVE", "in LIST:INFO".
  template <typename Node>
  static std::string placeOf(const Node& group, std::size_t groups = 1) {
    if (groups > 1) return "in any of " + std::to_string(groups) + " chunks";
    if (!group.isVirtualRoot()) return "in " + group.name();
    const Node first = group.firstChild();
    return first && first.isGroup() ? "at the top, beside " + first.name() : "at the top";
  }

 private:
  template <typename Node>
  static Node follow(Node from, std::span<const PathStep> way) {
    for (const PathStep& step : way) {
      const Node found = takeStep(from, step);
      if (!found) throwMissing(step, placeOf(from));
      from = found;
    }
    return from;
  }

  // Appends the children of `from` that a step names.
  template <typename Node>
  static void takeSteps(const Node& from, const PathStep& step, std::vector<Node>& found) {
    if (!step.all) {
      if (const Node child = takeStep(from, step)) found.push_back(child);
      return;
    }
    for (Node child = from.firstChild(); child; child = child.next()) {
      if (step.fits(child)) found.push_back(child);
    }
  }

  // The child of `from` that a step names; none if no child fits.
  template <typename Node>
  static Node takeStep(const Node& from, const PathStep& step) {
    Node found;
    uint64_t fitting = 0;
    for (Node child = from.firstChild(); child; child = child.next()) {
      if (!step.fits(child)) continue;
      ++fitting;
      if (!step.number && fitting == 1) found = child;
      if (step.number == fitting) return child;
    }
    if (!step.number && fitting > 1) throwAmbiguous(step, fitting);
    return found;
  }

  std::string typed;
  std::vector<PathStep> steps;
};

}  // namespace tool

#endif
