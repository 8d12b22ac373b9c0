// Reads numbers by hand, since sscanf and strtod follow the locale and take longer. Accepts the
// texts that the scanner's number patterns match, and no others.

#include "strtonum/number.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <system_error>

namespace StrToNum {

namespace {

constexpr double TWO_TO_64 = 18446744073709551616.0;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

const char* skipDigits(const char* text, const char* end) {
  while (text != end && isDigit(*text)) ++text;
  return text;
}

// Reads a run of digits, which may be empty, and moves text past it. Returns 2^64 - 1 for larger
// values.
uint64_t readDigits(const char*& text, const char* end) {
  constexpr uint64_t LARGEST = std::numeric_limits<uint64_t>::max();
  uint64_t value = 0;
  for (; text != end && isDigit(*text); ++text) {
    const auto digit = static_cast<uint64_t>(*text - '0');
    if (value > LARGEST / 10 || value * 10 > LARGEST - digit) {
      text = skipDigits(text, end);
      return LARGEST;
    }
    value = value * 10 + digit;
  }
  return value;
}

// The factor of an SI prefix letter, 0 for any other character.
double prefixFactor(char letter) {
  switch (letter) {
    case 'p':
      return 1e-12;
    case 'n':
      return 1e-9;
    case 'u':
      return 1e-6;
    case 'm':
      return 0.001;
    case 'c':
      return 0.01;
    case 'd':
      return 0.1;
    case 'h':
      return 100.0;
    case 'k':
      return 1000.0;
    case 'M':
      return 1e6;
    case 'G':
      return 1e9;
    case 'T':
      return 1e12;
    default:
      return 0.0;
  }
}

// The binary logarithm of a binary prefix, 0 for any other character.
int binaryShift(char letter) {
  switch (letter) {
    case 'K':
      return 10;
    case 'M':
      return 20;
    case 'G':
      return 30;
    case 'T':
      return 40;
    default:
      return 0;
  }
}

// The value of "digits[.digits][e[sign]digits]" when it is out of the range of a double: infinity
// or 0. The exponent moves the point. If the first nonzero digit is then before the point, the
// number is too large. If it is after the point, the number is too small.
double outOfRange(const char* text, const char* end) {
  const char* point = skipDigits(text, end);
  int64_t exponent = point - text;
  const char* mantissa = text;
  while (*mantissa == '0' || *mantissa == '.') {
    if (*mantissa++ != '.') --exponent;
  }
  const char* mark = point != end && *point == '.' ? skipDigits(point + 1, end) : point;
  if (mark != end) {
    const bool negative = mark[1] == '-';
    const char* digits = mark + (negative || mark[1] == '+' ? 2 : 1);
    // The limit exceeds the length of any text, and is so small that the sum cannot overflow.
    constexpr uint64_t LIMIT = uint64_t{1} << 62;
    const uint64_t written = readDigits(digits, end);
    const auto shift = static_cast<int64_t>(written < LIMIT ? written : LIMIT);
    exponent += negative ? -shift : shift;
  }
  return exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

// The value of "digits[.digits][e[sign]digits]".
double toDouble(const char* text, const char* end) {
  double value = 0.0;
  const auto [last, error] = std::from_chars(text, end, value);
  return error == std::errc::result_out_of_range ? outOfRange(text, end) : value;
}

Number integer(const char* end, uint64_t value) { return {end, true, value, 0.0}; }
Number real(const char* end, double value) { return {end, false, 0, value}; }

// "4Ki": an exact integer if the product fits, else a double.
Number withBinaryPrefix(const char* end, uint64_t value, int shift) {
  const double product = static_cast<double>(value) * static_cast<double>(uint64_t{1} << shift);
  return product < TWO_TO_64 ? integer(end, value << shift) : real(end, product);
}

// pow(10, exponent). The powers up to 10^22 are exact doubles; the table saves the call.
double powerOfTen(std::ptrdiff_t exponent) {
  static constexpr std::array<double, 23> EXACT = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const auto index = static_cast<size_t>(exponent);
  return index < EXACT.size() ? EXACT[index] : std::pow(10.0, static_cast<double>(exponent));
}

// "4k7" and "4da7": the digits after the prefix are the decimal fraction of the number before it.
// The fraction is added first, then the sum is multiplied: the order decides the rounding.
Number withPrefixAsPoint(uint64_t whole, const char* fraction, const char* end, double factor) {
  const char* last = fraction;
  const uint64_t digits = readDigits(last, end);
  auto value = static_cast<double>(whole);
  if (digits != 0) {
    value += static_cast<double>(digits) / powerOfTen(last - fraction);
  }
  return real(last, value * factor);
}

// Returns the end of the exponent whose 'e' is at mark, or mark if no digits follow.
const char* skipExponent(const char* mark, const char* end) {
  const char* digits = mark + 1;
  if (digits != end && (*digits == '+' || *digits == '-')) ++digits;
  const char* last = skipDigits(digits, end);
  return last == digits ? mark : last;
}

// "1.", "1.5", "1.5e-3", "1.5k", "4.5da". An exponent or prefix needs a digit after the point.
Number readDecimal(const char* text, const char* point, const char* end) {
  const char* last = skipDigits(point + 1, end);
  if (last == end || last == point + 1) return real(last, toDouble(text, last));
  if (*last == 'e') {
    last = skipExponent(last, end);
    return real(last, toDouble(text, last));
  }
  const double value = toDouble(text, last);
  if (*last == 'd' && last + 1 != end && last[1] == 'a') return real(last + 2, value * 10.0);
  const double factor = prefixFactor(*last);
  return factor != 0.0 ? real(last + 1, value * factor) : real(last, value);
}

}  // namespace

Number readNumber(const char* text, const char* end) {
  const char* last = text;
  const uint64_t value = readDigits(last, end);
  if (last == end) return integer(last, value);
  if (*last == '.') return readDecimal(text, last, end);
  if (*last == 'e') {
    const char* exponentEnd = skipExponent(last, end);
    return exponentEnd == last ? integer(last, value)
                               : real(exponentEnd, toDouble(text, exponentEnd));
  }
  const char following = last + 1 != end ? last[1] : '\0';
  const int shift = binaryShift(*last);
  if (shift != 0 && following == 'i') return withBinaryPrefix(last + 2, value, shift);
  if (*last == 'd' && following == 'a' && last + 2 != end && isDigit(last[2])) {
    return withPrefixAsPoint(value, last + 2, end, 10.0);
  }
  const double factor = prefixFactor(*last);
  return factor != 0.0 ? withPrefixAsPoint(value, last + 1, end, factor) : integer(last, value);
}

std::optional<double> evaluateLoneNumber(std::string_view text) noexcept {
  const char* first = text.data();
  const char* end = first + text.size();
  while (first != end && (isBlank(*first) || *first == '\n')) ++first;
  if (first == end) return std::nullopt;
  const char sign = *first;
  if (sign == '+' || sign == '-') {
    // Skip blanks only. A sign and its number have to be on the same line.
    do ++first;
    while (first != end && isBlank(*first));
  }
  if (first == end || !isDigit(*first)) return std::nullopt;
  const Number number = readNumber(first, end);
  const char* last = number.end;
  while (last != end && (isBlank(*last) || *last == '\n')) ++last;
  if (last != end) return std::nullopt;
  const double value = number.isInteger ? constantValue(number.integer) : number.real;
  return sign == '-' ? -value : value;
}

}  // namespace StrToNum
