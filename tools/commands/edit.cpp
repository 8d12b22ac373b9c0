// velmor-core set, add, remove and recycle

#include "app/command.h"
#include "editing/editing.h"
#include "editing/typed_edit.h"

namespace tool {

namespace {

// The first operand is the file.
int runEdit(const Command& command, const Arguments& arguments, EditWay::Force force) {
  const EditWay way(arguments, force);
  const auto edit = makeTypedEdit(command, arguments, std::span(arguments.all()).subspan(1));
  const std::string what = std::string(command.name) + " " + arguments[1];
  editFile({arguments[0], what, edit->room()}, way,
           [&](const Chunk& root) { return edit->check(root); });
  if (!edit->note().empty()) complain(arguments[0] + ": note: " + edit->note());
  return 0;
}

int runSet(const Arguments& arguments) { return runEdit(SET, arguments, EditWay::FOR_OUTPUT); }
int runAdd(const Arguments& arguments) { return runEdit(ADD, arguments, EditWay::FOR_OUTPUT); }
int runRemove(const Arguments& arguments) { return runEdit(REMOVE, arguments, EditWay::FOR_MORE); }
int runRecycle(const Arguments& arguments) {
  return runEdit(RECYCLE, arguments, EditWay::FOR_MORE);
}

}  // namespace

const Command SET = {
    .name = "set",
    .synopsis =
        "[--dry-run | -o OUTPUT [--force] | --in-place] [--add [--top]] FILE PATH VALUE|@FILE|@-",
    .summary = "Replace the data of a chunk",
    .help = R"(
The chunk takes the size of the new data.

VALUE   the text itself. In a LIST:INFO group a NUL is stored after it, since the texts there end in
        one. Elsewhere the bytes are stored as they are. "@@text" stands for "@text".
@FILE   the bytes of a file, as they are; "@-" those of standard input

If the chunk grows, it usually uses the free space (JUNK) beside it or its group, if that is enough.
Nothing else in the file moves then.

Every edit also corrects the chunks that describe others. In WebP, it adds VP8X if that is needed,
corrects the flags and the canvas in VP8X, and puts an ICC profile before the picture. In AVI, it
corrects the indexes (idx1, indx, ix##) if frames move. If a frame is removed, its entry is removed,
and a warning says so.

The edit is made in a copy, FILE.velmor-core-new. When the copy is complete and on the disk, it
replaces the file. It keeps the file's permissions, owner, access control lists and extended
attributes. A symbolic link stays a link, and the file that it leads to is edited. If the edit fails
or a signal such as SIGINT or SIGTERM ends it, the copy is removed. SIGKILL, a crash or a power cut
can leave a copy; the next edit of the file removes it. Edits of one file wait for each other. If
another program changes the file meanwhile, or has it open for writing, the edit fails and the file
stays as that program left it. Such a program is not always noticed if it runs on another computer,
or if the file does not belong to you. After the edit, it still writes to the old file, which no
longer has a name.

--add        make the chunk if it is missing, and the groups of PATH that are missing. Such a group
             needs its group id, as in LIST:INFO. A step for a missing chunk or group may not have a
             number. New chunks fill free space (JUNK) if they fit there, and are appended to their
             group otherwise.
--top        with --add: the first step of PATH may be made at the top of the file, beside the RIFF
             group
--dry-run    show the tree as it would be; nothing is written
-o OUTPUT    write the result to this file; it appears under this name only when complete
--force      replace OUTPUT if it exists
--in-place   edit the file itself, which needs no room for a copy. Use it also if a copy cannot
             replace the file: for a file of another owner, or with several names (hard links).
             Disk space is reserved before the first byte changes, which fills the holes of a sparse
             file. Signals wait until the edit is done. SIGKILL, an I/O error or a power cut in the
             middle may destroy data of the file for good. A marker, FILE.velmor-core-edit, lies
             beside the file during the edit, so the folder must allow new files. If the edit was
             interrupted, the marker stays, and the commands that read chunks refuse the file under
             this name until you remove the marker.
)",
    .examples = R"(
  velmor-core set song.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
  velmor-core set --add tone.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
  velmor-core set --add alpha.webp RIFF:WEBP/XMP @alpha.xmp
  velmor-core set song.wav RIFF:WAVE/data @edited.raw -o new.wav
)",
    .minOperands = 3,
    .maxOperands = 3,
    .options = SET_OPTIONS,
    .run = runSet,
};

