// Numbers, counts and foreign texts as people read them.
#ifndef VELMOR_CORE_TOOLS_TEXT_H
#define VELMOR_CORE_TOOLS_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// "1 byte", "20 bytes".
std::string counted(uint64_t number, std::string_view what);
// "1 entry", "20 entries".
std::string counted(uint64_t number, std::string_view one, std::string_view many);

// "4,294,967,295": readable, and still exact.
std::string grouped(uint64_t number);

// "0xFFFFFFFF"
std::string hexadecimal(uint32_t number);

// The two digits of a byte, in lower case: "0f".
std::string hexDigits(uint8_t byte);

// The number of bytes that form one UTF-8 character at the front of a text that is not empty;
// 0 if they form none.
std::size_t characterSize(std::string_view text);

// A text that others wrote (a file name, say), safe to print: \xHH stands for every byte of a
// control character, of a character that changes the direction of writing, and of what is no UTF-8.
// So it cannot steer a terminal or begin a new line. Printing the result again changes nothing.
std::string printable(std::string_view text);

}  // namespace tool

#endif
