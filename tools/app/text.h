// Numbers, counts and texts from elsewhere, in a readable form.
#ifndef VELMOR_CORE_TOOLS_APP_TEXT_H
#define VELMOR_CORE_TOOLS_APP_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// "1 byte", "20 bytes".
std::string counted(uint64_t number, std::string_view what);
// "1 entry", "20 entries".
std::string counted(uint64_t number, std::string_view one, std::string_view many);

// "4,294,967,295"
std::string grouped(uint64_t number);

// "17 bytes", "1.5 KiB", "4.7 GiB": at most one digit after the point.
std::string binarySize(uint64_t bytes);

// "12.5 %". A part of 0 is "0 %". Any other part that is less than 0.05 % is "<0.1 %". Only the
// whole is "100 %".
std::string percentage(uint64_t part, uint64_t whole);

// "29.97": at most three digits after the point.
std::string decimal(double number);

// "0xFFFFFFFF"
std::string hexadecimal(uint32_t number);

// The two digits of a byte, in lower case: "0f".
std::string hexDigits(uint8_t byte);

// The number of bytes of the UTF-8 character at the start of a text that is not empty; 0 if the
// text does not begin with one.
std::size_t characterSize(std::string_view text);

// The length of a text in bytes, without an incomplete UTF-8 character at its end.
std::size_t wholeCharacters(std::string_view text);

// Makes a text from elsewhere, such as a file name, safe to print: it cannot control a terminal or
// begin a new line. \xHH replaces each byte that is no UTF-8, and each byte of control characters
// and of characters that change the direction of writing. A second call changes nothing more.
std::string printable(std::string_view text);

// The text as printable() gives it, with at most `width` characters; "..." replaces the rest.
std::string shortened(std::string_view text, std::size_t width);

}  // namespace tool

#endif
