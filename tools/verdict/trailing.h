// The bytes after the last chunk of a file.
#ifndef VELMOR_CORE_TOOLS_VERDICT_TRAILING_H
#define VELMOR_CORE_TOOLS_VERDICT_TRAILING_H

#include <string>

#include "chunks/raw_bytes.h"

namespace tool {

// Names the tags that make up all bytes from `begin` to the end of the file: "an APE tag and an
// ID3v1 tag". Empty if there are any other bytes.
//
// ID3v1 is 128 bytes that begin with "TAG". APE ends in a footer of 32 bytes. The footer states the
// size of items and footer together, and whether a header of 32 bytes comes before the items. ID3v2
// begins with a header of 10 bytes and may end in a footer of 10 bytes. The header says whether
// there is a footer. The last four bytes of the header state the size of the bytes between header
// and footer, 7 bits in each byte.
std::string tagsFrom(uint64_t begin, RawBytes& bytes);

}  // namespace tool

#endif
