/** SHA-256 of ranges of bytes and of text: see hash.h. */
#ifndef VELMOR_CORE_HASH_HPP
#define VELMOR_CORE_HASH_HPP

#include <velmor_core/base.hpp>
#ifndef VELMOR_CORE_CPP_TOO_OLD
#include <velmor_core/hash.h>

#include <array>

namespace velmor_core {

/** The bytes of a SHA-256 digest, in the order in which they are written as text. */
using Sha256 = std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE>;

/** The SHA-256 digest of a range of bytes, or of a text without its NUL (see Bytes). Cannot fail;
 *  allocates nothing.
 */
inline Sha256 sha256(Bytes bytes) noexcept {
  Sha256 digest{};
  velmor_core_hash_sha256(bytes.data(), bytes.size(), digest.data());
  return digest;
}

}  // namespace velmor_core

#endif  // C++17
#endif
