// Reads and writes the values of the fields of a "bext" chunk.

#include "known/bext_value.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "app/errors.h"
#include "app/text.h"

namespace tool {

namespace {

constexpr int16_t UNSET_LEVEL = 0x7FFF;
constexpr int HUNDRED = 100;
constexpr std::size_t BASIC_UMID = 32;  // in bytes
constexpr std::string_view LINE_END = "\r\n";

[[noreturn]] void refuse(const BextField& field, std::string_view text, const std::string& why) {
  throw UsageError(std::string(field.name) + "=\"" + std::string(text) + "\": " + why);
}

// The number that a whole text stands for.
template <typename Number>
std::optional<Number> parsed(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || error != std::errc() || rest != end) return std::nullopt;
  return number;
}

std::string littleEndian(uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i));
  return bytes;
}

// --- levels

int16_t levelIn(const BextField& field, std::string_view text) {
  const auto number = parsed<double>(text);
  if (!number || !std::isfinite(*number)) refuse(field, text, "is not a number (example: -23.5)");
  const double level = std::round(*number * HUNDRED);
  if (level < INT16_MIN || level >= UNSET_LEVEL) {
    refuse(field, text, "is out of range: -327.68 to 327.66 can be stored");
  }
  return static_cast<int16_t>(level);
}

// --- UMIDs, as hexadecimal digits

std::string umidIn(const BextField& field, std::string_view text) {
  constexpr int BASE = 16;
  std::string_view digits = text;
  if (digits.starts_with("0x")) digits.remove_prefix(2);
  std::string bytes;
  for (std::size_t i = 0; i + 2 <= digits.size(); i += 2) {
    unsigned value = 0;
    const char* const pair = digits.data() + i;
    if (std::from_chars(pair, pair + 2, value, BASE).ptr != pair + 2) break;
    bytes += static_cast<char>(value);
  }
  if (digits.size() != 2 * bytes.size() ||
      (bytes.size() != BASIC_UMID && bytes.size() != 2 * BASIC_UMID)) {
    refuse(field, text, "is not a UMID: a UMID has 64 or 128 hexadecimal digits");
  }
  return bytes;
}

// --- texts

// Compares a text with a pattern in which 0 stands for a digit.
bool looksLike(std::string_view text, std::string_view pattern) {
  return std::ranges::equal(text, pattern, [](char character, char wanted) {
    return wanted == '0' ? character >= '0' && character <= '9' : character == wanted;
  });
}

int partOf(std::string_view text, std::size_t begin, std::size_t size) {
  return parsed<int>(text.substr(begin, size)).value_or(-1);
}

bool isDate(std::string_view text) {
  if (!looksLike(text, "0000-00-00")) return false;
  return std::chrono::year_month_day(std::chrono::year(partOf(text, 0, 4)),
                                     std::chrono::month(static_cast<unsigned>(partOf(text, 5, 2))),
                                     std::chrono::day(static_cast<unsigned>(partOf(text, 8, 2))))
      .ok();
}

bool isTime(std::string_view text) {
  constexpr int SIXTY = 60;
  return looksLike(text, "00:00:00") && partOf(text, 0, 2) < 24 && partOf(text, 3, 2) < SIXTY &&
         partOf(text, 6, 2) < SIXTY;
}

std::string withLineEnds(std::string_view text) {
  std::string lines;
  for (const char character : text) {
    if (character == '\n' && !lines.ends_with('\r')) lines += '\r';
    lines += character;
  }
  if (!lines.empty() && !lines.ends_with(LINE_END)) lines += LINE_END;
  return lines;
}

std::string textBytes(const BextField& field, std::string_view text) {
  if (field.size == 0) return withLineEnds(text);
  if (text.size() > field.size) {
    refuse(field, text,
           "is too long: the field has " + counted(field.size, "byte") + ", not " +
               std::to_string(text.size()));
  }
  if (field.name == "origination-date" && !text.empty() && !isDate(text)) {
    refuse(field, text, "is not a date (example: 2025-12-31)");
  }
  if (field.name == "origination-time" && !text.empty() && !isTime(text)) {
    refuse(field, text, "is not a time (example: 23:59:59)");
  }
  return std::string(text).append(field.size - text.size(), '\0');
}

}  // namespace

std::string levelText(int16_t level) {
  if (level == UNSET_LEVEL) return "";
  const int size = std::abs(int{level});
  const std::string digits = std::to_string(size % HUNDRED + HUNDRED).substr(1);
  std::string text = std::to_string(size / HUNDRED).append(".").append(digits);
  if (level < 0) text.insert(text.begin(), '-');
  return text;
}

std::string umidText(std::string_view bytes) {
  const std::size_t used = bytes.find_last_not_of('\0') + 1;  // 0 if there is none
  if (used == 0) return "";
  std::string text;
  for (const char byte : used <= BASIC_UMID ? bytes.substr(0, BASIC_UMID) : bytes) {
    text += hexDigits(static_cast<uint8_t>(byte));
  }
  return text;
}

const BextField* findBextField(std::string_view name) {
  const auto* const found = std::ranges::find(BEXT_FIELDS, name, &BextField::name);
  return found == BEXT_FIELDS.end() ? nullptr : found;
}

uint64_t bextNumber(std::string_view bytes, ByteOrder order) {
  return numberIn({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, order);  // NOLINT
}

std::string bextText(const BextField& field, std::string_view bytes, ByteOrder order) {
  switch (field.kind) {
    case BextField::NUMBER:
      return std::to_string(bextNumber(bytes, order));
    case BextField::LEVEL:
      return levelText(static_cast<int16_t>(bextNumber(bytes, order)));
    case BextField::UMID:
      return umidText(bytes);
    case BextField::TEXT:
      break;
  }
  bytes = bytes.substr(0, bytes.find('\0'));
  if (field.size == 0 && bytes.ends_with(LINE_END)) bytes.remove_suffix(LINE_END.size());
  return std::string(bytes);
}

std::string bextBytes(const BextField& field, std::string_view text) {
  if (field.kind == BextField::TEXT) return textBytes(field, text);
  if (field.kind == BextField::LEVEL) {
    const int16_t level = text.empty() ? UNSET_LEVEL : levelIn(field, text);
    return littleEndian(static_cast<uint16_t>(level), field.size);
  }
  if (text.empty()) return std::string(field.size, '\0');
  if (field.kind == BextField::UMID) {
    std::string bytes = umidIn(field, text);
    bytes.resize(field.size);
    return bytes;
  }
  const auto number = parsed<uint64_t>(text);
  if (!number) refuse(field, text, "is not a whole number of samples");
  return littleEndian(*number, field.size);
}

}  // namespace tool
