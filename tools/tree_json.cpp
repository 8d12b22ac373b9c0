#include <array>
#include <iostream>

#include "text.h"
#include "tree.h"

namespace tool {

namespace {

// A JSON string (RFC 8259). Names of files may be any bytes: what is no UTF-8 becomes U+FFFD.
std::string quoted(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t size = characterSize(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    if (size == 0) {
      json += "\\ufffd";
    } else if (byte < ' ' || byte == 0x7F) {
      json.append("\\u00").append(hexDigits(byte));
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
