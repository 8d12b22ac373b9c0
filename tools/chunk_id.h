// Chunk ids and group ids as text.
#ifndef VELMOR_CORE_TOOLS_CHUNK_ID_H
#define VELMOR_CORE_TOOLS_CHUNK_ID_H

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// The id with these four bytes, the first of them in its low bits.
constexpr uint32_t makeId(uint8_t c0, uint8_t c1, uint8_t c2, uint8_t c3) {
  return c0 | uint32_t{c1} << 8 | uint32_t{c2} << 16 | uint32_t{c3} << 24;
}

constexpr uint32_t ID_RIFF = makeId('R', 'I', 'F', 'F');
constexpr uint32_t ID_LIST = makeId('L', 'I', 'S', 'T');
constexpr uint32_t ID_JUNK = makeId('J', 'U', 'N', 'K');
constexpr uint32_t ID_INFO = makeId('I', 'N', 'F', 'O');

// The ids under which a chunk is read as a group.
constexpr bool isGroupId(uint32_t id) { return id == ID_RIFF || id == ID_LIST; }

// An id as it is shown and typed: without the spaces at its end, and with \xHH for every byte that
// is not printable or means something in a path. parseId() brings the same id back.
std::string idText(uint32_t id);

// "LIST:INFO" for a group, "data" for any other chunk; of a data chunk the group id is not used.
std::string nameText(uint32_t id, uint32_t groupId);

// The id that a text stands for; throws UsageError unless it has one to four characters.
uint32_t parseId(std::string_view text);

}  // namespace tool

#endif
