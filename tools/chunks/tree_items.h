// The contents of a file as its headers state them: chunks, and bytes that are no chunk.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_TREE_ITEMS_H
#define VELMOR_CORE_TOOLS_CHUNKS_TREE_ITEMS_H

#include <string>

#include "chunks/header_walk.h"
#include "chunks/raw_bytes.h"

namespace tool {

// The group that holds a chunk. A top-level chunk has none; both are 0.
struct ParentGroup {
  uint32_t groupId = 0;
  uint64_t offset = 0;  // of its header
};

// A header in a file. It has the interface of a chunk of an object, so that paths can be followed.
// Skips runs of zeros.
class RawNode {
 public:
  RawNode() = default;
  static RawNode virtualRoot(RawBytes& bytes) { return {bytes, bytes.size()}; }

  explicit operator bool() const { return bytes != nullptr; }
  bool isVirtualRoot() const { return isRoot; }
  bool isGroup() const { return isRoot || raw.isGroup(); }
  uint32_t id() const { return raw.id; }
  uint32_t groupId() const { return raw.groupId; }
  std::string name() const { return raw.name(); }
  RawNode firstChild() const;
  RawNode next() const;

  const RawChunk& chunk() const { return raw; }
  uint64_t level() const { return depth; }
  // Where the parent ends, or the file if that is earlier.
  uint64_t limit() const { return parentLimit; }
  const ParentGroup& parent() const { return group; }

 private:
  RawNode(RawBytes& bytes, uint64_t limit) : bytes(&bytes), parentLimit(limit), isRoot(true) {}
  // The first header in [offset, limit).
  RawNode at(uint64_t offset, uint64_t limit, uint64_t level, const ParentGroup& parent) const;

  RawBytes* bytes = nullptr;
  RawChunk raw;
  uint64_t parentLimit = 0;
  uint64_t depth = 0;
  ParentGroup group;
  bool isRoot = false;
};

struct TreeItem {
  enum Kind {
    CHUNK,
    ZEROS,  // a run of zeros, which would be chunks without id and data
    BYTES   // other bytes that are no chunk: too few for a header, or no plausible header
  };
  Kind kind = CHUNK;
  RawChunk chunk;      // for bytes that are no chunk, only the offset is meaningful
  uint64_t level = 0;  // 0 for top-level chunks
  uint64_t size = 0;   // number of bytes that are no chunk; 0 for a chunk
  uint64_t limit = 0;  // where the parent ends, or the file if that is earlier
  ParentGroup parent;

  // A group whose size is too small for its group id. It is taken to reach to the limit.
  bool isOpenEnded() const { return isGroup() && chunk.dataSize < GROUP_ID_SIZE; }
  bool isGroup() const { return kind == CHUNK && chunk.isGroup(); }
  bool isFree() const { return kind == CHUNK && chunk.id == ID_JUNK; }
  // Where the next sibling begins, or the limit.
  uint64_t end() const;
};

// The item at `offset`. Its siblings end at `limit`, which must be greater than `offset`. If
// `isStart` is true, the header of a data chunk is taken for a chunk even if its size does not fit.
// Callers pass true for the first item of a file, or of the part of a file that a path has found.
TreeItem itemAt(RawBytes& bytes, uint64_t offset, uint64_t limit, uint64_t level, bool isStart);

// Goes through the items of a file in the order of its bytes, groups before the chunks in them.
// Stores only the open groups.
class TreeItems {
 public:
  // All items from the virtual root on, or a chunk that a path has found and the items in it.
  TreeItems(RawBytes& bytes, const RawNode& start);

  // Goes on to the next item; false after the last one.
  bool next();
  const TreeItem& item() const { return current; }

 private:
  RawBytes& bytes;
  HeaderWalk walk;
  uint64_t firstLevel;
  uint64_t outerLimit;  // where the parent of the first chunk ends
  ParentGroup outerGroup;
  bool isFirst = true;
  TreeItem current;
};

}  // namespace tool

#endif
