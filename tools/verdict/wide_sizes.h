// The sizes of 64 bits in RF64 and BW64 files.
#ifndef VELMOR_CORE_TOOLS_VERDICT_WIDE_SIZES_H
#define VELMOR_CORE_TOOLS_VERDICT_WIDE_SIZES_H

#include "chunks/raw_bytes.h"
#include "verdict/finding.h"

namespace tool {

// Reports a chunk ds64 that is missing, too small, or too small for its table.
void checkWideSizes(RawBytes& bytes, const Report& report);

}  // namespace tool

#endif
