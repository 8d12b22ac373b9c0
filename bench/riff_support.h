// Makes chunk trees and files for the benchmarks of the riff family.

#ifndef BENCH_RIFF_SUPPORT_H
#define BENCH_RIFF_SUPPORT_H

#include <unistd.h>
#include <velmor_core/velmor_core.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace bench {

using Bytes = std::vector<uint8_t>;
using Object = velmor_core_riff_object_t;
using Chunk = velmor_core_riff_chunk_t;

constexpr uint32_t RIFF = VELMOR_CORE_RIFF_ID('R', 'I', 'F', 'F');
constexpr uint32_t LIST = VELMOR_CORE_RIFF_ID('L', 'I', 'S', 'T');
constexpr uint32_t JUNK = VELMOR_CORE_RIFF_ID('J', 'U', 'N', 'K');
constexpr uint32_t DATA = VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a');

inline void put32(Bytes& bytes, uint32_t value) {
  const size_t at = bytes.size();
  bytes.resize(at + 4);
  std::memcpy(bytes.data() + at, &value, 4);
}

inline uint32_t get32(const uint8_t* bytes) {
  uint32_t value = 0;
  std::memcpy(&value, bytes, 4);
  return value;
}

// Appends a data chunk of zeros. The data size must be even.
inline void putChunk(Bytes& bytes, uint32_t id, uint32_t size) {
  put32(bytes, id);
  put32(bytes, size);
  bytes.resize(bytes.size() + size);
}

// Makes a group whose children are the bytes of content.
inline Bytes group(uint32_t id, const Bytes& content) {
  Bytes bytes;
  put32(bytes, id);
  put32(bytes, static_cast<uint32_t>(content.size() + 4));
  put32(bytes, DATA);
  bytes.insert(bytes.end(), content.begin(), content.end());
  return bytes;
}

// A file that is deleted at the end of the benchmark.
class ScratchFile {
 public:
  explicit ScratchFile(const Bytes& bytes) {
    close(mkstemp(name.data()));
    reset(bytes);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile() { std::remove(name.c_str()); }
  void reset(const Bytes& bytes) const {
    std::FILE* file = std::fopen(name.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
  }
  const char* path() const { return name.c_str(); }

 private:
  std::string name = "/tmp/velmor-core-bench-XXXXXX";
};

inline Object* openFile(const char* path) {
  Object* object = nullptr;
  velmor_core_riff_open_file(path, VELMOR_CORE_RIFF_READ_WRITE, &object);
  return object;
}

inline Object* openBuffer(Bytes& buffer, uint64_t size) {
  Object* object = nullptr;
  velmor_core_riff_open_buffer_rw(buffer.data(), size, buffer.size(), &object);
  return object;
}

inline Chunk* rootOf(Object* object) {
  return velmor_core_riff_object_get_virtual_root_chunk(object);
}

}  // namespace bench

#endif
