#include "chunks/header_walk.h"

#include <algorithm>

namespace tool {

void HeaderWalk::enter(const RawChunk& chunk, bool isOpenEnded) {
  const uint64_t groupLimit = isOpenEnded ? limit() : std::min(chunk.end(), limit());
  groups.push_back(
      {chunk.offset, groupLimit, chunk.id, chunk.groupId, chunk.dataSize, isOpenEnded});
  at = chunk.offset + GROUP_HEADER_SIZE;
}

OpenGroup HeaderWalk::leave() {
  const OpenGroup left = groups.back();
  groups.pop_back();
  extended = std::min(extended, groups.size());
  return left;
}

std::string HeaderWalk::path() const {
  constexpr std::size_t SHOWN = 4;
  std::string text;
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (i == SHOWN && groups.size() > 2 * SHOWN) {
      text += "/...";
      i = groups.size() - SHOWN;
    }
    if (i > 0) text += '/';
    text += groupName(groups[i].id, groups[i].groupId);
  }
  return text;
}

std::string HeaderWalk::path(const RawChunk& chunk) const {
  return groups.empty() ? chunk.name() : path() + "/" + chunk.name();
}

}  // namespace tool
