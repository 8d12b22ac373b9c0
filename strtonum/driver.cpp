#include "strtonum/driver.h"

#include <istream>
#include <streambuf>

#include "strtonum/scanner.h"

namespace StrToNum {

namespace {

// Lets a stream read a text where it lies.
class TextBuffer : public std::streambuf {
 public:
  explicit TextBuffer(const std::string& text) {
    char* begin = const_cast<char*>(text.data());  // the area is for reading only
    setg(begin, begin, begin + text.size());
  }
};

}  // namespace

bool Driver::parse(const std::string& text) {
  TextBuffer buffer(text);
  std::istream input(&buffer);
  Scanner lineScanner(&input);
  scanner = &lineScanner;
  Parser parser(*this);
  return parser.parse() == 0;
}

}  // namespace StrToNum
