#include <array>
#include <iostream>

#include "text.h"
#include "tree.h"

namespace tool {

namespace {

// A JSON string (RFC 8259). File names may have any bytes: U+FFFD replaces bytes that are no UTF-8.
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

void printJson(std::string_view file, RawBytes& bytes, const RawNode& start) {
  const uint64_t size = bytes.size();
  std::cout << "{\"file\":" << quoted(file) << ",\"size\":" << size << ",\"chunks\":[";
  std::string_view separator;
  for (TreeItems items(bytes, start); items.next(); separator = ",") {
    const TreeItem& item = items.item();
    const RawChunk& chunk = item.chunk;
    std::cout << separator << "{\"offset\":" << chunk.offset << ",\"level\":" << item.level;
    if (item.kind != TreeItem::CHUNK) {
      std::cout << (item.kind == TreeItem::ZEROS ? ",\"zeros\":" : ",\"bytes\":") << item.size
                << '}';
      continue;
    }
    std::cout << ",\"id\":" << quoted(idText(chunk.id));
    if (chunk.isGroup()) std::cout << ",\"groupId\":" << quoted(idText(chunk.groupId));
    std::cout << ",\"dataSize\":" << chunk.dataSize
              << ",\"totalSize\":" << chunk.end() - chunk.offset
              << ",\"pad\":" << chunk.dataSize % 2
              << ",\"free\":" << (chunk.id == ID_JUNK ? "true" : "false")
              << ",\"missing\":" << missingBytes(item, size);
    if (const uint64_t past = pastGroup(item, size); past > 0) std::cout << ",\"past\":" << past;
    std::cout << '}';
  }
  std::cout << "]}\n";
}

}  // namespace tool
