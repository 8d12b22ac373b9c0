// The changes that repair a file.
#ifndef VELMOR_CORE_TOOLS_VERDICT_REPAIR_PLAN_H
#define VELMOR_CORE_TOOLS_VERDICT_REPAIR_PLAN_H

#include <cstdint>
#include <deque>
#include <optional>

#include "chunks/raw_bytes.h"

namespace tool {

// Filled by a survey. Of use only if every damage that the survey found is repairable. Even then
// the result may be damaged. So "repair" surveys the bytes again with the plan's changes, and
// refuses a plan that does not make the file sound.
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
  // The group of that chunk ends with the file. So the file was not cut, and the size is the only
  // thing that is wrong.
  bool isOfWholeFile = false;

  bool isEmpty(uint64_t fileSize) const {
    return sizes.empty() && !padIsMissing && end >= fileSize;
  }
};

// Whether the chunks from `begin` on end exactly at `end`. A RIFF after the first chunk also counts
// as the end, whatever follows it. Ids::PRINTABLE accepts printable ids only, Ids::ANY all ids but
// the null id. Subtracts 1 from `headersLeft` for each header that it reads, and gives up at 0.
enum class Ids { PRINTABLE, ANY };
bool leadsTo(uint64_t end, uint64_t begin, Ids ids, RawBytes& bytes, uint64_t& headersLeft);

// Looks for hidden chunks in a range of data. They would be lost in a chunk that takes the range as
// its data. Returns the offset of the first hidden chunk, the offset where the search has looked at
// too many headers and gives up, or nothing. Reads the whole range. There are three kinds of hidden
// chunks:
//   - A group with a printable group id.
//   - A chunk with a well-known id, if chunks lead from it exactly to the end of the range, or if
//     the next chunk has a well-known id, too.
//   - A frame of an AVI: an id like "00dc", and a size that a frame may have. It may be at an odd
//     offset, because bytes may be missing before it.
std::optional<uint64_t> hiddenChunk(const RepairPlan::Range& range, RawBytes& bytes);

}  // namespace tool

#endif
