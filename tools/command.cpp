#include "command.h"

#include <algorithm>
#include <cstdio>

#include "errors.h"

namespace tool {

Arguments::Arguments(std::span<const std::string> words, std::span<const Option> allowed) {
  bool optionsEnd = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (optionsEnd || word.size() < 2 || word[0] != '-') {
      operands.push_back(word);
    } else if (word == "--") {
      optionsEnd = true;
    } else {
      const auto option = std::ranges::find(allowed, word, &Option::name);
      if (option == allowed.end()) {
        throw UsageError("unknown option " + word + " (put -- before a value that begins with -)");
      }
      if (option->takesValue && i + 1 == words.size()) {
        throw UsageError("option " + word + " needs a value");
      }
      options[word] = option->takesValue ? words[++i] : std::string();
    }
  }
}

std::optional<std::string> Arguments::value(std::string_view option) const {
  const auto found = options.find(option);
  if (found == options.end()) return std::nullopt;
  return found->second;
}

void complain(std::string_view message) {
  std::fflush(stdout);
  std::fprintf(stderr, "velmor-core: %.*s\n", static_cast<int>(message.size()), message.data());
}

int forEachFile(const std::vector<std::string>& files, bool (*work)(const std::string& file)) {
  bool good = true;
  for (const std::string& file : files) {
    try {
      good = work(file) && good;
    } catch (const Failure& failure) {
      complain(failure.what());
      good = false;
    }
  }
  return good ? 0 : 1;
}

}  // namespace tool
