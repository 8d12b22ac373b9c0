// The C functions of the str_to family.

#include <velmor_core/str_to.h>

#include <string>

#include "api/boundary.h"
#include "strtonum/convert.h"

bool velmor_core_str_to_i64(const char* str, int64_t* value) {
  return api::guarded(false, [&] { return StrToNum::convert(std::string(str), value); });
}

bool velmor_core_str_to_u64(const char* str, uint64_t* value) {
  return api::guarded(false, [&] { return StrToNum::convert(std::string(str), value); });
}

bool velmor_core_str_to_f64(const char* str, double* value) {
  return api::guarded(false, [&] { return StrToNum::convert(std::string(str), value); });
}
