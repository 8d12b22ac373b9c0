// The three conversions through the C interface.

#include <emmintrin.h>
#include <gtest/gtest.h>
#include <velmor_core/velmor_core.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "expression_model.h"
#include "support/allocations.h"

namespace {

using namespace std::string_literals;

constexpr double INF = HUGE_VAL;

// To the last bit; all NaN are one.
std::string exact(std::optional<double> value) {
  if (!value) return "rejected";
  std::ostringstream text;
  text << std::hexfloat << (std::isnan(*value) ? NAN : *value);
  return text.str();
}

// What a text is worth as a double. As an integer it is what the processor's conversion makes of
// that; and a text that is rejected by one function is by all, without a trace.
std::string worth(const std::string& text) {
  double f64 = 77.0;
  int64_t i64 = 77;
  uint64_t u64 = 77;
  const bool accepted = velmor_core_str_to_f64(text.c_str(), &f64);
  EXPECT_TRUE(accepted || f64 == 77.0);
  std::string result = exact(accepted ? std::optional(f64) : std::nullopt);
  if (text.size() > 100'000) return result;  // once takes long enough
  EXPECT_EQ(velmor_core_str_to_i64(text.c_str(), &i64), accepted);
  EXPECT_EQ(velmor_core_str_to_u64(text.c_str(), &u64), accepted);
  const bool isLarge = f64 >= 0x1p63;
  const int64_t rest = _mm_cvttsd_si64(_mm_set_sd(isLarge ? f64 - 0x1p63 : f64));
  EXPECT_EQ(i64, _mm_cvttsd_si64(_mm_set_sd(f64)));
  EXPECT_EQ(u64, static_cast<uint64_t>(rest) ^ (uint64_t{isLarge} << 63));
  return result;
}

// In parentheses a number is kept off the short road for numbers that stand alone.
void expectValues(const std::vector<std::pair<std::string, double>>& rows) {
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(worth(text), exact(value)) << text;
    EXPECT_EQ(worth("2*(" + text + ")"), exact(2 * value)) << text;
  }
}

TEST(StrToTest, NumbersHaveTheirValues) {
  expectValues({{"12", 12.0},       {"007", 7.0},      {"1.", 1.0},      {"1.25", 1.25},
                {"1.5e-3", 0.0015}, {"15e+2", 1500.0}, {"1e999", INF},   {"1e-999", 0.0},
                {"0e999", 0.0},     {"0.5p", 5e-13},   {"2.5n", 25e-10}, {"1.5u", 1.5e-6},
                {"1.5m", 0.0015},   {"1.5c", 0.015},   {"2.5d", 0.25},   {"4.5da", 45.0},
                {"1.5h", 150.0},    {"1.5k", 1500.0},  {"0.5M", 5e5},    {"1.5G", 1.5e9},
                {"1.5T", 1.5e12},   {"4k", 4000.0},    {"4k7", 4700.0},  {"4k05", 4050.0},
                {"4k000", 4000.0},  {"1M5", 1.5e6},    {"4da7", 47.0},   {"4da07", 40.7},
                {"4Ki", 0x1p12},    {"3Mi", 0x3p20},   {"2Gi", 0x1p31},  {"1Ti", 0x1p40}});
}

TEST(StrToTest, NumbersAreExactUpToTheirLimits) {
  expectValues({{"1e99999999999999999999", INF},
                {"1e-99999999999999999999", 0.0},
                {"9223372036854775808", -0x1p63},
                {"18446744073709551614", -2.0},
                {"18446744073709551615", -1.0},
                {"18446744073709551616", -1.0},
                {"99999999999999999999999", -1.0},
                {"000000000016777215Ti", -0x1p40},
                {"000000000016777216Ti", 0x1p64},
                {"18014398509481982Ki", -2048.0},
                {"18014398509481983Ki", 0x1p64},
                {"99999999999999999999Ki", 0x1p74},
                {"0T0000000000000000000007", 7e-10}});
}

TEST(StrToTest, ExpressionsFollowPrecedenceAndIeee754) {
  expectValues({{"(1+2)*3", 9.0},   {"2^3^2", 512.0},    {"-2^2", -4.0},        {"2*-3", -6.0},
                {"2--3", 5.0},      {"+5", 5.0},         {" - 5", -5.0},        {"-0", -0.0},
                {"8/2/2", 2.0},     {"8-2-2", 4.0},      {"2^(-1)", 0.5},       {"7%3", 1.0},
                {"-7%3", -1.0},     {"7%-3", 1.0},       {"5.5%2", 1.5},        {"1%0", NAN},
                {"1/0", INF},       {"-1/0", -INF},      {"0/0", NAN},          {"4^1.5", 8.0},
                {"0^0", 1.0},       {"2^1024", INF},     {"(-8)^(1/3)", NAN},   {"1+2*3^2", 19.0},
                {"64Ki*3", 0x3p16}, {"1-3-(4-5)", -1.0}, {"(1+\t2) *\r3", 9.0}, {" \t12\r", 12.0}});
}

TEST(StrToTest, TheFirstLineThatIsNotEmptyIsTheResult) {
  EXPECT_EQ(worth("\r\n\n -3 \n \n(7)*2\n"), exact(-3.0));
  EXPECT_EQ(worth("1+1\n2*2"), exact(2.0));
}

TEST(StrToTest, TextsAreRejectedAsAWhole) {
  for (const char* text :
       {"",     " ",      "\n",   " \r\n\t", "12abc",     "2^-1",  "--2",    "+-2",      "1\n2+",
        "1\n+", "2\n3 4", "(1",   "1)",      "()",        "1 2",   "1.5.3",  ".5",       "1E3",
        "4K",   "4kk",    "4da",  "1.k",     "1.e3",      "1.5Ki", "0x10",   "1,5",      "-",
        "-\n5", "+ \n",   "5\v",  "\f5",     "5\xC2\xB5", "\xFF",  "\37712", "12\37734", "(2)\x80",
        "*2",   "2*",     "2**3", "1e",      "1e+",       "1_000", "inf",    "nan"}) {
    EXPECT_EQ(worth(text), "rejected") << text;
  }
}

TEST(StrToTest, IntegersAreTruncatedAndWrapAtTheirLimits) {
  constexpr uint64_t TOP = uint64_t{1} << 63;
  const std::vector<std::pair<std::string, uint64_t>> rows = {
      {"-0.5", 0}, {"-1.9", -1ULL}, {"2^62", 1ULL << 62}, {"2^63", TOP}, {"3*2^62", 3ULL << 62},
      {"2^64", 0}, {"+1/0", 0},     {"-2^63", TOP},       {"-1/0", TOP}, {"0/0", TOP},
  };
  for (const auto& [text, expected] : rows) {
    uint64_t u64 = 77;
    EXPECT_TRUE(velmor_core_str_to_u64(text.c_str(), &u64));
    EXPECT_EQ(u64, expected) << text;
    EXPECT_NE(worth(text), "rejected");
  }
}

// The locale is built here, since few systems have one with a decimal comma installed.
TEST(StrToTest, DecimalPointDoesNotDependOnTheLocale) {
  const auto folder =
      std::filesystem::path(testing::TempDir()) / ("velmor_core_locale" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string command =
      "localedef -i de_DE -f UTF-8 '" + (folder / "comma.UTF-8").string() + "' 2>/dev/null";
  // NOLINTNEXTLINE(cert-env33-c): a command of our own
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef has no de_DE to build";
  ASSERT_EQ(setenv("LOCPATH", folder.c_str(), 1), 0);
  ASSERT_NE(std::setlocale(LC_ALL, "comma.UTF-8"), nullptr);
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
  expectValues({{"1.5k", 1500.0}, {"1.5+1.25e1", 14.0}});
  EXPECT_EQ(worth("1,5"), "rejected");
  ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
  std::filesystem::remove_all(folder);
}

class RandomTextTest : public testing::Test {
 protected:
  size_t below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(random); }

  std::string characters(size_t count, const std::string& alphabet) {
    std::string text;
    while (text.size() < count) text += alphabet[below(alphabet.size())];
    return text;
  }

  // One of the forms, with digits for each 0 and some prefix for k and K.
  std::string number() {
    static const char* const FORMS[] = {"0",   "0.", "0.0",  "0e0", "0e-0", "0.0e-0", "0.0e+0",
                                        "0Ki", "0k", "0.0k", "0k0", "0da0", "0.0da"};
    std::string text;
    for (const char form : std::string(FORMS[below(std::size(FORMS))])) {
      text += form == '0'   ? characters(1 + below(below(3) == 0 ? 25 : 3), "0123456789")
              : form == 'k' ? characters(1, "pnumcdhkMGT")
              : form == 'K' ? characters(1, "KMGT")
                            : std::string(1, form);
    }
    return text;
  }

  std::string expression(size_t depth) {
    if (depth == 0 || below(4) == 0) return number();
    const std::string inner = expression(depth - 1);
    if (below(3) == 0) return "("s + inner + ")";
    if (below(4) == 0) return characters(1, "+-") + inner;
    return inner + characters(1, "+-*/%^") + expression(depth - 1);
  }

  std::mt19937_64 random{20240229};  // NOLINT(cert-msc*): a failure has to come back
};

// Garbage, numbers alone, expressions with a fault or two, and expressions. What is accepted has
// the same value with a line behind it, which a lone number does not take the short road with.
TEST_F(RandomTextTest, TextsAreWorthWhatTheModelSays) {
  const std::string alphabet = "0123456789..eekKMiGTdapn+-*/%^()() \t\n\nx\v\xB5";
  const std::string blanks = "    \t\r\n\n+-\v";
  int accepted = 0;
  for (int i = 0; i < 100'000; ++i) {
    std::string text = i % 4 == 0 ? characters(below(12), alphabet)
                       : i % 4 == 1
                           ? characters(below(3), blanks) + number() + characters(below(2), blanks)
                           : expression(1 + below(5));
    if (i % 4 == 2) {
      text.replace(below(text.size()), below(2), characters(below(3), alphabet));
    }
    const auto expected = ExpressionModel::evaluate(text);
    ASSERT_EQ(worth(text), exact(expected)) << text;
    if (!expected) continue;
    ASSERT_EQ(worth(text + "\n0"), exact(expected)) << text;
    ++accepted;
  }
  EXPECT_GT(accepted, 40'000);
  EXPECT_LT(accepted, 80'000);
}

std::string repeat(const std::string& piece, size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  while (count-- > 0) text += piece;
  return text;
}

// Deeper than any stack, to the left and to the right of each operator.
TEST(DeepTextTest, DepthIsBoundByMemoryAlone) {
  constexpr size_t DEPTH = 300'000;
  const struct {
    std::string sign;
    double left, right;
  } operators[] = {{"+", 300'001, 300'001}, {"-", -299'999, 1}, {"*", 1, 1.0},
                   {"/", 1, 1.0},           {"%", 0, NAN},      {"^", 1, 1.0}};
  for (const auto& [sign, left, right] : operators) {
    EXPECT_EQ(worth(repeat("(", DEPTH) + "1" + repeat(sign + "1)", DEPTH)), exact(left)) << sign;
    EXPECT_EQ(worth(repeat("1" + sign + "(", DEPTH) + "1" + repeat(")", DEPTH)), exact(right))
        << sign;
  }
  EXPECT_EQ(worth(repeat("-(", DEPTH) + "5" + repeat(")", DEPTH)), exact(5.0));
  EXPECT_EQ(worth(repeat("(1-(", DEPTH) + "1" + repeat("-1))", DEPTH)), exact(1.0));
  EXPECT_EQ(worth("1"s + repeat("+1", 1'000'000)), exact(1'000'001.0));
  EXPECT_EQ(worth(repeat("1+2\n", DEPTH)), exact(3.0));
  EXPECT_EQ(worth(repeat("1+(2*", DEPTH) + ")"), "rejected");
}

// Scanning a token anew for each part that is read would take hours here.
TEST(DeepTextTest, OneTokenMayHaveMillionsOfDigits) {
  const std::string zeros(3'000'000, '0');
  EXPECT_EQ(worth("1+" + zeros + "5"), exact(6.0));
  EXPECT_EQ(worth("0+1" + zeros), exact(-1.0));
  EXPECT_EQ(worth("0+0." + zeros + "1e3000001"), exact(1.0));
  EXPECT_EQ(worth("00." + zeros + "1e9"), exact(0.0));
  EXPECT_EQ(worth("1" + zeros + ".5e-9"), exact(INF));
  EXPECT_EQ(worth("1k" + zeros + "1"), exact(1000.0));
  EXPECT_EQ(worth("(1)" + repeat(" ", 3'000'000) + "+1"), exact(2.0));
}

TEST(StrToTest, ThreadsDoNotMeet) {
  std::vector<std::jthread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([i] {
      const std::string digit = std::to_string(i);
      for (int n = 0; n < 2'000; ++n) {
        EXPECT_EQ(worth(digit + "k5"), exact(i * 1000.0 + 500.0));
        EXPECT_EQ(worth("(" + digit + "+2)*3"), exact((i + 2) * 3.0));
        EXPECT_EQ(worth("(" + digit + "+2)*3)"), "rejected");
      }
    });
  }
}

TEST(StrToTest, ExhaustedMemoryIsAFailureAndLeaksNothing) {
  if (!LimitedMemory::isInForce()) GTEST_SKIP() << "memory cannot be made to run out";
  const std::string deep = repeat("(1+", 300) + "2" + repeat(")", 300);
  // The one before the last makes 31 nodes, as many as share a block of memory.
  for (const std::string& text : {"(1+2)*3^2-(-4)"s, "1+1\n2+2\n3+3\n4+4\n5+5"s, "(1+2)*3 4"s, deep,
                                  "1" + repeat("+1", 15) + " 1", deep + ")"}) {
    const std::string expected = worth(text);
    int64_t granted = 0;
    for (bool ranOut = true; ranOut; ++granted) {
      double value = 77.0;
      bool result = true;
      const int64_t live = countLiveAllocations();
      {
        const LimitedMemory memory(granted);
        result = velmor_core_str_to_f64(text.c_str(), &value);
        ranOut = memory.hasRunOut();
      }
      EXPECT_EQ(countLiveAllocations(), live) << text << ", " << granted;
      EXPECT_EQ(result, expected != "rejected" && !ranOut) << text << ", " << granted;
      EXPECT_EQ(exact(value), result ? expected : exact(77.0)) << text << ", " << granted;
    }
    EXPECT_GT(granted, 1) << text;
  }
}

TEST(StrToTest, OneNumberNeedsNoMemory) {
  if (!LimitedMemory::isInForce()) GTEST_SKIP() << "memory cannot be made to run out";
  for (const char* text :
       {"12", "4k7\n", " -1844674407370955161500000.25k ", "\n +\t1.5e3\r\n", "\t- \r4Ki \n\t\n"}) {
    double value = 77.0;
    const LimitedMemory memory(0);
    EXPECT_TRUE(velmor_core_str_to_f64(text, &value)) << text;
    EXPECT_FALSE(velmor_core_str_to_f64("(1)", &value));
  }
}

}  // namespace
