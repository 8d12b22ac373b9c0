// Trees as one-line pictures, edits as commands, and one class for all kinds of object.
//
//   RIFF:wave{ fmt:16 LIST:info{ JUNK:14 data:5 } }
//
// is a "RIFF" group with the group id "wave", a data chunk "fmt " of 16 bytes, and so on. Ids are
// padded with spaces to four characters. The last chunk may be "data:5~": its data is missing.

#ifndef TESTS_SUPPORT_RIFF_SUPPORT_H
#define TESTS_SUPPORT_RIFF_SUPPORT_H

#include <gtest/gtest.h>
#include <velmor_core/velmor_core.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;
using Object = velmor_core_riff_object_t;
using Chunk = velmor_core_riff_chunk_t;

uint32_t idOf(std::string_view text);
void append32(Bytes& bytes, uint32_t value);  // little-endian

// The bytes of a picture. The data bytes count up with their position in the group, so moved data
// differs from unmoved data. Pad bytes are 0xEE.
Bytes bytesOf(std::string_view picture);

// The picture of all chunks of an object.
std::string pictureOf(Object* object);

inline Chunk* rootOf(Object* object) {
  return velmor_core_riff_object_get_virtual_root_chunk(object);
}
// The first chunk with this id or group id, "/" for the virtual root; null if there is none.
Chunk* find(Object* object, std::string_view name);

// A command to run later, which returns whether it succeeds: "get x 3", "set x 3", "size x 70",
// "add l 100" and "group l" (a chunk "new"), "copy x l", "cache l" (adds the cache `other`),
// "recycle x", "remove x". Chunks are named as in find(). Memory for the command itself is
// allocated here, so that only the library allocates while it runs.
std::function<bool()> editOf(Object* object, const std::string& command, Object* other = nullptr);

struct Close {
  void operator()(Object* object) const { velmor_core_riff_close(object); }
};
using Opened = std::unique_ptr<Object, Close>;

// Opens bytes for reading; null if they are refused.
Opened openBytes(const Bytes& bytes);

enum class Kind { READ_ONLY, BUFFER, CACHE, FILE };
constexpr Kind WRITABLE_KINDS[] = {Kind::BUFFER, Kind::CACHE, Kind::FILE};

// An object of one kind over the given bytes. A buffer can grow by `room` bytes. A cache starts
// empty with the capacity `room`. A file has no name and is deleted when the Store is destroyed.
class Store {
 public:
  Store(Kind kind, const Bytes& bytes, size_t room = 0);
  // Opens the object with the content of the picture.
  Store(Kind kind, std::string_view picture);
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store();
  int32_t open();
  void close() { opened.reset(); }
  Object* object() const { return opened.get(); }
  std::string path() const { return "/proc/self/fd/" + std::to_string(file); }
  // All bytes of the buffer or file. Empty for a cache.
  Bytes memory() const;
  // The bytes that the object holds.
  Bytes content() const;

 private:
  const Kind kind;
  const size_t size, room;
  Bytes buffer;
  int file = -1;
  Opened opened;
};

#endif
