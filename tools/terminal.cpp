#include "terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace tool {

namespace {

std::string_view variable(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
  return value ? value : "";
}

bool wantsColour() {
  return ::isatty(STDOUT_FILENO) == 1 && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
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
  }
  return "";
}

}  // namespace

std::string styled(Style style, std::string_view text) {
  static const bool COLOUR = wantsColour();
  if (!COLOUR) return std::string(text);
  return std::string(sequenceOf(style)).append(text).append("\x1b[0m");
}

}  // namespace tool
