#include "text.h"

namespace tool {

std::string counted(uint64_t number, std::string_view what) {
  std::string text = std::to_string(number);
  text.append(" ").append(what);
  if (number != 1) text += 's';
  return text;
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

std::string hexadecimal(uint32_t number) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 28; shift >= 0; shift -= 4) text += DIGITS[number >> shift & 15];
  return text;
}

}  // namespace tool
