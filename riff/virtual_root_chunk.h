// The group above the top-level chunks of an object.

#ifndef RIFF_VIRTUAL_ROOT_CHUNK_H
#define RIFF_VIRTUAL_ROOT_CHUNK_H

#include "riff/group_chunk.h"

namespace RIFF {

// Embedded in its object. It has no header in the bytes: its offset is -1, its ids are null and its
// size stays 0, whatever it holds. It is the one chunk without a parent.
class VirtualRootChunk final : public GroupChunk {
 public:
  explicit VirtualRootChunk(Object& object) : GroupChunk(object, -1, {}, 0, nullptr, {}) {}

  // Offset of the first byte behind the last top-level chunk. It can lie behind the stored bytes,
  // when the last chunk was cut short.
  uint64_t endOfChildren() const;
};

}  // namespace RIFF

#endif
