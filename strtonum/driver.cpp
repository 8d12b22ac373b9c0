#include "strtonum/driver.h"

#include "strtonum/scanner.h"

namespace StrToNum {

bool Driver::parse(const std::string& text) {
  Scanner textScanner(text);
  // cppcheck-suppress danglingLifetime  ; nobody uses it outside this function
  scanner = &textScanner;
  Parser parser(*this);
  return parser.parse() == 0;
}

}  // namespace StrToNum
