/** Strings to numbers, as values: see str_to.h for the texts that are accepted and for their
 *  results.
 */
#ifndef VELMOR_CORE_STR_TO_HPP
#define VELMOR_CORE_STR_TO_HPP

#include <velmor_core/base.hpp>
#ifndef VELMOR_CORE_CPP_TOO_OLD
#include <velmor_core/str_to.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace velmor_core {

/** The number that a text gives, as int64_t, uint64_t or double; empty if the text is rejected or
 *  null, or memory runs out. The text ends at its NUL and is not copied.
 */
template <typename Number>
[[nodiscard]] std::optional<Number> toNumber(const char* text, const std::nothrow_t&) noexcept {
  static_assert(std::is_same<Number, int64_t>::value || std::is_same<Number, uint64_t>::value ||
                    std::is_same<Number, double>::value,
                "numbers are int64_t, uint64_t or double");
  Number value{};
  bool isValid = false;
  if (!text) return std::nullopt;
  if constexpr (std::is_same<Number, int64_t>::value) {
    isValid = velmor_core_str_to_i64(text, &value);
  } else if constexpr (std::is_same<Number, uint64_t>::value) {
    isValid = velmor_core_str_to_u64(text, &value);
  } else {
    isValid = velmor_core_str_to_f64(text, &value);
  }
  return isValid ? std::optional<Number>(value) : std::nullopt;
}

/** The same for a std::string, which is not copied either. A NUL among its characters is rejected.
 */
template <typename Number>
[[nodiscard]] std::optional<Number> toNumber(const std::string& text,
                                             const std::nothrow_t&) noexcept {
  if (text.find('\0') != std::string::npos) return std::nullopt;
  return toNumber<Number>(text.c_str(), std::nothrow);
}

/** The same for a part of a text, which need not end in a NUL; a NUL among its characters is
 *  rejected. The text is copied, because the conversion needs a NUL. A copy of up to 63 bytes is on
 *  the stack, a longer one in allocated memory.
 */
template <typename Number>
[[nodiscard]] std::optional<Number> toNumber(std::string_view text,
                                             const std::nothrow_t&) noexcept {
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  char small[64];
  std::unique_ptr<char[]> large;
  char* copy = small;
  if (text.size() >= sizeof small) {
    large.reset(new (std::nothrow) char[text.size() + 1]);
    if (!large) return std::nullopt;
    copy = large.get();
  }
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return toNumber<Number>(static_cast<const char*>(copy), std::nothrow);
}

#ifdef __cpp_exceptions
/** The same for all three kinds of text. Throws Error instead of returning an empty value. */
template <typename Number, typename Text>
[[nodiscard]] Number toNumber(const Text& text) {
  const std::optional<Number> value = toNumber<Number>(text, std::nothrow);
  if (!value) detail::fail("not a number or expression");
  return *value;
}
#endif

}  // namespace velmor_core

#endif  // C++17
#endif
