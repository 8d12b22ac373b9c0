// What the text of a number is worth: digits with a decimal fraction and exponent, with an SI or
// binary prefix, or with a prefix letter in place of the decimal point.
//
//   12   4Ki   1.   1.5   1e3   1.5e-3   1.5k   4.5da   4k   4k7   4da7
//
// No number has a sign. A digit string is an unsigned 64-bit integer, and 2^64 - 1 where it is
// larger. Decimal fractions and exponents are rounded correctly, to infinity and to 0 too, with
// '.' as the decimal point under every locale.

#ifndef STRTONUM_NUMBER_TEXT_H
#define STRTONUM_NUMBER_TEXT_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace StrToNum {

// A number and where its text ends. Which of the two values holds is part of the number: digits
// alone, and digits with a binary prefix below 2^64, are integers.
struct Number {
  const char* end;
  bool isInteger;
  uint64_t integer;
  double real;
};

// The longest number that begins at text, which lies before end and has to be a digit.
Number readNumber(const char* text, const char* end);

// An integer's value in a calculation: its 64 bits taken as signed. Integers from 2^63 on turn
// negative, to be mapped back when the result is asked for as an unsigned integer.
inline double constantValue(uint64_t integer) {
  return static_cast<double>(static_cast<int64_t>(integer));
}

// The value of a text that is one number, perhaps with a sign in front and with blanks and empty
// lines around: what the calculation of the whole text would give. Nothing for every other text.
std::optional<double> evaluateLoneNumber(std::string_view text) noexcept;

}  // namespace StrToNum

#endif
