// Adds up the items of a file by name.

#include "looking/summary.h"

#include <algorithm>
#include <iostream>
#include <map>

#include "app/json.h"
#include "app/terminal.h"
#include "app/text.h"
#include "looking/tree.h"

namespace tool {

namespace {

constexpr std::string_view OTHERS = "(other ids)";

uint64_t ownBytes(const TreeItem& item) {
  return item.isGroup() ? GROUP_HEADER_SIZE : item.end() - item.chunk.offset;
}

bool isLarger(const SummaryLine& a, const SummaryLine& b) {
  return a.bytes != b.bytes ? a.bytes > b.bytes : a.offset < b.offset;
}

// Holds a bounded number of names. A file may have a new one in every chunk.
class Table {
 public:
  // Adds an item. If there are then too many names, keeps those with the most bytes so far. The new
  // name may be dropped, too.
  void add(const TreeItem& item) {
    const auto [found, isNew] = table.try_emplace(nameOf(item));
    if (isNew) found->second = {found->first, 0, 0, 0};
    count(found->second, item);
    if (table.size() > MAX_NAMES) dropHalf();
  }
  // Adds an item if its name is in the table.
  bool addKnown(const TreeItem& item) {
    const auto found = table.find(nameOf(item));
    if (found == table.end()) return false;
    count(found->second, item);
    return true;
  }
  static void count(SummaryLine& line, const TreeItem& item) {
    if (line.count++ == 0) line.offset = item.chunk.offset;
    line.bytes += ownBytes(item);
  }

  bool isExact() const { return !hasDropped; }
  std::vector<SummaryLine> sorted() const {
    std::vector<SummaryLine> lines;
    lines.reserve(table.size());
    for (const auto& [name, line] : table) lines.push_back(line);
    std::ranges::sort(lines, isLarger);
    return lines;
  }
  // Keeps these names, with nothing counted.
  void restart(const std::vector<SummaryLine>& lines) {
    table.clear();
    for (const SummaryLine& line : lines) table[line.name] = {line.name, 0, 0, 0};
  }

 private:
  static constexpr std::size_t MAX_NAMES = 4096;

  void dropHalf() {
    hasDropped = true;
    std::vector<SummaryLine> lines = sorted();
    lines.resize(MAX_NAMES / 2);
    table.clear();
    for (const SummaryLine& line : lines) table.emplace(line.name, line);
  }

  // Not a hash table: a file could slow it down with ids whose hashes are equal.
  std::map<ItemName, SummaryLine> table;
  bool hasDropped = false;
};

// Counts the lines' names again, and all others together.
void recount(Summary& summary, TreeItems items) {
  Table table;
  table.restart(summary.lines);
  summary.others = {};
  while (items.next()) {
    if (!table.addKnown(items.item())) Table::count(summary.others, items.item());
  }
  summary.lines = table.sorted();
}

void addUp(Summary& summary, std::vector<SummaryLine> lines, std::size_t limit) {
  const std::size_t shown = std::min(lines.size(), limit);
  for (std::size_t i = shown; i < lines.size(); ++i) {
    summary.others.count += lines[i].count;
    summary.others.bytes += lines[i].bytes;
  }
  lines.resize(shown);
  summary.lines = std::move(lines);
}

struct Cells {
  std::string name, count, bytes, share, offset;

