// Joins the items of a file to boxes that can be seen.

#include "looking/map.h"

#include <algorithm>
#include <iostream>

#include "app/json.h"
#include "app/text.h"

namespace tool {

namespace {

void addPart(MapBox& box, const ItemName& name, uint64_t bytes) {
  ++box.count;
  for (MapBox::Part& part : box.parts) {
    if (part.count > 0 && part.name != name) continue;
    part.name = name;
    part.bytes += bytes;
    ++part.count;
    return;
  }
}

void addBox(std::vector<MapBox>& row, const TreeItem& item, uint64_t smallest) {
  const uint64_t offset = item.chunk.offset;
  const uint64_t end = item.end();
  if (row.empty() || end - row.back().offset >= smallest) {
    row.push_back({offset, end, 0, {}});
  } else {
    row.back().end = end;
  }
  addPart(row.back(), nameOf(item), end - offset);
}

}  // namespace

const ItemName& MapBox::name() const {
  return std::ranges::max_element(parts, {}, &Part::bytes)->name;
}

std::string MapBox::text() const {
  if (count == 1) return textOf(parts[0].name);
  uint64_t named = 0;
  std::string names;
  for (const Part& part : parts) {
    if (part.count == 0) break;
    named += part.count;
    names += (names.empty() ? "" : ", ") + textOf(part.name);
  }
  return grouped(count) + " items: " + names + (named < count ? ", ..." : "");
}

Map makeMap(std::string_view title, RawBytes& bytes, uint64_t columns) {
  Map map;
  map.title = title;
  map.fileSize = bytes.size();
  const RawNode root = RawNode::virtualRoot(bytes);
  const uint64_t smallest = std::max<uint64_t>((bytes.size() + columns - 1) / columns, 1);
  for (TreeItems items(bytes, root); items.next();) {
    const TreeItem& item = items.item();
    if (item.level >= Map::MAX_LEVELS) {
      map.hasMoreLevels = true;
      continue;
    }
    if (item.level == map.rows.size()) map.rows.emplace_back();
    addBox(map.rows[item.level], item, smallest);
  }
  constexpr std::size_t LINES = 16;
  map.summary = summarize(bytes, root, LINES);
  return map;
}

void printMapJson(const Map& map) {
  std::cout << jsonStart("map", map.title) << ",\"size\":" << map.fileSize << ",\"boxes\":[";
  std::string_view separator;
  for (std::size_t level = 0; level < map.rows.size(); ++level) {
    for (const MapBox& box : map.rows[level]) {
      std::cout << separator << "{\"level\":" << level << ",\"offset\":" << box.offset
                << ",\"size\":" << box.end - box.offset
                << ",\"kind\":" << quoted(kindText(box.name().kind)) << ",\"count\":" << box.count
                << ",\"name\":" << quoted(textOf(box.name())) << '}';
      separator = ",";
    }
  }
  std::cout << ']';
  printSummaryField(map.summary);
  std::cout << "}\n";
}

}  // namespace tool
