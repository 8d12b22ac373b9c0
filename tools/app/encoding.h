// Texts in the encoding that a user names, and in UTF-8.
#ifndef VELMOR_CORE_TOOLS_APP_ENCODING_H
#define VELMOR_CORE_TOOLS_APP_ENCODING_H

#include <optional>
#include <string>
#include <string_view>

namespace tool {

class Encoding {
 public:
  // UTF-8.
  Encoding() = default;
  // An encoding by its name for iconv, such as "ISO-8859-1". Throws UsageError if there is no such
  // encoding. Also throws UsageError if the letter A is not the single byte that it is in ASCII, as
  // in UTF-16 or EBCDIC. In UTF-16, a text would not end in the single NUL byte that files have.
  explicit Encoding(const std::string& name);

  // Both return nothing if the text cannot be converted.
  std::optional<std::string> toUtf8(std::string_view bytes) const;
  std::optional<std::string> fromUtf8(std::string_view text) const;

 private:
  std::string name;  // empty for UTF-8
};

}  // namespace tool

#endif
