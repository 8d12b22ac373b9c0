#include "support/riff_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

void append32(Bytes& bytes, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

void store32(Bytes& bytes, size_t at, uint32_t value) {
  for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

// Reads the chunks of a picture up to its end or a closing brace.
void appendChunks(std::istringstream& picture, Bytes& bytes) {
  std::string word;
  while (picture >> word && word != "}") {
    const size_t colon = word.find(':');
    const std::string what = word.substr(colon + 1);
    append32(bytes, idOf(word.substr(0, colon)));
    const size_t sizeAt = bytes.size();
    append32(bytes, 0);
    if (what.back() == '{') {
      append32(bytes, idOf(what.substr(0, what.size() - 1)));
      appendChunks(picture, bytes);
      store32(bytes, sizeAt, static_cast<uint32_t>(bytes.size() - sizeAt - 4));
      continue;
    }
    const uint32_t size = static_cast<uint32_t>(std::stoul(what));
    store32(bytes, sizeAt, size);
    for (uint32_t i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(bytes.size() % 199));
    if (size % 2 != 0) bytes.push_back(0xEE);
  }
}

std::string nameOf(uint32_t id) {
  std::string name;
  for (int shift = 0; shift < 32; shift += 8) name += static_cast<char>(id >> shift);
  return name.substr(0, name.find_last_not_of(' ') + 1);
}

void describe(Chunk* group, std::string& picture) {
  for (Chunk* c = velmor_core_riff_chunk_get_child(group, 0); c;
       c = velmor_core_riff_chunk_get_next(c)) {
    if (!picture.empty()) picture += ' ';
    picture += nameOf(velmor_core_riff_chunk_get_id(c)) + ':';
    if (const uint32_t groupId = velmor_core_riff_chunk_get_group_id(c)) {
      picture += nameOf(groupId) + '{';
      describe(c, picture);
      picture += " }";
    } else {
      picture += std::to_string(velmor_core_riff_chunk_get_data_size(c));
    }
  }
}

Chunk* find(Chunk* group, uint32_t id, int& nth) {
  for (Chunk* c = velmor_core_riff_chunk_get_child(group, 0); c;
       c = velmor_core_riff_chunk_get_next(c)) {
    const bool named =
        velmor_core_riff_chunk_get_id(c) == id || velmor_core_riff_chunk_get_group_id(c) == id;
    if (named && nth-- == 0) return c;
    if (Chunk* inside = find(c, id, nth)) return inside;
  }
  return nullptr;
}

}  // namespace

uint32_t idOf(std::string_view text) {
  std::string padded(text);
  padded.resize(4, ' ');
  return VELMOR_CORE_RIFF_ID(padded[0], padded[1], padded[2], padded[3]);
}

Bytes bytesOf(std::string_view picture) {
  std::istringstream in{std::string(picture)};
  Bytes bytes;
  appendChunks(in, bytes);
  return bytes;
}

Bytes dataOf(uint32_t n) {
  Bytes data(n);
  for (uint32_t i = 0; i < n; ++i) data[i] = static_cast<uint8_t>(200 + i % 37);
  return data;
}

std::string pictureOf(Object* object) {
  std::string picture;
  describe(velmor_core_riff_object_get_virtual_root_chunk(object), picture);
  return picture;
}

Opened openBytes(const Bytes& bytes) {
  Object* object = nullptr;
  velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
  return Opened(object);
}

TemporaryFile::TemporaryFile() : name(testing::TempDir() + "velmor-core-XXXXXX") {
  close(mkstemp(name.data()));
}

TemporaryFile::TemporaryFile(const Bytes& bytes) : TemporaryFile() {
  std::ofstream(name, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
}

TemporaryFile::~TemporaryFile() { unlink(name.c_str()); }

Bytes TemporaryFile::content() const {
  std::ifstream in(name, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::ostream& operator<<(std::ostream& out, Kind kind) {
  return out << (kind == Kind::BUFFER ? "buffer" : kind == Kind::CACHE ? "cache" : "file");
}

Store::Store(Kind kind, const Bytes& content, uint64_t room)
    : kind(kind), buffer(content), file(content) {
  Object* object = nullptr;
  if (kind == Kind::BUFFER) {
    buffer.resize(content.size() + room, 0xBB);
    velmor_core_riff_open_buffer_rw(buffer.data(), content.size(), buffer.size(), &object);
  } else if (kind == Kind::FILE) {
    velmor_core_riff_open_file(file.path(), VELMOR_CORE_RIFF_READ_WRITE, &object);
  } else {
    const Opened source = openBytes(content);
    velmor_core_riff_open_cache(64, &object);
    velmor_core_riff_chunk_add_cache(velmor_core_riff_object_get_virtual_root_chunk(object),
                                     source.get());
  }
  opened.reset(object);
}

Bytes Store::content() const {
  if (kind == Kind::FILE) return file.content();
  const uint64_t size = velmor_core_riff_cache_get_size(opened.get());
  if (kind == Kind::BUFFER) return Bytes(buffer.begin(), buffer.begin() + static_cast<long>(size));
  // A cache shows its bytes to the object that it is poured into.
  Bytes copy(size);
  Object* target = nullptr;
  velmor_core_riff_open_buffer_rw(copy.data(), 0, size, &target);
  const Opened closer(target);
  velmor_core_riff_chunk_add_cache(velmor_core_riff_object_get_virtual_root_chunk(target),
                                   opened.get());
  return copy;
}

void EditTest::open(const Bytes& content, uint64_t room) {
  store = std::make_unique<Store>(GetParam(), content, room);
  ASSERT_NE(store->object(), nullptr);
}

Chunk* EditTest::chunk(std::string_view name, int nth) const {
  return find(root(), idOf(name), nth);
}

Chunk* EditTest::addData(Chunk* group, std::string_view id, uint32_t size) const {
  return velmor_core_riff_chunk_add_data_chunk(group, idOf(id), dataOf(size).data(), size);
}

std::string EditTest::tree() const {
  const std::string picture = pictureOf(store->object());
  const Bytes content = store->content();
  EXPECT_EQ(content.size(), velmor_core_riff_cache_get_size(store->object()));
  const Opened again = openBytes(content);
  EXPECT_NE(again, nullptr) << "the stored bytes do not load";
  if (again) {
    EXPECT_EQ(pictureOf(again.get()), picture);
  }
  return picture;
}

Bytes EditTest::data(Chunk* chunk) const {
  Bytes bytes(velmor_core_riff_chunk_get_data_size(chunk));
  EXPECT_EQ(
      velmor_core_riff_chunk_get_data(chunk, bytes.data(), static_cast<uint32_t>(bytes.size()), 0),
      VELMOR_CORE_SUCCESS);
  return bytes;
}
