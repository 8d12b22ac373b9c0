// Making, reading and writing UUIDs (RFC 4122), with Boost.UUID inside.

#ifndef CORE_UUID_H
#define CORE_UUID_H

#include <array>
#include <cstdint>

namespace core {

// The bytes in the order of the text form.
using Uuid = std::array<uint8_t, 16>;

constexpr uint64_t UUID_TEXT_LENGTH = 36;  // characters, without a NUL

// Version 4, from getrandom(). Throws boost::uuids::entropy_error, a std::runtime_error, when the
// system denies random bytes.
Uuid generateRandomUuid();

// Reads all `length` bytes as one UUID: hexadecimal digits in either case, with hyphens between all
// groups or none, bare or in braces. Throws std::runtime_error on anything else.
Uuid parseUuid(const char* text, uint64_t length);

// Lower case, with hyphens.
std::array<char, UUID_TEXT_LENGTH> formatUuid(const Uuid& uuid);

}  // namespace core

#endif
