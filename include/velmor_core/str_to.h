/** Strings to numbers: the numbers and expressions that people type into fields and files.
 *
 *  The input of these functions is a number text: an arithmetic expression over numbers that may
 *  have SI and binary prefixes.
 *
 *  Numbers.  A number begins with a digit. It has no sign of its own and no blanks inside:
 *
 *    12            an integer, up to 2^64 - 1; a larger one counts as 2^64 - 1
 *    1.5           a decimal fraction; the digits after the point may be missing: 1.
 *    1e3  1.5e-3   a decimal exponent after a small e; a point before e needs digits on both sides
 *    4k  1.5k      an SI prefix: p n u m c d h k M G T, from 10^-12 to 10^12
 *    4k7           an SI prefix in place of the decimal point: 4700
 *    1.5da  4da7   the SI prefix da (10): 15 and 47; 4da is rejected, see below
 *    4Ki           a binary prefix, after an integer only: Ki Mi Gi Ti, 2^10 2^20 2^30 2^40
 *
 *  Case matters: m is a thousandth, M a million. The decimal point is '.' in every locale. Leading
 *  zeros mean nothing: 010 is ten.
 *
 *  Expressions.  These are the operators, from the tightest binding to the loosest:
 *
 *    ( )           parentheses
 *    ^             power, grouped from the right: 2^3^2 is 512
 *    + -           a sign: at most one for an operand, and not directly after ^
 *    * / %         product, quotient, remainder with the sign of the left operand
 *    + -           sum, difference
 *
 *  So -2^2 is -4. The texts 2*-3 and 2--3 are valid. A text may have up to 2^31 - 2 bytes.
 *  Parentheses may be nested to any depth.
 *
 *  Blanks.  Spaces, tabs and carriage returns may stand before and after numbers and operators.
 *
 *  Lines.  A text may have several lines, separated by newlines. Empty lines do not count. Each
 *  other line has to be one valid expression. The value of the first expression is the result.
 *
 *  Rejected.  People type these texts, too, but they are not accepted:
 *
 *    1,5           the decimal point is '.'
 *    .5            write 0.5
 *    1.5K  4K      the SI prefix is a small k; 4Ki is 4096
 *    1.5 k         no blank between number and prefix
 *    1.5Ki         a binary prefix needs an integer: write 1.5*1Ki
 *    4da           write 4*10, 4da0 or 4.0da
 *    1.5k7         no digits after the prefix of a number with a point
 *    1.k           no prefix directly after the point: write 1.0k
 *    1E3  1.e3     write 1e3
 *    0x10          no hexadecimal numbers
 *    1_000  1 000  no separators
 *    50%           % is the remainder and needs a right operand
 *    --2  2^-1     write -(-2) and 2^(-1)
 *    2(3)  2**3    write 2*(3) and 2^3
 *    4kB  10 Hz    no units
 *    inf  nan      no names
 *
 *  Bytes other than ASCII are rejected, the micro sign among them: write 5u. A text without a
 *  number is rejected: an empty text, or a text of blanks and newlines only.
 *
 *  Calculation.  Everything is computed in IEEE 754 double precision. So integers above 2^53 are
 *  rounded: 9223372036854775807 becomes 2^63. At the end, the value is converted to the type of the
 *  result. The range of the value is not checked: 1/0 is infinity, and 1%0 is NaN. Each function
 *  says what it gives for such values.
 *
 *  Large integers.  An integer from 2^63 to 2^64 - 1 becomes negative: the calculation uses the
 *  integer minus 2^64. This also holds for an integer with a binary prefix, if the product is in
 *  this range: 8388608Ti is 2^63 and becomes -2^63. Another example is 18446744073709551615, which
 *  is 2^64 - 1. As a signed integer and as a double, it gives -1. As an unsigned integer, it gives
 *  the number that was typed. The text -1 gives the same three results. So does
 *  18446744073709551616, which counts as 2^64 - 1.
 *
 *  To check that a single number is from 0 to a limit below 2^63, convert it to a double and
 *  compare with 0 and the limit. A number of 2^63 or more fails the comparison, too. Its double is
 *  negative for an integer, and at least 2^63 for a number with a decimal point, an exponent or an
 *  SI prefix. If negative numbers are valid, remove the sign from the text,
 *  convert the rest and compare in the same way. An expression cannot be checked like this:
 *  18446744073709551615+10 is 9. Numbers with a decimal point do not become negative.
 *
 *  Rounding.  A decimal number is rounded to the nearest double. A prefix multiplies this double,
 *  and the product is rounded again. So 1.001k is 1000.9999999999999 as a double, and 1000 as an
 *  integer. If people type fractions with prefixes, convert to a double and round it.
 *
 *  Results.  Every function returns true and writes its result, or returns false and leaves the
 *  result as it was. It returns false if the text is rejected or memory runs out. The same text
 *  gives the same result on every thread and in every call.
 */
#ifndef VELMOR_CORE_STR_TO_H
#define VELMOR_CORE_STR_TO_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Convert a number text to a signed 64-bit integer.
 *
 *  The value is truncated toward zero: 1.9 gives 1, and -1.9 gives -1. Values that do not fit,
 *  infinities and NaN give -9223372036854775808 (INT64_MIN). For integers of 2^63 and more in the
 *  text, see "Large integers".
 *
 *  In:   str    the text, up to its NUL; not null
 *  Out:  value  receives the integer; not null
 *
 *  Returns true, or false if the text is rejected or memory runs out; on false, value is untouched
 */
VELMOR_CORE_API bool velmor_core_str_to_i64(const char* str, int64_t* value);

/** Convert a number text to an unsigned 64-bit integer.
 *
 *  The value is truncated toward zero. Then it is converted as follows:
 *
 *    0 to 2^64 - 1                     the value
 *    above -2^63, below 0              the value + 2^64: -1 gives 18446744073709551615
 *    2^64 and more, infinity           0
 *    -2^63 and less, -infinity, NaN    9223372036854775808
 *
 *  In:   str    the text, up to its NUL; not null
 *  Out:  value  receives the integer; not null
 *
 *  Returns true, or false if the text is rejected or memory runs out; on false, value is untouched
 */
VELMOR_CORE_API bool velmor_core_str_to_u64(const char* str, uint64_t* value);

/** Convert a number text to a double.
 *
 *  The value is the result of the calculation, infinities and NaN included. For integers of 2^63
 *  and more in the text, see "Large integers".
 *
 *  In:   str    the text, up to its NUL; not null
 *  Out:  value  receives the double; not null
 *
 *  Returns true, or false if the text is rejected or memory runs out; on false, value is untouched
 */
VELMOR_CORE_API bool velmor_core_str_to_f64(const char* str, double* value);

#ifdef __cplusplus
}
#endif

#endif
