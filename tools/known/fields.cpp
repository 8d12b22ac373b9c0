#include "known/fields.h"

#include <algorithm>

#include "app/text.h"

namespace tool {

namespace {

// Two digits for each byte, the highest byte first.
std::string hexText(uint64_t value, uint64_t bytes) {
  std::string text;
  while (bytes-- > 0) text += hexDigits(static_cast<uint8_t>(value >> 8 * bytes));
  return text;
}

}  // namespace

std::string sizeText(uint64_t width, uint64_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string_view nameOf(uint64_t value, Names names) {
  const auto found = std::ranges::find(names, value, &Name::value);
  return found == names.end() ? std::string_view() : found->text;
}

std::string namesOf(uint64_t value, Names names, std::string_view separator) {
  std::string text;
  for (const Name& name : names) {
    if ((value & name.value) == 0) continue;
    if (!text.empty()) text += separator;
    text += name.text;
  }
  return text;
}

void FieldList::number(std::string_view name, uint64_t offset, uint64_t size) {
  number(name, offset, size, at(offset, size));
}

void FieldList::signedNumber(std::string_view name, uint64_t offset, uint64_t size) {
  const auto shift = 64 - 8 * size;
  const int64_t value = static_cast<int64_t>(at(offset, size) << shift) >> shift;
  add(name, offset, size, Field::NUMBER, std::to_string(value));
}

void FieldList::choice(std::string_view name, uint64_t offset, uint64_t size, Names names) {
  const uint64_t value = at(offset, size);
  number(name, offset, size, value, std::string(nameOf(value, names)));
}

void FieldList::flags(std::string_view name, uint64_t offset, uint64_t size, Names names) {
  const uint64_t value = at(offset, size);
  number(name, offset, size, value, namesOf(value, names));
}

void FieldList::id(std::string_view name, uint64_t offset) {
  const uint32_t value = data.id(base + offset);
  word(name, offset, 4, value == 0 ? "0" : idText(value));
}

// A number of 32 bits, two of 16 bits, and 8 bytes.
void FieldList::guid(std::string_view name, uint64_t offset, std::string words) {
  std::string text = hexText(at(offset, 4), 4) + "-" + hexText(at(offset + 4, 2), 2) + "-" +
                     hexText(at(offset + 6, 2), 2) + "-";
  for (uint64_t i = 8; i < 16; ++i)
    text.append(i == 10 ? "-" : "").append(hexText(at(offset + i, 1), 1));
  word(name, offset, 16, text, std::move(words));
}

void FieldList::text(std::string_view name, uint64_t offset, uint64_t size) {
  if (base + offset > data.size()) return;
  size = std::min(size, data.size() - base - offset);
  add(name, offset, size, Field::TEXT, data.text(base + offset, std::min(size, MAX_TEXT)));
}

void FieldList::number(std::string_view name, uint64_t offset, uint64_t size, uint64_t value,
                       std::string words) {
  add(name, offset, size, Field::NUMBER, std::to_string(value), std::move(words));
}

void FieldList::word(std::string_view name, uint64_t offset, uint64_t size, std::string value,
                     std::string words) {
  add(name, offset, size, Field::WORD, std::move(value), std::move(words));
}

void FieldList::add(std::string_view name, uint64_t offset, uint64_t size, Field::Kind kind,
                    std::string value, std::string words) {
  if (base + offset + size > data.size()) return;
  fields.push_back(
      {prefix + std::string(name), base + offset, size, std::move(value), kind, std::move(words)});
}

void FieldList::table(std::string_view name, uint64_t first, uint64_t size, uint64_t count,
                      const std::function<void()>& entry) {
  const uint64_t room = data.size() < first ? 0 : (data.size() - first) / size;
  const uint64_t there = std::min(count, room);
  const uint64_t shown = std::min(there, MAX_ENTRIES);
  for (uint64_t i = 0; i < shown; ++i) {
    prefix = std::string(name) + "[" + std::to_string(i + 1) + "].";
    base = first + i * size;
    entry();
  }
  prefix.clear();
  base = 0;
  if (shown < there) {
    notes.push_back(grouped(there - shown) + " more " + std::string(name) + " follow");
  }
  if (there < count) {
    notes.push_back("the chunk states " + grouped(count) + " " + std::string(name) +
                    " and has room for " + grouped(room));
  }
}

}  // namespace tool
