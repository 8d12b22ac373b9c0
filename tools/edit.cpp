// velmor-core set, add, remove and recycle

#include "chunk_path.h"
#include "command.h"
#include "editing.h"
#include "errors.h"

namespace tool {

namespace {

int runSet(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  const Value value(arguments[2]);
  return editFile(SET, arguments, roomFor(value),
                  [&](const Chunk& root) { return setValue(path.find(root), value); });
}

// Whether the last step names a group to add; throws UsageError for what makes no sense.
bool namesGroup(const PathStep& step, bool hasValue) {
  if (step.number) {
    throw UsageError("\"" + step.text + "\": a new chunk is named without a number");
  }
  if (isGroupId(step.id) != step.groupId.has_value()) {
    throw UsageError("\"" + step.text + "\": RIFF and LIST, and no others, have a group id");
  }
  if (hasValue == step.groupId.has_value()) {
    throw UsageError("\"" + step.text + "\": " +
                     (hasValue ? "a group is added without a value" : "a value is needed"));
  }
  return step.groupId.has_value();
}

int runAdd(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  const PathStep& step = path.last();
  if (namesGroup(step, arguments.count() == 3)) {
    return editFile(ADD, arguments, ROOM_FOR_GROUP, [&](const Chunk& root) {
      return addGroup(path.findParent(root), step.id, *step.groupId);
    });
  }
  const Value value(arguments[2]);
  return editFile(ADD, arguments, roomFor(value), [&](const Chunk& root) {
    return addValue(path.findParent(root), step.id, value);
  });
}

int runRemove(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  return editFile(REMOVE, arguments, ROOM_FOR_PAD,
                  [&](const Chunk& root) { return removeChunk(path.find(root)); });
}

int runRecycle(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  return editFile(RECYCLE, arguments, ROOM_FOR_PAD,
                  [&](const Chunk& root) { return recycleChunk(path.find(root)); });
}

}  // namespace

const Command SET = {
    .name = "set",
    .synopsis = "[--dry-run] FILE PATH VALUE|@FILE|@-",
    .summary = "Replace the data of a chunk, in place",
    .help = R"(
The chunk takes the size of the new data; what lies behind it moves if need be.

VALUE   the text itself. In a LIST:INFO group a NUL is stored behind it, as the format wants its
        texts to end; elsewhere the bytes are stored as they are. "@@text" stands for "@text".
@FILE   the bytes of a file, as they are; "@-" those of standard input

--dry-run   show the tree as it would be, from a copy in memory; nothing is written

  velmor-core set song.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
)",
    .minOperands = 3,
    .maxOperands = 3,
    .options = EDIT_OPTIONS,
    .run = runSet,
};

const Command ADD = {
    .name = "add",
    .synopsis = "[--dry-run] FILE PATH [VALUE|@FILE|@-]",
    .summary = "Add a chunk or an empty group, in place",
    .help = R"(
The last step of PATH names the new chunk, the steps before it the group that it goes into. A chunk
takes free space (JUNK) of the group where it fits, else it goes behind the group's last chunk. A
step with a group id adds an empty group and takes no value. See "velmor-core set --help" for values
and --dry-run.

  velmor-core add song.wav RIFF:WAVE/LIST:INFO
  velmor-core add song.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
)",
    .minOperands = 2,
    .maxOperands = 3,
    .options = EDIT_OPTIONS,
    .run = runAdd,
};

const Command REMOVE = {
    .name = "remove",
    .synopsis = "[--dry-run] FILE PATH",
    .summary = "Remove a chunk and all in it, in place; the file becomes shorter",
    .help = R"(
What lies behind the chunk moves. --dry-run shows the tree as it would be and writes nothing.
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = EDIT_OPTIONS,
    .run = runRemove,
};

const Command RECYCLE = {
    .name = "recycle",
    .synopsis = "[--dry-run] FILE PATH",
    .summary = "Turn a chunk into free space (JUNK); nothing moves",
    .help = R"(
Free chunks beside it are joined with it, and "add" uses the space again. Its data stays in the file
until it is overwritten. --dry-run shows the tree as it would be and writes nothing.
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = EDIT_OPTIONS,
    .run = runRecycle,
};

}  // namespace tool