const Command ADD = {
    .name = "add",
    .synopsis = "[--dry-run | -o OUTPUT [--force] | --in-place] [--top] FILE PATH [VALUE|@FILE|@-]",
    .summary = "Add a chunk or an empty group",
    .help = R"(
The last step of PATH names the new chunk; the steps before it name its group. The chunk fills free
space (JUNK) of the group if it fits there, and is appended to the group otherwise. A group that
becomes longer uses the free space beside it, if that is enough. If the last step has a group id, an
empty group is appended, and no value is given. If the group already has a chunk of the same name, a
note says how many there are with the new one. See "velmor-core set --help" for values and the other
options.

--top   add the chunk at the top of the file. If the file has exactly one RIFF group, a chunk
        beside it is added only with this option. A path without the RIFF group is most likely a
        mistake, because programs look for chunks in the RIFF group. Another RIFF group needs no
        option.
)",
    .examples = R"(
  velmor-core add song.wav RIFF:WAVE/LIST:INFO/ICOP "In the public domain"
  velmor-core add tone.wav RIFF:WAVE/LIST:INFO
  velmor-core add tone.wav RIFF:WAVE/LIST:INFO/INAM "Concert pitch"
)",
    .minOperands = 2,
    .maxOperands = 3,
    .options = ADD_OPTIONS,
    .run = runAdd,
};

const Command REMOVE = {
    .name = "remove",
    .synopsis = "[--dry-run | -o OUTPUT | --in-place] [--force] FILE PATH...",
    .summary = "Remove chunks and everything in them; the file becomes shorter",
    .help = R"(
All bytes after a chunk move towards the start of the file. In a PATH, [*] names all chunks that fit
a step: RIFF/JUNK[*], or RIFF/LIST[*]/ISFT. Put quotes around it, because the shell may replace it.
All chunks are found before the first is removed, so numbers count the chunks that "tree" shows now.
Two paths must not name the same chunk. A path must not name a chunk inside another one that is
removed. If a path names no chunk, nothing is changed. See "velmor-core set --help" for the other
options.

--force   remove the RIFF group even if no other is left; with -o, also replace OUTPUT if it exists
)",
    .examples = R"(
  velmor-core remove song.wav RIFF:WAVE/LIST:INFO/ICMT RIFF:WAVE/LIST:INFO/IART
  velmor-core remove clip.avi 'RIFF:AVI/JUNK[*]'
  velmor-core remove --dry-run clip.avi RIFF:AVI/LIST:INFO
)",
    .minOperands = 2,
    .maxOperands = ANY_NUMBER,
    .options = EDIT_OPTIONS,
    .run = runRemove,
};

const Command RECYCLE = {
    .name = "recycle",
    .synopsis = "[--dry-run | -o OUTPUT | --in-place] [--force] FILE PATH...",
    .summary = "Turn chunks into free space (JUNK); nothing moves",
    .help = R"(
Free chunks directly before and after a chunk are merged with it, and "add" can reuse the space. The
data stays in the file until it is overwritten. See "velmor-core remove --help" for several paths
and --force, and "velmor-core set --help" for the other options.
)",
    .examples = R"(
  velmor-core recycle song.wav RIFF:WAVE/LIST:INFO/ICMT
)",
    .minOperands = 2,
    .maxOperands = ANY_NUMBER,
    .options = EDIT_OPTIONS,
    .run = runRecycle,
};

}  // namespace tool
