// A file's bytes as memory.
#ifndef VELMOR_CORE_TOOLS_FILE_MAPPING_H
#define VELMOR_CORE_TOOLS_FILE_MAPPING_H

#include <cstdint>
#include <span>

#include "file/file.h"

namespace tool {

// The bytes of a file, mapped privately: only pages that are read are loaded, and
// changes stay in memory. One mapping exists at a time.
class Mapping {
 public:
  // Maps the file's first `size` bytes, with `room` zero bytes after them. The file has to outlive
  // the mapping. Throws Failure where the file cannot be mapped.
  Mapping(const File& file, uint64_t size, uint64_t room);
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
  ~Mapping();

  std::span<char> bytes() const { return {begin, length}; }
  // Gives back the pages that have changed: the bytes are those of the file again.
  void undoChanges();
  // Throws Failure if bytes could not be loaded since the mapping was made, because the file became
  // shorter or cannot be read. The mapping has zeros in their place. Call it before you use a
  // result.
  void requireIntact() const;

 private:
  const File& file;
  char* begin = nullptr;
  uint64_t length;
  uint64_t mappedLength;  // in whole pages
};

}  // namespace tool

#endif
