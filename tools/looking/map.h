// Where the bytes of a file are: a map of its chunks, at a terminal or as a picture.
#ifndef VELMOR_CORE_TOOLS_LOOKING_MAP_H
#define VELMOR_CORE_TOOLS_LOOKING_MAP_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "looking/summary.h"

namespace tool {

// One item, or several neighbours that are each too small to be seen.
struct MapBox {
  // The bytes that items of one name take in the box.
  struct Part {
    ItemName name;
    uint64_t count = 0;
    uint64_t bytes = 0;
  };
  static constexpr std::size_t MAX_PARTS = 4;

  uint64_t offset = 0;
  uint64_t end = 0;
  uint64_t count = 0;  // items
  // One for each of the first MAX_PARTS names in the box. Unused parts have the count 0.
  std::array<Part, MAX_PARTS> parts;

  // The name with the most bytes among those in `parts`.
  const ItemName& name() const;
  // "data", or "1,234 items: 00dc, 01wb" for several.
  std::string text() const;
};

// A row of boxes for each level, in the order of the bytes. Boxes of one row do not overlap.
struct Map {
  static constexpr std::size_t MAX_LEVELS = 12;  // deeper levels are left out

  std::string title;
  uint64_t fileSize = 0;
  std::vector<std::vector<MapBox>> rows;
  bool hasMoreLevels = false;
  Summary summary;
};

// An item is added to the box before it if this box stays smaller than a limit. The limit is the
// size of the file divided by `columns`, rounded up. A row has at most 2 * `columns` boxes, however
// many chunks there are.
Map makeMap(std::string_view title, RawBytes& bytes, uint64_t columns);

// Prints a map at a terminal, `width` columns wide.
void printMap(const Map& map, std::size_t width);
// Prints a map as one line of JSON.
void printMapJson(const Map& map);

// The picture as an SVG file, and as a web page that holds it. Neither needs other files or
// scripts. Both follow the reader's choice of a light or dark screen.
std::string svgOf(const Map& map);
std::string htmlOf(const Map& map);

// The value of `columns` for maps that become a picture or JSON.
constexpr uint64_t PICTURE_COLUMNS = 768;

}  // namespace tool

#endif
