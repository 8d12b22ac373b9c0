// What only terminals get: colour, and a line that shows progress.

#include "app/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <mutex>

namespace tool {

namespace {

std::string_view variable(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
  return value ? value : "";
}

bool wantsColour() {
  return outputIsTerminal() && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
}

std::string_view sequenceOf(Style style) {
  switch (style) {
    case Style::TITLE:
      return "\x1b[1m";
    case Style::GROUP:
      return "\x1b[1;34m";
    case Style::FREE:
      return "\x1b[2m";
    case Style::WARNING:
      return "\x1b[33m";
    case Style::GROUP_BOX:
      return "\x1b[97;44m";
    case Style::DATA_BOX:
      return "\x1b[30;46m";
    case Style::FREE_BOX:
      return "\x1b[37;100m";
    case Style::OTHER_BOX:
      return "\x1b[30;43m";
  }
  return "";
}

// Writes each text to standard error in one piece, so that texts of two threads do not mix.
class ErrorOutput {
 public:
  void show(std::string_view text) {
    const std::lock_guard lock(mutex);
    write("\r", text, CLEAR_TO_END);
    progressIsShown = true;
  }
  void forget() {
    const std::lock_guard lock(mutex);
    progressIsShown = false;
  }
  void print(std::string_view text) {
    const std::lock_guard lock(mutex);
    write(progressIsShown ? CLEAR_LINE : "", text, "");
    progressIsShown = false;
  }

 private:
  static constexpr std::string_view CLEAR_TO_END = "\x1b[K";
  static constexpr std::string_view CLEAR_LINE = "\r\x1b[K";

  static void write(std::string_view before, std::string_view text, std::string_view after) {
    std::string piece(before);
    piece.append(text).append(after);
    std::cerr << piece << std::flush;
  }

  std::mutex mutex;
  bool progressIsShown = false;
};

// The columns of the terminal that standard error is.
std::size_t terminalWidth() {
  constexpr std::size_t USUAL = 80;
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : USUAL;
}

// Whether a byte of UTF-8 continues a character.
bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

ErrorOutput& errorOutput() {
  static ErrorOutput output;
  return output;
}

}  // namespace

bool outputIsTerminal() {
  static const bool IS_TERMINAL = ::isatty(STDOUT_FILENO) == 1;
  return IS_TERMINAL;
}

std::size_t outputWidth() {
  constexpr std::size_t DEFAULT = 80;
  constexpr std::size_t LARGEST = 1000;
  winsize window{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0) return window.ws_col;
  const std::string_view columns = variable("COLUMNS");
  std::size_t width = 0;
  std::from_chars(columns.data(), columns.data() + columns.size(), width);
  return width == 0 ? DEFAULT : std::min(width, LARGEST);
}

bool errorsAreSeen() { return ::isatty(STDERR_FILENO) == 1; }

void showProgressLine(std::string_view what, std::string_view state) {
  constexpr std::string_view CUT = "...";
  const std::size_t width = terminalWidth();
  std::string line(what);
  // Uses the number of bytes as the width. The line is then never too wide, because a character has
  // at least as many bytes as columns.
  if (line.size() + state.size() >= width) {
    std::size_t left = width - std::min(width, state.size() + CUT.size() + 1);
    while (left > 0 && isContinuation(line[left])) --left;
    line.resize(left);
    line += CUT;
  }
  line.append(state).resize(std::min(line.size(), width - 1));
  errorOutput().show(line);
}
void clearProgressLine() { errorOutput().print(""); }
void forgetProgressLine() { errorOutput().forget(); }
void printMessage(std::string_view text) { errorOutput().print(std::string(text).append("\n")); }

std::string styled(Style style, std::string_view text) {
  static const bool COLOUR = wantsColour();
  if (!COLOUR) return std::string(text);
  return std::string(sequenceOf(style)).append(text).append("\x1b[0m");
}

}  // namespace tool
