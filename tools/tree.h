// An object's chunk tree on standard output.
#ifndef VELMOR_CORE_TOOLS_TREE_H
#define VELMOR_CORE_TOOLS_TREE_H

#include <string_view>

#include "store.h"

namespace tool {

// Prints a title line, then a line for each chunk: id and group id, indented by level, and data
// size in bytes.
void printTree(std::string_view title, const Object& object);

}  // namespace tool

#endif
