// Chunk ids and group ids as text.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_CHUNK_ID_H
#define VELMOR_CORE_TOOLS_CHUNKS_CHUNK_ID_H

#include <velmor_core/riff.h>

#include <string>
#include <string_view>

namespace tool {

// An id from its four characters.
constexpr uint32_t idOf(const char (&text)[5]) {
  return VELMOR_CORE_RIFF_ID(text[0], text[1], text[2], text[3]);
}

// The ids that the program needs for reading headers. known/ids.h has the others.
constexpr uint32_t ID_RIFF = idOf("RIFF");
constexpr uint32_t ID_LIST = idOf("LIST");
constexpr uint32_t ID_JUNK = idOf("JUNK");
constexpr uint32_t ID_INFO = idOf("INFO");
constexpr uint32_t ID_INDX = idOf("indx");
constexpr uint32_t ID_IDX1 = idOf("idx1");

// The ids under which a chunk is read as a group.
constexpr bool isGroupId(uint32_t id) { return id == ID_RIFF || id == ID_LIST; }

// Whether an id begins with two digits. AVI names the chunks of a stream like this, such as "00dc".
constexpr bool hasStreamNumber(uint32_t id) {
  const auto isDigit = [](uint32_t byte) { return byte >= '0' && byte <= '9'; };
  return isDigit(id & 0xFF) && isDigit(id >> 8 & 0xFF);
}

// Whether all four bytes are printable ASCII characters, as in every id that a format has defined.
bool isPrintable(uint32_t id);

// An id as it is shown and typed: without the spaces at its end, and with \xHH for every byte that
// is not printable or is special in a path. parseId() gives the same id again.
std::string idText(uint32_t id);

// "LIST:INFO", for groups only.
std::string groupName(uint32_t id, uint32_t groupId);

// "LIST:INFO" for a group, "data" for any other chunk. The group id of a data chunk is not used.
// Groups are RIFF and LIST here. RawChunk::name() also knows the groups of RF64 and RIFX files.
std::string nameText(uint32_t id, uint32_t groupId);

// The id that a text stands for; throws UsageError unless it has one to four characters.
uint32_t parseId(std::string_view text);

}  // namespace tool

#endif
