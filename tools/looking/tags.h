// The tags of a file on standard output.
#ifndef VELMOR_CORE_TOOLS_LOOKING_TAGS_H
#define VELMOR_CORE_TOOLS_LOOKING_TAGS_H

#include <string_view>

#include "app/encoding.h"
#include "chunks/raw_bytes.h"

namespace tool {

// Prints a title line, and one line for each tag: its common name, its chunk and its value. Throws
// Failure, without the file's name, for a file that is neither WAVE nor AVI. A text that cannot be
// converted from the encoding is printed without conversion. Every text passes through printable().
void printTags(std::string_view file, RawBytes& bytes, const Encoding& encoding);

// Prints the same as one line of JSON.
void printTagsJson(std::string_view file, RawBytes& bytes, const Encoding& encoding);

}  // namespace tool

#endif
