// Indexes of AVI files that break if the file's bytes move.
#ifndef VELMOR_CORE_TOOLS_EDITING_AVI_OFFSETS_H
#define VELMOR_CORE_TOOLS_EDITING_AVI_OFFSETS_H

#include <span>

#include "editing/placed_chunk.h"

namespace tool {

// Throws Failure if an index counts its offsets from the start of the file, and if the chunks that
// it points at would move when these chunks are removed.
void requireFixedIndexes(const Chunk& virtualRoot, std::span<const PlacedChunk> removed);

}  // namespace tool

#endif
