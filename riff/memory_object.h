// A store over a buffer that belongs to the caller.

#ifndef RIFF_MEMORY_OBJECT_H
#define RIFF_MEMORY_OBJECT_H

#include <cstddef>
#include <cstdint>

#include "riff/object.h"

namespace RIFF {

// Never writes or grows past capacity, and checks every range before it touches anything: a refused
// operation leaves size and bytes as they were. A read-only object has the capacity 0, which
// refuses every write and every move that would change a byte.
class MemoryObject : public Object {
 public:
  // Read-only over `size` bytes.
  MemoryObject(const void* buffer, uint64_t size);
  // Read-write over a buffer of `capacity` bytes, of which the first `size` hold chunks.
  MemoryObject(void* buffer, uint64_t size, uint64_t capacity);

  // "out of space" past capacity. What a growth wins is whatever the buffer held.
  void resize(uint64_t newSize) override;
  // "invalid read" past size.
  void read(uint64_t offset, void* destination, uint64_t length) override;
  // "invalid write" past capacity. A write that ends behind size lengthens the object.
  void write(uint64_t offset, const void* source, uint64_t length) override;
  // "invalid write" where the destination ends past capacity, "invalid read" where the source does.
  void move(uint64_t source, uint64_t destination, uint64_t length) override;

  const std::byte* getBuffer() const { return buffer; }
  uint64_t getCapacity() const { return capacity; }

 protected:
  std::byte* buffer;
  uint64_t capacity;
};

}  // namespace RIFF

#endif
