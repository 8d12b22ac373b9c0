// Sets and removes the tags of a WAVE or AVI file.
#ifndef VELMOR_CORE_TOOLS_EDITING_TAG_EDIT_H
#define VELMOR_CORE_TOOLS_EDITING_TAG_EDIT_H

#include <string>
#include <vector>

#include "editing/editing.h"
#include "known/bext.h"

namespace tool {

// A new text for LIST:INFO, or the removal of one.
struct InfoAssignment {
  std::vector<uint32_t> ids;  // of the chunks that hold it; a new chunk gets the first
  std::string text;           // without a NUL at its end; empty to remove it
};

struct BextAssignment {
  const BextField* field;
  std::string bytes;  // of the whole field
  bool isRemoval;     // the bytes are those of a field that is not set
};

struct TagAssignments {
  std::vector<InfoAssignment> info;
  std::vector<BextAssignment> bext;

  // By how many bytes the edit can lengthen a file.
  uint64_t room() const;
};

// Checks that the tags can be set, and returns the change: nothing if the file has them already.
// The assignments have to live until the change has run.
//
// Each text replaces the first chunk that holds it, in whichever LIST:INFO that is; further chunks
// of the same text are removed. Texts that no list holds are added to the first list. If there is
// none, the change makes one: of a WAVE file at the end of its RIFF group, of an AVI file in free
// space if it fits there. A list that becomes empty is removed.
//
// A file without bext chunk gets one, in free space or at the end of its RIFF group. The version of
// a bext chunk becomes the one that first had the fields that are set, but no lower one than
// before.
Change setTags(const Chunk& virtualRoot, const TagAssignments& assignments);

}  // namespace tool

#endif
