// Prints the chunks of a file as one line of JSON.

#include <iostream>

#include "app/json.h"
#include "known/known.h"
#include "looking/tree.h"

namespace tool {

namespace {

constexpr uint64_t MAX_TEXT = 4096;  // bytes

void printValue(const ChunkValue& value) {
  if (value.isText || !value.text.empty()) std::cout << ",\"value\":" << quoted(value.text);
}

}  // namespace

void printJson(std::string_view file, RawBytes& bytes, const RawNode& start, Values values,
               uint64_t depth) {
  const uint64_t size = bytes.size();
  std::cout << jsonStart("tree", file) << ",\"size\":" << size << ",\"chunks\":[";
  std::string_view separator;
  for (ShownItems items(bytes, start, depth); items.next(); separator = ",") {
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
    if (values == Values::SHOWN)
      printValue(valueOf(ChunkData(bytes, chunk, item.parent), MAX_TEXT));
    if (items.hidden() > 0) std::cout << ",\"hidden\":" << items.hidden();
    std::cout << '}';
  }
  std::cout << "]}\n";
}

}  // namespace tool
