// Reads a pipe once, and keeps what the commands that look at a file need.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_KEEP_HEADERS_H
#define VELMOR_CORE_TOOLS_CHUNKS_KEEP_HEADERS_H

#include <string>

#include "chunks/kept_bytes.h"

namespace tool {

// Reads a descriptor to its end. Keeps
//   - the bytes of a header at each place where a header could be expected, even in a damaged file:
//     at the start of the file, directly after the header of each group, after each chunk, group
//     and run of zeros, and in place of a pad byte that may be missing;
//   - the first 64 KiB of each chunk's data, unless the chunk's id is not printable or begins with
//     two digits, as the ids of an AVI's pictures and sound do;
//   - all data of the chunks "idx1" and "indx", and of those whose id begins with "ix". They are
//     the indexes of an AVI. Together with the data above, at most 64 MiB are kept;
//   - the number of zeros where a header is expected;
//   - the first 64 KiB of the file, and its last 256 bytes, where tags lie.
// Throws Failure, with `name`, if the descriptor cannot be read.
KeptBytes keepHeaders(int descriptor, const std::string& name);

}  // namespace tool

#endif
