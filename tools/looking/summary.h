// How much of a file each chunk id takes.
#ifndef VELMOR_CORE_TOOLS_LOOKING_SUMMARY_H
#define VELMOR_CORE_TOOLS_LOOKING_SUMMARY_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "looking/item_name.h"

namespace tool {

// All items of one name.
struct SummaryLine {
  ItemName name;
  uint64_t count = 0;
  uint64_t bytes = 0;   // headers and pad bytes included; of a group, only its header
  uint64_t offset = 0;  // of the first one
};

struct Summary {
  uint64_t chunks = 0;             // items that are chunks
  uint64_t bytes = 0;              // of all items
  std::vector<SummaryLine> lines;  // the largest first
  SummaryLine others;              // all that have no line
};

// Counts each item once: in a line, or in `others`. The names with the most bytes get a line,
// `limit` of them at most. At most a few thousand names are held in memory. If a file has more
// names, one of the largest names may have no line. The numbers in each line are always exact.
Summary summarize(RawBytes& bytes, const RawNode& start, std::size_t limit);

// How many lines "velmor-core tree --summary" prints at most.
constexpr std::size_t SUMMARY_LINES = 50;

// Print a table, and one line of JSON.
void printSummary(std::string_view title, RawBytes& bytes, const RawNode& start);
void printSummaryJson(std::string_view file, RawBytes& bytes, const RawNode& start);

// Print parts of the above, for other commands. The first prints the table without the title;
// `mark` gives the two characters before each line. The second prints the JSON fields "summary" and
// "others".
using SummaryMark = std::function<std::string(const ItemName& name)>;
void printSummaryTable(const Summary& summary, const SummaryMark& mark);
void printSummaryField(const Summary& summary);

}  // namespace tool

#endif
