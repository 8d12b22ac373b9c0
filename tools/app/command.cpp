// Sorts the words of a command line, and reports failures.

#include "app/command.h"

#include <algorithm>
#include <iostream>

#include "app/errors.h"
#include "app/terminal.h"
#include "app/text.h"

namespace tool {

namespace {

struct OptionWord {
  std::string name;
  std::optional<std::string> value;
};

// "--jobs=4" and "-j4" have the value in the same word.
OptionWord splitOption(const std::string& word) {
  constexpr std::size_t SHORT = 2;
  if (!word.starts_with("--")) {
    if (word.size() == SHORT) return {word, std::nullopt};
    return {word.substr(0, SHORT), word.substr(SHORT)};
  }
  const std::size_t equals = word.find('=');
  if (equals == std::string::npos) return {word, std::nullopt};
  return {word.substr(0, equals), word.substr(equals + 1)};
}

}  // namespace

Arguments::Arguments(std::span<const std::string> words, const Command& command) {
  bool optionsEnd = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word == "--" && !optionsEnd) {
      optionsEnd = true;
    } else if (optionsEnd || command.dashesAreOperands || word.size() < 2 || word[0] != '-') {
      operands.push_back(word);
    } else {
      i = addOption(words, i, command);
    }
  }
}

std::size_t Arguments::addOption(std::span<const std::string> words, std::size_t index,
                                 const Command& command) {
  const auto [name, attached] = splitOption(words[index]);
  const auto option = std::ranges::find_if(command.options, [&, &name = name](const Option& each) {
    return name == each.name || name == each.shortName;
  });
  if (option == command.options.end()) {
    throw UsageError("unknown option " + name + " (put -- before a value that begins with -)");
  }
  if (attached && !option->takesValue) throw UsageError("option " + name + " takes no value");
  if (option->takesValue && !attached && ++index == words.size()) {
    throw UsageError("option " + name + " needs a value");
  }
  std::vector<std::string>& given = options[std::string(option->name)];
  given.push_back(!option->takesValue ? "" : attached ? *attached : words[index]);
  return index;
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
