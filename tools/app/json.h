// JSON (RFC 8259) as the commands print it. docs/velmor-core.schema.json describes all lines.
#ifndef VELMOR_CORE_TOOLS_APP_JSON_H
#define VELMOR_CORE_TOOLS_APP_JSON_H

#include <string>
#include <string_view>

namespace tool {

// A JSON string, with its quotes. File names and texts in files may have any bytes: U+FFFD replaces
// bytes that are no UTF-8.
std::string quoted(std::string_view text);

// The start of the line that a command prints for a file: {"version":1,"command":...,"file":...
std::string jsonStart(std::string_view command, std::string_view file);

}  // namespace tool

#endif
