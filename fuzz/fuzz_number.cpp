// Any text to all three types: all accept it or none does, nothing is written on refusal, and an
// integer is the double, cut, where that is in range.

#include <velmor_core/velmor_core.h>

#include <cmath>
#include <cstdlib>
#include <string>

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  int64_t i64 = 42;
  uint64_t u64 = 42;
  double f64 = 42;
  const bool accepted = velmor_core_str_to_f64(text.c_str(), &f64);
  require(velmor_core_str_to_i64(text.c_str(), &i64) == accepted);
  require(velmor_core_str_to_u64(text.c_str(), &u64) == accepted);
  if (!accepted) {
    require(i64 == 42 && u64 == 42 && f64 == 42);
    return 0;
  }
  if (std::fabs(f64) < 9.2e18) {
    require(i64 == static_cast<int64_t>(f64));
    require(u64 == static_cast<uint64_t>(static_cast<int64_t>(f64)));
  }
  return 0;
}
