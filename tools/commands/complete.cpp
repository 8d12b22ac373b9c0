// What the completion of a shell asks for: the words that may follow on a command line.

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/command.h"
#include "app/errors.h"
#include "app/text.h"
#include "chunks/chunk_path.h"
#include "chunks/raw_bytes.h"
#include "chunks/tree_items.h"

namespace tool {

namespace {

constexpr int COMPLETE_FILES = 1;  // the exit status that leaves the word to the shell

// Prints the candidates that begin with what has been typed. A word may have a start that is not
// completed, such as "--path="; it is in `before` and is printed before each candidate.
class Candidates {
 public:
  explicit Candidates(std::string_view typed, std::string_view before = "")
      : typed(typed), before(before) {}

  void offer(std::string_view candidate, std::string_view description = "") const {
    if (!candidate.starts_with(typed)) return;
    std::cout << before << candidate;
    if (!description.empty()) std::cout << '\t' << description;
    std::cout << '\n';
  }

 private:
  std::string_view typed;
  std::string_view before;
};

void offerCommands(std::span<const Command* const> commands, const Candidates& candidates) {
  for (const Command* command : commands) candidates.offer(command->name, command->summary);
  candidates.offer("help", "Explain a command");
}

void offerOptions(const Command& command, const Candidates& candidates) {
  for (const Option& option : command.options) {
    candidates.offer(option.name);
    if (!option.shortName.empty()) candidates.offer(option.shortName);
  }
  candidates.offer("--help");
}

// The words of a synopsis without brackets and bars: "[--path PATH] FILE..." has three.
std::vector<std::string_view> wordsOf(std::string_view synopsis) {
  constexpr std::string_view BETWEEN = " []|";
  std::vector<std::string_view> words;
  while (true) {
    const std::size_t begin = std::min(synopsis.find_first_not_of(BETWEEN), synopsis.size());
    synopsis.remove_prefix(begin);
    if (synopsis.empty()) return words;
    words.push_back(synopsis.substr(0, synopsis.find_first_of(BETWEEN)));
    synopsis.remove_prefix(words.back().size());
  }
}

// --- chunk paths

// At most this many chunks of a group are looked at.
constexpr uint64_t MAX_CHUNKS = 10'000;
// If a group has more chunks of one name, each one is offered only after "[" has been typed.
constexpr uint64_t MANY = 50;

// A shell that waits for candidates cannot be used, so a slow file gives none.
void limitTime() {
  constexpr unsigned SECONDS = 1;
  static_cast<void>(::signal(SIGALRM, [](int /*signal*/) { ::_exit(0); }));
  ::alarm(SECONDS);
}

struct Child {
  std::string name;
  std::string description;
  bool isGroup;
};

std::vector<Child> childrenOf(const RawNode& group) {
  std::vector<Child> children;
  for (RawNode child = group.firstChild(); child && children.size() < MAX_CHUNKS;
       child = child.next()) {
    children.push_back({child.name(), grouped(child.chunk().dataSize) + " bytes", child.isGroup()});
  }
  return children;
}

// Offers the chunks of the group that has been typed. Groups end in "/", so that typing goes on.
void offerChunks(const std::string& file, std::string_view typed, const Candidates& candidates) {
  limitTime();
  const File open(file, File::READ);
  RawBytes bytes(open);
  RawNode group = RawNode::virtualRoot(bytes);
  const std::string above(typed.substr(0, typed.rfind('/') + 1));
  if (above.find_first_not_of('/') != std::string::npos) group = ChunkPath(above).find(group);
  if (!group.isGroup()) return;

  const std::vector<Child> children = childrenOf(group);
  std::map<std::string, uint64_t, std::less<>> counts;
  for (const Child& child : children) ++counts[child.name];
  std::map<std::string, uint64_t, std::less<>> numbers;
  for (const Child& child : children) {
    const std::string path = above + child.name;
    const uint64_t count = counts[child.name];
    const uint64_t number = ++numbers[child.name];
    if (count > MANY && !typed.starts_with(path + "[")) {
      if (number == 1) candidates.offer(path + "[");
      continue;
    }
    std::string step = path;
    if (count > 1) step.append("[").append(std::to_string(number)).append("]");
    if (child.isGroup) step += '/';
    candidates.offer(step, child.description);
  }
}

// --- what a word may be

class CommandLine {
 public:
  // The words after the command's name. The last one is being typed.
  CommandLine(const Command& command, std::span<const std::string> words)
      : command(command), synopsis(wordsOf(command.synopsis)), current(words.back()) {
    for (const std::string& word : words.first(words.size() - 1)) take(word);
  }

