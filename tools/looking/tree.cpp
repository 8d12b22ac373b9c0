// Prints the chunks of a file as an indented table.

#include "looking/tree.h"

#include <algorithm>
#include <iostream>

#include "app/terminal.h"
#include "app/text.h"
#include "known/known.h"
#include "looking/item_name.h"

namespace tool {

namespace {

// Deeper chunks are not indented further; their level comes before them as a number.
constexpr uint64_t MAX_INDENTED_LEVEL = 20;
constexpr std::size_t INDENT = 2;
constexpr std::size_t GAP = 2;  // between columns
constexpr std::string_view OFFSET_HEAD = "offset";
constexpr std::string_view NAME_HEAD = "chunk";
constexpr std::string_view SIZE_HEAD = "data size";
constexpr std::string_view TOTAL_HEAD = "total";

std::string indentedName(const TreeItem& item) {
  std::string text(std::min(item.level, MAX_INDENTED_LEVEL) * INDENT, ' ');
  if (item.level > MAX_INDENTED_LEVEL) {
    text.append("(").append(std::to_string(item.level)).append(") ");
  }
  return text + textOf(nameOf(item));
}

uint64_t totalSize(const TreeItem& item) {
  return item.kind == TreeItem::CHUNK ? item.chunk.end() - item.chunk.offset : item.size;
}

// The widths of the columns. A first walk through all items computes them.
struct Layout {
  std::size_t offsetWidth = OFFSET_HEAD.size();
  std::size_t nameWidth = NAME_HEAD.size();
  std::size_t sizeWidth = SIZE_HEAD.size();
  std::size_t totalWidth = TOTAL_HEAD.size();
  uint64_t chunks = 0;

  explicit Layout(ShownItems items) {
    uint64_t largestSize = 0;
    uint64_t largestTotal = 0;
    uint64_t lastOffset = 0;
    while (items.next()) {
      const TreeItem& item = items.item();
      chunks += items.hidden();
      nameWidth = std::max(nameWidth, indentedName(item).size());
      largestTotal = std::max(largestTotal, totalSize(item));
      lastOffset = item.chunk.offset;
      if (item.kind != TreeItem::CHUNK) continue;
      largestSize = std::max(largestSize, item.chunk.dataSize);
      ++chunks;
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

// The last column: what is special about a chunk.
std::string remark(const TreeItem& item, uint64_t fileSize) {
  const RawChunk& chunk = item.chunk;
  if (item.kind != TreeItem::CHUNK) return "";
  if (chunk.isGroup() && chunk.dataSize < GROUP_ID_SIZE) {
    return styled(Style::WARNING, "too small for its group id");
  }
  if (pastGroup(item, fileSize) > 0) {
    return styled(Style::WARNING, "ends " + counted(pastGroup(item, fileSize), "byte") +
                                      " past the end of its group");
  }
  if (const uint64_t missing = missingBytes(item, fileSize); missing > 0) {
    const uint64_t pad = chunk.dataSize % 2;
    if (missing == pad) return styled(Style::WARNING, "without its pad byte");
    return styled(Style::WARNING, "cut short by " + grouped(missing - pad) +
                                      (missing - pad == 1 ? " byte" : " bytes"));
  }
  const std::string_view pad = chunk.dataSize % 2 == 1 ? "pad" : "";
  if (chunk.id != ID_JUNK) return std::string(pad);
  return styled(Style::FREE, pad.empty() ? "free" : "pad, free");
}

// A chunk's value in words, or its text in quotes. Empty if the chunk is not known.
std::string shownValue(const TreeItem& item, RawBytes& bytes) {
  constexpr std::size_t WIDTH = 60;
  constexpr uint64_t MOST_BYTES = 4 * (WIDTH + 1);  // a character has four bytes at most
  if (item.kind != TreeItem::CHUNK) return "";
  const ChunkValue value = valueOf(ChunkData(bytes, item.chunk, item.parent), MOST_BYTES);
  const std::string text = shortened(value.text, WIDTH);
  return value.isText ? "\"" + text + "\"" : text;
}

void printLine(const ShownItems& items, const Layout& layout, RawBytes& bytes, Values values) {
  const TreeItem& item = items.item();
  const bool isChunk = item.kind == TreeItem::CHUNK;
  const bool isFree = !isChunk || item.chunk.id == ID_JUNK;
  const std::string name = indentedName(item);
  std::string line(GAP, ' ');
  alignRight(line, std::to_string(item.chunk.offset), layout.offsetWidth);
  line.append(GAP, ' ');
  if (isChunk && item.chunk.isGroup()) {
    line += styled(Style::GROUP, name);
  } else {
    line += isFree ? styled(Style::FREE, name) : name;
  }
  line.append(layout.nameWidth - name.size(), ' ');
  alignRight(line, isChunk ? grouped(item.chunk.dataSize) : "", layout.sizeWidth + GAP);
  alignRight(line, grouped(totalSize(item)), layout.totalWidth + GAP);
  const std::string value = values == Values::SHOWN ? shownValue(item, bytes) : "";
  if (!value.empty()) line.append(GAP, ' ').append(value);
  const std::string note = remark(item, bytes.size());
  if (!note.empty()) line.append(GAP, ' ').append(note);
  if (items.hidden() > 0) {
    line.append(GAP, ' ').append(
        styled(Style::FREE, "+ " + counted(items.hidden(), "chunk") + " in it"));
  }
  std::cout << line << '\n';
}

}  // namespace

uint64_t missingBytes(const TreeItem& item, uint64_t fileSize) {
  const uint64_t end = item.chunk.end();
  const bool isData = item.kind == TreeItem::CHUNK && !item.chunk.isGroup();
  return isData && end > fileSize ? end - fileSize : 0;
}

uint64_t pastGroup(const TreeItem& item, uint64_t fileSize) {
  const uint64_t end = item.chunk.end();
  const bool leaves = item.kind == TreeItem::CHUNK && item.limit < fileSize && end > item.limit;
  return leaves ? end - item.limit : 0;
}

std::string titleLine(std::string_view title, uint64_t size, uint64_t chunks) {
  return styled(Style::TITLE, printable(title)) + "  (" + grouped(size) +
         (size == 1 ? " byte, " : " bytes, ") + grouped(chunks) +
         (chunks == 1 ? " chunk)" : " chunks)");
}

void printTree(std::string_view title, RawBytes& bytes, const RawNode& start, Values values,
               uint64_t depth) {
  const Layout layout(ShownItems(bytes, start, depth));
  std::cout << titleLine(title, bytes.size(), layout.chunks) << '\n';
  ShownItems items(bytes, start, depth);
  for (bool isFirst = true; items.next(); isFirst = false) {
    if (isFirst) printHead(layout);
    printLine(items, layout, bytes, values);
  }
}

}  // namespace tool
