// What a command is, and the list of them.
#ifndef VELMOR_CORE_TOOLS_APP_COMMAND_H
#define VELMOR_CORE_TOOLS_APP_COMMAND_H

#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct Option {
  std::string_view name;  // with its dashes
  bool takesValue = false;
  std::string_view shortName = {};  // such as "-j"; its value may follow it directly: -j4
};

// Options that several commands have.
inline constexpr Option JSON{"--json"};

struct Command;

// The words after a command's name, sorted into options and operands. Options may stand anywhere;
// after "--" every word is an operand. A value follows its option as the next word, or after "=" in
// the same word.
class Arguments {
 public:
  // Throws UsageError for an option that the command does not have or that lacks its value.
  Arguments(std::span<const std::string> words, const Command& command);

  bool has(std::string_view option) const { return options.contains(option); }
  // The last value that was given; none if the option was not given.
  std::optional<std::string> value(std::string_view option) const;
  // All values that were given, in this order.
  const std::vector<std::string>& values(std::string_view option) const;
  std::size_t count() const { return operands.size(); }
  const std::string& operator[](std::size_t index) const { return operands[index]; }
  const std::vector<std::string>& all() const { return operands; }

 private:
  // Adds the option that words[index] names; returns the index of its last word.
  std::size_t addOption(std::span<const std::string> words, std::size_t index,
                        const Command& command);

  std::map<std::string, std::vector<std::string>, std::less<>> options;  // each with its values
  std::vector<std::string> operands;
};

constexpr std::size_t ANY_NUMBER = std::numeric_limits<std::size_t>::max();

struct Command {
  std::string_view name;
  std::string_view synopsis;       // what follows the name
  std::string_view summary;        // one line for the overview
  std::string_view help;           // the rest of its help text
  std::string_view examples = {};  // command lines that work
  std::size_t minOperands;
  std::size_t maxOperands;
  std::span<const Option> options;
  // Returns the exit status: 0 or 1; "check" also returns 3, "diff" 2. Throws UsageError and
  // Failure.
  int (*run)(const Arguments& arguments);
  // A word that begins with a dash is an operand, for values such as -5.
  bool dashesAreOperands = false;
};

extern const Command TREE;
extern const Command MAP;
extern const Command DIFF;
extern const Command SHOW;
extern const Command EXTRACT;
extern const Command SET;
extern const Command ADD;
extern const Command REMOVE;
extern const Command RECYCLE;
extern const Command EDIT;
extern const Command STRIP;
extern const Command CHECK;
extern const Command VERIFY;
extern const Command REPAIR;
extern const Command TAG;
extern const Command CPU;
extern const Command VERSION;
extern const Command NUM;
extern const Command UUID;
extern const Command SHA256;

// The hidden command "complete": prints what the last word can become, one candidate a line,
// perhaps with a tab and a description. Candidates that end in "/" or "[" are not whole words.
// `words` are the words of a command line after "velmor-core". Returns 1 if the word is a file's
// name, for which nothing is printed, and 0 otherwise.
int completeWords(std::span<const Command* const> commands, std::span<const std::string> words);

// Prints "velmor-core: " and the message on standard error, after flushing standard output. Escapes
// characters that could control a terminal, since file names and ids in the message may have any.
void complain(std::string_view message);

// Runs work for each operand. Reports an operand that fails, and goes on with the next one. Returns
// the exit status. Commands that work on files use forEachFile() in jobs.h.
int forEach(const std::vector<std::string>& operands,
            const std::function<void(const std::string& operand)>& work);

// The text that "velmor-core --version" prints, with its line end.
std::string versionText();

}  // namespace tool

#endif
