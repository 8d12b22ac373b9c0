// Prints the map of a file at a terminal.

#include <algorithm>
#include <array>
#include <iostream>

#include "app/terminal.h"
#include "app/text.h"
#include "looking/map.h"
#include "looking/tree.h"

namespace tool {

namespace {

constexpr std::size_t MIN_WIDTH = 20;
constexpr std::size_t MARGIN = 2;

// What fills the boxes of a kind where there is no colour.
char fillOf(ItemKind kind) {
  switch (kind) {
    case ItemKind::GROUP:
      return '=';
    case ItemKind::FREE:
      return '.';
    case ItemKind::ZEROS:
      return '0';
    case ItemKind::BYTES:
      return '?';
    case ItemKind::DATA:
      break;
  }
  return '#';
}

Style styleOf(ItemKind kind) {
  switch (kind) {
    case ItemKind::GROUP:
      return Style::GROUP_BOX;
    case ItemKind::DATA:
      return Style::DATA_BOX;
    case ItemKind::FREE:
      return Style::FREE_BOX;
    default:
      return Style::OTHER_BOX;
  }
}

// The columns that a box covers: at least one.
struct Span {
  std::size_t first;
  std::size_t end;
};

class Line {
 public:
  Line(uint64_t fileSize, std::size_t width) : fileSize(fileSize), width(width) {}

  std::string text(const std::vector<MapBox>& row) const {
    std::string line;
    std::size_t done = 0;
    for (const MapBox& box : row) {
      const Span span = spanOf(box);
      const std::size_t first = std::max(span.first, done);
      if (span.end <= first) continue;  // earlier boxes already cover its columns
      line.append(first - done, ' ').append(drawn(box, span.end - first));
      done = span.end;
    }
    return line;
  }

 private:
  std::size_t column(uint64_t offset) const {
    return static_cast<std::size_t>(static_cast<double>(offset) / static_cast<double>(fileSize) *
                                    static_cast<double>(width));
  }

  Span spanOf(const MapBox& box) const {
    const std::size_t first = std::min(column(box.offset), width - 1);
    return {first, std::max(first + 1, std::min(column(box.end), width))};
  }

  // "|data########"; a name that does not fit is left out.
  static std::string drawn(const MapBox& box, std::size_t columns) {
    const ItemKind kind = box.name().kind;
    std::string text(columns, fillOf(kind));
    const std::string name = box.count == 1 ? textOf(box.name()) : "";
    if (columns > 1) text[0] = '|';
    if (!name.empty() && name.size() + 2 <= columns) text.replace(1, name.size(), name);
    return styled(styleOf(kind), text);
  }

  uint64_t fileSize;
  std::size_t width;
};

void printScale(uint64_t size, std::size_t width) {
  const std::string middle = binarySize(size / 2);
  const std::string end = binarySize(size);
  std::string line(width, ' ');
  line[0] = '0';
  line.replace(width / 2 - middle.size() / 2, middle.size(), middle);
  line.replace(width - end.size(), end.size(), end);
  std::cout << std::string(MARGIN, ' ') << styled(Style::FREE, line) << '\n';
}

}  // namespace

void printMap(const Map& map, std::size_t width) {
  width = std::max(width, MIN_WIDTH + 2 * MARGIN) - 2 * MARGIN;
  std::cout << titleLine(map.title, map.fileSize, map.summary.chunks) << '\n';
  if (map.fileSize > 0) {
    const Line line(map.fileSize, width);
    for (const std::vector<MapBox>& row : map.rows) {
      std::cout << std::string(MARGIN, ' ') << line.text(row) << '\n';
    }
    printScale(map.fileSize, width);
  }
  if (map.hasMoreLevels) std::cout << std::string(MARGIN, ' ') << "(deeper levels are left out)\n";
  printSummaryTable(map.summary, [](const ItemName& name) {
    return styled(styleOf(name.kind), std::string(1, fillOf(name.kind))) + " ";
  });
}

}  // namespace tool
