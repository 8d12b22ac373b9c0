#include <array>
#include <iostream>

#include "tree.h"

namespace tool {

namespace {

// The number of bytes that form one UTF-8 character at the front of text; 0 if they form none.
std::size_t characterSize(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return 1;
  const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < size) return 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  const auto second = static_cast<unsigned char>(text[1]);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool outside = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
  return overlong || outside ? 0 : size;
}

// A JSON string (RFC 8259). Names of files may be any bytes: what is no UTF-8 becomes U+FFFD.
std::string quoted(std::string_view text) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t size = characterSize(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    if (size == 0) {
      json += "\\ufffd";
    } else if (byte < ' ' || byte == 0x7F) {
      json.append("\\u00").append({DIGITS[byte >> 4], DIGITS[byte & 15]});
    } else {
      if (byte == '"' || byte == '\\') json += '\\';
      json += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return json += '"';
}

}  // namespace

void printJson(std::string_view file, const Object& object, const Chunk& start) {
  const uint64_t size = object.size();
  std::cout << "{\"file\":" << quoted(file) << ",\"size\":" << size << ",\"chunks\":[";
  std::string_view separator;
  for (TreeWalk walk(object, start); walk.next(); separator = ",") {
    const Chunk& chunk = walk.chunk();
    std::cout << separator << "{\"offset\":" << walk.offset() << ",\"level\":" << walk.level()
              << ",\"id\":" << quoted(idText(chunk.id()));
    if (chunk.isGroup()) std::cout << ",\"groupId\":" << quoted(idText(chunk.groupId()));
    std::cout << ",\"dataSize\":" << chunk.dataSize() << ",\"totalSize\":" << chunk.totalSize()
              << ",\"pad\":" << chunk.dataSize() % 2
              << ",\"free\":" << (chunk.isFree() ? "true" : "false")
              << ",\"missing\":" << walk.missing(size) << '}';
  }
  std::cout << "]}\n";
}

}  // namespace tool
