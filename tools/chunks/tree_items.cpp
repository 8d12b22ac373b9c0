#include "chunks/tree_items.h"

#include <algorithm>

namespace tool {

namespace {

// Bytes that are too few for a header are no chunk. The header of a data chunk whose size does not
// fit is not taken for a chunk either, if its id is not printable or it is at the top level. But if
// `isStart` is true, this header is taken for a chunk.
bool isChunk(const TreeItem& item, bool isStart) {
  const uint64_t left = item.limit - item.chunk.offset;
  if (left < HEADER_SIZE) return false;
  if (item.chunk.isGroup()) return left >= GROUP_HEADER_SIZE;
  const bool fits = item.chunk.dataEnd() <= item.limit;
  return isStart || fits || (isPrintable(item.chunk.id) && item.level > 0);
}

}  // namespace

uint64_t TreeItem::end() const {
  if (kind != CHUNK) return chunk.offset + size;
  return isOpenEnded() ? limit : std::min(chunk.end(), limit);
}

TreeItem itemAt(RawBytes& bytes, uint64_t offset, uint64_t limit, uint64_t level, bool isStart) {
  TreeItem item{TreeItem::CHUNK, bytes.chunkAt(offset), level, 0, limit, {}};
  const uint64_t left = limit - offset;
  if (left >= HEADER_SIZE && item.chunk.id == 0 && item.chunk.dataSize == 0) {
    bytes.require(offset, HEADER_SIZE);
    const uint64_t zeros = bytes.endOfZeros(offset, limit) - offset;
    item.kind = TreeItem::ZEROS;
    item.size = zeros == left ? left : zeros / HEADER_SIZE * HEADER_SIZE;
  } else if (!isChunk(item, isStart)) {
    item.kind = TreeItem::BYTES;
    item.size = left;
  }
  return item;
}

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
  current = itemAt(bytes, walk.offset(), walk.limit(), firstLevel + walk.level(), isFirst);
  if (walk.level() == 0) {
    current.limit = outerLimit;
    current.parent = outerGroup;
  } else {
    current.parent = {walk.group().groupId, walk.group().offset};
  }
  if (current.isGroup()) {
    walk.enter(current.chunk, current.isOpenEnded());
  } else {
    walk.moveTo(current.end());
  }
  isFirst = false;
  return true;
}

}  // namespace tool
