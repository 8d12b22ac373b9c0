// An object whose bytes lie in a buffer that belongs to the caller.

#ifndef RIFF_MEMORY_OBJECT_H
#define RIFF_MEMORY_OBJECT_H

#include <cstddef>
#include <cstdint>

#include "riff/object.h"

namespace RIFF {

// Never writes or grows past capacity. Checks every range first: a refused operation leaves size
// and bytes as they were. A read-only object has the capacity 0, so it refuses every write and
// every move that would change a byte.
class MemoryObject : public Object {
 public:
  // Read-only over `size` bytes.
  MemoryObject(const void* buffer, uint64_t size);
  // Read-write over a buffer of `capacity` bytes, of which the first `size` hold chunks.
  MemoryObject(void* buffer, uint64_t size, uint64_t capacity);

  // "out of space" past capacity. New bytes are whatever the buffer held.
  void resize(uint64_t newSize) override;
  // "invalid read" past size.
  void read(uint64_t offset, std::byte* destination, uint64_t length) override;
  // "invalid write" past capacity. A write that ends past size lengthens the object.
  void write(uint64_t offset, const std::byte* source, uint64_t length) override;
  // "invalid write" if the destination ends past capacity, "invalid read" if the source does.
  void move(uint64_t source, uint64_t destination, uint64_t length) override;

  const std::byte* getBuffer() const { return buffer; }
  uint64_t getCapacity() const { return capacity; }

 protected:
  std::byte* buffer;
  uint64_t capacity;
};

}  // namespace RIFF

#endif
