// Generates, parses and formats UUIDs. Boost.UUID generates and parses.

#include "core/uuid.h"

#include <algorithm>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>

namespace core {
namespace {

Uuid toBytes(const boost::uuids::uuid& uuid) {
  Uuid bytes{};
  std::copy(uuid.begin(), uuid.end(), bytes.begin());
  return bytes;
}

}  // namespace

// A new generator for each call. It keeps no state and only calls the system's random source.
Uuid generateRandomUuid() { return toBytes(boost::uuids::random_generator_pure()()); }

Uuid parseUuid(const char* text, uint64_t length) {
  return toBytes(boost::uuids::string_generator()(text, text + length));
}

// Written out, since Boost's formatting allocates a std::string. This cannot fail and is faster.
std::array<char, UUID_TEXT_LENGTH> formatUuid(const Uuid& uuid) {
  static constexpr char DIGITS[] = "0123456789abcdef";
  std::array<char, UUID_TEXT_LENGTH> text{};
  auto out = text.begin();
  for (unsigned i = 0; i < uuid.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) *out++ = '-';
    *out++ = DIGITS[uuid[i] >> 4];
    *out++ = DIGITS[uuid[i] & 0x0F];
  }
  return text;
}

}  // namespace core
