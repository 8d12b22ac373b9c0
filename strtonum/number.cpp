// Reads numbers by hand, since sscanf and strtod follow the locale and take longer. Accepts the
// texts that the scanner's number patterns match, and no others.

#include "strtonum/number.h"

#include <algorithm>
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

// Reads a run of digits, which may be empty, and appends it to the digits of value, modulo 2^64.
// Returns its end.
const char* appendDigits(const char* text, uint64_t& value) {
  for (;; ++text) {
    const uint64_t digit = uint64_t{static_cast<unsigned char>(*text)} - '0';
    if (digit > 9) return text;
    value = value * 10 + digit;
  }
}

// The largest number of digits that cannot make an integer of 2^64 or more.
constexpr std::ptrdiff_t MAX_DIGITS = 19;

// The integer that the digits from text to end make, or 2^64 - 1 if the integer is larger. value is
// the integer modulo 2^64.
[[gnu::noinline]] uint64_t saturate(const char* text, const char* end, uint64_t value) {
  while (text != end && *text == '0') ++text;
  if (end - text <= MAX_DIGITS) return value;
  // An integer of 20 digits that begins with a 1 is from 10^19 to 2 * 10^19. If it is below 2^64,
  // value is the integer: at least 10^19. If not, value is the integer minus 2^64: below 10^19.
  constexpr uint64_t TEN_TO_19 = 10'000'000'000'000'000'000U;
  const bool fits = end - text == MAX_DIGITS + 1 && *text == '1' && value >= TEN_TO_19;
  return fits ? value : std::numeric_limits<uint64_t>::max();
}

