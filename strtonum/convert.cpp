#include "strtonum/convert.h"

#include <limits>
#include <optional>
#include <vector>

#include "strtonum/calc_node.h"
#include "strtonum/driver.h"
#include "strtonum/number_text.h"

namespace StrToNum {

namespace {

constexpr double TWO_TO_63 = 9223372036854775808.0;

// The list of results that a driver fills, with its trees.
class Results {
 public:
  Results() = default;
  Results(const Results&) = delete;
  Results& operator=(const Results&) = delete;
  ~Results() {
    for (CalcNode* root : roots) delete root;
  }

  std::vector<CalcNode*> roots;
};

std::optional<double> evaluate(const std::string& text) {
  if (const auto value = evaluateLoneNumber(text)) return value;
  Results results;
  if (!Driver(results.roots).parse(text) || results.roots.empty()) return std::nullopt;
  return results.roots.front()->evaluate();
}

// What the processor's conversion instruction gives: the lowest integer for NaN and for values
// that do not fit.
int64_t toInt64(double value) {
  const bool fits = value >= -TWO_TO_63 && value < TWO_TO_63;
  return fits ? static_cast<int64_t>(value) : std::numeric_limits<int64_t>::min();
}

// Negative values wrap: integer constants from 2^63 on come as such.
uint64_t toUint64(double value) {
  constexpr uint64_t TOP_BIT = uint64_t{1} << 63;
  if (value >= TWO_TO_63) return static_cast<uint64_t>(toInt64(value - TWO_TO_63)) ^ TOP_BIT;
  return static_cast<uint64_t>(toInt64(value));
}

}  // namespace

bool convert(const std::string& text, int64_t* value) {
  const auto result = evaluate(text);
  if (result) *value = toInt64(*result);
  return result.has_value();
}

bool convert(const std::string& text, uint64_t* value) {
  const auto result = evaluate(text);
  if (result) *value = toUint64(*result);
  return result.has_value();
}

bool convert(const std::string& text, double* value) {
  const auto result = evaluate(text);
  if (result) *value = *result;
  return result.has_value();
}

}  // namespace StrToNum
