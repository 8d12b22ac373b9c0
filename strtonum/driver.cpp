// One parse: connects a scanner, a parser and the list of results.

#include "strtonum/driver.h"

#include "strtonum/parser.h"
#include "strtonum/scanner.h"

namespace StrToNum {

bool Driver::parse(const std::string& text) {
  Scanner textScanner(text);
  // cppcheck-suppress danglingLifetime  ; not used after this function
  scanner = &textScanner;
  Parser parser(*this);
  return parser.parse() == 0;
}

}  // namespace StrToNum
