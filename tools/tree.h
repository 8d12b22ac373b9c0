// An object's chunk tree on standard output.
#ifndef VELMOR_CORE_TOOLS_TREE_H
#define VELMOR_CORE_TOOLS_TREE_H

#include <string_view>

#include "store.h"

namespace tool {

// Prints a title line, the heads of the columns, and a line for each chunk: offset, id and group id
// (indented by level), data size and total size in bytes, remarks. With a chunk to start from,
// that one and what it holds.
void printTree(std::string_view title, const Object& object, const Chunk& start = Chunk());

// Prints the same as one line of JSON.
void printJson(std::string_view file, const Object& object, const Chunk& start = Chunk());

}  // namespace tool

#endif
