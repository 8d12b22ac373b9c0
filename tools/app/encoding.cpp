// Converts texts with iconv.

#include "app/encoding.h"

#include <iconv.h>

#include <array>
#include <cerrno>

#include "app/errors.h"
#include "app/text.h"

namespace tool {

namespace {

constexpr const char* UTF_8 = "UTF-8";

// An open conversion of iconv.
class Conversion {
 public:
  Conversion(const std::string& to, const std::string& from)
      : handle(::iconv_open(to.c_str(), from.c_str())) {}
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;
  ~Conversion() {
    if (isOpen()) ::iconv_close(handle);
  }

  bool isOpen() const { return handle != reinterpret_cast<iconv_t>(-1); }  // NOLINT: iconv's own

  std::optional<std::string> run(std::string_view text) {
    if (!isOpen()) return std::nullopt;
    std::string source(text);  // iconv's parameter is no pointer to const
    char* from = source.data();
    std::size_t left = source.size();
    std::string result;
    // The second call writes the sequence that returns a stateful encoding to its initial state.
    if (!convert(&from, &left, result) || !convert(nullptr, nullptr, result)) return std::nullopt;
    return result;
  }

 private:
  bool convert(char** from, std::size_t* left, std::string& result) {
    std::array<char, 1024> block{};
    for (;;) {
      char* to = block.data();
      std::size_t room = block.size();
      const std::size_t count = ::iconv(handle, from, left, &to, &room);
      const int error = errno;
      result.append(block.data(), to);
      if (count != static_cast<std::size_t>(-1)) return true;
      if (error != E2BIG) return false;
    }
  }

  iconv_t handle;
};

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = characterSize(text);
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

}  // namespace

Encoding::Encoding(const std::string& name) : name(name) {
  if (!Conversion(name, UTF_8).isOpen() || !Conversion(UTF_8, name).isOpen()) {
    throw UsageError("there is no encoding \"" + name + "\" (\"iconv --list\" shows them)");
  }
  if (fromUtf8("A") != "A") {
    throw UsageError("the encoding " + name +
                     " cannot be used: it does not store ASCII characters as ASCII does");
  }
}

std::optional<std::string> Encoding::toUtf8(std::string_view bytes) const {
  if (!name.empty()) return Conversion(UTF_8, name).run(bytes);
  return isUtf8(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
}

std::optional<std::string> Encoding::fromUtf8(std::string_view text) const {
  if (!isUtf8(text)) return std::nullopt;
  return name.empty() ? std::optional<std::string>(text) : Conversion(name, UTF_8).run(text);
}

}  // namespace tool
