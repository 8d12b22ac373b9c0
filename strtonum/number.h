// Reads one number: digits with a decimal fraction and exponent, with an SI or binary prefix, or
// with a prefix letter in place of the decimal point.
//
//   12   4Ki   1.   1.5   1e3   1.5e-3   1.5k   4.5da   4k   4k7   4da7
//
// A number has no sign. A digit string is an unsigned 64-bit integer; larger ones count as
// 2^64 - 1. Decimal fractions and exponents give the nearest double, which may be 0 or infinity.
// The decimal point is '.' under every locale.

#ifndef STRTONUM_NUMBER_H
#define STRTONUM_NUMBER_H

#include <cstdint>

namespace StrToNum {

// A number that was read. Digits alone are an integer, and so are digits with a binary prefix when
// the product is below 2^64. Everything else is a double.
struct Number {
  const char* end;  // directly after the number's last character
  bool isInteger;
  uint64_t integer;  // if isInteger
  double real;       // if not
};

// Reads the longest number that begins at text, which points to a digit. The number ends before the
// first NUL, if not earlier.
Number readNumber(const char* text);

// An integer's value in a calculation: its 64 bits taken as signed. Integers from 2^63 on become
// negative. The conversion to an unsigned integer maps them back.
inline double constantValue(uint64_t integer) {
  return static_cast<double>(static_cast<int64_t>(integer));
}

// The value of a part of a text in a calculation. It is not a std::optional<double>. A function
// returns either type in two registers. But for an optional, g++ first stores the two parts
// separately and then loads them together. This load has to wait for both stores.
struct Value {
  const char* end;  // directly after the part
  double value;
};

// As readNumber(), but gives integers as a calculation takes them: see constantValue().
Value readConstant(const char* text);

}  // namespace StrToNum

#endif
