// What the editing commands share: the file or its copy in memory, values, and edits that check
// before they change.
#ifndef VELMOR_CORE_TOOLS_EDITING_H
#define VELMOR_CORE_TOOLS_EDITING_H

#include <array>
#include <functional>
#include <string>

#include "command.h"
#include "store.h"

namespace tool {

inline constexpr Option DRY_RUN{"--dry-run"};
inline constexpr std::array EDIT_OPTIONS = {DRY_RUN};

// What a new value consists of.
struct Value {
  std::string bytes;
  bool isText = false;  // typed on the command line, not read from a file

  // From a typed word: "@FILE" for the file's bytes, "@-" for standard input, "@@text" for "@text".
  // All is read here, before anything is changed.
  explicit Value(const std::string& word);

  // The bytes as they go into a group. Texts in LIST:INFO end in a NUL, as the format has it.
  std::string in(const Chunk& group) const;
};

// An edit, given the virtual root of the object.
using Change = std::function<void(const Chunk& virtualRoot)>;

// Runs a change on an object that was opened from a file. What it throws as Failure gets the name
// of the file and, where the store refused and the file is damaged, the place.
void applyTo(const std::string& file, const Object& object, const Change& change);

// Opens the file, or with --dry-run a copy of it with `room` bytes to grow, and runs the change on
// it; shows the tree after a dry run.
int editFile(const Arguments& arguments, uint64_t room, const Change& change);

// Room that a new value may need in a copy: header, pad byte, and the pad byte that a file may lack
// at its end.
uint64_t roomFor(const Value& value);
constexpr uint64_t ROOM_FOR_GROUP = 16;
constexpr uint64_t ROOM_FOR_PAD = 1;

// These throw Failure and leave the file as it was, unless it cannot be read or written.

// Replaces a data chunk's bytes; the chunk takes the new size, and a pad byte is 0.
void setBytes(const Chunk& chunk, const std::string& bytes);
// Adds a data chunk; a pad byte is 0.
void addBytes(const Chunk& group, uint32_t id, const std::string& bytes);
void addGroup(const Chunk& group, uint32_t id, uint32_t groupId);
void removeChunk(const Chunk& chunk);
void recycleChunk(const Chunk& chunk);

// Fails unless the last data byte of the chunk is there (files may have been cut short).
void requireAllBytes(const Chunk& chunk);

}  // namespace tool

#endif
