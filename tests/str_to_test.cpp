// The three conversions through the C interface.

#include <gtest/gtest.h>
#include <pthread.h>
#include <velmor_core/velmor_core.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "allocations.h"
#include "expression_model.h"

namespace {

using namespace std::string_literals;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

std::optional<double> toDouble(const std::string& text) {
  double value = 0.0;
  if (!velmor_core_str_to_f64(text.c_str(), &value)) return std::nullopt;
  return value;
}

// The same double to the last bit; all NaN are one.
testing::AssertionResult isSame(std::optional<double> a, std::optional<double> b) {
  const bool same = a && b ? std::bit_cast<uint64_t>(*a) == std::bit_cast<uint64_t>(*b) ||
                                 (std::isnan(*a) && std::isnan(*b))
                           : !a && !b;
  if (same) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << (a ? testing::PrintToString(*a) : "rejected") << " instead of "
         << (b ? testing::PrintToString(*b) : "rejected");
}

struct Accepted {
  const char* text;
  double value;
};

// Each text alone, and in an expression, which keeps it off the short road for single numbers.
void expectValues(const std::vector<Accepted>& rows) {
  for (const auto& [text, value] : rows) {
    EXPECT_TRUE(isSame(toDouble(text), value)) << text;
    EXPECT_TRUE(isSame(toDouble("("s + text + ")"), value)) << text;
    EXPECT_TRUE(isSame(toDouble("2*("s + text + ")"), 2 * value)) << text;
  }
}

TEST(StrToTest, NumbersAreRoundedToTheNearestDouble) {
  expectValues({{"12", 12.0},
                {"007", 7.0},
                {"1.", 1.0},
                {"1.25", 1.25},
                {"1e3", 1000.0},
                {"1.5e-3", 0.0015},
                {"15e+2", 1500.0},
                {"1e999", INF},
                {"1e-999", 0.0},
                {"0e999", 0.0},
                {"1e99999999999999999999", INF},
                {"1e-99999999999999999999", 0.0},
                {"4.9e-324", 5e-324},
                {"2.4703282292062328e-324", 5e-324},
                {"2.4703282292062327e-324", 0.0},
                {"1.7976931348623158e308", 1.7976931348623157e308},
                {"1.797693134862315808e308", INF},
                {"9007199254740993.0", 9007199254740992.0},
                {"9007199254740993.00000000000000000000001", 9007199254740994.0},
                {"18446744073709551615", -1.0},
                {"18446744073709551616", -1.0},
                {"99999999999999999999999", -1.0},
                {"9223372036854775808", -9223372036854775808.0},
                {"18446744073709551615.", 18446744073709551616.0}});
}

TEST(StrToTest, PrefixesScaleTheirNumber) {
  expectValues({{"1.5p", 1.5 * 1e-12},
                {"1.5n", 1.5 * 1e-9},
                {"1.5u", 1.5 * 1e-6},
                {"1.5m", 1.5 * 0.001},
                {"1.5c", 1.5 * 0.01},
                {"1.5d", 1.5 * 0.1},
                {"4.5da", 45.0},
                {"1.5h", 150.0},
                {"1.5k", 1500.0},
                {"0.5M", 500000.0},
                {"1.5G", 1.5e9},
                {"1.5T", 1.5e12},
                {"4k", 4000.0},
                {"1d", 0.1},
                {"7p", 7 * 1e-12}});
}

TEST(StrToTest, PrefixesMayReplaceTheDecimalPoint) {
  expectValues({{"4k7", 4700.0},
                {"4k05", 4050.0},
                {"4k000", 4000.0},
                {"1M5", 1500000.0},
                {"1u5", 1.5e-6},
                {"4da7", 47.0},
                {"4da07", 40.7},
                {"4m7", (4.0 + 7.0 / 10.0) * 0.001},
                {"1k18446744073709551616", (1 + 18446744073709551615.0 / 1e20) * 1000},
                {"0T0000000000000000000007", (7.0 / 1e22) * 1e12}});
}

TEST(StrToTest, BinaryPrefixesAreExactBelowTwoTo64) {
  expectValues({{"4Ki", 4096.0},
                {"3Mi", 3145728.0},
                {"2Gi", 2147483648.0},
                {"1Ti", 1099511627776.0},
                {"16777215Ti", -1099511627776.0},
                {"16777216Ti", 18446744073709551616.0},
                {"17179869183Gi", -1073741824.0},
                {"18014398509481982Ki", -2048.0},
                {"18014398509481983Ki", 18446744073709551616.0},
                {"99999999999999999999Ki", 18446744073709551616.0 * 1024}});
}

TEST(StrToTest, ExpressionsFollowPrecedenceAndIeee754) {
  expectValues({{"(1+2)*3", 9.0},
                {"2^3^2", 512.0},
                {"-2^2", -4.0},
                {"2*-3", -6.0},
                {"2--3", 5.0},
                {"+5", 5.0},
                {"-5", -5.0},
                {" - 5", -5.0},
                {"-0", -0.0},
                {"8/2/2", 2.0},
                {"8-2-2", 4.0},
                {"2^(-1)", 0.5},
                {"7%3", 1.0},
                {"-7%3", -1.0},
                {"7%-3", 1.0},
                {"5.5%2", 1.5},
                {"1%0", NOT_A_NUMBER},
                {"1/0", INF},
                {"-1/0", -INF},
                {"0/0", NOT_A_NUMBER},
                {"2^0.5", 1.4142135623730951},
                {"0^0", 1.0},
                {"2^1024", INF},
                {"(-8)^(1/3)", NOT_A_NUMBER},
                {"1+2*3^2", 19.0},
                {"64Ki*3", 196608.0},
                {"1-3-(4-5)", -1.0},
                {"-9223372036854775808", 0x1p63}});
}

TEST(StrToTest, BlanksAndEmptyLinesDoNotCountAndTheFirstLineIsTheResult) {
  for (const Accepted& row :
       {Accepted{" \t12\r", 12.0}, Accepted{"1\n2", 1.0}, Accepted{"\n\n5", 5.0},
        Accepted{"3\n", 3.0}, Accepted{"3\r\n \n", 3.0}, Accepted{"\n -3 \n\n", -3.0},
        Accepted{"1+1\n\n2*2\n", 2.0}, Accepted{"( 1 + 2 )\t* 3", 9.0}}) {
    EXPECT_TRUE(isSame(toDouble(row.text), row.value)) << row.text;
  }
}

TEST(StrToTest, RejectedTextsLeaveTheResultUntouched) {
  for (const char* text :
       {"",     " ",      "\n",   " \r\n\t", "12abc",     "2^-1",  "--2",    "+-2",      "1\n2+",
        "1\n+", "2\n3 4", "(1",   "1)",      "()",        "1 2",   "1.5.3",  ".5",       "1E3",
        "4K",   "4kk",    "4da",  "1.k",     "1.e3",      "1.5Ki", "0x10",   "1,5",      "-",
        "-\n5", "+ \n",   "5\v",  "\f5",     "5\xC2\xB5", "\xFF",  "\37712", "12\37734", "(2)\x80",
        "*2",   "2*",     "2**3", "1e",      "1e+",       "1_000", "inf",    "nan"}) {
    int64_t i64 = 77;
    uint64_t u64 = 77;
    double f64 = 77.0;
    EXPECT_FALSE(velmor_core_str_to_i64(text, &i64)) << text;
    EXPECT_FALSE(velmor_core_str_to_u64(text, &u64)) << text;
    EXPECT_FALSE(velmor_core_str_to_f64(text, &f64)) << text;
    EXPECT_TRUE(i64 == 77 && u64 == 77 && f64 == 77.0) << text;
  }
}

TEST(StrToTest, IntegersAreTruncatedAndWrapAtTheirLimits) {
  constexpr int64_t LOWEST = std::numeric_limits<int64_t>::min();
  constexpr uint64_t TOP = uint64_t{1} << 63;
  struct Row {
    const char* text;
    int64_t i64;
    uint64_t u64;
  };
  for (const Row& row : {Row{" 12 ", 12, 12},
                         Row{"1.9", 1, 1},
                         Row{"-1.9", -1, UINT64_MAX},
                         Row{"-0.5", 0, 0},
                         Row{"-1", -1, UINT64_MAX},
                         Row{"7/2", 3, 3},
                         Row{"1.5k", 1500, 1500},
                         Row{"2^62", int64_t{1} << 62, uint64_t{1} << 62},
                         Row{"9007199254740993", 9007199254740992, 9007199254740992},
                         Row{"2^63-1024", 9223372036854774784, 9223372036854774784},
                         Row{"2^63", LOWEST, TOP},
                         Row{"2^63+2^11", LOWEST, TOP + 2048},
                         Row{"2^64-2^11", LOWEST, UINT64_MAX - 2047},
                         Row{"2^64", LOWEST, 0},
                         Row{"1e300", LOWEST, 0},
                         Row{"-2^63+1024", LOWEST + 1024, TOP + 1024},
                         Row{"-2^63", LOWEST, TOP},
                         Row{"-2^63-2^12", LOWEST, TOP},
                         Row{"1/0", LOWEST, 0},
                         Row{"-1/0", LOWEST, TOP},
                         Row{"0/0", LOWEST, TOP},
                         Row{"9223372036854775807", LOWEST, TOP},
                         Row{"9223372036854775808", LOWEST, TOP},
                         Row{"18446744073709551615", -1, UINT64_MAX},
                         Row{"(18446744073709551614)", -2, UINT64_MAX - 1},
                         Row{"17179869183Gi", -1073741824, 18446744072635809792U}}) {
    int64_t i64 = 77;
    uint64_t u64 = 77;
    EXPECT_TRUE(velmor_core_str_to_i64(row.text, &i64));
    EXPECT_TRUE(velmor_core_str_to_u64(row.text, &u64));
    EXPECT_EQ(i64, row.i64) << row.text;
    EXPECT_EQ(u64, row.u64) << row.text;
  }
}

// The locale is built here, since few systems have one with a decimal comma installed.
TEST(StrToTest, DecimalPointDoesNotDependOnTheLocale) {
  const auto folder = std::filesystem::path(testing::TempDir()) / "velmor_core_locale";
  std::filesystem::create_directories(folder);
  const std::string command =
      "localedef -i de_DE -f UTF-8 '" + (folder / "comma.UTF-8").string() + "' 2>/dev/null";
  // NOLINTNEXTLINE(cert-env33-c): a command of our own
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef has no de_DE to build";
  ASSERT_EQ(setenv("LOCPATH", folder.c_str(), 1), 0);
  ASSERT_NE(std::setlocale(LC_ALL, "comma.UTF-8"), nullptr);
  ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
  EXPECT_TRUE(isSame(toDouble("1.5k"), 1500.0));
  EXPECT_TRUE(isSame(toDouble("(1.5)+1.25e1"), 14.0));
  EXPECT_TRUE(isSame(toDouble("1,5"), std::nullopt));
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

  std::string digits(size_t most) { return characters(1 + below(most), "0123456789"); }

  std::string number() {
    static const std::vector<std::string> prefixes = {"p", "n", "u", "m", "c", "d",
                                                      "h", "k", "M", "G", "T"};
    static const std::vector<std::string> behindInteger = {"", "", "Ki", "Mi", "Gi", "Ti", "."};
    const std::string& prefix = prefixes[below(prefixes.size())];
    switch (below(6)) {
      case 0:
        return digits(4) + "." + digits(4) + (below(4) == 0 ? "da" : prefix);
      case 1:
        return digits(3) + (below(4) == 0 ? "da" : prefix) + digits(25);
      case 2:
        return digits(3) + prefix;
      case 3:
        return digits(3) + (below(2) == 0 ? "."s + digits(20) : "") + "e-" + digits(2);
      default:
        return digits(22) + behindInteger[below(behindInteger.size())];
    }
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

TEST_F(RandomTextTest, DecimalTextsAreWorthWhatStrtodSays) {
  for (int i = 0; i < 100'000; ++i) {
    std::string text = digits(below(2) == 0 ? 3 : 25) + "." + digits(below(2) == 0 ? 3 : 25);
    if (below(3) != 0) text += "e"s + characters(below(2), "+-") + digits(3);
    ASSERT_TRUE(isSame(toDouble(text), std::strtod(text.c_str(), nullptr))) << text;
  }
}

// Numbers alone, expressions, expressions with a fault or two, and garbage.
TEST_F(RandomTextTest, TextsAreWorthWhatTheModelSays) {
  const std::string alphabet = "0123456789..eekKMiGTdapn+-*/%^()() \t\n\nx\xB5";
  int accepted = 0;
  for (int i = 0; i < 8'000; ++i) {
    std::string text = i % 4 == 0   ? characters(below(12), alphabet)
                       : i % 4 == 1 ? characters(below(2), "+- ") + number()
                                    : expression(1 + below(5));
    if (i % 4 == 2) {
      text.replace(below(text.size()), below(2), characters(below(3), alphabet));
    }
    const auto expected = ExpressionModel::evaluate(text);
    accepted += expected ? 1 : 0;
    ASSERT_TRUE(isSame(toDouble(text), expected)) << text;
  }
  EXPECT_GT(accepted, 3'000);
  EXPECT_LT(accepted, 7'000);
}

std::string repeat(const std::string& piece, size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  while (count-- > 0) text += piece;
  return text;
}

void runOnSmallStack(std::function<void()> body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, size_t{1} << 20);
  pthread_t thread = {};
  const auto run = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(DeepTextTest, LengthAndDepthAreBoundByMemoryAlone) {
  runOnSmallStack([] {
    EXPECT_EQ(toDouble("1"s + repeat("+1", 1'000'000)), 1'000'001.0);
    EXPECT_EQ(toDouble("2"s + repeat("^1", 1'000'000)), 2.0);
    EXPECT_EQ(toDouble(repeat("(", 500'000) + "7" + repeat(")", 500'000)), 7.0);
    EXPECT_EQ(toDouble(repeat("-(", 300'000) + "5" + repeat(")", 300'000)), 5.0);
    EXPECT_EQ(toDouble(repeat("1-(", 300'000) + "5" + repeat(")", 300'000)), 5.0);
    EXPECT_EQ(toDouble(repeat("(1-", 300'000) + "5" + repeat(")", 300'000)), 5.0);
    EXPECT_EQ(toDouble(repeat("(", 1'000'000)), std::nullopt);
    EXPECT_EQ(toDouble(repeat("1+(2*", 300'000) + ")"), std::nullopt);
    EXPECT_EQ(toDouble(repeat("1+2\n", 300'000)), 3.0);
  });
}

// Scanning a token anew for each part that is read would take hours here.
TEST(DeepTextTest, OneTokenMayHaveMillionsOfDigits) {
  const std::string zeros(3'000'000, '0');
  EXPECT_EQ(toDouble("1+" + zeros + "5"), 6.0);
  EXPECT_EQ(toDouble("0+1" + zeros), -1.0);
  EXPECT_EQ(toDouble("0+0." + zeros + "1e3000001"), 1.0);
  EXPECT_EQ(toDouble("1k" + zeros + "1"), 1000.0);
  EXPECT_EQ(toDouble("(1)" + repeat(" ", 3'000'000) + "+1"), 2.0);
}

TEST(StrToTest, ThreadsDoNotMeet) {
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([i] {
      const std::string number = std::to_string(i) + "k5";
      const std::string sum = "("s + std::to_string(i) + "+2)*3";
      for (int n = 0; n < 2'000; ++n) {
        EXPECT_EQ(toDouble(number), i * 1000.0 + 500.0);
        EXPECT_EQ(toDouble(sum), (i + 2) * 3.0);
        EXPECT_EQ(toDouble(sum + ")"), std::nullopt);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(StrToTest, ExhaustedMemoryIsAFailureAndLeaksNothing) {
  if (!LimitedMemory::isInForce()) GTEST_SKIP() << "memory cannot be made to run out";
  const std::string deep = repeat("(1+", 300) + "2" + repeat(")", 300);
  // The one before the last makes 31 nodes, as many as share a block of memory.
  const std::string texts[] = {"(1+2)*3^2-(-4)",
                               "1+1\n2+2\n3+3\n4+4\n5+5",
                               "(1+2)*3 4",
                               deep,
                               "1"s + repeat("+1", 15) + " 1",
                               deep + ")"};
  for (const std::string& text : texts) {
    const auto expected = toDouble(text);
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
      EXPECT_EQ(result, expected && !ranOut) << text << ", " << granted;
      EXPECT_EQ(value, result ? *expected : 77.0) << text << ", " << granted;
    }
    EXPECT_GT(granted, 1) << text;
  }
}

TEST(StrToTest, OneNumberNeedsNoMemory) {
  if (!LimitedMemory::isInForce()) GTEST_SKIP() << "memory cannot be made to run out";
  double value = 0.0;
  const LimitedMemory memory(0);
  EXPECT_TRUE(velmor_core_str_to_f64(" -1844674407370955161500000.25k ", &value));
  EXPECT_FALSE(velmor_core_str_to_f64("(1)", &value));
}

}  // namespace
