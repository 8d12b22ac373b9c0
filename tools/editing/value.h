// The new bytes of a chunk.
#ifndef VELMOR_CORE_TOOLS_EDITING_VALUE_H
#define VELMOR_CORE_TOOLS_EDITING_VALUE_H

#include <string>
#include <string_view>

#include "editing/store.h"
#include "file/bytes.h"

namespace tool {

// The bytes are held in memory once, without a second copy.
class Value {
 public:
  // From a typed word: the text itself, "@FILE" for a file's bytes, "@-" for standard input,
  // "@@text" for the text "@text". Reads all bytes here, before anything is changed. Throws Failure
  // if it cannot be read, or is too long for a chunk.
  explicit Value(const std::string& word);
  // These bytes, as they are.
  static Value ofBytes(std::string_view bytes);

  // Whether the typed text is also the name of a file.
  bool namesFile() const { return isFileName; }

  std::size_t size() const { return length; }
  // The data size in a group. In LIST:INFO, the format requires a NUL at the end of texts.
  uint64_t sizeIn(const Chunk& group) const;
  // The bytes as they are stored in a group, with a pad byte of 0 if their size is odd.
  std::string_view storedIn(const Chunk& group) const;

 private:
  Value() = default;
  void finish();  // after all bytes have been appended

  Bytes bytes;  // followed by two zeros
  std::size_t length = 0;
  bool isText = false;  // typed on the command line, not read from a file
  bool isFileName = false;
};

}  // namespace tool

#endif
