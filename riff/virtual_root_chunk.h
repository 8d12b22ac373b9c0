// The group above the top-level chunks of an object.

#ifndef RIFF_VIRTUAL_ROOT_CHUNK_H
#define RIFF_VIRTUAL_ROOT_CHUNK_H

#include "riff/group_chunk.h"

namespace RIFF {

// Embedded in its object. It has no header in the bytes: its offset is -1, its ids are null, and
// its size stays 0 whatever it holds. It is the only chunk without a parent.
class VirtualRootChunk final : public GroupChunk {
 public:
  explicit VirtualRootChunk(Object& object) : GroupChunk(object, -1, {}, 0, nullptr, {}) {}

  // Offset of the first byte after the last top-level chunk. It can lie past the stored bytes, when
  // they end inside that chunk.
  uint64_t endOfChildren() const {
    const Chunk* last = getLastChild();
    return last ? last->end() : 0;
  }
};

}  // namespace RIFF

#endif
