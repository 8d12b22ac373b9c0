// The chunks of a file on standard output.
#ifndef VELMOR_CORE_TOOLS_LOOKING_TREE_H
#define VELMOR_CORE_TOOLS_LOOKING_TREE_H

#include <string>
#include <string_view>

#include "looking/shown_items.h"

namespace tool {

// "song.wav  (1,044 bytes, 5 chunks)"
std::string titleLine(std::string_view title, uint64_t size, uint64_t chunks);

// Whether the data of known chunks is read, and shown as values.
enum class Values { SHOWN, LEFT_OUT };

// Prints a title line, the heads of the columns, and one line for each item in `start`, the virtual
// root or a chunk. The columns are offset, id and group id (indented by level), data size
// and total size in bytes, and value and remarks. Shows `depth` levels.
void printTree(std::string_view title, RawBytes& bytes, const RawNode& start,
               Values values = Values::SHOWN, uint64_t depth = ALL_LEVELS);

// Prints the same as one line of JSON.
void printJson(std::string_view file, RawBytes& bytes, const RawNode& start, Values values,
               uint64_t depth);

// How many bytes of a data chunk the file lacks, pad byte included. 0 for a group: bytes that it
// lacks belong to the last data chunk in it.
uint64_t missingBytes(const TreeItem& item, uint64_t fileSize);

// How many bytes of a chunk are past the end of its group. 0 if the group reaches to the end of the
// file.
uint64_t pastGroup(const TreeItem& item, uint64_t fileSize);

}  // namespace tool

#endif
