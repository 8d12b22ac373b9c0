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
  bool isRemoval;     // the field is unset: the bytes are those of an unset field
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
// A new text replaces the first chunk with one of its ids, in any LIST:INFO. Further chunks with
// these ids are removed. If there is no such chunk, the text is added to the first list. If there
// is no list, the change makes one. In a WAVE file, it lies at the end of the RIFF group. In an AVI
// file, it lies in free space if it fits there. A list that becomes empty is removed.
//
// A file without bext chunk gets one, in free space or at the end of its RIFF group. The version of
// a bext chunk is raised to the first version that has all fields that are set. It is never
// lowered.
Change setTags(const Chunk& virtualRoot, const TagAssignments& assignments);

}  // namespace tool

#endif
