// The buffer of a cache and its growth.

#include "riff/cache_object.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace RIFF {

namespace {

// The smallest multiple of capacity above n. A capacity of 0 has no multiples and becomes n.
uint64_t nextCapacity(uint64_t capacity, uint64_t n) {
  if (capacity == 0) return n;
  uint64_t grown = 0;
  const bool overflows = __builtin_mul_overflow(n / capacity + 1, capacity, &grown);
  // With a capacity of 1, n / capacity + 1 may wrap to 0.
  if (overflows || grown <= n) throw std::bad_alloc();
  return grown;
}

}  // namespace

CacheObject::CacheObject(uint64_t capacity) : MemoryObject(nullptr, 0, 0) {
  if (capacity > 0) reallocate(capacity);
}

CacheObject::~CacheObject() { std::free(buffer); }

void CacheObject::resize(uint64_t newSize) {
  if (newSize > capacity) reallocate(nextCapacity(capacity, newSize));
  size = newSize;
}

// Keeps all bytes of the old buffer. If it fails, the old buffer stays. New bytes are cleared,
// since pad bytes are never written: without this, whatever the memory held before could reach a
// file.
void CacheObject::reallocate(uint64_t newCapacity) {
  if (newCapacity > PTRDIFF_MAX) throw std::bad_alloc();
  // For the first buffer: calloc() often gets cleared memory from the system and need not touch it.
  void* memory = buffer ? std::realloc(buffer, newCapacity) : std::calloc(newCapacity, 1);
  if (!memory) throw std::bad_alloc();
  auto* grown = static_cast<std::byte*>(memory);
  if (buffer) std::memset(grown + capacity, 0, newCapacity - capacity);
  buffer = grown;
  capacity = newCapacity;
}

}  // namespace RIFF
