// Cuts a text into the tokens of the expression grammar; scanner.l has the rules.

#ifndef STRTONUM_SCANNER_H
#define STRTONUM_SCANNER_H

#include <istream>
#include <memory>
#include <string>

#include "strtonum/parser.h"

// flex's header declares the scanner class that it generates under the name that this gives.
#ifndef yyFlexLexerOnce
#define yyFlexLexer StrToNumFlexLexer
#include <FlexLexer.h>
#endif

namespace StrToNum {

// Scans one text, once. The text is held in one piece and the generated scanner works on it in
// place: no refills (each of which would scan the current token anew) and none of the generated
// scanner's own buffers, whose allocation failures end the process.
class Scanner : public StrToNumFlexLexer {
 public:
  // Throws std::length_error for a text of 2^31 - 1 bytes or more: the generated scanner, columns
  // and lines count in int.
  explicit Scanner(std::string input);
  // Reads all that the stream still holds; the stream is not needed any more afterwards.
  explicit Scanner(std::istream* input);
  ~Scanner() override;

  // The next token: its code, with the value of an integer or double and the place where it stands.
  // Returns 0 at the end of the text, then and ever after.
  int yylex(Parser::value_type* value, Parser::location_type* location);

  using StrToNumFlexLexer::yylex;

 private:
  std::string text;  // with a NUL behind it; together with the string's own that marks the end
  std::unique_ptr<yy_buffer_state> state;
  yy_buffer_state* stack;  // the generated scanner's stack of buffers: this one
};

}  // namespace StrToNum

#endif
