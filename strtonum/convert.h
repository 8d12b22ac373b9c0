// Conversion of a text to a number. The text is a number or an expression, or lines of those, the
// first of which counts.

#ifndef STRTONUM_CONVERT_H
#define STRTONUM_CONVERT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace StrToNum {

// True if text is valid throughout and holds an expression; only then *value is written. Throws
// std::exception where memory is exhausted or the text too long for the scanner.
bool convert(const std::string& text, int64_t* value);
bool convert(const std::string& text, uint64_t* value);
bool convert(const std::string& text, double* value);

// The short road for a text that is one number, perhaps with a sign in front and with blanks and
// empty lines around: what convert() gives, without scanner, parser and memory. False for every
// other text, valid or not.
bool convertLoneNumber(std::string_view text, int64_t* value) noexcept;
bool convertLoneNumber(std::string_view text, uint64_t* value) noexcept;
bool convertLoneNumber(std::string_view text, double* value) noexcept;

}  // namespace StrToNum

#endif
