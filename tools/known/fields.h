// The fields of a known chunk, one after the other.
#ifndef VELMOR_CORE_TOOLS_KNOWN_FIELDS_H
#define VELMOR_CORE_TOOLS_KNOWN_FIELDS_H

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "known/chunk_data.h"

namespace tool {

struct Field {
  std::string name;
  uint64_t offset;  // in bytes, from the first byte of the data
  uint64_t size;    // in bytes
  std::string value;
  enum Kind { NUMBER, WORD, TEXT } kind;  // a text may have any bytes
  std::string words;                      // what the value means, or empty
};

// A value and its meaning. For flags, the value is a single bit.
struct Name {
  uint32_t value;
  std::string_view text;
};
using Names = std::span<const Name>;

// The text for a value; empty if it has none.
std::string_view nameOf(uint64_t value, Names names);
// The texts of all bits that are set, with a separator between them.
std::string namesOf(uint64_t value, Names names, std::string_view separator = ", ");

// "640 x 480"
std::string sizeText(uint64_t width, uint64_t height);

// Collects the fields of one chunk. Offsets and sizes are in bytes. A field that does not lie
// within the data is left out; of a text, the bytes that are there are taken.
class FieldList {
 public:
  // At most this many bytes of a text, and entries of a table, are read.
  static constexpr uint64_t MAX_TEXT = 1 << 16;
  static constexpr uint64_t MAX_ENTRIES = 100;

  explicit FieldList(const ChunkData& data) : data(data) {}

  void number(std::string_view name, uint64_t offset, uint64_t size);
  void signedNumber(std::string_view name, uint64_t offset, uint64_t size);
  void choice(std::string_view name, uint64_t offset, uint64_t size, Names names);
  void flags(std::string_view name, uint64_t offset, uint64_t size, Names names);
  void id(std::string_view name, uint64_t offset);
  void guid(std::string_view name, uint64_t offset, std::string words);
  void text(std::string_view name, uint64_t offset, uint64_t size = MAX_TEXT);
  // A number that the caller has computed from the bytes of the field.
  void number(std::string_view name, uint64_t offset, uint64_t size, uint64_t value,
              std::string words = "");
  void word(std::string_view name, uint64_t offset, uint64_t size, std::string value,
            std::string words = "");
  void add(std::string_view name, uint64_t offset, uint64_t size, Field::Kind kind,
           std::string value, std::string words = "");

  // A table of `count` entries of `size` bytes each, beginning at `first`. `entry` adds the fields
  // of one; its offsets count from the start of the entry. The fields are called "name[1].field".
  void table(std::string_view name, uint64_t first, uint64_t size, uint64_t count,
             const std::function<void()>& entry);

  const std::vector<Field>& all() const { return fields; }
  // What the fields do not show, in sentences.
  const std::vector<std::string>& remarks() const { return notes; }
  // A number of the data, or of the entry that is being added.
  uint64_t at(uint64_t offset, uint64_t size) const { return data.number(base + offset, size); }

  const ChunkData& data;

 private:
  std::vector<Field> fields;
  std::vector<std::string> notes;
  std::string prefix;
  uint64_t base = 0;
};

}  // namespace tool

#endif
