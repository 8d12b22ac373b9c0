// The path syntax with which a person names a chunk: RIFF:WAVE/LIST[2]/INAM.
#ifndef VELMOR_CORE_TOOLS_CHUNK_PATH_H
#define VELMOR_CORE_TOOLS_CHUNK_PATH_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store.h"

namespace tool {

// One step: an id, with a group id where a colon was typed, and a number where one was typed.
struct PathStep {
  uint32_t id = 0;
  std::optional<uint32_t> groupId;
  std::optional<uint64_t> number;  // among the siblings that fit, from 1
  std::string text;                // as it was typed

  bool fits(const Chunk& chunk) const;
};

class ChunkPath {
 public:
  // Throws UsageError for a text that is no path.
  explicit ChunkPath(std::string_view text);

  const std::string& text() const { return typed; }
  const PathStep& last() const { return steps.back(); }

  // The chunk that the path names. Throws Failure when there is none, or when several chunks fit a
  // step without a number.
  Chunk find(const Chunk& virtualRoot) const;
  // The chunk that all steps but the last name: the virtual root for a path of one step.
  Chunk findParent(const Chunk& virtualRoot) const;

 private:
  Chunk follow(Chunk from, std::span<const PathStep> way) const;

  std::string typed;
  std::vector<PathStep> steps;
};

}  // namespace tool

#endif
