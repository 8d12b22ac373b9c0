// Removes many chunks at once: all other bytes move only once.
#ifndef VELMOR_CORE_TOOLS_EDITING_CUT_H
#define VELMOR_CORE_TOOLS_EDITING_CUT_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "chunks/raw_bytes.h"
#include "editing/placed_chunk.h"
#include "file/file.h"

namespace tool {

// The byte ranges of chunks, and the new sizes of the groups that hold them.
class Cut {
 public:
  // The chunks are in the order of their bytes, and none lies in another. The
  // object contains all bytes of their data. Only the last pad byte may be missing.
  Cut(const Chunk& virtualRoot, std::span<const PlacedChunk> chunks);

  // Whether a byte is in one of the ranges.
  bool contains(uint64_t offset) const;

  // Closes the gaps in a file; `name` is for progress. The time is linear in the bytes that move.
  void applyTo(const File& file, const std::string& name) const;
  // The same in memory. Returns the new size.
  uint64_t applyTo(std::span<char> bytes) const;

 private:
  struct Range {
    uint64_t begin;
    uint64_t end;  // may be one byte past the end of the object, for a pad byte
  };

  void noteSizes(const Chunk& virtualRoot);
  template <typename Write>
  void writeSizes(Write write) const;
  // Closes the gaps in a block that begins at an offset. Returns how many bytes are left. `range`
  // is the index of the first range that ends past this offset, and is moved on.
  uint64_t squeeze(std::span<char> block, uint64_t offset, std::size_t& range) const;

  std::vector<Range> ranges;  // in the order of the bytes, not empty
  std::vector<RawBytes::Patch> sizes;
};

}  // namespace tool

#endif
