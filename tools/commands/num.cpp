// velmor-core num

#include <array>
#include <charconv>
#include <cmath>
#include <iostream>
#include <velmor_core/str_to.hpp>

#include "app/command.h"
#include "app/errors.h"
#include "app/text.h"

namespace tool {

namespace {

constexpr double TWO_TO_63 = 9223372036854775808.0;

// The shortest decimal number that converts to the same double.
std::string shortest(double value) {
  if (std::isnan(value)) return "nan";  // its sign has no meaning
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return {digits.data(), end};
}

void showNumber(const std::string& text) {
  using velmor_core::toNumber;
  const auto value = toNumber<double>(text, std::nothrow);
  if (!value) throw Failure("\"" + text + "\" is no number");
  std::cout << printable(text) << "\n  double    " << shortest(*value) << '\n';
  if (*value >= -TWO_TO_63 && *value < TWO_TO_63) {
    if (const auto number = toNumber<int64_t>(text, std::nothrow)) {
      std::cout << "  signed    " << *number << '\n';
    }
  }
  // The library converts integers from 2^63 on to negative doubles, so a negative value may stand
  // for such an integer.
  if (*value >= -TWO_TO_63 && *value < 2 * TWO_TO_63) {
    if (const auto number = toNumber<uint64_t>(text, std::nothrow)) {
      std::cout << "  unsigned  " << *number << '\n';
    }
  }
}

int runNum(const Arguments& arguments) { return forEach(arguments.all(), showNumber); }

}  // namespace

const Command NUM = {
    .name = "num",
    .synopsis = "EXPR...",
    .summary = "Evaluate numbers and expressions, such as 4k7 or (1+2)*3Ki",
    .help = R"(
Prints each value as a double, and truncated to a signed and to an unsigned integer if its double
fits into these. A number of digits alone that is 2^63 or more becomes negative as a double and as a
signed integer. Only the unsigned integer is then the number that was typed.
)",
    .examples = R"(
  velmor-core num 4k7
  velmor-core num "(1+2)*3Ki" -5
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runNum,
    .dashesAreOperands = true,
};

}  // namespace tool
