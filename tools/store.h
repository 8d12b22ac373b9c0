// Objects and chunks as the commands use them: opened with reasons, walked in the order of bytes.
#ifndef VELMOR_CORE_TOOLS_STORE_H
#define VELMOR_CORE_TOOLS_STORE_H

#include <string>
#include <vector>
#include <velmor_core/velmor_core.hpp>

#include "chunk_id.h"

namespace tool {

using velmor_core::Object;

// A chunk of an open object, or none, with what the commands ask of it beside.
class Chunk : public velmor_core::Chunk {
 public:
  Chunk() = default;
  explicit Chunk(velmor_core::Chunk chunk) : velmor_core::Chunk(chunk) {}
  explicit Chunk(velmor_core_riff_chunk_t* chunk) : velmor_core::Chunk(chunk) {}

  uint32_t id() const { return velmor_core::Chunk::id().value(); }
  uint32_t groupId() const { return velmor_core::Chunk::groupId().value(); }
  std::string name() const { return nameText(id(), groupId()); }
  // Holds for chunks as they are loaded, and the tool creates groups under these ids alone.
  bool isGroup() const { return isVirtualRoot() || isGroupId(id()); }
  bool isFree() const { return id() == ID_JUNK; }
  bool isVirtualRoot() const { return !parent(); }

  Chunk parent() const { return Chunk(velmor_core::Chunk::parent()); }
  Chunk next() const { return Chunk(velmor_core::Chunk::next()); }
  Chunk firstChild() const { return Chunk(child(0)); }
};

inline Chunk virtualRoot(const Object& object) { return Chunk(object.root()); }

// Opens a file that has to exist and be a regular file. Throws Failure with the reason, and for
// bytes that are no chunks with the offset where they are not.
Object openFile(const std::string& file, int32_t mode);

// A file's bytes in memory, open for editing. The file itself is left alone.
struct Copy {
  std::vector<char> bytes;  // outlives the object, which works in it
  Object object;
};

// Reads a file into memory, with `room` bytes to grow. Throws as openFile().
Copy openCopy(const std::string& file, uint64_t room);

// The chunks of an object in the order of their bytes, groups before what they hold. Neither
// recurses nor allocates, however deep the tree goes. Call next() before the first chunk.
class TreeWalk {
 public:
  // Goes through the whole object, or through a chunk and what it holds.
  explicit TreeWalk(const Object& object, const Chunk& start = Chunk());

  // Goes on to the next chunk; false behind the last one.
  bool next();
  const Chunk& chunk() const { return current; }
  // 0 for top-level chunks.
  uint64_t level() const { return depth - 1; }
  // Of the chunk's header, from the object's first byte.
  uint64_t offset() const { return start; }
  // Bytes of the chunk, pad byte included, that an object of this size lacks. Groups lack none:
  // what is missing belongs to the last chunk in them.
  uint64_t missing(uint64_t objectSize) const {
    const uint64_t chunkEnd = offset() + current.totalSize();
    return current.isGroup() || chunkEnd <= objectSize ? 0 : chunkEnd - objectSize;
  }

 private:
  bool advance();

  Chunk first;  // where the walk begins, if not at the top
  bool isInside = false;
  uint64_t firstDepth = 0;
  Chunk current;
  uint64_t depth = 0;
  uint64_t start = 0;
  uint64_t end = 0;  // of what has been shown: where the next chunk starts
};

}  // namespace tool

#endif
