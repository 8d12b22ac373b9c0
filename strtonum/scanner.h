// Cuts a number text into the tokens of the grammar. The rules are in scanner.l.

#ifndef STRTONUM_SCANNER_H
#define STRTONUM_SCANNER_H

#include <istream>
#include <memory>
#include <string>

#include "strtonum/parser.h"

// Makes flex's header declare the generated class under its own name.
#ifndef yyFlexLexerOnce
#define yyFlexLexer StrToNumFlexLexer
#include <FlexLexer.h>
#endif

namespace StrToNum {

// Scans one text, once.
//
// The text is held in one piece, and the generated scanner works on it in place. So it never
// refills a buffer, which would scan the current token again. It also never allocates a buffer of
// its own, where exhausted memory would end the process.
class Scanner : public StrToNumFlexLexer {
 public:
  // Throws std::length_error for a text of 2^31 - 1 bytes or more: the generated scanner counts
  // bytes, columns and lines in int.
  explicit Scanner(std::string input);
  // Reads the rest of the stream at once. The stream is not used afterwards.
  explicit Scanner(std::istream* input);
  ~Scanner() override;

  // Returns the code of the next token; 0 at the end of the text and on every later call. Writes
  // the value of an integer or double, and the location of every token.
  int yylex(Parser::value_type* value, Parser::location_type* location);

  using StrToNumFlexLexer::yylex;

 private:
  // The generated scanner ends at two NULs: one is the text's last character, one the string's own.
  std::string text;
  std::unique_ptr<yy_buffer_state> state;
  yy_buffer_state* stack;  // the generated scanner's stack of buffers; its only entry is `state`
};

}  // namespace StrToNum

#endif
