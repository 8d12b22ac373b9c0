// Chooses the form of the compression function for this processor.

#include "core/sha256_compress.h"

namespace core {

// The SHA instructions, and the SSSE3 and SSE4.1 instructions that are used with them.
bool hasShaExtensions(const Processor& processor) {
  if (processor.cpuid(0, 0).eax < 7) return false;
  const uint32_t sse = processor.cpuid(1, 0).ecx;
  const bool ssse3 = ((sse >> 9) & 1U) != 0;
  const bool sse41 = ((sse >> 19) & 1U) != 0;
  const bool sha = ((processor.cpuid(7, 0).ebx >> 29) & 1U) != 0;
  return ssse3 && sse41 && sha;
}

Sha256Compress getSha256Compress() {
  static const Sha256Compress fastest =
      hasShaExtensions(getThisProcessor()) ? compressSha256ShaNi : compressSha256Portable;
  return fastest;
}

}  // namespace core
