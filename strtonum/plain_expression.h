// Evaluates plain number texts without scanner, parser or allocation.
//
// A text is plain if it is one valid expression on one line, with any blanks and empty lines around
// it, and not deeply nested.

#ifndef STRTONUM_PLAIN_EXPRESSION_H
#define STRTONUM_PLAIN_EXPRESSION_H

#include "strtonum/number.h"

namespace StrToNum {

// What evaluatePlain() returns for a text that is not plain, valid or not.
inline constexpr Value NO_VALUE = {nullptr, 0.0};

// Returns the value that the parser and its tree would give for a plain text, to the bit. errno and
// the flags of floating-point exceptions are afterwards as the tree would leave them. For a text
// that is not plain, the only flags that may be set are those that the scanner sets, too.
Value evaluatePlain(const char* text) noexcept;

}  // namespace StrToNum

#endif
