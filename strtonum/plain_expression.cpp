// Evaluates expressions while reading them. This states the grammar of parser.yy a second time,
// with the same names in the same order. It gives up on every text that it does not understand.
// Scanner and parser define the language and find all errors. But they take more than ten times as
// long for a term, even without the parser's actions.

#include "strtonum/plain_expression.h"

#include <xmmintrin.h>

#include <cerrno>
#include <cmath>
#include <limits>

namespace StrToNum {

namespace {

// How deep parentheses and powers may be nested. Each level takes two or three stack frames.
constexpr int MAX_DEPTH = 32;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isOperator(char c) { return c == '^' || (c >= '%' && c <= '/' && c != '.'); }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Whether a text ends here and is not too long: the scanner rejects 2^31 - 1 bytes or more.
bool endsText(const char* text, const char* end) {
  return *end == '\0' && end - text < std::numeric_limits<int>::max();
}

const char* skipBlanks(const char* text) {
  while (isBlank(*text)) ++text;
  return text;
}

const char* skipBlanksAndLineEnds(const char* text) {
  while (isBlank(*text) || *text == '\n') ++text;
  return text;
}

// Not inlined. If both operands are NaN, the first one gives the sign of the result. Where a
// compiler inlines, it may swap the operands. Here, left and right arrive in the registers in which
// the instructions expect them.
[[gnu::noinline]] double apply(char sign, double left, double right) noexcept {
  switch (sign) {
    case '^':
      return std::pow(left, right);
    case '*':
      return left * right;
    case '/':
      return left / right;
    case '%':
      return std::fmod(left, right);
    case '+':
      return left + right;
    default:
      return left - right;
  }
}

// What the functions of the grammar return for a text that they do not understand. Its end points
// to a '?', which no rule accepts. So every caller returns this value, too, and start() rejects the
// text.
constexpr Value NOT_PLAIN = {"?", 0.0};

// Each function of the grammar evaluates what its rule matches at text. text does not point to a
// blank. The end of the returned value is after the blanks that follow. depth is the number of
// levels that are left. Some functions are inlined, which saves two calls for a term.
Value expr(const char* text, int depth) noexcept;
Value powexpr(const char* text, int depth) noexcept;

inline Value constant(const char* text) noexcept {
  const Value number = readConstant(text);
  return {skipBlanks(number.end), number.value};
}

inline Value atomexpr(const char* text, int depth) noexcept {
  if (isDigit(*text)) return constant(text);
  if (*text != '(' || depth == 0) return NOT_PLAIN;
  const Value inner = expr(skipBlanks(text + 1), depth - 1);
  if (*inner.end != ')') return NOT_PLAIN;
  return {skipBlanks(inner.end + 1), inner.value};
}

// The second form of powexpr, from the '^' on.
[[gnu::noinline]] Value power(Value base, int depth) noexcept {
  if (depth == 0) return NOT_PLAIN;
  const Value exponent = powexpr(skipBlanks(base.end + 1), depth - 1);
  return {exponent.end, apply('^', base.value, exponent.value)};
}

[[gnu::always_inline]] inline Value powexpr(const char* text, int depth) noexcept {
  const Value base = atomexpr(text, depth);
  return *base.end == '^' ? power(base, depth) : base;
}

inline Value unaryexpr(const char* text, int depth) noexcept {
  const char sign = *text;
  const bool isSigned = sign == '+' || sign == '-';
  const Value operand = powexpr(isSigned ? skipBlanks(text + 1) : text, depth);
  return {operand.end, sign == '-' ? -operand.value : operand.value};
}

[[gnu::always_inline]] inline Value mulexpr(const char* text, int depth) noexcept {
  Value left = unaryexpr(text, depth);
  while (*left.end == '*' || *left.end == '/' || *left.end == '%') {
    const Value right = unaryexpr(skipBlanks(left.end + 1), depth);
    left = {right.end, apply(*left.end, left.value, right.value)};
  }
  return left;
}

inline Value addexpr(const char* text, int depth) noexcept {
  Value left = mulexpr(text, depth);
  while (*left.end == '+' || *left.end == '-') {
    const Value right = mulexpr(skipBlanks(left.end + 1), depth);
    left = {right.end, apply(*left.end, left.value, right.value)};
  }
  return left;
}

Value expr(const char* text, int depth) noexcept { return addexpr(text, depth); }

// Part of the text may have been evaluated before it proves not to be plain. The parser may then
// reject it without evaluating anything. So errno and the flags of floating-point exceptions are
// put back. If the program has made these exceptions trap, this gives up before it evaluates
// anything: a trap cannot be put back.
[[gnu::noinline]] Value start(const char* text) noexcept {
  const unsigned flags = _mm_getcsr();
  if ((flags & _MM_MASK_MASK) != _MM_MASK_MASK) return NO_VALUE;
  const int error = errno;
  const Value value = expr(skipBlanksAndLineEnds(text), MAX_DEPTH);
  const char* end = skipBlanksAndLineEnds(value.end);
  if (endsText(text, end)) return {end, value.value};
  errno = error;
  if (_mm_getcsr() != flags) _mm_setcsr(flags);  // reading is faster than writing
  return NO_VALUE;
}

}  // namespace

// Nearly all texts are one number, with or without a sign. Reading the number sets the same flags
// as the scanner would. So they need not be put back if the text proves not to be plain.
Value evaluatePlain(const char* text) noexcept {
  const char* first = skipBlanksAndLineEnds(text);
  const char sign = *first;
  // Skip blanks only. A sign and its number have to be on the same line.
  if (sign == '+' || sign == '-') first = skipBlanks(first + 1);
  if (!isDigit(*first)) return *first == '(' ? start(text) : NO_VALUE;
  const Value number = readConstant(first);
  const char* end = skipBlanksAndLineEnds(number.end);
  if (endsText(text, end)) return {end, sign == '-' ? -number.value : number.value};
  return isOperator(*end) ? start(text) : NO_VALUE;
}

}  // namespace StrToNum
