// What only terminals get: colour, and a line that shows progress.
#ifndef VELMOR_CORE_TOOLS_APP_TERMINAL_H
#define VELMOR_CORE_TOOLS_APP_TERMINAL_H

#include <string>
#include <string_view>

namespace tool {

enum class Style { TITLE, GROUP, FREE, WARNING, GROUP_BOX, DATA_BOX, FREE_BOX, OTHER_BOX };

// The text in its style if standard output is a terminal with colour and the environment variable
// NO_COLOR (see no-color.org) is not set; otherwise the text unchanged.
std::string styled(Style style, std::string_view text);

// Whether standard output is a terminal. In a worker: whether the main process's is one.
bool outputIsTerminal();
// The columns of the terminal on standard output; without one, those of the environment variable
// COLUMNS, or 80.
std::size_t outputWidth();
bool errorsAreSeen();  // standard error is a terminal

// These write to standard error and may be called by several threads.

// Shows a progress line: `what` names the work, `state` says how far it is. The next line or
// message replaces it. `what` is shortened if the terminal is too narrow.
void showProgressLine(std::string_view what, std::string_view state);
void clearProgressLine();
// For a new worker: the line on the terminal is not its own.
void forgetProgressLine();
// Prints a message and a line end in one piece.
void printMessage(std::string_view text);

}  // namespace tool

#endif
