// A second implementation of number texts, for short texts only. It reads numbers with a regular
// expression, strtoul and strtod (in the C locale), and the grammar by recursive descent.

#ifndef TESTS_EXPRESSION_MODEL_H
#define TESTS_EXPRESSION_MODEL_H

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <regex>
#include <string>

class ExpressionModel {
 public:
  // The value of the first line's expression. Nothing if any line is invalid or all are empty.
  static std::optional<double> evaluate(const std::string& text) {
    ExpressionModel model;
    model.next = text.c_str();
    std::optional<double> first;
    for (;;) {
      while (model.accept("\n")) continue;
      if (*model.next == '\0') return first;
      const double value = model.sum();
      if (model.failed || !(model.accept("\n") || *model.next == '\0')) return {};
      if (!first) first = value;
    }
  }

 private:
  // Skips blanks, then takes the next character if it is one of the given ones.
  char accept(const char* characters) {
    next += std::strspn(next, " \t\r");
    return *next != '\0' && std::strchr(characters, *next) ? *next++ : '\0';
  }

  double sum() {
    double value = product();
    while (const char sign = accept("+-")) value += sign == '+' ? product() : -product();
    return value;
  }

  double product() {
    double value = factor();
    while (const char sign = accept("*/%")) {
      const double right = factor();
      value = sign == '*' ? value * right : sign == '/' ? value / right : std::fmod(value, right);
    }
    return value;
  }

  double factor() { return accept("+-") == '-' ? -power() : power(); }

  double power() {
    const double base = atom();
    return accept("^") ? std::pow(base, power()) : base;
  }

  double atom() {
    if (accept("(")) {
      const double value = sum();
      failed |= accept(")") == '\0';
      return value;
    }
    // A POSIX regular expression matches the longest of all alternatives.
    static const std::regex number(
        "[0-9]+([KMGT]i)?|[0-9]+\\.[0-9]*|[0-9]+(\\.[0-9]+)?e[+-]?[0-9]+|"
        "[0-9]+\\.[0-9]+([pnumcdhkMGT]|da)|[0-9]+[pnumcdhkMGT][0-9]*|[0-9]+da[0-9]+",
        std::regex::extended);
    std::cmatch match;
    failed |= !std::regex_search(next, match, number, std::regex_constants::match_continuous);
    if (failed) return 0;
    next = match[0].second;
    return valueOf(match.str());
  }

  static double valueOf(const std::string& number) {
    static const std::map<std::string, double> factors = {
        {"p", 1e-12},   {"n", 1e-9},    {"u", 1e-6},    {"m", 0.001},  {"c", 0.01}, {"d", 0.1},
        {"da", 10.0},   {"h", 100.0},   {"k", 1000.0},  {"M", 1e6},    {"G", 1e9},  {"T", 1e12},
        {"Ki", 0x1p10}, {"Mi", 0x1p20}, {"Gi", 0x1p30}, {"Ti", 0x1p40}};
    const bool hasPoint = number.find('.') != std::string::npos;
    const size_t letter = number.find_first_not_of("0123456789.");
    const size_t fraction = number.find_first_of("0123456789", letter);
    const double decimal = std::strtod(number.c_str(), nullptr);
    const unsigned long whole = std::strtoul(number.c_str(), nullptr, 10);
    if (letter == std::string::npos) return hasPoint ? decimal : asSigned(whole);
    if (number[letter] == 'e') return decimal;
    const double factor = factors.at(number.substr(letter, fraction - letter));
    double value = hasPoint ? decimal : static_cast<double>(whole);
    if (number.back() == 'i' && value * factor < 0x1p64) {
      return asSigned(whole * static_cast<unsigned long>(factor));
    }
    if (fraction != std::string::npos) {
      value += static_cast<double>(std::strtoul(&number[fraction], nullptr, 10)) /
               std::pow(10.0, static_cast<double>(number.size() - fraction));
    }
    return value * factor;
  }

  static double asSigned(unsigned long bits) {
    return static_cast<double>(static_cast<long>(bits));
  }

  const char* next = nullptr;
  bool failed = false;
};

#endif
