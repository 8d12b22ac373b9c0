// Writes parts of JSON.

#include "app/json.h"

#include "app/text.h"

namespace tool {

std::string quoted(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t size = characterSize(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    if (size == 0) {
      json += "\\ufffd";
    } else if (byte < ' ' || byte == 0x7F) {
      json.append("\\u00").append(hexDigits(byte));
    } else {
      if (byte == '"' || byte == '\\') json += '\\';
      json += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return json += '"';
}

std::string jsonStart(std::string_view command, std::string_view file) {
  return "{\"version\":1,\"command\":" + quoted(command) + ",\"file\":" + quoted(file);
}

}  // namespace tool
