// The bytes after the last chunk of a file.
#ifndef VELMOR_CORE_TOOLS_TRAILING_H
#define VELMOR_CORE_TOOLS_TRAILING_H

#include <string>

#include "raw_bytes.h"

namespace tool {

// Names the tags that make up all bytes from `begin` to the end of the file: "an APE tag and an
// ID3v1 tag". Empty if anything else is among them.
//
// ID3v1 is 128 bytes that begin with "TAG". APE ends in a footer of 32 bytes, which tells the
// size of the items and of itself, and whether a header of the same size stands before them. ID3v2
// begins with a header of 10 bytes, which tells the size of the rest in four times seven bits.
std::string tagsFrom(uint64_t begin, RawBytes& bytes);

}  // namespace tool

#endif
