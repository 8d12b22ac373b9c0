// velmor-core num

#include <velmor_core/str_to.h>

#include <array>
#include <charconv>
#include <cmath>
#include <iostream>

#include "command.h"
#include "errors.h"

namespace tool {

namespace {

constexpr double TWO_TO_63 = 9223372036854775808.0;

// The shortest digits that bring the same double back.
std::string shortest(double value) {
  if (std::isnan(value)) return "nan";  // the sign of which says nothing
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return {digits.data(), end};
}

void showNumber(const std::string& text) {
  double value = 0;
  int64_t asSigned = 0;
  uint64_t asUnsigned = 0;
  if (!velmor_core_str_to_f64(text.c_str(), &value)) {
    throw Failure("\"" + text + "\" is no number");
  }
  std::cout << text << "\n  double    " << shortest(value) << '\n';
  if (value >= -TWO_TO_63 && value < TWO_TO_63 && velmor_core_str_to_i64(text.c_str(), &asSigned)) {
    std::cout << "  signed    " << asSigned << '\n';
  }
  // Integers from 2^63 on come as negative doubles, so a negative value may well be meant.
  if (value >= -TWO_TO_63 && value < 2 * TWO_TO_63 &&
      velmor_core_str_to_u64(text.c_str(), &asUnsigned)) {
    std::cout << "  unsigned  " << asUnsigned << '\n';
  }
}

int runNum(const Arguments& arguments) { return forEach(arguments.all(), showNumber); }

}  // namespace

const Command NUM = {
    .name = "num",
    .synopsis = "EXPR...",
    .summary = "Evaluate numbers and expressions, such as 4k7 or (1+2)*3Ki",
    .help = R"(
Prints each value as a double and, where it fits into 64 bits, cut to a signed and an unsigned
integer. Integers from 2^63 on wrap around: as doubles and signed integers they are negative.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runNum,
    .dashesAreOperands = true,
};

}  // namespace tool
