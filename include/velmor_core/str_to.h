/** Texts to numbers, with prefixes and arithmetic, as people type them into fields and files.
 *
 *  Numbers.  A number begins with a digit and has no sign of its own:
 *
 *    12            an integer, up to 2^64 - 1; larger ones count as 2^64 - 1
 *    1.5  1e3      a decimal fraction, a decimal exponent ('e' alone, and digits on both sides of
 *    1.5e-3        the point when there is one), or both: rounded to the nearest double
 *    1.5k  4k      an SI prefix: p n u m c d (da) h k M G T, from 10^-12 to 10^12; "da" stands
 *                  behind a decimal fraction only
 *    4k7  4da7     a prefix in place of the decimal point: 4700 and 47
 *    4Ki           a binary prefix: Ki Mi Gi Ti, that is 2^10, 2^20, 2^30, 2^40; integers only
 *
 *  Case counts. The decimal point is '.' under every locale.
 *
 *  Expressions.  From the tightest binding to the loosest: parentheses; ^ (power, grouped from the
 *  right, no sign directly behind it); a sign; * / %; + -. So -2^2 is -4, 2^3^2 is 512, and 2*-3
 *  and 2--3 are valid while --2 and 2^-1 are not: write 2^(-1). The percent sign is the remainder
 *  with the sign of its left operand. There is no limit to length below 2^31 - 1 bytes, and none to
 *  depth.
 *
 *  Blanks.  Spaces, tabs and carriage returns may stand between numbers and operators, and around.
 *
 *  Lines.  A text may have several lines, separated by newlines; empty ones do not count. Every
 *  line has to be one valid expression, and the first is the result.
 *
 *  Calculation.  Everything is computed in IEEE 754 double precision; only the result is converted.
 *  Above 2^53 integers are thus rounded. Integers of 2^63 and more, written out or with a binary
 *  prefix, enter the calculation less 2^64: the text 18446744073709551615 gives that number as an
 *  unsigned integer, but -1 as a signed integer and as a double. Nothing is checked for its range:
 *  1/0 is infinity, 1%0 NaN, and each function tells what becomes of them.
 *
 *  Rounding.  A decimal number is the double nearest to it. A prefix is one multiplication, which
 *  rounds once more: 1.001k is 1000.9999999999999, and 1000 as an integer. Where fractions of a
 *  unit are typed, ask for the double and round it.
 *
 *  Results.  Every function returns true and writes its result, or returns false and leaves the
 *  result as it was: where the text is not valid, holds no expression, has other than ASCII bytes,
 *  or where memory is exhausted. What a text is worth, is the same on every thread and every call.
 */
#ifndef VELMOR_CORE_STR_TO_H
#define VELMOR_CORE_STR_TO_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Convert a text to a signed 64-bit integer.
 *
 *  The value is truncated toward zero: 1.9 gives 1 and -1.9 gives -1. Values from 2^63 on, below
 *  -2^63, infinities and NaN give -9223372036854775808 (INT64_MIN).
 *
 *  In:   str    the text, up to its NUL; not null
 *  Out:  value  receives the integer; not null
 *
 *  Returns true, or false if the text is rejected: value is untouched.
 */
VELMOR_CORE_API bool velmor_core_str_to_i64(const char* str, int64_t* value);

/** Convert a text to an unsigned 64-bit integer.
 *
 *  The value is truncated toward zero. Negative values above -2^63 wrap modulo 2^64: -1 gives
 *  18446744073709551615, and -0.5 gives 0. Values from 2^64 on and positive infinity give 0; values
 *  of -2^63 and less, negative infinity and NaN give 9223372036854775808.
 *
 *  In:   str    the text, up to its NUL; not null
 *  Out:  value  receives the integer; not null
 *
 *  Returns true, or false if the text is rejected: value is untouched.
 */
VELMOR_CORE_API bool velmor_core_str_to_u64(const char* str, uint64_t* value);

/** Convert a text to a double.
 *
 *  The value is given as it is, infinities and NaN included.
 *
 *  In:   str    the text, up to its NUL; not null
 *  Out:  value  receives the double; not null
 *
 *  Returns true, or false if the text is rejected: value is untouched.
 */
VELMOR_CORE_API bool velmor_core_str_to_f64(const char* str, double* value);

#ifdef __cplusplus
}
#endif

#endif
