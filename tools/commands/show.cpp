// velmor-core show

#include "looking/show.h"

#include <array>

#include "app/command.h"
#include "app/errors.h"
#include "chunks/chunk_path.h"
#include "chunks/file_kind.h"
#include "chunks/input.h"

namespace tool {

namespace {

constexpr Option ALL{"--all"};
constexpr Option HEX{"--hex"};
constexpr std::array OPTIONS = {JSON, ALL, HEX};

int runShow(const Arguments& arguments) {
  const std::string file = inputName(arguments[0]);
  const ChunkPath path(arguments[1]);
  const Input input(arguments[0]);
  RawBytes bytes = input.bytes();
  requireRiff(file, bytes);
  try {
    const RawNode node = path.find(RawNode::virtualRoot(bytes));
    if (arguments.has(JSON.name)) {
      showJson(arguments[0], path.text(), bytes, node);
    } else {
      showChunk(file, path.text(), bytes, node,
                {.all = arguments.has(ALL.name), .hex = arguments.has(HEX.name)});
    }
  } catch (const Failure& failure) {
    throw Failure(file, failure.what());
  }
  return 0;
}

}  // namespace

const Command SHOW = {
    .name = "show",
    .synopsis = "FILE PATH [--all] [--hex] [--json]",
    .summary = "Show the fields and bytes of a chunk",
    .help = R"(
If the format of the chunk is known, a table shows its fields. Each line has the offset in the
chunk's data, the size in bytes, the name and the value. The bytes of the chunk follow as a hexdump:
the offset in the file, 16 bytes, and the same bytes as text. A chunk that is a text, such as INAM,
iXML or XMP, is shown as text. The chunks in a group are shown as by "velmor-core tree".

These formats are known: fmt, fact, cue, smpl, inst, bext, ds64, DISP, id3, iXML, axml, _PMX, and
labl, note and ltxt in LIST:adtl (WAVE); avih, strh, strf, strn, indx, ix##, dmlh, idx1, IDIT, ISMP
and _PMX (AVI); VP8X, VP8, VP8L, ANIM, ANMF, ALPH and XMP (WebP); and all chunks in LIST:INFO. EXIF
and ICCP (WebP) are named, but not decoded.

FILE "-" is standard input. From a pipe, only the first 64 KiB of a chunk are kept, and --all is
refused if a part of the chunk was not kept. The indexes of an AVI are kept as a whole. Most of its
pictures and sound are not kept.

--all    show all bytes; without it, the first 256, or 65,536 of a text
--hex    show the bytes of texts, too
--json   print the fields as one JSON object on one line:
           {"version":1,"command":"show","file":"a.wav","path":"RIFF/fmt","offset":12,"id":"fmt",
            "dataSize":16,"missing":0,"value":"PCM, 1 channel, 8 kHz, 16 bit",
            "fields":[{"name":"format-tag","offset":0,"size":2,"value":1,"words":"PCM"},...
         "words" says what a number means. At most 100 entries of a table and 65,536 bytes of a
         text are printed. For a group, "groupId" is its group id, and "chunks" is the number of
         chunks directly in it.
)",
    .examples = R"(
  velmor-core show song.wav RIFF:WAVE/fmt
  velmor-core show song.wav RIFF:WAVE/data --all
  velmor-core show alpha.webp RIFF/XMP --hex
  velmor-core show clip.avi RIFF/LIST:hdrl/avih --json
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = OPTIONS,
    .run = runShow,
};

}  // namespace tool
