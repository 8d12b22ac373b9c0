#include "chunks/tree_items.h"

#include <algorithm>

namespace tool {

RawNode RawNode::at(uint64_t offset, uint64_t limit, uint64_t level,
                    const ParentGroup& parent) const {
  if (offset < limit)
    offset += (bytes->endOfZeros(offset, limit) - offset) / HEADER_SIZE * HEADER_SIZE;
  RawNode node;
  if (offset >= limit || limit - offset < HEADER_SIZE) return node;
  node.bytes = bytes;
  node.raw = bytes->chunkAt(offset);
  node.parentLimit = limit;
  node.depth = level;
  node.group = parent;
  return node;
}

RawNode RawNode::firstChild() const {
  if (isRoot) return at(0, parentLimit, 0, {});
  if (!raw.isGroup()) return {};
  return at(raw.offset + GROUP_HEADER_SIZE, std::min(raw.end(), parentLimit), depth + 1,
            {raw.groupId, raw.offset});
}

RawNode RawNode::next() const { return at(raw.end(), parentLimit, depth, group); }

TreeItems::TreeItems(RawBytes& bytes, const RawNode& start)
    : bytes(bytes),
      walk(bytes, start.chunk().offset,
           start.isVirtualRoot() ? bytes.size() : std::min(start.chunk().end(), start.limit())),
      firstLevel(start.level()),
      outerLimit(start.limit()),
      outerGroup(start.parent()) {}

bool TreeItems::next() {
  while (walk.isAtGroupEnd()) walk.leave();
  if (walk.isDone()) return false;
  const RawChunk chunk = walk.chunk();
  const uint64_t limit = walk.limit();
  current = {
      TreeItem::CHUNK,
      chunk,
      firstLevel + walk.level(),
      0,
      walk.level() == 0 ? outerLimit : limit,
      walk.level() == 0 ? outerGroup : ParentGroup{walk.group().groupId, walk.group().offset}};
  const uint64_t left = limit - walk.offset();
  if (left >= HEADER_SIZE && chunk.id == 0 && chunk.dataSize == 0) {
    bytes.require(chunk.offset, HEADER_SIZE);
    const uint64_t zeros = bytes.endOfZeros(chunk.offset, limit) - chunk.offset;
    current.kind = TreeItem::ZEROS;
    current.size = zeros == left ? left : zeros / HEADER_SIZE * HEADER_SIZE;
    walk.moveTo(chunk.offset + current.size);
  } else if (!isChunk(chunk, left)) {
    current.kind = TreeItem::BYTES;
    current.size = left;
    walk.moveTo(limit);
  } else if (chunk.isGroup()) {
    walk.enter(chunk, chunk.dataSize < GROUP_ID_SIZE);
  } else {
    walk.moveTo(std::min(chunk.end(), limit));
  }
  isFirst = false;
  return true;
}

// Too few bytes for a header are no chunk. Neither is a data chunk whose size does not fit, if its
// id is not printable or it is at the top level. The first header is shown as a chunk all the same.
bool TreeItems::isChunk(const RawChunk& chunk, uint64_t left) const {
  if (left < HEADER_SIZE) return false;
  if (chunk.isGroup()) return left >= GROUP_HEADER_SIZE;
  const bool fits = chunk.dataEnd() <= walk.limit();
  return isFirst || fits || (isPrintable(chunk.id) && walk.level() > 0);
}

}  // namespace tool
