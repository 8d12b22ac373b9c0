/** What every C++ header of velmor-core needs: the error that is thrown, and views of bytes.
 *
 *  velmor_core.hpp has the rules that hold for all of them.
 */
#ifndef VELMOR_CORE_BASE_HPP
#define VELMOR_CORE_BASE_HPP

#if defined(__cplusplus) && __cplusplus < 201703L
#error "the C++ headers of velmor-core need C++17 or later"
#define VELMOR_CORE_CPP_TOO_OLD 1
#else

#include <velmor_core/base.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#if __cplusplus >= 202002L
#include <compare>
#include <span>
#endif

namespace velmor_core {

#ifdef __cpp_exceptions
/** What the throwing forms throw. Absent under -fno-exceptions, as these forms are. */
class Error : public std::runtime_error {
 public:
  /** An error with this text and status. */
  explicit Error(const char* what, int32_t status = VELMOR_CORE_FAILURE)
      : std::runtime_error(what), code(status) {}
  /** VELMOR_CORE_FAILURE or VELMOR_CORE_BAD_HANDLE. */
  int32_t status() const noexcept { return code; }

 private:
  int32_t code;
};
#endif

/* Internal to these headers. Programs must not use it. */
namespace detail {

#ifdef __cpp_exceptions
[[noreturn]] inline void fail(const char* what, int32_t status = VELMOR_CORE_FAILURE) {
  throw Error(what, status);
}
#endif

template <typename Range>
using ElementOf = std::remove_pointer_t<decltype(std::data(std::declval<Range&>()))>;

// Whether Range is contiguous and its elements can be copied as bytes.
template <typename Range, typename = void>
struct IsByteRange : std::false_type {};
template <typename Range>
struct IsByteRange<Range,
                   std::void_t<ElementOf<Range>, decltype(std::size(std::declval<Range&>()))> >
    : std::is_trivially_copyable<ElementOf<Range> > {};

// Whether Range is an array of char. It may hold a text, or bytes with a NUL among them.
template <typename Range>
struct IsCharArray
    : std::bool_constant<
          std::is_array<Range>::value &&
          std::is_same<std::remove_cv_t<std::remove_extent_t<Range> >, char>::value> {};

// Whether the elements outlive an argument of type Range&&. They do for an lvalue and for a view.
#if __cplusplus >= 202002L
template <typename Range>
struct IsBorrowed
    : std::bool_constant<std::is_lvalue_reference_v<Range> ||
                         std::ranges::enable_borrowed_range<std::remove_cv_t<Range> > > {};
#else
template <typename Range>
struct IsBorrowed : std::is_lvalue_reference<Range> {};
template <typename Char, typename Traits>
struct IsBorrowed<std::basic_string_view<Char, Traits> > : std::true_type {};
template <typename Char, typename Traits>
struct IsBorrowed<const std::basic_string_view<Char, Traits> > : std::true_type {};
#endif

}  // namespace detail

/** A view of bytes to read, made implicitly from what a caller has. It is two words and copies
 *  nothing. It is valid as long as the range that it was made from. A temporary range can be an
 *  argument, since it lives until the call returns.
 *
 *  It can be made from any contiguous range of trivially copyable elements: std::vector,
 *  std::array, std::string, std::string_view, std::span, arrays. String literals and const char*
 *  are text and end before their first NUL. An array of char that is not const does not compile,
 *  because it may hold either text or bytes: pass a std::string_view or std::span of it.
 */
class Bytes {
 public:
  /** No bytes. */
  constexpr Bytes() noexcept = default;
  /** `size` bytes at an address, which may be null if there are none. */
  constexpr Bytes(const void* data, uint64_t size) noexcept : first(data), count(size) {}
  /** The characters of a text, without its NUL; no bytes for null. */
  constexpr Bytes(const char* text) noexcept  // NOLINT(google-explicit-constructor)
      : first(text), count(text ? std::string_view(text).size() : 0) {}
  Bytes(std::nullptr_t) = delete;  ///< A literal 0 does not compile.
  /** The bytes of a range. */
  template <typename Range, std::enable_if_t<detail::IsByteRange<const Range>::value &&
                                                 !detail::IsCharArray<Range>::value,
                                             int> = 0>
  constexpr Bytes(const Range& range) noexcept  // NOLINT(google-explicit-constructor)
      : first(std::data(range)),
        count(uint64_t{std::size(range)} * sizeof(detail::ElementOf<const Range>)) {}
  /** Does not compile: pass std::string_view(array) for text, std::span(array) for bytes. */
  template <std::size_t Size>
  Bytes(char (&)[Size]) = delete;

  /** The first byte; may be null if there are none. */
  constexpr const void* data() const noexcept { return first; }
  /** The number of bytes. */
  constexpr uint64_t size() const noexcept { return count; }

 private:
  const void* first = nullptr;
  uint64_t count = 0;
};

/** A view of bytes to fill, made implicitly from the ranges that Bytes takes, if their elements can
 *  be written. It can also be made from an array of char. A temporary std::span is accepted, but a
 *  temporary container does not compile.
 */
class MutableBytes {
 public:
  /** No bytes. */
  constexpr MutableBytes() noexcept = default;
  /** `size` bytes at an address. */
  constexpr MutableBytes(void* data, uint64_t size) noexcept : first(data), count(size) {}
  /** The bytes of a range. */
  template <typename Range,
            std::enable_if_t<detail::IsByteRange<std::remove_reference_t<Range> >::value &&
                                 !std::is_const<detail::ElementOf<Range> >::value &&
                                 detail::IsBorrowed<Range>::value,
                             int> = 0>
  constexpr MutableBytes(Range&& range) noexcept  // NOLINT(google-explicit-constructor)
      : first(std::data(range)),
        count(uint64_t{std::size(range)} * sizeof(detail::ElementOf<Range>)) {}

  /** The first byte; may be null if there are none. */
  constexpr void* data() const noexcept { return first; }
  /** The number of bytes. */
  constexpr uint64_t size() const noexcept { return count; }

 private:
  void* first = nullptr;
  uint64_t count = 0;
};

namespace detail {

// Whether an argument of type Range&& can be opened as a buffer. Its bytes must outlive it, and it
// must not be text.
template <typename Range, typename Plain = std::remove_cv_t<std::remove_reference_t<Range> > >
struct IsBuffer : std::bool_constant<std::is_same_v<Plain, Bytes> ||
                                     (IsByteRange<Plain>::value && !IsCharArray<Plain>::value &&
                                      IsBorrowed<Range>::value)> {};

}  // namespace detail

}  // namespace velmor_core

#endif  // C++17
#endif
