// The three conversions through the C interface.

#include <emmintrin.h>
#include <gtest/gtest.h>
#include <velmor_core/velmor_core.h>

#include <bit>
#include <cerrno>
#include <cfenv>
#include <clocale>
#include <filesystem>
#include <random>
#include <sstream>
#include <vector>

#include "expression_model.h"
#include "support/faults.h"

namespace {

using namespace std::string_literals;

constexpr double INF = HUGE_VAL;

// To the last bit. All NaN are one.
std::string exact(std::optional<double> value) {
  if (!value) return "rejected";
  std::ostringstream text;
  text << std::hexfloat << (std::isnan(*value) ? NAN : *value);
  return text.str();
}

// The double of a text, or "rejected". The integers have to be what the processor's conversion
// makes of that double. All three functions accept the text or none does, which leaves no trace.
std::string convert(const std::string& text) {
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

// Lone numbers are converted without scanner and parser, and so are plain expressions.
void expectValues(const std::vector<std::pair<std::string, double>>& rows) {
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(convert(text), exact(value)) << text;
    EXPECT_EQ(convert("2*(" + text + ")"), exact(2 * value)) << text;
  }
}

TEST(StrToTest, NumbersAndExpressionsHaveTheirValues) {
  expectValues({{"007", 7.0},    {"1.5e-3", 0.0015}, {"1e999", INF},   {"0.5p", 5e-13},
                {"4k7", 4700.0}, {"4k05", 4050.0},   {"4.5da", 45.0},  {"4da07", 40.7},
                {"4Ki", 0x1p12}, {"1Ti", 0x1p40},    {"(1+2)*3", 9.0}, {"2^3^2", 512.0},
                {"-2^2", -4.0},  {"2*-3", -6.0},     {"-0", -0.0},     {"8/2/2", 2.0},
                {"-7%3", -1.0},  {"1%0", NAN},       {"-1/0", -INF},   {"(-8)^(1/3)", NAN}});
  // Limits: integers saturate at 2^64 - 1 and are taken as signed.
  expectValues({{"1e-99999999999999999999", 0.0},
                {"9223372036854775808", -0x1p63},
                {"99999999999999999999999", -1.0},
                {"000000000016777215Ti", -0x1p40},
                {"000000000016777216Ti", 0x1p64},
                {"99999999999999999999Ki", 0x1p74},
                {"0T0000000000000000000007", 7e-10}});
  EXPECT_EQ(convert("\r\n\n -3 \n \n(7)*2\n"), exact(-3.0)) << "the first line that is not empty";
}

TEST(StrToTest, TextsAreRejectedAsAWhole) {
  for (const char* text :
       {"",     " \n",       "12abc",   "2^-1", "--2",   "1\n2+", "2\n3 4", "(1",    "1)",
        "()",   ".5",        "1E3",     "4K",   "4da",   "1.k",   "0x10",   "1.5Ki", "1,5",
        "-\n5", "5\xC2\xB5", "(2)\x80", "1e+",  "1_000", "inf",   "nan"}) {
    EXPECT_EQ(convert(text), "rejected") << text;
  }
}

// The locale is built here, since few systems have one with a decimal comma installed.
TEST(StrToTest, DecimalPointDoesNotDependOnTheLocale) {
  const std::string folder = testing::TempDir() + "velmor_core_locale" + std::to_string(getpid());
  std::filesystem::create_directories(folder);
  const std::string command = "localedef -i de_DE -f UTF-8 " + folder + "/comma.UTF-8 2>/dev/null";
  // NOLINTNEXTLINE(cert-env33-c): a command of our own
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef has no de_DE to build";
  ASSERT_EQ(setenv("LOCPATH", folder.c_str(), 1), 0);
  ASSERT_NE(std::setlocale(LC_ALL, "comma.UTF-8"), nullptr);
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
  expectValues({{"1.5k", 1500.0}, {"1.5+1.25e1", 14.0}});
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
    if (depth == 0 || below(4) == 0) return below(6) > 0 ? number() : NAN_TEXTS[below(2)];
    const std::string inner = expression(depth - 1);
    if (below(3) == 0) return "("s + inner + ")";
    if (below(4) == 0) return characters(1, "+-") + inner;
    return inner + characters(1, "+-*/%^") + expression(depth - 1);
  }

  // Negative and positive.
  static constexpr const char* NAN_TEXTS[] = {"(0%0)", "(-(0%0))"};

