// velmor-core: shows RIFF files as trees of chunks and edits them.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <iomanip>
#include <iostream>
#include <new>

#include "app/command.h"
#include "app/errors.h"
#include "app/signals.h"
#include "app/terminal.h"

namespace tool {
namespace {

constexpr std::array COMMANDS = {&TREE,   &MAP,    &DIFF,    &SHOW,   &EXTRACT, &TAG,    &SET,
                                 &ADD,    &REMOVE, &RECYCLE, &EDIT,   &STRIP,   &CHECK,  &VERIFY,
                                 &REPAIR, &NUM,    &UUID,    &SHA256, &CPU,     &VERSION};

constexpr std::string_view OVERVIEW_TAIL = R"(
A PATH names a chunk from the top of the file, step by step: RIFF:WAVE/LIST:INFO/INAM. A step is a
chunk id. For a group, a colon and the group id may follow. Ids shorter than four characters are
padded with spaces ("fmt" is "fmt "). If several chunks fit a step, a number selects one of them,
counted from 1: RIFF/LIST[2]/data. For "remove" and "recycle", RIFF/JUNK[*] names all chunks that
fit. In an id, \xHH stands for the byte with that hexadecimal value.

Commands whose usage has "FILE..." work on N files at the same time with --jobs N (or -j N). With
--jobs 0, N is the number of processors. Without the option, N is 1, but 8 for "tag" when it sets
tags. The output about a file stays together, and the files keep their order. If one file fails, the
command still works on the others. The exit status is the highest one of all files.

A command that changes a file leaves the complete old file or the complete new one. This holds also
after a signal, a full disk, an I/O error, a power cut or an edit by another program. The edit is
made in a copy, which replaces the file when it is complete and on the disk. Only --in-place cannot
promise this. If such an edit is interrupted, a marker file stays beside the file. See
"velmor-core set --help".

Exit status: 0 done, 1 failed, 2 wrong use. "check" also gives 3: a file cannot be read.
"diff" gives 1 for files that differ, and 2 if one cannot be read.
"velmor-core COMMAND --help" explains a command.
)";

void printOverview() {
  constexpr int NAME_WIDTH = 10;
  std::cout << "Show, check and edit RIFF files (WAV, AVI, WebP and others).\n\n"
            << "Usage: velmor-core COMMAND [ARGUMENT...]\n\nCommands:\n";
  for (const Command* command : COMMANDS) {
    std::cout << "  " << std::left << std::setw(NAME_WIDTH) << command->name << command->summary
              << '\n';
  }
  std::cout << OVERVIEW_TAIL;
}

std::string usageOf(const Command& command) {
  return std::string(command.name)
      .append(command.synopsis.empty() ? "" : " ")
      .append(command.synopsis);
}

void printHelp(const Command& command) {
  std::cout << "Usage: velmor-core " << usageOf(command) << "\n\n"
            << command.summary << ".\n"
            << command.help << "\nExamples:" << command.examples;
}

const Command& findCommand(std::string_view name) {
  const auto* const* found = std::ranges::find(COMMANDS, name, &Command::name);
  if (found == COMMANDS.end()) {
    const std::string word(name);
    const bool isFile = access(word.c_str(), F_OK) == 0;
    throw UsageError("there is no command \"" + word + "\"" +
                     (isFile ? ": \"velmor-core tree\" shows the chunks of this file" : ""));
  }
  return **found;
}

bool asksForHelp(std::span<const std::string> words) {
  const auto end = std::ranges::find(words, "--");
  return std::any_of(words.begin(), end,
                     [](const std::string& word) { return word == "--help" || word == "-h"; });
}

// Says what is wrong with the words after "velmor-core" or after a command.
int reportWrongUse(const UsageError& error, const std::string& command = "") {
  complain(error.what());
  printMessage("\"velmor-core " + command + (command.empty() ? "" : " ") +
               "--help\" explains the usage.");
  return WRONG_USE;
}

int runCommand(const Command& command, std::span<const std::string> words) {
  if (asksForHelp(words)) {
    printHelp(command);
    return 0;
  }
  try {
    const Arguments arguments(words, command);
    if (arguments.count() < command.minOperands || arguments.count() > command.maxOperands) {
      throw UsageError("wrong number of arguments: velmor-core " + usageOf(command));
    }
    return command.run(arguments);
  } catch (const UsageError& error) {
    return reportWrongUse(error, std::string(command.name));
  }
}

int run(std::span<const std::string> words) {
  if (words.empty()) throw UsageError("no command given");
  const std::string& first = words[0];
  if (first == "--version") {
    std::cout << versionText();
    return 0;
  }
  if (first == "--help" || first == "-h" || (first == "help" && words.size() == 1)) {
    printOverview();
    return 0;
  }
  if (first == "help") {
    if (words.size() > 2) throw UsageError("help takes one command");
    printHelp(findCommand(words[1]));
    return 0;
  }
  if (first == "complete") return completeWords(COMMANDS, words.subspan(1));
  return runCommand(findCommand(first), words.subspan(1));
}

// Output that cannot be written, for example to a full disk, is a failure too.
int finish(int status) {
  if (std::cout.flush()) return status;
  complain("cannot write the output");
  return 1;
}

}  // namespace
}  // namespace tool

int main(int argc, char** argv) {
  try {
    tool::handleSignals();
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    return tool::finish(tool::run(words));
  } catch (const tool::UsageError& error) {
    return tool::reportWrongUse(error);
  } catch (const std::bad_alloc&) {
    tool::complain("out of memory");
  } catch (const std::exception& error) {
    tool::complain(error.what());
  }
  return 1;
}
