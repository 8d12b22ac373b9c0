// Numbers, counts and texts from elsewhere, in a readable form.

#include "app/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace tool {

namespace {

// A character of UTF-8 that may be printed as it is.
bool isHarmless(std::string_view character) {
  if (character.size() == 1) return character[0] >= ' ' && character[0] != 0x7F;
  const bool isControl = character[0] == '\xC2' && character < "\xC2\xA0";
  const bool isDirection = character == "\xD8\x9C" || character == "\xE2\x80\x8E" ||
                           character == "\xE2\x80\x8F" ||
                           (character >= "\xE2\x80\xA8" && character <= "\xE2\x80\xAE") ||
                           (character >= "\xE2\x81\xA6" && character <= "\xE2\x81\xA9");
  return !isControl && !isDirection;
}

}  // namespace

std::string counted(uint64_t number, std::string_view what) {
  std::string text = std::to_string(number);
  text.append(" ").append(what);
  if (number != 1) text += 's';
  return text;
}

std::string counted(uint64_t number, std::string_view one, std::string_view many) {
  return std::to_string(number).append(" ").append(number == 1 ? one : many);
}

std::string grouped(uint64_t number) {
  constexpr std::size_t GROUP = 3;
  std::string text = std::to_string(number);
  for (std::size_t i = text.size(); i > GROUP;) {
    i -= GROUP;
    text.insert(i, 1, ',');
  }
  return text;
}

std::string binarySize(uint64_t bytes) {
  constexpr std::array UNITS = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  constexpr uint64_t STEP = 1024;
  if (bytes < STEP) return counted(bytes, "byte");
  std::size_t unit = 0;
  uint64_t whole = bytes;
  for (; whole >= STEP * STEP; whole /= STEP) ++unit;
  const uint64_t tenths = whole * 10 / STEP;
  std::string text = std::to_string(tenths / 10);
  if (tenths % 10 > 0) text.append(".").append(std::to_string(tenths % 10));
  return text.append(" ").append(UNITS[unit]);
}

std::string percentage(uint64_t part, uint64_t whole) {
  if (part == 0 || part == whole) return part == 0 ? "0 %" : "100 %";
  constexpr double ALL = 1000;
  const auto tenths = static_cast<uint64_t>(
      std::min(ALL - 1, std::round(static_cast<double>(part) / static_cast<double>(whole) * ALL)));
  if (tenths == 0) return "<0.1 %";
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
}

std::string decimal(double number) {
  std::array<char, 400> digits{};  // the largest double has 309 before the point
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                 std::chars_format::fixed, 3);
  std::string text(digits.data(), end.ptr);
  while (text.ends_with('0')) text.pop_back();
  if (text.ends_with('.')) text.pop_back();
  return text;
}

std::string hexadecimal(uint32_t number) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 28; shift >= 0; shift -= 4) text += DIGITS[number >> shift & 15];
  return text;
}

std::string hexDigits(uint8_t byte) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  return {DIGITS[byte >> 4], DIGITS[byte & 15]};
}

std::size_t characterSize(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return 1;
  const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < size) return 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  const auto second = static_cast<unsigned char>(text[1]);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool outside = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
  return overlong || outside ? 0 : size;
}

std::size_t wholeCharacters(std::string_view text) {
  constexpr std::size_t LONGEST = 4;
  for (std::size_t back = 1; back < std::min(text.size() + 1, LONGEST); ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if (byte < 0x80) break;
    if (byte >= 0xC0)
      return characterSize(text.substr(text.size() - back)) == 0 ? text.size() - back : text.size();
  }
  return text.size();
}

std::string shortened(std::string_view text, std::size_t width) {
  constexpr std::string_view ELLIPSIS = "...";
  std::string shown;
  std::size_t shownWidth = 0;
  std::size_t keep = 0;  // bytes of `shown` that leave room for the ellipsis
  while (!text.empty()) {
    const std::string_view character =
        text.substr(0, std::max<std::size_t>(characterSize(text), 1));
    const std::string safe = printable(character);
    shownWidth += safe == character ? 1 : safe.size();
    if (shownWidth > width) return shown.substr(0, keep).append(ELLIPSIS);
    shown += safe;
    if (shownWidth + ELLIPSIS.size() <= width) keep = shown.size();
    text.remove_prefix(character.size());
  }
  return shown;
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t size = characterSize(text);
    const std::string_view character = text.substr(0, size == 0 ? 1 : size);
    if (size > 0 && isHarmless(character)) {
      shown += character;
    } else {
      for (const char byte : character) shown += "\\x" + hexDigits(static_cast<uint8_t>(byte));
    }
    text.remove_prefix(character.size());
  }
  return shown;
}

}  // namespace tool
