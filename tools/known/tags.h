// Where the tags of a WAVE or AVI file lie: the texts of its LIST:INFO groups, and the fields of
// its bext chunk.
#ifndef VELMOR_CORE_TOOLS_KNOWN_TAGS_H
#define VELMOR_CORE_TOOLS_KNOWN_TAGS_H

#include <cstdint>
#include <string>

#include "app/errors.h"
#include "chunks/chunk_id.h"
#include "known/ids.h"

namespace tool {

// A Node is a chunk of an object or a header in a file, as ChunkPath::find() describes it.

template <typename Node>
bool isInfoList(const Node& node) {
  return node.id() == ID_LIST && node.isGroup() && node.groupId() == ID_INFO;
}

// The group whose tags are read: the first WAVE or AVI at the top of a file. Throws Failure if
// there is none.
template <typename Node>
Node findTaggedGroup(const Node& virtualRoot) {
  std::string others;
  for (Node node = virtualRoot.firstChild(); node; node = node.next()) {
    if (!node.isGroup()) continue;
    if (node.groupId() == FORM_WAVE || node.groupId() == FORM_AVI) return node;
    if (others.empty()) others = node.name();
  }
  throw Failure("holds " + (others.empty() ? "no group" : others) +
                ": tags are read and written in RIFF:WAVE and RIFF:AVI only");
}

// Visits the LIST:INFO groups and the bext chunks of a group in the order of the bytes. Most
// programs put them directly in it, some put LIST:INFO into another list.
template <typename Node, typename Visit>
void forEachTagChunk(const Node& group, Visit visit) {
  for (Node child = group.firstChild(); child; child = child.next()) {
    if (isInfoList(child) || (child.id() == ID_BEXT && group.groupId() == FORM_WAVE)) {
      visit(child);
    } else if (child.isGroup() && child.groupId() != ID_MOVI) {
      for (Node inner = child.firstChild(); inner; inner = inner.next()) {
        if (isInfoList(inner)) visit(inner);
      }
    }
  }
}

}  // namespace tool

#endif
