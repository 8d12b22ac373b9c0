// Sorts the words of a command line, and reports failures.

#include "app/command.h"

#include <algorithm>
#include <iostream>

#include "app/errors.h"
#include "app/terminal.h"
#include "app/text.h"

namespace tool {

Arguments::Arguments(std::span<const std::string> words, const Command& command) {
  bool optionsEnd = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word == "--" && !optionsEnd) {
      optionsEnd = true;
    } else if (optionsEnd || command.dashesAreOperands || word.size() < 2 || word[0] != '-') {
      operands.push_back(word);
    } else {
      const auto option = std::ranges::find(command.options, word, &Option::name);
      if (option == command.options.end()) {
        throw UsageError("unknown option " + word + " (put -- before a value that begins with -)");
      }
      if (option->takesValue && i + 1 == words.size()) {
        throw UsageError("option " + word + " needs a value");
      }
      options[word].push_back(option->takesValue ? words[++i] : std::string());
    }
  }
}

std::optional<std::string> Arguments::value(std::string_view option) const {
  const std::vector<std::string>& given = values(option);
  return given.empty() ? std::nullopt : std::optional(given.back());
}

const std::vector<std::string>& Arguments::values(std::string_view option) const {
  static const std::vector<std::string> NONE;
  const auto found = options.find(option);
  return found == options.end() ? NONE : found->second;
}

void complain(std::string_view message) {
  std::cout.flush();
  printMessage("velmor-core: " + printable(message));
}

int forEach(const std::vector<std::string>& operands,
            const std::function<void(const std::string& operand)>& work) {
  int status = 0;
  for (const std::string& operand : operands) {
    try {
      work(operand);
    } catch (const Failure& failure) {
      complain(failure.what());
      status = 1;
    }
  }
  return status;
}

}  // namespace tool
