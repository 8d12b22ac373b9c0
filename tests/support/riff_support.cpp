#include "support/riff_support.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <numeric>
#include <sstream>

namespace {

// Reads the chunks of a picture up to its end or a closing brace.
Bytes chunksOf(std::istringstream& picture) {
  Bytes bytes;
  std::string word;
  while (picture >> word && word != "}") {
    const size_t colon = word.find(':');
    const std::string what = word.substr(colon + 1);
    Bytes data;
    if (what.back() == '{') {
      data = chunksOf(picture);
      data.insert(data.begin(), 4, ' ');
      std::copy(what.begin(), what.end() - 1, data.begin());
    } else if (what.back() != '~') {
      data.resize(std::stoul(what));
      std::iota(data.begin(), data.end(), static_cast<uint8_t>(bytes.size()));
    }
    append32(bytes, idOf(word.substr(0, colon)));
    append32(bytes, static_cast<uint32_t>(what.back() == '~' ? std::stoul(what) : data.size()));
    bytes.insert(bytes.end(), data.begin(), data.end());
    if (data.size() % 2 != 0) bytes.push_back(0xEE);
  }
  return bytes;
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

Chunk* findIn(Chunk* group, uint32_t id) {
  Chunk* c = velmor_core_riff_chunk_get_child(group, 0);
  for (; c; c = velmor_core_riff_chunk_get_next(c)) {
    if (velmor_core_riff_chunk_get_id(c) == id || velmor_core_riff_chunk_get_group_id(c) == id)
      break;
    if (Chunk* inside = findIn(c, id)) return inside;
  }
  return c;
}

}  // namespace

void append32(Bytes& bytes, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

uint32_t idOf(std::string_view text) {
  std::string padded(text);
  padded.resize(4, ' ');
  return VELMOR_CORE_RIFF_ID(padded[0], padded[1], padded[2], padded[3]);
}

Bytes bytesOf(std::string_view picture) {
  std::istringstream in{std::string(picture)};
  return chunksOf(in);
}

std::string pictureOf(Object* object) {
  std::string picture;
  describe(rootOf(object), picture);
  return picture;
}

Chunk* find(Object* object, std::string_view name) {
  return name == "/" ? rootOf(object) : findIn(rootOf(object), idOf(name));
}

constexpr uint32_t NEW = VELMOR_CORE_RIFF_ID('n', 'e', 'w', ' ');

std::function<bool()> editOf(Object* object, const std::string& command, Object* other) {
  std::istringstream in(command);
  std::string verb, name, argument;
  in >> verb >> name >> argument;
  Chunk *const c = find(object, name), *const group = find(object, argument);
  const auto n = static_cast<uint32_t>(std::strtoul(argument.c_str(), nullptr, 10));
  const auto data = std::make_shared<Bytes>(verb == "size" ? 0 : n, 0xDD);
  const std::map<std::string, std::function<bool()>> edits = {
      {"get", [=] { return velmor_core_riff_chunk_get_data(c, data->data(), n, 0) == 0; }},
      {"set", [=] { return velmor_core_riff_chunk_set_data(c, data->data(), n, 0) == 0; }},
      {"size", [=] { return velmor_core_riff_chunk_set_data_size(c, n) == 0; }},
      {"add",
       [=] { return velmor_core_riff_chunk_add_data_chunk(c, NEW, data->data(), n) != nullptr; }},
      {"group",
       [=] { return velmor_core_riff_chunk_add_group_chunk(c, idOf("LIST"), NEW) != nullptr; }},
      {"copy", [=] { return velmor_core_riff_chunk_add_chunk(group, c) != nullptr; }},
      {"cache", [=] { return velmor_core_riff_chunk_add_cache(c, other) != nullptr; }},
      {"recycle", [chunk = c]() mutable { return velmor_core_riff_chunk_recycle(&chunk) == 0; }},
      {"remove", [=] { return velmor_core_riff_chunk_remove(c) == 0; }}};
  return edits.at(verb);
}

Opened openBytes(const Bytes& bytes) {
  Object* object = nullptr;
  velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
  return Opened(object);
}

Store::Store(Kind kind, const Bytes& bytes, size_t room)
    : kind(kind), size(bytes.size()), room(room) {
  if (kind == Kind::FILE) {
    file = memfd_create("test", 0);
    EXPECT_EQ(pwrite(file, bytes.data(), size, 0), static_cast<ssize_t>(size));
  } else if (kind != Kind::CACHE) {
    // The vector has no spare capacity, so the address sanitizer detects accesses past its end.
    Bytes(size + (kind == Kind::BUFFER ? room : 0), 0xEE).swap(buffer);
    std::copy(bytes.begin(), bytes.end(), buffer.begin());
  }
}

Store::Store(Kind kind, std::string_view picture)
    : Store(kind, bytesOf(picture), kind == Kind::CACHE ? 64 : 4096) {
  EXPECT_EQ(open(), VELMOR_CORE_SUCCESS);
  if (kind == Kind::CACHE) {
    const Bytes bytes = bytesOf(picture);
    velmor_core_riff_chunk_add_cache(rootOf(object()), openBytes(bytes).get());
  }
}

Store::~Store() {
  close();
  if (file != -1) ::close(file);
}

int32_t Store::open() {
  Object* object = nullptr;
  const int32_t status =
      kind == Kind::FILE    ? velmor_core_riff_open_file(path().c_str(), 1, &object)
      : kind == Kind::CACHE ? velmor_core_riff_open_cache(room, &object)
      : kind == Kind::BUFFER
          ? velmor_core_riff_open_buffer_rw(buffer.data(), size, buffer.size(), &object)
          : velmor_core_riff_open_buffer_ro(buffer.data(), size, &object);
  opened.reset(object);
  return status;
}

Bytes Store::memory() const {
  if (kind != Kind::FILE) return buffer;
  Bytes bytes(static_cast<size_t>(lseek(file, 0, SEEK_END)));
  EXPECT_EQ(pread(file, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  return bytes;
}

Bytes Store::content() const {
  Bytes all = memory();
  all.resize(velmor_core_riff_cache_get_size(object()));
  if (kind != Kind::CACHE) return all;
  // Gets the bytes of a cache by adding it to another object.
  Object* target = nullptr;
  velmor_core_riff_open_buffer_rw(all.data(), 0, all.size(), &target);
  const Opened closer(target);
  velmor_core_riff_chunk_add_cache(rootOf(target), object());
  return all;
}
