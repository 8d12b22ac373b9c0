// One chunk on standard output: its fields and its bytes.
#ifndef VELMOR_CORE_TOOLS_LOOKING_SHOW_H
#define VELMOR_CORE_TOOLS_LOOKING_SHOW_H

#include <string_view>

#include "chunks/tree_items.h"

namespace tool {

struct ShowWay {
  bool all = false;  // all bytes, not only the first
  bool hex = false;  // texts as bytes, too
};

// Prints a title line and what is known of the chunk, and then its bytes. The chunks in a group are
// shown as a tree. Reads forward, in blocks.
void showChunk(std::string_view file, std::string_view path, RawBytes& bytes, const RawNode& node,
               const ShowWay& way);

// Prints the fields as one line of JSON.
void showJson(std::string_view file, std::string_view path, RawBytes& bytes, const RawNode& node);

}  // namespace tool

#endif