  void widen(const Cells& other) {
    const auto fit = [](std::string& to, const std::string& from) {
      to.resize(std::max(to.size(), from.size()), ' ');
    };
    fit(name, other.name);
    fit(count, other.count);
    fit(bytes, other.bytes);
    fit(share, other.share);
    fit(offset, other.offset);
  }
};

const Cells HEADS{"chunk", "count", "bytes", "share", "first at"};

Cells cellsOf(const SummaryLine& line, uint64_t all, bool isOthers) {
  return {isOthers ? std::string(OTHERS) : textOf(line.name), grouped(line.count),
          grouped(line.bytes), percentage(line.bytes, all),
          isOthers ? "" : std::to_string(line.offset)};
}

// `widths` has cells as wide as the columns.
std::string row(const Cells& cells, const Cells& widths) {
  std::string text = cells.name;
  text.resize(widths.name.size(), ' ');
  const auto right = [&text](const std::string& cell, const std::string& width) {
    constexpr std::size_t GAP = 2;
    text.append(GAP + width.size() - cell.size(), ' ').append(cell);
  };
  right(cells.count, widths.count);
  right(cells.bytes, widths.bytes);
  right(cells.share, widths.share);
  if (!cells.offset.empty()) right(cells.offset, widths.offset);
  return text;
}

std::string_view separatorBefore(std::size_t index) { return index == 0 ? "" : ","; }

}  // namespace

Summary summarize(RawBytes& bytes, const RawNode& start, std::size_t limit) {
  Summary summary;
  Table table;
  for (TreeItems items(bytes, start); items.next();) {
    table.add(items.item());
    summary.bytes += ownBytes(items.item());
    if (items.item().kind == TreeItem::CHUNK) ++summary.chunks;
  }
  addUp(summary, table.sorted(), limit);
  if (!table.isExact()) recount(summary, TreeItems(bytes, start));
  return summary;
}

void printSummaryTable(const Summary& summary, const SummaryMark& mark) {
  Cells widths = HEADS;
  for (const SummaryLine& line : summary.lines) widths.widen(cellsOf(line, summary.bytes, false));
  if (summary.others.count > 0) widths.widen(cellsOf(summary.others, summary.bytes, true));
  std::cout << "  " << styled(Style::FREE, row(HEADS, widths)) << '\n';
  for (const SummaryLine& line : summary.lines) {
    const std::string text = row(cellsOf(line, summary.bytes, false), widths);
    const std::size_t nameSize = widths.name.size();
    const bool isGroup = line.name.kind == ItemKind::GROUP;
    const bool isData = line.name.kind == ItemKind::DATA;
    const std::string name = text.substr(0, nameSize);
    std::cout << mark(line.name)
              << (isData ? name : styled(isGroup ? Style::GROUP : Style::FREE, name))
              << text.substr(nameSize) << '\n';
  }
  if (summary.others.count == 0) return;
  std::cout << "  " << row(cellsOf(summary.others, summary.bytes, true), widths) << '\n';
}

void printSummaryField(const Summary& summary) {
  std::cout << ",\"summary\":[";
  for (std::size_t i = 0; i < summary.lines.size(); ++i) {
    const SummaryLine& line = summary.lines[i];
    std::cout << separatorBefore(i) << "{\"kind\":" << quoted(kindText(line.name.kind));
    const bool isChunk = line.name.kind < ItemKind::ZEROS;
    if (isChunk) std::cout << ",\"id\":" << quoted(idText(line.name.id));
    if (line.name.kind == ItemKind::GROUP) {
      std::cout << ",\"groupId\":" << quoted(idText(line.name.groupId));
    }
    std::cout << ",\"count\":" << line.count << ",\"bytes\":" << line.bytes
              << ",\"offset\":" << line.offset << '}';
  }
  std::cout << "],\"others\":{\"count\":" << summary.others.count
            << ",\"bytes\":" << summary.others.bytes << '}';
}

void printSummary(std::string_view title, RawBytes& bytes, const RawNode& start) {
  const Summary summary = summarize(bytes, start, SUMMARY_LINES);
  std::cout << titleLine(title, bytes.size(), summary.chunks) << '\n';
  printSummaryTable(summary, [](const ItemName& /*name*/) { return "  "; });
}

void printSummaryJson(std::string_view file, RawBytes& bytes, const RawNode& start) {
  const Summary summary = summarize(bytes, start, SUMMARY_LINES);
  std::cout << jsonStart("tree", file) << ",\"size\":" << bytes.size();
  printSummaryField(summary);
  std::cout << "}\n";
}

}  // namespace tool
