// velmor-core set, add, remove and recycle

#include "app/command.h"
#include "app/errors.h"
#include "chunks/chunk_path.h"
#include "editing/editing.h"

namespace tool {

namespace {

// The first operand is the file, the second the path of the chunk.
int editOne(std::string_view command, const Arguments& arguments, uint64_t room, const Edit& edit) {
  const EditWay way(arguments);
  editFile({arguments[0], std::string(command) + " " + arguments[1], room}, way, edit);
  return 0;
}

int runSet(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  const Value value(arguments[2]);
  return editOne(SET.name, arguments, roomFor(value),
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
    return editOne(ADD.name, arguments, ROOM_FOR_GROUP, [&](const Chunk& root) {
      return addGroup(path.findParent(root), step.id, *step.groupId);
    });
  }
  const Value value(arguments[2]);
  return editOne(ADD.name, arguments, roomFor(value), [&](const Chunk& root) {
    return addValue(path.findParent(root), step.id, value);
  });
}

int runRemove(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  return editOne(REMOVE.name, arguments, ROOM_FOR_PAD,
                 [&](const Chunk& root) { return removeChunk(path.find(root)); });
}

int runRecycle(const Arguments& arguments) {
  const ChunkPath path(arguments[1]);
  return editOne(RECYCLE.name, arguments, ROOM_FOR_PAD,
                 [&](const Chunk& root) { return recycleChunk(path.find(root)); });
}

}  // namespace

const Command SET = {
    .name = "set",
    .synopsis = "[--dry-run | -o OUTPUT [--force] | --in-place] FILE PATH VALUE|@FILE|@-",
    .summary = "Replace the data of a chunk",
    .help = R"(
The chunk takes the size of the new data.

VALUE   the text itself. In a LIST:INFO group a NUL is stored after it, since the texts there end in
        one. Elsewhere the bytes are stored as they are. "@@text" stands for "@text".
@FILE   the bytes of a file, as they are; "@-" those of standard input

The edit is made in a copy, FILE.velmor-core-new. When the copy is complete and on the disk, it
replaces the file. It keeps the file's permissions, owner, access control lists and extended
attributes. A symbolic link stays a link, and the file that it leads to is edited. If the edit fails
or a signal ends it, the copy is removed. Only SIGKILL and a power cut can leave a copy; the next
edit of the file removes it. Edits of one file wait for each other. If another program changes
the file meanwhile, the edit fails and the file stays as that program left it.

--dry-run    show the tree as it would be; nothing is written
-o OUTPUT    write the result to this file; it appears under this name only when complete
--force      replace OUTPUT if it exists
--in-place   edit the file itself, which needs no room for a copy. Use it also if a copy cannot
             replace the file: for a file of another owner, or with several names (hard links).
             Disk space is reserved before the first byte changes, which fills the holes of a sparse
             file. Signals wait until the edit is done. SIGKILL, an I/O error or a power cut in the
             middle may destroy data of the file for good. A marker, FILE.velmor-core-edit, lies
             beside the file during the edit, so the folder must allow new files. If the edit was
             interrupted, the marker stays, and the commands that read chunks refuse the file by
             this name until you remove the marker.
)",
    .examples = R"(
  velmor-core set song.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
  velmor-core set song.wav RIFF:WAVE/data @edited.raw -o new.wav
)",
    .minOperands = 3,
    .maxOperands = 3,
    .options = EDIT_OPTIONS,
    .run = runSet,
};

const Command ADD = {
    .name = "add",
    .synopsis = "[--dry-run | -o OUTPUT [--force] | --in-place] FILE PATH [VALUE|@FILE|@-]",
    .summary = "Add a chunk or an empty group",
    .help = R"(
The last step of PATH names the new chunk; the steps before it name its group. The chunk fills free
space (JUNK) of the group if it fits there, and is appended to the group otherwise. If the last step
has a group id, an empty group is appended, and no value is given. See "velmor-core set --help" for
values and options.
)",
    .examples = R"(
  velmor-core add song.wav RIFF:WAVE/LIST:INFO/ICOP "In the public domain"
  velmor-core add tone.wav RIFF:WAVE/LIST:INFO
  velmor-core add tone.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
)",
    .minOperands = 2,
    .maxOperands = 3,
    .options = EDIT_OPTIONS,
    .run = runAdd,
};

const Command REMOVE = {
    .name = "remove",
    .synopsis = "[--dry-run | -o OUTPUT [--force] | --in-place] FILE PATH",
    .summary = "Remove a chunk and everything in it; the file becomes shorter",
    .help = R"(
All bytes after the chunk move towards the start of the file. See "velmor-core set --help" for the
options.
)",
    .examples = R"(
  velmor-core remove song.wav RIFF:WAVE/LIST:INFO/ICMT
  velmor-core remove --dry-run clip.avi RIFF:AVI/LIST:INFO
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = EDIT_OPTIONS,
    .run = runRemove,
};

const Command RECYCLE = {
    .name = "recycle",
    .synopsis = "[--dry-run | -o OUTPUT [--force] | --in-place] FILE PATH",
    .summary = "Turn a chunk into free space (JUNK); nothing moves",
    .help = R"(
Free chunks directly before and after it are merged with it, and "add" can reuse the space. The data
stays in the file until it is overwritten. See "velmor-core set --help" for the options.
)",
    .examples = R"(
  velmor-core recycle song.wav RIFF:WAVE/LIST:INFO/ICMT
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = EDIT_OPTIONS,
    .run = runRecycle,
};

}  // namespace tool
