// A chunk of an open object, and where it lies.
#ifndef VELMOR_CORE_TOOLS_EDITING_PLACED_CHUNK_H
#define VELMOR_CORE_TOOLS_EDITING_PLACED_CHUNK_H

#include <cstdint>

#include "chunks/layout.h"
#include "editing/store.h"

namespace tool {

// Paths can be followed along these chunks, as along Chunk. The library does not give offsets. So
// each chunk computes its offset from the sizes of the chunks before it.
struct PlacedChunk : Chunk {
  PlacedChunk() = default;
  PlacedChunk(Chunk chunk, uint64_t offset) : Chunk(chunk), offset(offset) {}

  uint64_t end() const { return offset + totalSize(); }
  PlacedChunk next() const { return {Chunk::next(), end()}; }
  PlacedChunk firstChild() const {
    return {Chunk::firstChild(), offset + (isVirtualRoot() ? 0 : GROUP_HEADER_SIZE)};
  }

  uint64_t offset = 0;  // of the header, from the object's first byte
};

}  // namespace tool

#endif
