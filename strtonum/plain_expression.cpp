// Evaluates texts that are one number.

#include "strtonum/plain_expression.h"

namespace StrToNum {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

const char* skipBlanks(const char* text) {
  while (isBlank(*text)) ++text;
  return text;
}

const char* skipBlanksAndLineEnds(const char* text) {
  while (isBlank(*text) || *text == '\n') ++text;
  return text;
}

}  // namespace

Value evaluatePlain(const char* text) noexcept {
  const char* first = skipBlanksAndLineEnds(text);
  const char sign = *first;
  // Only blanks: after a line end, the sign would stand without a number.
  if (sign == '+' || sign == '-') first = skipBlanks(first + 1);
  if (!isDigit(*first)) return NO_VALUE;
  const Value number = readConstant(first);
  const char* end = skipBlanksAndLineEnds(number.end);
  if (*end != '\0') return NO_VALUE;
  return {end, sign == '-' ? -number.value : number.value};
}

}  // namespace StrToNum
