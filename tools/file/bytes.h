// Bytes in memory that grow.
#ifndef VELMOR_CORE_TOOLS_FILE_BYTES_H
#define VELMOR_CORE_TOOLS_FILE_BYTES_H

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "file/file.h"

namespace tool {

// The capacity grows by an eighth. Where the system can, it grows without copying the bytes. So a
// large input needs little more memory than its size. Throws std::bad_alloc.
class Bytes {
 public:
  std::size_t size() const { return count; }
  const char* data() const { return memory.get(); }
  std::string_view view() const { return {memory.get(), count}; }

  void append(std::string_view more);
  // Appends all bytes that a descriptor gives; `name` is for messages. Throws Failure if it cannot
  // be read or gives more than `limit` bytes.
  void readToEnd(int descriptor, const std::string& name,
                 uint64_t limit = std::numeric_limits<uint64_t>::max());

 private:
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };

  void reserve(std::size_t room);  // in bytes, after the present ones

  std::unique_ptr<char[], Free> memory;
  std::size_t count = 0;
  std::size_t capacity = 0;
};

// Opens whatever can be read.
Descriptor openToRead(const std::string& name);

}  // namespace tool

#endif
