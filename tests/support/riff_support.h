// Trees as one-line pictures, and the three kinds of object behind one face.
//
//   RIFF:wave{ fmt:16 LIST:info{ JUNK:14 data:5 } }
//
// is a "RIFF" group with the group id "wave", a data chunk "fmt " of 16 bytes, and so on. Ids are
// padded with spaces to four characters.

#ifndef TESTS_SUPPORT_RIFF_SUPPORT_H
#define TESTS_SUPPORT_RIFF_SUPPORT_H

#include <gtest/gtest.h>
#include <velmor_core/velmor_core.h>

#include <cstdint>
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
// Data of n bytes, unlike any that bytesOf() gives.
Bytes dataOf(uint32_t n);

// The picture of all that an object holds.
std::string pictureOf(Object* object);

// Closes the object when it goes.
struct Close {
  void operator()(Object* object) const { velmor_core_riff_close(object); }
};
using Opened = std::unique_ptr<Object, Close>;

// Opens bytes for reading; null if they are refused.
Opened openBytes(const Bytes& bytes);

// A file that goes with the test.
class TemporaryFile {
 public:
  TemporaryFile();
  explicit TemporaryFile(const Bytes& bytes);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();
  const char* path() const { return name.c_str(); }
  Bytes content() const;

 private:
  std::string name;
};

enum class Kind { BUFFER, CACHE, FILE };
std::ostream& operator<<(std::ostream& out, Kind kind);
const auto ALL_KINDS = testing::Values(Kind::BUFFER, Kind::CACHE, Kind::FILE);

// An object of one kind that holds the given bytes and has room to grow.
class Store {
 public:
  static constexpr uint64_t ROOM = 4096;

  Store(Kind kind, const Bytes& content, uint64_t room = ROOM);
  Object* object() const { return opened.get(); }
  Bytes content() const;

 private:
  Kind kind;
  Bytes buffer;
  TemporaryFile file;
  Opened opened;
};

// A test of edits on all kinds of object.
class EditTest : public testing::TestWithParam<Kind> {
 protected:
  void open(std::string_view picture) { open(bytesOf(picture)); }
  void open(const Bytes& content, uint64_t room = Store::ROOM);
  // The nth chunk, from 0, in the order of the bytes whose id or group id is this.
  Chunk* chunk(std::string_view name, int nth = 0) const;
  Chunk* root() const { return velmor_core_riff_object_get_virtual_root_chunk(store->object()); }
  Chunk* addData(Chunk* group, std::string_view id, uint32_t size) const;

  // The picture after an edit. The stored bytes, opened anew, must show the same, and must end
  // where the tree does.
  std::string tree() const;
  Bytes data(Chunk* chunk) const;

  std::unique_ptr<Store> store;
};

#endif
