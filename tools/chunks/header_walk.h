// Goes through the headers of a file in the order of its bytes, and knows the ancestors of each.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_HEADER_WALK_H
#define VELMOR_CORE_TOOLS_CHUNKS_HEADER_WALK_H

#include <cstdint>
#include <deque>
#include <limits>
#include <string>

#include "chunks/raw_bytes.h"

namespace tool {

// A group that the walk is in. Deep files have millions of them, so it is kept small.
struct OpenGroup {
  uint64_t offset = 0;
  uint64_t limit = 0;  // where the search for its children ends: at most at the end of the file
  uint32_t id = 0;
  uint32_t groupId = 0;
  uint64_t dataSize = 0;
  bool isOpenEnded = false;  // its size does not tell where it ends

  uint64_t dataOffset() const { return offset + HEADER_SIZE; }
  // Where the group ends by its size field; this may be past the end of the file.
  uint64_t end() const { return dataOffset() + padded(dataSize); }
};

// The walk is at an offset where the next header is expected. Its user reads the header there and
// says how to continue: into a group, past a chunk, to any other offset, or out of a group. The
// walk itself makes no decisions.
class HeaderWalk {
 public:
  static constexpr uint64_t NOWHERE = std::numeric_limits<uint64_t>::max();

  explicit HeaderWalk(RawBytes& bytes) : HeaderWalk(bytes, 0, bytes.size()) {}
  // Goes through a part of the file as if it were the whole file.
  HeaderWalk(RawBytes& bytes, uint64_t begin, uint64_t end) : bytes(bytes), end(end), at(begin) {}

  uint64_t offset() const { return at; }
  RawChunk chunk() const { return bytes.chunkAt(at); }
  uint64_t level() const { return groups.size(); }  // 0 for top-level chunks
  bool isDone() const { return groups.empty() && at >= end; }
  bool isAtGroupEnd() const { return !groups.empty() && at >= limit(); }

  // Where the siblings at the walk's position end: with the innermost group or with the file.
  uint64_t limit() const { return groups.size() <= extended ? end : groups.back().limit; }
  // Where the innermost group ends by its size field. NOWHERE if the walk is at the top level, or
  // the group's size is unknown or was extended.
  uint64_t claimedEnd() const {
    return groups.size() <= extended || group().isOpenEnded ? NOWHERE : group().end();
  }
  // The innermost group. Needs an open group.
  const OpenGroup& group() const { return groups.back(); }

  void moveTo(uint64_t offset) { at = offset; }
  // Goes into the group at the walk's position, to its first child.
  void enter(const RawChunk& chunk, bool isOpenEnded = false);
  // Leaves the innermost group. The offset stays the same.
  OpenGroup leave();
  // From now on, all groups that are open reach to the end of the file.
  void extendGroups() { extended = groups.size(); }
  // Whether extendGroups() was called inside the innermost group.
  bool isExtended() const { return groups.size() <= extended; }

  // The names of the open groups, "RIFF:AVI/LIST:hdrl", and of a chunk in the innermost one. The
  // middle is left out if there are many groups.
  std::string path() const;
  std::string path(const RawChunk& chunk) const;

 private:
  RawBytes& bytes;
  uint64_t end;
  uint64_t at;
  std::deque<OpenGroup> groups;
  std::size_t extended = 0;  // how many groups, from the outermost on, reach to the end of the file
};

}  // namespace tool

#endif
