// Evaluates a number text and converts the result to the type that the caller asked for.

#include "strtonum/convert.h"

#include <limits>
#include <optional>

#include "strtonum/driver.h"
#include "strtonum/plain_expression.h"
#include "strtonum/results.h"

namespace StrToNum {

namespace {

constexpr double TWO_TO_63 = 9223372036854775808.0;

// Nothing if the text is rejected or holds no expression.
std::optional<double> evaluate(const std::string& text) {
  Results results;
  if (!Driver(results.roots).parse(text) || results.roots.empty()) return std::nullopt;
  return results.roots.front()->evaluate();
}

// Truncates toward zero. NaN and values that do not fit give the lowest integer, as the processor's
// conversion instruction does; a plain cast would be undefined for them.
int64_t toInt64(double value) {
  const bool fits = value >= -TWO_TO_63 && value < TWO_TO_63;
  return fits ? static_cast<int64_t>(value) : std::numeric_limits<int64_t>::min();
}

// Truncates toward zero. Negative values wrap modulo 2^64: integers from 2^63 on enter the
// calculation as negative values (see constantValue()).
uint64_t toUint64(double value) {
  constexpr uint64_t TOP_BIT = uint64_t{1} << 63;
  if (value >= TWO_TO_63) return static_cast<uint64_t>(toInt64(value - TWO_TO_63)) ^ TOP_BIT;
  return static_cast<uint64_t>(toInt64(value));
}

void store(double result, int64_t* value) { *value = toInt64(result); }
void store(double result, uint64_t* value) { *value = toUint64(result); }
void store(double result, double* value) { *value = result; }

template <typename Result>
bool storeIfAny(const std::optional<double>& result, Result* value) {
  if (result) store(*result, value);
  return result.has_value();
}

template <typename Result>
bool storeIfPlain(const Value& result, Result* value) {
  if (result.end) store(result.value, value);
  return result.end;
}

}  // namespace

bool convert(const std::string& text, int64_t* value) { return storeIfAny(evaluate(text), value); }
bool convert(const std::string& text, uint64_t* value) { return storeIfAny(evaluate(text), value); }
bool convert(const std::string& text, double* value) { return storeIfAny(evaluate(text), value); }

bool convertPlain(const char* text, int64_t* value) noexcept {
  return storeIfPlain(evaluatePlain(text), value);
}

bool convertPlain(const char* text, uint64_t* value) noexcept {
  return storeIfPlain(evaluatePlain(text), value);
}

bool convertPlain(const char* text, double* value) noexcept {
  return storeIfPlain(evaluatePlain(text), value);
}

}  // namespace StrToNum
