// The C functions of the str_to family.

#include <velmor_core/str_to.h>

#include <string>

#include "api/boundary.h"
#include "strtonum/convert.h"

namespace {

template <typename Value>
bool convert(const char* str, Value* value) {
  // The fast path. It neither copies the text nor throws.
  if (StrToNum::convertPlain(str, value)) return true;
  return api::guarded(false, [&] { return StrToNum::convert(std::string(str), value); });
}

}  // namespace

bool velmor_core_str_to_i64(const char* str, int64_t* value) { return convert(str, value); }
bool velmor_core_str_to_u64(const char* str, uint64_t* value) { return convert(str, value); }
bool velmor_core_str_to_f64(const char* str, double* value) { return convert(str, value); }
