// A second, slow reading of the expression language: numbers by a regular expression and by strtoul
// and strtod (in the C locale), the grammar by recursive descent. For short texts.

#ifndef TESTS_EXPRESSION_MODEL_H
#define TESTS_EXPRESSION_MODEL_H

#include <regex.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

class ExpressionModel {
 public:
  // The value of the first line's expression; nothing if the text is not valid throughout or holds
  // none.
  static std::optional<double> evaluate(const std::string& text) {
    ExpressionModel model;
    model.scan(text);
    std::optional<double> first;
    while (model.next < model.tokens.size()) {
      if (model.accept('\n')) continue;
      const double value = model.sum();
      if (model.failed || !(model.accept('\n') || model.next == model.tokens.size())) return {};
      if (!first) first = value;
    }
    return first;
  }

 private:
  struct Token {
    char kind;  // 'n' for a number, else the character
    double value;
  };

  void scan(const std::string& text) {
    for (size_t at = 0; at < text.size();) {
      const std::string number = longestNumber(text, at);
      if (!number.empty()) {
        tokens.push_back({'n', worth(number)});
        at += number.size();
      } else {
        // 'n' itself is not in the language: let it stand for what else is not.
        const char c = text[at++];
        if (!std::strchr(" \t\r", c)) tokens.push_back({c == 'n' ? '?' : c, 0.0});
      }
    }
  }

  // POSIX expressions take the longest of all alternatives.
  static std::string longestNumber(const std::string& text, size_t at) {
    static const regex_t pattern = [] {
      regex_t compiled = {};
      regcomp(&compiled,
              "^([0-9]+([KMGT]i)?|[0-9]+\\.[0-9]*|[0-9]+(\\.[0-9]+)?e[+-]?[0-9]+|"
              "[0-9]+\\.[0-9]+([pnumcdhkMGT]|da)|[0-9]+[pnumcdhkMGT][0-9]*|[0-9]+da[0-9]+)",
              REG_EXTENDED);
      return compiled;
    }();
    regmatch_t match = {};
    if (regexec(&pattern, text.c_str() + at, 1, &match, 0) != 0) return "";
    return text.substr(at, static_cast<size_t>(match.rm_eo));
  }

  static double worth(const std::string& number) {
    static const std::map<std::string, double> factors = {
        {"p", 1e-12}, {"n", 1e-9},  {"u", 1e-6},   {"m", 0.001}, {"c", 0.01}, {"d", 0.1},
        {"da", 10.0}, {"h", 100.0}, {"k", 1000.0}, {"M", 1e6},   {"G", 1e9},  {"T", 1e12}};
    static const std::map<char, unsigned long> multipliers = {
        {'K', 1UL << 10}, {'M', 1UL << 20}, {'G', 1UL << 30}, {'T', 1UL << 40}};
    const char* text = number.c_str();
    const size_t letter = number.find_first_of("pnumcdhkKMGTe");
    const unsigned long whole = std::strtoul(text, nullptr, 10);
    if (number.back() == 'i') {
      const unsigned long multiplier = multipliers.at(number[letter]);
      const double product = static_cast<double>(whole) * static_cast<double>(multiplier);
      return product < 18446744073709551616.0
                 ? static_cast<double>(static_cast<long>(whole * multiplier))
                 : product;
    }
    if (number.find_first_not_of("0123456789") == std::string::npos) {
      return static_cast<double>(static_cast<long>(whole));
    }
    if (letter == std::string::npos || number[letter] == 'e') return std::strtod(text, nullptr);
    const size_t digits = number.find_first_of("0123456789", letter);
    const std::string prefix = number.substr(letter, digits - letter);
    if (number.find('.') != std::string::npos)
      return std::strtod(text, nullptr) * factors.at(prefix);
    double value = static_cast<double>(whole);
    if (digits != std::string::npos) {
      const unsigned long fraction = std::strtoul(text + digits, nullptr, 10);
      if (fraction != 0) {
        value += static_cast<double>(fraction) /
                 std::pow(10.0, static_cast<double>(number.size() - digits));
      }
    }
    return value * factors.at(prefix);
  }

  bool accept(char kind) {
    if (next == tokens.size() || tokens[next].kind != kind) return false;
    ++next;
    return true;
  }

  double sum() {
    double value = product();
    for (;;) {
      if (accept('+')) {
        value += product();
      } else if (accept('-')) {
        value -= product();
      } else {
        return value;
      }
    }
  }

  double product() {
    double value = sign();
    for (;;) {
      if (accept('*')) {
        value *= sign();
      } else if (accept('/')) {
        value /= sign();
      } else if (accept('%')) {
        value = std::fmod(value, sign());
      } else {
        return value;
      }
    }
  }

  double sign() {
    if (accept('-')) return -power();
    accept('+');
    return power();
  }

  double power() {
    const double base = atom();
    return accept('^') ? std::pow(base, power()) : base;
  }

  double atom() {
    if (accept('n')) return tokens[next - 1].value;
    if (accept('(')) {
      const double value = sum();
      if (accept(')')) return value;
    }
    failed = true;
    return 0.0;
  }

  std::vector<Token> tokens;
  size_t next = 0;
  bool failed = false;
};

#endif