  int complete() const {
    if (awaitsValue) return completeAs(valueKind(*awaitsValue), current);
    if (!optionsEnd && current.starts_with('-')) return completeOption();
    return completeAs(operandKind(), current);
  }

 private:
  static bool isLower(char character) { return character >= 'a' && character <= 'z'; }

  void take(const std::string& word) {
    if (awaitsValue) {
      awaitsValue = nullptr;
    } else if (optionsEnd || word.size() < 2 || word[0] != '-') {
      operands.push_back(word);
    } else if (word == "--") {
      optionsEnd = true;
    } else if (const Option* option = find(word); option && option->takesValue) {
      awaitsValue = option;
    }
  }

  const Option* find(std::string_view word) const {
    const auto option = std::ranges::find_if(command.options, [&](const Option& each) {
      return word == each.name || word == each.shortName;
    });
    return option == command.options.end() ? nullptr : &*option;
  }

  int completeOption() const {
    const std::size_t equals = std::min(current.find('='), current.size());
    const Option* option = find(std::string_view(current).substr(0, equals));
    if (equals < current.size() && option && option->takesValue) {
      return completeAs(valueKind(*option), current, equals + 1);
    }
    offerOptions(command, Candidates(current));
    return 0;
  }

  // The word that the synopsis has for the value of an option.
  std::string_view valueKind(const Option& option) const {
    for (std::size_t i = 1; i < synopsis.size(); ++i) {
      if (synopsis[i - 1] == option.name || synopsis[i - 1] == option.shortName) return synopsis[i];
    }
    return "";
  }

  // The word that the synopsis has for the next operand. One that ends in "..." stands for all
  // operands from there on.
  std::string_view operandKind() const {
    std::size_t operand = 0;
    for (std::size_t i = 0; i < synopsis.size(); ++i) {
      if (synopsis[i].starts_with('-')) {
        const Option* option = find(synopsis[i]);
        if (option && option->takesValue) ++i;
      } else if (operand++ == operands.size() || synopsis[i].ends_with("...")) {
        return synopsis[i];
      }
    }
    return "";
  }

  // `kind` is the word that the synopsis has for what is typed, from current[begin] on.
  int completeAs(std::string_view kind, std::string_view typed, std::size_t begin = 0) const {
    const Candidates candidates(typed.substr(begin), typed.substr(0, begin));
    if (kind.starts_with("FILE") || kind == "OUTPUT") return begin == 0 ? COMPLETE_FILES : 0;
    if (kind.starts_with("PATH") && !operands.empty()) {
      offerChunks(operands[0], typed.substr(begin), candidates);
    } else if (std::ranges::all_of(kind, isLower)) {
      for (const std::string_view word : synopsis) {
        if (std::ranges::all_of(word, isLower)) candidates.offer(word);
      }
    }
    return 0;
  }

  const Command& command;
  std::vector<std::string_view> synopsis;
  const std::string& current;
  std::vector<std::string> operands;
  const Option* awaitsValue = nullptr;  // the option before the current word
  bool optionsEnd = false;
};

}  // namespace

int completeWords(std::span<const Command* const> commands, std::span<const std::string> words) {
  if (words.empty()) return 0;
  const Candidates candidates(words.back());
  if (words.size() == 1 || (words.size() == 2 && words[0] == "help")) {
    offerCommands(commands, candidates);
    return 0;
  }
  const auto command = std::ranges::find(commands, words[0], &Command::name);
  if (command == commands.end()) return 0;
  try {
    return CommandLine(**command, words.subspan(1)).complete();
  } catch (const std::exception&) {
    return 0;  // what has been typed names no chunk
  }
}

}  // namespace tool
