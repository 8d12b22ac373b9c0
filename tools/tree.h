// The chunks of a file on standard output.
#ifndef VELMOR_CORE_TOOLS_TREE_H
#define VELMOR_CORE_TOOLS_TREE_H

#include <string_view>

#include "tree_items.h"

namespace tool {

// Prints a title line, the heads of the columns, and a line for each item from a start, which is
// the virtual root or a chunk: offset, id and group id (indented by level), data size and total
// size in bytes, remarks.
void printTree(std::string_view title, RawBytes& bytes, const RawNode& start);

// Prints the same as one line of JSON.
void printJson(std::string_view file, RawBytes& bytes, const RawNode& start);

// Bytes of a data chunk, pad byte included, that the file lacks. Groups lack none: what is missing
// belongs to the last chunk in them.
uint64_t missingBytes(const TreeItem& item, uint64_t fileSize);

// Bytes of a chunk that lie past the end of its group, and within the file's.
uint64_t pastGroup(const TreeItem& item, uint64_t fileSize);

}  // namespace tool

#endif
