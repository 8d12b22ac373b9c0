#include "tree.h"

#include <algorithm>
#include <array>
#include <iostream>

#include "chunk_path.h"
#include "command.h"
#include "editing.h"
#include "terminal.h"
#include "text.h"

namespace tool {

namespace {

constexpr Option JSON{"--json"};
constexpr Option PATH{"--path", true};
constexpr std::array OPTIONS = {JSON, PATH};

// Chunks deeper than this are no longer indented further; the level stands before them as a number.
constexpr uint64_t MAX_INDENTED_LEVEL = 20;
constexpr std::size_t INDENT = 2;
constexpr std::size_t GAP = 2;  // between columns
constexpr std::string_view OFFSET_HEAD = "offset";
constexpr std::string_view NAME_HEAD = "chunk";
constexpr std::string_view SIZE_HEAD = "data size";
constexpr std::string_view TOTAL_HEAD = "total";

std::string indentedName(const TreeWalk& walk) {
  const uint64_t level = walk.level();
  std::string text(std::min(level, MAX_INDENTED_LEVEL) * INDENT, ' ');
  if (level > MAX_INDENTED_LEVEL) text.append("(").append(std::to_string(level)).append(") ");
  return text + walk.chunk().name();
}

// How wide the columns have to be, learned in a walk of its own.
struct Layout {
  std::size_t offsetWidth = OFFSET_HEAD.size();
  std::size_t nameWidth = NAME_HEAD.size();
  std::size_t sizeWidth = SIZE_HEAD.size();
  std::size_t totalWidth = TOTAL_HEAD.size();
  uint64_t chunks = 0;

  Layout(const Object& object, const Chunk& start) {
    uint64_t largestSize = 0;
    uint64_t largestTotal = 0;
    uint64_t lastOffset = 0;
    for (TreeWalk walk(object, start); walk.next(); ++chunks) {
      nameWidth = std::max(nameWidth, indentedName(walk).size());
      largestSize = std::max<uint64_t>(largestSize, walk.chunk().dataSize());
      largestTotal = std::max(largestTotal, walk.chunk().totalSize());
      lastOffset = walk.offset();
    }
    offsetWidth = std::max(offsetWidth, std::to_string(lastOffset).size());
    sizeWidth = std::max(sizeWidth, grouped(largestSize).size());
    totalWidth = std::max(totalWidth, grouped(largestTotal).size());
  }
};

void alignRight(std::string& line, std::string_view text, std::size_t width) {
  line.append(width - text.size(), ' ').append(text);
}

void alignLeft(std::string& line, std::string_view text, std::size_t width) {
  line.append(text).append(width - text.size(), ' ');
}

void printHead(const Layout& layout) {
  std::string line(GAP, ' ');
  alignRight(line, OFFSET_HEAD, layout.offsetWidth);
  line.append(GAP, ' ');
  alignLeft(line, NAME_HEAD, layout.nameWidth);
  alignRight(line, SIZE_HEAD, layout.sizeWidth + GAP);
  alignRight(line, TOTAL_HEAD, layout.totalWidth + GAP);
  std::cout << styled(Style::FREE, line) << '\n';
}

// What there is to say of a chunk beside its name and sizes.
std::string remark(const TreeWalk& walk, uint64_t objectSize) {
  const Chunk& chunk = walk.chunk();
  if (const uint64_t missing = walk.missing(objectSize); missing > 0) {
    const uint64_t pad = chunk.dataSize() % 2;
    if (missing == pad) return styled(Style::WARNING, "without its pad byte");
    return styled(Style::WARNING, "cut short by " + counted(missing - pad, "byte"));
  }
  const std::string_view pad = !chunk.isGroup() && chunk.dataSize() % 2 == 1 ? "pad" : "";
  if (!chunk.isFree()) return std::string(pad);
  return styled(Style::FREE, pad.empty() ? "free" : "pad, free");
}

void printLine(const TreeWalk& walk, const Layout& layout, uint64_t objectSize) {
  const Chunk& chunk = walk.chunk();
  const std::string name = indentedName(walk);
  std::string line(GAP, ' ');
  alignRight(line, std::to_string(walk.offset()), layout.offsetWidth);
  line.append(GAP, ' ');
  if (chunk.isGroup()) {
    line += styled(Style::GROUP, name);
  } else {
    line += chunk.isFree() ? styled(Style::FREE, name) : name;
  }
  line.append(layout.nameWidth - name.size(), ' ');
  alignRight(line, grouped(chunk.dataSize()), layout.sizeWidth + GAP);
  alignRight(line, grouped(chunk.totalSize()), layout.totalWidth + GAP);
  const std::string note = remark(walk, objectSize);
  if (!note.empty()) line.append(GAP, ' ').append(note);
  std::cout << line << '\n';
}

int runTree(const Arguments& arguments) {
  std::optional<ChunkPath> path;
  if (const auto text = arguments.value(PATH.name)) path.emplace(*text);
  const auto print = arguments.has(JSON.name) ? printJson : printTree;
  return forEach(arguments.all(), [&](const std::string& file) {
    const Opened opened(file, Original::LOOK);
    opened.explain([&] {
      const Chunk root = virtualRoot(opened.object());
      print(file, opened.object(), path ? path->find(root) : Chunk());
    });
  });
}

}  // namespace

void printTree(std::string_view title, const Object& object, const Chunk& start) {
  const uint64_t size = object.size();
  const Layout layout(object, start);
  std::cout << styled(Style::TITLE, printable(title)) << "  (" << grouped(size)
            << (size == 1 ? " byte, " : " bytes, ") << counted(layout.chunks, "chunk") << ")\n";
  if (layout.chunks > 0) printHead(layout);
  for (TreeWalk walk(object, start); walk.next();) printLine(walk, layout, size);
}

const Command TREE = {
    .name = "tree",
    .synopsis = "[--json] [--path PATH] FILE...",
    .summary = "Show the chunks of files as trees",
    .help = R"(
Each line shows where a chunk's header begins in the file, the chunk's id, for groups with the group
id behind a colon, its data size (what its size field says) and its total size with header and pad
byte, in bytes. What a group holds stands below it, indented by its level. "pad" marks a pad byte,
"free" JUNK chunks: space that later edits use. Only headers are read, however large the file.

--path PATH   show this chunk and what it holds, with its offsets in the file
--json        print one JSON object for each file, each on a line of its own:
                {"file":"a.wav","size":52,"chunks":[{"offset":0,"level":0,"id":"RIFF",
                 "groupId":"WAVE","dataSize":44,"totalSize":52,"pad":0,"free":false,"missing":0},...
              The list is in the order of the bytes, a group in front of what it holds; "level"
              tells how deep a chunk lies. Ids are written as in a PATH; "groupId" stands for
              groups alone; "missing" is the number of bytes that the file lacks.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runTree,
};

}  // namespace tool
