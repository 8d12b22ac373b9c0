// What the targets on chunk trees share.

#ifndef FUZZ_RIFF_FUZZING_H
#define FUZZ_RIFF_FUZZING_H

#include <sys/mman.h>
#include <unistd.h>
#include <velmor_core/velmor_core.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace fuzzing {

using Bytes = std::vector<uint8_t>;
using Object = velmor_core_riff_object_t;
using Chunk = velmor_core_riff_chunk_t;

struct Close {
  void operator()(Object* object) const { velmor_core_riff_close(object); }
};
using Opened = std::unique_ptr<Object, Close>;

inline void require(bool holds) {
  if (!holds) std::abort();
}

// A file in memory.
class MemoryFile {
 public:
  explicit MemoryFile(const Bytes& content) : fd(memfd_create("fuzz", 0)) {
    require(write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(fd); }
  Opened open() const {
    Object* object = nullptr;
    velmor_core_riff_open_file(("/proc/self/fd/" + std::to_string(fd)).c_str(),
                               VELMOR_CORE_RIFF_READ_WRITE, &object);
    return Opened(object);
  }
  Bytes content() const {
    Bytes bytes(static_cast<size_t>(lseek(fd, 0, SEEK_END)));
    require(pread(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return bytes;
  }

 private:
  int fd;
};

inline Opened openBytes(const Bytes& bytes) {
  Object* object = nullptr;
  velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
  return Opened(object);
}

inline Chunk* rootOf(const Opened& object) {
  return velmor_core_riff_object_get_virtual_root_chunk(object.get());
}

// Every chunk in byte order, without recursion; visits the root first.
template <typename Visit>
void walk(Chunk* root, Visit visit) {
  for (Chunk* c = root; c;) {
    visit(c);
    Chunk* next = velmor_core_riff_chunk_get_child(c, 0);
    while (!next && c != root) {
      next = velmor_core_riff_chunk_get_next(c);
      if (!next) c = velmor_core_riff_chunk_get_parent(c);
    }
    c = next;
  }
}

struct Node {
  uint32_t id, groupId, size, children;
  bool operator==(const Node&) const = default;
};

// The tree as a list; checks what holds for every tree on the way.
inline std::vector<Node> describe(Chunk* root) {
  std::vector<Node> nodes;
  walk(root, [&](Chunk* c) {
    const uint32_t count = velmor_core_riff_chunk_get_child_count(c);
    nodes.push_back({velmor_core_riff_chunk_get_id(c), velmor_core_riff_chunk_get_group_id(c),
                     velmor_core_riff_chunk_get_data_size(c), count});
    uint64_t total = 4;
    for (uint32_t i = 0; i < count; ++i) {
      Chunk* child = velmor_core_riff_chunk_get_child(c, i);
      require(velmor_core_riff_chunk_get_parent(child) == c);
      require(velmor_core_riff_chunk_get_next(child) == velmor_core_riff_chunk_get_child(c, i + 1));
      const uint64_t size = velmor_core_riff_chunk_get_data_size(child);
      total += 8 + size + size % 2;
    }
    const uint64_t size = velmor_core_riff_chunk_get_data_size(c);
    if (c != root && count > 0) require(size + size % 2 == total);
  });
  return nodes;
}

}  // namespace fuzzing

#endif
