// The changes that make a file sound.
#ifndef VELMOR_CORE_TOOLS_REPAIR_PLAN_H
#define VELMOR_CORE_TOOLS_REPAIR_PLAN_H

#include <cstdint>
#include <deque>
#include <optional>

#include "raw_bytes.h"

namespace tool {

// Filled by a survey. It makes the file sound if every damage that the survey found is repairable.
struct RepairPlan {
  std::deque<RawBytes::Patch> sizes;
  bool padIsMissing = false;  // after the last byte
  uint64_t end = 0;           // where the chunks end; bytes from here on belong to none
  // The data that a chunk gets when its new size reaches to the end of the file.
  struct Range {
    uint64_t begin;
    uint64_t end;
  };
  std::optional<Range> claimed;

  bool isEmpty(uint64_t fileSize) const {
    return sizes.empty() && !padIsMissing && end >= fileSize;
  }
};

// Whether headers follow each other from `begin` and lead exactly to `end`. Their ids have to be
// printable, unless any id but the null id is allowed. A RIFF may stand for all that follows.
// Counts the headers that it looks at down from `headersLeft`, and gives up at 0.
enum class Ids { PRINTABLE, ANY };
bool leadsTo(uint64_t end, uint64_t begin, Ids ids, RawBytes& bytes, uint64_t& headersLeft);

// The offset of the first chunk within a range of data whose id is well known and from which
// headers lead exactly to the range's end. A chunk that took the range as its data would swallow
// them. Reads the whole range.
std::optional<uint64_t> hiddenChunk(const RepairPlan::Range& range, RawBytes& bytes);

}  // namespace tool

#endif
