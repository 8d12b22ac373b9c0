#include "riff/virtual_root_chunk.h"

namespace RIFF {

uint64_t VirtualRootChunk::endOfChildren() const {
  const Chunk* last = getLastChild();
  return last ? last->end() : 0;
}

}  // namespace RIFF
