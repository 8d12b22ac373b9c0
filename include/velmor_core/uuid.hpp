/** UUIDs as values: see uuid.h. */
#ifndef VELMOR_CORE_UUID_HPP
#define VELMOR_CORE_UUID_HPP

#include <velmor_core/base.hpp>
#ifndef VELMOR_CORE_CPP_TOO_OLD
#include <velmor_core/uuid.h>

#include <array>
#include <functional>
#include <optional>
#include <string>

namespace velmor_core {

/** A UUID as a value of 16 bytes: copied, compared and hashed freely, with the order of its text
 *  form.
 */
class Uuid {
 public:
  /** The null UUID. */
  constexpr Uuid() noexcept : uuid{} {}
  /** A record of the C interface. */
  constexpr explicit Uuid(const velmor_core_uuid_t& raw) noexcept : uuid(raw) {}

  /** A random UUID (version 4); empty if the system denies random bytes. */
  [[nodiscard]] static std::optional<Uuid> random(const std::nothrow_t&) noexcept {
    Uuid made;
    velmor_core_uuid_generate_random(&made.uuid);
    return made.isNull() ? std::nullopt : std::optional<Uuid>(made);
  }
  /** Reads any of the text forms that uuid.h lists; the view need not be followed by a NUL. Empty
   *  if the text is no UUID.
   */
  [[nodiscard]] static std::optional<Uuid> parse(std::string_view text,
                                                 const std::nothrow_t&) noexcept {
    Uuid parsed;
    if (!velmor_core_uuid_parse2(text.data(), text.size(), &parsed.uuid)) return std::nullopt;
    return parsed;
  }
#ifdef __cpp_exceptions
  /** A random UUID (version 4); throws Error if the system denies random bytes. */
  [[nodiscard]] static Uuid random() {
    const std::optional<Uuid> made = random(std::nothrow);
    if (!made) detail::fail("the system gives no random bytes");
    return *made;
  }
  /** Reads any of the text forms that uuid.h lists; throws Error if the text is no UUID. */
  [[nodiscard]] static Uuid parse(std::string_view text) {
    const std::optional<Uuid> parsed = parse(text, std::nothrow);
    if (!parsed) detail::fail("not a UUID");
    return *parsed;
  }
#endif

  /** The usual 36 characters, in lower case. Allocates the string. To avoid that,
   *  pass get() to velmor_core_uuid_unparse(), which allocates nothing.
   */
  std::string text() const {
    std::array<char, VELMOR_CORE_UUID_TEXT_SIZE> buffer{};
    velmor_core_uuid_unparse(&uuid, buffer.data());
    return std::string(buffer.data(), buffer.size() - 1);
  }
  /** Whether all bytes are 0. */
  bool isNull() const noexcept { return velmor_core_uuid_is_null(&uuid); }
  /** The record for the C interface; valid as long as this value. */
  const velmor_core_uuid_t& get() const noexcept { return uuid; }

  /** Whether all bytes are equal. */
  friend bool operator==(const Uuid& a, const Uuid& b) noexcept {
    return velmor_core_uuid_compare_eq(&a.uuid, &b.uuid);
  }
#if defined(__cplusplus) && __cplusplus < 202002L
  /** Whether any bytes differ. */
  friend bool operator!=(const Uuid& a, const Uuid& b) noexcept { return !(a == b); }
  /** Compares the bytes as unsigned numbers, which is the order of the texts. */
  friend bool operator<(const Uuid& a, const Uuid& b) noexcept {
    return velmor_core_uuid_compare_lt(&a.uuid, &b.uuid);
  }
  /** The same order. */
  friend bool operator>(const Uuid& a, const Uuid& b) noexcept { return b < a; }
  /** The same order. */
  friend bool operator<=(const Uuid& a, const Uuid& b) noexcept { return !(b < a); }
  /** The same order. */
  friend bool operator>=(const Uuid& a, const Uuid& b) noexcept { return !(a < b); }
#else
  /** Compares the bytes as unsigned numbers, which is the order of the texts. */
  friend std::strong_ordering operator<=>(const Uuid& a, const Uuid& b) noexcept {
    if (velmor_core_uuid_compare_lt(&a.uuid, &b.uuid)) return std::strong_ordering::less;
    return a == b ? std::strong_ordering::equal : std::strong_ordering::greater;
  }
#endif

 private:
  velmor_core_uuid_t uuid;
};

}  // namespace velmor_core

namespace std {

/** Hashes all 16 bytes of a UUID, for std::unordered_map and similar containers. */
template <>
struct hash<velmor_core::Uuid> {
  /** The hash of a UUID. */
  std::size_t operator()(const velmor_core::Uuid& uuid) const noexcept {
    const velmor_core_uuid_t& raw = uuid.get();
    return std::hash<std::string_view>()(
        std::string_view(reinterpret_cast<const char*>(raw.bytes), sizeof raw.bytes));
  }
};

}  // namespace std

#endif  // C++17
#endif
