// The paths with which users name a chunk: RIFF:WAVE/LIST[2]/INAM.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_CHUNK_PATH_H
#define VELMOR_CORE_TOOLS_CHUNKS_CHUNK_PATH_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// One step: an id, and the group id and the number if they were typed.
struct PathStep {
  uint32_t id = 0;
  std::optional<uint32_t> groupId;
  std::optional<uint64_t> number;  // among the siblings that fit, from 1
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

class ChunkPath {
 public:
  // Slashes at the start and the end have no meaning. Throws UsageError for a text that is no path.
  explicit ChunkPath(std::string_view text);

  const std::string& text() const { return typed; }
  const PathStep& last() const { return steps.back(); }

  // The chunk that the path names. Throws Failure when there is none, or when several chunks fit a
  // step without a number. A Node is a chunk of an object or a header in a file. It has id(),
  // groupId(), name(), isGroup(), isVirtualRoot(), firstChild() and next(). The last two return a
  // node that converts to false if there is none.
  template <typename Node>
  Node find(const Node& virtualRoot) const {
    return follow(virtualRoot, steps);
  }
  // The chunk that the path names without its last step; the virtual root for a path of one step.
  template <typename Node>
  Node findParent(const Node& virtualRoot) const {
    return follow(virtualRoot, std::span(steps).first(steps.size() - 1));
  }

 private:
  template <typename Node>
  static Node follow(Node from, std::span<const PathStep> way) {
    for (const PathStep& step : way) {
      const Node found = takeStep(from, step);
      if (!found) throwMissing(step, from.isVirtualRoot() ? "at the top" : "in " + from.name());
      from = found;
    }
    return from;
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