  std::mt19937_64 random{20240229};  // NOLINT(cert-msc*): a failure has to come back
};

// All that the conversion to a double leaves behind, with the sign of NaN.
struct Traces {
  bool accepted;
  uint64_t bits;
  int error;  // errno
  int exceptions;
  bool operator==(const Traces&) const = default;
};

Traces traces(const std::string& text) {
  double value = 77;
  std::feclearexcept(FE_ALL_EXCEPT);
  errno = 0;
  const bool accepted = velmor_core_str_to_f64(text.c_str(), &value);
  return {accepted, std::bit_cast<uint64_t>(value), errno, std::fetestexcept(FE_ALL_EXCEPT)};
}

// Garbage, numbers alone, expressions with a fault or two, and expressions. Most are plain; with a
// second line none is, so that scanner and parser have to agree with the evaluation of plain texts.
TEST_F(RandomTextTest, TextsHaveTheValuesOfTheModelWithAndWithoutTheParser) {
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
    ASSERT_EQ(convert(text), exact(expected)) << text;
    const Traces alone = traces(text);
    if (!expected) {
      ASSERT_EQ(alone.error | (alone.exceptions & (FE_DIVBYZERO | FE_INVALID)), 0) << text;
      continue;
    }
    ASSERT_TRUE(alone == traces(text + "\n0")) << text;
    ++accepted;
  }
  EXPECT_GT(accepted, 40'000);
}

std::string repeat(const std::string& piece, size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  while (count-- > 0) text += piece;
  return text;
}

// Too deep for recursion, to the left and to the right of each operator.
TEST(DeepTextTest, DepthIsBoundByMemoryAlone) {
  constexpr size_t DEPTH = 300'000;
  const struct {
    std::string sign;
    double left, right;
  } operators[] = {{"+", 300'001, 300'001}, {"-", -299'999, 1}, {"*", 1, 1.0},
                   {"/", 1, 1.0},           {"%", 0, NAN},      {"^", 1, 1.0}};
  for (const auto& [sign, left, right] : operators) {
    EXPECT_EQ(convert(repeat("(", DEPTH) + "1" + repeat(sign + "1)", DEPTH)), exact(left)) << sign;
    EXPECT_EQ(convert(repeat("1" + sign + "(", DEPTH) + "1" + repeat(")", DEPTH)), exact(right))
        << sign;
  }
  EXPECT_EQ(convert(repeat("-(", DEPTH) + "5" + repeat(")", DEPTH)), exact(5.0));
  EXPECT_EQ(convert(repeat("1+2\n", DEPTH)), exact(3.0));
  EXPECT_EQ(convert(repeat("1+(2*", DEPTH) + ")"), "rejected");
}

// Scanning a token anew for each part that is read would take hours here.
TEST(DeepTextTest, OneTokenMayHaveMillionsOfDigits) {
  const std::string zeros(3'000'000, '0');
  EXPECT_EQ(convert("1+" + zeros + "5"), exact(6.0));
  EXPECT_EQ(convert("0+0." + zeros + "1e3000001"), exact(1.0));
  EXPECT_EQ(convert("00." + zeros + "1e9"), exact(0.0));
  EXPECT_EQ(convert("1k" + zeros + "1"), exact(1000.0));
  EXPECT_EQ(convert("(1)" + repeat(" ", 3'000'000) + "+1"), exact(2.0));
}

TEST(StrToTest, TextsAreRejectedWhenMemoryRunsOut) {
  const std::string wide = "1" + repeat("+1", 15) + " 1";  // fills the first block of nodes
  const std::string deep = repeat("(1+", 300) + "2" + repeat(")", 300);
  const std::pair<std::string, bool> texts[] = {// and whether they need memory
                                                {wide, true},
                                                {deep, true},
                                                {deep + ")", true},
                                                {"1\n2+3\n", true},
                                                {"\t-\r4k7 \n", false}};
  for (const auto& row : texts) {
    const std::string &text = row.first, expected = convert(text);
    const size_t met = faults::forAllFaults([&](auto, auto, const auto& arm) {
      double value = 77;
      arm();
      const bool converted = velmor_core_str_to_f64(text.c_str(), &value);
      const bool fired = faults::disarm();
      EXPECT_EQ(converted, expected != "rejected" && !fired) << text;
      EXPECT_EQ(exact(value), converted ? expected : exact(77)) << text;
      return fired;
    });
    EXPECT_EQ(met > 0, row.second) << text;
  }
}

}  // namespace
