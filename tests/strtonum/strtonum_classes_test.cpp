// Tokens, trees, results and messages, which the C interface does not show.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "strtonum/calc_node.h"
#include "strtonum/convert.h"
#include "strtonum/driver.h"
#include "strtonum/parser.h"
#include "strtonum/scanner.h"

namespace {

using StrToNum::CalcNode;
using StrToNum::Driver;
using StrToNum::Parser;
using StrToNum::Scanner;

using Rows = std::vector<std::pair<std::string, std::string>>;

// "i12 d1.5 k line end", with the location of each token if that is wanted.
std::string tokens(const std::string& text, bool withLocations = false) {
  static const std::map<int, std::string> names = {
      {0, "end"}, {258, "line"}, {259, "i"}, {260, "d"}};
  std::istringstream input(text);
  Scanner scanner(&input);
  std::ostringstream out;
  Parser::value_type value = {};
  Parser::location_type location;
  for (int code = -1; code != 0;) {
    code = scanner.yylex(&value, &location);
    EXPECT_GE(code, 0);
    out << (names.contains(code) ? names.at(code) : std::string(1, static_cast<char>(code)));
    if (code == 259) out << value.integer;
    if (code == 260) out << value.real;
    if (withLocations) out << '@' << location;
    if (code != 0) out << ' ';
  }
  for (int i = 0; i < 2; ++i) EXPECT_EQ(scanner.yylex(&value, &location), 0);
  return out.str();
}

TEST(ScannerTest, CutsTextsIntoTheLongestTokens) {
  const Rows rows = {
      {"4K", "i4 K end"},       {"4ki", "d4000 i end"},   {"4da", "d0.4 a end"},
      {"4.5da7", "d45 i7 end"}, {"4.5dk", "d0.45 k end"}, {"1.5Ki", "d1.5 K i end"},
      {"1E3", "i1 E i3 end"},   {"1e+", "i1 e + end"},    {"1.5e-", "d1.5 e - end"},
      {"1.k", "d1 k end"},      {"1.e3", "d1 e i3 end"},  {"\xC2\xFF.5", "\xC2 \xFF . i5 end"},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(tokens(text), expected) << text;
  }
}

TEST(ScannerTest, LocatesTokensByLineAndColumn) {
  EXPECT_EQ(tokens("12 +\t4k7\n\n 3 ", true),
            "i12@1.1-2 +@1.4 d4700@1.6-8 line@1.9-2.0 line@2.1-3.0 i3@3.2 end@3.4");
}

TEST(ScannerTest, ReadsAllOfTheStream) {
  for (const size_t size : {4'095U, 4'096U, 10'000U}) {
    EXPECT_EQ(tokens(std::string(size, '+')).size(), 2 * size + 3);
  }
}

TEST(ScannerTest, TokenFunctionOfTheBaseClassComplains) {
  std::istringstream input("12");
  Scanner scanner(&input);
  testing::internal::CaptureStderr();
  EXPECT_EQ(static_cast<StrToNumFlexLexer&>(scanner).yylex(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "in StrToNumFlexLexer::yylex() !\n");
}

// The list of results that a driver fills, and its trees.
struct Results {
  ~Results() {
    for (const CalcNode* root : list) delete root;
  }
  std::vector<CalcNode*> list;
};

TEST(ParserTest, ListsATreeForEachLineAlsoInFrontOfARejectedOne) {
  const Rows rows = {
      {"\n \n", ""}, {"\n1-2\n\n+(2)", "- subtract;  1;  2;2;"}, {"1\n2\n3 4", "1;2;rejected"}};
  for (const auto& [text, expected] : rows) {
    Results results;
    const bool accepted = Driver(results.list).parse(text);
    std::ostringstream out;
    for (const CalcNode* root : results.list) root->print(out, 0);
    std::string trees = out.str() + (accepted ? "" : "rejected");
    std::ranges::replace(trees, '\n', ';');
    EXPECT_EQ(trees, expected) << text;
  }
}

TEST(ParserTest, TreesArePrintedAndEvaluatedAnyNumberOfTimes) {
  Results results;
  ASSERT_TRUE(Driver(results.list).parse("-(1-2)*3.25/4%(5^18446744073709551615)+7"));
  std::ostringstream out;
  out.precision(2);
  for (int i = 0; i < 2; ++i) {
    results.list[0]->print(out, 1);
    EXPECT_EQ(results.list[0]->evaluate(), 7.0125);
  }
  const std::string once =
      "  + add\n    % modulo\n      / divide\n        * multiply\n          - negate\n"
      "            - subtract\n              1\n              2\n          3.2\n        4\n"
      "      ^ power\n        5\n        -1\n    7\n";
  EXPECT_EQ(out.str(), once + once);
}

TEST(ParserTest, TellsTheDriverWhatIsWrongAndWhere) {
  class RecordingParser : public Parser {
   public:
    using Parser::Parser;
    void error(const location_type& location, const std::string& message) override {
      out << location << ": " << message;
    }
    std::ostringstream out;
  };
  for (const auto& [text, expected] :
       Rows{{"12abc",
             "1.3: syntax error, unexpected invalid token, expecting end of file or end of line"},
            {"--2", "1.2: syntax error, unexpected '-', expecting integer or double or '('"},
            {"1\n2+", "2.3: syntax error, unexpected end of file"},
            {"(1", "1.3: syntax error, unexpected end of file, expecting ')'"},
            {"1 2.5k",
             "1.3-6: syntax error, unexpected double, expecting end of file or end of line"},
            {"(\n", "1.2-2.0: syntax error, unexpected end of line"}}) {
    Results results;
    Driver driver(results.list);
    Scanner scanner(text);
    driver.scanner = &scanner;
    RecordingParser parser(driver);
    EXPECT_EQ(parser.parse(), 1) << text;
    EXPECT_EQ(parser.out.str(), expected) << text;
  }
}

// What a caller of the classes may do and one of the C interface cannot.
TEST(ConvertTest, TakesTextsWithEmbeddedNul) {
  double value = 77.0;
  EXPECT_TRUE(StrToNum::convert(std::string("12\0", 3), &value));
  EXPECT_EQ(value, 12.0);
  EXPECT_FALSE(StrToNum::convert(std::string("12\0+", 4), &value));
}

}  // namespace
