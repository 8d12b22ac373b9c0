// The C functions of the hash family.

#include <velmor_core/hash.h>

#include "core/sha256.h"

void velmor_core_hash_sha256(const void* data, uint64_t size, uint8_t* digest) {
  core::Sha256Hasher hasher;
  hasher.update({static_cast<const uint8_t*>(data), size});
  hasher.finish();
  hasher.write_digest({digest, VELMOR_CORE_HASH_SHA256_SIZE});
}
