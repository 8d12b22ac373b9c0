// Converts a number text to a number. The text is one number, an expression, or several lines of
// these. The first line that is not empty gives the result.

#ifndef STRTONUM_CONVERT_H
#define STRTONUM_CONVERT_H

#include <cstdint>
#include <string>

namespace StrToNum {

// Returns true and writes *value if every line is valid and at least one is not empty. Otherwise
// returns false and leaves *value unchanged. Throws std::bad_alloc when memory is exhausted, and
// std::length_error for a text of 2^31 - 1 bytes or more.
bool convert(const std::string& text, int64_t* value);
bool convert(const std::string& text, uint64_t* value);
bool convert(const std::string& text, double* value);

// The fast path for a text that is one number or another plain expression (plain_expression.h).
// Nearly all texts are, and they need no scanner, parser or allocation.
//
// Returns true and writes the value that convert() would write. Returns false for every other
// text, valid or not, and leaves *value unchanged.
bool convertPlain(const char* text, int64_t* value) noexcept;
bool convertPlain(const char* text, uint64_t* value) noexcept;
bool convertPlain(const char* text, double* value) noexcept;

}  // namespace StrToNum

#endif
