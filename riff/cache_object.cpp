#include "riff/cache_object.h"

#include <cstdint>
#include <cstring>
#include <new>

namespace RIFF {

namespace {

// The smallest multiple of capacity above n. A capacity of 0 has no multiples: it becomes n.
uint64_t nextCapacity(uint64_t capacity, uint64_t n) {
  if (capacity == 0) return n;
  uint64_t grown = 0;
  const bool overflows = __builtin_mul_overflow(n / capacity + 1, capacity, &grown);
  // With a capacity of 1 the number of steps itself may wrap to 0.
  if (overflows || grown <= n) throw std::bad_alloc();
  return grown;
}

}  // namespace

CacheObject::CacheObject(uint64_t capacity) : MemoryObject(nullptr, 0, 0) {
  if (capacity > 0) reallocate(capacity);
}

void CacheObject::resize(uint64_t newSize) {
  if (newSize > capacity) reallocate(nextCapacity(capacity, newSize));
  size = newSize;
}

// Keeps all bytes of the old buffer; on failure, the old buffer itself. What is won is cleared: pad
// bytes are never written, and must not carry what the memory held before into a file.
void CacheObject::reallocate(uint64_t newCapacity) {
  if (newCapacity > PTRDIFF_MAX) throw std::bad_alloc();
  void* memory = storage ? std::realloc(storage.get(), newCapacity) : std::calloc(newCapacity, 1);
  if (!memory) throw std::bad_alloc();
  auto* grown = static_cast<std::byte*>(memory);
  if (storage) std::memset(grown + capacity, 0, newCapacity - capacity);
  static_cast<void>(storage.release());  // realloc has freed or kept it
  storage.reset(grown);
  buffer = grown;
  capacity = newCapacity;
}

}  // namespace RIFF
