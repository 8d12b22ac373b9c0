#include "tree.h"

#include <algorithm>
#include <iostream>

#include "command.h"
#include "terminal.h"

namespace tool {

namespace {

// Chunks deeper than this are no longer indented further; the level stands before them as a number.
constexpr uint64_t MAX_INDENTED_LEVEL = 20;
constexpr std::size_t INDENT = 2;
constexpr std::size_t MIN_NAME_WIDTH = 12;

std::string counted(uint64_t number, std::string_view what) {
  std::string text = std::to_string(number);
  text.append(" ").append(what);
  if (number != 1) text += 's';
  return text;
}

std::string indentedName(const TreeWalk& walk) {
  const uint64_t level = walk.level();
  std::string text((std::min(level, MAX_INDENTED_LEVEL) + 1) * INDENT, ' ');
  if (level > MAX_INDENTED_LEVEL) text.append("(").append(std::to_string(level)).append(") ");
  return text + walk.chunk().name();
}

// How the columns have to be laid out, learned in a walk of its own.
struct Layout {
  std::size_t nameWidth = MIN_NAME_WIDTH;
  std::size_t sizeWidth = 1;
  uint64_t chunks = 0;

  explicit Layout(const Object& object) {
    for (TreeWalk walk(object); walk.next(); ++chunks) {
      nameWidth = std::max(nameWidth, indentedName(walk).size());
      sizeWidth = std::max(sizeWidth, std::to_string(walk.chunk().dataSize()).size());
    }
  }
};

// What there is to say of a chunk beside its name and size.
std::string remark(const TreeWalk& walk, uint64_t objectSize) {
  const Chunk& chunk = walk.chunk();
  if (!chunk.isGroup() && walk.offset() + chunk.totalSize() > objectSize) {
    const uint64_t pad = chunk.dataSize() % 2;
    const uint64_t missing = walk.offset() + chunk.totalSize() - pad - objectSize;
    if (missing == 0) return styled(Style::WARNING, "without its pad byte");
    return styled(Style::WARNING, "cut short by " + counted(missing, "byte"));
  }
  return chunk.isFree() ? styled(Style::FREE, "free") : "";
}

void printLine(const TreeWalk& walk, const Layout& layout, uint64_t objectSize) {
  const std::string name = indentedName(walk);
  const std::string size = std::to_string(walk.chunk().dataSize());
  const std::string note = remark(walk, objectSize);
  std::string line = name;
  if (walk.chunk().isGroup()) line = styled(Style::GROUP, name);
  if (walk.chunk().isFree()) line = styled(Style::FREE, name);
  line.append(layout.nameWidth - name.size() + 2 + layout.sizeWidth - size.size(), ' ');
  line += size;
  if (!note.empty()) line.append("  ").append(note);
  std::cout << line << '\n';
}

void showFile(const std::string& file) {
  printTree(file, openFile(file, VELMOR_CORE_RIFF_READ_ONLY));
}

int runTree(const Arguments& arguments) { return forEach(arguments.all(), showFile); }

}  // namespace

void printTree(std::string_view title, const Object& object) {
  const uint64_t size = velmor_core_riff_cache_get_size(object.get());
  const Layout layout(object);
  std::cout << styled(Style::TITLE, title) << "  (" << counted(size, "byte") << ", "
            << counted(layout.chunks, "chunk") << ")\n";
  for (TreeWalk walk(object); walk.next();) printLine(walk, layout, size);
}

const Command TREE = {
    .name = "tree",
    .synopsis = "FILE...",
    .summary = "Show the chunks of files as trees",
    .help = R"(
Each line shows a chunk's id, for groups with the group id behind a colon, and its data size in
bytes (without header and pad byte). What a group holds stands below it, indented by its level.
"free" marks JUNK chunks: space that later edits use. Only headers are read, however large the file.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runTree,
};

}  // namespace tool
