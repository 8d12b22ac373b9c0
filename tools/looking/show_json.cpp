// Prints the fields of one chunk as one line of JSON.

#include <iostream>

#include "app/json.h"
#include "known/known.h"
#include "looking/show.h"

namespace tool {

namespace {

void printField(const Field& field, std::string_view separator) {
  std::cout << separator << "{\"name\":" << quoted(field.name) << ",\"offset\":" << field.offset
            << ",\"size\":" << field.size
            << ",\"value\":" << (field.kind == Field::NUMBER ? field.value : quoted(field.value));
  if (!field.words.empty()) std::cout << ",\"words\":" << quoted(field.words);
  std::cout << '}';
}

void printFields(const Known* known, const ChunkData& data) {
  FieldList list(data);
  if (known && known->isText()) list.text("text", 0);
  if (known && !known->isText()) known->fields(list);
  std::cout << ",\"fields\":[";
  std::string_view separator;
  for (const Field& field : list.all()) {
    printField(field, separator);
    separator = ",";
  }
  std::cout << ']';
  if (list.remarks().empty()) return;
  separator = ",\"remarks\":[";
  for (const std::string& remark : list.remarks()) {
    std::cout << separator << quoted(remark);
    separator = ",";
  }
  std::cout << ']';
}

}  // namespace

void showJson(std::string_view file, std::string_view path, RawBytes& bytes, const RawNode& node) {
  const RawChunk& chunk = node.chunk();
  const ChunkData data(bytes, chunk, node.parent());
  std::cout << jsonStart("show", file) << ",\"path\":" << quoted(path)
            << ",\"offset\":" << chunk.offset << ",\"id\":" << quoted(idText(chunk.id));
  if (chunk.isGroup()) std::cout << ",\"groupId\":" << quoted(idText(chunk.groupId));
  std::cout << ",\"dataSize\":" << chunk.dataSize
            << ",\"missing\":" << chunk.dataSize - data.size();
  const Known* known = findKnown(data);
  if (known && !known->isText()) std::cout << ",\"value\":" << quoted(valueOf(data, 0).text);
  printFields(known, data);
  if (chunk.isGroup()) {
    uint64_t chunks = 0;
    for (RawNode child = node.firstChild(); child; child = child.next()) ++chunks;
    std::cout << ",\"chunks\":" << chunks;
  }
  std::cout << "}\n";
}

}  // namespace tool
