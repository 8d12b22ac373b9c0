// What is kept of bytes that can be read only once, such as those of a pipe.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_KEPT_BYTES_H
#define VELMOR_CORE_TOOLS_CHUNKS_KEPT_BYTES_H

#include <cstdint>
#include <deque>
#include <string_view>

#include "file/bytes.h"

namespace tool {

class KeptBytes {
 public:
  // The number of bytes that were read, kept or not.
  uint64_t size() const { return length; }
  // Copies bytes before the end. Those that were not kept are 0, and then it returns false.
  bool copy(void* to, uint64_t count, uint64_t offset) const;
  bool has(uint64_t offset, uint64_t count) const;
  // The offset of the first byte in [offset, end) that is not 0 or was not kept; `end` if there is
  // none.
  uint64_t endOfZeros(uint64_t offset, uint64_t end) const;

  // These take the next bytes.
  void add(std::string_view kept);
  void addZeros(uint64_t count);
  void skip(uint64_t count) { length += count; }
  // Keeps the last bytes, whether they were kept before or not. Call it at the end.
  void keepLast(std::string_view last);

 private:
  // Consecutive bytes that were kept. Of zeros that addZeros() took, only the number is stored.
  struct Extent {
    static constexpr uint64_t ZEROS = ~uint64_t{0};
    uint64_t offset;
    uint64_t size;
    uint64_t place;  // in `bytes`, or ZEROS

    uint64_t end() const { return offset + size; }
  };

  void extend(uint64_t count, bool isZeros);
  // The first extent that ends after an offset.
  std::deque<Extent>::const_iterator extentFrom(uint64_t offset) const;

  std::deque<Extent> extents;  // ascending
  Bytes bytes;
  uint64_t length = 0;
};

}  // namespace tool

#endif
