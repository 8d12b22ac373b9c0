// Lets a chunk grow into the free space beside it.
#ifndef VELMOR_CORE_TOOLS_EDITING_ROOM_BESIDE_H
#define VELMOR_CORE_TOOLS_EDITING_ROOM_BESIDE_H

#include <functional>

#include "editing/changes.h"

namespace tool {

// Checks an edit that changes a chunk but nothing outside it, and returns its change. The library
// makes room for a chunk that grows by moving all bytes after it. If enough free space (JUNK) lies
// directly beside the chunk or one of its ancestors below the top level, the change usually uses
// that space instead. Then nothing else in the file moves.
//
// `edit` must not remove or recycle the chunk itself. It may run several times: on the chunk, and
// on copies of it in memory. When the change has run, the handles of the chunk, its ancestors and
// everything in them may have ended.
Change useRoomBeside(const Chunk& chunk, const std::function<Change(const Chunk&)>& edit);

}  // namespace tool

#endif
