// The C functions of the hash family.

#include <velmor_core/hash.h>

#include "core/sha256.h"

void velmor_core_hash_sha256(const void* data, uint64_t size, uint8_t* digest) {
  core::digestSha256({static_cast<const uint8_t*>(data), size}, digest);
}
