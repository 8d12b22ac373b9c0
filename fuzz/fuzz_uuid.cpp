// Parses changed texts of UUIDs, and any short texts. Boost's parser has to accept the same texts
// and give the same bytes.

#include <velmor_core/uuid.h>

#include <boost/uuid/string_generator.hpp>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

// The first 16 bytes are a UUID, whose text form is changed. Each further pair of bytes is a
// position in the text and the character to put there. Fewer than 16 bytes are the text itself.
std::vector<char> makeText(const uint8_t* data, size_t size) {
  velmor_core_uuid_t uuid;
  if (size < sizeof uuid) return {data, data + size};
  std::memcpy(&uuid, data, sizeof uuid);
  std::vector<char> text(VELMOR_CORE_UUID_TEXT_SIZE);
  velmor_core_uuid_unparse(&uuid, text.data());
  text.pop_back();  // without the NUL, the address sanitizer notices every read past the text
  for (size_t i = sizeof uuid; i + 1 < size; i += 2) {
    text[data[i] % text.size()] = static_cast<char>(data[i + 1]);
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<char> text = makeText(data, size);
  velmor_core_uuid_t uuid = {};
  boost::uuids::uuid expected = {};  // a refused text leaves the record unchanged
  bool valid = true;
  try {
    expected = boost::uuids::string_generator()(text.begin(), text.end());
  } catch (const std::runtime_error&) {
    valid = false;
  }
  const bool accepted = velmor_core_uuid_parse2(text.data(), text.size(), &uuid);
  if (accepted != valid || std::memcmp(&uuid, &expected, sizeof uuid) != 0) std::abort();
  return 0;
}
