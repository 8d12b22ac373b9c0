// Lists the tags of a file.

#include "looking/tags.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>

#include "app/command.h"
#include "app/json.h"
#include "app/terminal.h"
#include "app/text.h"
#include "chunks/tree_items.h"
#include "known/bext_value.h"
#include "known/info_names.h"
#include "known/tags.h"

namespace tool {

namespace {

// Only the start of a longer text is shown. So no size field decides how much memory is used.
constexpr uint64_t MAX_TEXT = 1 << 20;
constexpr std::size_t GAP = 2;  // between columns

struct Tag {
  std::string name;  // the common name, or the id if there is none
  std::string chunk;
  std::string value;  // as stored, up to the first NUL
  bool isNumber;
};

class Tags {
 public:
  Tags(std::string_view file, RawBytes& bytes) : file(file), bytes(bytes) {}

  template <typename Visit>
  void forEach(Visit visit) {
    const RawNode group = findTaggedGroup(RawNode::virtualRoot(bytes));
    forEachTagChunk(group, [&](const RawNode& chunk) {
      if (chunk.isGroup()) {
        visitInfo(chunk, visit);
      } else {
        visitBext(chunk.chunk(), visit);
      }
    });
  }

 private:
  template <typename Visit>
  void visitInfo(const RawNode& list, Visit visit) {
    for (RawNode child = list.firstChild(); child; child = child.next()) {
      if (child.isGroup() || child.id() == ID_JUNK) continue;
      const RawChunk& chunk = child.chunk();
      const std::string id = idText(chunk.id);
      const std::string_view name = infoNameOf(chunk.id);
      const std::string text = read(id, chunk.dataOffset(), chunk.dataSize);
      visit(Tag{name.empty() ? id : std::string(name), id, text.substr(0, text.find('\0')), false});
    }
  }

  // Fields that are not set, and fields that the chunk's version does not have, are left out.
  template <typename Visit>
  void visitBext(const RawChunk& chunk, Visit visit) {
    const BextField& last = *findBextField("bext-version");
    const uint64_t version = chunk.dataSize < last.offset + last.size
                                 ? 0
                                 : bytes.number16(chunk.dataOffset() + last.offset);
    for (const BextField& field : BEXT_FIELDS) {
      if (field.version > version || field.offset + field.size > chunk.dataSize) continue;
      const uint64_t size = field.size > 0 ? field.size : chunk.dataSize - field.offset;
      const std::string text =
          bextText(field, read("bext", chunk.dataOffset() + field.offset, size), bytes.order());
      const bool isNumber = field.kind == BextField::NUMBER || field.kind == BextField::LEVEL;
      if (!text.empty()) visit(Tag{std::string(field.name), "bext", text, isNumber});
    }
  }

  std::string read(const std::string& chunk, uint64_t offset, uint64_t size) {
    const uint64_t stored = offset < bytes.size() ? bytes.size() - offset : 0;
    std::string text(std::min({size, stored, MAX_TEXT}), '\0');
    bytes.copy(text.data(), text.size(), offset);
    if (std::min(size, stored) > MAX_TEXT && !std::exchange(isCut, true)) {
      complain(std::string(file) + ": of " + chunk + ", only the first MiB is shown");
    }
    return text;
  }

  std::string_view file;
  RawBytes& bytes;
  bool isCut = false;
};

}  // namespace

void printTags(std::string_view file, RawBytes& bytes, const Encoding& encoding) {
  std::size_t nameWidth = 0;
  std::size_t chunkWidth = 0;
  uint64_t count = 0;
  Tags tags(file, bytes);
  tags.forEach([&](const Tag& tag) {
    nameWidth = std::max(nameWidth, tag.name.size());
    chunkWidth = std::max(chunkWidth, tag.chunk.size());
    ++count;
  });
  std::cout << styled(Style::TITLE, printable(file)) << "  (" << counted(count, "tag") << ")\n";
  tags.forEach([&](const Tag& tag) {
    std::string line(GAP, ' ');
    line.append(tag.name).append(nameWidth - tag.name.size() + GAP, ' ');
    line.append(tag.chunk).append(chunkWidth - tag.chunk.size() + GAP, ' ');
    std::cout << line << printable(encoding.toUtf8(tag.value).value_or(tag.value)) << '\n';
  });
}

void printTagsJson(std::string_view file, RawBytes& bytes, const Encoding& encoding) {
  std::string line = jsonStart("tag", file) + ",\"tags\":[";
  std::string_view separator;
  Tags(file, bytes).forEach([&](const Tag& tag) {
    std::cout << line << separator << "{\"name\":" << quoted(tag.name)
              << ",\"chunk\":" << quoted(tag.chunk) << ",\"value\":"
              << (tag.isNumber ? tag.value : quoted(encoding.toUtf8(tag.value).value_or(tag.value)))
              << '}';
    line.clear();
    separator = ",";
  });
  std::cout << line << "]}\n";
}

}  // namespace tool
