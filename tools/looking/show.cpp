// Prints one chunk: its fields as a table, and its bytes as a hexdump or as text.

#include "looking/show.h"

#include <algorithm>
#include <iostream>
#include <span>
#include <string>
#include <vector>

#include "app/terminal.h"
#include "app/text.h"
#include "known/known.h"
#include "looking/tree.h"

namespace tool {

namespace {

constexpr uint64_t BYTES_A_LINE = 16;
constexpr uint64_t FIRST_BYTES = 256;     // of a hexdump without --all
constexpr uint64_t FIRST_TEXT = 1 << 16;  // bytes of a text without --all
constexpr uint64_t BLOCK = 1 << 16;       // a multiple of BYTES_A_LINE
constexpr std::size_t VALUE_WIDTH = 300;  // characters of one field

std::string aligned(std::string_view text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ').append(text);
}

std::string fieldValue(const Field& field) {
  std::string value = shortened(field.value, VALUE_WIDTH);
  if (field.kind == Field::TEXT || value.empty()) value = "\"" + value + "\"";
  return field.words.empty() ? value : value + " (" + printable(field.words) + ")";
}

// The fields of an entry of a table share one line: "points[1]  id 1, position 0".
std::vector<Field> joinedEntries(const std::vector<Field>& fields) {
  std::vector<Field> lines;
  for (const Field& field : fields) {
    const std::size_t end = field.name.find("].");
    Field line = field;
    line.value = fieldValue(field);
    if (end != std::string::npos) {
      line.value.insert(0, field.name.substr(end + 2) + " ");
      line.name.resize(end + 1);
      if (!lines.empty() && lines.back().name == line.name) {
        lines.back().value += ", " + line.value;
        lines.back().size = field.offset + field.size - lines.back().offset;
        continue;
      }
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

// The offsets of fields count from the start of the data, as in the descriptions of formats.
void printFields(const FieldList& list) {
  if (list.all().empty()) return;
  constexpr std::string_view NAME_HEAD = "field";
  constexpr std::size_t NUMBER_WIDTH = 9;
  const std::vector<Field> fields = joinedEntries(list.all());
  std::size_t nameWidth = NAME_HEAD.size();
  for (const Field& field : fields) nameWidth = std::max(nameWidth, field.name.size());
  const auto line = [&](std::string_view offset, std::string_view size, std::string name) {
    name.append(nameWidth - name.size(), ' ');
    return aligned(offset, NUMBER_WIDTH) + aligned(size, NUMBER_WIDTH) + "  " + name + "  ";
  };
  std::cout << styled(Style::FREE, line("in data", "size", std::string(NAME_HEAD)) + "value")
            << '\n';
  for (const Field& field : fields) {
    std::cout << line(std::to_string(field.offset), std::to_string(field.size), field.name)
              << field.value << '\n';
  }
  for (const std::string& remark : list.remarks()) {
    std::cout << "  " << styled(Style::WARNING, remark) << '\n';
  }
  std::cout << '\n';
}

// Offset in the file, 16 bytes in hexadecimal, and the same as ASCII characters.
std::string hexLine(uint64_t offset, std::size_t width, std::span<const uint8_t> bytes) {
  std::string line = "  " + aligned(std::to_string(offset), width) + "  ";
  std::string text;
  for (uint64_t i = 0; i < BYTES_A_LINE; ++i) {
    if (i == BYTES_A_LINE / 2) line += ' ';
    line += i < bytes.size() ? hexDigits(bytes[i]) + " " : "   ";
    if (i >= bytes.size()) continue;
    const bool isAscii = bytes[i] >= ' ' && bytes[i] <= '~';
    text += isAscii ? static_cast<char>(bytes[i]) : '.';
  }
  return line + " |" + text + "|\n";
}

// Passes the first `count` bytes of the data to `print` in blocks.
template <typename Print>
void forBlocks(RawBytes& bytes, const ChunkData& data, uint64_t count, Print print) {
  std::vector<uint8_t> block(std::min(count, BLOCK));
  for (uint64_t done = 0; done < count; done += block.size()) {
    block.resize(std::min(count - done, BLOCK));
    const uint64_t offset = data.chunk().dataOffset() + done;
    bytes.copy(block.data(), block.size(), offset);
    print(std::span<const uint8_t>(block), offset);
  }
}

void printHex(RawBytes& bytes, const ChunkData& data, uint64_t count) {
  constexpr std::size_t LEAST_WIDTH = 6;
  const uint64_t last = data.chunk().dataOffset() + count;
  const std::size_t width = std::max(std::to_string(last).size(), LEAST_WIDTH);
  forBlocks(bytes, data, count, [&](std::span<const uint8_t> block, uint64_t offset) {
    for (uint64_t i = 0; i < block.size(); i += BYTES_A_LINE) {
      const uint64_t some = std::min(BYTES_A_LINE, block.size() - i);
      std::cout << hexLine(offset + i, width, block.subspan(i, some));
    }
  });
}

// Makes a text of several lines safe to print. Line ends may be those of any system.
std::string printableLines(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n\t"), text.size());
    shown += printable(text.substr(0, end));
    text.remove_prefix(end);
    if (text.empty()) break;
    shown += text.starts_with('\t') ? '\t' : '\n';
    text.remove_prefix(text.starts_with("\r\n") ? 2 : 1);
  }
  return shown;
}

// The NULs at the end of a text are not shown.
void printText(RawBytes& bytes, const ChunkData& data, uint64_t count) {
  std::string text;
  bool endsLine = true;
  const auto flush = [&](std::size_t length) {
    const std::string shown = printableLines(std::string_view(text).substr(0, length));
    if (!shown.empty()) endsLine = shown.ends_with('\n');
    std::cout << shown;
    text.erase(0, length);
  };
  uint64_t nuls = 0;  // not shown yet; there may be billions of them
  forBlocks(bytes, data, count, [&](std::span<const uint8_t> block, uint64_t) {
    for (const uint8_t byte : block) {
      if (byte == 0) {
        ++nuls;
        continue;
      }
      if (nuls > 0) flush(text.size());
      for (; nuls > 0; --nuls) std::cout << "\\x00";
      text += static_cast<char>(byte);
    }
    // A character, or a line end of two bytes, may go on in the next block.
    flush(text.ends_with('\r') ? text.size() - 1 : wholeCharacters(text));
  });
  flush(text.size());
  if (!endsLine) std::cout << '\n';
}

// "tagged.wav: RIFF/LIST/INAM  (14 bytes at offset 52, cut short by 2 bytes)"
void printTitle(std::string_view file, std::string_view path, const ChunkData& data) {
  const RawChunk& chunk = data.chunk();
  std::cout << styled(Style::TITLE, printable(file) + ": " + printable(path)) << "  ("
            << grouped(chunk.dataSize) << (chunk.dataSize == 1 ? " byte" : " bytes")
            << " at offset " << chunk.dataOffset();
  if (const uint64_t missing = chunk.dataSize - data.size(); missing > 0) {
    std::cout << ", " << styled(Style::WARNING, "cut short by " + counted(missing, "byte"));
  }
  std::cout << ")\n";
}

}  // namespace

void showChunk(std::string_view file, std::string_view path, RawBytes& bytes, const RawNode& node,
               const ShowWay& way) {
  if (node.isGroup()) {
    return printTree(std::string(file).append(": ").append(path), bytes, node);
  }
  const ChunkData data(bytes, node.chunk(), node.parent());
  const Known* known = findKnown(data);
  const bool asText = known && known->isText() && !way.hex;
  const uint64_t most = asText ? FIRST_TEXT : FIRST_BYTES;
  const uint64_t count = way.all ? data.size() : std::min(data.size(), most);
  if (way.all) bytes.require(data.chunk().dataOffset(), count);
  printTitle(file, path, data);
  if (known && !known->isText()) {
    const std::string value = valueOf(data, 0).text;
    if (!value.empty()) std::cout << "  " << shortened(value, VALUE_WIDTH) << "\n";
    std::cout << '\n';
    FieldList list(data);
    known->fields(list);
    printFields(list);
  }
  if (!bytes.has(data.chunk().dataOffset(), count)) {
    std::cout << styled(Style::FREE, "  the data of a pipe is not kept: save it as a file first")
              << '\n';
    return;
  }
  if (asText) {
    printText(bytes, data, count);
  } else {
    printHex(bytes, data, count);
  }
  if (const uint64_t more = data.size() - count; more > 0) {
    std::cout << styled(Style::FREE, "  " + grouped(more) + " more bytes: --all shows them")
              << '\n';
  }
}

}  // namespace tool
