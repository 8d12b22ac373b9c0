#include "chunks/chunk_id.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "app/errors.h"
#include "app/text.h"
#include "chunks/layout.h"

namespace tool {

namespace {

constexpr std::size_t ID_SIZE = 4;
constexpr std::string_view PATH_CHARACTERS = "/:[]\\";

std::string escaped(uint8_t byte) { return "\\x" + hexDigits(byte); }

// Reads one character, or one \xHH, and removes it from the start of text.
uint8_t takeByte(std::string_view& text) {
  const char first = text[0];
  if (first != '\\') {
    text.remove_prefix(1);
    return static_cast<uint8_t>(first);
  }
  unsigned value = 0;
  const std::string_view digits = text.substr(std::min<std::size_t>(text.size(), 2)).substr(0, 2);
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (!text.starts_with("\\x") || digits.size() != 2 || end != digits.data() + 2) {
    throw UsageError(
        "in an id, a backslash must be followed by x and two hexadecimal digits, as in \\x0a");
  }
  text.remove_prefix(ID_SIZE);
  return static_cast<uint8_t>(value);
}

}  // namespace

bool isPrintable(uint32_t id) {
  return std::ranges::all_of(littleEndianBytes(id),
                             [](uint8_t byte) { return byte >= ' ' && byte <= '~'; });
}

std::string idText(uint32_t id) {
  const std::array<uint8_t, ID_SIZE> bytes = littleEndianBytes(id);
  std::size_t length = ID_SIZE;
  while (length > 0 && bytes[length - 1] == ' ') --length;
  if (length == 0) return escaped(' ');
  std::string text;
  for (std::size_t i = 0; i < length; ++i) {
    const auto character = static_cast<char>(bytes[i]);
    // A space after other characters is shown as it is; a leading one would not be noticed.
    const bool plain = character >= (i == 0 ? '!' : ' ') && character <= '~' &&
                       PATH_CHARACTERS.find(character) == std::string_view::npos;
    text += plain ? std::string(1, character) : escaped(bytes[i]);
  }
  return text;
}

std::string groupName(uint32_t id, uint32_t groupId) { return idText(id) + ":" + idText(groupId); }

std::string nameText(uint32_t id, uint32_t groupId) {
  return isGroupId(id) ? groupName(id, groupId) : idText(id);
}

uint32_t parseId(std::string_view text) {
  std::array<uint8_t, ID_SIZE> bytes{' ', ' ', ' ', ' '};
  std::size_t count = 0;
  std::string_view rest = text;
  while (count <= ID_SIZE && !rest.empty()) {
    const uint8_t byte = takeByte(rest);
    if (count < ID_SIZE) bytes[count] = byte;
    ++count;
  }
  if (count == 0 || count > ID_SIZE) {
    throw UsageError("\"" + std::string(text) + "\" is no id: an id has one to four characters");
  }
  return littleEndian32(bytes.data());
}

}  // namespace tool
