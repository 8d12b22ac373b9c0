// Tokens, trees, results and messages, which the C interface does not show.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "strtonum/calc_nodes.h"
#include "strtonum/convert.h"
#include "strtonum/driver.h"
#include "strtonum/parser.h"
#include "strtonum/scanner.h"

namespace {

using StrToNum::CalcNode;
using StrToNum::Driver;
using StrToNum::Parser;
using StrToNum::Scanner;

// "i12 d1.5 'k' line end", with the location of each token if that is wanted.
std::string tokens(const std::string& text, bool withLocations = false) {
  std::istringstream input(text);
  Scanner scanner(&input);
  std::ostringstream out;
  out.precision(17);
  Parser::location_type location;
  for (int code = -1; code != 0;) {
    Parser::value_type value;
    value.integer = 0;
    code = scanner.yylex(&value, &location);
    if (code == 0) {
      out << "end";
    } else if (code == 258) {
      out << "line";
    } else if (code == 259) {
      out << 'i' << value.integer;
    } else if (code == 260) {
      out << 'd' << value.real;
    } else if (code < 128) {
      out << '\'' << static_cast<char>(code) << '\'';
    } else {
      out << code;
    }
    if (withLocations) out << '@' << location;
    if (code != 0) out << ' ';
  }
  Parser::value_type value;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(scanner.yylex(&value, &location), 0);
  return out.str();
}

TEST(ScannerTest, CutsTextsIntoTheLongestTokens) {
  struct Row {
    const char* text;
    const char* tokens;
  };
  for (const Row& row : {Row{"", "end"},
                         Row{" \t12\r", "i12 end"},
                         Row{"18446744073709551616", "i18446744073709551615 end"},
                         Row{"4Ki", "i4096 end"},
                         Row{"4K", "i4 'K' end"},
                         Row{"4ki", "d4000 'i' end"},
                         Row{"16777216Ti", "d1.8446744073709552e+19 end"},
                         Row{"17179869183Gi", "i18446744072635809792 end"},
                         Row{"1.5k", "d1500 end"},
                         Row{"1.5Mi", "d1500000 'i' end"},
                         Row{"1.5Ki", "d1.5 'K' 'i' end"},
                         Row{"4k05", "d4050 end"},
                         Row{"4M5i", "d4500000 'i' end"},
                         Row{"1.5k7", "d1500 i7 end"},
                         Row{"4da7", "d47 end"},
                         Row{"4da", "d0.40000000000000002 'a' end"},
                         Row{"4d7a", "d0.47000000000000003 'a' end"},
                         Row{"4.5da7", "d45 i7 end"},
                         Row{"4.5dk", "d0.45000000000000001 'k' end"},
                         Row{"1e3", "d1000 end"},
                         Row{"1E3", "i1 'E' i3 end"},
                         Row{"1e+", "i1 'e' '+' end"},
                         Row{"1.5e-x", "d1.5 'e' '-' 'x' end"},
                         Row{"1.k", "d1 'k' end"},
                         Row{"1.e3", "d1 'e' i3 end"},
                         Row{".5", "'.' i5 end"},
                         Row{"1.5.3", "d1.5 '.' i3 end"},
                         Row{"1e999", "dinf end"},
                         Row{"0x10", "i0 'x' i10 end"},
                         Row{"\r\n1\n\n", "line i1 line line end"},
                         Row{"(1)^-2", "'(' i1 ')' '^' '-' i2 end"},
                         Row{"5\xC2\xB5\xFF", "i5 194 181 255 end"}}) {
    EXPECT_EQ(tokens(row.text), row.tokens) << row.text;
  }
}

TEST(ScannerTest, LocatesTokensByLineAndColumn) {
  EXPECT_EQ(tokens("12 +\t4k7\n\n 3 ", true),
            "i12@1.1-2 '+'@1.4 d4700@1.6-8 line@1.9-2.0 line@2.1-3.0 i3@3.2 end@3.4");
}

// A source that hands out its text piece by piece and does not tell how much is left.
TEST(ScannerTest, ReadsAllOfAnyStream) {
  class Source : public std::streambuf {
   private:
    int_type underflow() override {
      if (next == 10'000) return traits_type::eof();
      piece = next++ % 2 == 0 ? '1' : '+';
      setg(&piece, &piece, &piece + 1);
      return traits_type::to_int_type(piece);
    }
    int next = 0;
    char piece = '\0';
  };
  Source source;
  std::istream input(&source);
  Scanner scanner(&input);
  Parser::value_type value;
  Parser::location_type location;
  int count = 0;
  while (scanner.yylex(&value, &location) != 0) ++count;
  EXPECT_EQ(count, 10'000);
}

TEST(ScannerTest, TokenFunctionOfTheBaseClassComplains) {
  std::istringstream input("12");
  Scanner scanner(&input);
  testing::internal::CaptureStderr();
  EXPECT_EQ(static_cast<StrToNumFlexLexer&>(scanner).yylex(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "in StrToNumFlexLexer::yylex() !\n");
}

class ParserTest : public testing::Test {
 protected:
  bool parse(const std::string& text) {
    std::vector<CalcNode*> list;
    const bool accepted = Driver(list).parse(text);
    roots.clear();
    for (CalcNode* root : list) roots.emplace_back(root);
    return accepted;
  }

  static std::string printed(const CalcNode& root) {
    std::ostringstream out;
    root.print(out, 0);
    return out.str();
  }

  // The results as their printed trees, on one line.
  std::string results() const {
    std::string text;
    for (const auto& root : roots) text += printed(*root) + "|";
    for (char& c : text) {
      if (c == '\n') c = ';';
    }
    return text;
  }

  std::vector<std::unique_ptr<CalcNode>> roots;
};

TEST_F(ParserTest, BuildsATreeForEachLine) {
  struct Row {
    const char* text;
    bool accepted;
    const char* results;
  };
  for (const Row& row : {Row{"12", true, "12;|"},
                         Row{"+5", true, "5;|"},
                         Row{"((5))", true, "5;|"},
                         Row{"2^3^2", true, "^ power;  2;  ^ power;    3;    2;|"},
                         Row{"-2^2", true, "- negate;  ^ power;    2;    2;|"},
                         Row{"2*-3", true, "* multiply;  2;  - negate;    3;|"},
                         Row{"2--3", true, "- subtract;  2;  - negate;    3;|"},
                         Row{"7%3", true, "% modulo;  7;  3;|"},
                         Row{"8/2/2", true, "/ divide;  / divide;    8;    2;  2;|"},
                         Row{"1-2+3", true, "+ add;  - subtract;    1;    2;  3;|"},
                         Row{"1+2*3", true, "+ add;  1;  * multiply;    2;    3;|"},
                         Row{"18446744073709551615", true, "-1;|"},
                         Row{"1.23456789", true, "1.23457;|"},
                         Row{"", true, ""},
                         Row{"\n \n", true, ""},
                         Row{"1\n2", true, "1;|2;|"},
                         Row{"\n\n5\n", true, "5;|"},
                         Row{"1\n2+", false, "1;|"},
                         Row{"1\n2\n3 4", false, "1;|2;|"},
                         Row{"--2", false, ""},
                         Row{"(1+2", false, ""}}) {
    EXPECT_EQ(parse(row.text), row.accepted) << row.text;
    EXPECT_EQ(results(), row.results) << row.text;
  }
}

TEST_F(ParserTest, PrintsAndEvaluatesAnyNumberOfTimes) {
  ASSERT_TRUE(parse("(1+2)*3"));
  EXPECT_EQ(printed(*roots[0]), "* multiply\n  + add\n    1\n    2\n  3\n");
  EXPECT_EQ(roots[0]->evaluate(), 9.0);
  EXPECT_EQ(roots[0]->evaluate(), 9.0);
  std::ostringstream out;
  out.precision(3);
  roots[0]->print(out, 1);
  EXPECT_EQ(out.str(), "  * multiply\n    + add\n      1\n      2\n    3\n");
}

TEST_F(ParserTest, TellsTheDriverWhatIsWrongAndWhere) {
  class RecordingParser : public Parser {
   public:
    using Parser::Parser;
    void error(const location_type& location, const std::string& message) override {
      out << location << ": " << message;
    }
    std::ostringstream out;
  };
  struct Row {
    const char* text;
    const char* message;
  };
  for (const Row& row :
       {Row{"12abc",
            "1.3: syntax error, unexpected invalid token, expecting end of file or end of line"},
        Row{"2^-1", "1.3: syntax error, unexpected '-', expecting integer or double or '('"},
        Row{"--2", "1.2: syntax error, unexpected '-', expecting integer or double or '('"},
        Row{"1\n2+", "2.3: syntax error, unexpected end of file"},
        Row{"(1", "1.3: syntax error, unexpected end of file, expecting ')'"},
        Row{"1 2", "1.3: syntax error, unexpected integer, expecting end of file or end of line"},
        Row{"1 2.5k",
            "1.3-6: syntax error, unexpected double, expecting end of file or end of line"},
        Row{"(\n", "1.2-2.0: syntax error, unexpected end of line"}}) {
    std::vector<CalcNode*> list;
    Driver driver(list);
    std::istringstream input(row.text);
    Scanner scanner(&input);
    driver.scanner = &scanner;
    RecordingParser parser(driver);
    EXPECT_EQ(parser.parse(), 1) << row.text;
    EXPECT_EQ(parser.out.str(), row.message) << row.text;
    for (const CalcNode* root : list) delete root;
  }
}

// What a caller of the classes may do and one of the C interface cannot.
TEST(ConvertTest, TakesTextsWithEmbeddedNul) {
  double value = 77.0;
  EXPECT_TRUE(StrToNum::convert(std::string("12\0", 3), &value));
  EXPECT_EQ(value, 12.0);
  EXPECT_FALSE(StrToNum::convert(std::string("12\0+", 4), &value));
}

TEST(ConvertTest, BothRoadsAgreeOnLoneNumbers) {
  const std::string bodies[] = {
      "0",   "12",  "1.",    "1.5",  "1e3", "1.5e-3", "1.5da",      "1.5d",
      "4k",  "4k7", "4da7",  "4da",  "4Ki", "4K",     "1E3",        "1 2",
      "1e",  "1.k", "1e999", "0.1u", "9T9", "7G00",   "1k2k",       "",
      "(1)", "1+1", "1M",    "1Mi",  "2",   "1.5.3",  "16777216Ti", "18446744073709551615"};
  int alone = 0;
  for (const std::string front : {"", " ", "\n", " \r\n\t"}) {
    for (const std::string sign : {"", "+", "-", "- ", "+\r", "--", "-\n", "\v"}) {
      for (const std::string& body : bodies) {
        for (const std::string back : {"", " ", "\n", "\r\n \n", "\v", "+"}) {
          std::string text = front;
          text.append(sign).append(body).append(back);
          double value = 0.0;
          if (!StrToNum::convertLoneNumber(text, &value)) continue;
          ++alone;
          double expected = 0.0;
          ASSERT_TRUE(StrToNum::convert(text, &expected)) << text;
          EXPECT_EQ(value, expected) << text;
          EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
        }
      }
    }
  }
  EXPECT_EQ(alone, 4 * 5 * 21 * 4);
}

}  // namespace
