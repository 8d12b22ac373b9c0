#include "verdict/repair_plan.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "known/avi.h"

namespace tool {

namespace {

// At most this many headers are looked at. This bounds the time for data that is full of ids.
constexpr uint64_t MAX_HEADERS = 1'000'000;

constexpr std::string_view KNOWN =
    "LIST RIFF data fmt  fact cue  smpl inst plst bext iXML id3  ID3  PEAK cart axml _PMX "
    "idx1 JUNK PAD  VP8  VP8L VP8X ALPH ANIM ANMF EXIF XMP  ICCP ";

std::vector<uint32_t> knownIds() {
  constexpr std::size_t STRIDE = 5;
  std::vector<uint32_t> ids;
  for (std::size_t i = 0; i + STRIDE <= KNOWN.size(); i += STRIDE) {
    ids.push_back(VELMOR_CORE_RIFF_ID(KNOWN[i], KNOWN[i + 1], KNOWN[i + 2], KNOWN[i + 3]));
  }
  std::ranges::sort(ids);
  return ids;
}

// Bytes that look like the id of a frame by chance are seldom followed by a size this small.
bool isFrame(const RawChunk& chunk) {
  constexpr uint64_t BIGGEST_FRAME = 1 << 26;
  return chunk.dataSize <= BIGGEST_FRAME;
}

// Where the search for hidden frames begins. It leaves out ids that are not those of hidden frames:
// each entry of "idx1" begins with one, and the header of "ix##" has one.
uint64_t firstPlaceOfFrames(const RepairPlan::Range& range, RawBytes& bytes) {
  const uint32_t id = bytes.chunkAt(range.begin - HEADER_SIZE).id;
  if (id == ID_IDX1) return range.end;
  return range.begin + ((id & FIRST_HALF) == ID_IX ? OPEN_DML_HEADER : 0);
}

}  // namespace

bool leadsTo(uint64_t end, uint64_t begin, Ids ids, RawBytes& bytes, uint64_t& headersLeft) {
  uint64_t at = begin;
  while (at < end && end - at >= HEADER_SIZE && headersLeft > 0) {
    --headersLeft;
    const RawChunk chunk = bytes.chunkAt(at);
    if (chunk.id == 0 || (ids == Ids::PRINTABLE && !isPrintable(chunk.id))) return false;
    if (chunk.isRiff && isPrintable(chunk.groupId) && at > begin) return true;
    // The last chunk's pad byte may be missing.
    at = chunk.dataEnd() == end ? end : chunk.end();
  }
  return at == end;
}

std::optional<uint64_t> hiddenChunk(const RepairPlan::Range& range, RawBytes& bytes) {
  constexpr uint64_t BLOCK = 1 << 16;
  const std::vector<uint32_t> known = knownIds();
  const bool isAvi = bytes.chunkAt(0).groupId == FORM_AVI ||
                     isFrameId(bytes.chunkAt(range.begin - HEADER_SIZE).id);
  const uint64_t framesFrom = isAvi ? firstPlaceOfFrames(range, bytes) : range.end;
  const uint64_t step = isAvi ? 1 : 2;
  std::array<bool, 256> isFirst{};
  for (const uint32_t id : known) isFirst[id & 0xFF] = true;
  if (isAvi) std::fill(isFirst.begin() + '0', isFirst.begin() + '9' + 1, true);
  uint64_t headersLeft = MAX_HEADERS;
  std::vector<uint8_t> block(BLOCK + 3);
  for (uint64_t at = range.begin; at + HEADER_SIZE <= range.end; at += BLOCK) {
    const uint64_t count = std::min<uint64_t>(block.size(), range.end - at);
    bytes.copy(block.data(), count, at);
    for (uint64_t i = 0; i + 4 <= count && i < BLOCK; i += step) {
      if (!isFirst[block[i]]) continue;
      const uint64_t offset = at + i;
      const uint32_t id = littleEndian32(&block[i]);
      if (offset >= framesFrom && isFrameId(id) && isFrame(bytes.chunkAt(offset))) return offset;
      if (!std::ranges::binary_search(known, id)) continue;
      const RawChunk chunk = bytes.chunkAt(offset);
      if (chunk.isGroup() && isPrintable(chunk.groupId)) return offset;
      const bool leads = leadsTo(range.end, offset, Ids::PRINTABLE, bytes, headersLeft);
      if (leads || headersLeft == 0) return offset;
      // In a file that was cut, no chunks lead to the end. Two known ids in a row are no accident.
      if (chunk.end() + HEADER_SIZE <= range.end &&
          std::ranges::binary_search(known, bytes.chunkAt(chunk.end()).id)) {
        return offset;
      }
    }
  }
  return std::nullopt;
}

}  // namespace tool
