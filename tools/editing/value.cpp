// The new bytes of a chunk.

#include "editing/value.h"

#include <unistd.h>

#include <array>
#include <filesystem>

#include "app/errors.h"
#include "chunks/layout.h"

namespace tool {

namespace {

constexpr std::array<char, 2> NUL_AND_PAD = {'\0', '\0'};

}  // namespace

Value::Value(const std::string& word) {
  if (word == "@-") {
    bytes.readToEnd(STDIN_FILENO, "standard input", MAX_SIZE);
  } else if (word.starts_with("@@") || !word.starts_with("@")) {
    isText = true;
    std::error_code ignored;
    isFileName = std::filesystem::is_regular_file(word, ignored);
    bytes.append(std::string_view(word).substr(word.starts_with("@") ? 1 : 0));
  } else {
    const Descriptor file = openToRead(word.substr(1));
    bytes.readToEnd(file.get(), word.substr(1), MAX_SIZE);
  }
  finish();
}

Value Value::ofBytes(std::string_view bytes) {
  Value value;
  value.bytes.append(bytes);
  value.finish();
  return value;
}

void Value::finish() {
  length = bytes.size();
  bytes.append({NUL_AND_PAD.data(), NUL_AND_PAD.size()});
}

uint64_t Value::sizeIn(const Chunk& group) const {
  const bool endsInNul = isText && group.groupId() == ID_INFO;
  return length + (endsInNul ? 1 : 0);
}

std::string_view Value::storedIn(const Chunk& group) const {
  return bytes.view().substr(0, padded(sizeIn(group)));
}

}  // namespace tool
