// Colour, where a person looks.
#ifndef VELMOR_CORE_TOOLS_TERMINAL_H
#define VELMOR_CORE_TOOLS_TERMINAL_H

#include <string>
#include <string_view>

namespace tool {

enum class Style { TITLE, GROUP, FREE, WARNING };

// The text in its style if standard output is a terminal that takes colour and the environment
// does not object (NO_COLOR, see no-color.org), else as it is.
std::string styled(Style style, std::string_view text);

}  // namespace tool

#endif
