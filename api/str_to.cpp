// The C functions of the str_to family.

#include <velmor_core/str_to.h>

#include <string>

#include "api/boundary.h"
#include "strtonum/convert.h"

namespace {

// Not inlined, so that the fast path does not set up a stack frame for the copy of the text.
template <typename Value>
[[gnu::noinline]] bool convertCopy(const char* str, Value* value) {
  return api::guarded(false, [&] { return StrToNum::convert(std::string(str), value); });
}

// The fast path neither copies the text nor throws.
template <typename Value>
bool convert(const char* str, Value* value) {
  return StrToNum::convertPlain(str, value) || convertCopy(str, value);
}

}  // namespace

bool velmor_core_str_to_i64(const char* str, int64_t* value) { return convert(str, value); }
bool velmor_core_str_to_u64(const char* str, uint64_t* value) { return convert(str, value); }
bool velmor_core_str_to_f64(const char* str, double* value) { return convert(str, value); }
