// velmor-core tree

#include "looking/tree.h"

#include <array>
#include <charconv>
#include <optional>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "chunks/chunk_path.h"
#include "chunks/file_kind.h"
#include "chunks/input.h"
#include "looking/summary.h"

namespace tool {

namespace {

constexpr Option PATH{"--path", true};
constexpr Option ANY{"--any"};
constexpr Option RAW{"--raw"};
constexpr Option DEPTH{"--depth", true};
constexpr Option SUMMARY{"--summary"};
constexpr std::array OPTIONS = {JSON, PATH, ANY, RAW, JOBS, DEPTH, SUMMARY};

uint64_t depthOf(const Arguments& arguments) {
  const auto text = arguments.value(DEPTH.name);
  if (!text) return ALL_LEVELS;
  uint64_t depth = 0;
  const char* const end = text->data() + text->size();
  const auto result = std::from_chars(text->data(), end, depth);
  if (result.ec != std::errc() || result.ptr != end || depth == 0) {
    throw UsageError("--depth needs a number of levels, from 1");
  }
  if (arguments.has(SUMMARY.name)) throw UsageError("--summary has no levels: leave --depth out");
  return depth;
}

int runTree(const Arguments& arguments) {
  std::optional<ChunkPath> path;
  if (const auto text = arguments.value(PATH.name)) path.emplace(*text);
  const uint64_t depth = depthOf(arguments);
  const bool isJson = arguments.has(JSON.name);
  const Values values = arguments.has(RAW.name) ? Values::LEFT_OUT : Values::SHOWN;
  return forEachFile(arguments, [&](const std::string& operand) {
    const Input input(operand);
    const std::string file = inputName(operand);
    RawBytes bytes = input.bytes();
    if (!arguments.has(ANY.name)) requireRiff(file, bytes);
    try {
      const RawNode root = RawNode::virtualRoot(bytes);
      const RawNode start = path ? path->find(root) : root;
      const std::string& shown = isJson ? operand : file;
      if (arguments.has(SUMMARY.name)) {
        (isJson ? printSummaryJson : printSummary)(shown, bytes, start);
      } else {
        (isJson ? printJson : printTree)(shown, bytes, start, values, depth);
      }
    } catch (const Failure& failure) {
      throw Failure(file, failure.what());
    }
    return 0;
  });
}

}  // namespace

const Command TREE = {
    .name = "tree",
    .synopsis = "[--raw] [--json] [--any] [--path PATH] [--depth N | --summary] [--jobs N] FILE...",
    .summary = "Show the chunks of files as trees",
    .help = R"(
Each line shows one chunk, in four columns: the offset of its header in the file; its id, and for a
group a colon and the group id; its data size (the size field); its total size (with header and pad
byte). All sizes are in bytes. The chunks in a group follow it and are indented by their level.
A value follows for chunks whose format is known: sound, pictures and streams in words, texts in
quotes. "velmor-core show" shows values in more detail. "pad" marks a chunk with a pad byte, "free"
a JUNK chunk, whose space later edits can use. Only headers and the start of known chunks are read,
also in large files. FILE "-" is standard input. A pipe is read to its end before the tree is
printed, and only headers and small data are kept in memory.

RF64 and BW64 files are shown with the 64-bit sizes of their chunk ds64, RIFX files with their
big-endian sizes. They can be read, but not edited.

Damaged files are shown too. A remark follows a chunk that is cut short by the end of the file or
that ends past the end of its group. The line (zeros) shows a run of zeros, the line (no chunk)
other bytes that belong to no chunk. "velmor-core check" says what is wrong with a file.

--path PATH   show only this chunk and the chunks in it; offsets still count from the file's start
--raw         show no values; then only headers are read
--jobs N      read N files at the same time; see "velmor-core --help"
--any         show any file, even one that is no RIFF file, as if it were made of chunks
--depth N     show N levels; a remark says how many deeper chunks a group has
--summary     show one line for each id: how many chunks have it, their bytes with headers and pad
              bytes, their share, and the offset of the first one. The largest comes first. Of a
              group, only the header counts, so the shares add up to 100 %. After 50 lines, the
              other ids share one line.
--json        print one JSON object for each file, each on a line of its own:
                {"version":1,"command":"tree","file":"a.wav","size":52,"chunks":[{"offset":0,
                 "level":0,"id":"RIFF","groupId":"WAVE","dataSize":44,"totalSize":52,"pad":0,"free":false,"missing":0},...
              The list is in the order of the bytes, a group before its chunks. "level" is 0 for
              top-level chunks. Ids are written as in a PATH. Only groups have "groupId".
              "value" is the value of a known chunk, without quotes; a text of more than 4,096
              bytes is shortened and ends in "...".
              "missing" counts the bytes of the chunk that the file lacks. "past" counts the bytes
              of the chunk past the end of its group, if there are any. A run of 8 zeros in place
              of a chunk is {"offset":52,"level":0,"zeros":8}; other bytes that belong to no chunk
              have "bytes" instead of "zeros". With --depth, "hidden" counts the deeper chunks
              of a group. With --summary, "summary" replaces "chunks":
                "summary":[{"kind":"data","id":"data","count":1,"bytes":8,"offset":36},...],
                "others":{"count":0,"bytes":0}
              "kind" is "group", "data", "free", "zeros" or "bytes".
)",
    .examples = R"(
  velmor-core tree song.wav
  velmor-core tree --raw song.wav
  velmor-core tree --path RIFF:WAVE/data *.wav
  velmor-core tree --summary clip.avi
  velmor-core tree --json clip.avi >clip.json
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runTree,
};

}  // namespace tool