// Reads a run of digits, which may be empty, and moves text past it. Returns their integer, or
// 2^64 - 1 if the integer is larger.
uint64_t readDigits(const char*& text) {
  const char* first = text;
  uint64_t value = 0;
  text = appendDigits(text, value);
  return text - first <= MAX_DIGITS ? value : saturate(first, text, value);
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

// The powers of ten that are exact doubles.
constexpr std::array<double, 23> POWERS_OF_TEN = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// pow(10, exponent) for an exponent from 0 on. The table saves the call.
double powerOfTen(std::ptrdiff_t exponent) {
  const auto index = static_cast<size_t>(exponent);
  return index < POWERS_OF_TEN.size() ? POWERS_OF_TEN[index]
                                      : std::pow(10.0, static_cast<double>(exponent));
}

// The slow path of toDouble(). Numbers out of the range of double give infinity or 0. `magnitude`
// is the number of digits before the point, plus the exponent: 2 for 1.5e1, -399 for 1.5e-400. The
// loop subtracts the leading zeros. If the result is above 0, the number is at least 1, so a number
// out of range is too large. Otherwise the number is below 1, so a number out of range is too
// small.
[[gnu::noinline]] double toNearestDouble(const char* text, const char* end,
                                         std::ptrdiff_t magnitude) {
  double value = 0.0;
  const auto [last, error] = std::from_chars(text, end, value);
  if (error != std::errc::result_out_of_range) return value;
  for (; *text == '0' || *text == '.'; ++text) {
    if (*text == '0') --magnitude;
  }
  return magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

// The double nearest to the number from text to end, such as 12.5e-3. Without the point, the
// `count` digits before the 'e' make an integer. The number is this integer * 10^exponent. `digits`
// is the integer modulo 2^64.
//
// If the integer and the power of ten are exact doubles, one operation on them gives the nearest
// double (W. D. Clinger, How to Read Floating Point Numbers Accurately, 1990).
inline double toDouble(const char* text, const char* end, uint64_t digits, std::ptrdiff_t count,
                       std::ptrdiff_t exponent) {
  constexpr auto LARGEST_POWER = static_cast<std::ptrdiff_t>(POWERS_OF_TEN.size()) - 1;
  if (count > MAX_DIGITS || digits >= uint64_t{1} << 53 || exponent > LARGEST_POWER ||
      exponent < -LARGEST_POWER) {
    return toNearestDouble(text, end, count + exponent);
  }
  const auto value = static_cast<double>(static_cast<int64_t>(digits));
  return exponent < 0 ? value / POWERS_OF_TEN[static_cast<size_t>(-exponent)]
                      : value * POWERS_OF_TEN[static_cast<size_t>(exponent)];
}

// "4k7" and "4da7": the digits after the prefix are the decimal fraction of the number before it.
// The fraction is added first, then the sum is multiplied: the order decides the rounding.
Value withPrefixAsPoint(uint64_t whole, const char* fraction, double factor) {
  const char* last = fraction;
  const uint64_t digits = readDigits(last);
  auto value = static_cast<double>(whole);
  if (digits != 0) {
    value += static_cast<double>(digits) / powerOfTen(last - fraction);
  }
  return {last, value * factor};
}

struct Exponent {
  const char* end;
  std::ptrdiff_t value;
};

// Reads the exponent whose 'e' is at mark. If no digits follow, the end is mark and the value 0.
// Inlined, since a call would take as long as the work.
[[gnu::always_inline]] inline Exponent readExponent(const char* mark) {
  const bool isNegative = mark[1] == '-';
  const char* digits = mark + (isNegative || mark[1] == '+' ? 2 : 1);
  uint64_t magnitude = 0;
  const char* last = appendDigits(digits, magnitude);
  if (last - digits >= MAX_DIGITS) {
    // No text has enough digits to balance an exponent as large as the limit. So every exponent
    // from the limit on gives the same result: infinity or 0. The limit is so small that sums with
    // it do not overflow. An exponent of fewer than MAX_DIGITS digits is below the limit.
    constexpr uint64_t LIMIT = uint64_t{1} << 62;
    magnitude = std::min(saturate(digits, last, magnitude), LIMIT);
  }
  const auto value = static_cast<std::ptrdiff_t>(magnitude);
  return {last == digits ? mark : last, isNegative ? -value : value};
}

// "1.", "1.5", "1.5e-3", "1.5k", "4.5da". An exponent or prefix needs a digit after the point.
// digits is the integer before the point, modulo 2^64.
//
// Not inlined. This function needs more registers than its caller. If it were inlined, the caller
// would have to save these registers in every call.
[[gnu::noinline]] Value readDecimal(const char* text, const char* point, uint64_t digits) {
  const char* last = appendDigits(point + 1, digits);
  const std::ptrdiff_t count = last - text - 1;
  const std::ptrdiff_t scale = point + 1 - last;
  if (*last == 'e' && scale != 0) {
    const Exponent exponent = readExponent(last);
    return {exponent.end, toDouble(text, exponent.end, digits, count, scale + exponent.value)};
  }
  const double value = toDouble(text, last, digits, count, scale);
  if (scale == 0) return {last, value};
  if (*last == 'd' && last[1] == 'a') return {last + 2, value * 10.0};
  const double factor = prefixFactor(*last);
  return factor != 0.0 ? Value{last + 1, value * factor} : Value{last, value};
}

Number integer(const char* end, uint64_t value) { return {end, true, value, 0.0}; }
Number real(Value number) { return {number.end, false, 0, number.value}; }

// "4Ki": an exact integer if the product fits, else a double.
inline Number withBinaryPrefix(const char* end, uint64_t value, int shift) {
  const double product = static_cast<double>(value) * static_cast<double>(uint64_t{1} << shift);
  return product < TWO_TO_64 ? integer(end, value << shift) : real({end, product});
}

// Reads the rest of a number whose digits from text to last have been read.
[[gnu::always_inline]] inline Number readRest(const char* text, const char* last, uint64_t digits) {
  if (*last == '.') return real(readDecimal(text, last, digits));
  if (*last == 'e') {
    const auto [end, value] = readExponent(last);
    if (end != last) return real({end, toDouble(text, end, digits, last - text, value)});
  }
  const uint64_t value = last - text <= MAX_DIGITS ? digits : saturate(text, last, digits);
  const int shift = binaryShift(*last);
  if (shift != 0 && last[1] == 'i') return withBinaryPrefix(last + 2, value, shift);
  if (*last == 'd' && last[1] == 'a' && isDigit(last[2])) {
    return real(withPrefixAsPoint(value, last + 2, 10.0));
  }
  const double factor = prefixFactor(*last);
  return factor != 0.0 ? real(withPrefixAsPoint(value, last + 1, factor)) : integer(last, value);
}

// Not inlined, so that readConstant() needs no stack frame.
[[gnu::noinline]] Value readOtherConstant(const char* text, const char* last, uint64_t digits) {
  const Number number = readRest(text, last, digits);
  return {number.end, number.isInteger ? constantValue(number.integer) : number.real};
}

}  // namespace

Number readNumber(const char* text) {
  uint64_t digits = 0;
  const char* last = appendDigits(text, digits);
  return readRest(text, last, digits);
}

Value readConstant(const char* text) {
  uint64_t digits = 0;
  const char* last = appendDigits(text, digits);
  if (*last == '.') return readDecimal(text, last, digits);
  const bool isLetter = static_cast<unsigned char>((*last | 0x20) - 'a') < 26;
  if (isLetter || last - text > MAX_DIGITS) {
    return readOtherConstant(text, last, digits);
  }
  return {last, constantValue(digits)};
}

}  // namespace StrToNum
