// Room that a copy of a file gets while it is made.
#ifndef VELMOR_CORE_TOOLS_EDITING_GAP_H
#define VELMOR_CORE_TOOLS_EDITING_GAP_H

#include <cstdint>
#include <vector>

#include "chunks/raw_bytes.h"
#include "editing/store.h"
#include "file/copying.h"

namespace tool {

// A free chunk (JUNK) that the copy has directly after a chunk, and that the original does not
// have. An edit that fills the free chunk exactly moves no bytes. Without the free chunk, all bytes
// after the chunk would be copied first and then moved.
class Gap {
 public:
  // `size` is the total size of the free chunk. It is even.
  Gap(const Chunk& chunk, uint32_t size);

  Space space() const { return {offset, size}; }
  // Writes the header of the free chunk, and the new sizes of the groups that contain it. The bytes
  // after it have already been copied to where they belong.
  void applyTo(const File& copy) const;

 private:
  uint64_t offset = 0;
  uint32_t size;
  std::vector<RawBytes::Patch> sizes;
};

}  // namespace tool

#endif
