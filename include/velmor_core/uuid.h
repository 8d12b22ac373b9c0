/** Universally unique identifiers: random ones, and their text form (RFC 4122).
 *
 *  A null pointer to a record or text buffer is tested for nowhere; the two parse functions test
 *  their text.
 */
#ifndef VELMOR_CORE_UUID_H
#define VELMOR_CORE_UUID_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A UUID. Its bytes stand in the order of the text form, the first one weighing most in
 *  comparisons. All 0 is the null UUID.
 */
typedef struct {
  /** The 16 bytes, in the order of the text form. */
  uint8_t bytes[16];
} velmor_core_uuid_t;

/** The size in bytes of a UUID's text form: 36 characters and a terminating NUL. */
#define VELMOR_CORE_UUID_TEXT_SIZE 37

/** Make a random UUID: version 4 of RFC 4122, with 122 bits from the kernel's random source.
 *
 *  Reads getrandom(2), and waits where the system has just started and its source is not ready.
 *  Nothing is kept between calls, so neither threads nor fork() lead to equal UUIDs.
 *
 *  The random source can fail only on a system that denies the call. There is no result to tell of
 *  it; the record stays as it is. Who has to know clears the record first and tests it afterwards
 *  with velmor_core_uuid_is_null(): a random UUID is never null.
 *
 *  Out:  uuid  receives the UUID
 */
VELMOR_CORE_API void velmor_core_uuid_generate_random(velmor_core_uuid_t* uuid);

/** Make a UUID the null UUID.
 *
 *  Out:  uuid  receives 16 bytes of 0
 */
VELMOR_CORE_API void velmor_core_uuid_clear(velmor_core_uuid_t* uuid);

/** Read a UUID from text.
 *
 *  The text has to be, from its first to its last character, one of
 *
 *    00112233-4455-6677-8899-aabbccddeeff
 *    00112233445566778899aabbccddeeff
 *    {00112233-4455-6677-8899-aabbccddeeff}
 *    {00112233445566778899aabbccddeeff}
 *
 *  with digits in upper or lower case. There is no other form: no white space around it, no prefix,
 *  no other or fewer separators.
 *
 *  In:   text  bytes up to a NUL; may be null
 *  Out:  uuid  receives the UUID
 *
 *  Returns true, or false when the text is null, empty or no UUID: the record is untouched.
 */
VELMOR_CORE_API bool velmor_core_uuid_parse(const char* text, velmor_core_uuid_t* uuid);

/** Read a UUID from a part of a text.
 *
 *  Takes the forms of velmor_core_uuid_parse(). No byte behind the given ones is read, and a NUL
 *  among them is no digit.
 *
 *  In:   text    bytes, with or without a NUL behind them; may be null
 *        length  their number, 0 allowed
 *  Out:  uuid    receives the UUID
 *
 *  Returns true, or false when the text is null, empty or no UUID: the record is untouched.
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

/** Whether a comes after b in the order of the bytes, taken as unsigned, the first one that differs
 *  deciding. The order of the lower-case text forms is the same.
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
