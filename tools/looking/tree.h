// The chunks of a file on standard output.
#ifndef VELMOR_CORE_TOOLS_LOOKING_TREE_H
#define VELMOR_CORE_TOOLS_LOOKING_TREE_H

#include <string_view>

#include "chunks/tree_items.h"

namespace tool {

// Whether the data of known chunks is read, and shown as values.
enum class Values { SHOWN, LEFT_OUT };

// Prints a title line, the heads of the columns, and one line for each item in `start`, the virtual
// root or a chunk. The columns are offset, id and group id (indented by level), data size
// and total size in bytes, and value and remarks.
void printTree(std::string_view title, RawBytes& bytes, const RawNode& start,
               Values values = Values::SHOWN);

// Prints the same as one line of JSON.
void printJson(std::string_view file, RawBytes& bytes, const RawNode& start, Values values);

// How many bytes of a data chunk the file lacks, pad byte included. 0 for a group: bytes that it
// lacks belong to the last data chunk in it.
uint64_t missingBytes(const TreeItem& item, uint64_t fileSize);

// How many bytes of a chunk are past the end of its group. 0 if the group reaches to the end of the
// file.
uint64_t pastGroup(const TreeItem& item, uint64_t fileSize);

}  // namespace tool

#endif
