// Trees as one-line pictures, edits as commands, and all kinds of object behind one face.
//
//   RIFF:wave{ fmt:16 LIST:info{ JUNK:14 data:5 } }
//
// is a "RIFF" group with the group id "wave", a data chunk "fmt " of 16 bytes, and so on. Ids are
// padded with spaces to four characters. Of "data:5~", at the end, there is but the header.

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

// The bytes of a picture. Data is filled with a running count, so that moved data can be told;
// pad bytes are 0xEE.
Bytes bytesOf(std::string_view picture);

// The picture of all that an object holds.
std::string pictureOf(Object* object);

inline Chunk* rootOf(Object* object) {
  return velmor_core_riff_object_get_virtual_root_chunk(object);
}
// The nth chunk, from 0, in the order of the bytes whose id or group id is this; null if there is
// none.
Chunk* find(Object* object, std::string_view name, int nth = 0);

// Makes an edit, or reads, as told: "get x 3", "set x 3", "size x 70", "add l 100" (a chunk "new"),
// "free l 100" (a free one), "group l" (a group "new"), "copy x l", "pour l" (`other` into l),
// "recycle x", "remove x". Chunks are named as in find(); "/" is the virtual root. All memory of
// its own is taken before it is run.
std::function<bool()> editOf(Object* object, const std::string& command, Object* other = nullptr);

// Closes the object when it goes.
struct Close {
  void operator()(Object* object) const { velmor_core_riff_close(object); }
};
using Opened = std::unique_ptr<Object, Close>;

// Opens bytes for reading; null if they are refused.
Opened openBytes(const Bytes& bytes);

// A file that goes with the test, whatever becomes of it.
class TemporaryFile {
 public:
  explicit TemporaryFile(const Bytes& bytes = {});
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();
  const char* path() const { return name.c_str(); }
  Bytes content() const;

 private:
  int fd;
  std::string name;
};

enum class Kind { READ_ONLY, BUFFER, CACHE, FILE };
constexpr Kind WRITABLE_KINDS[] = {Kind::BUFFER, Kind::CACHE, Kind::FILE};

// An object of one kind over the given bytes, with room to grow: more bytes behind those in a
// buffer, capacity of a cache at first.
class Store {
 public:
  Store(Kind kind, const Bytes& content, size_t room);
  // Opened at once, the bytes poured into a cache.
  Store(Kind kind, std::string_view picture);
  int32_t open();
  void close() { opened.reset(); }
  Object* object() const { return opened.get(); }
  // All bytes of the buffer or file, and none of a cache.
  Bytes memory() const { return file ? file->content() : buffer; }
  // What the object holds.
  Bytes content() const;

 private:
  const Kind kind;
  const size_t size, room;
  Bytes buffer;
  std::unique_ptr<TemporaryFile> file;
  Opened opened;
};

#endif
