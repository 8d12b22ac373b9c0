/** Universally unique identifiers: random ones, and their text form (RFC 4122).
 *
 *  No pointer to a record or to a text buffer may be null; this is not tested. The text that the
 *  two parse functions read may be null.
 */
#ifndef VELMOR_CORE_UUID_H
#define VELMOR_CORE_UUID_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A UUID: 16 bytes. All bytes of the null UUID are 0. */
typedef struct {
  /** The 16 bytes, in the order of the text form. */
  uint8_t bytes[16];
} velmor_core_uuid_t;

/** The size in bytes of a UUID's text form: 36 characters and a terminating NUL. */
#define VELMOR_CORE_UUID_TEXT_SIZE 37

/** Make a random UUID: version 4 of RFC 4122, with 122 bits from the kernel's random source.
 *
 *  Calls getrandom(2). Directly after the system has started, this can wait until the random source
 *  is ready. Nothing is kept between calls, so all threads get different UUIDs, and so do
 *  both processes after fork(2).
 *
 *  The random source fails only on a system that forbids the call. This is not reported, and the
 *  record stays as it is. To find out, clear the record before the call and test it afterwards with
 *  velmor_core_uuid_is_null(): a random UUID is never null.
 *
 *  Out:  uuid  receives the UUID
 */
VELMOR_CORE_API void velmor_core_uuid_generate_random(velmor_core_uuid_t* uuid);

/** Set a UUID to the null UUID.
 *
 *  Out:  uuid  receives 16 bytes of 0
 */
VELMOR_CORE_API void velmor_core_uuid_clear(velmor_core_uuid_t* uuid);

/** Read a UUID from text.
 *
 *  The whole text has to have one of these forms:
 *
 *    00112233-4455-6677-8899-aabbccddeeff
 *    00112233445566778899aabbccddeeff
 *    {00112233-4455-6677-8899-aabbccddeeff}
 *    {00112233445566778899aabbccddeeff}
 *
 *  Digits may be in upper or lower case. No other form is accepted: a text with white space, with a
 *  prefix, with hyphens at other places, or with only some of the hyphens is invalid.
 *
 *  In:   text  bytes up to a NUL; may be null, which fails
 *  Out:  uuid  receives the UUID
 *
 *  Returns true, or false if the text is null or no UUID; on false, the record is untouched
 */
VELMOR_CORE_API bool velmor_core_uuid_parse(const char* text, velmor_core_uuid_t* uuid);

/** Read a UUID from a part of a text.
 *
 *  Accepts the forms of velmor_core_uuid_parse(). No byte after the given ones is read. A NUL among
 *  them makes the text invalid.
 *
 *  In:   text    bytes, no NUL needed after them; may be null, which fails
 *        length  their number; 0 fails
 *  Out:  uuid    receives the UUID
 *
 *  Returns true, or false if the text is null or no UUID; on false, the record is untouched
 */
VELMOR_CORE_API bool velmor_core_uuid_parse2(const char* text, uint64_t length,
                                             velmor_core_uuid_t* uuid);

/** Write a UUID as text: 00112233-4455-6677-8899-aabbccddeeff, in lower case.
 *
 *  In:   uuid  the UUID
 *  Out:  text  receives VELMOR_CORE_UUID_TEXT_SIZE bytes, the last of them NUL
 */
VELMOR_CORE_API void velmor_core_uuid_unparse(const velmor_core_uuid_t* uuid, char* text);

/** Whether a UUID is the null UUID: all 16 bytes are 0. */
VELMOR_CORE_API bool velmor_core_uuid_is_null(const velmor_core_uuid_t* uuid);

/** Copy a UUID.
 *
 *  Out:  to    receives the UUID; may be the same record as from
 *  In:   from  the UUID
 */
VELMOR_CORE_API void velmor_core_uuid_copy(velmor_core_uuid_t* to, const velmor_core_uuid_t* from);

/** Whether a and b are the same UUID. */
VELMOR_CORE_API bool velmor_core_uuid_compare_eq(const velmor_core_uuid_t* a,
                                                 const velmor_core_uuid_t* b);

/** Whether a comes after b.
 *
 *  The first byte that differs decides, as an unsigned number. The lower-case text forms have the
 *  same order.
 */
VELMOR_CORE_API bool velmor_core_uuid_compare_gt(const velmor_core_uuid_t* a,
                                                 const velmor_core_uuid_t* b);

/** Whether a comes before b, in the order of velmor_core_uuid_compare_gt(). */
VELMOR_CORE_API bool velmor_core_uuid_compare_lt(const velmor_core_uuid_t* a,
                                                 const velmor_core_uuid_t* b);

#ifdef __cplusplus
}
#endif

#endif
