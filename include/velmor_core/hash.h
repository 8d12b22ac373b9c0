/** Digests of bytes in memory. */
#ifndef VELMOR_CORE_HASH_H
#define VELMOR_CORE_HASH_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The size of a SHA-256 digest in bytes. */
#define VELMOR_CORE_HASH_SHA256_SIZE 32

/** The SHA-256 digest of a buffer (FIPS 180-4, Secure Hash Standard).
 *
 *  Cannot fail: nothing is allocated, and the data are read where they lie. A processor with the
 *  SHA extensions uses them, with or without velmor_core_init().
 *
 *  In:   data    the bytes to hash, at any address; may be null when size is 0
 *        size    their number, 0 allowed
 *  Out:  digest  receives VELMOR_CORE_HASH_SHA256_SIZE bytes; may overlap the data
 */
VELMOR_CORE_API void velmor_core_hash_sha256(const void* data, uint64_t size, uint8_t* digest);

#ifdef __cplusplus
}
#endif

#endif
