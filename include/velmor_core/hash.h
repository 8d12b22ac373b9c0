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
 *  It cannot fail, since it allocates nothing. It uses the SHA instructions if the processor has
 *  them. velmor_core_init() is not needed.
 *
 *  In:   data    the bytes to hash, of any alignment; may be null if size is 0
 *        size    their number, 0 allowed
 *  Out:  digest  receives VELMOR_CORE_HASH_SHA256_SIZE bytes; may overlap the data; not null
 */
VELMOR_CORE_API void velmor_core_hash_sha256(const void* data, uint64_t size, uint8_t* digest);

#ifdef __cplusplus
}
#endif

#endif
