// Generates, parses and formats UUIDs (RFC 4122).

#ifndef CORE_UUID_H
#define CORE_UUID_H

#include <array>
#include <cstdint>

namespace core {

// The bytes in the order of the text form.
using Uuid = std::array<uint8_t, 16>;

constexpr uint64_t UUID_TEXT_LENGTH = 36;  // characters, without a NUL

// Returns a UUID of version 4 with random bits from getrandom(). If the system denies them, throws
// boost::uuids::entropy_error, a std::runtime_error.
Uuid generateRandomUuid();

// Parses a UUID that takes all `length` bytes: hexadecimal digits in either case, with hyphens
// between all groups or none, with or without braces. Throws std::runtime_error for any other text.
Uuid parseUuid(const char* text, uint64_t length);

// The fast path for the form that nearly all texts have: 36 characters, with hyphens and without
// braces. Writes the 16 bytes to uuid and returns true. If the 36 characters at text have another
// form, returns false and leaves uuid unchanged.
bool parseHyphenatedUuid(const char* text, uint8_t* uuid) noexcept;

// Writes the text form of the 16 bytes at uuid: lower case, with hyphens, 36 characters and a NUL.
void formatUuid(const uint8_t* uuid, char* text) noexcept;

}  // namespace core

#endif
