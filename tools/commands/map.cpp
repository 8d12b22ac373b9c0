// velmor-core map

#include "looking/map.h"

#include <array>
#include <optional>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/terminal.h"
#include "chunks/file_kind.h"
#include "editing/editing.h"
#include "file/new_file.h"
#include "file/original.h"

namespace tool {

namespace {

constexpr Option ANY{"--any"};
constexpr std::array OPTIONS = {JSON, ANY, JOBS, OUTPUT, FORCE};

Map mapOf(const std::string& name, uint64_t columns, bool isAny) {
  const Original original(name, Original::LOOK);
  RawBytes bytes(original.get());
  if (!isAny) requireRiff(name, bytes);
  return makeMap(name, bytes, columns);
}

// The function that makes the picture, chosen by the ending of OUTPUT.
decltype(&svgOf) drawerFor(const std::string& output) {
  if (output.ends_with(".svg")) return svgOf;
  if (output.ends_with(".html") || output.ends_with(".htm")) return htmlOf;
  throw UsageError("-o needs a name that ends in .svg or .html");
}

int drawMap(const Arguments& arguments, const std::string& output) {
  const auto draw = drawerFor(output);
  const std::string& name = arguments[0];
  if (arguments.count() != 1) throw UsageError("-o takes the map of one file");
  if (arguments.has(JSON.name)) throw UsageError("--json prints, and -o draws: give one of them");
  if (isSameFile(name, output)) throw UsageError("the map cannot be written over its file");
  const Map map = mapOf(name, PICTURE_COLUMNS, arguments.has(ANY.name));
  const std::string picture = draw(map);
  writeNamed(output, arguments.has(FORCE.name),
             [&](const File& file) { file.write(picture.data(), picture.size()); });
  return 0;
}

int runMap(const Arguments& arguments) {
  if (const auto output = arguments.value(OUTPUT.name)) return drawMap(arguments, *output);
  const bool isJson = arguments.has(JSON.name);
  const std::size_t width = outputWidth();
  return forEachFile(arguments, [&](const std::string& name) {
    const Map map = mapOf(name, isJson ? PICTURE_COLUMNS : width, arguments.has(ANY.name));
    if (isJson) {
      printMapJson(map);
    } else {
      printMap(map, width);
    }
    return 0;
  });
}

}  // namespace

const Command MAP = {
    .name = "map",
    .synopsis = "[--json] [--any] [--jobs N] [-o OUTPUT [--force]] FILE...",
    .summary = "Show where the bytes of files are, also as a picture",
    .help = R"(
Draws each file as rows of boxes, from its first byte on the left to its last on the right. The
first row has the top-level chunks. Each further row has the chunks in the groups above it. Small
neighbours share a box. A table of the ids follows, with counts, bytes, shares and the offset of the
first chunk. Of a group, only the header counts there. Without colour, groups are drawn with "=",
data chunks with "#", free chunks with ".", runs of zeros with "0" and other bytes that are no chunk
with "?". Rows below the 12th are left out.

-o OUTPUT   draw the map of one file as a picture (OUTPUT ends in .svg) or as a web page (.html); a
            browser shows the ids, offsets and sizes of the box under the mouse pointer
--force     replace OUTPUT if it exists
--jobs N    read N files at the same time; see "velmor-core --help"
--any       draw any file, even one that is no RIFF file, as if it were made of chunks
--json      print one JSON object for each file, each on a line of its own:
              {"version":1,"command":"map","file":"a.wav","size":52,"boxes":[{"level":0,"offset":0,
               "size":52,"kind":"group","count":1,"name":"RIFF:WAVE"},...],"summary":[...],...
            "count" is the number of items in a box: chunks, runs of zeros, and runs of other bytes
            that are no chunk. A box counts the bytes of the first four names in it. "name" is the
            one of these names whose items have the most bytes. "kind" is the kind of these items.
            "summary" and "others" are as with "tree --summary".
)",
    .examples = R"(
  velmor-core map clip.avi
  velmor-core map clip.avi -o clip.svg
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runMap,
};

}  // namespace tool
