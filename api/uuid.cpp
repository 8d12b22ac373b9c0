// The C functions of the uuid family.

#include "core/uuid.h"

#include <velmor_core/uuid.h>

#include <concepts>
#include <cstring>

#include "api/boundary.h"

namespace {

constexpr velmor_core_uuid_t NULL_UUID = {};

int compare(const velmor_core_uuid_t* a, const velmor_core_uuid_t* b) {
  return std::memcmp(a->bytes, b->bytes, sizeof a->bytes);
}

// Fills the record with the result of `make`. If that throws, leaves the record unchanged and
// returns false.
template <std::invocable Make>
bool fill(velmor_core_uuid_t* uuid, Make make) {
  return api::guarded(false, [&] {
    const core::Uuid made = make();
    std::memcpy(uuid->bytes, made.data(), sizeof uuid->bytes);
    return true;
  });
}

bool parse(const char* text, uint64_t length, velmor_core_uuid_t* uuid) {
  if (length == core::UUID_TEXT_LENGTH && core::parseHyphenatedUuid(text, uuid->bytes)) return true;
  return length > 0 && fill(uuid, [&] { return core::parseUuid(text, length); });
}

}  // namespace

// If the system denies random bytes, the record stays unchanged: there is no failure result.
void velmor_core_uuid_generate_random(velmor_core_uuid_t* uuid) {
  fill(uuid, core::generateRandomUuid);
}

void velmor_core_uuid_clear(velmor_core_uuid_t* uuid) { *uuid = NULL_UUID; }

bool velmor_core_uuid_parse(const char* text, velmor_core_uuid_t* uuid) {
  return text && parse(text, std::strlen(text), uuid);
}

bool velmor_core_uuid_parse2(const char* text, uint64_t length, velmor_core_uuid_t* uuid) {
  return text && parse(text, length, uuid);
}

void velmor_core_uuid_unparse(const velmor_core_uuid_t* uuid, char* text) {
  core::formatUuid(uuid->bytes, text);
}

bool velmor_core_uuid_is_null(const velmor_core_uuid_t* uuid) {
  return compare(uuid, &NULL_UUID) == 0;
}

void velmor_core_uuid_copy(velmor_core_uuid_t* to, const velmor_core_uuid_t* from) { *to = *from; }

bool velmor_core_uuid_compare_eq(const velmor_core_uuid_t* a, const velmor_core_uuid_t* b) {
  return compare(a, b) == 0;
}

bool velmor_core_uuid_compare_gt(const velmor_core_uuid_t* a, const velmor_core_uuid_t* b) {
  return compare(a, b) > 0;
}

bool velmor_core_uuid_compare_lt(const velmor_core_uuid_t* a, const velmor_core_uuid_t* b) {
  return compare(a, b) < 0;
}
