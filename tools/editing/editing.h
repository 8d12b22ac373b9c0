// What the editing commands share: the steps from a file to its edited result.
#ifndef VELMOR_CORE_TOOLS_EDITING_EDITING_H
#define VELMOR_CORE_TOOLS_EDITING_EDITING_H

#include <array>
#include <optional>
#include <span>
#include <string>

#include "app/command.h"
#include "editing/changes.h"
#include "file/target.h"

namespace tool {

inline constexpr Option DRY_RUN{"--dry-run"};
inline constexpr Option OUTPUT{"--output", true, "-o"};
inline constexpr Option FORCE{"--force"};
inline constexpr Option IN_PLACE{"--in-place"};
inline constexpr std::array EDIT_OPTIONS = {DRY_RUN, OUTPUT, FORCE, IN_PLACE};

// How the result of an edit gets to the disk.
struct EditWay {
  enum Force {
    FOR_OUTPUT,  // --force makes sense with -o only
    FOR_MORE     // the command has another use for it
  };

  // Throws UsageError for EDIT_OPTIONS that contradict each other.
  explicit EditWay(const Arguments& arguments, Force force = FOR_OUTPUT);

  bool isDryRun;  // shows the tree of the result; nothing is written
  bool inPlace;
  std::optional<std::string> output;  // another file
  bool mayReplaceOutput;
};

struct EditJob {
  std::string file;  // the name as it was typed
  std::string what;  // the command and its operands, for the marker of an edit in place
  uint64_t room;     // by how many bytes the edit can lengthen the file
};

// Carries out an edit: in a copy that replaces the file, in another file, in place, or in memory to
// show the tree. Writes no file if nothing is to be done and no output is named.
//
// Throws Failure if the edit fails. The file is then as before, except if an edit in place has
// begun, or if the folder of the finished file cannot be synced. The message says so.
void editFile(const EditJob& job, const EditWay& way, const Edit& edit);

// Carries out several edits as one. Each edit is checked on the result of the edits before it. If
// there are at least two edits, or if the file is damaged, the file is changed in place only after
// all edits could be made in memory.
void editFile(const EditJob& job, const EditWay& way, std::span<const Edit> edits);

}  // namespace tool

#endif
