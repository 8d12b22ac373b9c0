// What the editing commands share: the steps from a file to its edited result, and the edits, which
// check before they change anything.
#ifndef VELMOR_CORE_TOOLS_EDITING_EDITING_H
#define VELMOR_CORE_TOOLS_EDITING_EDITING_H

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "app/command.h"
#include "editing/store.h"
#include "editing/value.h"
#include "file/target.h"

namespace tool {

inline constexpr Option DRY_RUN{"--dry-run"};
inline constexpr Option OUTPUT{"--output", true, "-o"};
inline constexpr Option FORCE{"--force"};
inline constexpr Option IN_PLACE{"--in-place"};
inline constexpr std::array EDIT_OPTIONS = {DRY_RUN, OUTPUT, FORCE, IN_PLACE};

// An edit in two steps. The first finds the chunks and throws Failure for what cannot be done; it
// changes nothing. The second, which it returns, changes the bytes.
using Change = std::function<void()>;
using Edit = std::function<Change(const Chunk& virtualRoot)>;

// Each function checks an edit of a chunk that has been found, and returns the change. The chunk,
// the group and the value have to live until the change has run.

// Replaces a data chunk's bytes. The chunk takes the new size, and a pad byte is 0.
Change setValue(const Chunk& chunk, const Value& value);
// Adds a data chunk to a group; a pad byte is 0.
Change addValue(const Chunk& group, uint32_t id, const Value& value);
Change addGroup(const Chunk& group, uint32_t id, uint32_t groupId);
Change removeChunk(const Chunk& chunk);
Change recycleChunk(const Chunk& chunk);

// How much an edit can lengthen a file: header, data, and the pad byte that the file may lack at
// its end.
uint64_t roomFor(const Value& value);
constexpr uint64_t ROOM_FOR_GROUP = 16;
constexpr uint64_t ROOM_FOR_PAD = 2;

// How the result of an edit gets to the disk.
struct EditWay {
  // Throws UsageError for EDIT_OPTIONS that contradict each other.
  explicit EditWay(const Arguments& arguments);

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
// show the tree. Throws Failure if it cannot be made; the file is then as before.
void editFile(const EditJob& job, const EditWay& way, const Edit& edit);

// Throws Failure unless the chunk's last data byte can be read: the file may be cut short.
void requireAllBytes(const Chunk& chunk);

}  // namespace tool

#endif
