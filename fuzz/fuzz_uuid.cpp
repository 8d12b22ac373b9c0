// Any text as a UUID: a refused one leaves the record alone, an accepted one survives formatting.

#include <velmor_core/velmor_core.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Exactly as long as the text, so that reading past it is seen.
  const auto text = std::make_unique<char[]>(size);
  if (size > 0) std::memcpy(text.get(), data, size);
  velmor_core_uuid_t uuid;
  std::memset(&uuid, 0xA5, sizeof uuid);
  const velmor_core_uuid_t untouched = uuid;
  if (!velmor_core_uuid_parse2(text.get(), size, &uuid)) {
    require(velmor_core_uuid_compare_eq(&uuid, &untouched));
    return 0;
  }
  char formatted[37];
  velmor_core_uuid_unparse(&uuid, formatted);
  velmor_core_uuid_t again;
  require(velmor_core_uuid_parse(formatted, &again) && velmor_core_uuid_compare_eq(&uuid, &again));
  return 0;
}
