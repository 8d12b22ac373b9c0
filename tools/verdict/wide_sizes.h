// The sizes of 64 bits in RF64 and BW64 files.
#ifndef VELMOR_CORE_TOOLS_VERDICT_WIDE_SIZES_H
#define VELMOR_CORE_TOOLS_VERDICT_WIDE_SIZES_H

#include "chunks/raw_bytes.h"
#include "verdict/finding.h"

namespace tool {

// Reports a missing ds64 chunk, one that is too small for the fixed sizes, and one whose table is
// cut short.
void checkWideSizes(RawBytes& bytes, const Report& report);

}  // namespace tool

#endif
