// Numbers and counts as people read them.
#ifndef VELMOR_CORE_TOOLS_TEXT_H
#define VELMOR_CORE_TOOLS_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// "1 byte", "20 bytes".
std::string counted(uint64_t number, std::string_view what);

// "4,294,967,295": readable, and still exact.
std::string grouped(uint64_t number);

// "0xFFFFFFFF"
std::string hexadecimal(uint32_t number);

}  // namespace tool

#endif
